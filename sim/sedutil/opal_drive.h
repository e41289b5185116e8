// The Opal state of one simulated self-encrypting drive, as the sedutil-cli stand-in keeps
// it between runs: one text file per drive, "<root>/var/lib/sedutil-sim/<device>" (for
// example ".../sg1" for "/dev/sg1", or a link to the drive's own file that halsim moves
// with the disk). Secrets are kept hex-encoded so any byte survives.
#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bayhal::sim {

inline constexpr const char* kOpalStateDir = "/var/lib/sedutil-sim";
// The stand-in's record of its runs, one line per start and end.
inline constexpr const char* kOpalRunsLog = "runs.log";

struct OpalRange {
  uint64_t start = 0, length = 0;
  bool read_lock_enabled = false, write_lock_enabled = false;
  bool read_locked = false, write_locked = false;
};

struct OpalDrive {
  std::string model = "BAYHAL SED SSD";
  std::string firmware = "SIM1";
  std::string serial;
  std::string msid;          // the factory credential the drive hands out
  std::string psid;          // printed on the label
  std::string sid;           // the owner's credential; equal to msid while not owned
  std::string admin1;        // Admin1 of the locking SP
  bool locking_active = false;
  bool mbr_enabled = false, mbr_done = false;
  std::array<OpalRange, 9> ranges{};  // 0 is the global range

  bool owned() const { return sid != msid; }
  // Locked as the Locking feature reports it: any range locked where locking is enabled.
  bool locked() const;
  // Back to the state it left the factory in (the PSID revert).
  void factory_reset();
  // The locking SP reverted, the data and the owner kept.
  void revert_locking_sp();
};

// A drive fresh from the factory.
OpalDrive opal_factory_drive(std::string model, std::string serial, std::string psid);

std::string opal_drive_text(const OpalDrive& d);
std::optional<OpalDrive> opal_drive_parse(std::string_view text);

std::string hex_encode(std::string_view bytes);
std::optional<std::string> hex_decode(std::string_view hex);

}  // namespace bayhal::sim
