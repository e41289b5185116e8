// The disk query interface and attach on a root with 8 enclosures of 60 disks each:
//  - PD_Get_Info against its floor, the system calls it cannot avoid: its entry trace's stat
//    of the tracer's control file plus one read of the enclosure's store file (and, reported,
//    against that read alone);
//  - PD_Enumerate_All against reading every store file once;
//  - PD_Sys_Attach of one disk (discovery over a sysfs tree and a SATA disk model; no
//    hooks or tools run) against one write-temporary+rename of the store file, reported.
#include <sys/stat.h>

#include <memory>

#include "bench/disk_bench_common.h"
#include "transport/device_transport.h"
#include "sim/ata_disk_model.h"
#include "sim/device_model.h"
#include "sim/sysfs_builder.h"
#include "disk/pd_store.h"

namespace {

using namespace disk_bench;

constexpr int kEnclosures = 8;
constexpr int kDisks = 60;
std::vector<std::string> g_stores;
std::string g_store_text;
std::string g_hal_text;

// The disk to attach sits in AHCI port 0, described as slot 30 of the appliance, and is
// answered by a SATA disk model: real discovery, no device.
bayhal::sim::ModelTransport g_models;

void BM_read_store_file(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(read_file(g_stores[3]));
}
BENCHMARK(BM_read_store_file);

void BM_PD_Get_Info(benchmark::State& state) {
  PD_INFO info{};
  for (auto _ : state) benchmark::DoNotOptimize(PD_Get_Info(3, 30, &info));
}
BENCHMARK(BM_PD_Get_Info);

// What every exported call pays before any work of its own: the stat of the tracer's
// control file. With the read of the store it is the least a PD_Get_Info can cost.
void BM_stat_control_and_read(benchmark::State& state) {
  std::string control = rooted("/var/log/hal_lib.log.conf");
  struct stat st {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(::stat(control.c_str(), &st));
    benchmark::DoNotOptimize(read_file(g_stores[3]));
  }
}
BENCHMARK(BM_stat_control_and_read);

void BM_read_every_store_file(benchmark::State& state) {
  for (auto _ : state)
    for (const std::string& f : g_stores) benchmark::DoNotOptimize(read_file(f));
}
BENCHMARK(BM_read_every_store_file);

void BM_PD_Enumerate_All(benchmark::State& state) {
  std::vector<int> ids(kEnclosures * kDisks + 16);
  for (auto _ : state) {
    int n = PD_Enumerate_All(ids.data(), static_cast<int>(ids.size()));
    // Every disk but the one in the appliance's slot 30, which the attach benchmark uses.
    if (n != kEnclosures * kDisks - 1) state.SkipWithError("wrong count");
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
  // Slot 30 of the appliance is empty again and its disk comes back.
  bayhal::pd_remove_conf(0, 30);
  bayhal::sim::SysfsBuilder builder(root());
  std::string pci =
      builder.pci_device("0000:00:17.0", {}, bayhal::sim::PciSpec(0x8086, 0xa352, 0x010601, "ahci"));
  auto ports = builder.ahci(pci, 1, 0);
  builder.ahci_disk(ports[0], bayhal::sim::BlockSpec("sdnew").with_sg(99).with_size(15628053168ull));
  bayhal::sim::AtaDiskSpec spec;
  spec.model = "ST8000VN004-2M2101";
  spec.serial = "ZA1234567";
  g_models.add("/dev/sg99", std::make_shared<bayhal::sim::SataDiskModel>(spec));
  bayhal::set_device_transport(&g_models);
  spit(rooted("/etc/model.conf"), "[System Disk 30]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n");
  spit(rooted("/sys/class/scsi_generic/sg99/device/iorequest_cnt"), "0x200\n");
  g_store_text = slurp(g_stores[0]);
  g_hal_text = slurp(rooted("/etc/hal.conf"));
  std::printf("store file: %zu bytes, %d disks; hal.conf %zu bytes\n", g_store_text.size(),
              kDisks, g_hal_text.size());
}

}  // namespace

int main(int argc, char** argv) {
  return run(argc, argv, setup, [](const RatioReporter& rep) {
    // The floor is what every exported call must do: its entry trace's stat of the control
    // file, plus the one read of the store this query needs. CPU time: on a shared machine
    // the wall time of calls this short is mostly other processes.
    rep.ratio("BM_PD_Get_Info", "BM_stat_control_and_read",
              "PD_Get_Info/(stat of the trace control file + read of the store file)", 1.25, true);
    rep.ratio("BM_PD_Get_Info", "BM_read_store_file", "PD_Get_Info/read of the store file", 0);
    rep.ratio("BM_PD_Enumerate_All", "BM_read_every_store_file",
              "PD_Enumerate_All/reading every store file once", 2.0);
    rep.ratio("BM_PD_Sys_Attach", "BM_write_temp_rename",
              "PD_Sys_Attach of one disk/write-temp+rename of the store file", 0);
  });
}
