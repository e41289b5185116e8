// The one reader of the kernel's trees and other small files (sysfs, /proc, the appliance's
// data files). Every path is an appliance path ("/sys/..."), resolved under the system root;
// results are appliance paths too. Every read is bounded.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

// The whole file; nullopt when it cannot be read or is larger than `max` bytes.
std::optional<std::string> read_file(std::string_view path, size_t max = 64 * 1024);
// The first `n` bytes at most, for binary attributes whose size the kernel fixes (PCI
// configuration space, VPD pages); nullopt when the file cannot be read.
std::optional<std::string> read_head(std::string_view path, size_t n);

// First line of an attribute, trimmed; nullopt when the file cannot be read.
std::optional<std::string> sysfs_read(std::string_view path);
// Integer attribute (decimal, or hexadecimal with 0x); nullopt when absent or unparsable.
std::optional<long long> sysfs_read_int(std::string_view path);
// Writes `value` to an attribute; false on failure.
bool sysfs_write(std::string_view path, std::string_view value);

bool sysfs_exists(std::string_view path);  // follows links
bool sysfs_is_dir(std::string_view path);
// Entry names of a folder, sorted the way people read them ("host2" before "host10").
std::vector<std::string> sysfs_list(std::string_view dir);
// The path with every link resolved, as an appliance path; empty when it does not exist.
std::string sysfs_resolve(std::string_view path);
// Last component of a link's target ("/sys/.../driver" -> "ahci"); empty when not a link.
std::string sysfs_link_name(std::string_view path);

}  // namespace bayhal
