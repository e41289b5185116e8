// An NVMe controller answering admin Identify: controller (CNS 01h), namespace (CNS 00h)
// and active namespace list (CNS 02h); Get Log Page of the SMART / Health Information log
// (02h) and the Device Self-test log (06h); Device Self-test. Other admin opcodes get
// Invalid Command Opcode.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "sim/device_model.h"

namespace bayhal::sim {

struct NvmeCtrlSpec {
  uint16_t vendor = 0x144d;
  std::string model = "BAYSIM NVME SSD 1TB";
  std::string serial = "S5H9NS0N000001";
  std::string firmware = "2B2QEXM7";
  uint16_t oncs = 0x005f;  // includes Dataset Management (bit 2)
  uint16_t oacs = 0x0017;
  std::vector<uint64_t> namespaces = {1953525168ull};  // sizes in blocks
  uint8_t lbads = 9;                                   // 2^9 = 512-byte blocks
  // Health.
  uint8_t critical_warning = 0;  // bit 2: reliability degraded
  int temperature = 38;          // °C
  uint8_t available_spare = 100, spare_threshold = 10, percentage_used = 3;
  uint64_t power_on_hours = 4321, power_cycles = 87, unsafe_shutdowns = 5;
  uint64_t data_units_read = 12345678, data_units_written = 23456789, media_errors = 0;
  uint16_t edstt = 12;           // extended self-test minutes
};

std::vector<uint8_t> nvme_identify_ctrl_page(const NvmeCtrlSpec& spec);
std::vector<uint8_t> nvme_identify_ns_page(const NvmeCtrlSpec& spec, uint32_t nsid);
std::vector<uint8_t> nvme_health_log_page(const NvmeCtrlSpec& spec);

class NvmeModel : public DeviceModel {
 public:
  explicit NvmeModel(NvmeCtrlSpec spec) : spec_(std::move(spec)) {}
  void handle(DeviceCommand& cmd) override;

 private:
  NvmeCtrlSpec spec_;
  // A running self-test (its code and percent done) and the results log, newest first.
  uint8_t test_code_ = 0;
  uint8_t test_done_ = 0;
  std::vector<uint8_t> results_;

  std::vector<uint8_t> self_test_log();
  void self_test(uint8_t stc);
};

}  // namespace bayhal::sim
