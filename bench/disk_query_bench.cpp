// The disk query interface and attach on a root with 8 enclosures of 60 disks each:
//  - PD_Get_Info against one read of the enclosure's store file;
//  - PD_Enumerate_All against reading every store file once;
//  - PD_Sys_Attach of one disk (discovery answered from a table, no hooks or tools run)
//    against one write-temporary+rename of the store file, reported.
#include <map>

#include "bench/disk_bench_common.h"
#include "disk/disk_backend.h"
#include "disk/pd_store.h"

namespace {

using namespace disk_bench;

constexpr int kEnclosures = 8;
constexpr int kDisks = 60;
std::vector<std::string> g_stores;
std::string g_store_text;
std::string g_hal_text;

// Discovery answered from records: the attach path without a device tree.
class TableBackend final : public bayhal::DiskBackend {
 public:
  std::map<std::string, PD_INFO> disks;
  int getinfo(const char*, const char* pd_sys_id, PD_INFO* info) override {
    auto it = disks.find(pd_sys_id);
    if (it == disks.end()) return -1;
    *info = it->second;
    return 0;
  }
  int enumerate(const char*, char**, int) override { return 0; }
  int sys_id_by_sys_name(const char*, char*, int) override { return -1; }
  int boot_disk(char*, int) override { return -1; }
  int attached_behind_sas(const char*) override { return -1; }
  int attached_to_sas_hba_directly(const char*) override { return -1; }
  int sr_mode(int, int) override { return -1; }
  int mvs_card_position(const char*, int*, int*) override { return -1; }
  int hzr_card_description(int, bayhal::HzrCardDescription*) override { return -1; }
  int lookup_in_pcie_enclosure(int, const char*, int, int, char*, int) override { return -1; }
  int scan_ext_port(const char*, std::vector<std::pair<int, int>>*) override { return -1; }
};
TableBackend g_backend;

void BM_read_store_file(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(read_file(g_stores[3]));
}
BENCHMARK(BM_read_store_file);

void BM_PD_Get_Info(benchmark::State& state) {
  PD_INFO info{};
  for (auto _ : state) benchmark::DoNotOptimize(PD_Get_Info(3, 30, &info));
}
BENCHMARK(BM_PD_Get_Info);

void BM_read_every_store_file(benchmark::State& state) {
  for (auto _ : state)
    for (const std::string& f : g_stores) benchmark::DoNotOptimize(read_file(f));
}
BENCHMARK(BM_read_every_store_file);

void BM_PD_Enumerate_All(benchmark::State& state) {
  std::vector<int> ids(kEnclosures * kDisks + 16);
  for (auto _ : state) {
    int n = PD_Enumerate_All(ids.data(), static_cast<int>(ids.size()));
    if (n != kEnclosures * kDisks) state.SkipWithError("wrong count");
  }
}
BENCHMARK(BM_PD_Enumerate_All);

void BM_write_temp_rename(benchmark::State& state) {
  for (auto _ : state) write_temp_rename(g_stores[0], g_store_text);
}
BENCHMARK(BM_write_temp_rename);

void BM_PD_Sys_Attach(benchmark::State& state) {
  for (auto _ : state) {
    if (PD_Sys_Attach("root", "sdnew") != 0) state.SkipWithError("attach failed");
    state.PauseTiming();
    spit(g_stores[0], g_store_text);
    spit(rooted("/etc/hal.conf"), g_hal_text);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_PD_Sys_Attach);

void setup() {
  for (int e = 0; e < kEnclosures; ++e) {
    std::string sys = e == 0 ? "root" : "5000c500a1b2c3" + std::to_string(10 + e);
    add_enclosure(e, sys, kDisks);
    for (int port = 1; port <= kDisks; ++port) {
      PD_INFO d = disk_record("e" + std::to_string(e) + "d" + std::to_string(port), port, sys);
      bayhal::pd_write_conf(e, port, &d);
    }
    g_stores.push_back(rooted("/etc/enclosure_" + std::to_string(e) + ".conf"));
  }
  // The disk to attach: a new disk in the appliance, with counters that show it does I/O.
  PD_INFO fresh = disk_record("sdnew", -1, "root");
  std::snprintf(fresh.pd_ctrl_name, sizeof fresh.pd_ctrl_name, "/dev/sg99");
  g_backend.disks["sdnew"] = fresh;
  std::filesystem::create_directories(rooted("/sys/class/scsi_generic/sg99/device"));
  spit(rooted("/sys/class/scsi_generic/sg99/device/iorequest_cnt"), "0x200\n");
  bayhal::set_disk_backend(&g_backend);
  g_store_text = slurp(g_stores[0]);
  g_hal_text = slurp(rooted("/etc/hal.conf"));
  std::printf("store file: %zu bytes, %d disks; hal.conf %zu bytes\n", g_store_text.size(),
              kDisks, g_hal_text.size());
}

}  // namespace

int main(int argc, char** argv) {
  return run(argc, argv, setup, [](const RatioReporter& rep) {
    rep.ratio("BM_PD_Get_Info", "BM_read_store_file", "PD_Get_Info/read of the store file", 1.5);
    rep.ratio("BM_PD_Enumerate_All", "BM_read_every_store_file",
              "PD_Enumerate_All/reading every store file once", 2.0);
    rep.ratio("BM_PD_Sys_Attach", "BM_write_temp_rename",
              "PD_Sys_Attach of one disk/write-temp+rename of the store file", 0);
  });
}
