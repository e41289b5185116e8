// Ini_Conf_* key operations. These sit under every other family and run in their inner
// loops, so unlike the families above them they do not trace their entry: only errors.
#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"

using namespace bayhal::ini;

BAYHAL_EXPORT int Ini_Conf_Get_Field(const char* file, const char* section, const char* key,
                                     char* buf, int buf_size) try {
  if (buf == nullptr || buf_size <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no buffer or size %d for key(%s)\n", __func__, buf_size,
              key ? key : "(null)");
    return -1;
  }
  std::string_view value;
  int rc = lookup(__func__, file, section, key, value);
  if (rc <= 0) return rc;
  size_t n = std::min(value.size(), static_cast<size_t>(buf_size) - 1);
  std::memcpy(buf, value.data(), n);
  buf[n] = '\0';
  return 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Set_Field(const char* file, const char* section, const char* key,
                                     const char* value) try {
  if (!check_names(__func__, section, key)) return -1;
  if (value == nullptr || !valid_value(value)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad value for key(%s) of [%s] in %s\n", __func__, key, section,
              file ? file : "(null)");
    return -1;
  }
  Edit e{section, {{key, value}}, {}, false, {}};
  return update(__func__, file, e) < 0 ? -1 : 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Get_Field_Int(const char* file, const char* section, const char* key,
                                         int* value, int hex) try {
  if (value == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no output for key(%s)\n", __func__, key ? key : "(null)");
    return -1;
  }
  std::string_view text;
  int rc = lookup(__func__, file, section, key, text);
  if (rc <= 0) return rc;
  int v = 0;
  if (!parse_int32(text, hex != 0, v)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: key(%s) of [%s] in %s is not a %s number: '%.*s'\n", __func__,
              key, section, file, hex ? "hexadecimal" : "decimal", static_cast<int>(text.size()),
              text.data());
    return -1;
  }
  *value = v;
  return 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Set_Field_Int(const char* file, const char* section, const char* key,
                                         int value, int hex) try {
  char text[16];
  if (hex)
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(value));
  else
    std::snprintf(text, sizeof text, "%d", value);
  if (!check_names(__func__, section, key)) return -1;
  Edit e{section, {{key, text}}, {}, false, {}};
  return update(__func__, file, e) < 0 ? -1 : 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Remove_Field(const char* file, const char* section, const char* key) try {
  if (!check_names(__func__, section, key)) return -1;
  Edit e{section, {}, {key}, false, {}};
  return update(__func__, file, e);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Remove_Section(const char* file, const char* section) try {
  if (!check_names(__func__, section, "-")) return -1;
  Edit e{section, {}, {}, true, {}};
  return update(__func__, file, e);
} BAYHAL_C_BOUNDARY(-1)
