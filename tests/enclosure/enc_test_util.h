// Helpers for the enclosure registry's tests.
#pragma once
#include <cstring>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "foundation/err_trace.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {

inline SE_ENC_INFO make_record(const char* sys_id, uint32_t cap = 0, int protocol = 3,
                               const char* parent = nullptr) {
  SE_ENC_INFO info;
  std::memset(&info, 0, sizeof info);
  info.enc_id = -1;
  std::strncpy(info.enc_sys_id, sys_id, sizeof info.enc_sys_id - 1);
  std::strncpy(info.enc_parent_sys_id, parent != nullptr ? parent : sys_id,
               sizeof info.enc_parent_sys_id - 1);
  info.capabilities = cap;
  info.protocol = protocol;
  info.max_ujbod_num = -1;
  info.max_cpu_num = 1;
  return info;
}

inline std::string ini_get(const char* file, const std::string& section, const char* key) {
  char buf[512] = {};
  if (Ini_Conf_Get_Field(file, section.c_str(), key, buf, sizeof buf) <= 0) return "<absent>";
  return buf;
}

inline bool bit_set(const char* file, int bit) {
  return Ini_Conf_Bitmap_Is_Bit_Set(file, "Index", "enc_bitmap", bit) != 0;
}

// The trace log of the sandbox.
inline std::string trace_log(const SandboxRoot& root) { return root.read(trace_log_path()); }

}  // namespace bayhal::test
