// Network interfaces of the appliance as the kernel shows them.
#pragma once

namespace bayhal {

// The temperature of eth<nic> in whole degrees, from the first hwmon sensor its driver
// registers ("/sys/class/net/eth<nic>/device/hwmon/hwmon*/temp1_input", millidegrees).
int net_sys_get_temp(int nic, double* celsius);

}  // namespace bayhal
