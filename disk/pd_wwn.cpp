#include "disk/pd_wwn.h"

#include "bayhal/ERR_TRACE.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"

namespace bayhal::disk {

namespace {

size_t wwn_bytes(const PD_INFO& info) {
  if (info.wwn_len <= 0) return 0;
  return static_cast<size_t>(info.wwn_len) < sizeof info.wwn ? static_cast<size_t>(info.wwn_len)
                                                             : sizeof info.wwn;
}

}  // namespace

std::string hex_text(const unsigned char* bytes, size_t len) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(2 * len);
  for (size_t i = 0; i < len; ++i) {
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 0xf];
  }
  return out;
}

bool wwn_is_valid(const PD_INFO& info) {
  size_t n = wwn_bytes(info);
  for (size_t i = 0; i < n; ++i)
    if (info.wwn[i] != 0) return true;
  return false;
}

std::string pd_wwn_text(int enc_id, int port_id, PD_INFO* info) {
  std::string text;
  if (info->capabilities & PD_CAP_WWN) {
    if (Disk_Is_WWN_Blacklisted(info->vendor[0] ? std::string(text_of(info->vendor)).c_str() : "",
                                std::string(text_of(info->model)).c_str())) {
      ERR_TRACE(HAL_TRACE_ERROR,
                "%s(%d): model is in WWN blacklist for drive enc_id = %d, port_id = %d\n",
                "pd_write_conf", __LINE__, enc_id, port_id);
      info->capabilities |= PD_CAP_WWN_BLACKLISTED;
    } else if (wwn_is_valid(*info)) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): WWN is valid for drive enc_id = %d, port_id = %d\n",
                "pd_write_conf", __LINE__, enc_id, port_id);
      text = hex_text(info->wwn, wwn_bytes(*info));
    } else {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): WWN is invalid for drive enc_id = %d, port_id = %d\n",
                "pd_write_conf", __LINE__, enc_id, port_id);
    }
  }
  if (text.empty()) text = store_value(text_of(info->serial_no));
  if (text.empty()) text = store_value(text_of(info->pd_sys_id));
  return text;
}

std::string pd_real_wwn(const PD_INFO& info) {
  if (!(info.capabilities & PD_CAP_WWN) || !wwn_is_valid(info)) return {};
  return hex_text(info.wwn, wwn_bytes(info));
}

}  // namespace bayhal::disk
