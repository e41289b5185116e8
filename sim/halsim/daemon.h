// The halsim daemon: powers a scenario's machine on under a system root and serves it on
// "<root>/run/halsim.sock" until told to stop. Each connection is served by its own thread;
// the machine and its models are used under one lock, so commands from many processes are
// answered one at a time, as a real bus would.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "foundation/unique_fd.h"
#include "sim/halsim/board_models.h"
#include "sim/halsim/device_models.h"
#include "sim/halsim/machine.h"
#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {

// Appliance paths of the daemon's files.
inline constexpr char kSocketPath[] = "/run/halsim.sock";
inline constexpr char kPidPath[] = "/run/halsim.pid";

class Daemon {
 public:
  // `root` is a prepared host directory (prepare_root).
  Daemon(std::string root, Scenario sc);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  // Power-on: clears the volatile state, writes the firmware files, the stand-ins and the
  // tree, then listens. Empty on success, else what went wrong.
  std::string start();
  // Serves until a "stop" message or request_stop(); then closes every connection and
  // removes the socket and pid files.
  void serve();
  // Async-signal-safe.
  void request_stop();

  // A connected process: who it is and the ports it was given.
  struct Client {
    uint32_t pid = 0;
    PortPermissions ports;
  };

  // One request payload to its reply (also used by tests in-process). `stop` is set when
  // the request asks the daemon to end.
  std::vector<uint8_t> handle(std::span<const uint8_t> payload, bool& stop, Client& client);
  std::vector<uint8_t> handle(std::span<const uint8_t> payload, bool& stop) {
    Client anonymous;
    return handle(payload, stop, anonymous);
  }

 private:
  std::string root_;
  Scenario sc_;
  std::mutex mu_;  // the machine and the models
  DeviceModels models_;
  BoardModels board_;
  Machine machine_;
  UniqueFd listen_;
  UniqueFd wake_read_, wake_write_;
  std::mutex conn_mu_;
  std::set<int> conns_;
  std::map<std::thread::id, std::thread> threads_;
  std::vector<std::thread::id> finished_;

  std::string control(const std::string& text, bool& ok, bool& stop);
  std::vector<uint8_t> device(std::span<const uint8_t> payload);
  std::vector<uint8_t> port(std::span<const uint8_t> payload, Client& client);
  void serve_connection(int fd);
  // Joins the threads of connections that have ended.
  void reap();
};

}  // namespace bayhal::sim::halsim
