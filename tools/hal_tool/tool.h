// hal_tool's command plumbing: each area registers its subcommands from its own cmd_*.cpp.
// The conventions (options, envelope, errors, tables) come from tools/cli; what names a
// thing on the command line (an enclosure, a bay) from names.h.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "tools/cli/cli.h"

namespace hal_tool {

using bayhal::cli::json;
using bayhal::cli::Table;
using Context = bayhal::cli::Run;
using bayhal::cli::fields_of;
using bayhal::cli::table_of;

// A text value for the result: null when it is empty (a missing value is null, never "").
json text_or_null(std::string_view text);

// A whole decimal or 0x-hexadecimal number (optional minus sign for decimal) within
// [lo, hi]; nullopt for anything else, including text after the digits.
std::optional<long long> parse_number(std::string_view text, long long lo, long long hi);
// parse_number for an argument: on failure reports "bad <what> '<text>': expected a number
// from <lo> to <hi>" as bad usage and returns false.
bool number_arg(Context& ctx, std::string_view what, const std::string& text, long long lo,
                long long hi, long long& out);
// "on"/"off" for an argument; other text is bad usage.
bool on_off_arg(Context& ctx, std::string_view what, const std::string& text, bool& on);

// Where the library's details of a failure are: " (details in HOST_PATH_OF_THE_LOG)".
std::string log_hint();
// The host path of an appliance path, as the library resolves it under the system root.
std::string host_path(const std::string& appliance_path);
// The appliance path of a host path under the system root.
std::string appliance_path(const std::string& host_path);

// One section of a store file in file order; on failure reports why (the file cannot be
// read and the system's reason, or no such section) as `what: reason` and returns nullopt.
std::optional<json> read_section(Context& ctx, const std::string& what, const std::string& file,
                                 const std::string& section);

using Registrar = void (*)(CLI::App& app, Context& ctx);
// Adds a registrar; called from static initialisers in each command file.
bool register_command(Registrar r);
void register_all(CLI::App& app, Context& ctx);

}  // namespace hal_tool

// Use inside namespace hal_tool, after the registrar function: HAL_TOOL_COMMAND(add_x);
#define HAL_TOOL_COMMAND(fn) \
  [[maybe_unused]] static const bool hal_tool_registered_##fn = ::hal_tool::register_command(&fn)
