// One read of a disk store, looked at in place. The registry's hot reads (a whole record,
// an enclosure's listing) want a section out of a file of dozens of sections; the lines of
// the other sections are skipped by searching for '[' instead of classifying every line.
// Lines are classified by the store's own rules (ini::classify), so a section, a key and
// "first occurrence wins" mean exactly what they mean to the store.
#pragma once
#include <string_view>
#include <utility>
#include <vector>

#include "ini/ini_file.h"
#include "ini/ini_text.h"

namespace bayhal::disk {

class StoreText {
 public:
  // Reads `file` (an appliance path, resolved under the system root). False when it is
  // missing or unreadable; the view is then empty.
  bool load(const char* file);
  // Takes `text` as the store's contents (a copy), as if it had been read.
  void assign(std::string_view text);
  std::string_view text() const { return buf_.view(); }

  // Calls fn(key, value) for every key line of `section` in file order ("" is the unnamed
  // leading section). Only the first block of a section named twice counts, as everywhere
  // in the store. False when the section is missing.
  template <typename Fn>
  bool for_each_key(std::string_view section, Fn&& fn) const;

  // Calls fn(name, body) for every section header in file order; `body` is the text of the
  // lines up to the next header.
  template <typename Fn>
  void for_each_section(Fn&& fn) const {
    index_headers();
    for (const Header& h : headers_) fn(h.name, text().substr(h.body, h.end - h.body));
  }

  // Calls fn(key, value) for the key lines of one section body.
  template <typename Fn>
  static void for_each_key_in(std::string_view body, Fn&& fn);

  // First value of `key` in `section`.
  bool find(std::string_view section, std::string_view key, std::string_view& value) const;

 private:
  struct Header {
    std::string_view name;
    size_t line;  // first byte of the header line
    size_t body;  // first byte after the header line
    size_t end;   // start of the next header line, or the end of the text
  };
  void index_headers() const;

  ini::FileBuffer buf_;
  mutable std::vector<Header> headers_;
  mutable bool indexed_ = false;
};

template <typename Fn>
void StoreText::for_each_key_in(std::string_view body, Fn&& fn) {
  ini::scan_keys(body.data(), body.data() + body.size(), [&](std::string_view k, std::string_view v) {
    fn(k, v);
    return true;
  });
}

template <typename Fn>
bool StoreText::for_each_key(std::string_view section, Fn&& fn) const {
  // The store's own scan: it jumps from header to header and ends with the section.
  return ini::for_each_key(text(), section, std::forward<Fn>(fn));
}

}  // namespace bayhal::disk
