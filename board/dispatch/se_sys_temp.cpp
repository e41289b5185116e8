// Temperatures: the index map of the root board, and region averages over it.
#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/caches.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"

namespace bayhal::board {
namespace {

int root_get_temp(int index, double* celsius) {
  Slot s = cached_temp_slot(index);
  if (s.hm_type <= 0) return -1;
  Target t;
  t.index = index;
  t.channel = s.channel;
  if (s.hm_type == kHmEc) t.channel = index;  // the EC's registers go by the board index
  if (s.hm_type == kHmI2c) {
    I2cDevice device = index == 10   ? I2cDevice::kSupply1
                       : index == 11 ? I2cDevice::kSupply2
                       : index >= 15 ? I2cDevice::kEnvSensor
                                     : I2cDevice::kCount;
    if (device == I2cDevice::kCount) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):System not implement\n", __func__, __LINE__);
      return -1;
    }
    t.i2c_bus = cached_i2c_bus(I2cReader::kTemp);
    t.i2c_addr = cached_i2c_addr(device);
    if (t.i2c_bus < 0 || t.i2c_addr < 0) return -1;
  }
  return call_driver(__func__, family_of(s.hm_type), &Driver::get_temp, t, celsius);
}

}  // namespace

int se_sys_get_temp(const char* enc_sys_id, int index, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return dispatch(
      __func__, enc_sys_id, index, kAllBranches, Unknown::kNotImplement,
      [&] { return root_get_temp(index, celsius); }, &Driver::get_temp, celsius);
}

int se_sys_get_region_temp(const char* enc_sys_id, int region, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return root_only(enc_sys_id, [&] {
    auto bitmap = cached_region_bitmap(region + 1);
    if (!bitmap || *bitmap < 1) return root_get_temp(region + 5, celsius);
    int count = 0, total = 0;
    for (int bit = 0; bit < 8; ++bit) {
      if (!(*bitmap & (1LL << bit))) continue;
      double v = 0.0;
      if (root_get_temp(bit + 5, &v) != 0) {
        ERR_TRACE(HAL_TRACE_ERROR,
                  "%s:fail to get temp index %d. sys_temp_count %d total_sys_temp_value %d\n",
                  __func__, bit + 5, count, total);
        continue;
      }
      total += static_cast<int>(v);
      ++count;
    }
    if (count == 0) return -1;
    *celsius = total / count;
    return 0;
  });
}

}  // namespace bayhal::board
