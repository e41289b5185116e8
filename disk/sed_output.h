// What the self-encrypting-drive tool's output says. The text comes from an outside program
// (and, through it, from the drive): every read is bounded by the text.
#pragma once
#include <string_view>

namespace bayhal::disk {

// The first line of `text` that holds `needle`, or an empty view.
std::string_view sed_line_with(std::string_view text, std::string_view needle);

// "<flag> = Y" (a whole word: "Locked" is not the tail of "RLocked") gives 1, "<flag> = N"
// 0, neither -1.
int sed_flag(std::string_view text, std::string_view flag);

// A locking range in "--listLockingRanges" output: its line "LR<n> Begin <start> for
// <length>" after "Locking Range Configuration for <device>", and the flags line below it.
struct SedRange {
  long long start = 0, length = 0;
  std::string_view flags;
  bool found = false;
};
SedRange sed_range(std::string_view text, std::string_view device, int range_id);

}  // namespace bayhal::disk
