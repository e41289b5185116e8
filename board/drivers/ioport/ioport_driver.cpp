// A status LED wired to a raw I/O port ("IOPORT:0x4e4"): the byte 2 lights it, 0 puts it out.
#include "board/drivers/families.h"
#include "board/drivers/ioport/port_access.h"

namespace bayhal::board {
namespace {

constexpr int kLedOnByte = 2;

int set_status_led(const Target& t, int, int on) {
  return common_sys_set_ioport(t.channel, on ? kLedOnByte : 0);
}

}  // namespace

const Driver kIoPortDriver{.name = "IOPORT", .set_status_led = set_status_led};

}  // namespace bayhal::board
