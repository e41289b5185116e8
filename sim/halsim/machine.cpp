#include "sim/halsim/machine.h"

#include <algorithm>
#include <filesystem>

#include "sim/halsim/scenario_util.h"

namespace bayhal::sim::halsim {
namespace {

namespace fs = std::filesystem;

std::string cut(const std::string& s, size_t n) { return s.substr(0, n); }

int hex_byte(const std::string& s, size_t at) {
  return static_cast<int>(std::stoul(s.substr(at, 2), nullptr, 16));
}

// The kernel's sd names: sda..sdz, sdaa..sdzz, ...
std::string sd_name(int index) {
  std::string letters;
  for (int i = index + 1; i > 0; i = (i - 1) / 26) letters.insert(letters.begin(), char('a' + (i - 1) % 26));
  return "sd" + letters;
}

std::string hex_address(unsigned long long a) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%016llx", a);
  return buf;
}

unsigned long long address_of(const std::string& text) {
  unsigned long long a = 0;
  parse_u64(text, a);
  return a;
}

// "<port>/end_device-.../target.../unit" -> "<port>".
std::string port_of_unit(const std::string& unit) {
  size_t at = unit.find("/end_device-");
  return at == std::string::npos ? unit : unit.substr(0, at);
}

std::string base_name(const std::string& path) { return fs::path(path).filename().string(); }

// The SCSI midlayer's request counters of a unit ("0x%x" as the kernel prints them): a disk
// that has been read at boot has served a few dozen requests, all completed.
void io_counters(SysfsBuilder& b, const std::string& unit) {
  b.attr(unit + "/iorequest_cnt", "0x5a");
  b.attr(unit + "/iodone_cnt", "0x5a");
  b.attr(unit + "/ioerr_cnt", "0x0");
}

// The PCI Express link attributes of a function, as the kernel prints them.
void pcie_link(SysfsBuilder& b, const std::string& dir, const char* speed, int width) {
  for (const char* kind : {"current", "max"}) {
    b.attr(dir + "/" + kind + "_link_speed", speed);
    b.attr(dir + "/" + kind + "_link_width", std::to_string(width));
  }
}

}  // namespace

void remove_device_dirs(const std::string& host_root, const std::vector<std::string>& dirs,
                        bool sweep) {
  std::error_code ec;
  for (const std::string& dir : dirs) fs::remove_all(host_root + dir, ec);
  if (!sweep) return;
  std::vector<fs::path> dangling;
  for (fs::recursive_directory_iterator it(host_root + "/sys", ec), end; !ec && it != end;
       it.increment(ec)) {
    if (it->is_symlink(ec) && !fs::exists(it->path(), ec)) dangling.push_back(it->path());
  }
  for (const fs::path& p : dangling) fs::remove(p, ec);
}

Machine::Machine(Scenario sc, std::string host_root, PlugHooks hooks)
    : sc_(std::move(sc)), b_(std::move(host_root)), hooks_(std::move(hooks)) {
  for (const Disk& d : sc_.disks)
    if (!d.slot.empty()) contents_[d.slot] = d.name;
  for (const Controller& c : sc_.controllers) {
    int span = c.kind == ControllerKind::ahci ? c.ports : 1;
    if (c.host >= 0) next_host_ = std::max(next_host_, c.host + span);
  }
}

std::string Machine::enc_sys_id(const Slot& slot) const {
  if (slot.enclosure == "root") return "root";
  if (slot.enclosure == "cache") return "root_cache";
  if (slot.enclosure == "usb") return "root_usb";
  const Unit* u = sc_.unit(slot.enclosure);
  return u ? sas_identity(u->sas_address) : std::string();
}

// The host bridge, whose configuration space identifies the board.
void Machine::build_host_bridge() {
  std::string dir = b_.pci_device("0000:00:00.0", {}, PciSpec(sc_.host_bridge_vendor, sc_.host_bridge_device, 0x060000));
  std::string config(64, '\0');
  auto le16 = [&](size_t at, unsigned v) {
    config[at] = static_cast<char>(v & 0xff);
    config[at + 1] = static_cast<char>((v >> 8) & 0xff);
  };
  le16(0x00, sc_.host_bridge_vendor);
  le16(0x02, sc_.host_bridge_device);
  config[0x0b] = 0x06;  // class: bridge, host bridge
  le16(0x2c, sc_.host_bridge_vendor);
  le16(0x2e, sc_.host_bridge_device);
  b_.raw(dir + "/config", config);
}

