// SAS expander enclosures, found in the kernel's SAS transport class
// (/sys/class/sas_expander, /sys/class/sas_device) with their SES devices. The identity of
// an expander enclosure is its SAS address written "%llx" (e.g. "5000ccab0200947e"); its
// record keeps the address in `sas_address` and, as 8 raw bytes, in `wwn`.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bayhal/SE.h"

namespace bayhal {

struct SasExpander {
  std::string name;      // the kernel's name, "expander-11:0"
  std::string dir;       // its device folder (appliance path)
  std::string identity;  // "%llx" of the SAS address
};

// The expander whose identity is `enc_sys_id`; nullopt when none is present. The one test
// of "is this an expander" for enclosure and disk discovery alike: the address comes from
// the SAS transport class, or from the expander's own device folder when the class lacks it.
std::optional<SasExpander> find_sas_expander(std::string_view enc_sys_id);
// 1 when `enc_sys_id` names an expander present now, else 0.
int comm_sys_check_is_sas_expander(std::string_view enc_sys_id);

// Lists the expanders' identities (strdup'ed, at most `capacity` stored); returns how many
// exist.
int sas_expander_enumerate(char** names, int capacity);
// True when one of the `count` listed expanders hangs below the controller or bridge at the
// "DEV_BUS" of PCIe slot `slot`.
bool sas_expander_in_pci_slot(char* const* names, int count, int slot);
// Fills the record of an expander enclosure; 0, or -1 when it is not present.
int sas_expander_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

}  // namespace bayhal
