// Text edits of an INI file that keep every byte they do not touch.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bayhal::ini {

struct Edit {
  std::string_view section;
  std::vector<std::pair<std::string_view, std::string_view>> set;  // key, value
  std::vector<std::string_view> remove;                            // keys to delete
  bool remove_section = false;
  // Edits of other sections of the same file that land in the same replacement, applied
  // in order after this one: a record and its index change together or not at all.
  std::vector<Edit> then;
};

enum class EditResult { unchanged, changed };

// Applies `edit` to `text` into `out` in one pass over the lines plus one copy. Only the
// first block of a section named twice is read and edited, as the scans read it. An
// existing key keeps its line and spelling, only the value is replaced; a new key goes
// after the last key line of that block (the unnamed section: before the first header); a
// new section goes at the end of the file. Removing a section drops its
// header, its keys and the blank lines after them, but keeps comments that lead into the
// next section. A line that is neither blank, comment, [section] nor key = value (a hand
// edit, another tool's line) is kept byte for byte wherever it stands, removed sections
// included; `foreign_line` gets the 1-based number of the first one (0: none).
EditResult apply_edit(std::string_view text, const Edit& edit, std::string& out,
                      size_t* foreign_line = nullptr);

}  // namespace bayhal::ini
