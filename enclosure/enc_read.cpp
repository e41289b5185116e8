// se_read_conf: one enclosure record from its hal.conf section, read in one go.
#include <bitset>
#include <cstddef>
#include <iterator>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "board/board_services.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_store.h"
#include "foundation/err_trace.h"
#include "foundation/sysroot.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"
#include "ini/key_index.h"

namespace bayhal {
namespace {

enum class Kind { text, dec, hex };

// A store key and the record field it fills. Text fields keep at most `size` - 1 bytes.
struct Field {
  std::string_view key;
  Kind kind;
  size_t offset;
  size_t size;
};

#define TEXT(key, field, limit) Field{key, Kind::text, offsetof(SE_ENC_INFO, field), limit}
#define DEC(key, field) Field{key, Kind::dec, offsetof(SE_ENC_INFO, field), 4}
#define HEX(key, field) Field{key, Kind::hex, offsetof(SE_ENC_INFO, field), 4}

// In the order the writer stores them.
constexpr Field kFields[] = {
    DEC("enc_id", enc_id),
    TEXT("enc_sys_id", enc_sys_id, 32),
    TEXT("real_sys_id", real_sys_id, 32),
    TEXT("bsg_name", bsg_name, 32),
    TEXT("wwn", wwn, 33),
    TEXT("serial", serial, 33),
    TEXT("vendor", vendor, 32),
    TEXT("model", model, 41),
    DEC("status", status),
    DEC("protocol", protocol),
    HEX("capability", capabilities),
    HEX("extended_capability", extended_capability),
    DEC("max_disk_num", max_disk_num),
    DEC("max_fan_num", max_fan_num),
    DEC("max_cpu_fan_num", max_cpu_fan_num),
    DEC("default_cpu_fan_count", default_cpu_fan_count),
    DEC("factory_cpu_fan_count", factory_cpu_fan_count),
    DEC("max_sys_extra_region_count", max_sys_extra_region_count),
    DEC("region1_max_fan_num", region_max_fan_num[0]),
    DEC("region2_max_fan_num", region_max_fan_num[1]),
    DEC("max_temp_num", max_temp_num),
    DEC("max_sys_temp_region", max_sys_temp_region),
    DEC("max_pcie_num", max_pcie_num),
    DEC("max_nic_num", max_nic_num),
    DEC("max_conn_num", max_conn_num),
    DEC("max_ujbod_num", max_ujbod_num),
    DEC("max_cpu_num", max_cpu_num),
    TEXT("enc_parent_sys_id", enc_parent_sys_id, 32),
    DEC("enc_parent_port_id", enc_parent_port_id),
    DEC("stack_id", stack_id),
    TEXT("revision", revision, 17),
    HEX("cache_port_bitmap", cache_port_bitmap),
};

// Indexes into kFields of the keys with defaults or traces.
constexpr size_t kEncId = 0, kEncSysId = 1, kRealSysId = 2, kBsgName = 3, kMaxUjbod = 25, kMaxCpu = 26,
                 kCachePortBitmap = 31;
static_assert(kFields[kEncId].key == "enc_id" && kFields[kEncSysId].key == "enc_sys_id" && kFields[kRealSysId].key == "real_sys_id" &&
              kFields[kBsgName].key == "bsg_name" && kFields[kMaxUjbod].key == "max_ujbod_num" &&
              kFields[kMaxCpu].key == "max_cpu_num" &&
              kFields[kCachePortBitmap].key == "cache_port_bitmap");

#undef TEXT
#undef DEC
#undef HEX

constexpr ini::KeyIndex<64> kIndexOfKey(kFields);

const Field* field_of(std::string_view key) {
  int i = kIndexOfKey.find(key);
  return i >= 0 ? &kFields[i] : nullptr;
}

// Stores one value; false when a number does not parse (the field is then left alone).
bool apply(const Field& f, std::string_view value, SE_ENC_INFO* info) {
  auto* at = reinterpret_cast<unsigned char*>(info) + f.offset;
  if (f.kind == Kind::text) {
    size_t n = value.size() < f.size - 1 ? value.size() : f.size - 1;
    std::memcpy(at, value.data(), n);
    at[n] = '\0';
    return true;
  }
  long long v = 0;
  if (!ini::parse_int(value, f.kind == Kind::hex, v)) return false;
  auto word = static_cast<uint32_t>(v);
  std::memcpy(at, &word, sizeof word);
  return true;
}

void read_conn_status(std::string_view text, SE_ENC_INFO* info) {
  int limit = info->max_conn_num < SE_MAX_CONN_NUM ? info->max_conn_num : SE_MAX_CONN_NUM;
  for (int i = 0; i < limit; ++i) {
    size_t comma = text.find(',');
    std::string token(text.substr(0, comma));
    info->conn_status[i] = static_cast<uint32_t>(std::strtoul(token.c_str(), nullptr, 16));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
}

// An empty revision of a RAID enclosure is asked from the device and kept for next time.
void fill_px_revision(int enc_id, SE_ENC_INFO* info) {
  if (info->revision[0] != '\0') return;
  char rev[sizeof info->revision] = {};
  if (board_services().px_get_fw_version(info->enc_sys_id, rev, sizeof rev) < 0 || rev[0] == '\0')
    return;
  std::memcpy(info->revision, rev, sizeof rev);
  info->revision[16] = '\0';
  Ini_Conf_Set_Field(kHalConf, enc_section(enc_id).c_str(), "revision", info->revision);
}

int as_int(std::string_view v, int fallback) {
  long long n = 0;
  return ini::parse_int(v, false, n) ? static_cast<int>(n) : fallback;
}

// Most records lack real_sys_id and bsg_name: once a trace call has run, the mask is known
// and a filtered level costs nothing more.
void missing_key(bool& traced, const char* key) {
  if (traced && (trace_mask() & HAL_TRACE_VERBOSE) == 0) return;
  ERR_TRACE(HAL_TRACE_VERBOSE, "%s: can't retrieve %s value!\n", "se_read_conf", key);
  traced = true;
}

}  // namespace

int se_read_conf(int enc_id, SE_ENC_INFO* info, bool traced) {
  if (info == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: null record for enclosure %d\n", __func__, enc_id);
    return -1;
  }
  // One read of the store file and one pass over the section's key lines, each key straight
  // into its field: every page that lists enclosures reads each record this way.
  SysPath path(kHalConf);
  ini::FileBuffer& buffer = ini::read_buffer();
  std::string_view text;
  if (path.ok() && buffer.load(path.c_str(), __func__) > 0) text = buffer.view();
  std::bitset<std::size(kFields)> seen, good;  // key met / value stored
  std::string_view conn, px, mv, link_err;
  bool have_conn = false, have_px = false, have_mv = false, have_link_err = false;
  auto first = [](bool& have, std::string_view& slot, std::string_view v) {
    if (!have) slot = v;
    have = true;
  };
  ini::for_each_key(text, enc_section(enc_id), [&](std::string_view key, std::string_view value) {
    if (const Field* f = field_of(key)) {
      size_t i = static_cast<size_t>(f - kFields);
      if (seen[i]) return;  // the first occurrence of a key counts
      seen[i] = true;
      good[i] = apply(*f, value, info);
    } else if (key == "conn_status") {
      first(have_conn, conn, value);
    } else if (key == "px_bus_speed") {
      first(have_px, px, value);
    } else if (key == "mv_bus_speed") {
      first(have_mv, mv, value);
    } else if (key == "link_err_type") {
      first(have_link_err, link_err, value);
    }
  });
  if (!seen[kRealSysId]) missing_key(traced, "real_sys_id");
  if (!seen[kBsgName]) missing_key(traced, "bsg_name");
  if (!good[kMaxUjbod]) info->max_ujbod_num = -1;
  if (!good[kMaxCpu]) info->max_cpu_num = 1;
  if (!good[kCachePortBitmap]) info->cache_port_bitmap = 0;
  if (have_conn && info->max_conn_num != 0) read_conn_status(conn, info);
  int ret = good[kEncId] && good[kEncSysId] ? 0 : -1;
  if (info->protocol == SE_PROTOCOL_PX && have_px) info->px_bus_speed = as_int(px, info->px_bus_speed);
  if (info->protocol == SE_PROTOCOL_USB && starts_with(info->model, "MV-")) {
    if (have_mv) info->mv_bus_speed = as_int(mv, info->mv_bus_speed);
    if (have_link_err) info->link_err_type = as_int(link_err, info->link_err_type);
  }
  // Last: this may write the store, which reuses the read buffer the views above point into.
  if (info->protocol == SE_PROTOCOL_PX && ret == 0) fill_px_revision(enc_id, info);
  return ret;
}

int se_lookup_sys_id(int enc_id, char* buf, int size) {
  if (buf == nullptr || size < 1) return -1;
  return Ini_Conf_Get_Field(kHalConf, enc_section(enc_id).c_str(), "enc_sys_id", buf, size) > 0
             ? 0
             : -1;
}

}  // namespace bayhal
