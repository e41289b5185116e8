// halsim: the virtual appliance. `halsim start SCENARIO` brings a scenario to life under a
// system root and serves it in the background; `insert`, `remove`, `status` and `stop` talk
// to the running daemon. docs/halsim.md has the details.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "sim/halsim/bay_names.h"
#include "sim/halsim/client.h"
#include "sim/halsim/daemon.h"
#include "sim/halsim/root_writer.h"
#include "tools/cli/cli.h"

#ifndef BAYHAL_VERSION
#define BAYHAL_VERSION "unknown"
#endif

namespace {

using namespace bayhal::sim::halsim;
using bayhal::cli::json;
using bayhal::cli::Run;

constexpr char kFooter[] = R"(Options may also follow the command (halsim status --json).
A BAY is ENC/PORT, ENC being the scenario's name (root, cache, usb, a unit), the enclosure
identity (root_cache, 5000ccab0200e07f) or its enclosure id (34): root/3, 0/3, jbod/5.
A UNIT is named the same ways (jbod, 5000ccab0200e07f, 34).

Exit status: 0 success; 1 the operation failed, the reason on stderr; 2 bad usage.
Environment: HAL_ROOT, the system root (as --root); NO_COLOR turns colour off.
Scenario format and the socket: docs/halsim.md.)";

Daemon* g_daemon = nullptr;

void on_signal(int) {
  if (g_daemon != nullptr) g_daemon->request_stop();
}

// Serves until stopped; "" when it ran, else why it could not start. `ready` hears "ok" or
// the reason as soon as that is known.
std::string run_daemon(const std::string& root, const std::string& scenario_path, int ready_fd) {
  auto report = [&](const std::string& msg) {
    if (ready_fd >= 0) {
      [[maybe_unused]] ssize_t n = ::write(ready_fd, msg.data(), msg.size());
      ::close(ready_fd);
    }
    return msg == "ok" ? std::string() : msg;
  };
  std::string error;
  auto sc = load_scenario(scenario_path, error);
  if (!sc) return report(error);
  Daemon d(root, std::move(*sc));
  if (std::string e = d.start(); !e.empty()) return report(e);
  g_daemon = &d;
  struct sigaction sa {};
  sa.sa_handler = on_signal;
  ::sigaction(SIGTERM, &sa, nullptr);
  ::sigaction(SIGINT, &sa, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  report("ok");
  d.serve();
  g_daemon = nullptr;
  return "";
}

// Forks the daemon and returns once it listens (or failed to), so callers never wait on
// a clock for it. Its pid, or -1 with `error`.
pid_t start_daemon(const std::string& root, const std::string& scenario_path, std::string& error) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return error = std::string("pipe: ") + std::strerror(errno), -1;
  pid_t pid = ::fork();
  if (pid < 0) return error = std::string("fork: ") + std::strerror(errno), -1;
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
    std::string e = run_daemon(root, scenario_path, fds[1]);
    if (!e.empty()) std::cerr << "halsim: " << e << '\n';
    std::_Exit(e.empty() ? 0 : 1);
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
  if (msg == "ok") return pid;
  ::waitpid(pid, nullptr, 0);
  error = msg.empty() ? "the daemon died while starting (see " + root + "/var/log/halsim.log)" : msg;
  return -1;
}

// The root as an absolute path (a relative one is taken against the working directory).
// Only power-on creates it; the other commands need it to exist.
std::string use_root(Run& ctx, const std::string& given, bool create) {
  if (given.empty()) return ctx.usage("give --root DIR or set HAL_ROOT"), "";
  std::error_code ec;
  std::string abs = std::filesystem::absolute(given, ec).lexically_normal().string();
  while (abs.size() > 1 && abs.back() == '/') abs.pop_back();
  struct stat st {};
  if (!create && (::stat(abs.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)))
    return ctx.fail("no halsim serving " + abs + " (" + abs + ": " +
                    (S_ISDIR(st.st_mode) || errno != 0 ? std::strerror(errno) : "not a directory") + ")"),
           "";
  std::string error;
  std::string prepared = create ? prepare_root(abs, error) : abs;
  if (prepared.empty()) return ctx.fail(error), "";
  ::setenv("HAL_ROOT", prepared.c_str(), 1);
  return prepared;
}

