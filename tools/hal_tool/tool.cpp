#include "tools/hal_tool/tool.h"

#include <algorithm>
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

void register_all(CLI::App& app, Context& ctx) {
  for (Registrar r : registrars()) r(app, ctx);
}

}  // namespace hal_tool
