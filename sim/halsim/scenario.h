// A halsim scenario: an appliance described as controllers, slots and disks with their
// identities, read from an INI file (docs/halsim.md has the format). The scenario is the
// source of truth: the model description, the sysfs tree and the device models are all
// derived from it.
#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bayhal::sim::halsim {

enum class ControllerKind { ahci, nvme, xhci, sas };

struct Controller {
  std::string name;
  ControllerKind kind = ControllerKind::ahci;
  std::string pci;     // "dddd:bb:dd.f"
  std::string bridge;  // root port above it ("dddd:bb:dd.f"); empty: on the host bridge
  unsigned vendor = 0;
  unsigned device = 0;
  int ports = 0;       // AHCI ports, SAS host phys, ports of each USB root hub
  int host = -1;       // first SCSI host (AHCI: one per port; SAS: the one host)
  int index = 0;       // NVMe: the N of "nvmeN"
  int usb2_bus = 0;    // xHCI: bus numbers of its USB 2 and USB 3 root hubs
  int usb3_bus = 0;
  std::string sas_address;  // SAS: the HBA's own address ("0x...")
  int pcie_slot = 0;        // board PCIe slot the card sits in; 0 = on the board
};

// An expansion unit: a SAS expander with its enclosure services and bays, cabled to a wide
// port of a SAS controller.
struct Unit {
  std::string name;
  std::string controller;
  std::vector<int> host_phys;  // the HBA phys of the cable
  int bays = 0;
  std::string sas_address;     // expander address ("0x..."); the enclosure's identity
  std::string vendor = "BAYHAL";
  std::string model = "EXP";
  std::string revision = "0100";
  std::string serial;
  bool cabled = true;          // plugged in when the appliance starts
};

// A slot: "root/N" (system disks), "cache/N" (NVMe cache), "usb/N" (USB ports), or
// "<unit>/N" (bays of an expansion unit, on expander phy N-1 unless given).
struct Slot {
  std::string enclosure;
  int number = 0;
  std::string controller;  // root, cache and usb slots
  int port = 0;            // AHCI port (0-based), USB root-hub port, or expander phy
  std::string label;       // the slot's name on the front panel, if it has one
  bool front = false;      // USB: a front-panel port
  std::string id() const { return enclosure + "/" + std::to_string(number); }
};

enum class DiskKind { sata, sas, nvme, usb };

struct Disk {
  std::string name;
  std::string slot;  // Slot::id(); empty: on the shelf, ready to be inserted
  DiskKind kind = DiskKind::sata;
  std::string vendor;  // SAS disks and USB bridges
  std::string model;
  std::string serial;
  std::string firmware = "SIM1";
  uint64_t wwn = 0;      // 0: reports none
  uint64_t sectors = 0;  // 512-byte units
  int rotation = 7200;   // rpm; 0 for a solid-state disk
  int form = 2;          // 2 3.5", 3 2.5", 7 M.2
  bool sed = false;      // a self-encrypting drive (TCG Opal)
  std::string psid;      // its PSID label; empty: derived from the serial
  // Health: captured SMART pages (SATA and USB disks: "<smart_pages>.smart_data.bin" and
  // ".smart_thresholds.bin", relative to the scenario file), a disk that predicts its own
  // failure, its temperature in °C (-1: the model's own).
  std::string smart_pages;
  std::vector<uint8_t> smart_data, smart_thresholds;
  bool failing = false;
  int temperature = -1;
};

// An embedded controller board ([ec]): SIO_DEVICE "IT8528". Temperatures in degrees, fans
// by their top speed in rpm (0: not fitted), in the order of the board's indexes.
struct EcSpec {
  bool fitted = false;
  std::string firmware = "QE28V100";
  std::vector<int> cpu_temps;     // indexes 0, 1
  std::vector<int> system_temps;  // 5-7
  std::vector<int> env_temps;     // 15-38
  std::vector<int> cpu_fans;      // 6, 7
  std::vector<int> system_fans;   // 0-4
  int power_supplies = 0;         // 0-2, with supply fans 10, 11 and temperatures 10, 11
  std::vector<int> psu_temps;
  std::vector<int> psu_fans;
  bool eup = true;
  int buzzer_freq = 50;
};

// A Super I/O board ([superio]): the chip, its hardware monitor (hwmon0, temperature
// channel 1 the CPU, 2 on the system sensors; fan channel 1 the CPU fan, 2 on the system
// fans) and the pins of the front panel.
struct SuperIoSpec {
  bool fitted = false;
  std::string chip = "IT87";  // IT87, F71869A, F81866A, NCT5523
  std::vector<int> temps;
  std::vector<int> fans;
  // "System IO" key and pin ("STATUS_RED_LED", 52), in the order given.
  std::vector<std::pair<std::string, int>> pins;
  // Inputs held down from power-on ("case_cover": the appliance runs with its cover open).
  std::vector<std::string> held;
};

// A front-panel pin of a Super I/O board: its scenario key and the "System IO" key it
// becomes; an input also has the name `halsim press` knows it by and the words for its
// pressed and released states.
struct PanelPin {
  std::string_view scenario_key, io_key;
  std::string_view input = {}, pressed = {}, released = {};
};
std::span<const PanelPin> panel_pins();
// The input called `name`, or nullptr.
const PanelPin* panel_input(std::string_view name);

// Sections of the model description passed through unchanged ("[model <Section>]").
struct ModelSection {
  std::string name;
  std::vector<std::pair<std::string, std::string>> keys;
};

struct Scenario {
  std::string name;  // short name of the appliance model
  std::string vendor = "BAYHAL";
  std::string display_name;
  std::string serial;
  std::string hostname = "bayhal-sim";
  unsigned cap_extra = 0;  // capability bits added to the derived "CAP"
  // A board of a family: the firmware ships one description per board and picks this one
  // by the host bridge's identity. -1: the appliance has a single description.
  int board_id = -1;
  unsigned host_bridge_vendor = 0x8086;
  unsigned host_bridge_device = 0x3e0f;
  std::vector<Controller> controllers;
  std::vector<Unit> units;
  std::vector<Slot> slots;
  std::vector<Disk> disks;
  std::vector<ModelSection> model_extra;
  EcSpec ec;
  SuperIoSpec superio;

  const Controller* controller(std::string_view name) const;
  const Unit* unit(std::string_view name) const;
  const Slot* slot(std::string_view id) const;
  const Disk* disk(std::string_view name) const;
  // Slots of one enclosure ("root", "cache", "usb" or a unit), by number.
  std::vector<const Slot*> slots_of(std::string_view enclosure) const;
};

// Parses scenario text; on failure nullopt and a one-line `error` naming the line.
std::optional<Scenario> parse_scenario(std::string_view text, std::string& error);
// Reads a scenario file (a host path, never re-rooted) and the SMART pages its disks name.
std::optional<Scenario> load_scenario(const std::string& path, std::string& error);

// Whether a disk of this kind can sit in that slot.
bool disk_fits(const Scenario& sc, const Disk& d, const Slot& s);

// "root/3" (or just "3" for a system slot) split into enclosure and number.
bool split_slot_id(std::string_view text, std::string& enclosure, int& number);

// The SAS address text "0x5000ccab02000000" as the enclosure identity "5000ccab02000000".
std::string sas_identity(std::string_view address);

}  // namespace bayhal::sim::halsim
