// Arbitrary bytes through the store's text layer. Beyond not crashing, checks what the
// store relies on: the fast section scan reads what a line-by-line reading does, a key
// found is the one a section read returns, an edit of any text keeps every line the store
// does not understand and the new value reads back, and bitmap text round-trips.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ini/ini_bitmap.h"
#include "ini/ini_edit.h"
#include "ini/ini_text.h"
#include "tests/support/ini_reference.h"

using namespace bayhal::ini;

namespace {

void check(bool ok) {
  if (!ok) __builtin_trap();
}

// The lines no edit may lose: those that are neither blank, comment, header nor key.
std::vector<std::string_view> foreign_lines(std::string_view text) {
  std::vector<std::string_view> out;
  if (text.empty()) return out;
  const char* p = text.data();
  const char* end = p + text.size();
  while (p < end) {
    const char* body_end;
    if (next_line(p, end, body_end) == LineKind::bad) out.emplace_back(p, body_end - p);
    p = body_end + 1;
  }
  return out;
}

void edits(std::string_view text, std::string_view section, std::string_view key) {
  if (!valid_section_name(section) || !valid_key(key)) return;
  const std::vector<std::string_view> kept = foreign_lines(text);
  std::string out;
  const std::string_view value = "fuzz = value, with: spaces";
  Edit set{section, {{key, value}}, {}, false, {}};
  std::string_view now = apply_edit(text, set, out) == EditResult::changed ? std::string_view(out) : text;
  std::string_view got;
  check(foreign_lines(now) == kept);
  check(find_value(now, section, key, got) && got == value);

  std::string removed;
  Edit del{section, {}, {key}, false, {}};
  if (apply_edit(now, del, removed) == EditResult::changed) {
    check(foreign_lines(removed) == kept);
    check(!find_value(removed, section, key, got));
  }
  std::string gone;
  Edit drop{section, {}, {}, true, {}};
  if (apply_edit(now, drop, gone) == EditResult::changed) {
    check(foreign_lines(gone) == kept);
    check(!find_value(gone, section, key, got));
  }
}

// The fast scan reads `section` as a line-by-line reading does.
void same_reading(std::string_view text, std::string_view section) {
  bool want_found = false;
  KeyList want = read_line_by_line(text, section, want_found);
  KeyList got;
  bool found = for_each_key(text, section, [&](std::string_view k, std::string_view v) {
    got.emplace_back(k, v);
  });
  check(found == want_found && got == want);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> headers;
  for_each_header(text, [&](std::string_view name, size_t, size_t) { headers.emplace_back(name); });
  check(headers == headers_line_by_line(text));
  std::vector<std::string> names = section_names(text);
  names.insert(names.begin(), "");
  // Besides the names the text holds, its last line as a name: blanks, brackets and all.
  names.emplace_back(text.substr(text.rfind('\n') == std::string_view::npos ? 0 : text.rfind('\n') + 1));
  for (const std::string& name : names) same_reading(text, name);
  for (size_t i = 0; i < names.size() && i < 4; ++i) {
    std::vector<std::pair<std::string_view, std::string_view>> keys;
    collect_section(text, names[i], keys);
    for (size_t k = 0; k < keys.size() && k < 4; ++k) {
      std::string_view v;
      check(find_value(text, names[i], keys[k].first, v) && v == keys[k].second);
      edits(text, names[i], keys[k].first);
      Bitmap bm;
      if (bm.parse(keys[k].second)) {
        Bitmap again;
        check(again.parse(bm.format()) && again.format() == bm.format());
      }
    }
    edits(text, names[i], "new key (F) 3");
  }
  return 0;
}
