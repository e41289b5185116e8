#include "tools/hal_tool/tool.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <iostream>

namespace hal_tool {
namespace {

std::vector<Registrar>& registrars() {
  static std::vector<Registrar> all;
  return all;
}

void print_table(const Table& t) {
  std::vector<size_t> width(t.headers.size(), 0);
  for (size_t i = 0; i < t.headers.size(); ++i) width[i] = t.headers[i].size();
  for (const auto& row : t.rows)
    for (size_t i = 0; i < row.size() && i < width.size(); ++i)
      width[i] = std::max(width[i], row[i].size());
  auto line = [&](const std::vector<std::string>& cells) {
    std::string out;
    for (size_t i = 0; i < width.size(); ++i) {
      std::string cell = i < cells.size() ? cells[i] : "";
      if (i + 1 < width.size()) cell.resize(width[i], ' ');
      out += cell;
      if (i + 1 < width.size()) out += "  ";
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
    std::cout << out << '\n';
  };
  line(t.headers);
  for (const auto& row : t.rows) line(row);
}

}  // namespace

CLI::App* area(CLI::App& app, const std::string& name, const std::string& description) {
  for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
    if (sub->get_name() == name) return sub;
  CLI::App* sub = app.add_subcommand(name, description);
  sub->require_subcommand(1);
  return sub;
}

bool register_command(Registrar r) {
  registrars().push_back(r);
  return true;
}

void emit(const Context& ctx, const nlohmann::json& j, const Table& table) {
  if (ctx.json)
    std::cout << j.dump(2) << '\n';
  else
    print_table(table);
}

void emit(const Context& ctx, const nlohmann::json& j, const std::string& text) {
  if (ctx.json)
    std::cout << j.dump(2) << '\n';
  else
    std::cout << text << '\n';
}

void fail(Context& ctx, const std::string& message) {
  std::cerr << "hal_tool: " << message << '\n';
  ctx.exit_code = kFailed;
}

void usage(Context& ctx, const std::string& message) {
  std::cerr << "hal_tool: " << message << '\n';
  ctx.exit_code = kUsage;
}

std::optional<long long> parse_number(std::string_view text, long long lo, long long hi) {
  long long v = 0;
  const char* b = text.data();
  const char* e = b + text.size();
  std::from_chars_result r{};
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    unsigned long long u = 0;
    r = std::from_chars(b + 2, e, u, 16);
    if (r.ec != std::errc() || r.ptr != e || b + 2 == e || u > static_cast<unsigned long long>(INT64_MAX))
      return std::nullopt;
    v = static_cast<long long>(u);
  } else {
    r = std::from_chars(b, e, v, 10);
    if (text.empty() || r.ec != std::errc() || r.ptr != e) return std::nullopt;
  }
  if (v < lo || v > hi) return std::nullopt;
  return v;
}

bool number_arg(Context& ctx, std::string_view what, const std::string& text, long long lo,
                long long hi, long long& out) {
  auto v = parse_number(text, lo, hi);
  if (!v) {
    usage(ctx, "bad " + std::string(what) + " '" + text + "': expected a number from " +
                   std::to_string(lo) + " to " + std::to_string(hi));
    return false;
  }
  out = *v;
  return true;
}

bool on_off_arg(Context& ctx, std::string_view what, const std::string& text, bool& on) {
  if (text == "on" || text == "off") {
    on = text == "on";
    return true;
  }
  usage(ctx, "bad " + std::string(what) + " '" + text + "': expected on or off");
  return false;
}

void register_all(CLI::App& app, Context& ctx) {
  for (Registrar r : registrars()) r(app, ctx);
}

}  // namespace hal_tool
