#include "board/dispatch/dispatch.h"

#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/se_sys.h"

namespace bayhal::board {

int family_hm_type(Family f) {
  switch (f) {
    case Family::kSio: return kHmSio;
    case Family::kSoc: return kHmSoc;
    case Family::kI2c: return kHmI2c;
    case Family::kPic: return kHmPic;
    case Family::kGpio: return kHmGpio;
    case Family::kMcu:
    case Family::kEmcu: return kHmMcu;
    case Family::kDts: return kHmDts;
    case Family::kEc: return kHmEc;
    case Family::kThermalZone: return kHmThermalZone;
    default: return 0;
  }
}

Family family_of(int hm_type) {
  for (Family f : {Family::kSio, Family::kSoc, Family::kI2c, Family::kPic, Family::kGpio,
                   Family::kDts, Family::kEc, Family::kThermalZone})
    if (family_hm_type(f) == hm_type) return f;
  return mcu_family();
}

Family mcu_family() {
  int spec = 0;
  se_sys_ck_mcu_sp_and_get_spec("root", &spec);
  return spec == 3 || spec == 4 ? Family::kEmcu : Family::kMcu;
}

Family family_of(const Choice& c) { return c.family == Family::kMcu ? mcu_family() : c.family; }

int not_built(const char* who, int line, Family f, const Target& t) {
  if (std::string_view(t.enc_sys_id) != "root") {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not implement.\n", who, line, t.enc_sys_id);
  } else if (int hm = family_hm_type(f); hm != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): hm_type = %d not implement.\n", who, line, hm);
  } else {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): conf_val = %s not implement.\n", who, line,
              std::string(family_name(f)).c_str());
  }
  return -1;
}

int not_dispatched(const char* who, int line, const char* enc_sys_id, Unknown unknown) {
  if (unknown == Unknown::kNotImplement)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not implement.\n", who, line,
              enc_sys_id ? enc_sys_id : "(null)");
  else if (unknown == Unknown::kNotImplementShort)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):NOT implement\n", who, line);
  return -1;
}

}  // namespace bayhal::board
