#include "disk_sys/sysfs_util.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <fstream>

#include "foundation/sysroot.h"

namespace bayhal {

namespace fs = std::filesystem;

bool sysfs_exists(std::string_view path) {
  struct stat st {};
  return ::stat(SysPath(path).c_str(), &st) == 0;
}

bool sysfs_is_dir(std::string_view path) {
  struct stat st {};
  return ::stat(SysPath(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

namespace {

// Natural order: runs of digits compare by value.
bool natural_less(const std::string& a, const std::string& b) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (std::isdigit(static_cast<unsigned char>(a[i])) &&
        std::isdigit(static_cast<unsigned char>(b[j]))) {
      size_t i2 = i, j2 = j;
      while (i2 < a.size() && std::isdigit(static_cast<unsigned char>(a[i2]))) ++i2;
      while (j2 < b.size() && std::isdigit(static_cast<unsigned char>(b[j2]))) ++j2;
      std::string_view na(a.data() + i, i2 - i), nb(b.data() + j, j2 - j);
      while (na.size() > 1 && na[0] == '0') na.remove_prefix(1);
      while (nb.size() > 1 && nb[0] == '0') nb.remove_prefix(1);
      if (na.size() != nb.size()) return na.size() < nb.size();
      if (na != nb) return na < nb;
      i = i2;
      j = j2;
    } else {
      if (a[i] != b[j]) return a[i] < b[j];
      ++i;
      ++j;
    }
  }
  return a.size() - i < b.size() - j;
}

std::string canonical_root() {
  std::string_view root = sys_root();
  if (root.empty()) return {};
  std::error_code ec;
  fs::path c = fs::canonical(std::string(root), ec);
  return ec ? std::string(root) : c.string();
}

}  // namespace

std::vector<std::string> sysfs_list(std::string_view dir) {
  std::vector<std::string> out;
  std::error_code ec;
  for (fs::directory_iterator it(SysPath(dir).c_str(), ec), end; !ec && it != end;
       it.increment(ec))
    out.push_back(it->path().filename().string());
  std::sort(out.begin(), out.end(), natural_less);
  return out;
}

std::optional<std::string> sysfs_read(std::string_view path) {
  std::ifstream in(SysPath(path).c_str());
  if (!in) return std::nullopt;
  std::string line;
  if (!std::getline(in, line) && !in.eof()) return std::nullopt;
  size_t b = line.find_first_not_of(" \t\r");
  if (b == std::string::npos) return std::string();
  size_t e = line.find_last_not_of(" \t\r");
  return line.substr(b, e - b + 1);
}

std::optional<long long> parse_number(std::string_view t) {
  while (!t.empty() && std::isspace(static_cast<unsigned char>(t.front()))) t.remove_prefix(1);
  while (!t.empty() && std::isspace(static_cast<unsigned char>(t.back()))) t.remove_suffix(1);
  bool neg = !t.empty() && t.front() == '-';
  if (neg) t.remove_prefix(1);
  int base = 10;
  if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
    base = 16;
    t.remove_prefix(2);
  }
  long long v = 0;
  auto [p, ec] = std::from_chars(t.data(), t.data() + t.size(), v, base);
  if (t.empty() || ec != std::errc() || p != t.data() + t.size()) return std::nullopt;
  return neg ? -v : v;
}

std::optional<long long> sysfs_read_int(std::string_view path) {
  auto s = sysfs_read(path);
  if (!s) return std::nullopt;
  return parse_number(*s);
}

bool sysfs_write(std::string_view path, std::string_view value) {
  std::ofstream out(SysPath(path).c_str(), std::ios::trunc);
  if (!out) return false;
  out << value;
  out.flush();
  return static_cast<bool>(out);
}

std::string sysfs_resolve(std::string_view path) {
  std::error_code ec;
  fs::path c = fs::canonical(SysPath(path).c_str(), ec);
  if (ec) return {};
  std::string s = c.string();
  std::string root = canonical_root();
  if (root.empty()) return s;
  if (s.compare(0, root.size(), root) != 0) return {};
  s.erase(0, root.size());
  return s.empty() ? "/" : s;
}

std::string sysfs_link_name(std::string_view path) {
  std::error_code ec;
  fs::path target = fs::read_symlink(SysPath(path).c_str(), ec);
  if (ec) return {};
  return target.filename().string();
}

int index_after(std::string_view name, std::string_view prefix) {
  if (name.substr(0, prefix.size()) != prefix) return -1;
  std::string_view rest = name.substr(prefix.size());
  int v = 0;
  auto [p, ec] = std::from_chars(rest.data(), rest.data() + rest.size(), v);
  if (rest.empty() || ec != std::errc() || p != rest.data() + rest.size() || v < 0) return -1;
  return v;
}

}  // namespace bayhal
