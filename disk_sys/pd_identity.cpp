#include "disk_sys/pd_identity.h"

#include <cstring>
#include <optional>
#include <vector>

#include "disk_sys/ata_identify.h"
#include "disk_sys/device_commands.h"
#include "disk_sys/nvme_identify.h"
#include "disk_sys/scsi_pages.h"
#include "enc_sys/vpd_serial.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

void copy_wwn(PD_INFO* info, const uint8_t* bytes, size_t len) {
  if (len > sizeof info->wwn) len = sizeof info->wwn;
  std::memcpy(info->wwn, bytes, len);
  info->wwn_len = static_cast<int>(len);
  info->capabilities |= PD_CAP_WWN;
}

void set_rotation(PD_INFO* info, int rotation, const DiskPaths& p) {
  // Drives that do not report a rate: the kernel's rotational flag still tells an SSD.
  if (rotation < 0 && sysfs_read_int(p.block + "/queue/rotational").value_or(1) == 0)
    rotation = 0;
  info->rotation_speed = rotation;
  if (rotation == 0)
    info->capabilities |= PD_CAP_SSD;
  else
    info->capabilities &= ~PD_CAP_SSD;
}

// Capacity from the kernel: "size" counts 512-byte units.
void capacity_from_sysfs(const DiskPaths& p, PD_INFO* info) {
  long long units = sysfs_read_int(p.block + "/size").value_or(0);
  long long lbs = sysfs_read_int(p.block + "/queue/logical_block_size").value_or(512);
  if (lbs < 512) lbs = 512;
  info->sector_size = static_cast<int>(lbs);
  info->capacity = units * 512 / lbs;
}

void from_sysfs(const DiskPaths& p, PD_INFO* info) {
  std::string dev = p.nvme ? sysfs_resolve(p.block + "/device") : p.unit;
  if (info->vendor[0] == 0)
    copy_field(info->vendor, sizeof info->vendor, sysfs_read(dev + "/vendor").value_or(""));
  if (info->model[0] == 0)
    copy_field(info->model, sizeof info->model, sysfs_read(dev + "/model").value_or(""));
  if (info->revision[0] == 0) {
    auto rev = sysfs_read(dev + (p.nvme ? "/firmware_rev" : "/rev"));
    copy_field(info->revision, sizeof info->revision, rev.value_or(""));
  }
  if (info->serial_no[0] == 0) {
    auto serial = sysfs_read(dev + "/serial");
    copy_field(info->serial_no, sizeof info->serial_no, serial.value_or(""));
    if (info->serial_no[0]) info->capabilities |= PD_CAP_SERIAL;
  }
  if (info->capacity == 0) capacity_from_sysfs(p, info);
  if (info->rotation_speed == 0 && !(info->capabilities & PD_CAP_SSD)) set_rotation(info, -1, p);
}

bool fill_ata(const std::string& ctrl, const DiskPaths& p, PD_INFO* info) {
  uint8_t page[kAtaIdentifySize];
  AtaIdentity id;
  if (ata_identify(ctrl, page) != 0 || !ata_identify_parse(page, sizeof page, id)) return false;
  copy_field(info->model, sizeof info->model, id.model);
  copy_field(info->revision, sizeof info->revision, id.firmware);
  copy_field(info->serial_no, sizeof info->serial_no, id.serial);
  if (!id.serial.empty()) info->capabilities |= PD_CAP_SERIAL;
  if (info->vendor[0] == 0) copy_field(info->vendor, sizeof info->vendor, "ATA");
  set_rotation(info, id.rotation_rate, p);
  info->form = id.form_factor;
  if (id.smart_supported) info->capabilities |= PD_CAP_SMART | PD_CAP_SMART_ATA;
  if (id.self_test_supported && !Disk_Is_SelfTest_Blacklisted(info->vendor, info->model))
    info->capabilities |= PD_CAP_SELF_TEST;
  if (id.trim_supported) info->capabilities |= PD_CAP_TRIM;
  if (id.wwn_supported) copy_wwn(info, id.wwn, sizeof id.wwn);
  info->capacity = static_cast<long long>(id.sectors);
  info->sector_size = static_cast<int>(id.logical_sector_size);
  info->pd_max_link_speed = id.sata_max_gen;  // generations 1-3 are codes 1-3
  return true;
}

