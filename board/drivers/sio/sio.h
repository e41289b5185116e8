// The Super I/O driver ("sio_sys_"): the chip that "System Enclosure"/SIO_DEVICE names,
// reached through its configuration ports (0x2E/0x2F) and its GPIO ports, and its hardware
// monitor through the kernel's driver (hwmon0). Results: 0 on success, -1 on failure; outputs
// are set to their neutral values first. The board dispatch reaches these through the
// family's table (sio_driver.cpp), which turns an LED or a button into its pin.
//
// Pins are named as the chips' own documents name them and as the model description writes
// them after "SIO:": the tens are the group (IT87 simple-I/O set GP1x..GP8x, Fintek GPIO port
// 0..7), the units the bit. "SIO:52" is GP52 on an IT87 and GPIO52 on a Fintek chip.
#pragma once
#include <cstdint>

namespace bayhal {

// The chip id, (register 0x20 << 8) | register 0x21.
int sio_sys_get_chip_id(uint16_t* id);

// Level of a pin: 1 when the line is low (the board's pins are active-low), else 0.
int sio_sys_get_gpio_val(int pin, int* value);
// Drives a pin as an output: 1 pulls the line low (LED on), 0 lets it high.
int sio_sys_set_gpio_val(int pin, int value);
// Hands a pin to the chip's blink engine `engine` (1 or 2; IT87 only).
int sio_sys_blink_gpio(int pin, int engine);

// AC power recovery: 0 power on when AC returns, 2 restore the last state, 3 stay off.
int sio_sys_set_power_recovery_mode(int mode);
int sio_sys_get_power_recovery_mode(int* mode);

// The hardware monitor of the chip, through "/sys/class/hwmon/hwmon0/device".
// Degrees Celsius: millidegrees / 1000 truncated to a signed byte (readings above 127 wrap).
int sio_sys_get_temperature(int channel, double* celsius);
// rpm and status (0 running or deliberately stopped, 1 failed).
int sio_sys_get_fan_speed(int channel, unsigned* rpm, int* status);
int sio_sys_get_fan_pwm(int channel, int* pwm);
int sio_sys_set_fan_pwm(int channel, int pwm);

// Forgets the cached GPIO base addresses (tests switch boards within one process).
void sio_reset_caches();

}  // namespace bayhal
