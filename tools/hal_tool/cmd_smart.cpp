// hal_tool smart: a disk's health (read now, unless it sleeps), saved SMART pages decoded on
// their own, self-tests, and the appliance's warning policy.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bayhal/PD.h"
#include "tools/hal_tool/names.h"
#include "tools/hal_tool/smart_json.h"
#include "tools/hal_tool/words.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

constexpr size_t kPage = 512;

struct FreeInfo {
  void operator()(PD_SMART_INFO* p) const { std::free(p); }
};

std::string age_text(long long s) {
  if (s < 120) return std::to_string(s) + " s";
  if (s < 7200) return std::to_string(s / 60) + " min";
  if (s < 172800) return std::to_string(s / 3600) + " h";
  return std::to_string(s / 86400) + " days";
}

// The record's head as people read it; the attributes follow as a table.
void show(Context& ctx, const json& j) {
  json head = j;
  head.erase("attributes");
  json st = head["self_test"];
  head.erase("self_test");
  head["self_test"] = st["status_text"];
  head["self_test_progress"] = st["progress"];
  head["short_minutes"] = st["short_minutes"];
  head["extended_minutes"] = st["extended_minutes"];
  head["age"] = age_text(j["age_seconds"].get<long long>());
  head.erase("age_seconds");
  ctx.emit(j, fields_of(head));
  ctx.emit(j, "");
  ctx.emit(j, table_of(j["attributes"], kSmartColumns));
}

void disk(Context& ctx, const std::string& bay_text, bool cached) {
  auto bay = bay_arg(ctx, bay_text);
  if (!bay) return;
  std::string where = bay_name(bay->enc.id, bay->port);
  PD_INFO rec{};
  if (PD_Get_Info(bay->enc.id, bay->port, &rec) != 0)
    return ctx.fail("smart: no disk in bay " + where + " of " + bay->enc.identity);
  PD_SMART_INFO* raw = nullptr;
  int rc = cached ? PD_SMART_Read_Info(bay->enc.id, bay->port, &raw)
                  : PD_SMART_Update_Info(bay->enc.id, bay->port, &raw);
  std::unique_ptr<PD_SMART_INFO, FreeInfo> info(raw);
  if (rc == -2)
    return ctx.fail("smart: no reading of bay " + where +
                    (cached ? " is cached (hal_tool smart " + where + " reads the disk)"
                            : ": the disk is in standby and was never read (it is not woken for it)"));
  if (rc != 0) return ctx.fail("smart: cannot read the health of the disk in bay " + where + log_hint());
  json j{{"bay", where}, {"enc_id", bay->enc.id}, {"port_id", bay->port}, {"pd_sys_id", text_or_null(rec.pd_sys_id)}};
  j.update(smart_json(*info, std::time(nullptr)));
  int type = -1;
  long long when = 0;
  PD_SMART_Get_Last_Test_Type(bay->enc.id, bay->port, &type);
  PD_SMART_Get_Last_Test_Time(bay->enc.id, bay->port, &when);
  j["last_test"] = type < 0 ? json() : json(self_test_mode(type));
  j["last_test_time"] = when > 0 ? json(utc_time(static_cast<std::time_t>(when))) : json();
  show(ctx, j);
}

// The bytes of one saved page; on failure says why and returns false.
bool read_page(Context& ctx, const std::string& path, std::vector<unsigned char>& out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    ctx.fail("smart: cannot read " + path + ": " + std::strerror(errno));
    return false;
  }
  out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (out.size() < kPage) {
    ctx.fail("smart: " + path + " holds " + std::to_string(out.size()) + " bytes; a SMART page has 512");
    return false;
  }
  return true;
}

