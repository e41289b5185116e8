// Shared set-up for the board tests: a sandbox root whose model description a test writes,
// fresh per-process caches, and recording stand-ins for chip families.
#pragma once
#include <string>
#include <vector>

#include "board/dispatch/caches.h"
#include "board/dispatch/fan_levels.h"
#include "board/dispatch/se_sys.h"
#include "board/driver.h"
#include "foundation/err_trace.h"
#include "foundation/store_files.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {

// What the recording families were asked, in order ("EC temp 15/0", "PIC cmd 89").
struct Calls {
  std::vector<std::string> log;
  int result = 0;     // what every recorded operation answers
  double temp = 40;   // what get_temp reports
};
inline Calls& calls() {
  static Calls c;
  return c;
}

inline std::string where(const board::Target& t) {
  return std::to_string(t.index) + "/" + std::to_string(t.channel);
}

// A family that records each call with the family's name.
template <board::Family F>
board::Driver recording_driver() {
  using board::Target;
  using std::to_string;
  static const std::string name(board::family_name(F));
  static auto rec = [](const std::string& what) {
    calls().log.push_back(name + " " + what);
    return calls().result;
  };
  board::Driver d{.name = name};
  d.get_temp = [](const Target& t, double* c) { return *c = calls().temp, rec("temp " + where(t)); };
  d.set_fan_pwm = [](const Target& t, int v) { return rec("pwm " + where(t) + "=" + to_string(v)); };
  d.set_fan_level = [](const Target& t, int v) { return rec("level " + where(t) + "=" + to_string(v)); };
  d.set_status_led = [](const Target& t, int led, int on) {
    return rec("led " + to_string(led) + "=" + to_string(on) +
               (t.channel >= 0 ? " @" + to_string(t.channel) : ""));
  };
  d.blink_status_led = [](const Target&, int led, int on) {
    return rec("blink " + to_string(led) + "=" + to_string(on));
  };
  d.send_command = [](const Target&, int cmd) { return rec("cmd " + to_string(cmd)); };
  d.set_power_recovery = [](const Target&, int mode) { return rec("recovery " + to_string(mode)); };
  d.beep = [](const Target&, int mode) { return rec("beep " + to_string(mode)); };
  d.set_led_brightness = [](const Target&, int pct) { return rec("brightness " + to_string(pct)); };
  d.get_button = [](const Target& t, board::Button, int* pressed) {
    return *pressed = 1, rec("button " + where(t));
  };
  return d;
}

// Installs a recording table for a family for the guard's lifetime.
template <board::Family F>
struct Recording {
  board::Driver table = recording_driver<F>();
  board::ScopedDriver guard{F, table};
};

class BoardTest : public SandboxTest {
 protected:
  BoardTest() { fresh_process(); }
  ~BoardTest() override { fresh_process(); }

  void model(const std::string& text) { root.write(kModelConf, text); }
  // As a process that starts now would see the board.
  void fresh_process() {
    board::reset_board_caches();
    board::reset_fan_levels();
    calls() = Calls{};
  }
  std::string trace() const { return root.read(trace_log_path()); }
  // One reading of the root enclosure as "rc value[ value]", so a row states both at once.
  static std::string temp(int index) {
    double t = -99;
    int rc = board::se_sys_get_temp("root", index, &t);
    return std::to_string(rc) + " " + std::to_string(static_cast<int>(t));
  }
  static std::string fan(int index) {
    unsigned rpm = 99;
    int status = -99, rc = board::se_sys_get_fan_speed("root", index, &rpm, &status);
    return std::to_string(rc) + " " + std::to_string(rpm) + " " + std::to_string(status);
  }
  static std::string pwm(int index) {
    int v = -99, rc = board::se_sys_get_fan_pwm("root", index, &v);
    return std::to_string(rc) + " " + std::to_string(v);
  }
  static std::string psu(int n) {
    int status = -99, rc = board::se_sys_get_power_supply_status("root", n, &status);
    return std::to_string(rc) + " " + std::to_string(status);
  }
  bool traced(const std::string& text) const { return trace().find(text) != std::string::npos; }
};

}  // namespace bayhal::test
