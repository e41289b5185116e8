// The enclosure kinds: what an enclosure identity ("root_cache", "usb_2-1", "root_pcie_2",
// a SAS address) says about its enclosure. One table serves discovery, both registries and
// the board back-end; a new enclosure family is one row here and its back-end. Depends on
// nothing but the protocol numbers of the public header.
#pragma once
#include <cstdint>
#include <string_view>

#include "bayhal/SE.h"

namespace bayhal {

enum class EncKind : uint8_t {
  kRoot, kBoot, kUsbPorts, kEsata, kOdd, kCache, kMmc, kIscsi, kPcieSlot,
  kUsbUnit, kPx, kTbUnit, kZmc, kHzr, kMvs, kSasExpander,
};

// Whether a disk must show completed I/O before it is registered.
enum class RwCheck : uint8_t { kAlways, kNever, kNotNvme };

struct EncKindRow {
  EncKind kind;
  std::string_view name;       // the identity, or its prefix when `prefix`; "" for SAS
  bool prefix;
  int protocol;                // SE_PROTOCOL_*
  bool appliance;              // part of the appliance itself ("root" and its family)
  bool internal;               // the record always carries SE_CAP_INTERNAL
  bool own_disks;              // disk discovery lists its disks from sysfs; else only a
                               // vendor back-end could, and this library has none
  bool default_queue;          // its disks keep the kernel's default request size
  RwCheck rw_check;
  bool link_speed;             // its disks' link speeds are read
  int first_id;                // first enclosure id it may get (23: the cache ids; 31: the
                               // last); -1: by its capabilities
  // Its own section of the model description, the slot sections that describe its bays,
  // and for pseudo-enclosures the model name and disk count used when the section lacks them.
  const char* model_section;
  const char* slot_prefix;
  const char* default_model;
  int default_disks;
  // Sections of the model description holding its "DISK_DEFAULT_MAX_LINK_SPEED" and its
  // "SYSTEM_DISK_CACHEABLE_BITMAP" (null: the appliance's / not cacheable).
  const char* speed_section;
  const char* cache_section;
};

inline constexpr EncKindRow kEncKinds[] = {
// kind                 name          prefix protocol          app    int    disks  queue  rw_check           speed  id  model_section      slot_prefix   model    n   speed_section      cache_section
{EncKind::kRoot,        "root",       false, SE_PROTOCOL_ROOT,  true,  true,  true,  false, RwCheck::kNotNvme, true,  -1, "System Enclosure", "System Disk", nullptr, 0,  "System Enclosure", "System Enclosure"},
{EncKind::kBoot,        "root_boot",  false, SE_PROTOCOL_NONE,  true,  false, true,  true,  RwCheck::kNever,   true,  -1, "Boot Enclosure",   nullptr,       "Boot",  1,  "Boot Enclosure",   nullptr},
{EncKind::kUsbPorts,    "root_usb",   false, SE_PROTOCOL_USB,   true,  false, true,  true,  RwCheck::kAlways,  true,  -1, "Usb Enclosure",    "Usb Port",    "USB",   0,  "Usb Enclosure",    nullptr},
{EncKind::kEsata,       "root_esata", false, SE_PROTOCOL_SATA,  true,  false, true,  true,  RwCheck::kAlways,  true,  -1, "Esata Enclosure",  "Esata Disk",  "eSATA", 0,  "Esata Enclosure",  nullptr},
{EncKind::kOdd,         "root_odd",   false, SE_PROTOCOL_ODD,   true,  false, true,  true,  RwCheck::kNever,   true,  -1, "ODD Enclosure",    "ODD Disk",    "ODD",   0,  nullptr,            nullptr},
{EncKind::kCache,       "root_cache", false, SE_PROTOCOL_SATA,  true,  true,  true,  false, RwCheck::kNotNvme, true,  23, "Cache Enclosure",  "Cache Disk",  "Cache", 0,  "Cache Enclosure",  "Cache Enclosure"},
{EncKind::kMmc,         "root_mmc",   false, SE_PROTOCOL_MMC,   true,  false, true,  false, RwCheck::kNever,   true,  -1, "MMC Enclosure",    "MMC Port",    "MMC",   0,  nullptr,            nullptr},
{EncKind::kIscsi,       "root_iscsi", false, SE_PROTOCOL_ISCSI, true,  false, true,  false, RwCheck::kAlways,  true,  31, "iSCSI Enclosure",  nullptr,       "iSCSI", 16, nullptr,            nullptr},
{EncKind::kUsbUnit,     "usb",        true,  SE_PROTOCOL_USB,   false, false, false, false, RwCheck::kAlways,  true,  -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kPx,          "px",         true,  SE_PROTOCOL_PX,    false, false, false, false, RwCheck::kNever,   false, -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kPcieSlot,    "root_pcie_", true,  SE_PROTOCOL_PCIE,  true,  true,  true,  false, RwCheck::kNever,   true,  23, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kTbUnit,      "tb_",        true,  SE_PROTOCOL_TBT,   false, false, false, false, RwCheck::kAlways,  true,  -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kZmc,         "zmc",        true,  SE_PROTOCOL_ZMC,   false, false, false, false, RwCheck::kNever,   true,  23, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kHzr,         "hzr_",       true,  SE_PROTOCOL_HZR,   false, false, false, false, RwCheck::kNever,   true,  -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
{EncKind::kMvs,         "mvs_",       true,  SE_PROTOCOL_MVS,   false, false, false, false, RwCheck::kNever,   true,  -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
// Named by its SAS address: discovery recognises it (find_sas_expander), not its name.
{EncKind::kSasExpander, "",           true,  SE_PROTOCOL_SAS,   false, false, true,  false, RwCheck::kAlways,  true,  -1, nullptr,            nullptr,       nullptr, 0,  nullptr,            nullptr},
};

// The row of a kind.
constexpr const EncKindRow& enc_kind_row(EncKind kind) {
  for (const EncKindRow& r : kEncKinds)
    if (r.kind == kind) return r;
  return kEncKinds[0];  // unreachable: every kind has a row
}

// The row whose name matches `enc_sys_id` (first match in table order); nullptr when none
// does, which for a registered enclosure means a SAS expander.
constexpr const EncKindRow* enc_kind_of(std::string_view enc_sys_id) {
  for (const EncKindRow& r : kEncKinds) {
    if (r.name.empty()) continue;
    if (r.prefix ? enc_sys_id.starts_with(r.name) : enc_sys_id == r.name) return &r;
  }
  return nullptr;
}

// True when `enc_sys_id` names an enclosure of `kind` by its name.
constexpr bool enc_is(std::string_view enc_sys_id, EncKind kind) {
  const EncKindRow* r = enc_kind_of(enc_sys_id);
  return r != nullptr && r->kind == kind;
}

// A new row must not be shadowed by an earlier one: each named row is the match of its name.
constexpr bool rows_reachable() {
  for (const EncKindRow& r : kEncKinds)
    if (!r.name.empty() && enc_kind_of(r.name) != &r) return false;
  return true;
}
static_assert(rows_reachable());

// The identity of a kind with one fixed identity ("root_cache").
constexpr const char* enc_kind_name(EncKind kind) { return enc_kind_row(kind).name.data(); }

}  // namespace bayhal
