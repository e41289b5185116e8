// Words for the codes of a disk record, for people and tools.
#pragma once
#include <string>
#include <vector>

namespace bayhal::disk {

// "SATA 6.0 Gb/s", "USB 5 Gb/s", "PCIe 8.0 GT/s"...; "unknown" for 0 or an unknown code.
std::string link_speed_text(int code);
// Names of the set capability bits ("wwn", "smart", "ssd", ...); unnamed bits as "0x..".
std::vector<std::string> capability_names(unsigned caps);
// Bytes in decimal units as drive makers count them: "4.00 TB", "512.11 GB".
std::string human_capacity(long long sectors, int sector_size);

}  // namespace bayhal::disk
