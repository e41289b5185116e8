// Four real processes append at once until the log has rotated exactly once. The lock
// must cover the size check, the rename and the append: otherwise two writers rotate
// twice (a backup overwritten, lines lost) or lines tear into each other.
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "tests/foundation/trace_fixture.h"
#include "tests/support/child_process.h"

namespace bayhal {
namespace {

using test::kBak;
using test::kLog;

constexpr int kWriters = 4;
constexpr int kAfterRotation = 25;  // lines each writer adds once it has seen the backup
constexpr int kMaxLines = 20000;    // a bound in case rotation never happens
const std::string kPad(150, 'p');

struct Report {
  int writer;
  int pid;
  int count;
};

[[noreturn]] void writer(int id, int start_fd, int report_fd, const std::string& bak) {
  char go;
  (void)!::read(start_fd, &go, 1);  // returns at EOF: every writer starts together
  int n = 0;
  int after = -1;
  struct stat st {};
  for (; n < kMaxLines && after != 0; ++n) {
    ERR_TRACE(HAL_TRACE_ERROR, "w%d n%05d %s\n", id, n, kPad.c_str());
    if (after > 0)
      --after;
    else if (after < 0 && ::stat(bak.c_str(), &st) == 0)
      after = kAfterRotation;
  }
  Report r{id, static_cast<int>(::getpid()), n};
  (void)!::write(report_fd, &r, sizeof r);
  ::_exit(0);
}

class ErrTraceProcesses : public test::TraceTest {};

TEST_F(ErrTraceProcesses, ConcurrentWritersLoseNoLineAcrossOneRotation) {
  test::Pipe start, report;
  std::vector<pid_t> pids;
  for (int id = 0; id < kWriters; ++id)
    pids.push_back(test::spawn([&, id] {
      start.close_write();
      report.close_read();
      writer(id, start.fd[0], report.fd[1], root.path(kBak));
      return 0;
    }));
  start.close_write();  // go
  report.close_write();
  std::map<int, Report> reports;
  for (Report r{}; ::read(report.fd[0], &r, sizeof r) == static_cast<ssize_t>(sizeof r);)
    reports[r.writer] = r;
  for (pid_t pid : pids) EXPECT_EQ(test::join(pid), 0);
  ASSERT_EQ(reports.size(), static_cast<size_t>(kWriters));

  // The backup is the log as it stood when the first line took it over the limit.
  std::string bak = root.read(kBak);
  ASSERT_FALSE(bak.empty());
  ASSERT_EQ(bak.back(), '\n');
  size_t before_last_line = bak.rfind('\n', bak.size() - 2) + 1;
  EXPECT_GT(bak.size(), 0x80000u);
  EXPECT_LE(before_last_line, 0x80000u);

  // Every line whole, with its writer's pid, and each writer's numbers in order 0..count-1
  // across the backup and then the new log.
  const std::regex whole(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \[ *(\d+) .{15}\] w(\d) n(\d{5}) (p+))");
  std::map<int, int> next;
  std::map<int, int> in_bak;
  size_t total = 0;
  for (const char* file : {kBak, kLog}) {
    for (const std::string& line : lines(file)) {
      std::smatch m;
      ASSERT_TRUE(std::regex_match(line, m, whole)) << file << ": " << line;
      int id = std::stoi(m[2]);
      ASSERT_EQ(reports.count(id), 1u);
      EXPECT_EQ(std::stoi(m[1]), reports[id].pid);
      EXPECT_EQ(m[4].str(), kPad);
      ASSERT_EQ(std::stoi(m[3]), next[id]) << "writer " << id << " in " << file;
      ++next[id];
      if (file == kBak) ++in_bak[id];
      ++total;
    }
  }
  for (auto& [id, rep] : reports) {
    EXPECT_EQ(next[id], rep.count) << "writer " << id;
    EXPECT_GT(in_bak[id], 0) << "writer " << id;
    EXPECT_LT(in_bak[id], rep.count) << "writer " << id;
  }
  EXPECT_GT(total, 2000u);
}

}  // namespace
}  // namespace bayhal
