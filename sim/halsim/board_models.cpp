#include "sim/halsim/board_models.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "sim/sysfs_builder.h"

namespace bayhal::sim::halsim {
namespace {

using nlohmann::json;

// The kernel driver of each chip's hardware monitor: its platform device and hwmon name.
struct HwmonDriver {
  std::string_view chip, device, name;
};
constexpr HwmonDriver kHwmonDrivers[] = {
    {"IT87", "it87.2608", "it8772"},
    {"F71869A", "f71882fg.2608", "f71869a"},
    {"F81866A", "f71882fg.2608", "f81866a"},
    {"NCT5523", "nct6775.2608", "nct5523"},
};

const char* led_name(SuperIoModel::Led l) {
  switch (l) {
    case SuperIoModel::Led::kOn: return "on";
    case SuperIoModel::Led::kBlink1: return "blinking (engine 1)";
    case SuperIoModel::Led::kBlink2: return "blinking (engine 2)";
    case SuperIoModel::Led::kOff: break;
  }
  return "off";
}

const char* ec_led_name(uint8_t v) {
  constexpr const char* kNames[] = {"off", "green", "red", "green blinking", "red blinking",
                                    "both blinking"};
  return v < 6 ? kNames[v] : "?";
}

long long read_number(const std::string& path) {
  std::ifstream in(path);
  long long v = -1;
  in >> v;
  return in ? v : -1;
}

void write_text(const std::string& path, const std::string& text) { std::ofstream(path) << text << "\n"; }

bool fintek(const std::string& chip) { return chip == "F71869A" || chip == "F81866A"; }

// The last beeps the buzzer sounded: their lengths and the silences between them.
json beeps_json(const EcModel& ec) {
  constexpr size_t kShown = 16;
  auto beeps = ec.beeps();
  json out = json::array();
  for (size_t i = beeps.size() > kShown ? beeps.size() - kShown : 0; i < beeps.size(); ++i)
    out.push_back({{"ms", beeps[i].ms}, {"after_ms", beeps[i].after_ms}});
  return out;
}

}  // namespace

BoardModels::BoardModels(const Scenario& sc) : sc_(sc) {
  if (sc.ec.fitted) fit_ec();
  SuperIoModel::Chip chip;
  if (sc.superio.fitted && SuperIoModel::chip_by_name(sc.superio.chip, chip)) {
    sio_ = std::make_unique<SuperIoModel>(chip);
    sio_->attach_to(bus_);
    for (const std::string& input : sc.superio.held) press(input, true);
  }
}

void BoardModels::fit_ec() {
  const EcSpec& s = sc_.ec;
  ec_ = std::make_unique<EcModel>();
  ec_->attach_to(bus_);
  ec_->set_firmware(s.firmware);
  ec_->set_eup_capable(s.eup);
  auto temps = [&](const std::vector<int>& list, int first) {
    for (size_t i = 0; i < list.size(); ++i)
      ec_->set_temperature(first + static_cast<int>(i), static_cast<uint8_t>(list[i]));
  };
  auto fans = [&](const std::vector<int>& list, int first) {
    for (size_t i = 0; i < list.size(); ++i)
      ec_->fit_fan(first + static_cast<int>(i), static_cast<unsigned>(list[i]));
  };
  temps(s.cpu_temps, 0);
  temps(s.system_temps, 5);
  temps(s.env_temps, 15);
  temps(s.psu_temps, 10);
  fans(s.system_fans, 0);
  fans(s.cpu_fans, 6);
  fans(s.psu_fans, 10);
  for (int n = 1; n <= s.power_supplies; ++n) ec_->set_power_good(n, true);
}

void BoardModels::power_on(const std::string& host_root) {
  const SuperIoSpec& s = sc_.superio;
  if (!s.fitted || (s.temps.empty() && s.fans.empty())) return;
  write_hwmon(host_root);
  watch_.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (watch_) ::inotify_add_watch(watch_.get(), hwmon_dir_.c_str(), IN_CLOSE_WRITE);
}

// The attributes sit in the platform device's folder, which hwmon0/device links to, as the
// kernel's older hwmon drivers lay them out.
void BoardModels::write_hwmon(const std::string& host_root) {
  const SuperIoSpec& s = sc_.superio;
  const HwmonDriver* drv = &kHwmonDrivers[0];
  for (const HwmonDriver& d : kHwmonDrivers)
    if (d.chip == s.chip) drv = &d;
  SysfsBuilder b(host_root);
  std::string dev = "/sys/devices/platform/" + std::string(drv->device);
  std::string hw = dev + "/hwmon/hwmon0";
  b.dir(dev);
  b.attr(hw + "/name", drv->name);
  b.link(hw + "/device", dev);
  b.link("/sys/class/hwmon/hwmon0", hw);
  for (size_t i = 0; i < s.temps.size(); ++i)
    b.attr(dev + "/temp" + std::to_string(i + 1) + "_input", std::to_string(s.temps[i] * 1000));
  for (size_t i = 0; i < s.fans.size(); ++i) {
    std::string n = std::to_string(i + 1);
    b.attr(dev + "/pwm" + n, "128");
    b.attr(dev + "/pwm" + n + "_enable", fintek(s.chip) ? "2" : "1");
    if (fintek(s.chip)) b.attr(dev + "/fan" + n + "_alarm", "0");
  }
  hwmon_dir_ = b.host_path(dev);
  for (size_t i = 0; i < s.fans.size(); ++i) fan_follows(static_cast<int>(i + 1));
}

void BoardModels::fan_follows(int channel) {
  const std::vector<int>& fans = sc_.superio.fans;
  if (channel < 1 || channel > static_cast<int>(fans.size())) return;
  std::string n = std::to_string(channel);
  long long pwm = read_number(hwmon_dir_ + "/pwm" + n);
  if (pwm < 0 || pwm > 255) return;
  long long rpm = fans[static_cast<size_t>(channel - 1)] * pwm / 255;
  write_text(hwmon_dir_ + "/fan" + n + "_input", std::to_string(rpm));
  if (fintek(sc_.superio.chip)) write_text(hwmon_dir_ + "/fan" + n + "_alarm", pwm > 0 && rpm == 0 ? "1" : "0");
}

void BoardModels::on_watch() {
  alignas(inotify_event) char buf[4096];
  for (;;) {
    ssize_t n = ::read(watch_.get(), buf, sizeof buf);
    if (n <= 0) return;
    for (ssize_t at = 0; at < n;) {
      const auto* ev = reinterpret_cast<const inotify_event*>(buf + at);
      at += static_cast<ssize_t>(sizeof(inotify_event) + ev->len);
      std::string name = ev->len ? ev->name : "";
      if (!name.starts_with("pwm") || name.find('_') != std::string::npos) continue;
      fan_follows(std::atoi(name.c_str() + 3));
    }
  }
}

frame::PortReply BoardModels::access(const frame::PortRequest& q, uint32_t pid, PortPermissions& perms) {
  bus_.act_for(pid, &perms);
  frame::PortReply r;
  switch (q.op) {
    case frame::PortOp::kPermit:
      if (bus_.permit(q.port, q.arg) != 0) r.result = -errno;
      break;
    case frame::PortOp::kIn:
      r.value = bus_.inb(q.port);
      break;
    case frame::PortOp::kOut:
      bus_.outb(static_cast<uint8_t>(q.arg), q.port);
      break;
  }
  bus_.act_for(0, nullptr);
  return r;
}

json BoardModels::log(size_t last) const {
  const auto& all = bus_.log();
  size_t from = all.size() > last ? all.size() - last : 0;
  json out = json::array();
  for (size_t i = from; i < all.size(); ++i) {
    const PortAccess& a = all[i];
    out.push_back({a.who, a.port, a.write ? "out" : "in", a.value});
  }
  return out;
}

bool BoardModels::press(const std::string& button, bool down) {
  if (ec_ && button == "usb_copy") {
    ec_->press_usb_button(down);
    return true;
  }
  const PanelPin* input = panel_input(button);
  if (!sio_ || input == nullptr) return false;
  for (const auto& [k, pin] : sc_.superio.pins)
    if (k == input->io_key) {
      sio_->press(pin, down);
      return true;
    }
  return false;
}

json BoardModels::ec_status() const {
  const EcSpec& s = sc_.ec;
  EcModel& ec = *ec_;
  json fans = json::array(), temps = json::array(), supplies = json::array();
  auto add_fans = [&](size_t count, int first) {
    for (size_t i = 0; i < count; ++i)
      fans.push_back({{"index", first + static_cast<int>(i)}, {"rpm", ec.fan_rpm(first + static_cast<int>(i))}});
  };
  add_fans(s.system_fans.size(), 0);
  add_fans(s.cpu_fans.size(), 6);
  add_fans(s.psu_fans.size(), 10);
  auto add_temps = [&](const std::vector<int>& list, int first) {
    for (size_t i = 0; i < list.size(); ++i) temps.push_back({{"index", first + static_cast<int>(i)}, {"celsius", list[i]}});
  };
  add_temps(s.cpu_temps, 0);
  add_temps(s.system_temps, 5);
  add_temps(s.psu_temps, 10);
  add_temps(s.env_temps, 15);
  for (int n = 1; n <= s.power_supplies; ++n)
    supplies.push_back({{"supply", n}, {"good", (ec.reg(0x0045) >> n & 1) != 0}});
  return {{"chip", "IT8528"},
          {"status_led", ec_led_name(ec.status_led())},
          // Percent, while the LEDs are dimmed by PWM (bit 4 of 0x245).
          {"led_brightness", (ec.reg(0x0245) & 0x10) ? json(ec.reg(0x0243)) : json()},
          {"buttons", {{"usb_copy", (ec.reg(0x0143) & 0x04) != 0}}},
          {"fans", fans},
          {"temperatures", temps},
          {"supplies", supplies},
          {"power_recovery_register", ec.reg(0x0016)},
          {"buzzer", ec.reg(0x0249)},
          {"buzzer_beeps", beeps_json(ec)},
          {"protocol_errors", ec.protocol_errors()}};
}

json BoardModels::sio_status() const {
  json leds = json::object(), buttons = json::object(), fans = json::array(), temps = json::array();
  for (const auto& [key, pin] : sc_.superio.pins) {
    if (key.ends_with("_LED"))
      leds[key] = led_name(sio_->led(pin));
    else
      buttons[key] = !sio_->line(pin);
  }
  if (!hwmon_dir_.empty()) {
    for (size_t i = 1; i <= sc_.superio.fans.size(); ++i) {
      std::string n = std::to_string(i);
      fans.push_back({{"channel", i}, {"rpm", read_number(hwmon_dir_ + "/fan" + n + "_input")},
                      {"pwm", read_number(hwmon_dir_ + "/pwm" + n)}});
    }
    for (size_t i = 1; i <= sc_.superio.temps.size(); ++i)
      temps.push_back({{"channel", i}, {"celsius", read_number(hwmon_dir_ + "/temp" + std::to_string(i) + "_input") / 1000}});
  }
  return {{"chip", sc_.superio.chip}, {"leds", leds}, {"buttons", buttons}, {"fans", fans},
          {"temperatures", temps}, {"configuration_mode", sio_->in_config()}};
}

json BoardModels::status() const {
  if (ec_) return ec_status();
  if (sio_) return sio_status();
  return json::object();
}

}  // namespace bayhal::sim::halsim
