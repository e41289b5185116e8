#include "sim/scsi_disk_models.h"

namespace bayhal::sim {
namespace {

std::vector<uint8_t> text(const std::string& s) { return {s.begin(), s.end()}; }

std::vector<uint8_t> naa_designator(uint8_t assoc_type, uint64_t naa) {
  std::vector<uint8_t> d = {0x61, assoc_type, 0x00, 0x08};  // SAS protocol, binary
  for (int i = 7; i >= 0; --i) d.push_back(static_cast<uint8_t>(naa >> (8 * i)));
  return d;
}

}  // namespace

std::vector<uint8_t> SasDiskModel::standard_inquiry() {
  return inquiry_page(0, false, spec_.vendor, spec_.product, spec_.revision);
}

std::vector<uint8_t> SasDiskModel::vpd(uint8_t page) {
  switch (page) {
    case 0x00:
      return vpd_page(0x00, {0x00, 0x80, 0x83, 0xb1});
    case 0x80:
      return vpd_page(0x80, text(spec_.serial));
    case 0x83: {
      std::vector<uint8_t> body;
      if (spec_.naa) {
        auto lu = naa_designator(0x03, spec_.naa);  // association: logical unit
        lu[0] = 0x01;                               // no protocol identifier for the LU
        body.insert(body.end(), lu.begin(), lu.end());
      }
      auto port = naa_designator(0x93, spec_.target_port);  // PIV, target port, NAA
      body.insert(body.end(), port.begin(), port.end());
      body.insert(body.end(), {0x61, 0x94, 0x00, 0x04, 0x00, 0x00, 0x00, 0x01});
      return vpd_page(0x83, body);
    }
    case 0xb1: {
      std::vector<uint8_t> body(0x3c, 0);
      uint16_t rate = spec_.rotation < 0 ? 0 : spec_.rotation == 0 ? 1 : spec_.rotation;
      body[0] = static_cast<uint8_t>(rate >> 8);
      body[1] = static_cast<uint8_t>(rate);
      body[3] = static_cast<uint8_t>(spec_.form_factor & 0x0f);
      return vpd_page(0xb1, body);
    }
    default:
      return {};
  }
}

bool SasDiskModel::capacity(uint64_t& blocks, uint32_t& block_len) {
  blocks = spec_.blocks;
  block_len = spec_.block_len;
  return true;
}

std::vector<uint8_t> OpticalDriveModel::standard_inquiry() {
  return inquiry_page(5, true, spec_.vendor, spec_.product, spec_.revision);
}

std::vector<uint8_t> OpticalDriveModel::vpd(uint8_t page) {
  if (page == 0x00) return vpd_page(0x00, {0x00}, 5);
  return {};
}

bool OpticalDriveModel::capacity(uint64_t& blocks, uint32_t& block_len) {
  blocks = spec_.media_blocks;
  block_len = 2048;
  return spec_.media_blocks > 0;
}

void OpticalDriveModel::test_unit_ready(DeviceCommand& cmd) {
  if (spec_.media_blocks == 0) return check_condition(cmd, 0x02, 0x3a, 0x00);
  cmd.status = kScsiGood;
}

std::vector<uint8_t> UsbBridgeModel::standard_inquiry() {
  return inquiry_page(0, spec_.removable, spec_.vendor, spec_.product, spec_.revision);
}

std::vector<uint8_t> UsbBridgeModel::vpd(uint8_t page) {
  if (page == 0x00) return vpd_page(0x00, {0x00, 0x80});
  if (page == 0x80) return vpd_page(0x80, text(spec_.serial));
  return {};
}

bool UsbBridgeModel::capacity(uint64_t& blocks, uint32_t& block_len) {
  if (!disk_) return false;
  DeviceCommand probe;
  probe.cdb_len = 16;
  probe.cdb[0] = 0x9e;
  probe.cdb[1] = 0x10;
  probe.cdb[13] = 32;
  uint8_t buf[32] = {};
  probe.dir = XferDir::kFromDevice;
  probe.data = buf;
  probe.data_len = sizeof buf;
  disk_->handle(probe);
  if (!probe.good()) return false;
  blocks = 0;
  for (int i = 0; i < 8; ++i) blocks = (blocks << 8) | buf[i];
  blocks += 1;
  block_len = (uint32_t(buf[8]) << 24) | (buf[9] << 16) | (buf[10] << 8) | buf[11];
  return true;
}

void UsbBridgeModel::ata_pass_through(DeviceCommand& cmd) {
  if (!spec_.sat_passthrough || !disk_) return check_condition(cmd, 0x05, 0x20, 0x00);
  disk_->ata_pass_through(cmd);
}

void UsbBridgeModel::test_unit_ready(DeviceCommand& cmd) {
  if (!disk_) return check_condition(cmd, 0x02, 0x3a, 0x00);
  cmd.status = kScsiGood;
}

}  // namespace bayhal::sim
