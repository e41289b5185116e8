// The board's GPIO lines behind the GPIO seam: each line has a physical level a test or
// halsim sets (a pressed button pulls its line low).
#pragma once
#include <map>
#include <string>
#include <utility>

#include "transport/gpio_lines.h"

namespace bayhal::sim {

class GpioModel : public GpioLines {
 public:
  // Chip "/dev/gpiochip<n>" gets `lines` lines, all high.
  void add_chip(std::string chip, unsigned lines) { chips_[std::move(chip)] = lines; }
  void set_level(const std::string& chip, unsigned offset, bool high) { levels_[{chip, offset}] = high; }

  int get_value(std::string_view chip, unsigned offset, bool active_low, int* value) override;

 private:
  std::map<std::string, unsigned, std::less<>> chips_;
  std::map<std::pair<std::string, unsigned>, bool> levels_;
};

}  // namespace bayhal::sim
