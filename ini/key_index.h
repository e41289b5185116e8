// The position of a key in a reader's fixed table of keys, for the readers that map each
// key line of a record onto a field. Every key of every record read is looked up, and the
// keys a table lacks must fail fast too: open addressing on the key's length and end bytes,
// the table built at compile time.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ini/ini_scan.h"

namespace bayhal::ini {

template <size_t Slots>
class KeyIndex {
 public:
  // `table[i].key` for every i: a table of fields, each naming its key.
  template <typename Table>
  constexpr explicit KeyIndex(const Table& table) {
    for (int16_t& s : slots_) s = -1;
    size_t n = 0;
    for (const auto& row : table) {
      if (n * 2 >= Slots) throw "a key index stays at most half full";  // a compile error
      size_t at = slot_of(row.key);
      while (slots_[at] >= 0) at = (at + 1) % Slots;
      slots_[at] = static_cast<int16_t>(n);
      keys_[n++] = row.key;
    }
  }

  // The row of `key`, or -1.
  int find(std::string_view key) const {
    if (key.empty()) return -1;
    for (size_t at = slot_of(key); slots_[at] >= 0; at = (at + 1) % Slots)
      if (same_text(keys_[static_cast<size_t>(slots_[at])], key)) return slots_[at];
    return -1;
  }

 private:
  static constexpr size_t slot_of(std::string_view key) {
    if (key.empty()) return 0;
    return (key.size() * 7 + static_cast<unsigned char>(key.front()) * 3 +
            static_cast<unsigned char>(key.back())) %
           Slots;
  }

  std::array<int16_t, Slots> slots_{};
  std::array<std::string_view, Slots / 2> keys_{};
};

}  // namespace bayhal::ini
