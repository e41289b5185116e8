#include "sim/halsim/model_writer.h"

#include <algorithm>
#include <cstdio>

namespace bayhal::sim::halsim {
namespace {

constexpr unsigned kCapNoEsata = 0x200;
constexpr unsigned kCapPcieSlots = 0x8000;
constexpr unsigned kCapCache = 0x8000000;
constexpr unsigned kCapInternal = 0x80000000;

// The description as ordered sections, so the scenario's pass-through keys can override
// derived ones in place.
class Conf {
 public:
  void section(const std::string& name) {
    for (size_t i = 0; i < sections_.size(); ++i)
      if (sections_[i].name == name) {
        cur_ = i;
        return;
      }
    sections_.push_back({name, {}});
    cur_ = sections_.size() - 1;
  }
  void key(const std::string& k, const std::string& v) {
    for (auto& kv : sections_[cur_].keys)
      if (kv.first == k) {
        kv.second = v;
        return;
      }
    sections_[cur_].keys.emplace_back(k, v);
  }
  void key(const std::string& k, long long v) { key(k, std::to_string(v)); }
  void hex(const std::string& k, unsigned v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%x", v);
    key(k, buf);
  }
  std::string text() const {
    std::string out;
    for (const ModelSection& s : sections_) {
      out += (out.empty() ? "[" : "\n[") + s.name + "]\n";
      for (const auto& [k, v] : s.keys) out += k + " = " + v + "\n";
    }
    return out;
  }

