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
  // A monotonic time in microseconds, for the models that time what they are asked.
  virtual long long monotonic_us() = 0;
  virtual void sleep_ms(long ms) = 0;
  // Short waits of device protocols (an embedded controller is polled every 50 us).
  virtual void sleep_us(long us) = 0;
};

// The clock in force (the real one unless a test installed another).
Clock& clock();
// Installs `c` (not owned); nullptr restores the real clock.
void set_clock(Clock* c);

// Time that moves only when slept on or advanced by hand.
class VirtualClock : public Clock {
 public:
  explicit VirtualClock(std::time_t start = 1700000000, long uptime = 1000)
      : now_us_(static_cast<long long>(start) * 1000000), uptime_us_(uptime * 1000000LL) {}
  std::time_t now() override { return static_cast<std::time_t>(now_us_ / 1000000); }
  long uptime() override { return static_cast<long>(uptime_us_ / 1000000); }
  long long monotonic_us() override { return uptime_us_; }
  void sleep_ms(long ms) override { sleep_us(ms * 1000L); }
  void sleep_us(long us) override { advance_us(us); ++sleeps_; slept_us_ += us; }
  void advance_ms(long ms) { advance_us(ms * 1000L); }
  void advance_us(long us) { now_us_ += us; uptime_us_ += us; }
  int sleeps() const { return sleeps_; }
  long long slept_ms() const { return slept_us_ / 1000; }
  long long slept_us() const { return slept_us_; }

 private:
  long long now_us_;
  long long uptime_us_;
  int sleeps_ = 0;
  long long slept_us_ = 0;
};

using ScopedClock = ScopedSeam<Clock, set_clock>;

}  // namespace bayhal
