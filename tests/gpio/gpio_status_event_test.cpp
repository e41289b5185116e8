// GPIO_Set_NAS_Status_LED on an embedded controller: the priority of the event groups, the
// formatting counter, the unchanged-bitmap rule and the files under /var across processes.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <regex>
#include <vector>

#include "bayhal/GPIO.h"
#include "tests/gpio/gpio_fixture.h"
#include "tests/support/child_process.h"

namespace bayhal {
namespace {

// The EC's status LED register: 0 off, 1 green, 2 red, 3 green blinking, 4 red, 5 both.
enum Shown { kOff = 0, kGreen = 1, kRed = 2, kGreenBlink = 3, kRedBlink = 4, kBothBlink = 5 };

class StatusEventTest : public test::GpioTest {
 protected:
  StatusEventTest() {
    ec.attach_to(bus);
    describe(
        "[System Enclosure]\nSIO_DEVICE = IT8528\n"
        "[System IO]\nSTATUS_RED_LED = EC\nSTATUS_GREEN_LED = EC\n");
  }
  std::string bitmap_file() const { return root.read("/var/ledvalue"); }
  std::string counter_file() const { return root.read("/var/ledvalue_formatting_count"); }
  sim::EcModel ec;
};

TEST_F(StatusEventTest, TheMostImportantGroupSetDecidesWhatTheLedShows) {
  struct Row {
    std::vector<int> events;
    int shown;
    long long waited_ms;
  } rows[] = {
      {{}, kGreen, 0},
      {{0x10, 0x40000}, kOff, 0},
      {{0x1000, 0x10}, kBothBlink, 0},
      {{0x100, 0x1000}, kRed, 0},
      {{0x1, 0x100}, kRedBlink, 0},
      {{0x10000, 0x4}, kGreenBlink, 0},
      {{0x2}, kBothBlink, 5000},  // green blinking first, both after five seconds
      {{0x10000}, kOff, 0},
      {{0x1000, 0x20000}, kOff, 0},  // 0x20000 replaces the bitmap
  };
  for (const Row& r : rows) {
    ASSERT_EQ(GPIO_Set_NAS_Status_LED(0, 0), 0);
    long long before = vclock.slept_ms();
    for (int e : r.events) ASSERT_EQ(GPIO_Set_NAS_Status_LED(e, 1), 0) << std::hex << e;
    int first = r.events.empty() ? 0 : r.events[0];
    EXPECT_EQ(ec.status_led(), r.shown) << std::hex << first;
    EXPECT_EQ(vclock.slept_ms() - before, r.waited_ms) << std::hex << first;
  }
  EXPECT_EQ(bitmap_file(), "0x00020000");
}

TEST_F(StatusEventTest, FormattingIsCountedAndARepeatedEventLeavesTheLedAlone) {
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 1), 0);
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 1), 0);
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 0), 0);
  EXPECT_EQ(bitmap_file(), "0x00000080");
  EXPECT_EQ(counter_file(), "1");
  EXPECT_EQ(ec.status_led(), kBothBlink);
  accesses();
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 1), 0);  // counted, bitmap unchanged: LED untouched
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 0), 0);
  EXPECT_EQ(accesses(), 0u);
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0x80, 0), 0);
  EXPECT_EQ(bitmap_file(), "0x00000000");
  EXPECT_EQ(counter_file(), "0");
  EXPECT_EQ(ec.status_led(), kGreen);
  ASSERT_EQ(GPIO_Set_NAS_Status_LED(0, 0), 0);  // an unchanged zero bitmap re-asserts green
  EXPECT_GT(accesses(), 0u);
}

TEST_F(StatusEventTest, ProcessesSettingEventsAtOnceLoseNone) {
  root.write("/var/ledvalue", "0x00000000\ngarbage after the value");
  std::vector<pid_t> kids;
  for (int base : {0x100, 0x1000}) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int rc = 0;
      for (int bit = 0; bit < 4; ++bit) rc |= GPIO_Set_NAS_Status_LED(base << bit, 1);
      ::_exit(rc == 0 ? 0 : 1);
    }
    kids.push_back(pid);
  }
  for (pid_t pid : kids) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_EQ(bitmap_file(), "0x0000ff00");
}

// Two writers are killed after a growing number of updates each round: every file then holds
// one whole value, no increment is lost, and the lock died with its holder.
TEST_F(StatusEventTest, WritersKilledMidUpdateLeaveWholeValuesAndNoLock) {
  const std::regex whole_bitmap("0x0000[0-3]080"), whole_count("[0-9]+");
  long long counted = 0;
  for (int round = 1; round <= 6; ++round) {
    test::Pipe progress;
    std::vector<pid_t> kids;
    for (unsigned bit : {0x1000u, 0x2000u})
      kids.push_back(test::spawn([&progress, bit] {
        progress.close_read();
        for (int i = 0;; ++i) {
          if (GPIO_Set_NAS_Status_LED(0x80, 1) != 0 || GPIO_Set_NAS_Status_LED(bit, i & 1) != 0) return 1;
          progress.put(i);
        }
      }));
    progress.close_write();
    int seen = 0, v = 0;
    while (seen < round * 4 && progress.get(v)) ++seen;
    for (pid_t pid : kids) ::kill(pid, SIGKILL);
    for (pid_t pid : kids) test::join(pid);
    while (progress.get(v)) ++seen;  // finished before the kill, not yet read
    std::string bitmap = bitmap_file(), count = counter_file();
    ASSERT_TRUE(std::regex_match(bitmap, whole_bitmap)) << "round " << round << ": " << bitmap;
    ASSERT_TRUE(std::regex_match(count, whole_count)) << "round " << round << ": " << count;
    long long now = std::stoll(count);
    EXPECT_GE(now, counted + seen) << "round " << round;  // each child may have one unreported
    EXPECT_LE(now, counted + seen + 2) << "round " << round;
    counted = now;
    int fd = ::open(root.path("/var/ledvalue").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0) << "round " << round;
    ::close(fd);
  }
}

TEST_F(StatusEventTest, WithoutItsFilesNothingChanges) {
  root.write("/var/ledvalue_formatting_count/blocker", "");  // a folder where the file goes
  EXPECT_EQ(GPIO_Set_NAS_Status_LED(0x1000, 1), -1);
  EXPECT_EQ(accesses(), 0u);
}

}  // namespace
}  // namespace bayhal
