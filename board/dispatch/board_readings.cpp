#include "board/dispatch/board_readings.h"

#include <array>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string_view>

#include "board/dispatch/caches.h"
#include "board/dispatch/fan_levels.h"
#include "board/dispatch/se_sys.h"
#include "board/dispatch/se_sys_monitor.h"
#include "model/board_keys.h"

namespace bayhal::board {
namespace {

using Kind = Reading::Kind;

struct Sensor {
  Kind kind;
  int index;
  std::string name;
  std::array<int, kFanLevels> level_pwm{};  // fans: -1 for a level the table lacks
};

std::mutex g_mutex;
std::optional<std::vector<Sensor>> g_sensors;

bool resolves_temp(int index) { return cached_temp_slot(index).hm_type > 0; }

// CPU sensors up to MAX_CPU_NUM, system sensors up to MAX_TEMP_NUM (all three without it),
// the supplies' sensors, and the environment sensors the description numbers with
// ENV_TEMP<n>_ID.
void add_temperatures(std::vector<Sensor>& out) {
  for (int i = 0; i < model::max_cpu_num() && i < 2; ++i)
    if (resolves_temp(i)) out.push_back({Kind::kTemperature, i, "CPU " + std::to_string(i + 1)});
  long long system = model::max_temp_num().value_or(3);
  for (int i = 0; i < system && i < 3; ++i)
    if (resolves_temp(5 + i)) out.push_back({Kind::kTemperature, 5 + i, "system " + std::to_string(i + 1)});
  for (int n = 1; n <= 2; ++n)
    if (model::board_key(model::redundant_power_key(n)) && resolves_temp(9 + n))
      out.push_back({Kind::kTemperature, 9 + n, "power supply " + std::to_string(n)});
  for (int n = 1; n <= 24; ++n)
    if (model::env_temp_id(n) && resolves_temp(14 + n))
      out.push_back({Kind::kTemperature, 14 + n, "environment " + std::to_string(n)});
}

void add_regions(std::vector<Sensor>& out) {
  for (int r : model::temp_regions())
    out.push_back({Kind::kRegion, r - 1, model::temp_region_name(r).value_or("region " + std::to_string(r))});
}

std::string fan_name(int index) {
  if (index < 5) return "system fan " + std::to_string(index + 1);
  if (index < 8) return "CPU fan " + std::to_string(index - 5);
  if (index < 12) return "power supply fan " + std::to_string(index - 9);
  return "region " + std::to_string((index - 20) / 10 + 1) + " fan " + std::to_string((index - 20) % 10 + 1);
}

// A fan with the PWM of each level of its table, read now without the tracing of a missing
// level that setting a level does.
Sensor fan(int index) {
  Sensor s{Kind::kFan, index, fan_name(index)};
  s.level_pwm.fill(-1);
  auto table = index == 10 || index == 11 ? std::nullopt : se_sys_fan_level_table(index);
  if (!table) return s;
  std::string section = model::fan_section(table->group, table->region);
  for (int level = 0; level < kFanLevels; ++level)
    s.level_pwm[static_cast<size_t>(level)] =
        static_cast<int>(model::fan_level_pwm(section, level).value_or(-1));
  return s;
}

void add_fans(std::vector<Sensor>& out) {
  for (int index : configured_fans())
    if (index < kFanSlots && cached_fan_slot(index).hm_type > 0) out.push_back(fan(index));
  for (int n = 1; n <= 2; ++n)
    if (model::board_key(model::redundant_power_key(n)) && cached_fan_slot(9 + n).hm_type > 0)
      out.push_back(fan(9 + n));
}

void add_supplies(std::vector<Sensor>& out) {
  for (int n = 1; n <= 2; ++n)
    if (model::board_key(model::redundant_power_key(n)))
      out.push_back({Kind::kSupply, n, "power supply " + std::to_string(n)});
}

const std::vector<Sensor>& sensors() {
  std::lock_guard<std::mutex> lock(g_mutex);
  if (!g_sensors) {
    std::vector<Sensor> s;
    add_temperatures(s);
    add_regions(s);
    add_fans(s);
    add_supplies(s);
    g_sensors = std::move(s);
  }
  return *g_sensors;
}

// The level of the fan's table nearest to its PWM, when the chip's percent rounding (at most
// 3 steps of 255) explains the difference.
int level_of(const Sensor& s, int pwm) {
  int best = -1, best_diff = 4;
  for (int level = 0; level < kFanLevels; ++level) {
    int want = s.level_pwm[static_cast<size_t>(level)];
    if (want < 0) continue;
    if (int diff = std::abs(want - pwm); diff < best_diff) {
      best = level;
      best_diff = diff;
    }
  }
  return best;
}

Reading read(const Sensor& s) {
  Reading r{s.kind, s.index, s.name};
  switch (s.kind) {
    case Kind::kTemperature: r.rc = se_sys_get_temp("root", s.index, &r.celsius); break;
    case Kind::kRegion: r.rc = se_sys_get_region_temp("root", s.index, &r.celsius); break;
    case Kind::kSupply: r.rc = se_sys_get_power_supply_status("root", s.index, &r.status); break;
    case Kind::kFan:
      r.rc = se_sys_get_fan_speed("root", s.index, &r.rpm, &r.status);
      if (s.index == 10 || s.index == 11) break;  // a supply's fan has no PWM to read
      r.pwm_rc = se_sys_get_fan_pwm("root", s.index, &r.pwm);
      if (r.pwm_rc == 0) r.level = level_of(s, r.pwm);
      break;
  }
  return r;
}

}  // namespace

std::vector<Reading> read_board(const char* enc_sys_id) {
  std::vector<Reading> out;
  if (enc_sys_id == nullptr || std::string_view(enc_sys_id) != "root") return out;
  for (const Sensor& s : sensors()) out.push_back(read(s));
  return out;
}

void reset_board_readings() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_sensors.reset();
}

}  // namespace bayhal::board
