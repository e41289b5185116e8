#include "disk/disk_store.h"

#include <charconv>

namespace bayhal::disk {

namespace {

// prefix, the number in decimal, suffix: the names are built on every record read, where
// a printf costs more than the rest of the name handling together.
std::string numbered(std::string_view prefix, int value, std::string_view suffix = {}) {
  char digits[12];
  auto [end, ec] = std::to_chars(digits, digits + sizeof digits, value);
  std::string out;
  out.reserve(prefix.size() + static_cast<size_t>(end - digits) + suffix.size());
  out.append(prefix).append(digits, end).append(suffix);
  return out;
}

}  // namespace

std::string store_file(int enc_id, const char* dir) {
  if (dir != nullptr && *dir != '\0') {
    std::string path = dir;
    if (path.back() != '/') path += '/';
    return path + numbered("enclosure_", enc_id, ".conf");
  }
  return numbered("/etc/enclosure_", enc_id, ".conf");
}

std::string history_file(int enc_id) { return numbered("/etc/enclosure_", enc_id, "_del.conf"); }

std::string boot_store_file(const char* dir) {
  if (dir != nullptr && *dir != '\0') {
    std::string path = dir;
    if (path.back() != '/') path += '/';
    return path + "hal.conf";
  }
  return kHalConf;
}

std::string section_for(int port_id) {
  if (is_virtual_id(port_id))
    return numbered("VirtualDisk_", port_id - PD_VIRTUAL_PORT_ID_BASE);
  return physical_section(port_id);
}

std::string physical_section(int port_id) { return numbered("PhysicalDisk_", port_id); }

std::string boot_section(int number) { return numbered("BootDisk_", number); }

std::string member_bitmap_key(int slot) { return numbered("pd", slot, "_member_bitmap"); }

IndexBit index_bit_for(int port_id) {
  if (is_member_id(port_id))
    return {member_bitmap_key(port_id / PD_MEMBER_PORT_ID_FACTOR),
            port_id % PD_MEMBER_PORT_ID_FACTOR};
  if (is_virtual_id(port_id)) return {kVirtualBitmap, port_id - PD_VIRTUAL_PORT_ID_BASE};
  return {kPdBitmap, port_id};
}

std::string sysid_key(std::string_view name) {
  std::string key = "pd_sysid_";
  key.append(name);
  return key;
}

std::string_view dev_base_name(std::string_view pd_sys_name) {
  size_t at = pd_sys_name.find("/dev/");
  if (at == std::string_view::npos) return {};
  return pd_sys_name.substr(at + 5);
}

bool usable_key_text(std::string_view text) {
  if (text.empty() || text.size() > 200) return false;
  for (char c : text) {
    auto u = static_cast<unsigned char>(c);
    if (u <= ' ' || u == 0x7f || c == '=' || c == '[' || c == ']' || c == ';' || c == '#')
      return false;
  }
  return true;
}

std::string store_value(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
  while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
  std::string out(text.substr(begin, end - begin));
  for (char& c : out) {
    auto u = static_cast<unsigned char>(c);
    if (u < ' ' || u == 0x7f) c = '?';
  }
  return out;
}

}  // namespace bayhal::disk