void Machine::power_on() {
  build_host_bridge();
  for (const Controller& c : sc_.controllers) build_controller(c);
  // The appliance's own disks are named first, the expansion units' after them.
  for (const char* group : {"root", "usb", "cache"})
    for (const Slot* s : sc_.slots_of(group))
      if (auto it = contents_.find(s->id()); it != contents_.end()) show(*s, *sc_.disk(it->second));
  for (const Unit& u : sc_.units) {
    std::string error;
    if (u.cabled) plug_unit(u.name, error);
  }
}

std::string Machine::bridge_dir(const Controller& c) {
  if (c.bridge.empty()) return {};
  std::string dir = "/sys/devices/pci" + c.bridge.substr(0, 7) + "/" + c.bridge;
  if (!fs::exists(b_.host_path(dir)))
    b_.pci_bridge(c.bridge, hex_byte(c.pci, 5), {}, PciSpec(0x8086, 0xa340, 0x060400, "pcieport"));
  return dir;
}

void Machine::build_controller(const Controller& c) {
  std::string parent = bridge_dir(c);
  int host = c.host;
  switch (c.kind) {
    case ControllerKind::ahci: {
      std::string pci = b_.pci_device(c.pci, parent, PciSpec(c.vendor, c.device, 0x010601, "ahci"));
      if (host < 0) host = std::exchange(next_host_, next_host_ + c.ports);
      int first_ata = 1;
      for (const auto& [name, ports] : ahci_) first_ata += static_cast<int>(ports.size());
      ahci_[c.name] = b_.ahci(pci, c.ports, host, first_ata);
      break;
    }
    case ControllerKind::nvme:
      pci_dirs_[c.name] = parent;  // the function itself appears with the drive
      // Its bay is a hot-plug slot whose attention indicator lights the bay's LED.
      b_.pci_slot(c.name, c.pci.substr(0, c.pci.rfind('.')));
      break;
    case ControllerKind::xhci: {
      std::string pci = b_.pci_device(c.pci, parent, PciSpec(c.vendor, c.device, 0x0c0330, "xhci_hcd"));
      b_.usb_root_hub(pci, c.usb2_bus, 480, c.ports);
      usb3_[c.name] = b_.usb_root_hub(pci, c.usb3_bus, 5000, c.ports);
      break;
    }
    case ControllerKind::sas: {
      std::string pci = b_.pci_device(c.pci, parent, PciSpec(c.vendor, c.device, 0x010700, "mpt3sas"));
      pcie_link(b_, pci, "8.0 GT/s PCIe", 8);
      if (host < 0) host = next_host_++;
      std::vector<int> phys(static_cast<size_t>(c.ports));
      for (int i = 0; i < c.ports; ++i) phys[static_cast<size_t>(i)] = i;
      hbas_.emplace(c.name, b_.sas_hba(pci, host, phys, c.sas_address));
      break;
    }
  }
}

bool Machine::reachable(const Slot& s) const {
  return sc_.unit(s.enclosure) == nullptr || cabled(s.enclosure);
}

std::string Machine::take_sd() {
  int i = 0;
  while (sd_in_use_.count(i)) ++i;
  sd_in_use_.insert(i);
  return sd_name(i);
}

int Machine::take_sg() {
  int i = 0;
  while (sg_in_use_.count(i)) ++i;
  sg_in_use_.insert(i);
  return i;
}

std::optional<PluggedDisk> Machine::show(const Slot& s, const Disk& d) {
  PluggedDisk pd;
  if (s.enclosure == "root") pd = show_sata(s, d);
  else if (s.enclosure == "cache") pd = show_nvme(s, d);
  else if (s.enclosure == "usb") pd = show_usb(s, d);
  else pd = show_bay(s, d);
  pd.disk = d.name;
  pd.slot = s.id();
  pd.enc_sys_id = enc_sys_id(s);
  visible_[pd.slot] = pd;
  if (hooks_.plugged) hooks_.plugged(pd, d);
  return pd;
}

PluggedDisk Machine::show_sata(const Slot& s, const Disk& d) {
  const AhciPort& port = ahci_.at(s.controller).at(static_cast<size_t>(s.port));
  PluggedDisk pd;
  pd.pd_sys_id = take_sd();
  int sg = take_sg();
  pd.sg = "sg" + std::to_string(sg);
  BlockSpec bs(pd.pd_sys_id, "ATA", cut(d.model, 16), cut(d.firmware, 4));
  bs.with_sg(sg).with_size(d.sectors);
  if (d.rotation == 0) bs.as_ssd();
  io_counters(b_, b_.ahci_disk(port, bs));
  std::string ata = fs::path(port.host_dir).parent_path().string();
  std::string n = std::to_string(port.ata);
  pd.remove_dirs = {port.host_dir + "/target" + std::to_string(port.host) + ":0:0",
                    ata + "/link" + n + "/dev" + n + ".0"};
  pd.nodes = {"/dev/" + pd.sg, "/dev/" + pd.pd_sys_id};
  return pd;
}

