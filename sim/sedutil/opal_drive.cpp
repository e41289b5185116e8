#include "sim/sedutil/opal_drive.h"

#include <cstdio>
#include <sstream>

namespace bayhal::sim {

bool OpalDrive::locked() const {
  for (const auto& r : ranges)
    if ((r.read_lock_enabled && r.read_locked) || (r.write_lock_enabled && r.write_locked)) return true;
  return false;
}

void OpalDrive::revert_locking_sp() {
  admin1.clear();
  locking_active = false;
  mbr_enabled = mbr_done = false;
  ranges = {};
}

void OpalDrive::factory_reset() {
  revert_locking_sp();
  sid = msid;
}

OpalDrive opal_factory_drive(std::string model, std::string serial, std::string psid) {
  OpalDrive d;
  d.model = std::move(model);
  d.serial = serial;
  d.msid = "MSID" + serial;
  d.sid = d.msid;
  d.psid = std::move(psid);
  return d;
}

std::string hex_encode(std::string_view bytes) {
  static const char* digits = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    out += digits[c >> 4];
    out += digits[c & 15];
  }
  return out;
}

std::optional<std::string> hex_decode(std::string_view hex) {
  auto nibble = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
  };
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string out;
  for (size_t i = 0; i < hex.size(); i += 2) {
    int hi = nibble(hex[i]), lo = nibble(hex[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    out += static_cast<char>(hi * 16 + lo);
  }
  return out;
}

std::string opal_drive_text(const OpalDrive& d) {
  std::ostringstream s;
  s << "model=" << d.model << "\nfirmware=" << d.firmware << "\nserial=" << d.serial
    << "\nmsid=" << hex_encode(d.msid) << "\npsid=" << hex_encode(d.psid) << "\nsid=" << hex_encode(d.sid)
    << "\nadmin1=" << hex_encode(d.admin1) << "\nlocking=" << d.locking_active << "\nmbr_enable=" << d.mbr_enabled
    << "\nmbr_done=" << d.mbr_done << "\n";
  for (size_t i = 0; i < d.ranges.size(); ++i) {
    const OpalRange& r = d.ranges[i];
    s << "range" << i << "=" << r.start << " " << r.length << " " << r.read_lock_enabled << " "
      << r.write_lock_enabled << " " << r.read_locked << " " << r.write_locked << "\n";
  }
  return s.str();
}

std::optional<OpalDrive> opal_drive_parse(std::string_view text) {
  OpalDrive d;
  std::istringstream in{std::string(text)};
  std::string line;
  while (std::getline(in, line)) {
    size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    std::string key = line.substr(0, eq), value = line.substr(eq + 1);
    auto secret = [&](std::string& field) {
      auto v = hex_decode(value);
      if (v) field = *v;
      return v.has_value();
    };
    bool ok = true;
    if (key == "model") d.model = value;
    else if (key == "firmware") d.firmware = value;
    else if (key == "serial") d.serial = value;
    else if (key == "msid") ok = secret(d.msid);
    else if (key == "psid") ok = secret(d.psid);
    else if (key == "sid") ok = secret(d.sid);
    else if (key == "admin1") ok = secret(d.admin1);
    else if (key == "locking") d.locking_active = value == "1";
    else if (key == "mbr_enable") d.mbr_enabled = value == "1";
    else if (key == "mbr_done") d.mbr_done = value == "1";
    else if (key.starts_with("range") && key.size() == 6 && key[5] >= '0' && key[5] <= '8') {
      OpalRange& r = d.ranges[static_cast<size_t>(key[5] - '0')];
      unsigned long long start = 0, length = 0;
      int a = 0, b = 0, c = 0, e = 0;
      ok = std::sscanf(value.c_str(), "%llu %llu %d %d %d %d", &start, &length, &a, &b, &c, &e) == 6;
      r = {start, length, a != 0, b != 0, c != 0, e != 0};
    }
    if (!ok) return std::nullopt;
  }
  if (d.msid.empty()) return std::nullopt;
  return d;
}

}  // namespace bayhal::sim