void from_pages(Context& ctx, const std::vector<std::string>& where) {
  std::string base = where[0] + "/" + where[1];
  std::vector<unsigned char> data, thresholds, identify;
  if (!read_page(ctx, base + ".smart_data.bin", data) || !read_page(ctx, base + ".smart_thresholds.bin", thresholds))
    return;
  PD_SMART_ATTR list[30];
  BAYHAL_TOOL_SMART_PAGES s{};
  int n = bayhal_tool_smart_decode(data.data(), static_cast<int>(data.size()), thresholds.data(),
                                   static_cast<int>(thresholds.size()), list, 30, &s);
  if (n < 0) return ctx.fail("smart: the pages of " + base + " do not decode");
  json j{{"pages", base}, {"model", nullptr}, {"serial", nullptr}, {"firmware", nullptr}};
  BAYHAL_TOOL_ATA_IDENTITY id{};
  std::ifstream probe(base + ".identify.bin");
  if (probe && read_page(ctx, base + ".identify.bin", identify) &&
      bayhal_tool_ata_identity(identify.data(), static_cast<int>(identify.size()), &id) == 0) {
    j["model"] = text_or_null(id.model);
    j["serial"] = text_or_null(id.serial);
    j["firmware"] = text_or_null(id.firmware);
  }
  json attrs = json::array();
  for (int k = 0; k < n; ++k)
    attrs.push_back(smart_attr_json(list[k].id, list[k].name, list[k].value, list[k].worst,
                                    list[k].thresh, list[k].raw, list[k].status_flag));
  auto known = [](int v) { return v < 0 ? json() : json(v); };
  j["verdict"] = s.verdict ? "threshold exceeded" : "passed";
  j["temperature_c"] = known(s.temperature);
  j["checksum_ok"] = s.checksum_ok != 0;
  j["thresholds_checksum_ok"] = s.thresholds_checksum_ok != 0;
  j["self_test"] = {{"status", s.test_status}, {"status_text", self_test_status(s.test_status)},
                    {"progress", s.test_progress}, {"short_minutes", s.short_minutes},
                    {"extended_minutes", s.extended_minutes}};
  j["attributes"] = attrs;
  if (!s.checksum_ok) ctx.warn("smart: " + base + ".smart_data.bin: the checksum byte is wrong (the page may be damaged)");
  if (!s.thresholds_checksum_ok)
    ctx.warn("smart: " + base + ".smart_thresholds.bin: the checksum byte is wrong (the page may be damaged)");
  json head = j;
  head.erase("attributes");
  head["self_test"] = j["self_test"]["status_text"];
  ctx.emit(j, fields_of(head));
  ctx.emit(j, "");
  ctx.emit(j, table_of(attrs, kSmartColumns));
}

void test(Context& ctx, const std::string& bay_text, const std::string& kind) {
  int mode = kind == "short" ? PD_SELF_TEST_SHORT : kind == "extended" ? PD_SELF_TEST_EXTENDED
           : kind == "abort" ? PD_SELF_TEST_ABORT : 0;
  if (mode == 0) return ctx.usage("bad self-test '" + kind + "': expected short, extended or abort");
  auto bay = bay_arg(ctx, bay_text);
  if (!bay) return;
  std::string where = bay_name(bay->enc.id, bay->port);
  json j{{"bay", where}, {"test", kind}, {"started", false}};
  ctx.set_result(j);
  PD_INFO rec{};
  if (PD_Get_Info(bay->enc.id, bay->port, &rec) != 0)
    return ctx.fail("smart test: no disk in bay " + where + " of " + bay->enc.identity);
  if (PD_Set_Self_Test_Mode(bay->enc.id, bay->port, mode) != 0)
    return ctx.fail("smart test: the disk in bay " + where + " did not take the " + kind + " self-test" + log_hint());
  j["started"] = true;
  ctx.emit(j, mode == PD_SELF_TEST_ABORT ? "aborted the self-test of the disk in bay " + where
                                         : "started a " + kind + " self-test of the disk in bay " + where +
                                               " (hal_tool smart " + where + " shows its progress)");
}

struct PolicyEdits {
  int policy = -1;
  std::vector<std::string> enable, disable, value;
};

int policy_index(unsigned id) {
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i)
    if (kSmartWarningIds[i] == id) return i;
  return -1;
}

