// Cross-checks of a parsed scenario: every reference resolves, every slot is wired to a
// port that exists, every disk fits its slot. Also fills in the bays of expansion units.
#include <algorithm>
#include <map>
#include <set>

#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {
namespace {

const char* kind_name(ControllerKind k) {
  switch (k) {
    case ControllerKind::ahci: return "ahci";
    case ControllerKind::nvme: return "nvme";
    case ControllerKind::xhci: return "xhci";
    case ControllerKind::sas: return "sas";
  }
  return "?";
}

bool fail(std::string& error, const std::string& what) {
  error = what;
  return false;
}

// Names travel in control messages and command lines: one word of plain characters.
bool plain_name(const std::string& n) {
  return !n.empty() && n.size() <= 32 &&
         n.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-") ==
             std::string::npos;
}

bool check_names(const Scenario& sc, std::string& error) {
  for (const Controller& c : sc.controllers)
    if (!plain_name(c.name)) return fail(error, "[controller " + c.name + "]: names are letters, digits, _ . -");
  for (const Unit& u : sc.units)
    if (!plain_name(u.name)) return fail(error, "[unit " + u.name + "]: names are letters, digits, _ . -");
  for (const Disk& d : sc.disks)
    if (!plain_name(d.name)) return fail(error, "[disk " + d.name + "]: names are letters, digits, _ . -");
  return true;
}

bool check_controllers(const Scenario& sc, std::string& error) {
  std::set<std::string> names, addresses;
  std::map<std::string, std::string> bridge_bus;  // bridge -> secondary bus of its children
  for (const Controller& c : sc.controllers) {
    std::string where = "[controller " + c.name + "]: ";
    if (!names.insert(c.name).second) return fail(error, where + "name used twice");
    if (!addresses.insert(c.pci).second) return fail(error, where + "pci " + c.pci + " used twice");
    if (!c.bridge.empty()) {
      std::string bus = c.pci.substr(0, 7);
      if (bus == c.bridge.substr(0, 7))
        return fail(error, where + "a controller behind a bridge sits on the bridge's secondary bus, not " + bus);
      auto [it, fresh] = bridge_bus.emplace(c.bridge, bus);
      if (!fresh && it->second != bus)
        return fail(error, where + "controllers behind bridge " + c.bridge + " must share one bus");
    }
    bool ok = true;
    switch (c.kind) {
      case ControllerKind::ahci: ok = c.ports >= 1; break;
      case ControllerKind::sas: ok = c.ports >= 1 && c.sas_address.starts_with("0x"); break;
      case ControllerKind::xhci: ok = c.ports >= 1 && c.usb2_bus > 0 && c.usb3_bus > 0 && c.usb2_bus != c.usb3_bus; break;
      case ControllerKind::nvme: ok = true; break;
    }
    if (!ok)
      return fail(error, where + "a " + std::string(kind_name(c.kind)) +
                             " controller needs ports" +
                             (c.kind == ControllerKind::sas ? " and a 0x sas_address" : "") +
                             (c.kind == ControllerKind::xhci ? " and two distinct usb2_bus/usb3_bus" : ""));
  }
  for (const auto& [bridge, bus] : bridge_bus)
    if (addresses.count(bridge)) return fail(error, "bridge " + bridge + " is also a controller");
  return true;
}

bool check_units(Scenario& sc, std::string& error) {
  std::set<std::string> names;
  for (const Unit& u : sc.units) {
    std::string where = "[unit " + u.name + "]: ";
    if (u.name == "root" || u.name == "cache" || u.name == "usb" || !names.insert(u.name).second)
      return fail(error, where + "name is taken");
    const Controller* c = sc.controller(u.controller);
    if (c == nullptr || c->kind != ControllerKind::sas)
      return fail(error, where + "controller '" + u.controller + "' is not a sas controller");
    if (!u.sas_address.starts_with("0x")) return fail(error, where + "sas_address must be 0x...");
    for (int phy : u.host_phys)
      if (phy >= c->ports) return fail(error, where + "host phy " + std::to_string(phy) + " does not exist");
    for (const Unit& other : sc.units)
      if (&other != &u && other.controller == u.controller)
        for (int phy : u.host_phys)
          if (std::count(other.host_phys.begin(), other.host_phys.end(), phy))
            return fail(error, where + "host phy " + std::to_string(phy) + " is cabled twice");
  }
  // Bays without a section of their own sit on expander phy bay - 1.
  for (const Unit& u : sc.units)
    for (int n = 1; n <= u.bays; ++n)
      if (sc.slot(u.name + "/" + std::to_string(n)) == nullptr)
        sc.slots.push_back({u.name, n, {}, n - 1, {}, false});
  return true;
}

bool check_slot(const Scenario& sc, Slot& s, std::string& error) {
  std::string where = "[slot " + s.id() + "]: ";
  if (const Unit* u = sc.unit(s.enclosure)) {
    if (s.number > u->bays) return fail(error, where + "the unit has " + std::to_string(u->bays) + " bays");
    if (!s.controller.empty()) return fail(error, where + "bays of a unit take no controller");
    if (s.port < 0) s.port = s.number - 1;
    return true;
  }
  ControllerKind want;
  if (s.enclosure == "root") want = ControllerKind::ahci;
  else if (s.enclosure == "cache") want = ControllerKind::nvme;
  else if (s.enclosure == "usb") want = ControllerKind::xhci;
  else return fail(error, where + "'" + s.enclosure + "' is not root, cache, usb or a unit");
  const Controller* c = sc.controller(s.controller);
  if (c == nullptr || c->kind != want)
    return fail(error, where + "controller '" + s.controller + "' is not a " + kind_name(want) + " controller");
  if (want == ControllerKind::nvme) {
    s.port = 0;
    return true;
  }
  int lo = want == ControllerKind::xhci ? 1 : 0;
  int hi = want == ControllerKind::xhci ? c->ports : c->ports - 1;
  if (s.port < 0) return fail(error, where + "port is missing");
  if (s.port < lo || s.port > hi)
    return fail(error, where + "port " + std::to_string(s.port) + " is not on " + c->name);
  return true;
}

bool check_slots(Scenario& sc, std::string& error) {
  std::set<std::string> ids, wiring;
  for (Slot& s : sc.slots) {
    if (!ids.insert(s.id()).second) return fail(error, "slot " + s.id() + " is described twice");
    if (!check_slot(sc, s, error)) return false;
    std::string wire = (s.controller.empty() ? s.enclosure : s.controller) + ":" + std::to_string(s.port);
    if (!wiring.insert(wire).second)
      return fail(error, "slot " + s.id() + " shares its port with another slot");
  }
  // The appliance's own slots first (system, cache, USB), then each unit's in file order.
  auto rank = [&sc](const Slot& s) {
    if (s.enclosure == "root") return 0;
    if (s.enclosure == "cache") return 1;
    if (s.enclosure == "usb") return 2;
    for (size_t i = 0; i < sc.units.size(); ++i)
      if (sc.units[i].name == s.enclosure) return 3 + static_cast<int>(i);
    return 1000;
  };
  std::stable_sort(sc.slots.begin(), sc.slots.end(), [&rank](const Slot& a, const Slot& b) {
    int ra = rank(a), rb = rank(b);
    return ra != rb ? ra < rb : a.number < b.number;
  });
  for (const char* group : {"root", "cache", "usb"}) {
    auto slots = sc.slots_of(group);
    for (size_t i = 0; i < slots.size(); ++i)
      if (slots[i]->number != static_cast<int>(i) + 1)
        return fail(error, std::string(group) + " slots must be numbered 1 to " + std::to_string(slots.size()));
  }
  return true;
}

bool check_disks(const Scenario& sc, std::string& error) {
  std::set<std::string> names, serials, occupied;
  for (const Disk& d : sc.disks) {
    std::string where = "[disk " + d.name + "]: ";
    if (!names.insert(d.name).second) return fail(error, where + "name used twice");
    if (!serials.insert(d.serial).second) return fail(error, where + "serial " + d.serial + " used twice");
    if (d.slot.empty()) continue;
    const Slot* s = sc.slot(d.slot);
    if (s == nullptr) return fail(error, where + "slot " + d.slot + " is not described");
    if (!disk_fits(sc, d, *s)) return fail(error, where + "this kind of disk does not fit slot " + d.slot);
    if (!occupied.insert(d.slot).second) return fail(error, where + "slot " + d.slot + " already holds a disk");
  }
  return true;
}

}  // namespace

