// NVMe Identify controller and namespace data.
#include <cstddef>
#include <cstdint>

#include "disk_sys/nvme_identify.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  bayhal::NvmeController ctrl;
  bayhal::nvme_parse_identify_ctrl(data, size, ctrl);
  bayhal::NvmeNamespace ns;
  bayhal::nvme_parse_identify_ns(data, size, ns);
  return 0;
}
