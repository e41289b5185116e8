// halsim: the virtual appliance. `halsim start SCENARIO` brings a scenario to life under a
// system root and serves it in the background; `insert`, `remove`, `status` and `stop` talk
// to the running daemon. docs/halsim.md has the details.
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "sim/halsim/client.h"
#include "sim/halsim/daemon.h"
#include "sim/halsim/root_writer.h"

namespace {

using namespace bayhal::sim::halsim;
using nlohmann::json;

constexpr int kOk = 0, kFailed = 1, kUsage = 2;

Daemon* g_daemon = nullptr;

void on_signal(int) {
  if (g_daemon != nullptr) g_daemon->request_stop();
}

int run_daemon(const std::string& root, const std::string& scenario_path, int ready_fd) {
  auto report = [&](const std::string& msg) {
    if (ready_fd >= 0) {
      [[maybe_unused]] ssize_t n = ::write(ready_fd, msg.data(), msg.size());
      ::close(ready_fd);
    } else if (msg != "ok") {
      std::cerr << "halsim: " << msg << '\n';
    }
  };
  std::string error;
  auto sc = load_scenario(scenario_path, error);
  if (!sc) return report(error), kFailed;
  Daemon d(root, std::move(*sc));
  if (std::string e = d.start(); !e.empty()) return report(e), kFailed;
  g_daemon = &d;
  struct sigaction sa {};
  sa.sa_handler = on_signal;
  ::sigaction(SIGTERM, &sa, nullptr);
  ::sigaction(SIGINT, &sa, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  report("ok");
  d.serve();
  g_daemon = nullptr;
  return kOk;
}

// Forks the daemon and returns once it listens (or failed to), so callers never wait on
// a clock for it.
int start_daemon(const std::string& root, const std::string& scenario_path, bool as_json) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return std::perror("halsim: pipe"), kFailed;
  pid_t pid = ::fork();
  if (pid < 0) return std::perror("halsim: fork"), kFailed;
  if (pid == 0) {
    ::close(fds[0]);
    ::setsid();
    std::error_code ec;
    std::filesystem::create_directories(root + "/var/log", ec);
    std::string log = root + "/var/log/halsim.log";
    int null_fd = ::open("/dev/null", O_RDONLY);
    int log_fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (null_fd >= 0) ::dup2(null_fd, 0);
    if (log_fd >= 0) ::dup2(log_fd, 1), ::dup2(log_fd, 2);
    std::_Exit(run_daemon(root, scenario_path, fds[1]));
  }
  ::close(fds[1]);
  std::string msg;
  char buf[512];
  for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) != 0;) {
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) break;
    msg.append(buf, static_cast<size_t>(n));
  }
  ::close(fds[0]);
  if (msg != "ok") {
    ::waitpid(pid, nullptr, 0);
    std::cerr << "halsim: " << (msg.empty() ? "the daemon died while starting" : msg) << '\n';
    return kFailed;
  }
  if (as_json)
    std::cout << json{{"pid", pid}, {"root", root}, {"socket", root + kSocketPath}}.dump(2) << '\n';
  else
    std::cout << "halsim " << pid << " serving " << root << kSocketPath << '\n';
  return kOk;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"halsim: a virtual appliance for bayhal"};
  app.require_subcommand(1);
  std::string root;
  bool as_json = false;
  app.add_option("--root", root, "system root of the appliance (default: $HAL_ROOT)");
  app.add_flag("--json", as_json, "machine-readable output");
  std::string scenario, target, disk;
  auto* start = app.add_subcommand("start", "bring a scenario to life and serve it in the background");
  start->add_option("scenario", scenario, "scenario file")->required();
  auto* run = app.add_subcommand("run", "the same in the foreground");
  run->add_option("scenario", scenario, "scenario file")->required();
  auto* stop = app.add_subcommand("stop", "stop the daemon serving the root");
  auto* status = app.add_subcommand("status", "slots, disks and units of the running appliance");
  auto* insert = app.add_subcommand("insert", "insert a disk into a slot, or cable an expansion unit");
  insert->add_option("slot", target, "slot (root/3, cache/1, usb/2, UNIT/5; 3 = root/3) or unit")->required();
  insert->add_option("disk", disk, "disk of the scenario (default: the one last pulled from the slot)");
  auto* remove = app.add_subcommand("remove", "pull the disk from a slot, or unplug an expansion unit");
  remove->add_option("slot", target, "slot or unit")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return kUsage;
  }
  if (root.empty()) {
    const char* env = std::getenv("HAL_ROOT");
    root = env != nullptr ? env : "";
  }
  std::string error;
  std::string prepared = prepare_root(root, error);
  if (prepared.empty()) {
    std::cerr << "halsim: " << (root.empty() ? "give --root DIR or set HAL_ROOT" : error) << '\n';
    return kUsage;
  }
  Client client(prepared);
  if (*start || *run) {
    // Power-on clears the root: never under a daemon that is serving it.
    std::string ignored;
    if (auto st = client.request("status", ignored)) {
      std::cerr << "halsim: already serving " << prepared << " (pid " << st->second.value("pid", 0)
                << ")\n";
      return kFailed;
    }
  }
  if (*start) return start_daemon(prepared, scenario, as_json);
  if (*run) return run_daemon(prepared, scenario, -1);
  if (*stop) return client.stop(as_json);
  if (*status) return client.status(as_json);
  if (*insert) return client.hotplug(true, target, disk, as_json);
  if (*remove) return client.hotplug(false, target, "", as_json);
  return kUsage;
}
