// Read-only access to one key of a disk store, shared by the PD_* getters. Nothing here
// creates a file, a section or a key.
#pragma once
#include <optional>
#include <string>

namespace bayhal::disk {

// Copies the key's value into buf (emptied first). The length, or -1 when the file,
// section or key is missing or the buffer is unusable.
int get_text(const std::string& file, const std::string& section, const char* key, char* buf,
             int size);
// Decimal value of the key.
std::optional<long long> get_number(const std::string& file, const std::string& section,
                                    const char* key);
// True when buf can take at least the terminator.
bool usable_buffer(const char* buf, int size);

// A section of the live store of `enc_id` holding `port_id` by the reader's rule.
std::string live_section(int port_id);

}  // namespace bayhal::disk
