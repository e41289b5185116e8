// The one guard for every seam (system services reached through an installable object):
// a seam offers `set_x(p)` (nullptr restores its default), and ScopedSeam installs for a
// scope. Each seam header names its guard: using ScopedClock = ScopedSeam<Clock, set_clock>.
#pragma once

namespace bayhal {

template <typename T, void (*Install)(T*)>
class ScopedSeam {
 public:
  explicit ScopedSeam(T& replacement) { Install(&replacement); }
  ~ScopedSeam() { Install(nullptr); }
  ScopedSeam(const ScopedSeam&) = delete;
  ScopedSeam& operator=(const ScopedSeam&) = delete;
};

}  // namespace bayhal
