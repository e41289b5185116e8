// Listing the appliance's enclosures, the way services do on every page: SE_Enumerate with
// the standard filter and SE_Get_Info of each enclosure it keeps. The floor is what no
// implementation can beat: reading hal.conf once per enclosure visited (open, read, close).
// Each ratio compares the fastest repetition of each side.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "bench/bench_run.h"
#include "enclosure/enc_list.h"
#include "enclosure/enc_store.h"

namespace {

constexpr int kEnclosures = 24;
std::string g_root;

// 24 registered enclosures of a large appliance: root, its pseudo-enclosures, PCIe cards.
void populate() {
  for (int i = 0; i < kEnclosures; ++i) {
    SE_ENC_INFO info;
    std::memset(&info, 0, sizeof info);
    std::string sys_id = i == 0 ? "root" : "root_pcie_" + std::to_string(i);
    std::snprintf(info.enc_sys_id, sizeof info.enc_sys_id, "%s", sys_id.c_str());
    std::snprintf(info.enc_parent_sys_id, sizeof info.enc_parent_sys_id, "root");
    std::snprintf(info.vendor, sizeof info.vendor, "Bay");
    std::snprintf(info.model, sizeof info.model, "Card %d", i);
    std::snprintf(info.serial, sizeof info.serial, "SN%08d", i);
    info.capabilities = SE_CAP_INTERNAL;
    info.protocol = i == 0 ? SE_PROTOCOL_ROOT : SE_PROTOCOL_PCIE;
    info.max_disk_num = 8;
    info.max_conn_num = 2;
    info.max_ujbod_num = -1;
    info.max_cpu_num = 1;
    bayhal::se_write_conf(i, &info);
    Ini_Conf_Bitmap_Set_Bit("/etc/hal.conf", "Index", "enc_bitmap", i);
  }
}

void BM_read_hal_conf_per_enclosure(benchmark::State& state) {
  std::string path = g_root + "/etc/hal.conf";
  std::vector<char> buf(1 << 16);
  for (auto _ : state) {
    for (int i = 0; i < kEnclosures; ++i) {
      int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
      ssize_t n = ::read(fd, buf.data(), buf.size());
      benchmark::DoNotOptimize(n);
      ::close(fd);
    }
  }
}
BENCHMARK(BM_read_hal_conf_per_enclosure);

void BM_enumerate_and_get_info(benchmark::State& state) {
  SE_ENC_INFO info;
  for (auto _ : state) {
    int ids[kEnclosures];
    int n = SE_Enumerate(ids, kEnclosures, bayhal::get_enclosure_list_callback, nullptr);
    for (int i = 0; i < n; ++i) {
      std::memset(&info, 0, sizeof info);
      benchmark::DoNotOptimize(SE_Get_Info(ids[i], &info));
    }
    if (n != kEnclosures) state.SkipWithError("not every enclosure was listed");
  }
}
BENCHMARK(BM_enumerate_and_get_info);

}  // namespace

int main(int argc, char** argv) {
  bench::BenchRoot root({"/etc/config", "/tmp"});
  if (!root.ok()) return 1;
  g_root = root.dir();
  populate();
  bench::RatioReporter rep;
  bench::run_all(argc, argv, 9, "0.05", rep);
  rep.ratio("BM_enumerate_and_get_info", "BM_read_hal_conf_per_enclosure",
            "SE_Enumerate+SE_Get_Info x24/read hal.conf x24", 2.0);
  return 0;
}