// Applies the edits to `c`; false (with the reason) for an attribute the policy does not hold.
bool edit_policy(Context& ctx, const PolicyEdits& e, PD_SMART_WARNING_CONF& c) {
  auto index = [&](const std::string& text) {
    long long id = 0;
    int i = number_arg(ctx, "attribute", text, 1, 255, id) ? policy_index(static_cast<unsigned>(id)) : -2;
    if (i == -1) ctx.usage("bad attribute '" + text + "': the policy holds 5, 187, 188, 197 and 198");
    return i;
  };
  if (e.policy >= 0) c.policy = e.policy;
  for (const auto& t : e.enable) { int i = index(t); if (i < 0) return false; c.attr[i].enable = 1; }
  for (const auto& t : e.disable) { int i = index(t); if (i < 0) return false; c.attr[i].enable = 0; }
  for (const auto& t : e.value) {
    size_t eq = t.find('=');
    long long v = 0;
    int i = index(t.substr(0, eq));
    if (i < 0) return false;
    if (eq == std::string::npos) return ctx.usage("bad value '" + t + "': expected ID=VALUE, e.g. 197=0"), false;
    if (!number_arg(ctx, "value", t.substr(eq + 1), 0, INT32_MAX, v)) return false;
    c.attr[i].value = static_cast<int>(v);
  }
  return true;
}

void policy(Context& ctx, const PolicyEdits& e) {
  PD_SMART_WARNING_CONF c{};
  if (PD_SMART_WARNING_GET_CONF(&c) != 0) return ctx.fail("smart policy: cannot read the warning policy" + log_hint());
  bool editing = e.policy >= 0 || !e.enable.empty() || !e.disable.empty() || !e.value.empty();
  if (editing) {
    if (!edit_policy(ctx, e, c)) return;
    if (PD_SMART_WARNING_SET_CONF(&c) != 0) return ctx.fail("smart policy: cannot write the warning policy" + log_hint());
  }
  json attrs = json::array();
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i)
    attrs.push_back({{"id", kSmartWarningIds[i]}, {"enable", c.attr[i].enable != 0}, {"value", c.attr[i].value}});
  json j{{"policy", c.policy}, {"escalate", c.policy != 0}, {"attributes", attrs}};
  ctx.emit(j, fields_of(json{{"policy", c.policy}, {"escalate", c.policy != 0}}));
  ctx.emit(j, "");
  ctx.emit(j, table_of(attrs, {"id", "enable", "value"}));
}

void add_smart(CLI::App& app, Context& ctx) {
  static std::string bay, test_bay, test_kind;
  static std::vector<std::string> pages;
  static bool cached = false;
  static PolicyEdits edits;
  static CLI::App* smart = nullptr;
  smart = ctx.add_command(&app, "smart", "a disk's health (SMART), read now unless it sleeps", "smart", [&ctx] {
    // After a verb's own callback, which has done the run.
    if (!smart->get_subcommands().empty()) return;
    if (!pages.empty()) return from_pages(ctx, pages);
    if (bay.empty()) return ctx.usage("smart needs a BAY (ENC/PORT, e.g. 0/3), or --from-pages DIR NAME");
    disk(ctx, bay, cached);
  });
  smart->add_option("bay", bay, "BAY: ENC/PORT, e.g. 0/3 or root/3");
  smart->add_option("--from-pages", pages, "decode saved pages DIR/NAME.smart_data.bin, .smart_thresholds.bin (and .identify.bin)")
      ->expected(2)->type_name("DIR NAME");
  smart->add_flag("--cached", cached, "show the last reading without asking the disk");
  smart->require_subcommand(0, 1);
  CLI::App* t = ctx.add_command(smart, "test", "start a self-test: short, extended (or abort one)", "self_test",
                                [&ctx] { test(ctx, test_bay, test_kind); });
  t->add_option("bay", test_bay, "BAY: ENC/PORT")->required();
  t->add_option("kind", test_kind, "short, extended or abort")->required();
  CLI::App* p = ctx.add_command(smart, "policy", "the warning policy for attributes 5, 187, 188, 197, 198",
                                "smart_policy", [&ctx] { policy(ctx, edits); });
  p->add_option("--policy", edits.policy, "0: over-limit attributes warn; 1: they count as a SMART error")
      ->check(CLI::Range(0, 1));
  p->add_option("--enable", edits.enable, "ID: warn for this attribute");
  p->add_option("--disable", edits.disable, "ID: no warning for this attribute");
  p->add_option("--value", edits.value, "ID=VALUE: warn when the raw value exceeds VALUE");
}

}  // namespace

HAL_TOOL_COMMAND(add_smart);

}  // namespace hal_tool
