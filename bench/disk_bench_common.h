// Shared pieces of the disk registry benchmarks: the floors (one read of a store file, one
// write-temporary+rename of it), sample records, and the run on a sandbox root.
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
#include "bench/bench_run.h"
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

using RatioReporter = bench::RatioReporter;

// Makes the root, runs `setup`, runs the benchmarks interleaved with repetitions.
template <typename Setup, typename Report>
int run(int argc, char** argv, Setup setup, Report report) {
  bench::BenchRoot sandbox({"/etc/config", "/dev", "/tmp", "/sys"});
  if (!sandbox.ok()) return 1;
  root() = sandbox.dir();
  QuietRunner quiet;
  bayhal::set_runner(&quiet);
  setup();
  RatioReporter rep;
  bench::run_all(argc, argv, 7, "0.05", rep);
  report(rep);
  bayhal::set_runner(nullptr);
  return 0;
}

}  // namespace disk_bench
