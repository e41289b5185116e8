#include "foundation/udev_tag.h"

#include "foundation/command_runner.h"

namespace bayhal {

bool udevd_running() {
  return exit_code_of(runner().shell("pidof udevd 1 > /dev/null 2 >& 1")) == 0;
}

std::string udev_tag(std::string_view name, std::string_view value) {
  std::string env = "--env=";
  env.append(name).append("=").append(value);
  runner().exec({"/sbin/udevadm", "control", env});
  return "/sbin/udevadm control " + env;
}

}  // namespace bayhal
