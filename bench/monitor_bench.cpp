// hal_tool metrics' work on a board with two fan regions and two temperature regions
// (bayhal_tool_monitor: the enclosure looked up once, every described sensor read through
// the board back-end, then the OpenMetrics text) against reading the same things directly,
// in one run, on an embedded-controller board: the floor takes and gives the EC lock once per
// operation the library makes and replays the very port accesses of one collection on the
// same model; the second floor adds the stat of the tracer's control file that each register
// read's level-32 trace costs.
#include <benchmark/benchmark.h>
#include <sys/sem.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "bench/bench_run.h"
#include "board/dispatch/caches.h"
#include "board/drivers/board_lock.h"
#include "sim/ec_model.h"
#include "sim/port_bus.h"
#include "tools/hal_tool/monitor_readings.h"
#include "transport/port_io.h"

namespace {

const char kHalConf[] = "[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\n";

// Two regions after the system and CPU groups; levels for every group.
std::string fans(const char* unit, const char* s1, const char* c1, const char* r1, const char* r2) {
  std::string levels;
  for (int l = 0; l <= 8; ++l) levels += "FAN_LEVEL_" + std::to_string(l) + " = " + std::to_string(60 + 24 * l) + "\n";
  std::string u = std::string("FAN_UNIT = ") + unit + "\n";
  return std::string("[FAN Region]\nMAX_REGION_NUM = 4\n") + "[System FAN]\n" + u + s1 + levels +
         "[CPU FAN]\n" + u + c1 + levels + "[System FAN Region 1]\nMAX_FAN_NUM = 2\n" + u + r1 + levels +
         "[System FAN Region 2]\nMAX_FAN_NUM = 2\n" + u + r2 + levels +
         "[System Temp Region 1]\nSYS_TEMP_MONITOR_BITMAP = 1\nREGION_NAME = front\n"
         "[System Temp Region 2]\nSYS_TEMP_MONITOR_BITMAP = 2\nREGION_NAME = rear\n";
}

bayhal::sim::PortBus* g_bus;
std::vector<bayhal::sim::PortAccess> g_accesses;
int g_ec_ops = 0, g_semid = -1;
std::string g_control;

void collect() {
  auto s = hal_tool::read_sensors(0);
  benchmark::DoNotOptimize(hal_tool::openmetrics(0, *s));
}

void replay(bool with_stats) {
  sembuf take{0, -1, SEM_UNDO}, give{0, 1, SEM_UNDO};
  struct stat st {};
  size_t per_op = g_accesses.size() / static_cast<size_t>(g_ec_ops);
  size_t done = 0;
  for (int op = 0; op < g_ec_ops; ++op) {
    ::semop(g_semid, &take, 1);
    size_t end = op + 1 == g_ec_ops ? g_accesses.size() : done + per_op;
    for (; done < end; ++done) {
      const bayhal::sim::PortAccess& a = g_accesses[done];
      if (a.write)
        g_bus->outb(a.value, a.port);
      else
        benchmark::DoNotOptimize(g_bus->inb(a.port));
    }
    ::semop(g_semid, &give, 1);
  }
  if (with_stats)
    for (size_t i = 0; i < g_accesses.size(); ++i)
      if (g_accesses[i].write && g_accesses[i].port == 0x6C && g_accesses[i].value == 0x88)
        benchmark::DoNotOptimize(::stat(g_control.c_str(), &st));
}

void BM_ec_metrics(benchmark::State& state) {
  for (auto _ : state) collect();
}
BENCHMARK(BM_ec_metrics);
void BM_ec_floor(benchmark::State& state) {
  for (auto _ : state) replay(false);
}
BENCHMARK(BM_ec_floor);
void BM_ec_floor_with_trace_stats(benchmark::State& state) {
  for (auto _ : state) replay(true);
}
BENCHMARK(BM_ec_floor_with_trace_stats);

int ec_board(bench::BenchRoot& root) {
  std::FILE* f = std::fopen(root.path("/etc/model.conf").c_str(), "w");
  std::fputs(("[System Enclosure]\nSIO_DEVICE = IT8528\nCPU_TEMP_UNIT = EC\nSYSTEM_TEMP_UNIT = EC\n"
              "MAX_TEMP_NUM = 2\nENV_TEMP_UNIT = EC\nENV_TEMP1_ID = 0\nMAX_FAN_NUM = 2\nMAX_CPU_FAN_NUM = 1\n"
              "[System IO]\nREDUNDANT_POWER_1 = EC\nREDUNDANT_POWER_2 = EC\n" +
              fans("EC", "FAN_1 = I1\nFAN_2 = I2\n", "FAN_1 = I7\n", "FAN_1 = I21\nFAN_2 = I22\n",
                   "FAN_1 = I31\nFAN_2 = I32\n"))
                 .c_str(), f);
  std::fclose(f);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  bench::RatioReporter rep;
  {
    bench::BenchRoot root({"/etc"});
    std::FILE* hal = std::fopen(root.path("/etc/hal.conf").c_str(), "w");
    std::fputs(kHalConf, hal);
    std::fclose(hal);
    ec_board(root);
    bayhal::sim::PortBus bus;
    bayhal::sim::EcModel ec;
    ec.attach_to(bus);
    for (int i : {0, 5, 6, 15}) ec.set_temperature(i, 40);
    for (int i : {0, 1, 6, 10, 11, 20, 21, 30, 31}) ec.fit_fan(i, 3000);
    ec.set_power_good(1, true);
    ec.set_power_good(2, true);
    bayhal::ScopedPortIo ports(bus);
    g_bus = &bus;
    g_control = root.path("/var/log/hal_lib.log.conf");
    collect();  // resolves the sensors and creates the lock
    bus.clear_log();
    auto sensors = hal_tool::read_sensors(0);
    g_accesses = bus.log();
    // One lock per operation: a temperature, a region's sensor, a supply; a driven fan's
    // status, speed and PWM; a supply fan's speed (its status needs no access).
    for (const auto& s : *sensors)
      g_ec_ops += s.kind == "fan" ? (s.index == 10 || s.index == 11 ? 1 : 3) : 1;
    g_semid = ::semget(bayhal::board_lock_key(bayhal::BoardLockId::kEc), 1, 0);
    if (g_semid < 0 || sensors->size() != 19) return 1;
    bench::run_all(argc, argv, 9, "0.05", rep);
    std::printf("EC board: %zu sensors, %d lock takes, %zu port accesses a collection\n",
                sensors->size(), g_ec_ops, g_accesses.size());
    bayhal::board_locks_remove();
    bayhal::board::reset_board_caches();
  }
  rep.ratio("BM_ec_metrics", "BM_ec_floor", "metrics on the EC board/its locks and port accesses", 1.5, true);
  rep.ratio("BM_ec_metrics", "BM_ec_floor_with_trace_stats",
            "metrics on the EC board/the same plus each register read's trace stat", 1.5, true);
  return 0;
}
