// What the self-encrypting-drive tool printed: the flags of "--query" and the locking ranges
// of "--listLockingRanges".
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "disk/sed_output.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  (void)bayhal::disk::sed_flag(text, "LockingEnabled");
  (void)bayhal::disk::sed_line_with(text, "Initial setup of TPer complete on /dev/sg1");
  for (int range : {0, 1, 8}) {
    bayhal::disk::SedRange r = bayhal::disk::sed_range(text, "/dev/sg1", range);
    if (r.found) (void)bayhal::disk::sed_flag(r.flags, "RLocked");
  }
  return 0;
}
