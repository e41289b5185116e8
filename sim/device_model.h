// Device models for the device command transport: stand-ins for disk firmware that answer
// commands with real-format byte pages. A ModelTransport holds models keyed by device node
// and is installed like the clock:
//
//   sim::ModelTransport models;
//   models.add("/dev/sg0", std::make_shared<sim::SataDiskModel>(spec));
//   ScopedDeviceTransport use(models);
//
// docs/device_transport.md describes which commands each model answers.
#pragma once
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "transport/device_transport.h"

namespace bayhal::sim {

class DeviceModel {
 public:
  virtual ~DeviceModel() = default;
  // Answers one command: fills the data buffer, status, sense and residual as the device
  // would. Never fails as a whole: an unsupported command gets the device's error status.
  virtual void handle(DeviceCommand& cmd) = 0;

  // Every command the device received, through any of its nodes.
  int received() const { return received_.load(); }
  void count_received() { ++received_; }

 private:
  std::atomic<int> received_{0};
};

// The power state of a disk that spins: in standby only commands that leave the media alone
// are answered without spinning up; any other one wakes it, and is counted.
class SpinningDisk {
 public:
  void set_standby(bool standby) { standby_ = standby; }
  bool standby() const { return standby_; }
  // How often a command had to spin the disk up.
  int wakeups() const { return wakeups_; }

 protected:
  // A command that needs the media.
  void media_access() {
    if (standby_) ++wakeups_;
    standby_ = false;
  }

 private:
  bool standby_ = false;
  int wakeups_ = 0;
};

class ModelTransport : public DeviceTransport {
 public:
  // Answers for `device` (e.g. "/dev/sg2" and, for the same disk, "/dev/sdb") with `model`.
  void add(std::string device, std::shared_ptr<DeviceModel> model);
  void remove(std::string_view device);
  // Commands delivered to `device` so far.
  int commands(std::string_view device) const;
  // The model answering for `device`, or nullptr.
  std::shared_ptr<DeviceModel> model(std::string_view device) const;
  // -ENODEV for a node no model answers for (as opening a missing node would fail).
  int submit(std::string_view device, DeviceCommand& cmd) override;

 private:
  mutable std::mutex mu_;
  std::map<std::string, std::shared_ptr<DeviceModel>, std::less<>> models_;
  std::map<std::string, int, std::less<>> counts_;
};

// Reply helpers shared by the SCSI models.
// Copies `page` into the command's buffer, as much as the allocation length and buffer allow,
// sets the residual and GOOD status.
void reply_data(DeviceCommand& cmd, const std::vector<uint8_t>& page);
// CHECK CONDITION with fixed-format sense.
void check_condition(DeviceCommand& cmd, uint8_t key, uint8_t asc, uint8_t ascq);
// The INQUIRY/allocation-length field of a CDB (0 when the CDB has none the models know).
uint32_t allocation_length(const DeviceCommand& cmd);
// Standard INQUIRY data (36 bytes, SPC-4 version) with the text fields space-padded.
std::vector<uint8_t> inquiry_page(int peripheral_type, bool removable, std::string_view vendor,
                                  std::string_view product, std::string_view revision);
// A VPD page: header (type, page code, length) and `body`.
std::vector<uint8_t> vpd_page(uint8_t page, const std::vector<uint8_t>& body,
                              int peripheral_type = 0);
void put_be(std::vector<uint8_t>& v, size_t off, uint64_t value, size_t len);

// A SCSI device: routes INQUIRY, TEST UNIT READY, READ CAPACITY and ATA PASS-THROUGH to
// the hooks below; anything else is an invalid operation code.
class ScsiModel : public DeviceModel {
 public:
  void handle(DeviceCommand& cmd) override;

 protected:
  virtual std::vector<uint8_t> standard_inquiry() = 0;
  // The page's bytes, empty when the page is not supported.
  virtual std::vector<uint8_t> vpd(uint8_t page) = 0;
  // Blocks and block length; false when there is no medium.
  virtual bool capacity(uint64_t& blocks, uint32_t& block_len) = 0;
  virtual void ata_pass_through(DeviceCommand& cmd);
  virtual void test_unit_ready(DeviceCommand& cmd);
  virtual void other(DeviceCommand& cmd);
};

}  // namespace bayhal::sim
