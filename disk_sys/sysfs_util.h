// Small readers of the kernel's device tree for discovery. Every path is an appliance path
// ("/sys/..."), resolved under the system root; results are appliance paths too.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

bool sysfs_exists(std::string_view path);  // follows links
bool sysfs_is_dir(std::string_view path);
// Entry names of a folder, sorted the way people read them ("host2" before "host10").
std::vector<std::string> sysfs_list(std::string_view dir);
// First line of an attribute without the newline and surrounding blanks; nullopt when the
// file cannot be read.
std::optional<std::string> sysfs_read(std::string_view path);
// Integer attribute (decimal, or hexadecimal with 0x); nullopt when absent or unparsable.
std::optional<long long> sysfs_read_int(std::string_view path);
// Writes `value` to an attribute; false on failure.
bool sysfs_write(std::string_view path, std::string_view value);
// The path with every link resolved, as an appliance path; empty when it does not exist.
std::string sysfs_resolve(std::string_view path);
// Last component of a link's target ("/sys/.../driver" -> "ahci"); empty when not a link.
std::string sysfs_link_name(std::string_view path);

// Parses "<prefix><n>" at the start of `name` (e.g. "host3" with "host"); -1 when not.
int index_after(std::string_view name, std::string_view prefix);
// Integer from model-description text: decimal, or hexadecimal with 0x.
std::optional<long long> parse_number(std::string_view text);

}  // namespace bayhal
