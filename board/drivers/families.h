// The tables each family's driver defines; only board/driver_registry.cpp names them.
#pragma once
#include "board/driver.h"

namespace bayhal::board {

extern const Driver kSioDriver;
extern const Driver kEcDriver;
extern const Driver kI2cDriver;
extern const Driver kGpioDriver;
extern const Driver kDtsDriver;
extern const Driver kThermalZoneDriver;
extern const Driver kPicDriver;
extern const Driver kMcuDriver;
extern const Driver kEmcuDriver;
extern const Driver kIoPortDriver;
extern const Driver kBeeperDriver;
extern const Driver kSesDriver;
// Families whose protocol is private to their maker: every operation null.
extern const Driver kSocDriver;
extern const Driver kCpldDriver;
extern const Driver kIchDriver;
extern const Driver kUsbUnitDriver;
extern const Driver kPxDriver;
extern const Driver kMvsDriver;
extern const Driver kTbDriver;
extern const Driver kZmcDriver;

}  // namespace bayhal::board
