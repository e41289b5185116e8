#include "transport/gpio_lines.h"

#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal {
namespace {

class GpioCdev : public GpioLines {
 public:
  int get_value(std::string_view chip, unsigned offset, bool active_low, int* value) override {
    UniqueFd fd(::open(sys_path(chip).c_str(), O_RDWR | O_CLOEXEC));
    if (!fd) return -errno;
    gpio_v2_line_request req{};
    req.offsets[0] = offset;
    req.num_lines = 1;
    req.config.flags = GPIO_V2_LINE_FLAG_INPUT | (active_low ? GPIO_V2_LINE_FLAG_ACTIVE_LOW : 0);
    std::strncpy(req.consumer, "bayhal", sizeof req.consumer - 1);
    if (::ioctl(fd.get(), GPIO_V2_GET_LINE_IOCTL, &req) != 0) return -errno;
    UniqueFd line(req.fd);
    gpio_v2_line_values values{};
    values.mask = 1;
    if (::ioctl(line.get(), GPIO_V2_LINE_GET_VALUES_IOCTL, &values) != 0) return -errno;
    *value = (values.bits & 1) ? 1 : 0;
    return 0;
  }
};

GpioCdev g_cdev;
std::atomic<GpioLines*> g_installed{nullptr};

}  // namespace

GpioLines& gpio_lines() {
  if (GpioLines* g = g_installed.load(std::memory_order_acquire)) return *g;
  return g_cdev;
}

void set_gpio_lines(GpioLines* g) { g_installed.store(g, std::memory_order_release); }

}  // namespace bayhal