PluggedDisk Machine::show_nvme(const Slot& s, const Disk& d) {
  const Controller& c = *sc_.controller(s.controller);
  std::string pci = b_.pci_device(c.pci, pci_dirs_.at(c.name), PciSpec(c.vendor, c.device, 0x010802, "nvme"));
  pcie_link(b_, pci, "8.0 GT/s PCIe", 4);
  NvmeSpec spec;
  spec.model = d.model;
  spec.serial = d.serial;
  spec.firmware = d.firmware;
  spec.namespaces = {d.sectors};
  b_.nvme(pci, c.index, spec);
  PluggedDisk pd;
  std::string ctrl = "nvme" + std::to_string(c.index);
  pd.pd_sys_id = ctrl + "n1";
  pd.remove_dirs = {pci};
  pd.nodes = {"/dev/" + ctrl, "/dev/" + pd.pd_sys_id};
  return pd;
}

PluggedDisk Machine::show_usb(const Slot& s, const Disk& d) {
  std::string vendor = d.vendor.empty() ? "Generic" : d.vendor;
  UsbSpec spec(0x174c, 0x55aa, vendor, d.model, 5000);
  spec.serial = d.serial;
  UsbDev dev = b_.usb_device(usb3_.at(s.controller), s.port, spec);
  PluggedDisk pd;
  pd.pd_sys_id = take_sd();
  int sg = take_sg();
  pd.sg = "sg" + std::to_string(sg);
  BlockSpec bs(pd.pd_sys_id, cut(vendor, 8), cut(d.model, 16), cut(d.firmware, 4));
  bs.with_sg(sg).with_size(d.sectors);
  if (d.rotation == 0) bs.as_ssd();
  for (const std::string& unit : b_.usb_storage(dev, next_host_++, {bs})) io_counters(b_, unit);
  pd.remove_dirs = {dev.dir};
  pd.nodes = {"/dev/" + pd.sg, "/dev/" + pd.pd_sys_id};
  return pd;
}

PluggedDisk Machine::show_bay(const Slot& s, const Disk& d) {
  const Unit& u = *sc_.unit(s.enclosure);
  SasExpander& exp = expanders_.at(u.name);
  bool sas = d.kind == DiskKind::sas;
  // SAS disks report their own port address; a SATA disk gets one from the expander's
  // SATA bridge of that phy.
  unsigned long long port = sas && d.wwn != 0 ? d.wwn + 2
                                              : address_of(u.sas_address) - 0x40 + static_cast<unsigned>(s.port);
  EndDeviceSpec end(hex_address(port), s.port, hex_address(address_of(u.sas_address)), sas ? "ssp" : "sata");
  PluggedDisk pd;
  pd.pd_sys_id = take_sd();
  int sg = take_sg();
  pd.sg = "sg" + std::to_string(sg);
  BlockSpec bs(pd.pd_sys_id, sas ? cut(d.vendor, 8) : "ATA", cut(d.model, 16), cut(d.firmware, 4));
  bs.with_sg(sg).with_size(d.sectors);
  if (d.rotation == 0) bs.as_ssd();
  std::string unit = b_.sas_expander_disk(exp, s.port, end, bs);
  io_counters(b_, unit);
  pd.remove_dirs = {port_of_unit(unit)};
  pd.nodes = {"/dev/" + pd.sg, "/dev/" + pd.pd_sys_id};
  return pd;
}

// The unit's enclosure services device, on the expander's virtual phy after the bays.
void Machine::build_ses(const Unit& u, SasExpander& exp) {
  int sg = take_sg();
  unit_sg_[u.name] = sg;
  EndDeviceSpec end(hex_address(address_of(u.sas_address) - 1), -1, "", "ssp");
  BlockSpec bs("", cut(u.vendor, 8), cut(u.model, 16), cut(u.revision, 4));
  bs.with_type(13).with_sg(sg);
  std::string unit = b_.sas_expander_disk(exp, u.bays, end, bs);
  std::string serial = cut(u.serial, 255);
  std::string page = {0x0d, char(0x80), 0x00, static_cast<char>(serial.size())};
  b_.raw(unit + "/vpd_pg80", page + serial);
  std::string hctl = base_name(unit);
  std::string cls = unit + "/enclosure/" + hctl;
  b_.attr(cls + "/components", std::to_string(u.bays));
  b_.link(cls + "/device", unit);
  b_.link("/sys/class/enclosure/" + hctl, cls);
}

