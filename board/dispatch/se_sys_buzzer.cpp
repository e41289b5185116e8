// The buzzer: the device the board has for it, and the beep patterns played on devices that
// only know a short and a long beep.
#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"
#include "foundation/clock.h"
#include "foundation/sysroot.h"
#include "ini/ini_lock.h"
#include "model/model_keys.h"

namespace bayhal::board {
namespace {

constexpr unsigned kCapPic = 0x400000;
constexpr unsigned kCapLegacyMcu = 0x10000;
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
  Step steps[3];
  int count;
  Step emcu_steps[3];  // the enhanced microcontroller's gaps, where they differ
};

constexpr Pattern kPatterns[] = {
    {0, 0, {{kShort, 0}}, 1, {}},
    {101, 101, {{kShort, 0}}, 1, {}},
    {1, 1, {{kLong, 0}}, 1, {}},
    {100, 100, {{kLong, 0}}, 1, {}},
    {2, 2, {{kShort, 1000}, {kShort, 1000}, {kShort, 0}}, 3, {}},
    {3, 7, {{kLong, 2000}, {kLong, 0}}, 2, {}},
    {10, 11, {{kLong, 2000}, {kLong, 0}}, 2, {}},
    {15, 20, {{kLong, 2000}, {kLong, 0}}, 2, {}},
    {8, 9, {{kLong, 2000}, {kLong, 2000}, {kLong, 0}}, 3, {}},
    {12, 13, {{kLong, 500}, {kShort, 250}, {kShort, 0}}, 3,
     {{kLong, 2000}, {kShort, 750}, {kShort, 0}}},
    {14, 14, {{kShort, 125}, {kShort, 125}, {kShort, 0}}, 3,
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
  bool own_gaps = f == Family::kEmcu && p->emcu_steps[0].gap_ms + p->emcu_steps[1].gap_ms > 0;
  const Step* steps = own_gaps ? p->emcu_steps : p->steps;
  for (int i = 0; i < p->count; ++i) {
    int rc = call_driver(who, f, &Driver::beep, Target{}, steps[i].beep);
    if (rc < 0) return rc;
    if (steps[i].gap_ms > 0) clock().sleep_ms(steps[i].gap_ms);
  }
  return 0;
}

int root_set_buzzer(int pattern) {
  unsigned cap = model::system_cap();
  UniqueFd lock = ini::lock_exclusive(sys_path(kBuzzerLock));
  if (!lock) return -1;
  if (cap & kCapPic)
    return call_driver(__func__, Family::kPic, &Driver::send_command, Target{}, pattern | kControllerPlays);
  if (cap & kCapLegacyMcu)
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
