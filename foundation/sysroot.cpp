#include "foundation/sysroot.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>

namespace bayhal {
namespace {

std::string_view without_trailing_slashes(std::string_view root) {
  while (!root.empty() && root.back() == '/') root.remove_suffix(1);
  return root;
}

// A relative root is taken against the working directory the first time it is seen and
// kept: the library writes symbolic links and hands paths to other programs, and a root
// that moved with the working directory would point those somewhere else. Entries are
// never dropped, so the views handed out stay valid.
std::string_view absolute_root(const char* given) {
  struct Resolved {
    std::string given, absolute;
  };
  static std::mutex lock;
  static std::deque<Resolved> seen;
  std::lock_guard<std::mutex> hold(lock);
  for (const Resolved& r : seen)
    if (r.given == given) return r.absolute;
  std::error_code ec;
  std::filesystem::path cwd = std::filesystem::current_path(ec);
  // Without a working directory there is nothing to resolve against; the root is kept as
  // given, which then names nothing that exists (a deleted directory holds no entries).
  std::string absolute = ec ? std::string(given) : (cwd / given).lexically_normal().string();
  seen.push_back({given, std::string(without_trailing_slashes(absolute))});
  return seen.back().absolute;
}

}  // namespace

std::string_view sys_root() {
  const char* r = std::getenv("HAL_ROOT");
  if (r == nullptr || r[0] == '\0') return {};
  if (r[0] != '/') return absolute_root(r);
  return without_trailing_slashes(r);
}

bool is_unrooted_path(std::string_view path) {
  constexpr std::string_view proc = "/proc/";
  if (path.substr(0, proc.size()) != proc) return false;
  std::string_view rest = path.substr(proc.size());
  std::string_view first = rest.substr(0, rest.find('/'));
  if (first == "self" || first == "thread-self") return true;
  if (first.empty()) return false;
  for (char c : first)
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  return true;
}

namespace {

// What goes before `path`: the root for an absolute path that is not a live process entry.
std::string_view root_for(std::string_view path) {
  if (path.empty() || path.front() != '/' || is_unrooted_path(path)) return {};
  return sys_root();
}

}  // namespace

SysPath::SysPath(std::string_view path) {
  std::string_view root = root_for(path);
  if (root.size() + path.size() + 1 > sizeof(buf_)) {
    ok_ = false;
    buf_[0] = '\0';
    return;
  }
  // An empty view may carry a null pointer, which memcpy must never see.
  if (!root.empty()) std::memcpy(buf_, root.data(), root.size());
  if (!path.empty()) std::memcpy(buf_ + root.size(), path.data(), path.size());
  len_ = root.size() + path.size();
  buf_[len_] = '\0';
}

std::string sys_path(std::string_view path) {
  std::string out(root_for(path));
  out.append(path);
  return out;
}

std::string strip_root(std::string_view resolved) {
  std::string_view root = sys_root();
  if (root.empty() || resolved.substr(0, root.size()) != root) return std::string(resolved);
  std::string_view rest = resolved.substr(root.size());
  if (rest.empty()) return "/";
  if (rest.front() != '/') return std::string(resolved);
  return std::string(rest);
}

}  // namespace bayhal