void power_on(Run& ctx, const std::string& root_arg, const std::string& scenario, bool background) {
  std::string root = use_root(ctx, root_arg, true);
  if (root.empty()) return;
  Client client(root);
  std::string ignored;
  // Power-on clears the root: never under a daemon that is serving it.
  if (auto st = client.status(ignored))
    return ctx.fail("already serving " + root + " (pid " + std::to_string(st->value("pid", 0)) + ")");
  json j{{"pid", ::getpid()}, {"root", root}, {"socket", root + kSocketPath}};
  if (!background) {
    if (std::string e = run_daemon(root, scenario, -1); !e.empty()) return ctx.fail(e);
    return ctx.set_result(j);
  }
  std::string error;
  pid_t pid = start_daemon(root, scenario, error);
  if (pid < 0) return ctx.fail(error);
  j["pid"] = pid;
  ctx.emit(j, "halsim " + std::to_string(pid) + " serving " + root + kSocketPath);
}

void status(Run& ctx, const std::string& root_arg) {
  std::string root = use_root(ctx, root_arg, false), error;
  auto st = root.empty() ? std::nullopt : Client(root).status(error);
  if (!st) return root.empty() ? void() : ctx.fail(error);
  const json& j = *st;
  ctx.show("appliance " + bayhal::cli::cell(j["appliance"]) + ", halsim pid " + bayhal::cli::cell(j["pid"]));
  ctx.emit(j, bayhal::cli::table_of(j["bays"], {"bay", "label", "enc_sys_id", "name", "pd_sys_id"}));
  if (!j["units"].empty()) {
    ctx.show("");
    ctx.show(bayhal::cli::table_of(j["units"], {"unit", "enc_sys_id", "cabled"}));
  }
}

void stop(Run& ctx, const std::string& root_arg) {
  std::string root = use_root(ctx, root_arg, false), error;
  auto pid = root.empty() ? std::nullopt : Client(root).stop(error);
  if (!pid) return root.empty() ? void() : ctx.fail(error);
  ctx.emit(json{{"pid", *pid}}, "halsim " + std::to_string(*pid) + " stopped");
}

void hotplug(Run& ctx, const std::string& root_arg, bool insert, const std::string& target, const std::string& disk) {
  std::string root = use_root(ctx, root_arg, false), error;
  if (root.empty()) return;
  bool ok = true;
  auto j = Client(root).hotplug(insert, target, disk, error, ok);
  if (!j) return ctx.fail(error);
  std::string what = j->contains("unit") ? "unit " + (*j)["unit"].get<std::string>() : "bay " + (*j)["bay"].get<std::string>();
  std::string text = !j->value("visible", false)
                         ? what + ": " + (insert ? "inserted" : "pulled") + " (its unit is not cabled; nothing to report)"
                         : what + ": " + (insert ? "inserted " : "pulled ") +
                               (j->contains("name") ? bayhal::cli::cell((*j)["name"]) + " (" + bayhal::cli::cell((*j)["pd_sys_id"]) + ")"
                                                    : bayhal::cli::cell((*j)["enc_sys_id"])) +
                               "; " + bayhal::cli::cell((*j)["call"]) + " = " +
                               bayhal::cli::cell((*j)["result"]);
  ctx.emit(*j, text);
  if (!ok) ctx.fail(bayhal::cli::cell((*j)["call"]) + " failed");
}

// The board's state for people: one line a field; a line a fan, sensor or access.
std::string board_text(const json& j) {
  std::string out;
  for (const auto& [key, value] : j.items()) {
    if (!value.is_array()) {
      out += key + ": " + (value.is_object() ? value.dump() : bayhal::cli::cell(value)) + "\n";
      continue;
    }
    out += key + ":\n";
    for (const json& item : value) {
      out += " ";
      if (item.is_object())
        for (const auto& [k, v] : item.items()) out += " " + k + "=" + bayhal::cli::cell(v);
      else
        for (const json& v : item) out += " " + bayhal::cli::cell(v);
      out += "\n";
    }
  }
  if (!out.empty()) out.pop_back();
  return out;
}

void board(Run& ctx, const std::string& root_arg, const std::vector<std::string>& args) {
  std::string root = use_root(ctx, root_arg, false), error;
  if (root.empty()) return;
  std::string text = "board";
  for (const std::string& a : args) text += " " + a;
  auto j = Client(root).board(text, error);
  if (!j) return ctx.fail(error);
  ctx.emit(*j, board_text(*j));
}

// The names `press` knows: "usb_copy, reset, ...".
std::string panel_inputs() {
  std::string names;
  for (const PanelPin& p : panel_pins())
    if (!p.input.empty()) names += (names.empty() ? "" : ", ") + std::string(p.input);
  return names;
}

