// Disk health:
//  - PD_SMART_Read_Info of a 30-attribute cache against the stat of the tracer's control file
//    (which every exported call makes) plus one read of the cache file;
//  - a full pd_sys_get_ata_smart on a SATA disk model with 30 attributes against the three
//    transport round trips it needs, with the entry detail (trace level 8) filtered out;
//    and, reported, with that detail written to the log as the default mask has it;
//  - and, reported, decoding the two pages alone (what the reading adds to its round trips
//    at the least: the 30 entries it writes);
//  - the same pair through halsim's socket, to the sample appliance's disk in bay 1 (a
//    daemon serving in this process), which is how every other process reaches the models.
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "bayhal/ERR_TRACE.h"
#include "bench/disk_bench_common.h"
#include "disk/smart_cache_text.h"
#include "disk_sys/ata_smart.h"
#include "disk_sys/pd_sys_smart.h"
#include "sim/ata_disk_model.h"
#include "sim/device_model.h"
#include "sim/halsim/daemon.h"
#include "transport/socket_transport.h"

namespace {

using namespace disk_bench;

constexpr int kAttrs = 30;
bayhal::sim::ModelTransport g_models;
bayhal::SocketTransport g_socket;
bayhal::sim::AtaDiskSpec g_spec;

// The trace mask for what follows: the control file rewritten and read once.
void trace_mask(const char* mask) {
  spit(rooted("/var/log/hal_lib.log.conf"), mask);
  ERR_TRACE(HAL_TRACE_ENTRY, "bench\n");
}

void BM_stat_control_and_read_cache(benchmark::State& state) {
  std::string control = rooted("/var/log/hal_lib.log.conf");
  std::string cache = rooted("/tmp/smart/smart_0_1.info");
  struct stat st {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(::stat(control.c_str(), &st));
    benchmark::DoNotOptimize(read_file(cache));
  }
}
BENCHMARK(BM_stat_control_and_read_cache);

void BM_PD_SMART_Read_Info(benchmark::State& state) {
  for (auto _ : state) {
    PD_SMART_INFO* info = nullptr;
    if (PD_SMART_Read_Info(0, 1, &info) != 0 || info->count != kAttrs) state.SkipWithError("read failed");
    std::free(info);
  }
}
BENCHMARK(BM_PD_SMART_Read_Info);

// READ DATA, RETURN STATUS, READ THRESHOLDS as the device path sends them.
void three_round_trips(benchmark::State& state, const char* dev) {
  uint8_t page[512];
  for (auto _ : state) {
    for (uint8_t feature : {0xd0, 0xda, 0xd1}) {
      bayhal::DeviceCommand cmd;
      cmd.cdb_len = 16;
      uint8_t cdb[16] = {0x85, 0x08, 0x0e, 0, feature, 0, 1, 0, 0, 0, 0x4f, 0, 0xc2, 0, 0xb0, 0};
      if (feature == 0xda) cdb[1] = 0x06, cdb[2] = 0x20, cdb[6] = 0;
      std::copy(cdb, cdb + 16, cmd.cdb);
      if (feature != 0xda) cmd.dir = bayhal::XferDir::kFromDevice, cmd.data = page, cmd.data_len = 512;
      benchmark::DoNotOptimize(bayhal::device_command(dev, cmd));
    }
  }
}

void read_smart(benchmark::State& state, const char* disk = "sda", int want = kAttrs) {
  PD_SMART_ATTR list[kAttrs];
  int verdict = 0, st = 0, progress = 0, s = 0, e = 0;
  for (auto _ : state)
    if (bayhal::pd_sys_get_ata_smart("root", disk, &verdict, list, kAttrs, &st, &progress, &s, &e) != want)
      state.SkipWithError("read failed");
}

void BM_three_round_trips(benchmark::State& state) {
  bayhal::set_device_transport(&g_models);
  three_round_trips(state, "/dev/sda");
}
BENCHMARK(BM_three_round_trips);

// Through the socket: the sample appliance's disk sda (16 attributes).
void BM_socket_three_round_trips(benchmark::State& state) {
  bayhal::set_device_transport(&g_socket);
  three_round_trips(state, "/dev/sda");
}
BENCHMARK(BM_socket_three_round_trips);

void BM_socket_pd_sys_get_ata_smart(benchmark::State& state) {
  bayhal::set_device_transport(&g_socket);
  read_smart(state, "sda", 16);
}
BENCHMARK(BM_socket_pd_sys_get_ata_smart);

void BM_pd_sys_get_ata_smart(benchmark::State& state) {
  bayhal::set_device_transport(&g_models);
  trace_mask("0xFFC3\n");  // the default without level 8
  read_smart(state);
}
BENCHMARK(BM_pd_sys_get_ata_smart);

void BM_decode_pages(benchmark::State& state) {
  std::vector<uint8_t> data = bayhal::sim::ata_smart_data_page(g_spec);
  std::vector<uint8_t> thresholds = bayhal::sim::ata_smart_threshold_page(g_spec);
  PD_SMART_ATTR list[kAttrs];
  bayhal::SmartReading r;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        bayhal::ata_smart_decode(data.data(), data.size(), thresholds.data(), thresholds.size(), kAttrs, 0, list));
    bayhal::ata_smart_decode_self_test(data.data(), r);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_decode_pages);

