#include "disk_sys/model_slots.h"

#include <algorithm>
#include <cctype>

#include "disk_sys/sysfs_util.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

std::string upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
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

}  // namespace

int disk_drv_type() {
  auto v = model_key("System Enclosure", "DISK_DRV_TYPE");
  if (!v) return kDrvUnknown;
  static const char* names[] = {"",      "USB",  "ATA", "SCSI", "SAS",    "FLASH",
                                "MMC",   "NVME", "M_2", "VIRTIO", "XENVBD"};
  std::string u = upper(*v);
  for (int i = 1; i <= kDrvXenvbd; ++i)
    if (u == names[i]) return i;
  return kDrvUnknown;
}

std::optional<SlotDesc> read_slot(std::string_view section) {
  auto s = ini::read_section(kModelConf, section);
  if (!s) return std::nullopt;
  SlotDesc d;
  d.section = section;
  if (const std::string_view* v = s->find("DEV_BUS")) d.dev_bus = *v;
  if (const std::string_view* v = s->find("DEV_PORT")) {
    d.dev_port_text = *v;
    if (auto n = parse_number(*v)) d.dev_port = static_cast<int>(*n);
  }
  d.domain = int_key(*s, "DEV_DOMAIN", 0);
  d.switch_port = int_key(*s, "PCI_SWITCH_PORT", -1);
  if (const std::string_view* v = s->find("DEV_BRIDGE_BUS")) d.bridge_bus = *v;
  if (const std::string_view* v = s->find("DEV_BRIDGE_BUS_AUTO")) d.bridge_auto = upper(std::string(*v)) == "YES";
  d.multi = int_key(*s, "MULTI_DEVICE", 0);
  d.in_hub = int_key(*s, "IN_HUB", 0);
  d.hub_port = int_key(*s, "HUB_PORT", 1);
  d.ssp = usb_variant(*s, "_SSP");
  d.ss = usb_variant(*s, "_SS");
  d.ns = usb_variant(*s, "_NS");
  return d;
}

std::vector<int> slot_numbers(std::string_view prefix) {
  std::vector<int> out;
  std::string p = std::string(prefix) + " ";
  for (const auto& name : ini::list_sections(kModelConf)) {
    if (name.compare(0, p.size(), p) != 0) continue;
    int n = index_after(name, p);
    if (n > 0) out.push_back(n);
  }
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

std::optional<std::string> model_key(std::string_view section, std::string_view key) {
  auto s = ini::read_section(kModelConf, section);
  if (!s) return std::nullopt;
  const std::string_view* v = s->find(key);
  if (!v) return std::nullopt;
  return std::string(*v);
}

}  // namespace bayhal
