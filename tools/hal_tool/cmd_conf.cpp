// hal_tool conf get|set|del FILE SECTION KEY [VALUE], conf bitmap FILE SECTION KEY: the
// configuration store as a person inspects it. SECTION "" is the unnamed leading section.
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "ini/ini_store.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

struct Args {
  std::string file, section, key, value;
};

nlohmann::json where(const Args& a) {
  return {{"file", a.file}, {"section", a.section}, {"key", a.key}};
}

void add_place(CLI::App* cmd, Args& a) {
  cmd->add_option("file", a.file, "store file (appliance path, e.g. /etc/hal.conf)")->required();
  cmd->add_option("section", a.section, "section name (\"\" for the leading keys)")->required();
  cmd->add_option("key", a.key, "key")->required();
}

void get(Context& ctx, const Args& a) {
  // The section reader returns whole values, however long (bitmaps can be).
  auto section = bayhal::ini::read_section(a.file, a.section);
  const std::string_view* value = section ? section->find(a.key) : nullptr;
  nlohmann::json j = where(a);
  j["found"] = value != nullptr;
  j["value"] = value ? nlohmann::json(*value) : nlohmann::json();
  if (value == nullptr) {
    if (ctx.json) emit(ctx, j, "");
    fail(ctx, "conf get: " + std::string(section ? "no key '" + a.key + "' in" : "no section") +
                  " [" + a.section + "] of " + a.file);
    return;
  }
  emit(ctx, j, std::string(*value));
}

void set(Context& ctx, const Args& a) {
  int rc = Ini_Conf_Set_Field(a.file.c_str(), a.section.c_str(), a.key.c_str(), a.value.c_str());
  nlohmann::json j = where(a);
  j["value"] = a.value;
  j["written"] = rc > 0;
  if (rc <= 0) {
    fail(ctx, "conf set: cannot set '" + a.key + "' in [" + a.section + "] of " + a.file +
                  " (see the trace log)");
    return;
  }
  emit(ctx, j, "set");
}

void del(Context& ctx, const Args& a) {
  int rc = Ini_Conf_Remove_Field(a.file.c_str(), a.section.c_str(), a.key.c_str());
  nlohmann::json j = where(a);
  j["removed"] = rc > 0;
  if (rc < 0) {
    fail(ctx, "conf del: cannot remove '" + a.key + "' from [" + a.section + "] of " + a.file +
                  " (see the trace log)");
    return;
  }
  emit(ctx, j, rc > 0 ? "removed" : "not present");
}

void bitmap(Context& ctx, const Args& a) {
  const char *f = a.file.c_str(), *s = a.section.c_str(), *k = a.key.c_str();
  int count = Ini_Conf_Bitmap_Get_Set_Count(f, s, k);
  if (count < 0) {
    fail(ctx, "conf bitmap: '" + a.key + "' in [" + a.section + "] of " + a.file +
                  " is not a bitmap (see the trace log)");
    return;
  }
  std::vector<int> bits(static_cast<size_t>(count));
  int n = count > 0 ? Ini_Conf_Bitmap_Enumerate(f, s, k, bits.data(), count, nullptr, nullptr) : 0;
  bits.resize(n > 0 ? static_cast<size_t>(n) : 0);
  std::string text;
  for (int b : bits) text += (text.empty() ? "" : ",") + std::to_string(b);
  nlohmann::json j = where(a);
  j["count"] = bits.size();
  j["bits"] = bits;
  emit(ctx, j, text.empty() ? "(no bits set)" : text);
}

void add_conf(CLI::App& app, Context& ctx) {
  CLI::App* conf = area(app, "conf", "configuration store (INI files)");
  static Args args;
  CLI::App* g = conf->add_subcommand("get", "print the value of a key");
  add_place(g, args);
  g->callback([&ctx] { get(ctx, args); });
  CLI::App* st = conf->add_subcommand("set", "set a key (file and section created as needed)");
  add_place(st, args);
  st->add_option("value", args.value, "value")->required();
  st->callback([&ctx] { set(ctx, args); });
  CLI::App* d = conf->add_subcommand("del", "remove a key");
  add_place(d, args);
  d->callback([&ctx] { del(ctx, args); });
  CLI::App* b = conf->add_subcommand("bitmap", "list the set bits of a bitmap key");
  add_place(b, args);
  b->callback([&ctx] { bitmap(ctx, args); });
}

}  // namespace

HAL_TOOL_COMMAND(add_conf);

}  // namespace hal_tool
