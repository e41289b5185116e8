// Ini_Conf_Bitmap_*: bitmaps kept as text in one key (form in ini_bitmap.h). Changes run
// as one locked read-modify-replace, so a claim can never hand one bit to two callers.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"

using namespace bayhal::ini;

namespace {

bool check_bit(const char* who, int bit) {
  if (bit < 0 || bit > kMaxBit) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bit %d out of range 0..%d\n", who, bit, kMaxBit);
    return false;
  }
  return true;
}

// The bitmap of a key as it is now: 1 read (an absent key is an empty bitmap), -1 on error.
int read_bitmap(const char* who, const char* file, const char* section, const char* key,
                Bitmap& bm) {
  std::string_view text;
  int rc = lookup(who, file, section, key, text);
  if (rc < 0) return -1;
  if (rc > 0 && !bm.parse(text)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: key(%s) of [%s] in %s is not a bitmap\n", who, key, section,
              file);
    return -1;
  }
  return 1;
}

// Changes one key's bitmap under the file's lock. `change(bm)` returns false for "no
// change"; a key holding something else than a bitmap is left alone.
template <typename Change>
int change_bitmap(const char* who, const char* file, const char* section, const char* key,
                  Change&& change) {
  if (!check_names(who, section, key)) return -1;
  std::string formatted;
  return bayhal::ini::update_with(who, file, [&](std::string_view text, Edit& edit) {
    Bitmap bm;
    std::string_view value;
    if (find_value(text, section, key, value) && !bm.parse(value)) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: key(%s) of [%s] in %s is not a bitmap, left as it is\n",
                who, key, section, file);
      return -1;
    }
    if (!change(bm)) return 0;
    formatted = bm.format();
    edit.section = section;
    edit.set = {{key, formatted}};
    return 0;
  });
}

}  // namespace

BAYHAL_EXPORT int Ini_Conf_Bitmap_Set_Bit(const char* file, const char* section, const char* key,
                                          int bit) try {
  if (!check_bit(__func__, bit)) return -1;
  int rc = change_bitmap(__func__, file, section, key, [bit](Bitmap& bm) {
    if (bm.test(bit)) return false;
    bm.set(bit);
    return true;
  });
  return rc < 0 ? -1 : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Bitmap_Reset_Bit(const char* file, const char* section,
                                            const char* key, int bit) try {
  if (!check_bit(__func__, bit)) return -1;
  int rc = change_bitmap(__func__, file, section, key, [bit](Bitmap& bm) {
    if (!bm.test(bit)) return false;
    bm.reset(bit);
    return true;
  });
  return rc < 0 ? -1 : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Bitmap_Is_Bit_Set(const char* file, const char* section,
                                             const char* key, int bit) try {
  // Callers test the result for non-zero, so every failure here reads as "clear".
  if (!check_bit(__func__, bit)) return 0;
  Bitmap bm;
  if (read_bitmap(__func__, file, section, key, bm) < 0) return 0;
  return bm.test(bit) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int Ini_Conf_Bitmap_Get_Next_Free_Bit(const char* file, const char* section,
                                                    const char* key, int* bit, int start,
                                                    int claim) try {
  if (bit == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no output for key(%s)\n", __func__, key ? key : "(null)");
    return -1;
  }
  if (!check_bit(__func__, start)) return -1;
  int found = -1;
  auto pick = [&](Bitmap& bm) {
    found = bm.next_clear(start);
    if (found > kMaxBit) return false;
    bm.set(found);
    return true;
  };
  if (claim) {
    if (change_bitmap(__func__, file, section, key, pick) < 0) return -1;
  } else {
    Bitmap bm;
    if (read_bitmap(__func__, file, section, key, bm) < 0) return -1;
    found = bm.next_clear(start);
  }
  if (found > kMaxBit) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no free bit from %d in key(%s) of [%s] in %s\n", __func__,
              start, key, section, file);
    return -1;
  }
  *bit = found;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Bitmap_Get_Set_Count(const char* file, const char* section,
                                                const char* key) try {
  Bitmap bm;
  if (read_bitmap(__func__, file, section, key, bm) < 0) return -1;
  return bm.count();
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Bitmap_Enumerate(const char* file, const char* section,
                                            const char* key, int* bits, int capacity,
                                            Ini_Conf_Bitmap_Callback callback, void* arg) try {
  if (bits != nullptr && capacity < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: negative capacity %d\n", __func__, capacity);
    return -1;
  }
  Bitmap bm;
  if (read_bitmap(__func__, file, section, key, bm) < 0) return -1;
  int stored = 0;
  for (int b = bm.next_set(0); b >= 0; b = bm.next_set(b + 1)) {
    bool take = callback == nullptr || callback(b, arg) == 0;
    if (take && bits != nullptr && stored < capacity) bits[stored++] = b;
  }
  return stored;
} BAYHAL_C_BOUNDARY(-1)
