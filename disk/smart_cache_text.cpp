#include "disk/smart_cache_text.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace bayhal {
namespace {

constexpr int kHeaderFields = 13;
constexpr int kFirstAutoBase = 9;  // fields 10-13 (from 0: 9-12) are read with automatic base

// Reads the text field by field in one pass: each read takes a field and the separator
// after it, which must be `sep`.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : p_(text.data()), end_(text.data() + text.size()) {}
  bool empty() const { return p_ == end_; }

  // Decimal digits, at most `max`.
  bool number(uint64_t& v, uint64_t max, char sep) {
    const char* start = p_;
    v = 0;
    for (; p_ < end_ && *p_ >= '0' && *p_ <= '9'; ++p_) {
      unsigned d = static_cast<unsigned>(*p_ - '0');
      if (v > (max - d) / 10) return false;
      v = v * 10 + d;
    }
    return p_ != start && take(sep);
  }
  template <typename T>
  bool field(T& out, uint64_t max, char sep) {
    uint64_t v = 0;
    if (!number(v, max, sep)) return false;
    out = static_cast<T>(v);
    return true;
  }
  // A header number: decimal with an optional minus, or with `auto_base` as strtol reads it
  // (0x hexadecimal, a leading 0 octal); 0xffffffff reads back as -1, as into an int.
  bool header(int& out, bool auto_base, char sep) {
    bool neg = p_ < end_ && *p_ == '-';
    if (neg) ++p_;
    unsigned base = 10;
    if (auto_base && end_ - p_ > 2 && p_[0] == '0' && (p_[1] == 'x' || p_[1] == 'X')) {
      base = 16;
      p_ += 2;
    } else if (auto_base && end_ - p_ > 1 && p_[0] == '0' && p_[1] >= '0' && p_[1] <= '9') {
      base = 8;
    }
    const char* start = p_;
    uint64_t v = 0;
    for (int d; p_ < end_ && (d = digit(*p_, base)) >= 0; ++p_)
      if ((v = v * base + static_cast<unsigned>(d)) > UINT32_MAX) return false;
    if (p_ == start || !take(sep)) return false;
    out = static_cast<int>(neg ? -static_cast<int64_t>(v) : static_cast<int64_t>(static_cast<uint32_t>(v)));
    return !neg || v <= static_cast<uint64_t>(INT32_MAX) + 1;
  }
  // Text up to `sep`, at most max_len characters, no line break.
  bool text(std::string_view& out, size_t max_len, char sep) {
    const char* start = p_;
    while (p_ < end_ && *p_ != sep && *p_ != '\n') ++p_;
    out = std::string_view(start, static_cast<size_t>(p_ - start));
    return out.size() <= max_len && take(sep);
  }

 private:
  const char* p_;
  const char* end_;

  bool take(char c) {
    if (p_ == end_ || *p_ != c) return false;
    ++p_;
    return true;
  }
  static int digit(char c, unsigned base) {
    int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
    return d >= 0 && static_cast<unsigned>(d) < base ? d : -1;
  }
};

bool parse_header(Cursor& c, int (&h)[kHeaderFields]) {
  for (int i = 0; i < kHeaderFields; ++i)
    if (!c.header(h[i], i >= kFirstAutoBase, i + 1 < kHeaderFields ? ',' : '\n')) return false;
  return true;
}

bool parse_entry(Cursor& c, PD_SMART_ENTRY& e) {
  std::string_view name;
  if (!c.field(e.id, UINT32_MAX, ',') || !c.text(name, sizeof e.name - 1, ',')) return false;
  std::memcpy(e.name, name.data(), name.size());
  e.name[name.size()] = '\0';
  return c.field(e.value, 255, ',') && c.field(e.worst, 255, ',') && c.field(e.threshold, 255, ',') &&
         c.field(e.raw, UINT64_MAX, ',') && c.field(e.flags, 0xffff, '\n');
}

}  // namespace

SmartInfoPtr smart_info_alloc(int count) {
  if (count < 0 || count > PD_SMART_MAX_ATTRS) return nullptr;
  size_t size = sizeof(PD_SMART_INFO) + sizeof(PD_SMART_ENTRY) * static_cast<size_t>(count);
  auto* p = static_cast<PD_SMART_INFO*>(std::calloc(1, size));
  if (p) p->count = count;
  return SmartInfoPtr(p);
}

SmartInfoPtr smart_info_copy(const PD_SMART_INFO& info) {
  SmartInfoPtr p = smart_info_alloc(info.count);
  if (p)
    std::memcpy(p.get(), &info,
                sizeof(PD_SMART_INFO) + sizeof(PD_SMART_ENTRY) * static_cast<size_t>(info.count));
  return p;
}

std::string smart_cache_format(const PD_SMART_INFO& i) {
  std::string out;
  char line[160];
  int n = std::snprintf(line, sizeof line, "%d,%d,%d,%d,%d,%d,%d,%d,%d,0x%04x,%d,%d,%d\n",
                        i.count, i.type, i.verdict, i.temperature, i.test_status,
                        i.test_progress, i.short_minutes, i.extended_minutes, i.read_time,
                        static_cast<unsigned>(i.state), i.skipped, i.warnings, i.notify_event);
  out.append(line, static_cast<size_t>(n));
  for (int k = 0; k < i.count; ++k) {
    const PD_SMART_ENTRY& e = i.attrs[k];
    n = std::snprintf(line, sizeof line, "%u,%.*s,%u,%u,%u,%llu,%u\n", e.id,
                      static_cast<int>(strnlen(e.name, sizeof e.name)), e.name, e.value, e.worst,
                      e.threshold, e.raw, e.flags);
    out.append(line, static_cast<size_t>(n));
  }
  return out;
}

SmartInfoPtr smart_cache_parse(std::string_view text, int* bad_line) {
  int dummy = 0;
  int& bad = bad_line ? *bad_line : dummy;
  bad = 1;
  Cursor c(text);
  int h[kHeaderFields] = {};
  if (!parse_header(c, h)) return nullptr;
  SmartInfoPtr info = smart_info_alloc(h[0]);
  if (!info) return nullptr;
  std::memcpy(info.get(), h, sizeof h);
  for (int k = 0; k < h[0]; ++k) {
    bad = k + 2;
    if (!parse_entry(c, info->attrs[k])) return nullptr;
  }
  bad = h[0] + 2;
  if (!c.empty()) return nullptr;  // more than the header says, or a torn tail
  bad = 0;
  return info;
}

}  // namespace bayhal
