#include "transport/i2c_bus.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal {
namespace {

class I2cDev : public I2cBus {
 public:
  int transfer(SmbusTransfer& t) override {
    if (t.bus < 0 || t.addr > 0x7F) return -EINVAL;
    UniqueFd fd(::open(sys_path("/dev/i2c-" + std::to_string(t.bus)).c_str(), O_RDWR | O_CLOEXEC));
    if (!fd) return -errno;
    if (::ioctl(fd.get(), I2C_SLAVE, static_cast<unsigned long>(t.addr)) != 0) return -errno;
    i2c_smbus_data data{};
    i2c_smbus_ioctl_data args{};
    args.command = t.command;
    args.data = &data;
    switch (t.op) {
      case SmbusOp::kReadByteData: args.read_write = I2C_SMBUS_READ; args.size = I2C_SMBUS_BYTE_DATA; break;
      case SmbusOp::kReadWordData: args.read_write = I2C_SMBUS_READ; args.size = I2C_SMBUS_WORD_DATA; break;
      case SmbusOp::kWriteByteData:
        args.read_write = I2C_SMBUS_WRITE;
        args.size = I2C_SMBUS_BYTE_DATA;
        data.byte = static_cast<uint8_t>(t.value);
        break;
      case SmbusOp::kWriteWordData:
        args.read_write = I2C_SMBUS_WRITE;
        args.size = I2C_SMBUS_WORD_DATA;
        data.word = t.value;
        break;
    }
    if (::ioctl(fd.get(), I2C_SMBUS, &args) != 0) return -errno;
    if (t.op == SmbusOp::kReadByteData) t.value = data.byte;
    if (t.op == SmbusOp::kReadWordData) t.value = data.word;
    return 0;
  }
};

I2cDev g_dev;
std::atomic<I2cBus*> g_installed{nullptr};

int run(int bus, int addr, uint8_t command, SmbusOp op, uint16_t value, uint16_t* out) {
  if (addr < 0 || addr > 0x7F) return -EINVAL;
  SmbusTransfer t;
  t.bus = bus;
  t.addr = static_cast<uint8_t>(addr);
  t.command = command;
  t.op = op;
  t.value = value;
  int rc = i2c_bus().transfer(t);
  if (rc == 0 && out != nullptr) *out = t.value;
  return rc;
}

}  // namespace

I2cBus& i2c_bus() {
  if (I2cBus* b = g_installed.load(std::memory_order_acquire)) return *b;
  return g_dev;
}

void set_i2c_bus(I2cBus* b) { g_installed.store(b, std::memory_order_release); }

int smbus_read_byte(int bus, int addr, uint8_t command, uint8_t* value) {
  uint16_t v = 0;
  int rc = run(bus, addr, command, SmbusOp::kReadByteData, 0, &v);
  if (rc == 0) *value = static_cast<uint8_t>(v);
  return rc;
}
int smbus_read_word(int bus, int addr, uint8_t command, uint16_t* value) {
  return run(bus, addr, command, SmbusOp::kReadWordData, 0, value);
}
int smbus_write_byte(int bus, int addr, uint8_t command, uint8_t value) {
  return run(bus, addr, command, SmbusOp::kWriteByteData, value, nullptr);
}
int smbus_write_word(int bus, int addr, uint8_t command, uint16_t value) {
  return run(bus, addr, command, SmbusOp::kWriteWordData, value, nullptr);
}

}  // namespace bayhal
