// The board's chips at register level, in-process: a port bus with register models behind
// the port-I/O seam, virtual time behind the clock seam, and a sandbox root for the model
// description and the semaphores (removed with the root).
#pragma once
#include <string_view>

#include "board/dispatch/caches.h"
#include "board/drivers/sio/sio.h"
#include "foundation/clock.h"
#include "sim/port_bus.h"
#include "tests/support/sandbox_root.h"
#include "transport/port_io.h"

namespace bayhal::test {

class ChipTest : public SandboxTest {
 protected:
  ChipTest() { sio_reset_caches(); }
  // A new description, seen as a process started now sees it.
  void describe(std::string_view model_conf) {
    root.write("/etc/model.conf", model_conf);
    board::reset_board_caches();
  }
  // Accesses logged since the last call.
  size_t accesses() {
    size_t n = bus.log().size();
    bus.clear_log();
    return n;
  }

  sim::PortBus bus;
  VirtualClock vclock;
  ScopedPortIo ports{bus};
  ScopedClock clock_guard{vclock};
};

}  // namespace bayhal::test
