#include "sim/device_model.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace bayhal::sim {

void ModelTransport::add(std::string device, std::shared_ptr<DeviceModel> model) {
  std::lock_guard lock(mu_);
  models_[std::move(device)] = std::move(model);
}

void ModelTransport::remove(std::string_view device) {
  std::lock_guard lock(mu_);
  auto it = models_.find(device);
  if (it != models_.end()) models_.erase(it);
}

int ModelTransport::commands(std::string_view device) const {
  std::lock_guard lock(mu_);
  auto it = counts_.find(device);
  return it == counts_.end() ? 0 : it->second;
}

std::shared_ptr<DeviceModel> ModelTransport::model(std::string_view device) const {
  std::lock_guard lock(mu_);
  auto it = models_.find(device);
  return it == models_.end() ? nullptr : it->second;
}

int ModelTransport::submit(std::string_view device, DeviceCommand& cmd) {
  std::shared_ptr<DeviceModel> model;
  {
    std::lock_guard lock(mu_);
    auto it = models_.find(device);
    if (it == models_.end()) return -ENODEV;
    model = it->second;
    auto c = counts_.find(device);
    if (c == counts_.end())
      counts_.emplace(std::string(device), 1);
    else
      ++c->second;
  }
  cmd.status = kScsiGood;
  cmd.nvme_status = 0;
  cmd.host_status = cmd.driver_status = 0;
  cmd.sense_len = 0;
  cmd.residual = 0;
  model->count_received();
  model->handle(cmd);
  return 0;
}

void put_be(std::vector<uint8_t>& v, size_t off, uint64_t value, size_t len) {
  if (v.size() < off + len) v.resize(off + len);
  for (size_t i = 0; i < len; ++i) v[off + len - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t allocation_length(const DeviceCommand& cmd) {
  const uint8_t* c = cmd.cdb;
  switch (c[0]) {
    case 0x12:  // INQUIRY
      return (c[3] << 8) | c[4];
    case 0x9e:  // READ CAPACITY(16)
      return (uint32_t(c[10]) << 24) | (c[11] << 16) | (c[12] << 8) | c[13];
    case 0x25:  // READ CAPACITY(10)
      return 8;
    default:
      return cmd.data_len;
  }
}

void reply_data(DeviceCommand& cmd, const std::vector<uint8_t>& page) {
  uint32_t n = std::min<uint32_t>(cmd.data_len, allocation_length(cmd));
  n = std::min<uint32_t>(n, static_cast<uint32_t>(page.size()));
  if (cmd.data != nullptr && n > 0) std::memcpy(cmd.data, page.data(), n);
  cmd.residual = static_cast<int32_t>(cmd.data_len - n);
  cmd.status = kScsiGood;
}

void check_condition(DeviceCommand& cmd, uint8_t key, uint8_t asc, uint8_t ascq) {
  std::memset(cmd.sense, 0, sizeof cmd.sense);
  cmd.sense[0] = 0x70;
  cmd.sense[2] = key;
  cmd.sense[7] = 10;  // additional length
  cmd.sense[12] = asc;
  cmd.sense[13] = ascq;
  cmd.sense_len = 18;
  cmd.status = kScsiCheckCondition;
  cmd.driver_status = 0x08;  // DRIVER_SENSE
  cmd.residual = static_cast<int32_t>(cmd.data_len);
}

std::vector<uint8_t> inquiry_page(int peripheral_type, bool removable, std::string_view vendor,
                                  std::string_view product, std::string_view revision) {
  std::vector<uint8_t> p(36, ' ');
  p[0] = static_cast<uint8_t>(peripheral_type & 0x1f);
  p[1] = removable ? 0x80 : 0;
  p[2] = 0x06;  // SPC-4
  p[3] = 0x02;  // response data format 2
  p[4] = 31;    // additional length
  p[5] = p[6] = 0;
  p[7] = 0x02;  // CMDQUE
  auto put = [&](size_t off, std::string_view s, size_t width) {
    for (size_t i = 0; i < width && i < s.size(); ++i) p[off + i] = static_cast<uint8_t>(s[i]);
  };
  put(8, vendor, 8);
  put(16, product, 16);
  put(32, revision, 4);
  return p;
}

std::vector<uint8_t> vpd_page(uint8_t page, const std::vector<uint8_t>& body,
                              int peripheral_type) {
  std::vector<uint8_t> p(4);
  p[0] = static_cast<uint8_t>(peripheral_type & 0x1f);
  p[1] = page;
  put_be(p, 2, body.size(), 2);
  p.insert(p.end(), body.begin(), body.end());
  return p;
}

void ScsiModel::handle(DeviceCommand& cmd) {
  if (cmd.kind != CmdKind::kScsi) {
    cmd.status = kScsiCheckCondition;  // an NVMe command sent to a SCSI node
    cmd.nvme_status = 0x4001;
    return;
  }
  switch (cmd.cdb[0]) {
    case 0x12: {
      if (cmd.cdb[1] & 0x01) {
        auto page = vpd(cmd.cdb[2]);
        if (page.empty()) return check_condition(cmd, 0x05, 0x24, 0x00);
        return reply_data(cmd, page);
      }
      if (cmd.cdb[2] != 0) return check_condition(cmd, 0x05, 0x24, 0x00);
      return reply_data(cmd, standard_inquiry());
    }
    case 0x00:
      return test_unit_ready(cmd);
    case 0x25:
    case 0x9e: {
      if (cmd.cdb[0] == 0x9e && (cmd.cdb[1] & 0x1f) != 0x10) return other(cmd);
      uint64_t blocks = 0;
      uint32_t block_len = 0;
      if (!capacity(blocks, block_len)) return check_condition(cmd, 0x02, 0x3a, 0x00);
      std::vector<uint8_t> p;
      if (cmd.cdb[0] == 0x25) {
        put_be(p, 0, blocks > 0xffffffffull ? 0xffffffffull : blocks - 1, 4);
        put_be(p, 4, block_len, 4);
      } else {
        put_be(p, 0, blocks - 1, 8);
        put_be(p, 8, block_len, 4);
        p.resize(32);
      }
      return reply_data(cmd, p);
    }
    case 0x85:
    case 0xa1:
      return ata_pass_through(cmd);
    default:
      return other(cmd);
  }
}

void ScsiModel::ata_pass_through(DeviceCommand& cmd) { check_condition(cmd, 0x05, 0x20, 0x00); }

void ScsiModel::test_unit_ready(DeviceCommand& cmd) { cmd.status = kScsiGood; }

void ScsiModel::other(DeviceCommand& cmd) { check_condition(cmd, 0x05, 0x20, 0x00); }

}  // namespace bayhal::sim
