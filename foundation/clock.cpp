#include "foundation/clock.h"

#include <sys/sysinfo.h>

#include <atomic>
#include <cerrno>

namespace bayhal {
namespace {

class RealClock : public Clock {
 public:
  std::time_t now() override { return std::time(nullptr); }
  long uptime() override {
    struct sysinfo info {};
    if (sysinfo(&info) != 0) return 0;
    return info.uptime;
  }
  long long monotonic_us() override {
    struct timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000000LL + ts.tv_nsec / 1000;
  }
  void sleep_ms(long ms) override { sleep_us(ms * 1000L); }
  void sleep_us(long us) override {
    struct timespec ts {us / 1000000, (us % 1000000) * 1000L};
    while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
    }
  }
};

RealClock g_real;
std::atomic<Clock*> g_clock{&g_real};

}  // namespace

Clock& clock() { return *g_clock.load(std::memory_order_acquire); }

void set_clock(Clock* c) { g_clock.store(c ? c : &g_real, std::memory_order_release); }

}  // namespace bayhal