void fill_scsi(const std::string& ctrl, const InquiryData& inq, const DiskPaths& p,
               PD_INFO* info) {
  copy_field(info->vendor, sizeof info->vendor, inq.vendor);
  copy_field(info->model, sizeof info->model, inq.product);
  copy_field(info->revision, sizeof info->revision, inq.revision);
  std::vector<uint8_t> page(512);
  size_t got = 0;
  std::optional<std::string> serial;
  if (scsi_inquiry(ctrl, 0x80, page.data(), 512, &got) == 0 &&
      (serial = parse_vpd_serial(page.data(), got)) && !serial->empty()) {
    copy_field(info->serial_no, sizeof info->serial_no, *serial);
    info->capabilities |= PD_CAP_SERIAL;
  }
  uint8_t naa[16];
  size_t naa_len = 0;
  if (scsi_inquiry(ctrl, 0x83, page.data(), 512, &got) == 0 &&
      (naa_len = scsi_parse_vpd_naa(page.data(), got, naa)) > 0)
    copy_wwn(info, naa, naa_len);
  int rotation = -1, form = 0;
  if (scsi_inquiry(ctrl, 0xb1, page.data(), 512, &got) == 0)
    scsi_parse_vpd_block_chars(page.data(), got, rotation, form);
  set_rotation(info, rotation, p);
  info->form = form;
  uint64_t blocks = 0;
  uint32_t block_len = 0;
  if (scsi_read_capacity(ctrl, blocks, block_len) == 0) {
    info->capacity = static_cast<long long>(blocks);
    info->sector_size = static_cast<int>(block_len);
  }
}

bool fill_nvme(const std::string& node, const DiskPaths& p, PD_INFO* info) {
  std::vector<uint8_t> page(kNvmeIdentifySize);
  NvmeController ctrl;
  if (nvme_identify(node, 1, 0, page.data()) != 0 ||
      !nvme_parse_identify_ctrl(page.data(), page.size(), ctrl))
    return false;
  copy_field(info->model, sizeof info->model, ctrl.model);
  copy_field(info->serial_no, sizeof info->serial_no, ctrl.serial);
  copy_field(info->revision, sizeof info->revision, ctrl.firmware);
  if (!ctrl.serial.empty()) info->capabilities |= PD_CAP_SERIAL;
  if (ctrl.oncs & kNvmeOncsDsm) info->capabilities |= PD_CAP_TRIM;
  if ((ctrl.oacs & kNvmeOacsSelfTest) && !Disk_Is_SelfTest_Blacklisted(info->vendor, info->model))
    info->capabilities |= PD_CAP_SELF_TEST;
  long long nsid = sysfs_read_int(p.block + "/nsid").value_or(1);
  NvmeNamespace ns;
  if (nvme_identify(node, 0, static_cast<uint32_t>(nsid), page.data()) == 0 &&
      nvme_parse_identify_ns(page.data(), page.size(), ns)) {
    info->capacity = static_cast<long long>(ns.sectors);
    info->sector_size = static_cast<int>(ns.lba_size);
  }
  return true;
}

}  // namespace

void copy_field(char* dst, size_t size, const std::string& s) {
  if (size == 0) return;
  size_t n = s.size() < size - 1 ? s.size() : size - 1;
  std::memcpy(dst, s.data(), n);
  dst[n] = 0;
}

IdentityResult fill_identity(const DiskPaths& p, const std::string& ctrl, PD_INFO* info) {
  IdentityResult r;
  if (p.nvme) {
    info->type = PD_TYPE_NVME;
    copy_field(info->vendor, sizeof info->vendor, "NVMe");
    info->capabilities |= PD_CAP_SMART;  // the health log
    set_rotation(info, 0, p);
    fill_nvme(ctrl, p, info);
    from_sysfs(p, info);
    return r;
  }
  uint8_t buf[96] = {};
  size_t got = 0;
  InquiryData inq;
  if (scsi_inquiry(ctrl, -1, buf, sizeof buf, &got) == 0 && scsi_parse_inquiry(buf, got, inq))
    r.scsi_type = inq.peripheral_type;
  if (p.usb) {
    info->type = PD_TYPE_USB;
    if (r.scsi_type >= 0) fill_scsi(ctrl, inq, p, info);
    // A bridge that passes ATA commands gives the drive's own identity.
    fill_ata(ctrl, p, info);
  } else if (r.scsi_type >= 0 && r.scsi_type != 5 && inq.vendor != "ATA") {
    info->type = PD_TYPE_SCSI;
    info->capabilities |= PD_CAP_SCSI;
    fill_scsi(ctrl, inq, p, info);
    // Health from the log pages; self-tests by SEND DIAGNOSTIC, which every disk takes.
    info->capabilities |= PD_CAP_SMART;
    if (!Disk_Is_SelfTest_Blacklisted(info->vendor, info->model)) info->capabilities |= PD_CAP_SELF_TEST;
  } else {
    info->type = PD_TYPE_ATA;
    if (r.scsi_type >= 0) copy_field(info->vendor, sizeof info->vendor, inq.vendor);
    if (!fill_ata(ctrl, p, info) && r.scsi_type >= 0) {
      copy_field(info->model, sizeof info->model, inq.product);
      copy_field(info->revision, sizeof info->revision, inq.revision);
    }
  }
  if (r.scsi_type < 0) r.scsi_type = static_cast<int>(sysfs_read_int(p.unit + "/type").value_or(-1));
  from_sysfs(p, info);
  return r;
}

}  // namespace bayhal
