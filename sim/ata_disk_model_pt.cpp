// The ATA side of the SATA disk model: commands arriving through ATA PASS-THROUGH(12/16).
#include <algorithm>
#include <cstring>

#include "sim/ata_disk_model.h"

namespace bayhal::sim {
namespace {

struct Regs {
  uint8_t command, features, count, lba_low, lba_mid, lba_high;
  bool ck_cond;
};

Regs decode(const DeviceCommand& cmd) {
  const uint8_t* c = cmd.cdb;
  if (c[0] == 0xa1)
    return {c[9], c[3], c[4], c[5], c[6], c[7], (c[2] & 0x20) != 0};
  return {c[14], c[4], c[6], c[8], c[10], c[12], (c[2] & 0x20) != 0};
}

// Sense with the ATA Status Return descriptor, as SAT gives for CK_COND.
void return_registers(DeviceCommand& cmd, const Regs& r, uint8_t lba_mid, uint8_t lba_high,
                      uint8_t count) {
  std::memset(cmd.sense, 0, sizeof cmd.sense);
  uint8_t* s = cmd.sense;
  s[0] = 0x72;
  s[1] = 0x01;  // RECOVERED ERROR
  s[2] = 0x00;
  s[3] = 0x1d;  // ATA PASS THROUGH INFORMATION AVAILABLE
  s[7] = 14;
  s[8] = 0x09;
  s[9] = 0x0c;
  s[13] = count;
  s[15] = r.lba_low;
  s[17] = lba_mid;
  s[19] = lba_high;
  s[21] = 0x50;  // DRDY, DSC
  cmd.sense_len = 22;
  cmd.status = kScsiCheckCondition;
  cmd.driver_status = 0x08;
  cmd.residual = static_cast<int32_t>(cmd.data_len);
}

void ata_abort(DeviceCommand& cmd) { check_condition(cmd, 0x0b, 0x00, 0x00); }

void data_in(DeviceCommand& cmd, const std::vector<uint8_t>& page) {
  uint32_t n = std::min<uint32_t>(cmd.data_len, static_cast<uint32_t>(page.size()));
  if (cmd.data && n) std::memcpy(cmd.data, page.data(), n);
  cmd.residual = static_cast<int32_t>(cmd.data_len - n);
  cmd.status = kScsiGood;
}

}  // namespace

void SataDiskModel::ata_pass_through(DeviceCommand& cmd) {
  Regs r = decode(cmd);
  // halsim's disks live as long as the daemon: keep the recent commands only.
  if (ata_log_.size() >= kAtaLogKeep)
    ata_log_.erase(ata_log_.begin(), ata_log_.begin() + kAtaLogKeep / 2);
  ata_log_.push_back(r.command);
  bool smart_sig = r.lba_mid == 0x4f && r.lba_high == 0xc2;
  bool smart = identify_[164] & 1;  // word 82 bit 0
  auto finish = [&] {
    if (r.ck_cond) return return_registers(cmd, r, r.lba_mid, r.lba_high, r.count);
    cmd.status = kScsiGood;
  };
  switch (r.command) {
    case 0xec:  // IDENTIFY DEVICE
      return data_in(cmd, identify_);
    case 0xe5:  // CHECK POWER MODE: standby, or active/idle
      return return_registers(cmd, r, r.lba_mid, r.lba_high, standby() ? 0x00 : 0xff);
    case 0x2f: {  // READ LOG EXT
      media_access();
      auto it = logs_.find(r.lba_low);
      if (it == logs_.end()) return ata_abort(cmd);
      return data_in(cmd, it->second);
    }
    case 0xb0:  // SMART
      break;
    default:
      return ata_abort(cmd);
  }
  if (!smart || !smart_sig) return ata_abort(cmd);
  // Everything of SMART but switching it on and off reads or writes the media.
  if (r.features != 0xd8 && r.features != 0xd9 && r.features != 0xd2) media_access();
  switch (r.features) {
    case 0xd0:
      if (smart_data_.empty()) return ata_abort(cmd);
      data_in(cmd, smart_data_);
      return advance_self_test();
    case 0xd1:
      return smart_thresholds_.empty() ? ata_abort(cmd) : data_in(cmd, smart_thresholds_);
    case 0xd5: {  // SMART READ LOG
      auto it = logs_.find(r.lba_low);
      if (it == logs_.end()) return ata_abort(cmd);
      return data_in(cmd, it->second);
    }
    case 0xda:  // RETURN STATUS: 4Fh/C2h good, F4h/2Ch threshold exceeded
      return smart_ok_ ? return_registers(cmd, r, 0x4f, 0xc2, r.count)
                       : return_registers(cmd, r, 0xf4, 0x2c, r.count);
    case 0xd4:  // EXECUTE OFF-LINE IMMEDIATE (self-tests)
      self_test(r.lba_low);
      return finish();
    case 0xd8:  // ENABLE OPERATIONS
    case 0xd9:  // DISABLE OPERATIONS
    case 0xd2:  // ATTRIBUTE AUTOSAVE
      return finish();
    default:
      return ata_abort(cmd);
  }
}

}  // namespace bayhal::sim
