// Internal side of the model description set-up: the steps of se_sys_setup_model_conf and
// the sources they read, each callable on its own (tests, hal_tool).
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "model/smbios.h"
#include "foundation/store_files.h"

namespace bayhal {

inline constexpr char kBoardTable[] = "/etc/model_board_table.conf";
inline constexpr char kSystemEnclosure[] = "System Enclosure";
inline constexpr char kNotAvailable[] = "device identification data is not available.";

struct FixupResult {
  std::string name;
  bool changed = false;
  std::string detail;  // what was changed, or why nothing was
};

struct ModelSetupReport {
  std::string chosen;   // the file "/etc/model.conf" was linked to; empty when kept
  std::string message;  // the text handed to the caller, if any
  std::vector<FixupResult> fixups;
  bool memory_sane = false;
  std::vector<smbios::MemoryDevice> memory;  // module data of slots 1..MAX_SLOT_NUM
};

// se_sys_setup_model_conf, with an optional report of what it chose and changed.
int setup_model_conf(const char** message, ModelSetupReport* report);

// The board identifier: the host bridge's PCI identity and the processor matched against
// the board table. nullopt when the table or the sources cannot be read or nothing matches.
std::optional<unsigned> se_sys_get_board_id();

// The model file the fitted backplane names, from its FRU EEPROM; "root" only. 0 and the
// path in `buf` (at most size - 1 characters), or -1 when it cannot be identified.
int se_sys_get_backplane_model_conf(const char* enc_sys_id, char* buf, int size, int format);

// Mapping tables the firmware leaves in CMOS, as comma-separated unit numbers.
// 0, or -1 (traced) when the ports are refused or the block is missing or corrupt.
int comm_sys_get_pcie_slot_mapping_from_cmos(char* buf, int size);
int comm_sys_get_disk_mapping_from_cmos(char* buf, int size);

// The fix-ups in their order; each reports whether it changed the description.
std::vector<FixupResult> run_model_fixups();

// The memory step: the sanity check, then each slot's module data once; on failure the
// "System Memory" keys are set to say that no memory information is available.
int model_memory_step(ModelSetupReport* report);

}  // namespace bayhal
