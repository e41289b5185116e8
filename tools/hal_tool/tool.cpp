#include "tools/hal_tool/tool.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

std::vector<Registrar>& registrars() {
  static std::vector<Registrar> all;
  return all;
}

std::string path_through(int (*fn)(const char*, char*, int), const std::string& path) {
  std::vector<char> buf(path.size() + 4096);
  return fn(path.c_str(), buf.data(), static_cast<int>(buf.size())) >= 0 ? std::string(buf.data()) : path;
}

}  // namespace

bool register_command(Registrar r) {
  registrars().push_back(r);
  return true;
}

void register_all(CLI::App& app, Context& ctx) {
  for (Registrar r : registrars()) r(app, ctx);
}

json text_or_null(std::string_view text) { return text.empty() ? json() : json(std::string(text)); }

std::optional<long long> parse_number(std::string_view text, long long lo, long long hi) {
  long long v = 0;
  const char* b = text.data();
  const char* e = b + text.size();
  std::from_chars_result r{};
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    unsigned long long u = 0;
    r = std::from_chars(b + 2, e, u, 16);
    if (r.ec != std::errc() || r.ptr != e || u > static_cast<unsigned long long>(INT64_MAX)) return std::nullopt;
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
    ctx.usage("bad " + std::string(what) + " '" + text + "': expected a number from " +
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
  ctx.usage("bad " + std::string(what) + " '" + text + "': expected on or off");
  return false;
}

std::string host_path(const std::string& appliance_path) {
  return path_through(bayhal_tool_host_path, appliance_path);
}

std::string appliance_path(const std::string& host) { return path_through(bayhal_tool_appliance_path, host); }

std::string log_hint() {
  char log[4096];
  unsigned mask = 0;
  if (bayhal_tool_trace_log(log, sizeof log, &mask) != 0) return "";
  return " (details in " + std::string(log) + ")";
}

std::optional<json> read_section(Context& ctx, const std::string& what, const std::string& file,
                                 const std::string& section) {
  json keys = json::object();
  int err = 0;
  auto add = [](void* arg, const char* k, const char* v) { (*static_cast<json*>(arg))[k] = v; };
  int rc = bayhal_tool_read_section(file.c_str(), section.c_str(), add, &keys, &err);
  if (rc == 1) return keys;
  std::string where = host_path(file);
  if (rc < 0)
    ctx.fail(what + ": cannot read " + where + ": " + std::strerror(err));
  else
    ctx.fail(what + ": no section [" + section + "] in " + where);
  return std::nullopt;
}

}  // namespace hal_tool