bool disk_fits(const Scenario& sc, const Disk& d, const Slot& s) {
  if (sc.unit(s.enclosure) != nullptr) return d.kind == DiskKind::sata || d.kind == DiskKind::sas;
  if (s.enclosure == "root") return d.kind == DiskKind::sata;
  if (s.enclosure == "cache") return d.kind == DiskKind::nvme;
  return d.kind == DiskKind::usb;
}

// One chip carries the board; its pins exist on that chip.
bool check_board(const Scenario& sc, std::string& error) {
  if (sc.ec.fitted && sc.superio.fitted)
    return fail(error, "[ec] and [superio]: a board has an embedded controller or a Super I/O chip, not both");
  const EcSpec& ec = sc.ec;
  if (ec.psu_temps.size() > static_cast<size_t>(ec.power_supplies) ||
      ec.psu_fans.size() > static_cast<size_t>(ec.power_supplies))
    return fail(error, "[ec]: psu_temps and psu_fans name at most power_supplies supplies");
  const SuperIoSpec& sio = sc.superio;
  auto [low, high] = sio.chip == "IT87"      ? std::pair{1, 8}
                     : sio.chip == "F81866A" ? std::pair{0, 4}
                     : sio.chip == "F71869A" ? std::pair{0, 7}
                                             : std::pair{1, 0};
  for (const auto& [key, pin] : sio.pins)
    if (pin / 10 < low || pin / 10 > high)
      return fail(error, "[superio]: " + key + " pin " + std::to_string(pin) + " is not a pin of " + sio.chip);
  return true;
}

