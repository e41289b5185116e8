// The board's chips as halsim serves them: the embedded controller or the Super I/O chip of
// the scenario behind one port bus, shared by every process that reaches the simulator, and
// the kernel's view of the chip's hardware monitor (hwmon0) for a Super I/O board, whose fan
// speeds follow the PWM values the library writes.
#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "foundation/unique_fd.h"
#include "sim/ec_model.h"
#include "sim/halsim/scenario.h"
#include "sim/port_bus.h"
#include "sim/superio_model.h"
#include "transport/transport_frame.h"

namespace bayhal::sim::halsim {

class BoardModels {
 public:
  explicit BoardModels(const Scenario& sc);

  // Writes the hwmon tree of a Super I/O board under `host_root` and starts watching it.
  void power_on(const std::string& host_root);

  // One port access of client process `pid`, with the permissions that process was given.
  frame::PortReply access(const frame::PortRequest& q, uint32_t pid, PortPermissions& perms);

  // The descriptor to poll for changes of the hwmon attributes (-1 when none), and what to do
  // when it is readable: a fan follows the PWM value written to it.
  int watch_fd() const { return watch_.get(); }
  void on_watch();

  // LEDs, buttons, fans and temperatures as a person would look at them.
  nlohmann::json status() const;
  // The last `last` port accesses: [pid, port, "in" | "out", value].
  nlohmann::json log(size_t last) const;
  void clear_log() { bus_.clear_log(); }
  // Presses or releases a front-panel input (panel_pins(): "usb_copy", "case_cover" opens the
  // cover); false when the board has no such one.
  bool press(const std::string& button, bool down);

 private:
  const Scenario& sc_;
  PortBus bus_;
  std::unique_ptr<EcModel> ec_;
  std::unique_ptr<SuperIoModel> sio_;
  std::string hwmon_dir_;  // host path of the attribute folder; empty without one
  UniqueFd watch_;

  void fit_ec();
  void write_hwmon(const std::string& host_root);
  void fan_follows(int channel);
  nlohmann::json ec_status() const;
  nlohmann::json sio_status() const;
};

}  // namespace bayhal::sim::halsim
