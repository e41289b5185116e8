// pd_sys_getinfo: the disk record of one disk, by enclosure kind.
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/comm_sys.h"
#include "disk_sys/pd_identity.h"
#include "disk_sys/pd_sys.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/sas_expander.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

bool starts(std::string_view s, std::string_view p) { return s.substr(0, p.size()) == p; }

// A disk name as the kernel spells it: letters, digits, '-', '_', ':' and '.', no path.
bool plain_name(std::string_view n) {
  if (n.empty() || n.size() >= PD_NAME_LEN || n == "." || n == "..") return false;
  for (char c : n)
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == ':' ||
          c == '.'))
      return false;
  return true;
}

// A SCSI block device lives in "<unit>/block/<name>"; its "device" link says the same
// where the folder is elsewhere.
std::string unit_of_block(const std::string& block) {
  std::string parent = block.substr(0, block.rfind('/'));
  if (parent.size() > 6 && parent.compare(parent.size() - 6, 6, "/block") == 0)
    return parent.substr(0, parent.size() - 6);
  return sysfs_resolve(block + "/device");
}

bool below_usb(const std::string& path) {
  size_t at = 0;
  while ((at = path.find("/usb", at)) != std::string::npos) {
    at += 4;
    if (at < path.size() && std::isdigit(static_cast<unsigned char>(path[at]))) return true;
  }
  return false;
}

// The slots that may serve as cache: "SYSTEM_DISK_CACHEABLE_BITMAP" (hexadecimal, default 1),
// bit n-1 for slot n.
bool cacheable(std::string_view enc, int port) {
  const EncKindRow* kind = enc_kind_of(enc);
  if (port < 1 || port > 32 || kind == nullptr || kind->cache_section == nullptr) return false;
  return (model::cacheable_bitmap(kind->cache_section) >> (port - 1)) & 1;
}

int getinfo_pd_in_root_enclosure(const char* enc, const char* name, PD_INFO* info) {
  DiskPaths p;
  p.name = name;
  p.block = sysfs_resolve("/sys/class/block/" + p.name);
  if (p.block.empty()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):System Internal Error\n", __func__, __LINE__);
    return -1;
  }
  p.nvme = starts(p.name, "nvme");
  p.usb = below_usb(p.block);
  std::string ctrl;
  if (p.nvme) {
    ctrl = "/dev/" + p.name;
    copy_field(info->pd_bus_name, sizeof info->pd_bus_name,
               sysfs_read(sysfs_resolve(p.block + "/device") + "/address").value_or(""));
  } else {
    p.unit = unit_of_block(p.block);
    auto sg = sysfs_list(p.unit + "/scsi_generic");
    ctrl = sg.empty() ? "/dev/" + p.name : "/dev/" + sg.front();
    copy_field(info->pd_bus_name, sizeof info->pd_bus_name, p.unit.substr(p.unit.rfind('/') + 1));
  }
  copy_field(info->pd_sys_name, sizeof info->pd_sys_name, "/dev/" + p.name);
  copy_field(info->pd_ctrl_name, sizeof info->pd_ctrl_name, ctrl);
  pd_sys_get_driver_name(name, info->pd_driver_name, sizeof info->pd_driver_name);

  std::string_view e(enc);
  info->port_id = p.nvme && enc_is(e, EncKind::kRoot) ? comm_sys_get_root_nvme_port_id(p.name)
                                                      : pd_sys_get_physical_drive_port(enc, name);
  if (p.unit.find("/end_device-") != std::string::npos) {
    std::string ed = p.unit.substr(0, p.unit.rfind("/target"));
    std::string edname = ed.substr(ed.rfind('/') + 1);
    if (auto phy = sysfs_read_int(ed + "/sas_device/" + edname + "/phy_identifier")) {
      info->att_phy_id = static_cast<int>(*phy);
      info->capabilities |= PD_CAP_ATT_PHY;
    }
  }

  IdentityResult id = fill_identity(p, ctrl, info);
  if (cacheable(e, info->port_id)) info->capabilities |= PD_CAP_CACHEABLE;

  bool removable = sysfs_read_int(p.block + "/removable").value_or(0) == 1;
  if (removable && id.scsi_type != 5) {
    if (info->capacity == 0) {
      ERR_TRACE(HAL_TRACE_INFO, "%s(%d): pd_sys_id = %s, capacity = 0, return -2.\n", __func__,
                __LINE__, name);
      return -2;
    }
    if (info->capacity * static_cast<long long>(info->sector_size) <= 0x3fffffffLL) {
      ERR_TRACE(HAL_TRACE_INFO, "%s(%d): pd_sys_id = %s is removable disk, return -2.\n",
                __func__, __LINE__, name);
      return -2;
    }
  }
  return 0;
}

int unsupported(const char* enc) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not supported.\n", "pd_sys_getinfo",
            __LINE__, enc);
  return -1;
}

// For an ATA disk with TRIM the kernel must issue ATA TRIM, not SCSI UNMAP/WRITE SAME.
void switch_provisioning_mode(const PD_INFO* info) {
  if (info->type != PD_TYPE_ATA || !(info->capabilities & PD_CAP_TRIM)) return;
  std::string block = sysfs_resolve(std::string("/sys/class/block/") + info->pd_sys_id);
  if (block.empty()) return;
  std::string unit = unit_of_block(block);
  if (unit.empty()) return;
  std::string hctl = unit.substr(unit.rfind('/') + 1);
  std::string mode = unit + "/scsi_disk/" + hctl + "/provisioning_mode";
  if (sysfs_read(mode).value_or("") != "full") return;
  if (sysfs_write(mode, "sata_trim"))
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): set sd provisioning_mode from full to sata_trim\n",
              "pd_sys_getinfo", __LINE__);
}

}  // namespace

int pd_sys_getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) {
  if (enc_sys_id == nullptr || pd_sys_id == nullptr || info == nullptr || !plain_name(pd_sys_id)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): bad argument (enc_sys_id %s, pd_sys_id %s)\n", __func__,
              __LINE__, enc_sys_id ? enc_sys_id : "(null)", pd_sys_id ? pd_sys_id : "(null)");
    return -1;
  }
  std::memset(info, 0, sizeof *info);
  info->att_phy_id = -1;
  info->port_id = -1;
  info->adapter_kind = PD_ADAPTER_DEFAULT;
  copy_field(info->pd_sys_id, sizeof info->pd_sys_id, pd_sys_id);
  copy_field(info->enc_sys_id, sizeof info->enc_sys_id, enc_sys_id);
  copy_field(info->read_speed, sizeof info->read_speed, "none");

  // Disks found over sysfs get the record of a root disk (behind an expander the slot is
  // the end device's bay); the others need a vendor back-end.
  const EncKindRow* kind = enc_kind_present(enc_sys_id);
  if (kind == nullptr || !kind->own_disks) return unsupported(enc_sys_id);
  if (kind->kind == EncKind::kIscsi)
    ERR_TRACE(HAL_TRACE_ERROR, "%s: get iscsi information\n", __func__);
  int rc = getinfo_pd_in_root_enclosure(enc_sys_id, pd_sys_id, info);
  if (rc != 0) return rc;

  if (kind->link_speed)
    pd_sys_get_conn_speed(enc_sys_id, pd_sys_id, &info->link_speed, &info->max_link_speed,
                          &info->pd_max_link_speed);
  switch_provisioning_mode(info);
  pd_sys_set_sed_capability(info);
  return 0;
}

}  // namespace bayhal