bool check_scenario(Scenario& sc, std::string& error) {
  if (sc.name.empty()) return fail(error, "[appliance]: name is required");
  if (sc.display_name.empty()) sc.display_name = sc.name;
  if (sc.slots_of("root").empty()) return fail(error, "the appliance needs at least one root slot");
  return check_names(sc, error) && check_controllers(sc, error) && check_units(sc, error) && check_slots(sc, error) &&
         check_disks(sc, error) && check_board(sc, error);
}

const Controller* Scenario::controller(std::string_view n) const {
  for (const Controller& c : controllers)
    if (c.name == n) return &c;
  return nullptr;
}

const Unit* Scenario::unit(std::string_view n) const {
  for (const Unit& u : units)
    if (u.name == n) return &u;
  return nullptr;
}

const Slot* Scenario::slot(std::string_view id) const {
  for (const Slot& s : slots)
    if (s.id() == id) return &s;
  return nullptr;
}

const Disk* Scenario::disk(std::string_view n) const {
  for (const Disk& d : disks)
    if (d.name == n) return &d;
  return nullptr;
}

std::vector<const Slot*> Scenario::slots_of(std::string_view enclosure) const {
  std::vector<const Slot*> out;
  for (const Slot& s : slots)
    if (s.enclosure == enclosure) out.push_back(&s);
  std::sort(out.begin(), out.end(), [](const Slot* a, const Slot* b) { return a->number < b->number; });
  return out;
}

}  // namespace bayhal::sim::halsim
