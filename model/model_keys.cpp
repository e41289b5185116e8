#include "model/model_keys.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "foundation/text.h"
#include "ini/ini_store.h"
#include "model/model_conf.h"

namespace bayhal::model {

namespace {

std::string upper(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

int int_key(const ini::Section& s, std::string_view key, int fallback) {
  const std::string_view* v = s.find(key);
  if (!v) return fallback;
  auto n = parse_number(*v);
  return n ? static_cast<int>(*n) : fallback;
}

std::optional<UsbConnection> usb_variant(const ini::Section& s, const char* suffix) {
  const std::string_view* ports = s.find(std::string("DEV_PORT") + suffix);
  if (!ports) return std::nullopt;
  UsbConnection c;
  c.ports = *ports;
  c.in_hub = int_key(s, std::string("IN_HUB") + suffix, 0);
  c.hub_port = int_key(s, std::string("HUB_PORT") + suffix, 1);
  return c;
}

SlotDesc slot_of(std::string_view section, const ini::Section& s) {
  SlotDesc d;
  d.section = section;
  if (const std::string_view* v = s.find("DEV_BUS")) d.dev_bus = *v;
  if (const std::string_view* v = s.find("DEV_PORT")) {
    d.dev_port_text = *v;
    if (auto n = parse_number(*v)) d.dev_port = static_cast<int>(*n);
  }
  d.domain = int_key(s, "DEV_DOMAIN", 0);
  d.switch_port = int_key(s, "PCI_SWITCH_PORT", -1);
  if (const std::string_view* v = s.find("DEV_BRIDGE_BUS")) d.bridge_bus = *v;
  if (const std::string_view* v = s.find("DEV_BRIDGE_BUS_AUTO")) d.bridge_auto = upper(*v) == "YES";
  d.multi = int_key(s, "MULTI_DEVICE", 0);
  d.in_hub = int_key(s, "IN_HUB", 0);
  d.hub_port = int_key(s, "HUB_PORT", 1);
  d.ssp = usb_variant(s, "_SSP");
  d.ss = usb_variant(s, "_SS");
  d.ns = usb_variant(s, "_NS");
  if (const std::string_view* v = s.find("SLOT_NAME"); v && !v->empty()) d.slot_name = std::string(*v);
  if (auto v = s.get_int("SLOT_ID")) d.slot_id = static_cast<int>(*v);
  d.front = s.get_int("FRONT_PORT").value_or(0) == 1;
  return d;
}

std::optional<ini::Section> section_of(std::string_view name) {
  return ini::read_section(kModelConf, name);
}

}  // namespace

int disk_drv_type() {
  auto v = model_key(kSystemEnclosure, "DISK_DRV_TYPE");
  if (!v) return kDrvUnknown;
  static const char* names[] = {"",      "USB",  "ATA", "SCSI", "SAS",    "FLASH",
                                "MMC",   "NVME", "M_2", "VIRTIO", "XENVBD"};
  std::string u = upper(*v);
  for (int i = 1; i <= kDrvXenvbd; ++i)
    if (u == names[i]) return i;
  return kDrvUnknown;
}

std::optional<uint32_t> read_system_cap() {
  auto s = section_of(kSystemEnclosure);
  auto cap = s ? s->get_int("CAP", true) : std::nullopt;
  if (!cap) return std::nullopt;
  return static_cast<uint32_t>(*cap);
}

uint32_t system_cap() { return read_system_cap().value_or(0); }

int max_pcie_slot() {
  auto s = section_of(kSystemEnclosure);
  long long n = s ? s->get_int("MAX_PCIE_SLOT").value_or(0) : 0;
  return static_cast<int>(std::clamp<long long>(n, 0, kMaxPcieSlots));
}

uint32_t cacheable_bitmap(std::string_view section) {
  auto s = section_of(section);
  return s ? static_cast<uint32_t>(s->get_int("SYSTEM_DISK_CACHEABLE_BITMAP", true).value_or(1)) : 1;
}

int default_max_link_speed(std::string_view section) {
  auto v = model_key(section, "DISK_DEFAULT_MAX_LINK_SPEED");
  return v ? static_cast<int>(parse_number(*v).value_or(0)) : 0;
}

std::string SlotDesc::pci_address() const {
  if (dev_bus.empty()) return {};
  if (std::count(dev_bus.begin(), dev_bus.end(), ':') >= 2) return dev_bus;
  char prefix[16];
  std::snprintf(prefix, sizeof prefix, "%04x:", static_cast<unsigned>(domain) & 0xffff);
  return prefix + dev_bus;
}

std::optional<SlotDesc> read_slot(std::string_view section) {
  auto s = section_of(section);
  if (!s) return std::nullopt;
  return slot_of(section, *s);
}

std::optional<SlotDesc> read_slot(std::string_view prefix, int n) {
  return read_slot(std::string(prefix) + " " + std::to_string(n));
}

std::vector<int> slot_numbers(std::string_view prefix) {
  std::vector<int> out;
  std::string p = std::string(prefix) + " ";
  for (const auto& name : ini::list_sections(kModelConf)) {
    int n = index_after(name, p);
    if (n > 0 && n <= kMaxSlots) out.push_back(n);
  }
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

std::optional<PcieSlot> pcie_slot(int n) {
  std::string name = "System PCIE SLOT " + std::to_string(n);
  auto s = section_of(name);
  if (!s) return std::nullopt;
  PcieSlot p;
  p.slot = slot_of(name, *s);
  if (auto v = s->get_int("MAX_DISK_NUM")) p.max_disk_num = static_cast<int>(*v);
  p.cap = static_cast<uint32_t>(s->get_int("CAP", true).value_or(0));
  p.minisas_port_count = static_cast<int>(
      std::clamp<long long>(s->get_int("MINISAS_PORT_COUNT").value_or(0), 0, kMaxMinisasPorts));
  return p;
}

std::optional<std::string> model_key(std::string_view section, std::string_view key) {
  auto s = section_of(section);
  if (!s) return std::nullopt;
  const std::string_view* v = s->find(key);
  if (!v) return std::nullopt;
  return std::string(*v);
}

}  // namespace bayhal::model
