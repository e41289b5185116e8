// Shared pieces of the disk registry benchmarks: a sandbox root, the floors (one read of a
// store file, one write-temporary+rename of it), and a reporter that prints each ratio of
// the fastest repetitions measured in the same run.
#pragma once
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "foundation/command_runner.h"

namespace disk_bench {

inline std::string& root() {
  static std::string r;
  return r;
}
inline std::string rooted(const std::string& path) { return root() + path; }

inline std::string slurp(const std::string& host_path) {
  std::ifstream in(host_path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

inline void spit(const std::string& host_path, const std::string& text) {
  std::ofstream out(host_path, std::ios::binary | std::ios::trunc);
  out << text;
}

// The floor of a read: open, read the whole file, close.
inline size_t read_file(const std::string& host_path) {
  static thread_local std::vector<char> buf(1 << 20);
  int fd = ::open(host_path.c_str(), O_RDONLY | O_CLOEXEC);
  size_t total = 0;
  for (ssize_t n; (n = ::read(fd, buf.data(), buf.size())) > 0;) total += static_cast<size_t>(n);
  ::close(fd);
  return total;
}

// The floor of a store update: write the same bytes to a temporary file and rename it over.
inline void write_temp_rename(const std::string& host_path, const std::string& text) {
  std::string tmp = host_path + ".floor";
  int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  benchmark::DoNotOptimize(::write(fd, text.data(), text.size()));
  ::close(fd);
  ::rename(tmp.c_str(), host_path.c_str());
}

// Runs nothing: benchmarks measure the library, not the programs it starts.
class QuietRunner : public bayhal::CommandRunner {
 public:
  int shell(const std::string&) override { return 0; }
  int shell_read(const std::string&, std::string& out) override {
    out.clear();
    return 0;
  }
  int exec(const std::vector<std::string>&, std::string*) override { return 0; }
};

inline PD_INFO disk_record(const std::string& sys_id, int port, const std::string& enc) {
  PD_INFO d{};
  d.port_id = port;
  d.att_phy_id = -1;
  std::snprintf(d.pd_sys_id, sizeof d.pd_sys_id, "%s", sys_id.c_str());
  std::snprintf(d.enc_sys_id, sizeof d.enc_sys_id, "%s", enc.c_str());
  std::snprintf(d.pd_sys_name, sizeof d.pd_sys_name, "/dev/%s", sys_id.c_str());
  std::snprintf(d.pd_ctrl_name, sizeof d.pd_ctrl_name, "/dev/sg%d", port);
  std::snprintf(d.pd_bus_name, sizeof d.pd_bus_name, "0:0:%d:0", port);
  std::snprintf(d.vendor, sizeof d.vendor, "ATA");
  std::snprintf(d.model, sizeof d.model, "ST8000VN004-2M2101");
  std::snprintf(d.serial_no, sizeof d.serial_no, "ZA%06d%s", port, sys_id.c_str());
  std::snprintf(d.revision, sizeof d.revision, "SC60");
  d.sector_size = 512;
  d.capacity = 15628053168LL;
  d.rotation_speed = 7200;
  d.capabilities = PD_CAP_SMART | PD_CAP_SMART_ATA | PD_CAP_SELF_TEST | PD_CAP_SERIAL | PD_CAP_WWN;
  d.wwn_len = 8;
  // A WWN of the Seagate prefix whose low bytes follow the name: unique per disk.
  uint32_t h = 2166136261u;
  for (char c : sys_id) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
  unsigned char wwn[8] = {0x50, 0x00, 0xc5, 0x00, static_cast<unsigned char>(h >> 24),
                          static_cast<unsigned char>(h >> 16), static_cast<unsigned char>(h >> 8),
                          static_cast<unsigned char>(h)};
  for (int i = 0; i < 8; ++i) d.wwn[i] = wwn[i];
  d.adapter_kind = PD_ADAPTER_DEFAULT;
  return d;
}

inline void add_enclosure(int enc_id, const std::string& sys_id, int slots) {
  std::string s = "Enclosure_" + std::to_string(enc_id);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", s.c_str(), "enc_id", enc_id, 0);
  Ini_Conf_Set_Field("/etc/hal.conf", s.c_str(), "enc_sys_id", sys_id.c_str());
  Ini_Conf_Set_Field_Int("/etc/hal.conf", s.c_str(), "max_disk_num", slots, 0);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", s.c_str(), "protocol", enc_id == 0 ? 0 : 3, 0);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", s.c_str(), "capability", static_cast<int>(0x80000000u), 1);
  Ini_Conf_Set_Field_Int("/etc/hal.conf", "Index", ("enc_sysid_" + sys_id).c_str(), enc_id, 0);
  Ini_Conf_Bitmap_Set_Bit("/etc/hal.conf", "Index", "enc_bitmap", enc_id);
}

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      std::string name = r.run_name.function_name;
      double t = r.GetAdjustedRealTime();
      auto it = best.find(name);
      if (it == best.end() || t < it->second) best[name] = t;
      double c = r.GetAdjustedCPUTime();
      auto ct = best_cpu.find(name);
      if (ct == best_cpu.end() || c < ct->second) best_cpu[name] = c;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  // Prints "ratio <what> = x (target <= t) ok|MISSED"; a target of 0 only reports.
  void ratio(const char* op, const char* floor, const char* what, double target) const {
    auto o = best.find(op);
    auto f = best.find(floor);
    if (o == best.end() || f == best.end() || f->second <= 0) return;
    double r = o->second / f->second;
    double cpu = best_cpu.at(op) / best_cpu.at(floor);
    if (target > 0)
      std::printf("ratio %s = %.2f (target <= %.1f) %s [cpu time ratio %.2f]\n", what, r, target,
                  r <= target ? "ok" : "MISSED", cpu);
    else
      std::printf("ratio %s = %.2f (reported) [cpu time ratio %.2f]\n", what, r, cpu);
  }
  std::map<std::string, double> best;      // fastest wall time per benchmark
  std::map<std::string, double> best_cpu;  // fastest CPU time per benchmark
};

// Makes the root, runs `setup`, runs the benchmarks interleaved with repetitions.
template <typename Setup, typename Report>
int run(int argc, char** argv, Setup setup, Report report) {
  char tmpl[] = "/tmp/bayhal-disk-bench-XXXXXX";
  if (::mkdtemp(tmpl) == nullptr) return 1;
  root() = tmpl;
  for (const char* d : {"/etc/config", "/var/log", "/var/lock", "/dev", "/tmp", "/sys"})
    std::filesystem::create_directories(root() + d);
  spit(rooted("/var/log/hal_lib.log.conf"), "0xFFCB\n");
  ::setenv("HAL_ROOT", root().c_str(), 1);
  QuietRunner quiet;
  bayhal::set_runner(&quiet);
  setup();

  std::vector<char*> args{argv[0]};
  std::string reps = "--benchmark_repetitions=7";
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  std::string min_time = "--benchmark_min_time=0.05";
  args.push_back(reps.data());
  args.push_back(interleave.data());
  args.push_back(min_time.data());
  for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
  int n = static_cast<int>(args.size());
  benchmark::Initialize(&n, args.data());
  RatioReporter rep;
  benchmark::RunSpecifiedBenchmarks(&rep);
  benchmark::Shutdown();
  std::printf("\n");
  report(rep);
  bayhal::set_runner(nullptr);
  std::error_code ec;
  std::filesystem::remove_all(root(), ec);
  return 0;
}

}  // namespace disk_bench
