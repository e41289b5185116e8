// The I2C seam: SMBus transfers to the board's I2C devices (sensors, fan controllers, PMBus
// power supplies) go through i2c_bus(), so tests and halsim put device models behind the same
// call. The real backend opens the bus's i2c-dev node ("/dev/i2c-<bus>" under the system
// root), selects the device (I2C_SLAVE) and issues one I2C_SMBUS transfer.
#pragma once
#include <cstdint>

#include "foundation/seam.h"

namespace bayhal {

enum class SmbusOp : uint8_t { kReadByteData, kReadWordData, kWriteByteData, kWriteWordData };

// One SMBus transfer: in, the device and its command (register); a write's value; out, what a
// read returned. Words are as the bus carries them (low byte first), host order here.
struct SmbusTransfer {
  int bus = -1;
  uint8_t addr = 0;     // 7-bit address
  uint8_t command = 0;
  SmbusOp op = SmbusOp::kReadByteData;
  uint16_t value = 0;
};

class I2cBus {
 public:
  virtual ~I2cBus() = default;
  // 0 when the device answered; a negative errno otherwise (-ENXIO: nobody at the address).
  virtual int transfer(SmbusTransfer& t) = 0;
};

// The backend in force: i2c-dev unless a test or halsim installed another.
I2cBus& i2c_bus();
// Installs `b` (not owned); nullptr restores i2c-dev.
void set_i2c_bus(I2cBus* b);
using ScopedI2cBus = ScopedSeam<I2cBus, set_i2c_bus>;

// One-call forms of the transfers; 0 or a negative errno.
int smbus_read_byte(int bus, int addr, uint8_t command, uint8_t* value);
int smbus_read_word(int bus, int addr, uint8_t command, uint16_t* value);
int smbus_write_byte(int bus, int addr, uint8_t command, uint8_t value);
int smbus_write_word(int bus, int addr, uint8_t command, uint16_t value);

}  // namespace bayhal
