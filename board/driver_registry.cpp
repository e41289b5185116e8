// The one place where each family's table is registered: adding a chip family is adding
// its table here and a row in Family.
#include <array>
#include <atomic>

#include "board/driver.h"
#include "board/drivers/families.h"

namespace bayhal::board {
namespace {

constexpr size_t kFamilies = static_cast<size_t>(Family::kCount);

// In Family order.
const std::array<const Driver*, kFamilies> kRegistered = {
    &kSioDriver,   &kSocDriver,     &kI2cDriver,    &kPicDriver,  &kGpioDriver,
    &kMcuDriver,   &kEmcuDriver,    &kDtsDriver,    &kEcDriver,   &kThermalZoneDriver,
    &kCpldDriver,  &kIchDriver,     &kIoPortDriver, &kBeeperDriver, &kSesDriver,
    &kUsbUnitDriver, &kPxDriver,    &kMvsDriver,    &kTbDriver,   &kZmcDriver,
};

std::array<std::atomic<const Driver*>, kFamilies> g_installed{};

size_t slot(Family f) { return static_cast<size_t>(f); }

}  // namespace

const Driver& driver(Family family) {
  if (const Driver* d = g_installed[slot(family)].load(std::memory_order_acquire)) return *d;
  return *kRegistered[slot(family)];
}

void set_driver(Family family, const Driver* d) {
  g_installed[slot(family)].store(d, std::memory_order_release);
}

std::string_view family_name(Family family) { return kRegistered[slot(family)]->name; }

}  // namespace bayhal::board
