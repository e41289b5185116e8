// Shared set-up for the board tests: a sandbox root whose model description a test writes,
// fresh per-process caches, and recording stand-ins for chip families.
#pragma once
#include <string>
#include <vector>

#include "board/dispatch/caches.h"
#include "board/dispatch/fan_levels.h"
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
  static const std::string name(board::family_name(F));
  board::Driver d{.name = name};
  d.get_temp = [](const Target& t, double* c) {
    calls().log.push_back(name + " temp " + where(t));
    *c = calls().temp;
    return calls().result;
  };
  d.set_fan_pwm = [](const Target& t, int pwm) {
    calls().log.push_back(name + " pwm " + where(t) + "=" + std::to_string(pwm));
    return calls().result;
  };
  d.set_fan_level = [](const Target& t, int level) {
    calls().log.push_back(name + " level " + where(t) + "=" + std::to_string(level));
    return calls().result;
  };
  d.set_status_led = [](const Target& t, int led, int on) {
    calls().log.push_back(name + " led " + std::to_string(led) + "=" + std::to_string(on) +
                          (t.channel >= 0 ? " @" + std::to_string(t.channel) : ""));
    return calls().result;
  };
  d.blink_status_led = [](const Target&, int led, int on) {
    calls().log.push_back(name + " blink " + std::to_string(led) + "=" + std::to_string(on));
    return calls().result;
  };
  d.send_command = [](const Target&, int cmd) {
    calls().log.push_back(name + " cmd " + std::to_string(cmd));
    return calls().result;
  };
  d.set_power_recovery = [](const Target&, int mode) {
    calls().log.push_back(name + " recovery " + std::to_string(mode));
    return calls().result;
  };
  d.beep = [](const Target&, int mode) {
    calls().log.push_back(name + " beep " + std::to_string(mode));
    return calls().result;
  };
  d.set_led_brightness = [](const Target&, int percent) {
    calls().log.push_back(name + " brightness " + std::to_string(percent));
    return calls().result;
  };
  d.get_button = [](const Target& t, board::Button, int* pressed) {
    calls().log.push_back(name + " button " + where(t));
    *pressed = 1;
    return calls().result;
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
  bool traced(const std::string& text) const { return trace().find(text) != std::string::npos; }
};

}  // namespace bayhal::test
