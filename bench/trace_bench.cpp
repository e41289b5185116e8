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
#include "bench/bench_run.h"
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

}  // namespace

int main(int argc, char** argv) {
  bench::BenchRoot root({"/dev"});
  if (!root.ok()) return 1;
  g_root = root.dir();
  bench::RatioReporter rep;
  bench::run_all(argc, argv, 15, "0.02", rep);
  rep.ratio("BM_trace_filtered", "BM_stat_control_file",
            "filtered ERR_TRACE/stat of the control file", 1.2, true);
  rep.ratio("BM_trace_written", "BM_locked_append_floor",
            "written ERR_TRACE/locked fopen-fputs-fclose append", 1.3, true);
  return 0;
}
