#include "sim/cmos_model.h"

namespace bayhal::sim {

uint8_t CmosModel::in(uint16_t port) {
  switch (port) {
    case kBank0Index + 1:
      return bank0_[index0_];
    case kBank1Index + 1:
      return bank1_[index1_];
    default:
      return 0xFF;  // the index ports read back nothing useful on real boards either
  }
}

void CmosModel::out(uint16_t port, uint8_t value) {
  switch (port) {
    case kBank0Index:
      index0_ = value & 0x7F;
      break;
    case kBank0Index + 1:
      bank0_[index0_] = value;
      break;
    case kBank1Index:
      index1_ = value & 0x7F;
      break;
    case kBank1Index + 1:
      bank1_[index1_] = value;
      break;
    default:
      break;
  }
}

}  // namespace bayhal::sim
