#include "board/dispatch/caches.h"

#include <array>
#include <atomic>
#include <mutex>

#include "board/dispatch/board_readings.h"
#include "board/drivers/i2c/i2c_system_bus.h"

namespace bayhal::board {
namespace {

// A slot written channel first, kind last: a reader that sees the kind sees its channel.
struct CachedSlot {
  std::atomic<int> hm_type{kHmUnresolved};
  std::atomic<int> channel{-1};

  template <typename Resolve>
  Slot get(Resolve resolve) {
    int kind = hm_type.load(std::memory_order_acquire);
    if (kind != kHmUnresolved) return Slot{kind, channel.load(std::memory_order_relaxed)};
    Slot s = resolve();
    channel.store(s.channel, std::memory_order_relaxed);
    hm_type.store(s.hm_type, std::memory_order_release);
    return s;
  }
  void reset() { hm_type.store(kHmUnresolved, std::memory_order_release); }
};

constexpr int kNotRead = -2;  // i2c bus and address caches: not yet looked up

std::array<CachedSlot, kTempSlots> g_temp;
std::array<CachedSlot, kFanSlots> g_fan;
std::array<std::atomic<int>, static_cast<size_t>(I2cReader::kCount)> g_bus;
std::array<std::atomic<int>, static_cast<size_t>(I2cDevice::kCount)> g_addr;
// Indexed by Function; only the buttons and the supplies are kept.
std::mutex g_choice_mutex;
std::array<std::optional<Selection>, static_cast<size_t>(Function::kCount)> g_choice;
// SYS_TEMP_MONITOR_BITMAP of temperature regions 1..16 (the outer optional: not read yet).
constexpr int kRegions = 16;
std::array<std::optional<std::optional<long long>>, kRegions> g_region_bitmap;

struct Init {
  Init() { reset_board_caches(); }
} g_init;

int read_addr(I2cDevice device) {
  using model::BoardKey;
  std::optional<std::string> value;
  switch (device) {
    case I2cDevice::kSupply1: value = model::board_key(BoardKey::kRedundantPower1); break;
    case I2cDevice::kSupply2: value = model::board_key(BoardKey::kRedundantPower2); break;
    case I2cDevice::kEnvSensor: value = model::board_key(BoardKey::kEnvTempUnit); break;
    default: value = model::fan_unit(model::fan_section(model::FanGroup::kSystem)); break;
  }
  if (!value) return -1;
  return address_behind(*value, kChoiceI2c, 0x03, 0x77).value_or(-1);
}

}  // namespace

Slot cached_temp_slot(int index) {
  if (index < 0 || index >= kTempSlots) return Slot{};
  return g_temp[static_cast<size_t>(index)].get([index] { return resolve_temp(index).slot; });
}

Slot cached_fan_slot(int index) {
  if (index < 0 || index >= kFanSlots) return Slot{};
  return g_fan[static_cast<size_t>(index)].get([index] { return resolve_fan(index).slot; });
}

int cached_i2c_bus(I2cReader reader) {
  auto& slot = g_bus[static_cast<size_t>(reader)];
  int bus = slot.load(std::memory_order_acquire);
  if (bus == kNotRead) {
    bus = common_sys_get_system_i2c_num("root");
    slot.store(bus, std::memory_order_release);
  }
  return bus;
}

int cached_i2c_addr(I2cDevice device) {
  auto& slot = g_addr[static_cast<size_t>(device)];
  int addr = slot.load(std::memory_order_acquire);
  if (addr == kNotRead) {
    addr = read_addr(device);
    slot.store(addr, std::memory_order_release);
  }
  return addr;
}

std::optional<long long> cached_region_bitmap(int region) {
  if (region < 1 || region > kRegions) return model::sys_temp_monitor_bitmap(region);
  std::lock_guard lock(g_choice_mutex);
  auto& kept = g_region_bitmap[static_cast<size_t>(region - 1)];
  if (!kept) kept = model::sys_temp_monitor_bitmap(region);
  return *kept;
}

Selection cached_function(Function f) {
  std::lock_guard lock(g_choice_mutex);
  auto& kept = g_choice[static_cast<size_t>(f)];
  if (!kept) kept = select_function(f);
  return *kept;
}

void reset_board_caches() {
  reset_board_readings();
  for (auto& s : g_temp) s.reset();
  for (auto& s : g_fan) s.reset();
  for (auto& b : g_bus) b.store(kNotRead);
  for (auto& a : g_addr) a.store(kNotRead);
  std::lock_guard lock(g_choice_mutex);
  for (auto& c : g_choice) c.reset();
  for (auto& b : g_region_bitmap) b.reset();
}

}  // namespace bayhal::board
