// Slot descriptions of the model description ("/etc/model.conf"): one section per slot
// ("System Disk %d", "Usb Port %d", ...) naming the controller's PCI address and the port.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/store_files.h"

namespace bayhal {

// "DISK_DRV_TYPE" codes of "System Enclosure".
enum DiskDrvType {
  kDrvUnknown = 0, kDrvUsb = 1, kDrvAta = 2, kDrvScsi = 3, kDrvSas = 4, kDrvFlash = 5,
  kDrvMmc = 6, kDrvNvme = 7, kDrvM2 = 8, kDrvVirtio = 9, kDrvXenvbd = 10,
};
int disk_drv_type();

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
};

// The slot section `section`; nullopt when the section is missing.
std::optional<SlotDesc> read_slot(std::string_view section);

// Numbers n of the sections "<prefix> n" (no sub-sections), ascending.
std::vector<int> slot_numbers(std::string_view prefix);

// A key of an enclosure section of the model description.
std::optional<std::string> model_key(std::string_view section, std::string_view key);

}  // namespace bayhal
