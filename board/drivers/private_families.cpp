// Families whose chips speak a protocol private to their maker (SoC GPIO, CPLD, the chipset's
// power-recovery setting) and expansion units whose back-end is the maker's own (USB units,
// RAID enclosures, JBOD series, Thunderbolt units, M.2 cards). Nothing standard reaches them,
// so their tables stay empty and the dispatch answers the documented failure; the README
// lists them under "Not supported".
#include "board/drivers/families.h"

namespace bayhal::board {

const Driver kSocDriver{.name = "SOC"};
const Driver kCpldDriver{.name = "CPLD"};
const Driver kIchDriver{.name = "ICH"};
const Driver kUsbUnitDriver{.name = "USB unit"};
const Driver kPxDriver{.name = "PX"};
const Driver kMvsDriver{.name = "MVS"};
const Driver kTbDriver{.name = "TB"};
const Driver kZmcDriver{.name = "ZMC"};

}  // namespace bayhal::board
