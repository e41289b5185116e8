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

namespace {

// A log page of `params`: code, control byte (binary, list format) and value each.
std::vector<uint8_t> log_of(uint8_t page, const std::vector<std::pair<uint16_t, std::vector<uint8_t>>>& params) {
  std::vector<uint8_t> p = {page, 0, 0, 0};
  for (const auto& [code, value] : params) {
    p.insert(p.end(), {static_cast<uint8_t>(code >> 8), static_cast<uint8_t>(code), 0x03,
                       static_cast<uint8_t>(value.size())});
    p.insert(p.end(), value.begin(), value.end());
  }
  put_be(p, 2, p.size() - 4, 2);
  return p;
}

std::vector<uint8_t> be_bytes(uint64_t v, size_t n) {
  std::vector<uint8_t> b(n);
  put_be(b, 0, v, n);
  return b;
}

}  // namespace

std::vector<uint8_t> SasDiskModel::self_test_page() {
  std::vector<std::pair<uint16_t, std::vector<uint8_t>>> params;
  for (uint16_t n = 1; n <= 20; ++n) {
    std::vector<uint8_t> v(16, 0);
    uint8_t entry = n == 1 ? (running_code_ ? static_cast<uint8_t>(running_code_ << 5 | 0x0f) : last_result_) : 0;
    v[0] = entry;
    if (entry) {
      v[1] = 1;
      put_be(v, 2, spec_.power_on_minutes / 60, 2);
      for (int i = 4; i < 12; ++i) v[i] = 0xff;  // no failing address
    }
    params.emplace_back(n, v);
  }
  // A running background test is found finished at the next look.
  if (running_code_) {
    last_result_ = static_cast<uint8_t>(running_code_ << 5);
    running_code_ = 0;
  }
  return log_of(0x10, params);
}

std::vector<uint8_t> SasDiskModel::log_page(uint8_t page) {
  uint8_t temp = static_cast<uint8_t>(spec_.temperature);
  switch (page) {
    case 0x00:
      return {0x00, 0, 0, 7, 0x00, 0x02, 0x03, 0x0d, 0x10, 0x15, 0x2f};
    case 0x02:
      return log_of(0x02, {{6, be_bytes(spec_.write_uncorrected, 4)}});
    case 0x03:
      return log_of(0x03, {{6, be_bytes(spec_.read_uncorrected, 4)}});
    case 0x0d:
      return log_of(0x0d, {{0, {0, temp}}, {1, {0, static_cast<uint8_t>(spec_.trip_temperature)}}});
    case 0x10:
      return self_test_page();
    case 0x15: {
      std::vector<uint8_t> v = be_bytes(spec_.power_on_minutes, 4);
      v.resize(12, 0);
      return log_of(0x15, {{0, v}});
    }
    case 0x2f:
      return log_of(0x2f, {{0, {static_cast<uint8_t>(spec_.failing ? 0x5d : 0), 0, temp,
                                static_cast<uint8_t>(spec_.trip_temperature)}}});
    default:
      return {};
  }
}

void SasDiskModel::other(DeviceCommand& cmd) {
  const uint8_t* c = cmd.cdb;
  switch (c[0]) {
    case 0x03: {  // REQUEST SENSE: the power condition, without waking the disk
      std::vector<uint8_t> s(18, 0);
      s[0] = 0x70;
      s[7] = 10;
      if (standby()) {
        s[12] = 0x5e;  // LOW POWER CONDITION ON: standby condition activated by command
        s[13] = 0x04;
      }
      return reply_data(cmd, s);
    }
    case 0x4d: {  // LOG SENSE
      media_access();
      auto p = log_page(c[2] & 0x3f);
      if (p.empty()) return check_condition(cmd, 0x05, 0x24, 0x00);
      uint32_t alloc = static_cast<uint32_t>(c[7] << 8 | c[8]);
      if (p.size() > alloc) p.resize(alloc);
      return reply_data(cmd, p);
    }
    case 0x1a: {  // MODE SENSE(6) of the Control page
      media_access();
      if ((c[2] & 0x3f) != 0x0a) return check_condition(cmd, 0x05, 0x24, 0x00);
      std::vector<uint8_t> p = {15, 0, 0, 0, 0x0a, 0x0a, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
      put_be(p, 4 + 10, spec_.extended_test_seconds, 2);
      if (p.size() > c[4]) p.resize(c[4]);
      return reply_data(cmd, p);
    }
    case 0x1d: {  // SEND DIAGNOSTIC: background self-tests
      media_access();
      uint8_t code = c[1] >> 5;
      if (code == 1 || code == 2) {
        running_code_ = code;
      } else if (code == 4) {
        if (running_code_) last_result_ = static_cast<uint8_t>(running_code_ << 5 | 0x01);
        running_code_ = 0;
      } else {
        return check_condition(cmd, 0x05, 0x24, 0x00);
      }
      cmd.status = kScsiGood;
      return;
    }
    default:
      return ScsiModel::other(cmd);
  }
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
