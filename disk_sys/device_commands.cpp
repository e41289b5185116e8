#include "disk_sys/device_commands.h"

#include "disk_sys/scsi_pages.h"

namespace bayhal {
namespace {

int run(std::string_view dev, DeviceCommand& cmd, size_t* got) {
  if (device_command(dev, cmd) != 0 || !cmd.good()) return -1;
  if (got) *got = cmd.transferred();
  return 0;
}

}  // namespace

int scsi_inquiry(std::string_view dev, int vpd_page, uint8_t* buf, uint16_t len, size_t* got) {
  DeviceCommand cmd;
  cmd.cdb_len = 6;
  cmd.cdb[0] = 0x12;
  if (vpd_page >= 0) {
    cmd.cdb[1] = 0x01;  // EVPD
    cmd.cdb[2] = static_cast<uint8_t>(vpd_page);
  }
  cmd.cdb[3] = static_cast<uint8_t>(len >> 8);
  cmd.cdb[4] = static_cast<uint8_t>(len);
  cmd.dir = XferDir::kFromDevice;
  cmd.data = buf;
  cmd.data_len = len;
  return run(dev, cmd, got);
}

int scsi_read_capacity(std::string_view dev, uint64_t& blocks, uint32_t& block_len) {
  uint8_t buf[32] = {};
  DeviceCommand cmd;
  cmd.cdb_len = 16;
  cmd.cdb[0] = 0x9e;  // SERVICE ACTION IN(16)
  cmd.cdb[1] = 0x10;  // READ CAPACITY(16)
  cmd.cdb[13] = sizeof buf;
  cmd.dir = XferDir::kFromDevice;
  cmd.data = buf;
  cmd.data_len = sizeof buf;
  size_t got = 0;
  if (run(dev, cmd, &got) == 0 && scsi_parse_read_capacity16(buf, got, blocks, block_len))
    return 0;
  DeviceCommand c10;
  c10.cdb_len = 10;
  c10.cdb[0] = 0x25;
  c10.dir = XferDir::kFromDevice;
  c10.data = buf;
  c10.data_len = 8;
  if (run(dev, c10, &got) != 0) return -1;
  return scsi_parse_read_capacity10(buf, got, blocks, block_len) ? 0 : -1;
}

int scsi_test_unit_ready(std::string_view dev, DeviceCommand* out) {
  DeviceCommand cmd;
  cmd.cdb_len = 6;
  int rc = run(dev, cmd, nullptr);
  if (out) *out = cmd;
  return rc;
}

namespace {

DeviceCommand data_in(int cdb_len, uint8_t* buf, uint32_t len) {
  DeviceCommand cmd;
  cmd.cdb_len = static_cast<uint8_t>(cdb_len);
  cmd.dir = XferDir::kFromDevice;
  cmd.data = buf;
  cmd.data_len = len;
  return cmd;
}

}  // namespace

int scsi_log_sense(std::string_view dev, uint8_t page, uint8_t* buf, uint16_t len, size_t* got) {
  DeviceCommand cmd = data_in(10, buf, len);
  cmd.cdb[0] = 0x4d;
  cmd.cdb[2] = static_cast<uint8_t>(0x40 | (page & 0x3f));  // cumulative values
  cmd.cdb[7] = static_cast<uint8_t>(len >> 8);
  cmd.cdb[8] = static_cast<uint8_t>(len);
  return run(dev, cmd, got);
}

int scsi_request_sense(std::string_view dev, uint8_t* buf, uint8_t len, size_t* got) {
  DeviceCommand cmd = data_in(6, buf, len);
  cmd.cdb[0] = 0x03;
  cmd.cdb[4] = len;
  return run(dev, cmd, got);
}

int scsi_mode_sense6(std::string_view dev, uint8_t page, uint8_t* buf, uint8_t len, size_t* got) {
  DeviceCommand cmd = data_in(6, buf, len);
  cmd.cdb[0] = 0x1a;
  cmd.cdb[1] = 0x08;  // no block descriptors
  cmd.cdb[2] = page & 0x3f;
  cmd.cdb[4] = len;
  return run(dev, cmd, got);
}

int scsi_send_diagnostic(std::string_view dev, uint8_t self_test_code) {
  DeviceCommand cmd;
  cmd.cdb_len = 6;
  cmd.cdb[0] = 0x1d;
  cmd.cdb[1] = static_cast<uint8_t>(self_test_code << 5);
  return run(dev, cmd, nullptr);
}

int ata_pass_through(std::string_view dev, const AtaTaskfile& tf, XferDir dir, uint8_t* buf,
                     uint32_t len, DeviceCommand* out) {
  DeviceCommand cmd;
  cmd.cdb_len = 16;
  cmd.cdb[0] = 0x85;
  if (dir == XferDir::kFromDevice) {
    cmd.cdb[1] = 4 << 1;  // PIO Data-In
    cmd.cdb[2] = 0x0e;    // T_DIR in, BYT_BLOK, length in the sector count
  } else if (dir == XferDir::kToDevice) {
    cmd.cdb[1] = 5 << 1;  // PIO Data-Out
    cmd.cdb[2] = 0x06;
  } else {
    cmd.cdb[1] = 3 << 1;  // Non-data
    cmd.cdb[2] = 0x20;    // CK_COND: return the registers
  }
  cmd.cdb[4] = tf.features;
  cmd.cdb[6] = tf.sector_count;
  cmd.cdb[8] = tf.lba_low;
  cmd.cdb[10] = tf.lba_mid;
  cmd.cdb[12] = tf.lba_high;
  cmd.cdb[13] = tf.device;
  cmd.cdb[14] = tf.command;
  cmd.dir = dir;
  cmd.data = dir == XferDir::kNone ? nullptr : buf;
  cmd.data_len = dir == XferDir::kNone ? 0 : len;
  int rc = device_command(dev, cmd);
  if (out) *out = cmd;
  if (rc != 0) return -1;
  // With CK_COND a good command still returns CHECK CONDITION carrying "ATA pass through
  // information available" (ASC/ASCQ 00h/1Dh) with the registers.
  if (dir == XferDir::kNone && cmd.status == kScsiCheckCondition && cmd.sense_key() == 0x01 &&
      cmd.asc() == 0x00 && cmd.ascq() == 0x1d)
    return 0;
  return cmd.good() ? 0 : -1;
}

int ata_identify(std::string_view dev, uint8_t* buf512) {
  AtaTaskfile tf;
  tf.command = 0xec;
  tf.sector_count = 1;
  return ata_pass_through(dev, tf, XferDir::kFromDevice, buf512, 512);
}

int nvme_identify(std::string_view dev, uint8_t cns, uint32_t nsid, uint8_t* buf4096) {
  DeviceCommand cmd;
  cmd.kind = CmdKind::kNvmeAdmin;
  cmd.nvme.opcode = 0x06;
  cmd.nvme.nsid = nsid;
  cmd.nvme.cdw10 = cns;
  cmd.dir = XferDir::kFromDevice;
  cmd.data = buf4096;
  cmd.data_len = 4096;
  return run(dev, cmd, nullptr);
}

int nvme_get_log_page(std::string_view dev, uint8_t lid, uint32_t nsid, uint8_t* buf,
                      uint32_t len) {
  DeviceCommand cmd;
  cmd.kind = CmdKind::kNvmeAdmin;
  cmd.nvme.opcode = 0x02;
  cmd.nvme.nsid = nsid;
  uint32_t dwords = len / 4 - 1;  // NUMD counts from 0
  cmd.nvme.cdw10 = lid | ((dwords & 0xffff) << 16);
  cmd.nvme.cdw11 = dwords >> 16;
  cmd.dir = XferDir::kFromDevice;
  cmd.data = buf;
  cmd.data_len = len;
  return run(dev, cmd, nullptr);
}

int nvme_device_self_test(std::string_view dev, uint32_t nsid, uint8_t stc) {
  DeviceCommand cmd;
  cmd.kind = CmdKind::kNvmeAdmin;
  cmd.nvme.opcode = 0x14;
  cmd.nvme.nsid = nsid;
  cmd.nvme.cdw10 = stc & 0x0f;
  return run(dev, cmd, nullptr);
}

}  // namespace bayhal
