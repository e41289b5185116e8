#include "foundation/sysroot.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace bayhal {

std::string_view sys_root() {
  const char* r = std::getenv("HAL_ROOT");
  if (r == nullptr) return {};
  std::string_view root(r);
  while (!root.empty() && root.back() == '/') root.remove_suffix(1);
  return root;
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

SysPath::SysPath(std::string_view path) {
  std::string_view root;
  if (!path.empty() && path.front() == '/' && !is_unrooted_path(path)) root = sys_root();
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
  if (path.empty() || path.front() != '/' || is_unrooted_path(path)) return std::string(path);
  std::string out(sys_root());
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
