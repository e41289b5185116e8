// The typed reader of the model description ("/etc/model.conf"): the sections and keys that
// discovery and the registries ask for, each spelled here once.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/store_files.h"

namespace bayhal::model {

// ---- "System Enclosure" ----

// "DISK_DRV_TYPE" codes.
enum DiskDrvType {
  kDrvUnknown = 0, kDrvUsb = 1, kDrvAta = 2, kDrvScsi = 3, kDrvSas = 4, kDrvFlash = 5,
  kDrvMmc = 6, kDrvNvme = 7, kDrvM2 = 8, kDrvVirtio = 9, kDrvXenvbd = 10,
};
int disk_drv_type();
// "CAP" (hexadecimal); nullopt, or for system_cap 0, when absent.
std::optional<uint32_t> read_system_cap();
uint32_t system_cap();
// Counts read from the description are bounded by what the rest of the system can hold,
// whatever a hand edit says: slots are port ids 1..100, PCIe slots the bits of a 32-bit
// monitor bitmap, mini-SAS ports of a card the external ports a card store links.
inline constexpr int kMaxSlots = 100;
inline constexpr int kMaxPcieSlots = 32;
inline constexpr int kMaxMinisasPorts = 8;

// "MAX_PCIE_SLOT" (at most kMaxPcieSlots); 0 when absent.
int max_pcie_slot();

// ---- enclosure sections ("System Enclosure", "Cache Enclosure", ...) ----

// "SYSTEM_DISK_CACHEABLE_BITMAP" (hexadecimal, "0x" optional): bit n-1 for slot n may
// serve as cache; 1 when absent.
uint32_t cacheable_bitmap(std::string_view section);
// "DISK_DEFAULT_MAX_LINK_SPEED"; 0 when absent.
int default_max_link_speed(std::string_view section);

// ---- slot sections ("System Disk %d", "Usb Port %d", "System PCIE SLOT %d", ...) ----

// One USB connection of a port: its port list and hub position.
struct UsbConnection {
  std::string ports;  // "DEV_PORT" or a speed variant: a list of root or hub ports
  int in_hub = 0;
  int hub_port = 1;
};

struct SlotDesc {
  std::string section;
  std::string dev_bus;          // "DEV_BUS"; empty: the slot is absent
  std::string dev_port_text;    // "DEV_PORT" as written (a USB list may hold several)
  int dev_port = -1;            // "DEV_PORT" as a number, -1 when missing or a list
  int domain = 0;               // "DEV_DOMAIN"
  int switch_port = -1;         // "PCI_SWITCH_PORT"
  std::string bridge_bus;       // "DEV_BRIDGE_BUS"
  bool bridge_auto = false;     // "DEV_BRIDGE_BUS_AUTO" = "YES"
  int multi = 0;                // "MULTI_DEVICE"
  int in_hub = 0;               // "IN_HUB"
  int hub_port = 1;             // "HUB_PORT"
  std::optional<UsbConnection> ssp, ss, ns;  // "DEV_PORT_SSP"/"_SS"/"_NS" and their hub keys
  std::optional<std::string> slot_name;      // "SLOT_NAME" printed on the chassis
  std::optional<int> slot_id;                // "SLOT_ID" shown for the slot
  bool front = false;                        // "FRONT_PORT" = 1

  // "dddd:bb:dd.f" of DEV_BUS, DEV_DOMAIN prefixed when the bus carries no domain; empty
  // when there is no DEV_BUS.
  std::string pci_address() const;
};

// The slot section `section`; nullopt when the section is missing.
std::optional<SlotDesc> read_slot(std::string_view section);
// "<prefix> <n>" ("System Disk 3").
std::optional<SlotDesc> read_slot(std::string_view prefix, int n);

// Numbers n (1..kMaxSlots) of the sections "<prefix> n" (no sub-sections), ascending.
std::vector<int> slot_numbers(std::string_view prefix);

// A board PCIe slot ("System PCIE SLOT <n>") and what the description says of its card.
struct PcieSlot {
  SlotDesc slot;
  std::optional<int> max_disk_num;  // "MAX_DISK_NUM"
  uint32_t cap = 0;                 // "CAP" (hexadecimal)
  int minisas_port_count = 0;       // "MINISAS_PORT_COUNT" (at most kMaxMinisasPorts)
};
std::optional<PcieSlot> pcie_slot(int n);

// A key of a section, for sections read only once and in one place.
std::optional<std::string> model_key(std::string_view section, std::string_view key);

}  // namespace bayhal::model
