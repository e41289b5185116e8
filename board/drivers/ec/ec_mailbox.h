// The embedded controller's mailbox, as the host side speaks it. The controller has two host
// interfaces (data 0x62 with status/command 0x66, and data 0x68 with status/command 0x6C);
// the library uses the second. Status bit 0: a byte waits in the output buffer; bit 1: the
// controller has not yet taken the last byte written.
//
// A register read is: drain a stale output byte, command 0x88, the register's high byte
// ("func"), its low byte ("index"), then the answer. A write sends func | 0x80, index, data.
// REQUIRES for every call here: the EC lock is held.
#pragma once
#include <cstdint>

namespace bayhal {

inline constexpr uint16_t kEcData = 0x68;
inline constexpr uint16_t kEcCommand = 0x6C;  // also the status port
inline constexpr uint16_t kEcData1 = 0x62;
inline constexpr uint16_t kEcCommand1 = 0x66;
inline constexpr uint8_t kEcStatusOutputFull = 0x01;
inline constexpr uint8_t kEcStatusInputFull = 0x02;
inline constexpr uint8_t kEcCmdRegister = 0x88;
inline constexpr uint8_t kEcWriteFlag = 0x80;
inline constexpr int kEcPolls = 5000;
inline constexpr long kEcPollUs = 50;

// Waits for the controller to take its last byte, then writes `value` to `port` (a data or
// command port). 0, -EBUSY, -ENXIO or -1.
int ec_send_byte(uint16_t port, uint8_t value);
// Waits for a byte in the output buffer of `port`'s interface and reads it.
int ec_recv_byte(uint16_t port, uint8_t* value);

int ec_get_single_byte(uint8_t func, uint8_t index, uint8_t* value);
int ec_set_single_byte(uint8_t func, uint8_t index, uint8_t value);

}  // namespace bayhal
