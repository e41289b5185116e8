#include "sim/gpio_model.h"

#include <cerrno>

namespace bayhal::sim {

int GpioModel::get_value(std::string_view chip, unsigned offset, bool active_low, int* value) {
  auto it = chips_.find(chip);
  if (it == chips_.end()) return -ENOENT;
  if (offset >= it->second) return -EINVAL;
  auto level = levels_.find({std::string(chip), offset});
  bool high = level == levels_.end() || level->second;
  *value = high != active_low ? 1 : 0;
  return 0;
}

}  // namespace bayhal::sim