std::string Machine::plug_unit(const std::string& name, std::string& error) {
  const Unit* u = sc_.unit(name);
  if (u == nullptr) return error = "no expansion unit '" + name + "'", std::string();
  if (cabled(name)) return error = "unit " + name + " is already cabled", std::string();
  SasHba& hba = hbas_.at(u->controller);
  SasExpander& exp = expanders_[name] = b_.sas_expander(hba, u->host_phys, u->bays + 1, u->sas_address);
  std::string attrs = exp.dir + "/sas_expander/" + base_name(exp.dir);
  auto pad = [](std::string s, size_t n) { s.resize(n, ' '); return s; };
  b_.attr(attrs + "/vendor_id", pad(cut(u->vendor, 8), 8));
  b_.attr(attrs + "/product_id", pad(cut(u->model, 16), 16));
  b_.attr(attrs + "/product_rev", pad(cut(u->revision, 4), 4));
  build_ses(*u, exp);
  for (const Slot* s : sc_.slots_of(name))
    if (auto it = contents_.find(s->id()); it != contents_.end()) show(*s, *sc_.disk(it->second));
  return sas_identity(u->sas_address);
}

std::string Machine::unplug_unit(const std::string& name, std::string& error) {
  const Unit* u = sc_.unit(name);
  if (u == nullptr) return error = "no expansion unit '" + name + "'", std::string();
  if (!cabled(name)) return error = "unit " + name + " is not cabled", std::string();
  for (const Slot* s : sc_.slots_of(name))
    if (visible_.count(s->id())) hide(s->id(), false);
  remove_device_dirs(b_.host_root(), {fs::path(expanders_.at(name).dir).parent_path().string()});
  int sg = unit_sg_.at(name);
  std::error_code ec;
  fs::remove(b_.host_path("/dev/sg" + std::to_string(sg)), ec);
  sg_in_use_.erase(sg);
  unit_sg_.erase(name);
  expanders_.erase(name);
  return sas_identity(u->sas_address);
}

void Machine::hide(const std::string& slot, bool sweep) {
  PluggedDisk pd = visible_.at(slot);
  visible_.erase(slot);
  remove_device_dirs(b_.host_root(), pd.remove_dirs, sweep);
  std::error_code ec;
  for (const std::string& node : pd.nodes) fs::remove(b_.host_path(node), ec);
  if (pd.pd_sys_id.starts_with("sd")) {
    for (int i = 0;; ++i)
      if (sd_name(i) == pd.pd_sys_id) {
        sd_in_use_.erase(i);
        break;
      }
  }
  if (!pd.sg.empty()) sg_in_use_.erase(std::stoi(pd.sg.substr(2)));
  if (hooks_.unplugged) hooks_.unplugged(pd);
}

std::optional<PluggedDisk> Machine::insert(const std::string& slot_id, std::string disk,
                                           std::string& error) {
  error.clear();
  const Slot* s = sc_.slot(slot_id);
  if (s == nullptr) return error = "no bay " + slot_id, std::nullopt;
  if (auto it = contents_.find(slot_id); it != contents_.end())
    return error = "bay " + slot_id + " already holds disk " + it->second, std::nullopt;
  if (disk.empty()) {
    auto it = last_pulled_.find(slot_id);
    if (it == last_pulled_.end())
      return error = "bay " + slot_id + ": name the disk to insert (none was pulled from it)", std::nullopt;
    disk = it->second;
  }
  const Disk* d = sc_.disk(disk);
  if (d == nullptr) return error = "no disk '" + disk + "'", std::nullopt;
  for (const auto& [other, name] : contents_)
    if (name == disk) return error = "disk " + disk + " sits in bay " + other, std::nullopt;
  if (!disk_fits(sc_, *d, *s)) return error = "disk " + disk + " does not fit bay " + slot_id, std::nullopt;
  contents_[slot_id] = disk;
  if (!reachable(*s)) return std::nullopt;
  return show(*s, *d);
}

std::optional<PluggedDisk> Machine::remove(const std::string& slot_id, std::string& error) {
  error.clear();
  if (sc_.slot(slot_id) == nullptr) return error = "no bay " + slot_id, std::nullopt;
  auto it = contents_.find(slot_id);
  if (it == contents_.end()) return error = "bay " + slot_id + " is empty", std::nullopt;
  last_pulled_[slot_id] = it->second;
  contents_.erase(it);
  auto v = visible_.find(slot_id);
  if (v == visible_.end()) return std::nullopt;
  PluggedDisk pd = v->second;
  hide(slot_id);
  return pd;
}

}  // namespace bayhal::sim::halsim