void press(Run& ctx, const std::string& root_arg, const std::string& button, bool down) {
  const PanelPin* input = panel_input(button);
  if (input == nullptr) return ctx.usage("bad input '" + button + "': expected " + panel_inputs());
  std::string root = use_root(ctx, root_arg, false), error;
  if (root.empty()) return;
  auto j = Client(root).board((down ? "press " : "release ") + button, error);
  if (!j) return ctx.fail(error);
  ctx.emit(*j, button + " " + std::string(down ? input->pressed : input->released));
}

// Spins a disk down to standby or up again, as its own power management would.
void spin(Run& ctx, const std::string& root_arg, const std::string& target, const std::string& how) {
  if (how != "down" && how != "up") return ctx.usage("bad spin '" + how + "': expected down or up");
  std::string root = use_root(ctx, root_arg, false), error;
  if (root.empty()) return;
  Client client(root);
  auto st = client.status(error);
  auto name = st ? control_target(*st, target, error) : std::nullopt;
  auto j = name ? client.board("spin " + *name + " " + how, error) : std::nullopt;
  if (!j) return ctx.fail(error);
  ctx.emit(*j, "disk in bay " + *name + (j->value("standby", false) ? ": in standby" : ": spinning") + " (" +
                   std::to_string(j->value("commands", 0)) + " commands received, woken " +
                   std::to_string(j->value("wakeups", 0)) + " times by one)");
}

}  // namespace

int main(int argc, char** argv) {
  // The appliance's files get the modes its own start-up gives them (folders 0755, files
  // 0644), whatever the caller's umask: under 002 a group-writable /etc would make the
  // model description's link one the library must not follow.
  ::umask(022);
  Run ctx("halsim", BAYHAL_VERSION, argc, argv);
  CLI::App app{"halsim: a virtual appliance for bayhal"};
  ctx.add_global_options(app);
  app.require_subcommand(1);
  std::string root;
  if (const char* env = std::getenv("HAL_ROOT")) root = env;
  app.add_option("--root", root, "system root DIR of the appliance (as HAL_ROOT=DIR)")->type_name("DIR");
  std::string scenario, target, disk;
  for (bool background : {true, false})
    ctx.add_command(&app, background ? "start" : "run",
                    background ? "bring a scenario to life and serve it in the background" : "the same in the foreground",
                    background ? "start" : "run", [&, background] { power_on(ctx, root, scenario, background); })
        ->add_option("scenario", scenario, "scenario file")->required();
  ctx.add_command(&app, "stop", "stop the daemon serving the root", "stop", [&] { stop(ctx, root); });
  ctx.add_command(&app, "status", "bays, disks and units of the running appliance", "status", [&] { status(ctx, root); });
  CLI::App* insert = ctx.add_command(&app, "insert", "insert a disk into a bay, or cable an expansion unit", "hotplug",
                                     [&] { hotplug(ctx, root, true, target, disk); });
  insert->add_option("bay", target, "BAY (root/3, 0/3, jbod/5) or UNIT (jbod)")->required();
  insert->add_option("disk", disk, "disk of the scenario (default: the one last pulled from the bay)");
  ctx.add_command(&app, "remove", "pull the disk from a bay, or unplug an expansion unit", "hotplug",
                  [&] { hotplug(ctx, root, false, target, ""); })
      ->add_option("bay", target, "BAY or UNIT")->required();
  std::vector<std::string> board_args;
  ctx.add_command(&app, "board", "the board's chips: LEDs, buttons, fans, temperatures; 'log [N]' the last "
                                 "port accesses, 'clear' forgets them", "board",
                  [&] { board(ctx, root, board_args); })
      ->add_option("what", board_args, "nothing, log [N] or clear");
  std::string button;
  const std::string inputs = panel_inputs();
  for (bool down : {true, false})
    ctx.add_command(&app, down ? "press" : "release",
                    down ? "hold a front-panel button down, or open the case cover (case_cover)"
                         : "let a front-panel button go, or close the case cover", "button",
                    [&, down] { press(ctx, root, button, down); })
        ->add_option("button", button, inputs)->required();
  std::string spin_bay, spin_how;
  CLI::App* spin_cmd = ctx.add_command(&app, "spin", "spin a disk down to standby or up again", "spin",
                                       [&] { spin(ctx, root, spin_bay, spin_how); });
  spin_cmd->add_option("bay", spin_bay, "BAY (root/3, 0/3, jbod/5)")->required();
  spin_cmd->add_option("how", spin_how, "down or up")->required();
  app.footer(kFooter);  // after the commands, which would otherwise repeat it
  return ctx.execute(app);
}
