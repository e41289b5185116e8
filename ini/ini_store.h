// Internal interface of the configuration store, for the registries: one consistent read
// of a whole section and one atomic write of several keys. The exported Ini_Conf_* calls
// are thin wrappers over the same machinery.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bayhal::ini {

// The keys of one section in file order. The views point into the section's own copy of
// its keys and values (one block, shared by copies of the section), so a read costs two
// allocations whatever the number of keys.
struct Section {
  std::vector<std::pair<std::string_view, std::string_view>> entries;

  // The value of `key`; nullptr when absent.
  const std::string_view* find(std::string_view key) const;
  // Decimal (hex false) or hexadecimal (hex true, 0x optional) value; nullopt when absent
  // or unparsable.
  std::optional<long long> get_int(std::string_view key, bool hex = false) const;
  // Copies the value into a caller buffer the way Ini_Conf_Get_Field does; false if absent.
  bool get_text(std::string_view key, char* buf, size_t size) const;

  // Makes the section own copies of `views` (into a text about to go away).
  void take(const std::vector<std::pair<std::string_view, std::string_view>>& views);

 private:
  std::shared_ptr<const char[]> text_;
};

// Reads one section with a single open of `file` (absolute, resolved under the root).
// nullopt when the file or the section is missing.
std::optional<Section> read_section(std::string_view file, std::string_view section);

// Names of every section in file order (the unnamed leading section is not listed).
std::vector<std::string> list_sections(std::string_view file);

// Sets each key of `values` in `section` (created as needed) in one atomic write; keys
// in `remove` are deleted in the same write. Returns 0 on success, negative on failure.
int write_keys(std::string_view file, std::string_view section,
               const std::vector<std::pair<std::string, std::string>>& values,
               const std::vector<std::string>& remove = {});

}  // namespace bayhal::ini
