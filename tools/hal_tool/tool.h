// hal_tool's command plumbing: each area registers its subcommands from its own file.
#pragma once
#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hal_tool {

// Exit codes of the tool.
constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

struct Context {
  bool json = false;
  int exit_code = kOk;
};

// An aligned text table for human output.
struct Table {
  std::vector<std::string> headers;
  std::vector<std::vector<std::string>> rows;
};

// Prints `j` (with --json) or `table`.
void emit(const Context& ctx, const nlohmann::json& j, const Table& table);
// Prints `j` (with --json) or `text` followed by a newline.
void emit(const Context& ctx, const nlohmann::json& j, const std::string& text);
// Reports a failed operation on stderr and sets exit code 1.
void fail(Context& ctx, const std::string& message);
// Reports bad usage (one line on stderr) and sets exit code 2.
void usage(Context& ctx, const std::string& message);

// A whole decimal or 0x-hexadecimal number (optional minus sign for decimal) within
// [lo, hi]; nullopt for anything else, including text after the digits.
std::optional<long long> parse_number(std::string_view text, long long lo, long long hi);
// parse_number for an argument: on failure reports "bad <what> '<text>': expected a number
// from <lo> to <hi>" as bad usage and returns false.
bool number_arg(Context& ctx, std::string_view what, const std::string& text, long long lo,
                long long hi, long long& out);
// "on"/"off" for an argument; other text is bad usage.
bool on_off_arg(Context& ctx, std::string_view what, const std::string& text, bool& on);

// The area subcommand `name` ("disk", "enc", ...), created on first use so that several
// command files can add verbs under one area.
CLI::App* area(CLI::App& app, const std::string& name, const std::string& description);

using Registrar = void (*)(CLI::App& app, Context& ctx);
// Adds a registrar; called from static initialisers in each command file.
bool register_command(Registrar r);

}  // namespace hal_tool

// Use inside namespace hal_tool, after the registrar function: HAL_TOOL_COMMAND(add_x);
#define HAL_TOOL_COMMAND(fn) \
  [[maybe_unused]] static const bool hal_tool_registered_##fn = ::hal_tool::register_command(&fn)
