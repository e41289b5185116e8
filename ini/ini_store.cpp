#include "ini/ini_store.h"

#include <algorithm>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"

namespace bayhal::ini {

const std::string_view* Section::find(std::string_view key) const {
  for (const auto& [k, v] : entries)
    if (k == key) return &v;
  return nullptr;
}

std::optional<long long> Section::get_int(std::string_view key, bool hex) const {
  const std::string_view* v = find(key);
  long long out = 0;
  if (v == nullptr || !parse_int(*v, hex, out)) return std::nullopt;
  return out;
}

bool Section::get_text(std::string_view key, char* buf, size_t size) const {
  const std::string_view* v = find(key);
  if (v == nullptr || buf == nullptr || size == 0) return false;
  size_t n = std::min(v->size(), size - 1);
  std::memcpy(buf, v->data(), n);
  buf[n] = '\0';
  return true;
}

void Section::take(const std::vector<std::pair<std::string_view, std::string_view>>& views) {
  size_t total = 0;
  for (const auto& [k, v] : views) total += k.size() + v.size();
  auto block = std::make_shared_for_overwrite<char[]>(total == 0 ? 1 : total);
  char* at = block.get();
  auto copy = [&at](std::string_view t) {
    if (!t.empty()) std::memcpy(at, t.data(), t.size());
    std::string_view kept(at, t.size());
    at += t.size();
    return kept;
  };
  entries.clear();
  entries.reserve(views.size());
  for (const auto& [k, v] : views) {
    std::string_view key = copy(k);
    entries.emplace_back(key, copy(v));
  }
  text_ = std::move(block);
}

namespace {

// The whole file in this thread's read buffer; false when missing or unreadable.
bool load_text(const char* who, std::string_view file, std::string_view& text) {
  if (file.empty() || file.front() != '/') return check_file(who, std::string(file).c_str());
  SysPath path(file);
  if (!path.ok()) return check_resolved(who, std::string(file).c_str(), path);
  FileBuffer& buf = read_buffer();
  if (buf.load(path.c_str(), who) <= 0) return false;
  text = buf.view();
  return true;
}

}  // namespace

std::optional<Section> read_section(std::string_view file, std::string_view section) {
  std::string_view text;
  if (!load_text(__func__, file, text)) return std::nullopt;
  thread_local std::vector<std::pair<std::string_view, std::string_view>> views;
  views.clear();
  if (!collect_section(text, section, views)) {
    note_foreign_lines(__func__, file, text);
    return std::nullopt;
  }
  Section s;
  s.take(views);
  return s;
}

std::vector<std::string> list_sections(std::string_view file) {
  std::string_view text;
  if (!load_text(__func__, file, text)) return {};
  note_foreign_lines(__func__, file, text);
  std::vector<std::string> names = section_names(text);
  // The unnamed leading section has no [ ] line; a stray "[]" does not list it either.
  std::erase(names, std::string());
  return names;
}

int write_keys(std::string_view file, std::string_view section,
               const std::vector<std::pair<std::string, std::string>>& values,
               const std::vector<std::string>& remove) {
  std::string name(file);
  std::string sec(section);
  Edit e;
  e.section = section;
  for (const auto& [k, v] : values) {
    if (!check_names(__func__, sec.c_str(), k.c_str())) return -1;
    if (!valid_value(v)) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: bad value for key(%s) of [%s] in %s\n", __func__, k.c_str(),
                sec.c_str(), name.c_str());
      return -1;
    }
    e.set.emplace_back(k, v);
  }
  for (const auto& k : remove) {
    if (!check_names(__func__, sec.c_str(), k.c_str())) return -1;
    e.remove.emplace_back(k);
  }
  return update(__func__, name.c_str(), e) < 0 ? -1 : 0;
}

}  // namespace bayhal::ini
