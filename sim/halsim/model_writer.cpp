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
