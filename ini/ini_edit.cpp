#include "ini/ini_edit.h"

#include <algorithm>
#include <cstring>

#include "ini/ini_text.h"

namespace bayhal::ini {
namespace {

// Replace [begin, end) of the input with `text`; an insertion has begin == end.
struct Patch {
  size_t begin;
  size_t end;
  std::string text;
};

long find_in(const std::vector<std::string_view>& v, std::string_view s) {
  for (size_t i = 0; i < v.size(); ++i)
    if (v[i] == s) return static_cast<long>(i);
  return -1;
}

// The value a key is set to: its last mention in the edit wins.
long last_set(const Edit& e, std::string_view key) {
  for (size_t j = e.set.size(); j-- > 0;)
    if (e.set[j].first == key) return static_cast<long>(j);
  return -1;
}

void append_key(std::string& out, std::string_view k, std::string_view v) {
  out.append(k).append(" = ").append(v).push_back('\n');
}

class Editor {
 public:
  Editor(std::string_view text, const Edit& e)
      : text_(text), e_(e), done_(e.set.size(), false) {}

  void scan(size_t* foreign_line) {
    size_t pos = 0, n = 0;
    inside_ = e_.section.empty();
    if (inside_) open_block(0, 0);
    const char* base = text_.data();
    while (pos < text_.size()) {
      const char* be;
      LineKind kind = next_line(base + pos, base + text_.size(), be);
      size_t body_end = static_cast<size_t>(be - base);
      size_t end = body_end < text_.size() ? body_end + 1 : body_end;
      ++n;
      if (kind == LineKind::bad && foreign_line != nullptr && *foreign_line == 0) *foreign_line = n;
      line(kind, pos, body_end, end);
      pos = end;
    }
    close_block();
    if (first_header_ == npos) first_header_ = text_.size();
  }

  EditResult build(std::string& out) {
    add_new_keys();
    if (patches_.empty()) return EditResult::unchanged;
    std::stable_sort(patches_.begin(), patches_.end(),
                     [](const Patch& a, const Patch& b) { return a.begin < b.begin; });
    out.clear();
    out.reserve(text_.size() + 256);
    size_t at = 0;
    for (const Patch& p : patches_) {
      out.append(text_.substr(at, p.begin - at));
      out.append(p.text);
      at = p.end;
    }
    out.append(text_.substr(at));
    return EditResult::changed;
  }

 private:
  static constexpr size_t npos = std::string_view::npos;

  void line(LineKind kind, size_t begin, size_t body_end, size_t end) {
    std::string_view raw = text_.substr(begin, body_end - begin);
    // Only headers and the edited section's keys need splitting; the rest is just checked.
    Line l;
    l.kind = kind;
    if (kind == LineKind::section || (kind == LineKind::key && inside_)) l = classify(raw);
    switch (l.kind) {
      case LineKind::bad:
        if (inside_) keep_foreign(end);
        break;
      case LineKind::section:
        if (first_header_ == npos) first_header_ = begin;
        close_block();
        // Only a section's first block counts; removing a section removes every block.
        inside_ = l.name == e_.section && (blocks_ == 0 || e_.remove_section);
        if (inside_) open_block(begin, end);
        break;
      case LineKind::key:
        if (inside_) key_line(l, begin, end);
        break;
      case LineKind::blank:
        if (inside_ && blanks_end_ == begin) blanks_end_ = end;
        break;
      case LineKind::comment:
        break;
    }
  }

  // A removed section's foreign line stays: what was deleted before it is one patch, and
  // deletion goes on after it.
  void keep_foreign(size_t end) {
    if (!e_.remove_section || !has_header_) return;
    if (blanks_end_ > del_begin_) patches_.push_back({del_begin_, blanks_end_, {}});
    del_begin_ = blanks_end_ = end;
  }

  void open_block(size_t header_begin, size_t header_end) {
    ++blocks_;
    del_begin_ = header_begin;
    blanks_end_ = header_end;
    has_header_ = header_end > header_begin;
    if (blocks_ == 1) insert_at_ = header_end;
  }

  void close_block() {
    if (!inside_ || blocks_ == 0) return;
    if (e_.remove_section && has_header_ && blanks_end_ > del_begin_)
      patches_.push_back({del_begin_, blanks_end_, {}});
    inside_ = false;
  }

  void key_line(const Line& l, size_t begin, size_t end) {
    blanks_end_ = end;
    if (blocks_ == 1) insert_at_ = end, first_block_has_keys_ = true;
    if (e_.remove_section) {
      if (!has_header_) patches_.push_back({begin, end, {}});  // unnamed: key lines only
      return;
    }
    if (find_in(e_.remove, l.name) >= 0) {
      patches_.push_back({begin, end, {}});
      return;
    }
    long k = last_set(e_, l.name);
    if (k < 0 || done_[static_cast<size_t>(k)]) return;
    done_[static_cast<size_t>(k)] = true;
    std::string_view value = e_.set[static_cast<size_t>(k)].second;
    if (l.value == value) return;
    // Replace just the value: the key's spelling and spacing stay as they were.
    size_t v_begin = static_cast<size_t>(l.value.data() - text_.data());
    std::string repl;
    if (l.value.empty() && text_[v_begin - 1] == '=') repl.push_back(' ');
    repl.append(value);
    size_t v_end = v_begin + l.value.size();
    patches_.push_back({v_begin, v_end, std::move(repl)});
  }

  void add_new_keys() {
    if (e_.remove_section) return;
    std::string add;
    for (size_t k = 0; k < e_.set.size(); ++k) {
      const auto& [key, value] = e_.set[k];
      if (done_[k] || last_set(e_, key) != static_cast<long>(k) || find_in(e_.remove, key) >= 0)
        continue;
      append_key(add, key, value);
    }
    if (add.empty()) return;
    bool no_newline_at_end = !text_.empty() && text_.back() != '\n';
    if (blocks_ == 0) {
      std::string tail;
      if (no_newline_at_end) tail.push_back('\n');
      if (!text_.empty() && !text_.ends_with("\n\n")) tail.push_back('\n');
      tail.append("[").append(e_.section).append("]\n").append(add);
      patches_.push_back({text_.size(), text_.size(), std::move(tail)});
      return;
    }
    size_t at = insert_at_;
    if (e_.section.empty() && !first_block_has_keys_) at = first_header_;
    if (at == text_.size() && no_newline_at_end) add.insert(add.begin(), '\n');
    patches_.push_back({at, at, std::move(add)});
  }

  std::string_view text_;
  const Edit& e_;
  std::vector<bool> done_;
  std::vector<Patch> patches_;
  bool inside_ = false;
  bool has_header_ = false;
  bool first_block_has_keys_ = false;
  int blocks_ = 0;
  size_t first_header_ = npos;
  size_t insert_at_ = 0;
  size_t del_begin_ = 0, blanks_end_ = 0;
};

}  // namespace

EditResult apply_edit(std::string_view text, const Edit& edit, std::string& out,
                      size_t* foreign_line) {
  if (foreign_line != nullptr) *foreign_line = 0;
  Editor ed(text, edit);
  ed.scan(foreign_line);
  return ed.build(out);
}

}  // namespace bayhal::ini