void BM_pd_sys_get_ata_smart_detail_logged(benchmark::State& state) {
  bayhal::set_device_transport(&g_models);
  trace_mask("0xFFCB\n");
  read_smart(state);
  trace_mask("0xFFC3\n");
}
BENCHMARK(BM_pd_sys_get_ata_smart_detail_logged);

std::unique_ptr<bayhal::sim::halsim::Daemon> g_daemon;
std::thread g_server;

void start_halsim() {
  std::string error;
  auto sc = bayhal::sim::halsim::load_scenario(BAYHAL_SOURCE_DIR "/examples/appliances/sample.ini", error);
  if (!sc) {
    std::fprintf(stderr, "%s\n", error.c_str());
    std::exit(1);
  }
  g_daemon = std::make_unique<bayhal::sim::halsim::Daemon>(root(), std::move(*sc));
  error = g_daemon->start();
  if (!error.empty()) {
    std::fprintf(stderr, "halsim: %s\n", error.c_str());
    std::exit(1);
  }
  g_server = std::thread([] { g_daemon->serve(); });
}

void setup() {
  start_halsim();  // a power-on clears /tmp: before the cache is written
  g_spec.attrs.clear();
  for (int i = 0; i < kAttrs; ++i)
    g_spec.attrs.push_back({static_cast<uint8_t>(i + 1), 0x0032, 100, 100, 10, 1000u * static_cast<unsigned>(i)});
  g_models.add("/dev/sda", std::make_shared<bayhal::sim::SataDiskModel>(g_spec));
  bayhal::set_device_transport(&g_models);
  bayhal::SmartReading r;
  if (bayhal::pd_sys_read_ata_smart("root", "sda", kAttrs, r) != 0) std::abort();
  bayhal::SmartInfoPtr info = bayhal::smart_info_alloc(kAttrs);
  for (int k = 0; k < kAttrs; ++k) {
    info->attrs[k].id = r.attrs[static_cast<size_t>(k)].id;
    std::memcpy(info->attrs[k].name, r.attrs[static_cast<size_t>(k)].name, PD_SMART_NAME_LEN);
    info->attrs[k].raw = r.attrs[static_cast<size_t>(k)].raw;
  }
  if (PD_SMART_Write_Info(0, 1, info.get()) != 0) std::abort();
  trace_mask("0xFFC3\n");
  std::printf("cache file: %zu bytes, %d attributes\n", slurp(rooted("/tmp/smart/smart_0_1.info")).size(), kAttrs);
}

}  // namespace

int main(int argc, char** argv) {
  int rc = run(argc, argv, setup, [](const RatioReporter& rep) {
    rep.ratio("BM_PD_SMART_Read_Info", "BM_stat_control_and_read_cache",
              "PD_SMART_Read_Info/(stat of the trace control file + read of the cache)", 1.3);
    rep.ratio("BM_pd_sys_get_ata_smart", "BM_three_round_trips",
              "pd_sys_get_ata_smart/its three transport round trips", 1.2);
    rep.ratio("BM_decode_pages", "BM_three_round_trips",
              "decoding the two pages alone/three round trips (the least the reading adds)", 0);
    rep.ratio("BM_pd_sys_get_ata_smart_detail_logged", "BM_three_round_trips",
              "pd_sys_get_ata_smart with each entry logged (level 8 on)/three round trips", 0);
    rep.ratio("BM_socket_pd_sys_get_ata_smart", "BM_socket_three_round_trips",
              "pd_sys_get_ata_smart/its three round trips, through halsim's socket", 0);
    g_daemon->request_stop();
    g_server.join();
  });
  return rc;
}
