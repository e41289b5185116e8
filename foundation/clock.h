// The clock seam: wall time, uptime and sleeps. Tests install a VirtualClock so that
// waits written in seconds cost nothing and are observable.
#pragma once
#include <ctime>

#include "foundation/seam.h"

namespace bayhal {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual std::time_t now() = 0;        // wall-clock seconds
  virtual long uptime() = 0;            // seconds since boot
  virtual void sleep_ms(long ms) = 0;
};

// The clock in force (the real one unless a test installed another).
Clock& clock();
// Installs `c` (not owned); nullptr restores the real clock.
void set_clock(Clock* c);

// Time that moves only when slept on or advanced by hand.
class VirtualClock : public Clock {
 public:
  explicit VirtualClock(std::time_t start = 1700000000, long uptime = 1000)
      : now_ms_(static_cast<long long>(start) * 1000), uptime_ms_(uptime * 1000LL) {}
  std::time_t now() override { return static_cast<std::time_t>(now_ms_ / 1000); }
  long uptime() override { return static_cast<long>(uptime_ms_ / 1000); }
  void sleep_ms(long ms) override { advance_ms(ms); ++sleeps_; slept_ms_ += ms; }
  void advance_ms(long ms) { now_ms_ += ms; uptime_ms_ += ms; }
  int sleeps() const { return sleeps_; }
  long long slept_ms() const { return slept_ms_; }

 private:
  long long now_ms_;
  long long uptime_ms_;
  int sleeps_ = 0;
  long long slept_ms_ = 0;
};

using ScopedClock = ScopedSeam<Clock, set_clock>;

}  // namespace bayhal
