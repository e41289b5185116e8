// The GPIO seam: reads of the board's GPIO lines (buttons, power-good signals) go through
// gpio_lines(), so tests and halsim put line models behind the same call. The real backend
// uses the kernel's GPIO character device (v2 uAPI): it requests the one line as an input
// on "/dev/gpiochip<n>" under the system root, reads it and releases it.
#pragma once
#include <string_view>

#include "foundation/seam.h"

namespace bayhal {

class GpioLines {
 public:
  virtual ~GpioLines() = default;
  // The logical value of line `offset` of `chip` (an appliance path such as
  // "/dev/gpiochip0"): 1 active, 0 inactive; `active_low` makes a low line the active one.
  // 0, or a negative errno.
  virtual int get_value(std::string_view chip, unsigned offset, bool active_low, int* value) = 0;
};

// The backend in force: the character device unless a test or halsim installed another.
GpioLines& gpio_lines();
// Installs `g` (not owned); nullptr restores the character device.
void set_gpio_lines(GpioLines* g);
using ScopedGpioLines = ScopedSeam<GpioLines, set_gpio_lines>;

}  // namespace bayhal
