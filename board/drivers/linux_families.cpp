// Placeholder tables for the families Linux serves (I2C, GPIO lines, coretemp, thermal
// zones) until their drivers are in.
#include "board/drivers/families.h"

namespace bayhal::board {

const Driver kI2cDriver{.name = "I2C"};
const Driver kGpioDriver{.name = "GPIO"};
const Driver kDtsDriver{.name = "DTS"};
const Driver kThermalZoneDriver{.name = "THERMAL_ZONE"};

}  // namespace bayhal::board
