// One health reading of a disk as the device readers return it, whatever the disk's type:
// attribute entries with documented names, the verdict and the self-test state. The disk
// registry turns it into its cached form (PD_SMART_INFO).
#pragma once
#include <cstddef>
#include <vector>

#include "bayhal/PD_SMART.h"

namespace bayhal {

struct SmartReading {
  int type = PD_SMART_TYPE_ATA;
  int verdict = -1;            // 0 passed, 1 failure predicted, -1 the disk did not say
  int temperature = -1;        // °C
  int test_status = -1;        // PD_SMART_TEST_*
  int test_progress = -1;      // percent done; 100 when no test runs
  int short_minutes = -1;      // polling times
  int extended_minutes = -1;
  bool checksum_ok = true;     // ATA: the data page's checksum byte
  std::vector<PD_SMART_ATTR> attrs;

  // Appends an entry (name cut to fit); value, worst and threshold as given.
  void add(unsigned id, const char* name, unsigned long long raw, unsigned value = 0,
           unsigned worst = 0, unsigned threshold = 0, unsigned flags = 0);
  // Drops the entries beyond the first `size`.
  void keep(int size) {
    if (size >= 0 && attrs.size() > static_cast<size_t>(size)) attrs.resize(static_cast<size_t>(size));
  }
  // The entry with `id`, or nullptr.
  const PD_SMART_ATTR* find(unsigned id) const;
};

}  // namespace bayhal
