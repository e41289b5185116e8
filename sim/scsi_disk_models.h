// SCSI devices other than SATA disks: a SAS disk, an optical drive and a USB bridge.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/ata_disk_model.h"
#include "sim/device_model.h"

namespace bayhal::sim {

struct SasDiskSpec {
  std::string vendor = "SEAGATE";
  std::string product = "ST4000NM0025";
  std::string revision = "E002";
  std::string serial = "ZC10000000000000";
  uint64_t naa = 0x5000c500b0000001ull;          // logical unit NAA (WWN); 0 = none
  uint64_t target_port = 0x5000c500b0000002ull;  // SAS address of the port
  uint64_t blocks = 7814037168ull;
  uint32_t block_len = 512;
  int rotation = 7200;  // VPD 0xB1: 0 non-rotating, -1 not reported
  int form_factor = 2;  // 2 3.5", 3 2.5"
  // Health.
  bool failing = false;       // Informational Exceptions: failure prediction threshold exceeded
  int temperature = 34;       // °C
  int trip_temperature = 68;
  uint32_t power_on_minutes = 1234567;
  uint32_t read_uncorrected = 0, write_uncorrected = 0;
  uint16_t extended_test_seconds = 5400;
};

// INQUIRY, VPD 0x00/0x80/0x83/0xB1, READ CAPACITY(10/16); LOG SENSE of pages 00h, 02h, 03h,
// 0Dh, 10h, 15h and 2Fh, MODE SENSE(6) of the Control page, REQUEST SENSE with the power
// condition, SEND DIAGNOSTIC self-tests. ATA PASS-THROUGH is an invalid operation code, as
// SAS disks answer it.
class SasDiskModel : public ScsiModel, public SpinningDisk {
 public:
  explicit SasDiskModel(SasDiskSpec spec) : spec_(std::move(spec)) {}

 protected:
  std::vector<uint8_t> standard_inquiry() override;
  std::vector<uint8_t> vpd(uint8_t page) override;
  bool capacity(uint64_t& blocks, uint32_t& block_len) override;
  void other(DeviceCommand& cmd) override;

 private:
  SasDiskSpec spec_;
  // The self-test log's newest result (0: none yet) and a background test that runs.
  uint8_t last_result_ = 0;
  uint8_t running_code_ = 0;

  std::vector<uint8_t> log_page(uint8_t page);
  std::vector<uint8_t> self_test_page();
};

struct OpticalSpec {
  std::string vendor = "HL-DT-ST";
  std::string product = "DVD+-RW GH82N";
  std::string revision = "A101";
  uint64_t media_blocks = 0;  // 0: no disc
};

// Peripheral type 5, removable; without a disc TEST UNIT READY and READ CAPACITY answer
// NOT READY, MEDIUM NOT PRESENT.
class OpticalDriveModel : public ScsiModel {
 public:
  explicit OpticalDriveModel(OpticalSpec spec) : spec_(std::move(spec)) {}

 protected:
  std::vector<uint8_t> standard_inquiry() override;
  std::vector<uint8_t> vpd(uint8_t page) override;
  bool capacity(uint64_t& blocks, uint32_t& block_len) override;
  void test_unit_ready(DeviceCommand& cmd) override;

 private:
  OpticalSpec spec_;
};

struct UsbBridgeSpec {
  std::string vendor = "JMicron";
  std::string product = "Generic";
  std::string revision = "0508";
  std::string serial = "0123456789AB";
  bool removable = false;        // card readers say removable
  bool sat_passthrough = true;   // ATA PASS-THROUGH reaches the disk behind the bridge
};

// A USB mass-storage bridge: its own INQUIRY identity, the capacity of the medium behind it
// (none when `disk` is null: an empty card reader), ATA PASS-THROUGH forwarded to the SATA
// disk when the bridge translates it.
class UsbBridgeModel : public ScsiModel {
 public:
  UsbBridgeModel(UsbBridgeSpec spec, std::shared_ptr<SataDiskModel> disk)
      : spec_(std::move(spec)), disk_(std::move(disk)) {}

 protected:
  std::vector<uint8_t> standard_inquiry() override;
  std::vector<uint8_t> vpd(uint8_t page) override;
  bool capacity(uint64_t& blocks, uint32_t& block_len) override;
  void ata_pass_through(DeviceCommand& cmd) override;
  void test_unit_ready(DeviceCommand& cmd) override;

 private:
  UsbBridgeSpec spec_;
  std::shared_ptr<SataDiskModel> disk_;
};

}  // namespace bayhal::sim
