// An NVMe controller answering admin Identify: controller (CNS 01h), namespace (CNS 00h)
// and active namespace list (CNS 02h). Other admin opcodes get Invalid Command Opcode.
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
};

std::vector<uint8_t> nvme_identify_ctrl_page(const NvmeCtrlSpec& spec);
std::vector<uint8_t> nvme_identify_ns_page(const NvmeCtrlSpec& spec, uint32_t nsid);

class NvmeModel : public DeviceModel {
 public:
  explicit NvmeModel(NvmeCtrlSpec spec) : spec_(std::move(spec)) {}
  void handle(DeviceCommand& cmd) override;

 private:
  NvmeCtrlSpec spec_;
};

}  // namespace bayhal::sim
