// A halsim daemon serving one of examples/appliances in this process; the library reaches
// it as any other process would, through HAL_ROOT and the socket.
#pragma once
#include <memory>
#include <string>
#include <thread>

#include "board/dispatch/caches.h"
#include "board/drivers/sio/sio.h"
#include "sim/halsim/daemon.h"
#include "tests/support/sandbox_root.h"
#include "transport/transport_frame.h"

namespace bayhal::test {

class HalsimDaemonTest : public SandboxTest {
 protected:
  void serve(const char* scenario = "sample.ini") {
    std::string error;
    auto sc = sim::halsim::load_scenario(
        std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/" + scenario, error);
    ASSERT_TRUE(sc) << error;
    daemon = std::make_unique<sim::halsim::Daemon>(root.dir(), std::move(*sc));
    ASSERT_EQ(daemon->start(), "");
    server = std::thread([this] { daemon->serve(); });
    sio_reset_caches();
    board::reset_board_caches();
  }
  void TearDown() override {
    if (daemon) daemon->request_stop();
    if (server.joinable()) server.join();
  }
  // The daemon's answer to a control request; empty when it gave none.
  std::string control(const std::string& text) {
    bool stop = false;
    auto reply = frame::parse_control_reply(daemon->handle(frame::control_message(text), stop));
    return reply ? reply->second : "";
  }

  std::unique_ptr<sim::halsim::Daemon> daemon;
  std::thread server;
};

}  // namespace bayhal::test
