// Small readers of sysfs-shaped trees under the system root, for the enclosure back-ends.
// Every path is an appliance path ("/sys/...").
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

// First line of an attribute with trailing blanks and newline removed; nullopt when it
// cannot be read.
std::optional<std::string> read_attr(std::string_view path);
// An attribute with surrounding blanks removed (vendor and product fields come padded).
std::optional<std::string> read_trimmed(std::string_view path);
// Up to `limit` raw bytes of a binary attribute; empty when unreadable.
std::string read_bytes(std::string_view path, size_t limit = 4096);
// Entry names of a directory, sorted; empty when it cannot be listed.
std::vector<std::string> list_dir(std::string_view path);
bool path_exists(std::string_view path);
// The resolved appliance path (links followed); empty when it does not resolve.
std::string resolve(std::string_view path);
// "dddd:bb:dd.f" of PCI slot `slot` from "System PCIE SLOT <slot>" of the model description
// ("DEV_BUS", with "DEV_DOMAIN" prefixed when the bus has no domain); empty when absent.
std::string pci_slot_address(int slot);
// True when `path` has a component equal to `component`.
bool path_has_component(std::string_view path, std::string_view component);

}  // namespace bayhal
