#include "tools/hal_tool/smart_json.h"

#include <cstdio>
#include <cstring>

#include "tools/hal_tool/words.h"

namespace hal_tool {
namespace {

json known(int v) { return v < 0 ? json() : json(v); }

const char* type_word(int type) {
  return type == PD_SMART_TYPE_ATA ? "ata" : type == PD_SMART_TYPE_SAS ? "sas" : type == PD_SMART_TYPE_NVME ? "nvme" : "unknown";
}

}  // namespace

std::string utc_time(std::time_t t) {
  std::tm tm{};
  gmtime_r(&t, &tm);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &tm);
  return text;
}

json smart_attr_json(unsigned id, const char* name, int value, int worst, int threshold,
                     unsigned long long raw, unsigned flags) {
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%04x", flags);
  return {{"id", id}, {"name", name}, {"value", value}, {"worst", worst},
          {"threshold", threshold}, {"raw", raw}, {"flags", hex}};
}

json smart_json(const PD_SMART_INFO& i, std::time_t now) {
  json attrs = json::array();
  for (int k = 0; k < i.count; ++k) {
    const PD_SMART_ENTRY& e = i.attrs[k];
    char name[PD_SMART_NAME_LEN + 1] = {};
    std::memcpy(name, e.name, sizeof e.name);
    attrs.push_back(smart_attr_json(e.id, name, e.value, e.worst, e.threshold, e.raw, e.flags));
  }
  return {{"verdict", smart_verdict(i.verdict)},
          {"type", type_word(i.type)},
          {"temperature_c", known(i.temperature)},
          {"power", (i.state & PD_SMART_STATE_STANDBY) ? "standby" : "active"},
          {"read_time", utc_time(i.read_time)},
          {"age_seconds", now > i.read_time ? static_cast<long long>(now - i.read_time) : 0},
          {"skipped", i.skipped},
          {"self_test",
           {{"status", known(i.test_status)},
            {"status_text", self_test_status(i.test_status)},
            {"progress", known(i.test_progress)},
            {"short_minutes", known(i.short_minutes)},
            {"extended_minutes", known(i.extended_minutes)}}},
          {"warnings", smart_warnings(i.warnings)},
          {"checksum_ok", !(i.state & PD_SMART_STATE_BAD_CHECKSUM)},
          {"attributes", attrs}};
}

}  // namespace hal_tool
