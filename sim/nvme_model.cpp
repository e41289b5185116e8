#include "sim/nvme_model.h"

#include <algorithm>
#include <cstring>

namespace bayhal::sim {
namespace {

constexpr uint16_t kInvalidOpcode = 0x0001;
constexpr uint16_t kInvalidField = 0x0002;
constexpr uint16_t kInvalidNamespace = 0x000b;

void put_le(std::vector<uint8_t>& p, size_t off, uint64_t v, size_t len) {
  for (size_t i = 0; i < len; ++i) p[off + i] = static_cast<uint8_t>(v >> (8 * i));
}

void put_text(std::vector<uint8_t>& p, size_t off, const std::string& s, size_t width) {
  for (size_t i = 0; i < width; ++i) p[off + i] = i < s.size() ? s[i] : ' ';
}

void reply(DeviceCommand& cmd, const std::vector<uint8_t>& page) {
  uint32_t n = std::min<uint32_t>(cmd.data_len, static_cast<uint32_t>(page.size()));
  if (cmd.data && n) std::memcpy(cmd.data, page.data(), n);
  cmd.residual = static_cast<int32_t>(cmd.data_len - n);
}

}  // namespace

std::vector<uint8_t> nvme_identify_ctrl_page(const NvmeCtrlSpec& s) {
  std::vector<uint8_t> p(4096, 0);
  put_le(p, 0, s.vendor, 2);
  put_le(p, 2, s.vendor, 2);
  put_text(p, 4, s.serial, 20);
  put_text(p, 24, s.model, 40);
  put_text(p, 64, s.firmware, 8);
  put_le(p, 80, 0x00010400, 4);  // version 1.4
  put_le(p, 256, s.oacs | 0x10, 2);  // + Device Self-test
  put_le(p, 316, s.edstt, 2);
  p[512] = 0x66;  // SQES
  p[513] = 0x44;  // CQES
  put_le(p, 516, s.namespaces.size(), 4);
  put_le(p, 520, s.oncs, 2);
  return p;
}

std::vector<uint8_t> nvme_identify_ns_page(const NvmeCtrlSpec& s, uint32_t nsid) {
  std::vector<uint8_t> p(4096, 0);
  uint64_t size = s.namespaces.at(nsid - 1);
  put_le(p, 0, size, 8);   // NSZE
  put_le(p, 8, size, 8);   // NCAP
  put_le(p, 16, size, 8);  // NUSE
  p[25] = 0;               // NLBAF: one format
  p[26] = 0;               // FLBAS: format 0
  p[128 + 2] = s.lbads;    // LBAF0.LBADS
  return p;
}

std::vector<uint8_t> nvme_health_log_page(const NvmeCtrlSpec& s) {
  std::vector<uint8_t> p(512, 0);
  p[0] = s.critical_warning;
  put_le(p, 1, static_cast<uint64_t>(s.temperature + 273), 2);
  p[3] = s.available_spare;
  p[4] = s.spare_threshold;
  p[5] = s.percentage_used;
  put_le(p, 32, s.data_units_read, 8);
  put_le(p, 48, s.data_units_written, 8);
  put_le(p, 112, s.power_cycles, 8);
  put_le(p, 128, s.power_on_hours, 8);
  put_le(p, 144, s.unsafe_shutdowns, 8);
  put_le(p, 160, s.media_errors, 8);
  put_le(p, 200, static_cast<uint64_t>(s.temperature + 273 + 2), 2);  // sensor 1
  return p;
}

std::vector<uint8_t> NvmeModel::self_test_log() {
  std::vector<uint8_t> p(564, 0);
  p[0] = test_code_;
  p[1] = test_done_;
  for (size_t i = 0; i < 20; ++i) p[4 + 28 * i] = 0x0f;  // entries not used
  for (size_t i = 0; i < results_.size() && i < 20; ++i) p[4 + 28 * i] = results_[i];
  // Each look at the log finds a running test half a step further.
  if (test_code_ != 0 && (test_done_ += 50) >= 100) {
    results_.insert(results_.begin(), static_cast<uint8_t>(test_code_ << 4));  // no error
    test_code_ = test_done_ = 0;
  }
  return p;
}

void NvmeModel::self_test(uint8_t stc) {
  if (stc == 0x0f) {
    if (test_code_ != 0) results_.insert(results_.begin(), static_cast<uint8_t>((test_code_ << 4) | 0x1));
    test_code_ = test_done_ = 0;
  } else {
    test_code_ = stc;
    test_done_ = 0;
  }
}

void NvmeModel::handle(DeviceCommand& cmd) {
  if (cmd.kind != CmdKind::kNvmeAdmin) {
    // SCSI commands to an NVMe character device fail like the ioctl would.
    cmd.status = kScsiCheckCondition;
    cmd.host_status = 0x07;
    return;
  }
  std::vector<uint8_t> page;
  uint32_t nsid = cmd.nvme.nsid;
  if (cmd.nvme.opcode == 0x14) {  // Device Self-test
    uint8_t stc = cmd.nvme.cdw10 & 0x0f;
    if (stc != 0x1 && stc != 0x2 && stc != 0xf) cmd.nvme_status = kInvalidField;
    else self_test(stc);
    return;
  }
  if (cmd.nvme.opcode == 0x02) {  // Get Log Page
    uint8_t lid = cmd.nvme.cdw10 & 0xff;
    if (lid == 0x02) page = nvme_health_log_page(spec_);
    else if (lid == 0x06) page = self_test_log();
    else return void(cmd.nvme_status = kInvalidField);
    return reply(cmd, page);
  }
  if (cmd.nvme.opcode != 0x06) {
    cmd.nvme_status = kInvalidOpcode;
    return;
  }
  switch (cmd.nvme.cdw10 & 0xff) {
    case 0x01:
      page = nvme_identify_ctrl_page(spec_);
      break;
    case 0x00:
      if (nsid == 0 || nsid > spec_.namespaces.size()) {
        cmd.nvme_status = kInvalidNamespace;
        return;
      }
      page = nvme_identify_ns_page(spec_, nsid);
      break;
    case 0x02: {
      page.assign(4096, 0);
      size_t k = 0;
      for (uint32_t id = nsid + 1; id <= spec_.namespaces.size() && k < 1024; ++id, ++k)
        put_le(page, 4 * k, id, 4);
      break;
    }
    default:
      cmd.nvme_status = kInvalidField;
      return;
  }
  reply(cmd, page);
}

}  // namespace bayhal::sim
