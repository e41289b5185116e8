// Small text parsers of the scenario format, shared by the parser and the hot-plug commands.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal::sim::halsim {

// Decimal or 0x-hexadecimal, optional minus sign for decimal; nothing else around it.
bool parse_number(std::string_view s, long long& out);
bool parse_u64(std::string_view s, unsigned long long& out);
// yes/no, true/false, 1/0, on/off.
bool parse_bool(std::string_view s, bool& out);
// "dddd:bb:dd.f" with hexadecimal digits (device below 0x20, function below 8).
bool valid_pci_address(std::string_view s);
// "vvvv:dddd".
bool parse_pci_id(std::string_view s, unsigned& vendor, unsigned& device);
// "4-7", "0,1,2", "1,4-5"; ascending or not, no duplicates, values 0 to 255.
bool parse_int_list(std::string_view s, std::vector<int>& out);
// "45, 38, 38": numbers from lo to hi, repeats allowed; empty text is an empty list.
bool parse_number_list(std::string_view s, std::vector<int>& out, long long lo, long long hi);
// "root/1" or "root/1-8" (first <= last, 1 to 100).
bool split_slot_range(std::string_view s, std::string& enclosure, int& first, int& last);
// "4T", "960G", "500M", "2048K" (decimal units, as disks are sold) or a plain byte count;
// the result in 512-byte sectors, at least one.
bool parse_size(std::string_view s, std::uint64_t& sectors);

}  // namespace bayhal::sim::halsim
