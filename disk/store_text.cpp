#include "disk/store_text.h"


#include "foundation/sysroot.h"
#include "ini/ini_text.h"

namespace bayhal::disk {

void StoreText::assign(std::string_view text) {
  indexed_ = false;
  headers_.clear();
  buf_.assign(text);
}

bool StoreText::load(const char* file) {
  indexed_ = false;
  headers_.clear();
  buf_.clear();
  SysPath path(file);
  if (!path.ok()) return false;
  if (buf_.load(path.c_str(), "StoreText") > 0) return true;
  buf_.clear();
  return false;
}

void StoreText::index_headers() const {
  if (indexed_) return;
  indexed_ = true;
  const size_t size = text().size();
  ini::for_each_header(text(), [&](std::string_view name, size_t line, size_t body) {
    if (!headers_.empty()) headers_.back().end = line;
    headers_.push_back({name, line, body, size});
  });
}

bool StoreText::find(std::string_view section, std::string_view key,
                     std::string_view& value) const {
  bool got = false;
  for_each_key(section, [&](std::string_view k, std::string_view v) {
    if (!got && k == key) {
      value = v;
      got = true;
    }
  });
  return got;
}

}  // namespace bayhal::disk
