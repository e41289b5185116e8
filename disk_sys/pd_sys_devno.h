// Block devices as the kernel lists them under /sys (within the system root): device
// numbers, device names, the devices present. Nothing here opens a device node.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

// "/dev/<name>" from the "DEVNAME=" line of a uevent file's text; empty when there is none
// or the name is not a plain device name.
std::string devname_from_uevent(std::string_view text);

// "/dev/<name>" of a device number; empty when the kernel lists none.
std::string pd_sys_dev_name_of(int major, int minor);
// Device number of "/dev/sd*", "/dev/vd*" (virtio) or "/dev/xvd*" (Xen); false otherwise.
bool pd_sys_dev_no_of(std::string_view name, int* major, int* minor);
// Names in /sys/block of disks ("sd*", "vd*", "xvd*", "nvme*"), sorted.
std::vector<std::string> pd_sys_block_devices();
// True when the device node exists.
bool pd_sys_device_present(const char* dev);
// Reloads the USB host driver, which brings back a boot stick that dropped off the bus.
void pd_sys_reload_usb_host();

}  // namespace bayhal
