// Names and facts around one disk: its pd_sys_id from a device name, the boot disk and the
// driver.
#include <cctype>
#include <cstring>
#include <sstream>
#include <string>

#include "disk_sys/pd_sys.h"
#include "disk_sys/root_lookup.h"
#include "disk_sys/root_slots.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

bool safe_name(const std::string& n) {
  if (n.empty() || n.size() >= PD_NAME_LEN || n == "." || n == "..") return false;
  for (char c : n)
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '.' ||
          c == ':'))
      return false;
  return true;
}

int put(const std::string& s, char* buf, int size) {
  if (buf == nullptr || size <= 0 || s.empty() || s.size() >= static_cast<size_t>(size))
    return -1;
  std::memcpy(buf, s.c_str(), s.size() + 1);
  return 0;
}

// The folder name of a PCI function "dddd:bb:dd.f".
bool pci_name(const std::string& n) {
  return n.size() == 12 && n[4] == ':' && n[7] == ':' && n[10] == '.';
}

bool has_usb_root_hub(const std::string& ctrl) {
  for (const auto& e : sysfs_list(ctrl))
    if (index_after(e, "usb") >= 0) return true;
  return false;
}

}  // namespace

int pd_sys_get_sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) {
  if (sys_name == nullptr) return -1;
  std::string n(sys_name);
  if (n.rfind("/dev/", 0) == 0) n.erase(0, 5);
  if (!safe_name(n)) return -1;
  std::string block = sysfs_resolve("/sys/class/block/" + n);
  if (block.empty()) return -1;
  // A partition's folder sits in its disk's folder.
  if (sysfs_exists(block + "/partition")) block = block.substr(0, block.rfind('/'));
  return put(block.substr(block.rfind('/') + 1), sys_id, size);
}

int pd_sys_get_boot_disk(char* name, int size) {
  // A model that names the boot device's port: "Boot Enclosure" with DEV_BUS and DEV_PORT
  // (a port of a disk controller, or a USB port list).
  if (auto s = model::read_slot("Boot Enclosure"); s && !s->dev_bus.empty()) {
    std::string ctrl =
        resolve_controller(s->domain, s->dev_bus, s->bridge_bus, s->switch_port, false);
    std::vector<FoundDisk> disks;
    if (!ctrl.empty() && has_usb_root_hub(ctrl))
      disks = usb_slot_disks(*s, true);
    else if (!ctrl.empty() && s->dev_port >= 0)
      disks = lookup_in_controller(ctrl, s->dev_port);
    if (!disks.empty()) return put(disks.front().name, name, size);
  }
  // Otherwise the disk that holds "/boot", else the one that holds "/".
  std::string boot_dev, root_dev;
  for_each_line(read_file("/proc/mounts", 1 << 20).value_or(""), [&](std::string_view line) {
    std::istringstream fields{std::string(line)};
    std::string dev, dir;
    fields >> dev >> dir;
    if (dev.rfind("/dev/", 0) != 0) return;
    if (dir == "/boot" && boot_dev.empty()) boot_dev = dev;
    if (dir == "/" && root_dev.empty()) root_dev = dev;
  });
  for (const auto& dev : {boot_dev, root_dev}) {
    char id[PD_NAME_LEN];
    if (!dev.empty() && pd_sys_get_sys_id_by_sys_name(dev.c_str(), id, sizeof id) == 0)
      return put(id, name, size);
  }
  return -1;
}

int pd_sys_get_driver_name(const char* pd_sys_id, char* buf, int size) {
  if (pd_sys_id == nullptr || !safe_name(pd_sys_id)) return -1;
  std::string path = sysfs_resolve(std::string("/sys/class/block/") + pd_sys_id);
  // The PCI function nearest to the disk: its driver's module.
  while (!path.empty() && path != "/") {
    std::string last = path.substr(path.rfind('/') + 1);
    if (pci_name(last)) {
      std::string module = sysfs_link_name(path + "/driver/module");
      if (module.empty()) module = sysfs_link_name(path + "/driver");
      return put(module, buf, size);
    }
    path = path.substr(0, path.rfind('/'));
  }
  return -1;
}

}  // namespace bayhal
