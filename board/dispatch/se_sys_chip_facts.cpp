// Facts of the board's chips (embedded controller present, MCU spec) and the settings they
// carry: AC power recovery, EuP, the EC's firmware version.
#include <strings.h>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/SE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"
#include "model/model_keys.h"

namespace bayhal::board {
namespace {

struct SpecName {
  const char* name;
  int spec;
};
constexpr SpecName kSpecs[] = {{"CPLD", 0}, {"MCU", 1}, {"SPEC2", 2}, {"SPEC3", 3}, {"SPEC4", 4}};

bool has_ec() {
  int ec = 0;
  se_sys_check_ec_support("root", &ec);
  return ec == 1;
}

// The embedded controller's own operations: "root" with an EC, else -1 without a message.
template <typename Fn, typename... Args>
int ec_op(const char* who, const char* enc_sys_id, Fn Driver::*op, Args... args) {
  return root_only(enc_sys_id, [&] {
    if (!has_ec()) return -1;
    return call_driver(who, Family::kEc, op, Target{}, args...);
  });
}

int root_power_recovery(const char* who, bool set, int mode, int* out) {
  Selection s = select_function(Function::kPowerRecovery);
  if (!s.value) return -1;
  if (s.choice == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", who, __LINE__);
    return -1;
  }
  Target t;
  t.unit = *s.value;
  Family f = family_of(*s.choice);
  if (set) return call_driver(who, f, &Driver::set_power_recovery, t, mode);
  return call_driver(who, f, &Driver::get_power_recovery, t, out);
}

}  // namespace

int se_sys_check_ec_support(const char* enc_sys_id, int* support) {
  if (support == nullptr) return 0;
  *support = 0;
  if (enc_sys_id == nullptr || std::string_view(enc_sys_id) != "root") return 0;
  auto device = model::board_key(model::BoardKey::kSioDevice);
  *support = device && ::strcasecmp(device->c_str(), "IT8528") == 0 ? 1 : 0;
  return 0;
}

int se_sys_ck_mcu_sp_and_get_spec(const char* enc_sys_id, int* spec) {
  if (spec == nullptr) return -1;
  *spec = 0;
  if (enc_sys_id == nullptr || std::string_view(enc_sys_id) != "root") {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Unknow enc_sys_id %s\n", __func__, __LINE__,
              enc_sys_id ? enc_sys_id : "(null)");
    return -1;
  }
  auto value = model::board_key(model::BoardKey::kMcuSpec);
  if (!value) {
    if (!(model::system_cap() & SE_CAP_MCU)) return -1;
    *spec = -1;
    return 0;
  }
  for (const SpecName& s : kSpecs) {
    if (::strcasecmp(value->c_str(), s.name) == 0) {
      *spec = s.spec;
      return 0;
    }
  }
  return -1;
}

int se_sys_get_power_recovery_mode(const char* enc_sys_id, int* mode) {
  if (mode == nullptr) return -1;
  *mode = -1;
  return root_only(enc_sys_id, [&] { return root_power_recovery(__func__, false, 0, mode); });
}

int se_sys_set_power_recovery_mode(const char* enc_sys_id, int mode) {
  return root_only(enc_sys_id, [&] { return root_power_recovery(__func__, true, mode, nullptr); });
}

int se_sys_get_eup(const char* enc_sys_id, int* on) {
  if (on == nullptr) return -1;
  *on = 0;
  return ec_op(__func__, enc_sys_id, &Driver::get_eup, on);
}

int se_sys_set_eup(const char* enc_sys_id, int on) {
  return ec_op(__func__, enc_sys_id, &Driver::set_eup, on);
}

int se_sys_get_ec_version(const char* enc_sys_id, char* buf, int size) {
  if (buf == nullptr || size < 1) return -1;
  buf[0] = '\0';
  return ec_op(__func__, enc_sys_id, &Driver::get_fw_version, buf, size);
}

}  // namespace bayhal::board
