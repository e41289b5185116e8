// Tagging for the device manager: udevd learns which enclosure a disk or an enclosure
// belongs to from an environment entry set with "/sbin/udevadm control --env=<name>=<value>".
// Names come from sysfs and from callers, so the command runs in argv form, never a shell.
#pragma once
#include <string>
#include <string_view>

namespace bayhal {

// Whether udevd runs now; discovery tags only then, attach tags regardless.
bool udevd_running();

// Sets <name>=<value> in udevd's environment; returns the command line for the caller's trace.
std::string udev_tag(std::string_view name, std::string_view value);

}  // namespace bayhal
