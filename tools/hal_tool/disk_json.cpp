#include "tools/hal_tool/disk_json.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "tools/hal_tool/names.h"
#include "tools/hal_tool/words.h"

namespace hal_tool {
namespace {

// A record's text field: up to its terminator, never past the field.
template <size_t N>
json text_of(const char (&field)[N]) {
  return text_or_null(std::string_view(field, ::strnlen(field, N)));
}

void add_speed(json& j, const std::string& key, int code) {
  auto speed = link_speed(code);
  j[key] = speed ? json(speed->text) : json();
  j[key + "_gbps"] = speed ? json(speed->gbps) : json();
}

bool trusted_wwn(const PD_INFO& i) { return (i.capabilities & PD_CAP_WWN) && !(i.capabilities & PD_CAP_WWN_BLACKLISTED); }

}  // namespace

json probed_wwn(const PD_INFO& info) {
  std::string out;
  char b[3];
  for (int i = 0; i < info.wwn_len && i < PD_WWN_LEN; ++i) {
    std::snprintf(b, sizeof b, "%02X", info.wwn[i]);
    out += b;
  }
  return trusted_wwn(info) ? text_or_null(out) : json();
}

json registered_wwn(const PD_INFO& info, int enc_id, int port_id) {
  char text[64] = "";
  if (!trusted_wwn(info) || PD_Get_WWN(enc_id, port_id, text, sizeof text) < 0) return nullptr;
  // Without a usable WWN the registry answers with the serial number or the kernel name.
  if (std::string_view(text) == info.serial_no || std::string_view(text) == info.pd_sys_id) return nullptr;
  return text_or_null(text);
}

json disk_json(const PD_INFO& i, int enc_id, int port_id, const std::string& label) {
  long double bytes = static_cast<long double>(i.capacity) * (i.sector_size > 0 ? i.sector_size : 0);
  json j{{"bay", enc_id >= 0 ? json(bay_name(enc_id, port_id)) : json()},
         {"enc_id", enc_id >= 0 ? json(enc_id) : json()},
         {"port_id", port_id},
         {"label", text_or_null(label)},
         {"enc_sys_id", text_of(i.enc_sys_id)},
         {"pd_sys_id", text_of(i.pd_sys_id)},
         {"device", text_of(i.pd_sys_name)},
         {"model", text_of(i.model)},
         {"serial", text_of(i.serial_no)},
         {"capacity", i.capacity > 0 ? json(human_bytes(bytes)) : json()},
         {"capacity_bytes", i.capacity > 0 ? json(static_cast<unsigned long long>(bytes)) : json()},
         {"capacity_sectors", i.capacity},
         {"sector_size", i.sector_size}};
  add_speed(j, "link_speed", i.link_speed);
  j["type"] = disk_type(i.type);
  j["capabilities"] = disk_capabilities(i.capabilities);
  return j;
}

void add_disk_details(json& j, const PD_INFO& i, json wwn) {
  j["vendor"] = text_of(i.vendor);
  j["revision"] = text_of(i.revision);
  j["wwn"] = std::move(wwn);
  j["rotation_rpm"] = i.rotation_speed;
  add_speed(j, "max_link_speed", i.max_link_speed);
  add_speed(j, "disk_max_link_speed", i.pd_max_link_speed);
  j["ctrl_device"] = text_of(i.pd_ctrl_name);
  j["bus"] = text_of(i.pd_bus_name);
  j["driver"] = text_of(i.pd_driver_name);
  j["capability_word"] = i.capabilities;
}

}  // namespace hal_tool
