// The CMOS of a PC board as the ports see it: bank 0 through index 0x70 / data 0x71 (bit 7
// of the index is the NMI mask and does not address), bank 1 through 0x72 / 0x73. Each
// bank holds 128 bytes.
#pragma once
#include <array>
#include <cstdint>

#include "sim/port_bus.h"

namespace bayhal::sim {

class CmosModel : public PortDevice {
 public:
  static constexpr uint16_t kBank0Index = 0x70;
  static constexpr uint16_t kBank1Index = 0x72;

  // Claims ports 0x70-0x73 on `bus`.
  void attach_to(PortBus& bus) { bus.attach(kBank0Index, 4, *this); }

  uint8_t& at(int bank, uint8_t offset) { return bank == 0 ? bank0_[offset & 0x7F] : bank1_[offset & 0x7F]; }
  // Writes `bytes` into bank `bank` from `offset` on.
  template <typename Bytes>
  void put(int bank, uint8_t offset, const Bytes& bytes) {
    for (uint8_t b : bytes) at(bank, offset++) = b;
  }

  uint8_t in(uint16_t port) override;
  void out(uint16_t port, uint8_t value) override;

 private:
  std::array<uint8_t, 128> bank0_{};
  std::array<uint8_t, 128> bank1_{};
  uint8_t index0_ = 0;
  uint8_t index1_ = 0;
};

}  // namespace bayhal::sim
