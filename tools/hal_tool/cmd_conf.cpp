// hal_tool conf get|set|del FILE SECTION KEY [VALUE], conf bitmap FILE SECTION KEY: the
// configuration store as a person inspects it. SECTION "" is the unnamed leading section.
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

struct Args {
  std::string file, section, key, value;
};

json place(const Args& a) { return {{"file", a.file}, {"section", a.section}, {"key", a.key}}; }

std::string where(const Args& a) { return "'" + a.key + "' in [" + a.section + "] of " + host_path(a.file); }

// The key's value; nullopt (reported) when the file, the section or the key is missing.
std::optional<std::string> value_of(Context& ctx, const std::string& what, const Args& a) {
  auto keys = read_section(ctx, what, a.file, a.section);
  if (!keys) return std::nullopt;
  if (!keys->contains(a.key)) {
    ctx.fail(what + ": no key " + where(a));
    return std::nullopt;
  }
  return (*keys)[a.key].get<std::string>();
}

void get(Context& ctx, const Args& a) {
  json j = place(a);
  auto value = value_of(ctx, "conf get", a);
  j["found"] = value.has_value();
  j["value"] = value ? json(*value) : json();
  if (value)
    ctx.emit(j, *value);
  else
    ctx.set_result(j);
}

void set(Context& ctx, const Args& a) {
  int rc = Ini_Conf_Set_Field(a.file.c_str(), a.section.c_str(), a.key.c_str(), a.value.c_str());
  json j = place(a);
  j["value"] = a.value;
  j["written"] = rc > 0;
  if (rc > 0) return ctx.emit(j, "set");
  ctx.set_result(j);
  ctx.fail("conf set: cannot set " + where(a) + log_hint());
}

void del(Context& ctx, const Args& a) {
  int rc = Ini_Conf_Remove_Field(a.file.c_str(), a.section.c_str(), a.key.c_str());
  json j = place(a);
  j["removed"] = rc > 0;
  if (rc >= 0) return ctx.emit(j, rc > 0 ? "removed" : "not present");
  ctx.set_result(j);
  ctx.fail("conf del: cannot remove " + where(a) + log_hint());
}

void bitmap(Context& ctx, const Args& a) {
  json j = place(a);
  j["count"] = nullptr;
  j["bits"] = nullptr;
  ctx.set_result(j);
  if (!value_of(ctx, "conf bitmap", a)) return;
  const char *f = a.file.c_str(), *s = a.section.c_str(), *k = a.key.c_str();
  int count = Ini_Conf_Bitmap_Get_Set_Count(f, s, k);
  if (count < 0) return ctx.fail("conf bitmap: " + where(a) + " is not a bitmap" + log_hint());
  std::vector<int> bits(static_cast<size_t>(count));
  int n = count > 0 ? Ini_Conf_Bitmap_Enumerate(f, s, k, bits.data(), count, nullptr, nullptr) : 0;
  bits.resize(n > 0 ? static_cast<size_t>(n) : 0);
  j["count"] = bits.size();
  j["bits"] = bits;
  ctx.emit(j, bits.empty() ? "(no bits set)" : bayhal::cli::cell(j["bits"]));
}

void add_place(CLI::App* cmd, Args& a) {
  cmd->add_option("file", a.file, "store file (appliance path, e.g. /etc/hal.conf)")->required();
  cmd->add_option("section", a.section, "section name (\"\" for the leading keys)")->required();
  cmd->add_option("key", a.key, "key")->required();
}

void add_conf(CLI::App& app, Context& ctx) {
  CLI::App* conf = ctx.area(app, "conf", "configuration store (INI files)");
  static Args args;
  add_place(ctx.add_command(conf, "get", "print the value of a key", "conf", [&ctx] { get(ctx, args); }), args);
  CLI::App* st = ctx.add_command(conf, "set", "set a key (file and section created as needed)", "conf",
                                 [&ctx] { set(ctx, args); });
  add_place(st, args);
  st->add_option("value", args.value, "value")->required();
  add_place(ctx.add_command(conf, "del", "remove a key", "conf", [&ctx] { del(ctx, args); }), args);
  add_place(ctx.add_command(conf, "bitmap", "list the set bits of a bitmap key", "conf",
                            [&ctx] { bitmap(ctx, args); }),
            args);
}

}  // namespace

HAL_TOOL_COMMAND(add_conf);

}  // namespace hal_tool
