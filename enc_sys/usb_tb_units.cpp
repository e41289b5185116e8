// USB and Thunderbolt expansion units: devices of the kernel's USB and Thunderbolt buses
// that the expansion-unit table recognises.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "enc_sys/enc_kind.h"
#include "enc_sys/enc_records.h"
#include "enc_sys/expansion_units.h"
#include "foundation/command_runner.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

constexpr const char* kUsbDevices = "/sys/bus/usb/devices";
constexpr const char* kTbDevices = "/sys/bus/thunderbolt/devices";
constexpr size_t kMaxArrivals = 32;

struct Unit {
  std::string dev;  // device name on its bus ("2-1.4", "0-1")
  UnitModel model;
};

std::optional<unsigned> hex_attr(const std::string& path) {
  auto v = sysfs_read(path);
  if (!v || v->empty()) return std::nullopt;
  char* end = nullptr;
  unsigned long n = std::strtoul(v->c_str(), &end, 16);
  if (*end != '\0') return std::nullopt;
  return static_cast<unsigned>(n);
}

// Device names come from identities that callers pass: never let one leave the bus folder.
bool safe_device_name(const std::string& dev) {
  return !dev.empty() && dev.find('/') == std::string::npos && dev.find("..") == std::string::npos;
}

std::vector<Unit> units(const char* bus_dir, const std::string& bus, const char* vid_attr,
                        const char* pid_attr, bool (*is_device)(const std::string&)) {
  std::vector<Unit> out;
  for (const std::string& dev : sysfs_list(bus_dir)) {
    if (!is_device(dev)) continue;
    std::string base = std::string(bus_dir) + "/" + dev;
    auto vid = hex_attr(base + "/" + vid_attr);
    auto pid = hex_attr(base + "/" + pid_attr);
    if (!vid || !pid) continue;
    if (auto m = find_unit_model(bus, *vid, *pid)) out.push_back({dev, *m});
  }
  return out;
}

bool is_usb_device(const std::string& dev) {
  return dev.find(':') == std::string::npos && dev.rfind("usb", 0) != 0;
}

// Device routers: "<domain>-<route>", not the host router ("-0") nor services ("0-1.1").
bool is_tb_device(const std::string& dev) {
  size_t dash = dev.find('-');
  if (dash == std::string::npos || dev.find_first_of(":.") != std::string::npos) return false;
  return dev.substr(dash + 1) != "0";
}

std::vector<Unit> usb_units() {
  return units(kUsbDevices, "usb", "idVendor", "idProduct", is_usb_device);
}
std::vector<Unit> tb_units() { return units(kTbDevices, "thunderbolt", "vendor", "device", is_tb_device); }

int list(const std::vector<Unit>& found, const char* prefix, char** names, int capacity) {
  int stored = 0;
  for (const Unit& u : found)
    if (names != nullptr && stored < capacity) names[stored++] = strdup((prefix + u.dev).c_str());
  return static_cast<int>(found.size());
}

std::optional<Unit> find_unit(const std::vector<Unit>& found, const char* enc_sys_id,
                              const char* prefix) {
  if (!starts_with(enc_sys_id, prefix)) return std::nullopt;
  std::string dev = enc_sys_id + std::strlen(prefix);
  if (!safe_device_name(dev)) return std::nullopt;
  for (const Unit& u : found)
    if (u.dev == dev) return u;
  return std::nullopt;
}

int last_number(const std::string& text) {
  size_t pos = text.find_last_not_of("0123456789");
  return pos + 1 < text.size() ? std::atoi(text.c_str() + pos + 1) : 0;
}

void fill_common(const Unit& u, const std::string& base, const char* vendor_attr,
                 const char* model_attr, SE_ENC_INFO* info) {
  std::string vendor = u.model.vendor.empty() ? sysfs_read(base + "/" + vendor_attr).value_or("")
                                              : u.model.vendor;
  std::string model = u.model.model.empty() ? sysfs_read(base + "/" + model_attr).value_or("")
                                            : u.model.model;
  copy_out(vendor, info->vendor, sizeof info->vendor);
  copy_out(model, info->model, sizeof info->model);
  info->max_disk_num = u.model.max_disk_num;
  info->capabilities = u.model.capabilities;
}

}  // namespace

std::vector<UsbArrival>& usb_arrivals() {
  static std::vector<UsbArrival> arrivals;
  return arrivals;
}

int usb_expander_enumerate(char** names, int capacity) {
  std::vector<Unit> found = usb_units();
  for (const Unit& u : found) {
    std::string id = "usb_" + u.dev;
    if (se_lookup_id(id.c_str()) < 0 && usb_arrivals().size() < kMaxArrivals)
      usb_arrivals().push_back({id, static_cast<int>(u.model.vendor_id),
                                static_cast<int>(u.model.product_id)});
  }
  return list(found, "usb_", names, capacity);
}

int usb_expander_getinfo(const char* enc_sys_id, SE_ENC_INFO* info) {
  auto u = find_unit(usb_units(), enc_sys_id, "usb_");
  if (!u || info == nullptr) return -1;
  std::string base = std::string(kUsbDevices) + "/" + u->dev;
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  fill_common(*u, base, "manufacturer", "product", info);
  copy_out(sysfs_read(base + "/serial").value_or(""), info->serial, sizeof info->serial);
  copy_out(sysfs_read(base + "/bcdDevice").value_or(""), info->revision, 16 + 1);
  copy_out(enc_kind_name(EncKind::kRoot), info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  info->enc_parent_port_id = last_number(u->dev);
  return 0;
}

int usb_expander_do_notify_log_early(const UsbArrival& arrival) {
  auto m = find_unit_model("usb", static_cast<unsigned>(arrival.vendor_id),
                           static_cast<unsigned>(arrival.product_id));
  std::string model = m && !m->model.empty() ? m->model : "expansion unit";
  std::string msg = "Expansion unit " + model + " connected through USB (" + arrival.name + ").";
  ERR_TRACE(HAL_TRACE_INFO, "%s: %s\n", __func__, msg.c_str());
  return runner().exec({"/sbin/log_tool", "-a", msg, "-t", "0"}) == 0 ? 0 : -1;
}

int tb_enclosure_enumerate(char** names, int capacity) {
  return list(tb_units(), enc_kind_name(EncKind::kTbUnit), names, capacity);
}

int tb_enclosure_getinfo(const char* enc_sys_id, SE_ENC_INFO* info) {
  std::vector<Unit> found = tb_units();
  auto u = find_unit(found, enc_sys_id, enc_kind_name(EncKind::kTbUnit));
  if (!u || info == nullptr) return -1;
  std::string base = std::string(kTbDevices) + "/" + u->dev;
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  fill_common(*u, base, "vendor_name", "device_name", info);
  std::string uid = sysfs_read(base + "/unique_id").value_or("");
  std::erase(uid, '-');  // a UUID without its dashes fits the serial field
  copy_out(uid, info->serial, sizeof info->serial);
  copy_out(sysfs_read(base + "/nvm_version").value_or(""), info->revision, 16 + 1);
  // A unit daisy-chained behind another hangs from it; the first one from the appliance.
  std::string real = sysfs_resolve(base);
  std::string up = real.substr(0, real.find_last_of('/'));
  std::string up_name = up.substr(up.find_last_of('/') + 1);
  std::string parent = enc_kind_name(EncKind::kRoot);
  for (const Unit& other : found)
    if (other.dev == up_name) parent = enc_kind_name(EncKind::kTbUnit) + other.dev;
  copy_out(parent, info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  info->enc_parent_port_id = last_number(u->dev);
  return 0;
}

}  // namespace bayhal
