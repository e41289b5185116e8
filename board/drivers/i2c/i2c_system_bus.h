// The board's own I2C bus: the chipset's SMBus adapter.
#pragma once

namespace bayhal::board {

// The number n of "/dev/i2c-<n>" of the board's SMBus controller (the first adapter whose
// kernel name begins "SMBus", such as "SMBus I801 adapter at efa0"); "root" only. -1 (traced)
// when there is none.
int common_sys_get_system_i2c_num(const char* enc_sys_id);

}  // namespace bayhal::board
