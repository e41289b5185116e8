// A SATA disk behind libata's SCSI translation: INQUIRY says "ATA", ATA PASS-THROUGH reaches
// the drive (IDENTIFY DEVICE, SMART, READ LOG EXT). The IDENTIFY page is built from a spec
// or taken verbatim from a captured drive.
#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sim/device_model.h"

namespace bayhal::sim {

struct SmartAttr {
  uint8_t id = 0;
  uint16_t flags = 0x0032;
  uint8_t value = 100;
  uint8_t worst = 100;
  uint8_t threshold = 0;
  uint64_t raw = 0;  // 48 bits, little-endian in the page
};

struct AtaDiskSpec {
  std::string model = "BAYSIM HDD 4000";
  std::string serial = "BSA0000000001";
  std::string firmware = "SIM01A";
  uint64_t sectors = 7814037168ull;  // 4 TB
  uint32_t logical_sector_size = 512;
  int rotation = 7200;    // rpm; 0 a solid-state device; -1 not reported
  int form_factor = 2;    // word 168: 2 3.5", 3 2.5", 7 M.2
  uint64_t wwn = 0x5000c500a0000001ull;  // 0: the drive reports none
  bool smart = true;
  bool smart_enabled = true;
  bool self_test = true;
  bool trim = false;
  bool trusted_computing = false;
  int sata_gen = 3;      // highest supported: 1, 2, 3 (1.5, 3, 6 Gbit/s)
  int sata_cur_gen = 3;  // negotiated
  std::vector<SmartAttr> attrs = {{5, 0x0033, 100, 100, 10, 0},
                                  {9, 0x0032, 99, 99, 0, 1234},
                                  {194, 0x0022, 64, 50, 0, 36}};
  bool smart_ok = true;  // SMART RETURN STATUS
};

// The 512-byte IDENTIFY DEVICE page of `spec`, with its integrity word.
std::vector<uint8_t> ata_identify_page(const AtaDiskSpec& spec);
// SMART READ DATA / READ THRESHOLDS pages of `spec`, with their checksums.
std::vector<uint8_t> ata_smart_data_page(const AtaDiskSpec& spec);
std::vector<uint8_t> ata_smart_threshold_page(const AtaDiskSpec& spec);

// Whether a drive with these pages reports its threshold exceeded (the ATA rule).
bool ata_threshold_exceeded(const std::vector<uint8_t>& data, const std::vector<uint8_t>& thresholds);

class SataDiskModel : public ScsiModel, public SpinningDisk {
 public:
  explicit SataDiskModel(const AtaDiskSpec& spec);
  // A drive answering with a captured IDENTIFY page and, optionally, captured SMART pages;
  // SMART RETURN STATUS then tells what the pages say.
  explicit SataDiskModel(std::vector<uint8_t> identify, std::vector<uint8_t> smart_data = {},
                         std::vector<uint8_t> smart_thresholds = {});

  const std::vector<uint8_t>& identify() const { return identify_; }
  const std::vector<uint8_t>& smart_data() const { return smart_data_; }
  void set_smart_status(bool ok) { smart_ok_ = ok; }
  // Answers READ LOG EXT / SMART READ LOG of `address` with `pages` (512 bytes each).
  void set_log(uint8_t address, std::vector<uint8_t> pages) { logs_[address] = std::move(pages); }
  // The latest ATA commands received through pass-through, in order (for tests); at most
  // kAtaLogKeep.
  static constexpr size_t kAtaLogKeep = 4096;
  const std::vector<uint8_t>& ata_commands() const { return ata_log_; }

  // The ATA side, also reached through a USB bridge.
  void ata_pass_through(DeviceCommand& cmd) override;

 protected:
  std::vector<uint8_t> standard_inquiry() override;
  std::vector<uint8_t> vpd(uint8_t page) override;
  bool capacity(uint64_t& blocks, uint32_t& block_len) override;

 private:
  std::vector<uint8_t> identify_;
  std::vector<uint8_t> smart_data_;
  std::vector<uint8_t> smart_thresholds_;
  std::map<uint8_t, std::vector<uint8_t>> logs_;
  std::vector<uint8_t> ata_log_;
  bool smart_ok_ = true;
  std::string model_, serial_, firmware_;
  uint64_t sectors_ = 0;
  uint32_t sector_size_ = 512;

  void decode_identity();
  // EXECUTE OFF-LINE IMMEDIATE: a test starts (or is aborted) in the self-test byte; each
  // read of the data page while one runs moves it on, until it completes without error.
  void self_test(uint8_t subcommand);
  void advance_self_test();
  void set_status_byte(uint8_t value);
};

}  // namespace bayhal::sim
