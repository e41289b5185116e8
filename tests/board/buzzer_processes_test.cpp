// Two processes sounding the buzzer at once: the second waits on the record lock of
// /var/lock/buzzer.lck until the first one's whole pattern has played.
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "board/dispatch/se_sys.h"
#include "foundation/clock.h"
#include "tests/board/board_fixture.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

// What every process's beeper shares: the log all of them append to, and the gate the
// first one waits on in its first beep, holding the lock meanwhile.
struct Shared {
  int log_fd = -1;
  int gate_fd = -1;
  char who = '?';
  bool hold = false;
};
Shared g;

int beep(const board::Target&, int mode) {
  char rec[2] = {g.who, static_cast<char>('0' + mode)};
  if (::write(g.log_fd, rec, 2) != 2) return -1;
  if (g.hold) {
    char c;
    g.hold = ::read(g.gate_fd, &c, 1) != 1;
  }
  return 0;
}

class BuzzerProcesses : public BoardTest {
 protected:
  pid_t sound(char who, int pattern, bool hold) {
    return spawn([=] {
      g.who = who;
      g.hold = hold;
      return board::se_sys_set_buzzer("root", pattern) == 0 ? 0 : 1;
    });
  }
  std::string log() const { return root.read("/tmp/beeps"); }
};

TEST_F(BuzzerProcesses, TheSecondPlaysAfterTheFirstNeverInterleaved) {
  model("[System IO]\n");
  board::Driver beeper{.name = "BEEPER"};
  beeper.beep = beep;
  board::ScopedDriver installed(board::Family::kBeeper, beeper);
  VirtualClock clk;
  ScopedClock scoped(clk);
  Pipe gate;
  root.write("/tmp/beeps", "");
  g.log_fd = ::open(root.path("/tmp/beeps").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  g.gate_fd = gate.fd[0];

  pid_t first = sound('A', 8, true);  // long, long, long
  while (log().empty()) ::usleep(1000);
  pid_t second = sound('B', 2, false);  // short, short, short
  for (int i = 0; i < 5000 && !someone_waits_for_lock() && log().size() < 4; ++i) ::usleep(1000);
  EXPECT_EQ(log(), "A1");  // still holding: the second has not beeped
  ASSERT_TRUE(gate.put(1));
  EXPECT_EQ(join(first), 0);
  EXPECT_EQ(join(second), 0);
  EXPECT_EQ(log(), "A1A1A1B0B0B0");
  ::close(g.log_fd);
}

}  // namespace
}  // namespace bayhal::test
