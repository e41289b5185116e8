// hal_tool sed status|init|range|lock|unlock|mbr|password|verify|revert BAY: a
// self-encrypting drive's locking through the PD_SED_* family.
//
// Passwords and PSIDs never come from the command line, where any user could read them in
// the process list: each is one line of standard input (or of --secret-file FILE), read
// without echo from a terminal. `password` reads the old one, then the new one.
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "bayhal/PD.h"
#include "tools/hal_tool/names.h"

namespace hal_tool {
namespace {

constexpr size_t kMaxSecret = 1024;

// The secrets of one run, wiped when it ends.
class Secrets {
 public:
  ~Secrets() {
    for (std::string& s : items_) explicit_bzero(s.data(), s.size());
  }
  // Reads `n` lines from `file` (standard input when empty); false with `error` set.
  bool read(const std::string& file, const std::vector<std::string>& prompts, std::string& error);
  const char* operator[](size_t i) const { return items_.at(i).c_str(); }

 private:
  bool take(std::istream& in, std::string& error);
  std::vector<std::string> items_;
};

bool Secrets::take(std::istream& in, std::string& error) {
  // Read in place into one buffer of its final size: no copy is left behind by a move or
  // by growing.
  items_.reserve(2);
  std::string& line = items_.emplace_back();
  line.reserve(kMaxSecret + 2);
  if (!std::getline(in, line)) return error = "expected one more line of input", false;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (line.empty() || line.size() > kMaxSecret) return error = "a password or PSID is 1 to 1024 bytes", false;
  return true;
}

bool Secrets::read(const std::string& file, const std::vector<std::string>& prompts, std::string& error) {
  if (!file.empty()) {
    std::ifstream in(file);
    if (!in) return error = "cannot read " + file + ": " + std::strerror(errno), false;
    for (size_t i = 0; i < prompts.size(); ++i)
      if (!take(in, error)) return false;
    return true;
  }
  bool tty = ::isatty(STDIN_FILENO) == 1;
  termios saved{};
  if (tty && ::tcgetattr(STDIN_FILENO, &saved) == 0) {
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  bool ok = true;
  for (const std::string& p : prompts) {
    if (tty) std::fprintf(stderr, "%s: ", p.c_str());
    ok = take(std::cin, error);
    if (tty) std::fputc('\n', stderr);
    if (!ok) break;
  }
  if (tty) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
  return ok;
}

struct Args {
  std::string bay, secret_file, state;
  int range = 0;
  std::vector<long long> setup;
  bool remove = false, enable = false, disable = false, psid = false;
};

json yes_no(int answer) { return answer < 0 ? json() : json(answer == 1); }

std::string log_of_failure() { return " (details in " + host_path("/var/log/sedutil.log") + ")"; }

// The bay, a SED, and the secrets the action needs; nullopt after reporting why not.
std::optional<Bay> sed_bay(Context& ctx, const std::string& what, const Args& a) {
  auto bay = bay_arg(ctx, a.bay);
  if (!bay) return std::nullopt;
  if (PD_SED_Is_Supported(bay->enc.id, bay->port) != 1) {
    ctx.fail(what + ": bay " + bay_name(bay->enc.id, bay->port) + " holds no self-encrypting drive");
    return std::nullopt;
  }
  return bay;
}

bool secrets(Context& ctx, const std::string& what, const Args& a, Secrets& s, std::vector<std::string> prompts) {
  std::string error;
  if (s.read(a.secret_file, prompts, error)) return true;
  ctx.usage(what + ": " + error);
  return false;
}

// Runs one changing action and reports it.
void act(Context& ctx, const std::string& what, const Bay& bay, json result, int rc, const std::string& done) {
  json out{{"bay", bay_name(bay.enc.id, bay.port)}};
  out.update(result);
  out["done"] = rc == 0;
  result = out;
  ctx.set_result(result);
  if (rc != 0) return ctx.fail(what + ": the drive refused or could not be asked" + log_of_failure());
  ctx.emit(result, done + " on bay " + bay_name(bay.enc.id, bay.port));
}

void status(Context& ctx, const Args& a) {
  auto bay = bay_arg(ctx, a.bay);
  if (!bay) return;
  int e = bay->enc.id, p = bay->port;
  bool sed = PD_SED_Is_Supported(e, p) == 1;
  json j{{"bay", bay_name(e, p)}, {"supported", sed}, {"initialized", nullptr}, {"locked", nullptr}};
  if (sed) {
    j["initialized"] = yes_no(PD_SED_Is_Initialized(e, p));
    j["locked"] = yes_no(PD_SED_Is_Locked(e, p));
    if (j["initialized"].is_null() || j["locked"].is_null()) {
      ctx.set_result(j);
      return ctx.fail("sed status: the drive could not be asked" + log_of_failure());
    }
  }
  ctx.emit(j, fields_of(j));
}

void init(Context& ctx, const Args& a) {
  auto bay = sed_bay(ctx, "sed init", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed init", a, s, {"New password"})) return;
  act(ctx, "sed init", *bay, json::object(), PD_SED_Initialize(bay->enc.id, bay->port, s[0]), "initialised");
}

void range(Context& ctx, const Args& a) {
  int changes = (a.setup.empty() ? 0 : 1) + a.remove + a.enable + a.disable;
  if (changes > 1) return ctx.usage("sed range: give at most one of --setup, --remove, --enable, --disable");
  auto bay = sed_bay(ctx, "sed range", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed range", a, s, {"Password"})) return;
  int e = bay->enc.id, p = bay->port, r = a.range;
  json j{{"bay", bay_name(e, p)}, {"range", r}};
  if (!a.setup.empty()) {
    j["start"] = a.setup[0];
    j["length"] = a.setup[1];
    return act(ctx, "sed range", *bay, j, PD_SED_Setup_Range(e, p, r, a.setup[0], a.setup[1], s[0]), "range set up");
  }
  if (a.remove) return act(ctx, "sed range", *bay, j, PD_SED_Remove_Range(e, p, r, s[0]), "range removed");
  if (a.enable) return act(ctx, "sed range", *bay, j, PD_SED_Enable_Range(e, p, r, s[0]), "range enabled");
  if (a.disable) return act(ctx, "sed range", *bay, j, PD_SED_Disable_Range(e, p, r, s[0]), "range disabled");
  long long start = 0, length = 0;
  if (PD_SED_Display_Range(e, p, r, s[0], &start, &length) != 0) {
    ctx.set_result(j);
    return ctx.fail("sed range: the drive refused or could not be asked" + log_of_failure());
  }
  j["start"] = start;
  j["length"] = length;
  j["enabled"] = yes_no(PD_SED_Range_Is_Enabled(e, p, r, s[0]));
  j["locked"] = yes_no(PD_SED_Range_Is_Locked(e, p, r, s[0]));
  ctx.emit(j, fields_of(j));
}

void lock(Context& ctx, const Args& a, bool locking) {
  std::string what = locking ? "sed lock" : "sed unlock";
  auto bay = sed_bay(ctx, what, a);
  Secrets s;
  if (!bay || !secrets(ctx, what, a, s, {"Password"})) return;
  int rc = locking ? PD_SED_Lock_Range(bay->enc.id, bay->port, a.range, s[0])
                   : PD_SED_Unlock_Range(bay->enc.id, bay->port, a.range, s[0]);
  act(ctx, what, *bay, {{"range", a.range}}, rc, locking ? "range locked" : "range unlocked");
}

void mbr(Context& ctx, const Args& a) {
  bool on = false;
  if (!on_off_arg(ctx, "sed mbr state", a.state, on)) return;
  auto bay = sed_bay(ctx, "sed mbr", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed mbr", a, s, {"Password"})) return;
  act(ctx, "sed mbr", *bay, {{"mbr", on}}, PD_SED_MBR_Enable(bay->enc.id, bay->port, on, s[0]),
      on ? "shadow MBR enabled" : "shadow MBR disabled");
}

void password(Context& ctx, const Args& a) {
  auto bay = sed_bay(ctx, "sed password", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed password", a, s, {"Old password", "New password"})) return;
  act(ctx, "sed password", *bay, json::object(), PD_SED_Change_Password(bay->enc.id, bay->port, s[0], s[1]),
      "password changed");
}

void verify(Context& ctx, const Args& a) {
  auto bay = sed_bay(ctx, "sed verify", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed verify", a, s, {"Password"})) return;
  bool right = PD_SED_Verify_Password(bay->enc.id, bay->port, s[0]) == 0;
  json j{{"bay", bay_name(bay->enc.id, bay->port)}, {"accepted", right}};
  ctx.set_result(j);
  if (!right) return ctx.fail("sed verify: the drive did not accept the password");
  ctx.emit(j, "password accepted");
}

void revert(Context& ctx, const Args& a) {
  auto bay = sed_bay(ctx, "sed revert", a);
  Secrets s;
  if (!bay || !secrets(ctx, "sed revert", a, s, {a.psid ? "PSID" : "Password"})) return;
  int rc = a.psid ? PD_SED_Factory_Reset_With_PSID(bay->enc.id, bay->port, s[0])
                  : PD_SED_Factory_Reset_With_Password(bay->enc.id, bay->port, s[0]);
  act(ctx, "sed revert", *bay, {{"psid", a.psid}}, rc,
      a.psid ? "reverted to factory state (all data erased)" : "locking reverted (data kept)");
}

void add_sed(CLI::App& app, Context& ctx) {
  CLI::App* sed = ctx.area(app, "sed", "self-encrypting drives (TCG Opal locking)");
  static Args a;
  auto command = [&](const std::string& name, const std::string& what, auto body, bool secret, bool range) {
    CLI::App* c = ctx.add_command(sed, name, what, "sed", [&ctx, body] { body(ctx, a); });
    c->add_option("bay", a.bay, "BAY: ENC/PORT, e.g. 0/3 or root/3")->required();
    if (range) c->add_option("range", a.range, "locking range: 0 (global) to 8")->required();
    if (secret) c->add_option("--secret-file", a.secret_file, "read the password or PSID from FILE, not standard input");
    return c;
  };
  command("status", "whether the drive is a SED, initialised, locked", status, false, false);
  command("init", "take ownership and activate locking (password on input)", init, true, false);
  CLI::App* r = command("range", "show a locking range, or set it up, remove, enable or disable it", range, true, true);
  r->add_option("--setup", a.setup, "START COUNT: an unlocked range of COUNT sectors from START")->expected(2);
  r->add_flag("--remove", a.remove, "set the range to start 0, length 0");
  r->add_flag("--enable", a.enable, "enable read and write locking of the range");
  r->add_flag("--disable", a.disable, "disable its locking");
  command("lock", "lock a range", [](Context& c, const Args& x) { lock(c, x, true); }, true, true);
  command("unlock", "unlock a range", [](Context& c, const Args& x) { lock(c, x, false); }, true, true);
  command("mbr", "turn the shadow MBR on or off", mbr, true, false)
      ->add_option("state", a.state, "on or off")
      ->required();
  command("password", "change the Admin1 password (old, then new, on input)", password, true, false);
  command("verify", "check a password against the drive", verify, true, false);
  command("revert", "revert the drive's locking with the password (data kept), or with --psid to factory state",
          revert, true, false)
      ->add_flag("--psid", a.psid, "the input is the PSID printed on the drive: ALL DATA IS ERASED");
}

}  // namespace

HAL_TOOL_COMMAND(add_sed);

}  // namespace hal_tool
