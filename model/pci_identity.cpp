#include "model/pci_identity.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/byte_reader.h"
#include "foundation/sysfs.h"

namespace bayhal {
namespace {

constexpr char kPciDevices[] = "/sys/bus/pci/devices";

std::optional<unsigned long> read_hex_attr(const std::string& path) {
  auto text = read_head(path, 256);
  if (!text || text->empty()) return std::nullopt;
  char* end = nullptr;
  unsigned long v = std::strtoul(text->c_str(), &end, 16);
  if (end == text->c_str() || (*end != '\0' && *end != '\n')) return std::nullopt;
  return v;
}

}  // namespace

std::optional<PciIdentity> parse_pci_config(std::span<const uint8_t> config) {
  ByteReader r(config);
  if (!r.has(0, 0x30)) return std::nullopt;
  PciIdentity id;
  id.vendor = r.le16(0x00);
  id.device = r.le16(0x02);
  if (id.vendor == 0xFFFF || id.vendor == 0) return std::nullopt;
  id.class_code = r.le32(0x08) >> 8;
  // Subsystem ids live at 0x2C only in the type 0 header; bridges carry them elsewhere.
  if ((r.u8(0x0E) & 0x7F) == 0) {
    id.subsystem_vendor = r.le16(0x2C);
    id.subsystem_device = r.le16(0x2E);
  }
  return id;
}

std::optional<PciIdentity> read_pci_config(const std::string& address) {
  auto config = read_head(std::string(kPciDevices) + "/" + address + "/config", 64);
  if (!config || config->empty()) return std::nullopt;
  auto id = parse_pci_config(
      {reinterpret_cast<const uint8_t*>(config->data()), config->size()});
  if (id) id->address = address;
  return id;
}

std::vector<PciIdentity> list_pci_functions() {
  std::vector<PciIdentity> out;
  // PCI addresses are hexadecimal: their text order is their order.
  std::vector<std::string> names = sysfs_list(kPciDevices);
  std::sort(names.begin(), names.end());
  for (const std::string& n : names) {
    std::string base = std::string(kPciDevices) + "/" + n + "/";
    auto v = read_hex_attr(base + "vendor");
    auto d = read_hex_attr(base + "device");
    if (!v || !d) continue;
    PciIdentity id;
    id.address = n;
    id.vendor = static_cast<uint16_t>(*v);
    id.device = static_cast<uint16_t>(*d);
    id.class_code = static_cast<uint32_t>(read_hex_attr(base + "class").value_or(0));
    out.push_back(id);
  }
  return out;
}

}  // namespace bayhal
