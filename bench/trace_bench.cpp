// The tracer against what the machine cannot beat, measured in one run on a sandbox root:
//  - a filtered-out call against one stat of the control file;
//  - a written call against the floor of any locked append: open the lock file, take the
//    record lock, append the line with fopen/fputs/fclose, unlock, close.
// Repetitions are interleaved at random so that both sides see the same machine load;
// each ratio compares the fastest repetition of each side in CPU time (user + system, so
// that other processes' load on a shared machine counts as little as it can).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "foundation/sysroot.h"

namespace {

std::string g_root;

std::string rooted(const char* path) { return g_root + path; }

void BM_stat_control_file(benchmark::State& state) {
  std::string control = rooted("/var/log/hal_lib.log.conf");
  struct stat st {};
  for (auto _ : state) benchmark::DoNotOptimize(::stat(control.c_str(), &st));
}
BENCHMARK(BM_stat_control_file);

void BM_trace_filtered(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with %d.\n", "SE_Enumerate", 3));
}
BENCHMARK(BM_trace_filtered);

void set_lock(int fd, short type) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  ::fcntl(fd, type == F_UNLCK ? F_SETLK : F_SETLKW, &fl);
}

void BM_locked_append_floor(benchmark::State& state) {
  std::string lock = rooted("/var/lock/floor.lck");
  std::string log = rooted("/var/log/floor.log");
  // The same length as the traced line below, prefix included.
  const char* line = "2024-01-01 00:00:00 [ 1234 trace_bench    ] SE_Enumerate: got called with 3.\n";
  for (auto _ : state) {
    int fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0700);
    set_lock(fd, F_WRLCK);
    FILE* f = std::fopen(log.c_str(), "a+");
    std::fputs(line, f);
    std::fclose(f);
    set_lock(fd, F_UNLCK);
    ::close(fd);
  }
}
BENCHMARK(BM_locked_append_floor);

void BM_trace_written(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(ERR_TRACE(HAL_TRACE_ERROR, "%s: got called with %d.\n", "SE_Enumerate", 3));
}
BENCHMARK(BM_trace_written);

// Keeps the console output and remembers the fastest repetition of each benchmark.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      std::string name = r.run_name.function_name;
      double t = r.GetAdjustedCPUTime();
      auto it = best.find(name);
      if (it == best.end() || t < it->second) best[name] = t;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> best;
};

bool print_ratio(const RatioReporter& rep, const char* op, const char* floor, const char* what,
                 double target) {
  auto o = rep.best.find(op);
  auto f = rep.best.find(floor);
  if (o == rep.best.end() || f == rep.best.end() || f->second <= 0) return true;
  double ratio = o->second / f->second;
  std::printf("ratio %s = %.2f (target <= %.1f) %s\n", what, ratio, target,
              ratio <= target ? "ok" : "MISSED");
  return ratio <= target;
}

}  // namespace

int main(int argc, char** argv) {
  char tmpl[] = "/tmp/bayhal-bench-XXXXXX";
  if (::mkdtemp(tmpl) == nullptr) return 1;
  g_root = tmpl;
  for (const char* d : {"/var/log", "/var/lock", "/dev"})
    std::filesystem::create_directories(g_root + d);
  {
    // The default mask, written out: the call then also compares the stamp.
    FILE* f = std::fopen(rooted("/var/log/hal_lib.log.conf").c_str(), "w");
    if (f == nullptr) return 1;
    std::fputs("0xFFCB\n", f);
    std::fclose(f);
  }
  ::setenv("HAL_ROOT", g_root.c_str(), 1);

  std::vector<char*> args{argv[0]};
  std::string reps = "--benchmark_repetitions=15";
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::string min_time = "--benchmark_min_time=0.02";
  args.push_back(reps.data());
  args.push_back(interleave.data());
  args.push_back(min_time.data());
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);  // the caller's flags win
  int n = static_cast<int>(args.size());
  benchmark::Initialize(&n, args.data());

  RatioReporter rep;
  benchmark::RunSpecifiedBenchmarks(&rep);
  benchmark::Shutdown();
  std::printf("\n");  // past the reporter's trailing colour reset
  print_ratio(rep, "BM_trace_filtered", "BM_stat_control_file",
              "filtered ERR_TRACE/stat of the control file", 1.2);
  print_ratio(rep, "BM_trace_written", "BM_locked_append_floor",
              "written ERR_TRACE/locked fopen-fputs-fclose append", 1.3);
  std::error_code ec;
  std::filesystem::remove_all(g_root, ec);
  return 0;
}
