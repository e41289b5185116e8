// What every ratio benchmark shares: a sandbox system root, a run of the registered
// benchmarks with repetitions interleaved at random (both sides of a ratio then see the same
// machine load), and a reporter that keeps the fastest repetition of each and prints ratios.
#pragma once
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string>
#include <system_error>
#include <vector>

namespace bench {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      keep_min(best_wall, r.run_name.function_name, r.GetAdjustedRealTime());
      keep_min(best_cpu, r.run_name.function_name, r.GetAdjustedCPUTime());
    }
    ConsoleReporter::ReportRuns(runs);
  }

  // Prints "ratio <what> = x <measure> (target <= t) ok|MISSED" of the fastest repetitions,
  // wall time (or CPU time with `by_cpu`) with the other figure beside it; a target of 0 only
  // reports.
  // False when a target was missed.
  bool ratio(const char* op, const char* floor, const char* what, double target,
             bool by_cpu = false) const {
    auto ow = best_wall.find(op), fw = best_wall.find(floor);
    if (ow == best_wall.end() || fw == best_wall.end() || fw->second <= 0) return true;
    double wall = ow->second / fw->second;
    double cpu = best_cpu.at(op) / best_cpu.at(floor);
    double r = by_cpu ? cpu : wall;
    const char* measure = by_cpu ? "cpu" : "wall";
    const char* other = by_cpu ? "wall" : "cpu";
    if (target <= 0) {
      std::printf("ratio %s = %.2f %s time (reported) [%s time ratio %.2f]\n", what, r, measure,
                  other, by_cpu ? wall : cpu);
      return true;
    }
    std::printf("ratio %s = %.2f %s time (target <= %.2f) %s [%s time ratio %.2f]\n", what, r,
                measure, target, r <= target ? "ok" : "MISSED", other, by_cpu ? wall : cpu);
    return r <= target;
  }

 private:
  static void keep_min(std::map<std::string, double>& m, const std::string& k, double v) {
    auto it = m.find(k);
    if (it == m.end() || v < it->second) m[k] = v;
  }
  std::map<std::string, double> best_wall, best_cpu;
};

// A fresh system root under /tmp with `dirs` made and the tracer's control file holding the
// default mask (so a call also compares the stamp, as on an appliance); HAL_ROOT points at
// it. Removed when the object goes.
class BenchRoot {
 public:
  explicit BenchRoot(std::initializer_list<const char*> dirs) {
    char tmpl[] = "/tmp/bayhal-bench-XXXXXX";
    if (::mkdtemp(tmpl) != nullptr) dir_ = tmpl;
    for (const char* d : {"/var/log", "/var/lock"}) std::filesystem::create_directories(dir_ + d);
    for (const char* d : dirs) std::filesystem::create_directories(dir_ + d);
    if (FILE* f = std::fopen(path("/var/log/hal_lib.log.conf").c_str(), "w")) {
      std::fputs("0xFFCB\n", f);
      std::fclose(f);
    }
    ::setenv("HAL_ROOT", dir_.c_str(), 1);
  }
  ~BenchRoot() {
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
  }
  BenchRoot(const BenchRoot&) = delete;
  BenchRoot& operator=(const BenchRoot&) = delete;

  bool ok() const { return !dir_.empty(); }
  const std::string& dir() const { return dir_; }
  std::string path(const std::string& appliance_path) const { return dir_ + appliance_path; }

 private:
  std::string dir_;
};

// Runs the registered benchmarks: `reps` repetitions of at least `min_time` seconds each,
// interleaved at random; the caller's own flags come last and win.
inline void run_all(int argc, char** argv, int reps, const char* min_time, RatioReporter& rep) {
  std::vector<std::string> flags = {
      "--benchmark_repetitions=" + std::to_string(reps),
      "--benchmark_enable_random_interleaving=true",
      std::string("--benchmark_min_time=") + min_time};
  std::vector<char*> args{argv[0]};
  for (std::string& f : flags) args.push_back(f.data());
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
  int n = static_cast<int>(args.size());
  benchmark::Initialize(&n, args.data());
  benchmark::RunSpecifiedBenchmarks(&rep);
  benchmark::Shutdown();
  std::printf("\n");  // past the reporter's trailing colour reset
}

}  // namespace bench
