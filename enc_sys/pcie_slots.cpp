#include "enc_sys/pcie_slots.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "enc_sys/enc_kind.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

namespace fs = std::filesystem;

bool is_pci_address(const std::string& name) {
  unsigned d, b, s, f;
  char tail;
  return std::sscanf(name.c_str(), "%4x:%2x:%2x.%1x%c", &d, &b, &s, &f, &tail) == 4;
}

bool is_storage(const std::string& dir) {
  auto cls = sysfs_read(dir + "/class");
  return cls && (std::strtoul(cls->c_str(), nullptr, 16) >> 16) == 0x01;
}

// Storage functions at the slot's address and below it.
std::vector<std::string> storage_functions(int slot) {
  std::vector<std::string> found;
  auto desc = model::pcie_slot(slot);
  std::string address = desc ? desc->slot.pci_address() : std::string();
  if (address.empty()) return found;
  std::string top = sysfs_resolve("/sys/bus/pci/devices/" + address);
  if (top.empty()) return found;
  if (is_storage(top)) found.push_back(top);
  std::error_code ec;
  fs::recursive_directory_iterator it(sys_path(top), ec), end;
  for (; !ec && it != end; it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (it.depth() > 6 || it->is_symlink(ec) || !it->is_directory(ec) || !is_pci_address(name)) {
      it.disable_recursion_pending();
      continue;
    }
    std::string dir = strip_root(it->path().string());
    if (is_storage(dir)) found.push_back(dir);
  }
  return found;
}

}  // namespace

int pcie_enclosure_enumerate(char** names, int capacity, int slot) {
  if (storage_functions(slot).empty()) return 0;
  if (names != nullptr && capacity > 0)
    names[0] = strdup((std::string(enc_kind_name(EncKind::kPcieSlot)) + std::to_string(slot)).c_str());
  return 1;
}

int pcie_slot_getinfo(const char* enc_sys_id, SE_ENC_INFO* info) {
  if (enc_sys_id == nullptr || info == nullptr) return -1;
  int slot = index_after(enc_sys_id, enc_kind_name(EncKind::kPcieSlot));
  if (slot < 1 || slot > 64) return -1;
  std::vector<std::string> controllers = storage_functions(slot);
  if (controllers.empty()) return -1;
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  copy_out(enc_kind_name(EncKind::kRoot), info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  info->enc_parent_port_id = slot;
  auto hex4 = [](const std::string& attr) {
    auto v = sysfs_read(attr).value_or("");
    return v.rfind("0x", 0) == 0 ? v.substr(2) : v;
  };
  copy_out(hex4(controllers.front() + "/vendor"), info->vendor, sizeof info->vendor);
  copy_out(hex4(controllers.front() + "/device"), info->model, sizeof info->model);
  auto desc = model::pcie_slot(slot);
  info->max_disk_num = desc && desc->max_disk_num ? *desc->max_disk_num
                                                  : static_cast<int>(controllers.size());
  info->capabilities = desc ? desc->cap : 0;
  return 0;
}

}  // namespace bayhal
