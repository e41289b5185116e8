// The buzzer: the device the board has for it, and the beep patterns played on devices that
// only know a short and a long beep.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/SE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"
#include "foundation/clock.h"
#include "foundation/sysroot.h"
#include "ini/ini_lock.h"
#include "model/model_keys.h"

namespace bayhal::board {
namespace {

constexpr int kControllerPlays = 0x100;  // a controller plays pattern | 0x100 by itself
constexpr char kBuzzerLock[] = "/var/lock/buzzer.lck";

constexpr int kShort = 0;
constexpr int kLong = 1;

struct Step {
  int beep;     // kShort or kLong
  int gap_ms;   // silence after it
};

struct Pattern {
  int first, last;  // the pattern numbers it serves
  int count;
  Step steps[3];
  bool emcu_differs;   // the enhanced microcontroller keeps other gaps
  Step emcu_steps[3];
};

constexpr Pattern kPatterns[] = {
    {0, 0, 1, {{kShort, 0}}, false, {}},
    {101, 101, 1, {{kShort, 0}}, false, {}},
    {1, 1, 1, {{kLong, 0}}, false, {}},
    {100, 100, 1, {{kLong, 0}}, false, {}},
    {2, 2, 3, {{kShort, 1000}, {kShort, 1000}, {kShort, 0}}, false, {}},
    {3, 7, 2, {{kLong, 2000}, {kLong, 0}}, false, {}},
    {10, 11, 2, {{kLong, 2000}, {kLong, 0}}, false, {}},
    {15, 20, 2, {{kLong, 2000}, {kLong, 0}}, false, {}},
    {8, 9, 3, {{kLong, 2000}, {kLong, 2000}, {kLong, 0}}, false, {}},
    {12, 13, 3, {{kLong, 500}, {kShort, 250}, {kShort, 0}}, true,
     {{kLong, 2000}, {kShort, 750}, {kShort, 0}}},
    {14, 14, 3, {{kShort, 125}, {kShort, 125}, {kShort, 0}}, true,
     {{kShort, 625}, {kShort, 625}, {kShort, 0}}},
};

const Pattern* find_pattern(int pattern) {
  for (const Pattern& p : kPatterns)
    if (pattern >= p.first && pattern <= p.last) return &p;
  return nullptr;
}

int play(const char* who, Family f, int pattern) {
  const Pattern* p = find_pattern(pattern);
  if (p == nullptr) return 0;  // an unknown pattern plays nothing
  const Step* steps = f == Family::kEmcu && p->emcu_differs ? p->emcu_steps : p->steps;
  for (int i = 0; i < p->count; ++i) {
    int rc = call_driver(who, f, &Driver::beep, Target{}, steps[i].beep);
    if (rc < 0) return rc;
    if (steps[i].gap_ms > 0) clock().sleep_ms(steps[i].gap_ms);
  }
  return 0;
}

int root_set_buzzer(int pattern) {
  unsigned cap = model::system_cap();
  ini::PathLock lock(sys_path(kBuzzerLock));
  if (!lock.ok()) return -1;
  if (cap & SE_CAP_PIC)
    return call_driver(__func__, Family::kPic, &Driver::send_command, Target{}, pattern | kControllerPlays);
  if (cap & SE_CAP_MCU)
    return call_driver(__func__, Family::kMcu, &Driver::send_command, Target{}, pattern | kControllerPlays);
  if (mcu_family() == Family::kEmcu) return play(__func__, Family::kEmcu, pattern);
  if (select_function(Function::kBuzzer).choice != nullptr)
    return play(__func__, Family::kEc, pattern);
  return play(__func__, Family::kBeeper, pattern);
}

}  // namespace

int se_sys_set_buzzer(const char* enc_sys_id, int pattern) {
  return dispatch(
      __func__, enc_sys_id, -1, static_cast<Branches>(UnitKind::kRoot), Unknown::kNotImplement,
      [&] { return root_set_buzzer(pattern); }, &Driver::beep, pattern);
}

}  // namespace bayhal::board
