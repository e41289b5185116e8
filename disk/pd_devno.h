// Device numbers and block device names from the kernel's tables under /sys.
#pragma once
#include <string>
#include <string_view>

namespace bayhal::disk {

// "/dev/<name>" from the "DEVNAME=" line of a uevent file's text; empty when there is none
// or the name is not a plain device name.
std::string devname_from_uevent(std::string_view text);

}  // namespace bayhal::disk
