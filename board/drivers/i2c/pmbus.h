// The standard PMBus commands the board reads from power supplies and PMBus fan controllers,
// and the LINEAR11 number format they answer in.
#pragma once
#include <cstdint>

namespace bayhal::board::pmbus {

constexpr uint8_t kPage = 0x00;
constexpr uint8_t kFanConfig12 = 0x3A;   // bit 6: fan 1 commanded in rpm (else duty cycle)
constexpr uint8_t kFanCommand1 = 0x3B;
constexpr uint8_t kStatusWord = 0x79;    // bit 11 POWER_GOOD#, bit 6 OFF
constexpr uint8_t kStatusFans12 = 0x81;  // bit 7: fan 1 fault
constexpr uint8_t kReadTemperature1 = 0x8D;
constexpr uint8_t kReadFanSpeed1 = 0x90;

constexpr uint16_t kPowerGoodNegated = 1u << 11;
constexpr uint16_t kOff = 1u << 6;
constexpr uint8_t kFan1Fault = 1u << 7;
constexpr uint8_t kFan1InRpm = 1u << 6;

// LINEAR11: a 5-bit signed exponent over an 11-bit signed mantissa.
constexpr double from_linear11(uint16_t raw) {
  int exponent = static_cast<int16_t>(raw) >> 11;
  int mantissa = static_cast<int16_t>(static_cast<uint16_t>(raw << 5)) >> 5;
  double v = mantissa;
  for (; exponent > 0; --exponent) v *= 2;
  for (; exponent < 0; ++exponent) v /= 2;
  return v;
}

// Whole numbers 0..1023 with exponent 0.
constexpr uint16_t to_linear11(int value) { return static_cast<uint16_t>(value & 0x7FF); }

}  // namespace bayhal::board::pmbus
