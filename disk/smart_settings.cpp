// PD_SMART_* getters of the settings store.
#include "disk/smart_settings.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

namespace bayhal::disk {
namespace {

constexpr char kSection[] = "SMART";
constexpr int kDefaultThreshold = 55;
constexpr int kDefaultThresholdSsd = 70;

// The disk's keys, read with one open of the file.
class Settings {
 public:
  Settings(int enc_id, int port_id)
      : port_(port_id), section_(ini::read_section(smart_settings_file(enc_id), kSection)) {}

  // "<base> <port>" and "HD <port> <base>".
  std::optional<long long> number(const char* base, bool hd = false, int radix = 10) const {
    char key[96];
    if (hd)
      std::snprintf(key, sizeof key, "HD %d %s", port_, base);
    else
      std::snprintf(key, sizeof key, "%s %d", base, port_);
    const std::string_view* v = section_ ? section_->find(key) : nullptr;
    if (v == nullptr) return std::nullopt;
    std::string text(*v);
    char* end = nullptr;
    errno = 0;
    unsigned long long n = std::strtoull(text.c_str(), &end, radix);
    if (text.empty() || end == text.c_str() || *end != '\0' || errno != 0) return std::nullopt;
    return static_cast<long long>(n);
  }
  int flag(const char* base) const { return number(base).value_or(0) != 0 ? 1 : 0; }

 private:
  int port_;
  std::optional<ini::Section> section_;
};

int threshold_of(const Settings& s, int enc_id, int port_id) {
  if (auto t = s.number("Temperature Threshold")) return static_cast<int>(*t & 0xff);
  PD_INFO info{};
  bool ssd = PD_Get_Info(enc_id, port_id, &info) == 0 && (info.capabilities & PD_CAP_SSD);
  return ssd ? kDefaultThresholdSsd : kDefaultThreshold;
}

int fahrenheit_of(const Settings& s, int celsius) {
  return static_cast<int>(s.number("Temperature Threshold (F)").value_or(celsius * 9 / 5 + 32));
}

const char* schedule_key(int type) { return type == 1 ? "Short Test Schedule" : "Extended Test Schedule"; }
const char* enabled_key(int type) { return type == 1 ? "Enable Short Schedule" : "Enable Extended Schedule"; }

void entry(const char* fn, int enc_id, int port_id) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
}

}  // namespace

std::string smart_settings_file(int enc_id) {
  if (enc_id == 0) return "/etc/config/smart.conf";
  char name[64];
  std::snprintf(name, sizeof name, "/etc/config/smart_%d.conf", enc_id);
  return name;
}

int smart_temp_threshold(int enc_id, int port_id) {
  return threshold_of(Settings(enc_id, port_id), enc_id, port_id);
}

int smart_record_test(int enc_id, int port_id, int type, long long when) {
  char type_key[64], time_key[64];
  std::snprintf(type_key, sizeof type_key, "HD %d Last Test Type", port_id);
  std::snprintf(time_key, sizeof time_key, "HD %d Last Test Time", port_id);
  return ini::write_keys(smart_settings_file(enc_id), kSection,
                         {{type_key, std::to_string(type)}, {time_key, std::to_string(when)}}) == 0
             ? 0
             : -1;
}

}  // namespace bayhal::disk

using bayhal::disk::Settings;

BAYHAL_EXPORT int PD_SMART_Get_Temp_Thres(int enc_id, int port_id, unsigned char* celsius) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (celsius == nullptr) return -1;
  *celsius = static_cast<unsigned char>(bayhal::disk::smart_temp_threshold(enc_id, port_id));
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Temp_Thres_F(int enc_id, int port_id, int* fahrenheit) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (fahrenheit == nullptr) return -1;
  Settings s(enc_id, port_id);
  *fahrenheit = bayhal::disk::fahrenheit_of(s, bayhal::disk::threshold_of(s, enc_id, port_id));
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Is_Temp_Thresh_Enabled(int enc_id, int port_id) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  return Settings(enc_id, port_id).flag("Enable Temperature Threshold");
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_SMART_Is_Schedule_Enabled(int enc_id, int port_id, int type) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  return Settings(enc_id, port_id).flag(bayhal::disk::enabled_key(type));
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_SMART_Get_Test_Schedule(int enc_id, int port_id, int type, unsigned char* b1,
                                             unsigned char* b2, unsigned char* b3,
                                             unsigned char* b4, unsigned char* b5) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  auto v = Settings(enc_id, port_id).number(bayhal::disk::schedule_key(type), false, 0);
  if (!v) return -1;
  unsigned long long packed = static_cast<unsigned long long>(*v);
  unsigned char* out[] = {b1, b2, b3, b4, b5};
  for (int i = 0; i < 5; ++i)
    if (out[i]) *out[i] = static_cast<unsigned char>(packed >> (8 * (4 - i)));
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Last_Test_Type(int enc_id, int port_id, int* type) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (type == nullptr) return -1;
  *type = static_cast<int>(Settings(enc_id, port_id).number("Last Test Type", true).value_or(-1));
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Last_Test_Time(int enc_id, int port_id, long long* seconds) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (seconds == nullptr) return -1;
  *seconds = Settings(enc_id, port_id).number("Last Test Time", true).value_or(0);
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Conf(int enc_id, int port_id, PD_SMART_CONF* conf) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (conf == nullptr) return -1;
  Settings s(enc_id, port_id);
  conf->port_id = port_id;
  conf->temp_thres_enabled = s.flag("Enable Temperature Threshold");
  conf->temp_thres = bayhal::disk::threshold_of(s, enc_id, port_id);
  conf->temp_thres_f = bayhal::disk::fahrenheit_of(s, conf->temp_thres);
  conf->last_test_type = static_cast<int>(s.number("Last Test Type", true).value_or(-1));
  conf->short_enabled = s.flag("Enable Short Schedule");
  conf->short_schedule = static_cast<unsigned long long>(s.number("Short Test Schedule", false, 0).value_or(0));
  conf->extended_enabled = s.flag("Enable Extended Schedule");
  conf->extended_schedule =
      static_cast<unsigned long long>(s.number("Extended Test Schedule", false, 0).value_or(0));
  return 0;
} BAYHAL_C_BOUNDARY(-1)
