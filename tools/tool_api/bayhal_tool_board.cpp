// The private interface's board entries (bayhal_tool.h): the board map, readings through the
// back-end, and the board's chip facts.
#include "board/dispatch/board_map.h"
#include "board/dispatch/board_readings.h"
#include "board/dispatch/se_sys.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "tools/tool_api/bayhal_tool.h"

namespace {

const char* text_or_null(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}
const char* text_or_null(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

const char* kind_name(bayhal::board::Reading::Kind kind) {
  using Kind = bayhal::board::Reading::Kind;
  switch (kind) {
    case Kind::kTemperature: return "temperature";
    case Kind::kRegion: return "region";
    case Kind::kFan: return "fan";
    case Kind::kSupply: break;
  }
  return "power supply";
}

}  // namespace

extern "C" {

BAYHAL_EXPORT int bayhal_tool_board_map(bayhal_tool_board_fn each, void* arg) try {
  std::vector<bayhal::board::FunctionView> map = bayhal::board::board_map();
  for (const auto& f : map) {
    BAYHAL_TOOL_BOARD_FUNCTION out{f.group.c_str(),      f.name.c_str(),         f.section.c_str(),
                                   f.key.c_str(),        text_or_null(f.value),  text_or_null(f.slot),
                                   text_or_null(f.chip), text_or_null(f.reason), f.index,
                                   f.channel,            f.address,              f.supported ? 1 : 0};
    if (each != nullptr) each(arg, &out);
  }
  return static_cast<int>(map.size());
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_board_temp(int index, double* value) try {
  return bayhal::board::se_sys_get_temp("root", index, value);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_board_fan(int index, double* value, int* status) try {
  if (value == nullptr) return -1;
  unsigned rpm = 0;
  int rc = bayhal::board::se_sys_get_fan_speed("root", index, &rpm, status);
  *value = rpm;
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_monitor(int enc_id, bayhal_tool_sensor_fn each, void* arg) try {
  char enc_sys_id[32];
  if (enc_id < 0 || bayhal::se_lookup_sys_id(enc_id, enc_sys_id, sizeof enc_sys_id) != 0) return -1;
  std::vector<bayhal::board::Reading> readings = bayhal::board::read_board(enc_sys_id);
  for (const auto& r : readings) {
    BAYHAL_TOOL_SENSOR out{kind_name(r.kind), r.name.c_str(), r.index,  r.rc,     r.celsius,
                           r.rpm,             r.status,       r.pwm_rc, r.pwm,    r.level};
    if (each != nullptr) each(arg, &out);
  }
  return static_cast<int>(readings.size());
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_board_facts(int* ec, int* mcu_spec) try {
  if (ec == nullptr || mcu_spec == nullptr) return -1;
  bayhal::board::se_sys_check_ec_support("root", ec);
  if (bayhal::board::se_sys_ck_mcu_sp_and_get_spec("root", mcu_spec) != 0) *mcu_spec = -2;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

}  // extern "C"
