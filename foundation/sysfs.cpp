#include "foundation/sysfs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "foundation/unique_fd.h"

namespace bayhal {

namespace fs = std::filesystem;

namespace {

// Up to `limit` bytes of the file; `more` tells whether it holds more than that.
std::optional<std::string> read_up_to(std::string_view path, size_t limit, bool* more) {
  UniqueFd fd(::open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return std::nullopt;
  std::string out;
  char buf[4096];
  for (;;) {
    size_t want = std::min(sizeof buf, limit - out.size() + 1);
    ssize_t n = ::read(fd.get(), buf, want);
    if (n < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (n == 0) break;
    size_t keep = std::min(static_cast<size_t>(n), limit - out.size());
    out.append(buf, keep);
    if (keep < static_cast<size_t>(n)) {
      if (more) *more = true;
      return out;
    }
  }
  if (more) *more = false;
  return out;
}

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

std::optional<std::string> read_file(std::string_view path, size_t max) {
  bool more = false;
  auto text = read_up_to(path, max, &more);
  if (!text || more) return std::nullopt;
  return text;
}

std::optional<std::string> read_head(std::string_view path, size_t n) {
  return read_up_to(path, n, nullptr);
}

std::optional<std::string> sysfs_read(std::string_view path) {
  // An attribute is at most a page.
  auto text = read_head(path, 4096);
  if (!text) return std::nullopt;
  return std::string(trim(first_line(*text)));
}

std::optional<long long> sysfs_read_int(std::string_view path) {
  auto s = sysfs_read(path);
  if (!s) return std::nullopt;
  return parse_number(*s);
}

bool sysfs_write(std::string_view path, std::string_view value) {
  UniqueFd fd(::open(SysPath(path).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  if (!fd) return false;
  return ::write(fd.get(), value.data(), value.size()) == static_cast<ssize_t>(value.size());
}

bool sysfs_exists(std::string_view path) {
  struct stat st {};
  return ::stat(SysPath(path).c_str(), &st) == 0;
}

bool sysfs_is_dir(std::string_view path) {
  struct stat st {};
  return ::stat(SysPath(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::vector<std::string> sysfs_list(std::string_view dir) {
  std::vector<std::string> out;
  std::error_code ec;
  for (fs::directory_iterator it(SysPath(dir).c_str(), ec), end; !ec && it != end;
       it.increment(ec))
    out.push_back(it->path().filename().string());
  std::sort(out.begin(), out.end(), natural_less);
  return out;
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

}  // namespace bayhal
