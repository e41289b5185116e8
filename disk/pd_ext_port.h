// External-port links of PCIe SATA host cards (HZR, protocol 11) and the JBOD-series units
// behind them (MVS, protocol 12): "Index"/"ext_port_<n>" = "<enclosure id>:<port>" on
// both sides, "-1:-1" when unlinked.
#pragma once
#include "bayhal/PD.h"

namespace bayhal::disk {

// Finds the card port that leads to this disk's unit and links both sides. Writes nothing
// when the port is not found.
void pd_link_ext_port(int enc_id, int port_id, const PD_INFO& info, const char* dir);

// After a disk left a unit: when no other disk of its group of four remains, resets every
// unit's links and rebuilds them from the cards' own scan.
void pd_unlink_ext_port(int enc_id, int port_id);

}  // namespace bayhal::disk
