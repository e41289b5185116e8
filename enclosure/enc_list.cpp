// SE_Enumerate: the registered enclosures, from hal.conf's in-use bitmap.
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_list.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"
#include "ini/ini_text.h"

namespace bayhal {

namespace {

// The keys the internal test and the standard filter look at (first occurrence of each).
struct FilterKeys {
  bool present = false;
  std::optional<std::string_view> protocol, capability, model, status;

  // False once all four keys are known: the rest of the section cannot change the answer.
  bool take(std::string_view k, std::string_view v) {
    present = true;
    auto first = [v](std::optional<std::string_view>& slot) {
      if (!slot) slot = v;
    };
    if (k == "protocol") first(protocol);
    else if (k == "capability") first(capability);
    else if (k == "model") first(model);
    else if (k == "status") first(status);
    return !(protocol && capability && model && status);
  }

  static std::optional<long long> number(const std::optional<std::string_view>& v, bool hex) {
    long long n = 0;
    if (!v || !ini::parse_int(*v, hex, n)) return std::nullopt;
    return n;
  }

  bool internal() const {
    auto p = number(protocol, false);
    if (p && *p == SE_PROTOCOL_ISCSI) return true;
    auto cap = number(capability, true);
    if (!cap || (static_cast<uint32_t>(*cap) & SE_CAP_INTERNAL) == 0) return false;
    bool px = p && *p == SE_PROTOCOL_PX;
    bool mv = model && model->starts_with("MV-");
    return !px && !mv;
  }

  bool standard_keep() const {
    if (!present || !internal()) return false;
    auto st = number(status, false);
    return !(st && *st == SE_STATUS_REMOVING);
  }
};

FilterKeys keys_of(const ini::Section& s) {
  FilterKeys keys;
  for (const auto& [k, v] : s.entries)
    if (!keys.take(k, v)) break;
  return keys;
}

// The id of an "Enclosure_%d" header as the store writes it (no sign, no leading zero);
// -1 for any other name.
int id_of_section(std::string_view name) {
  constexpr std::string_view kPrefix = "Enclosure_";
  if (!name.starts_with(kPrefix)) return -1;
  std::string_view digits = name.substr(kPrefix.size());
  if (digits.empty() || digits.size() > 9 || (digits.size() > 1 && digits[0] == '0')) return -1;
  int id = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return -1;
    id = id * 10 + (c - '0');
  }
  return id;
}

// The standard listing runs on every page a service shows: one read of hal.conf answers the
// in-use bitmap and the filter for every enclosure, where the general path reads the store
// once per enclosure. Same answer, taken from one consistent snapshot, in one pass over the
// headers (a scan per enclosure would walk the file from the top each time).
int enumerate_standard(int* ids, int capacity) {
  SysPath path(kHalConf);
  ini::FileBuffer& buffer = ini::read_buffer();
  if (!path.ok() || buffer.load(path.c_str(), "SE_Enumerate") <= 0) return 0;
  // Only pure text scans below: the thread's read buffer stays as loaded.
  std::string_view text = buffer.view();
  std::string_view bits_text;
  ini::Bitmap bits;
  if (!ini::find_value(text, kIndex, kEncBitmap, bits_text) || !bits.parse(bits_text)) return 0;
  int last = -1;
  for (int id = bits.next_set(0); id >= 0; id = bits.next_set(id + 1)) last = id;
  std::vector<std::optional<FilterKeys>> keys(static_cast<size_t>(last + 1));
  ini::for_each_header(text, [&](std::string_view name, size_t, size_t body) {
    int id = id_of_section(name);
    if (id < 0 || id > last || !bits.test(id) || keys[static_cast<size_t>(id)]) return;
    FilterKeys& k = keys[static_cast<size_t>(id)].emplace();  // only the first block counts
    ini::scan_keys(text.data() + body, text.data() + text.size(),
                   [&k](std::string_view key, std::string_view v) { return k.take(key, v); });
  });
  int stored = 0;
  for (int id = bits.next_set(0); id >= 0 && stored < capacity; id = bits.next_set(id + 1)) {
    const auto& k = keys[static_cast<size_t>(id)];
    if (k && k->standard_keep()) ids[stored++] = id;
  }
  return stored;
}

}  // namespace

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Enumerate(int* enc_ids, int capacity, SE_ENUM_CALLBACK filter, void* arg) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d, %p, %p).\n", __func__,
            static_cast<void*>(enc_ids), capacity, reinterpret_cast<void*>(filter), arg);
  if (capacity < 0 || (enc_ids == nullptr && filter == nullptr)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad arguments\n", __func__);
    return 0;
  }
  if (filter == get_enclosure_list_callback && enc_ids != nullptr)
    return enumerate_standard(enc_ids, capacity);
  return Ini_Conf_Bitmap_Enumerate(kHalConf, kIndex, kEncBitmap, enc_ids,
                                   enc_ids == nullptr ? 0 : capacity, filter, arg);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Is_Internal(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  return s && keys_of(*s).internal() ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

int bayhal::get_enclosure_list_callback(int enc_id, void* /*arg*/) {
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  return s && keys_of(*s).standard_keep() ? 0 : -ENOENT;
}
