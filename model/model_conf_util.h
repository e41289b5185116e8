// Small helpers shared by the model description's steps.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "ini/ini_store.h"
#include "model/model_conf.h"

namespace bayhal::model {

std::string lower(std::string_view s);

// "System Enclosure" of the live description.
std::optional<ini::Section> system_enclosure();
// "CAP" (hexadecimal) of "System Enclosure"; nullopt when absent.
std::optional<unsigned> read_cap();
// Rewrites "CAP" as "0x%x"; false (traced) when the write fails.
bool write_cap(const char* who, unsigned cap);

// Clears `clear` and sets `set` in CAP; a result named `name` saying what happened.
FixupResult change_cap(const char* name, unsigned clear, unsigned set, const std::string& why);

FixupResult unchanged(const char* name, std::string why);

}  // namespace bayhal::model
