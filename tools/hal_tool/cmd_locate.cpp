// hal_tool locate ENC [PORT] on|off, and the locate forms the system itself runs:
// "/sbin/hal_tool buzzer_locate on|off", "lcm_locate on|off", "speaker_locate on|off [voice]".
//
// buzzer_locate on starts a detached beeper that sounds a short beep every two seconds until
// buzzer_locate off stops it (after the beep it is playing; its pid is in
// /var/run/buzzer_locate.pid). The front-panel display belongs to the microcontroller layer
// and the board has no speaker interface here: those two forms are checked and refused.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>

#include "bayhal/GPIO.h"
#include "bayhal/SE.h"
#include "bayhal/hal_common.h"
#include "tools/hal_tool/names.h"

namespace hal_tool {
namespace {

constexpr char kPidFile[] = "/var/run/buzzer_locate.pid";
constexpr int kLocatePattern = 0;  // one short beep
constexpr long kLocateGapMs = 2000;

volatile std::sig_atomic_t g_stop = 0;

void pause_ms(long ms) {
  timespec ts{ms / 1000, (ms % 1000) * 1000000};
  ::nanosleep(&ts, nullptr);  // a stop signal cuts the pause short
}

// The beeper's pid when one is running (a hal_tool process named in the pid file).
pid_t running_beeper() {
  pid_t pid = 0;
  std::ifstream(host_path(kPidFile)) >> pid;
  if (pid <= 0 || ::kill(pid, 0) != 0) return 0;
  std::string comm;
  std::ifstream("/proc/" + std::to_string(pid) + "/comm") >> comm;
  return comm == "hal_tool" ? pid : 0;
}

[[noreturn]] void beeper(int ready_fd) {
  ::setsid();
  int null = ::open("/dev/null", O_RDWR);
  for (int fd : {0, 1, 2}) ::dup2(null, fd);
  struct sigaction sa {};
  sa.sa_handler = [](int) { g_stop = 1; };
  ::sigaction(SIGTERM, &sa, nullptr);
  std::ofstream(host_path(kPidFile)) << ::getpid() << "\n";
  (void)!::write(ready_fd, "r", 1);
  ::close(ready_fd);
  while (!g_stop) {
    SE_Set_Buzzer(0, kLocatePattern);
    if (!g_stop) pause_ms(kLocateGapMs);
  }
  ::unlink(host_path(kPidFile).c_str());
  ::_exit(0);
}

bool start_beeper() {
  int ready[2];
  if (::pipe(ready) != 0) return false;
  int rc = fork_orphaned();
  if (rc > 0) {
    ::close(ready[0]);
    beeper(ready[1]);
  }
  ::close(ready[1]);
  char c = 0;
  bool started = rc == 0 && ::read(ready[0], &c, 1) == 1;
  ::close(ready[0]);
  return started;
}

// Stops the beeper and waits (at most ten seconds) until its last beep has ended.
bool stop_beeper(pid_t pid) {
  if (::kill(pid, SIGTERM) != 0) return false;
  for (int i = 0; i < 1000 && ::kill(pid, 0) == 0; ++i) pause_ms(10);
  return ::kill(pid, 0) != 0;
}

struct LocateArgs {
  std::string state;
  std::string voice;
};

void buzzer_locate(Context& ctx, const LocateArgs& a) {
  bool on = false;
  if (!on_off_arg(ctx, "buzzer_locate state", a.state, on)) return;
  pid_t pid = running_beeper();
  json r{{"command", "buzzer_locate"}, {"state", a.state}, {"supported", true}};
  bool ok = on ? (pid != 0 || start_beeper()) : (pid == 0 || stop_beeper(pid));
  if (!on) ::unlink(host_path(kPidFile).c_str());
  if (!ok) {
    ctx.set_result(r);
    return ctx.fail(std::string("buzzer_locate: the beeper could not be ") + (on ? "started" : "stopped"));
  }
  r["pid"] = on ? json(running_beeper()) : json();
  ctx.emit(r, on ? "locating: the buzzer beeps until buzzer_locate off" : "buzzer locate off");
}

void refused_locate(Context& ctx, const std::string& name, const LocateArgs& a, const std::string& why) {
  bool on = false;
  if (!on_off_arg(ctx, name + " state", a.state, on)) return;
  if (a.voice.find_first_of("\n\r") != std::string::npos) return ctx.usage("bad voice: one line of text expected");
  ctx.set_result({{"command", name}, {"state", on ? "on" : "off"},
                  {"voice", a.voice.empty() ? json() : json(a.voice)}, {"supported", false}});
  ctx.fail(name + ": not supported on this board: " + why);
}

struct Locate {
  std::string enc;
  std::vector<std::string> rest;
  bool led = false, buzzer = false;
};

void locate_bay(Context& ctx, const Enclosure& enc, const std::string& port_text, bool on) {
  long long port = 0;
  if (!number_arg(ctx, "port", port_text, 1, 999, port)) return;
  char how[160] = "";
  GPIO_Get_HDD_LED_Capability(enc.id, static_cast<int>(port), how, sizeof how);
  int rc = GPIO_Enable_HDD_Ident_LED(enc.id, static_cast<int>(port), on);
  int shown = GPIO_Get_HDD_LED(enc.id, static_cast<int>(port), GPIO_HDD_LED_IDENT);
  json r{{"bay", bay_name(enc.id, static_cast<int>(port))}, {"state", on ? "on" : "off"}, {"path", how},
         {"read_back", shown < 0 ? json() : json(shown == 1)}};
  if (rc != 0) {
    ctx.set_result(r);
    return ctx.fail("locate " + bay_name(enc.id, static_cast<int>(port)) + ": " + how);
  }
  ctx.emit(r, "bay " + bay_name(enc.id, static_cast<int>(port)) + " locate " + (on ? "on" : "off") + " (" + how +
                  (shown < 0 ? ")" : shown == 1 ? ", reads on)" : ", reads off)"));
}

void locate(Context& ctx, const Locate& a) {
  if (a.rest.empty() || a.rest.size() > 2) return ctx.usage("locate: expected ENC [PORT] on|off");
  auto enc = enclosure_arg(ctx, a.enc);
  if (!enc) return;
  bool on = false;
  if (!on_off_arg(ctx, "locate state", a.rest.back(), on)) return;
  if (a.rest.size() == 2) return locate_bay(ctx, *enc, a.rest[0], on);
  // The ident LED unless the actions are named.
  int actions = (a.led || !a.buzzer ? GPIO_IDENT_LED : 0) | (a.buzzer ? GPIO_IDENT_BUZZER : 0);
  int rc = GPIO_Enable_Ident_Action(enc->id, on ? actions : 0);
  int active = GPIO_Get_Ident_Action(enc->id);
  json r{{"enc_id", enc->id}, {"state", on ? "on" : "off"},
         {"ident_led", active >= 0 && (active & GPIO_IDENT_LED)},
         {"buzzer", active >= 0 && (active & GPIO_IDENT_BUZZER)}};
  if (rc != 0) {
    ctx.set_result(r);
    return ctx.fail("locate " + a.enc + ": not every locate action could be switched" + log_hint());
  }
  ctx.emit(r, "enclosure " + std::to_string(enc->id) + " locate " + (on ? "on" : "off"));
}

void add_form(CLI::App& app, Context& ctx, const std::string& name, const std::string& what,
              std::function<void(const LocateArgs&)> run, bool with_voice) {
  auto args = std::make_shared<LocateArgs>();
  auto* cmd = ctx.add_command(&app, name, what, "locate", [args, run] { run(*args); });
  cmd->add_option("state", args->state, "on or off")->required();
  if (with_voice) cmd->add_option("voice", args->voice, "voice prompt to play");
}

void add_locate(CLI::App& app, Context& ctx) {
  add_form(app, ctx, "buzzer_locate", "sound the buzzer to locate the appliance",
           [&ctx](const LocateArgs& a) { buzzer_locate(ctx, a); }, false);
  add_form(app, ctx, "lcm_locate", "flash the front-panel display to locate the appliance",
           [&ctx](const LocateArgs& a) {
             refused_locate(ctx, "lcm_locate", a, "the front-panel display needs the microcontroller layer");
           }, false);
  add_form(app, ctx, "speaker_locate", "play a voice prompt to locate the appliance",
           [&ctx](const LocateArgs& a) { refused_locate(ctx, "speaker_locate", a, "no speaker interface"); }, true);

  static Locate l;
  CLI::App* cmd = ctx.add_command(&app, "locate", "light an enclosure's ident LED, or a bay's locate LED",
                                  "locate", [&ctx] { locate(ctx, l); });
  cmd->add_option("enc", l.enc, "ENC: the enclosure")->required();
  cmd->add_option("args", l.rest, "[PORT] on|off");
  cmd->add_flag("--led", l.led, "light the enclosure's ident LED (the default)");
  cmd->add_flag("--buzzer", l.buzzer, "sound the buzzer (buzzer_locate) instead, or with --led");
}

}  // namespace

HAL_TOOL_COMMAND(add_locate);

}  // namespace hal_tool
