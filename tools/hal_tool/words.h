// Words and numbers for the codes of the registries' records, for people and scripts: one
// table per code family, so a new code is one row.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace hal_tool {

// A disk link: "SATA 6.0 Gb/s" and its raw line rate in Gb/s (per lane for PCIe);
// nullopt for 0 or an unknown code.
struct LinkSpeed {
  const char* text;
  double gbps;
};
std::optional<LinkSpeed> link_speed(int code);
// "ata", "scsi", "usb", "nvme"; "unknown" otherwise.
std::string disk_type(int type);
// Names of the set PD_CAP_* bits; unnamed bits as "0x..".
std::vector<std::string> disk_capabilities(unsigned caps);
// Bytes in decimal units as drive makers count them: "4.00 TB", "512 B".
std::string human_bytes(long double bytes);
// "root", "sas", ...; "none" for -1, "unknown" for codes without a name.
std::string enc_protocol(int protocol);
// Names of the set SE_CAP_* bits; unnamed bits as "0x..".
std::vector<std::string> enc_capabilities(uint32_t caps);

// A SMART verdict (PD_SMART_VERDICT_*): "good", "warning", "error"; "unknown" otherwise.
std::string smart_verdict(int verdict);
// A self-test status code: "completed without error", ..., "in progress"; "unknown" for -1.
std::string self_test_status(int status);
// A self-test mode (PD_SELF_TEST_*): "short", "extended", "abort"; "" for other codes.
std::string self_test_mode(int mode);
// Names of the set PD_SMART_WARN_* bits ("197", "temperature").
std::vector<std::string> smart_warnings(int bits);
// The warning policy's attributes in its order: PD_SMART_WARN_* bit i is attribute
// kSmartWarningIds[i], bit 5 the temperature.
inline constexpr unsigned kSmartWarningIds[] = {5, 187, 188, 197, 198};

}  // namespace hal_tool
