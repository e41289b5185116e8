// PCI identities from sysfs under the system root: the configuration space of one function
// (untrusted bytes, read through ByteReader) and the vendor/device/class attributes of every
// function on the machine.
#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace bayhal {

struct PciIdentity {
  std::string address;  // "dddd:bb:dd.f"; empty when read from raw bytes
  uint16_t vendor = 0;
  uint16_t device = 0;
  uint32_t class_code = 0;  // base, sub-class, programming interface
  uint16_t subsystem_vendor = 0;
  uint16_t subsystem_device = 0;
};

// Identity from the first bytes of a configuration space; nullopt when fewer than the
// standard header's 0x30 bytes are there or no function answers (vendor 0xFFFF or 0).
std::optional<PciIdentity> parse_pci_config(std::span<const uint8_t> config);
// Reads "/sys/bus/pci/devices/<address>/config".
std::optional<PciIdentity> read_pci_config(const std::string& address);

// Every function under "/sys/bus/pci/devices" from its "vendor", "device" and "class"
// attributes, in address order. Functions whose attributes do not parse are left out.
std::vector<PciIdentity> list_pci_functions();

}  // namespace bayhal
