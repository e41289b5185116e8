// The disk store against its floors, on an enclosure with 24 registered disks:
//  - pd_read_conf of one disk against one read of the enclosure's store file;
//  - pd_write_conf of a new disk against one write-temporary+rename of that file.
#include "bench/disk_bench_common.h"
#include "disk/pd_store.h"

namespace {

using namespace disk_bench;

constexpr int kDisks = 24;
std::string g_store;
std::string g_store_text;
std::string g_hal_text;

void BM_read_store_file(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(read_file(g_store));
}
BENCHMARK(BM_read_store_file);

void BM_pd_read_conf(benchmark::State& state) {
  PD_INFO info{};
  for (auto _ : state) benchmark::DoNotOptimize(bayhal::pd_read_conf(0, 12, &info));
}
BENCHMARK(BM_pd_read_conf);

void BM_write_temp_rename(benchmark::State& state) {
  for (auto _ : state) write_temp_rename(g_store, g_store_text);
}
BENCHMARK(BM_write_temp_rename);

void BM_pd_write_conf_new_disk(benchmark::State& state) {
  PD_INFO d = disk_record("sdnew", -1, "root");
  for (auto _ : state) {
    d.port_id = -1;
    if (bayhal::pd_write_conf(0, -1, &d) != 0) state.SkipWithError("pd_write_conf failed");
    state.PauseTiming();
    spit(g_store, g_store_text);
    spit(rooted("/etc/hal.conf"), g_hal_text);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_pd_write_conf_new_disk);

}  // namespace

int main(int argc, char** argv) {
  return run(
      argc, argv,
      [] {
        add_enclosure(0, "root", kDisks);
        for (int port = 1; port <= kDisks; ++port) {
          PD_INFO d = disk_record("sd" + std::string(1, static_cast<char>('a' + port)), port, "root");
          bayhal::pd_write_conf(0, port, &d);
        }
        g_store = rooted("/etc/enclosure_0.conf");
        g_store_text = slurp(g_store);
        g_hal_text = slurp(rooted("/etc/hal.conf"));
        std::printf("store file: %zu bytes, %d disks\n", g_store_text.size(), kDisks);
      },
      [](const RatioReporter& rep) {
        rep.ratio("BM_pd_read_conf", "BM_read_store_file", "pd_read_conf/read of the store file",
                  1.5);
        rep.ratio("BM_pd_write_conf_new_disk", "BM_write_temp_rename",
                  "pd_write_conf new disk/write-temp+rename of the store file", 3.0);
      });
}