 private:
  std::vector<ModelSection> sections_;
  size_t cur_ = 0;
};

unsigned pci_domain(const std::string& pci) {
  return static_cast<unsigned>(std::stoul(pci.substr(0, 4), nullptr, 16));
}

// Where a slot is wired: the controller, or the root port above it (bus numbers behind a
// bridge are the firmware's to choose; the root port is fixed on the board).
void wiring(Conf& c, const Controller& ctl, int port) {
  const std::string& at = ctl.bridge.empty() ? ctl.pci : ctl.bridge;
  c.key("DEV_BUS", dev_bus(at));
  c.key("DEV_PORT", port);
  if (unsigned domain = pci_domain(at); domain != 0) c.key("DEV_DOMAIN", domain);
}

void system_disks(Conf& c, const Scenario& sc) {
  int n = 0;
  for (const Slot* s : sc.slots_of("root")) {
    c.section("System Disk " + std::to_string(++n));
    wiring(c, *sc.controller(s->controller), s->port);
    if (!s->label.empty()) c.key("SLOT_NAME", s->label);
  }
}

void cache_disks(Conf& c, const Scenario& sc) {
  auto slots = sc.slots_of("cache");
  if (slots.empty()) return;
  c.section("Cache Enclosure");
  c.key("VENDOR", sc.vendor);
  c.key("MAX_DISK_NUM", static_cast<long long>(slots.size()));
  int n = 0;
  for (const Slot* s : slots) {
    c.section("Cache Disk " + std::to_string(++n));
    wiring(c, *sc.controller(s->controller), 0);
    if (!s->label.empty()) c.key("SLOT_NAME", s->label);
  }
}

// A USB port is one connector wired to the same port number of both root hubs of its xHCI
// controller: the SuperSpeed one and the USB 2 one.
void usb_ports(Conf& c, const Scenario& sc) {
  auto slots = sc.slots_of("usb");
  if (slots.empty()) return;
  c.section("Usb Enclosure");
  c.key("VENDOR", sc.vendor);
  c.key("MAX_DISK_NUM", static_cast<long long>(slots.size()));
  int n = 0;
  for (const Slot* s : slots) {
    const Controller& ctl = *sc.controller(s->controller);
    c.section("Usb Port " + std::to_string(++n));
    c.key("DEV_BUS", dev_bus(ctl.pci));
    if (unsigned domain = pci_domain(ctl.pci); domain != 0) c.key("DEV_DOMAIN", domain);
    c.key("DEV_PORT_SS", s->port);
    c.key("DEV_PORT_NS", s->port);
    if (s->front) c.key("FRONT_PORT", 1);
    if (!s->label.empty()) c.key("SLOT_NAME", s->label);
  }
}

int pcie_slot_count(const Scenario& sc) {
  int n = 0;
  for (const Controller& c : sc.controllers) n = std::max(n, c.pcie_slot);
  return n;
}

void pcie_slots(Conf& c, const Scenario& sc) {
  for (int slot = 1; slot <= pcie_slot_count(sc); ++slot) {
    c.section("System PCIE SLOT " + std::to_string(slot));
    for (const Controller& ctl : sc.controllers) {
      if (ctl.pcie_slot != slot) continue;
      const std::string& at = ctl.bridge.empty() ? ctl.pci : ctl.bridge;
      c.key("DEV_BUS", dev_bus(at));
      if (unsigned domain = pci_domain(at); domain != 0) c.key("DEV_DOMAIN", domain);
    }
  }
}

// Fans of one section: FAN_UNIT, FAN_<n> = "I<channel>" and the nine levels' PWM (level 0
// at 64, then 24 more a level up to 255).
void fan_section(Conf& c, const char* section, const char* unit, int count, int first_channel) {
  if (count == 0) return;
  c.section(section);
  c.key("FAN_UNIT", unit);
  for (int n = 1; n <= count; ++n) c.key("FAN_" + std::to_string(n), "I" + std::to_string(first_channel + n - 1));
  for (int level = 0; level <= 8; ++level)
    c.key("FAN_LEVEL_" + std::to_string(level), level == 8 ? 255LL : 64LL + 24 * level);
}

// The embedded controller carries every board function; its fan channels are the EC's fan
// indexes plus one.
void ec_board(Conf& c, const EcSpec& ec) {
  c.section("System Enclosure");
  c.key("SIO_DEVICE", "IT8528");
  if (!ec.cpu_temps.empty()) c.key("CPU_TEMP_UNIT", "EC");
  if (!ec.system_temps.empty()) c.key("SYSTEM_TEMP_UNIT", "EC");
  if (!ec.env_temps.empty()) c.key("ENV_TEMP_UNIT", "EC");
  // The sensors the board has: system sensors by count, environment sensors by number.
  c.key("MAX_TEMP_NUM", static_cast<long long>(ec.system_temps.size()));
  for (size_t n = 1; n <= ec.env_temps.size(); ++n)
    c.key("ENV_TEMP" + std::to_string(n) + "_ID", static_cast<long long>(n - 1));
  c.key("PWR_RECOVERY_UNIT", "EC");
  c.key("MAX_FAN_NUM", static_cast<long long>(ec.system_fans.size()));
  c.key("MAX_CPU_FAN_NUM", static_cast<long long>(ec.cpu_fans.size()));
  fan_section(c, "System FAN", "EC", static_cast<int>(ec.system_fans.size()), 1);
  fan_section(c, "CPU FAN", "EC", static_cast<int>(ec.cpu_fans.size()), 7);
  c.section("System IO");
  for (const char* k : {"STATUS_RED_LED", "STATUS_GREEN_LED", "USB_COPY_BUTTON", "SYSTEM_BUZZER_UNIT",
                        "LED_BV_INTERFACE"})
    c.key(k, "EC");
  c.key("LED_BV_CTRL", "PWM");
  c.key("SYSTEM_BUZZER_FREQ", ec.buzzer_freq);
  for (int n = 1; n <= ec.power_supplies; ++n) c.key("REDUNDANT_POWER_" + std::to_string(n), "EC");
}

// A Super I/O board reads its sensors through hwmon0: temperature channel 1 is the CPU,
// channel 2 the system; fan channel 1 the CPU fan, the others system fans.
void superio_board(Conf& c, const SuperIoSpec& sio) {
  c.section("System Enclosure");
  c.key("SIO_DEVICE", sio.chip);
  c.key("PWR_RECOVERY_UNIT", "SIO");
  if (!sio.temps.empty()) c.key("CPU_TEMP_UNIT", "SIO:1");
  if (sio.temps.size() > 1) c.key("SYSTEM_TEMP_UNIT", "SIO:2");
  c.key("MAX_TEMP_NUM", sio.temps.size() > 1 ? 1LL : 0LL);
  int fans = static_cast<int>(sio.fans.size());
  c.key("MAX_CPU_FAN_NUM", fans > 0 ? 1 : 0);
  c.key("MAX_FAN_NUM", fans > 1 ? fans - 1 : 0);
  fan_section(c, "CPU FAN", "SIO", fans > 0 ? 1 : 0, 1);
  fan_section(c, "System FAN", "SIO", fans > 1 ? fans - 1 : 0, 2);
  if (sio.pins.empty()) return;
  c.section("System IO");
  for (const auto& [key, pin] : sio.pins) c.key(key, "SIO:" + std::to_string(pin));
}

}  // namespace

std::string dev_bus(const std::string& pci) { return pci.size() > 5 ? pci.substr(5) : pci; }

unsigned model_cap(const Scenario& sc) {
  unsigned cap = kCapInternal | kCapNoEsata | sc.cap_extra;
  if (!sc.slots_of("cache").empty()) cap |= kCapCache;
  if (pcie_slot_count(sc) > 0) cap |= kCapPcieSlots;
  return cap;
}

std::string model_conf_text(const Scenario& sc) {
  Conf c;
  c.section("System Enclosure");
  c.key("VENDOR", sc.vendor);
  c.key("MODEL", sc.name);
  c.hex("CAP", model_cap(sc));
  c.key("MAX_DISK_NUM", static_cast<long long>(sc.slots_of("root").size()));
  c.key("DISK_DRV_TYPE", "ATA");
  if (int slots = pcie_slot_count(sc); slots > 0) c.key("MAX_PCIE_SLOT", slots);
  system_disks(c, sc);
  cache_disks(c, sc);
  usb_ports(c, sc);
  pcie_slots(c, sc);
  if (sc.ec.fitted) ec_board(c, sc.ec);
  if (sc.superio.fitted) superio_board(c, sc.superio);
  for (const ModelSection& m : sc.model_extra) {
    c.section(m.name);
    for (const auto& [k, v] : m.keys) c.key(k, v);
  }
  return c.text();
}

std::vector<std::pair<std::string, std::string>> description_files(const Scenario& sc) {
  if (sc.board_id < 0) return {{"/etc/model.conf", model_conf_text(sc)}};
  std::string id = std::to_string(sc.board_id);
  char family[128], table[160];
  std::snprintf(family, sizeof family, "[System Enclosure]\nVENDOR = %s\nMODEL = %s\nMULTI_CONF = 0x%x\n",
                sc.vendor.c_str(), sc.name.c_str(), 1u << sc.board_id);
  std::snprintf(table, sizeof table, "[Board %s]\nHOST_BRIDGE = %04x:%04x\nBOARD_ID = %d\n",
                sc.name.c_str(), sc.host_bridge_vendor, sc.host_bridge_device, sc.board_id);
  return {{"/etc/model.conf", family},
          {"/etc/model_" + id + ".conf", model_conf_text(sc)},
          {"/etc/model_board_table.conf", table}};
}

std::string platform_conf_text(const Scenario& sc) {
  return "[MISC]\nDISPLAY_NAME = " + sc.display_name + "\n";
}

std::string sysdef_conf_text(const Scenario& sc) {
  return "[System]\nServer Name = " + sc.hostname + "\n";
}

}  // namespace bayhal::sim::halsim
