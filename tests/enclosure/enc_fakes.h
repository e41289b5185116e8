// Test doubles for the seams the enclosure registry calls: the command runner, the disk
// registry and the board back-end.
#pragma once
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "board/board_services.h"
#include "enclosure/disk_registry_link.h"
#include "ext_enclosure/ses_services.h"
#include "foundation/command_runner.h"
#include "mcu/mcu_services.h"

namespace bayhal::test {

// Records every command; "pidof" lines answer as `udevd_running` says, others succeed, and
// shell_read answers `read_output`.
class FakeRunner : public CommandRunner {
 public:
  FakeRunner() { set_runner(this); }
  ~FakeRunner() override { set_runner(nullptr); }
  int shell(const std::string& line) override {
    shells.push_back(line);
    if (line.rfind("pidof", 0) == 0) return udevd_running ? 0 : 256;
    return 0;
  }
  int shell_read(const std::string& line, std::string& output) override {
    output = read_output;
    return shell(line);
  }
  int exec(const std::vector<std::string>& argv, std::string* output = nullptr) override {
    std::string joined;
    for (const auto& a : argv) joined += (joined.empty() ? "" : "|") + a;
    execs.push_back(joined);
    if (output) output->clear();
    return 0;
  }
  std::vector<std::string> execs_of(const std::string& program) const {
    std::vector<std::string> out;
    for (const auto& e : execs)
      if (e.rfind(program + "|", 0) == 0) out.push_back(e);
    return out;
  }
  bool udevd_running = false;
  std::string read_output;
  std::vector<std::string> shells;
  std::vector<std::string> execs;
};

// Records what the enclosure code asks of the disk registry.
class RecordingDiskLink : public DiskRegistryLink {
 public:
  RecordingDiskLink() : registry_(disk_registry_link()) { set_disk_registry_link(this); }
  ~RecordingDiskLink() override { set_disk_registry_link(nullptr); }
  int scan(int enc_id, const char* dir) override {
    scans.push_back(std::to_string(enc_id) + (dir ? std::string("@") + dir : ""));
    return scan_result;
  }
  int detach_by_dev_id(int enc_id, int dev_id) override {
    detaches.emplace_back(enc_id, dev_id);
    if (on_detach) on_detach(enc_id, dev_id);
    return detach_result;
  }
  // Ports without an entry in `dev_ids` get the disk registry's answer.
  int dev_id_of_port(int enc_id, int port, int* dev_id) override {
    auto it = dev_ids.find(port);
    if (it == dev_ids.end()) return registry_.dev_id_of_port(enc_id, port, dev_id);
    *dev_id = it->second;
    return 0;
  }
  int scan_result = 0;
  int detach_result = 0;
  std::vector<std::string> scans;
  std::vector<std::pair<int, int>> detaches;
  std::function<void(int, int)> on_detach;
  std::map<int, int> dev_ids;

 private:
  DiskRegistryLink& registry_;
};

// The board, microcontroller and SES back-ends in one double that answers what a test sets
// and records what it was asked.
class FakeBackend : public BoardServices, public McuServices, public SesServices {
 public:
  FakeBackend() : board_(*this), mcu_(*this), ses_(*this) {}

  int pic_sys_start_monitor(const char* id, int flag) override {
    return note(monitor_result, "pic_start", id, flag);
  }
  int mcu_sys_start_monitor(const char* id, int flag) override {
    return note(monitor_result, "mcu_start", id, flag);
  }
  int se_sys_get_board_sn(char* buf, int size) override {
    if (board_sn.empty()) return -1;
    std::snprintf(buf, static_cast<size_t>(size), "%s", board_sn.c_str());
    return 0;
  }
  int se_sys_get_real_enc_sys_id(const char*, char* buf, int size) override {
    std::snprintf(buf, static_cast<size_t>(size), "%s", "sg9");
    return 0;
  }
  int pd_sys_get_bsg_name_by_sg(const char* sg, char* buf, int size) override {
    std::snprintf(buf, static_cast<size_t>(size), "bsg-of-%s", sg);
    return 0;
  }
  int se_sys_get_root_sas_address(const char*, uint64_t* address) override {
    *address = 0x500605b0000272bfULL;
    return 0;
  }
  int se_sys_set_7_segment_led(const char* id, int enc_id) override {
    return note(0, "7seg", id, enc_id);
  }
  int se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm) override {
    *min_pwm = pwm_min;
    *max_pwm = pwm_max;
    return note(pwm_result, "minmax", region);
  }
  int hm_set_fan_speed_by_pwm(int enc_id, int fan, int pwm) override {
    return note(0, "pwm", enc_id, fan, pwm);
  }
  int se_sys_set_buzzer(const char* id, int pattern) override {
    return note(7, "buzzer", id, pattern);
  }
  int se_sys_control_smp_phy(const char* bsg, int phy, int op) override {
    return note(0, "smp", bsg, phy, op);
  }
  int se_sys_set_reboot(const char* id) override { return note(reboot_result, "reboot", id); }
  int hal_mb_is_temp_region_support(int* count) override {
    *count = temp_regions;
    return temp_regions > 0 ? 1 : 0;
  }

  std::vector<std::string> calls;
  int monitor_result = 0;
  std::string board_sn;
  int pwm_min = 0, pwm_max = 255, pwm_result = 0;
  int reboot_result = 0;
  int temp_regions = 0;

 private:
  // Records "what arg arg..." and answers `result`.
  template <typename... Args>
  int note(int result, const char* what, const Args&... args) {
    std::string line = what;
    ((line += " ", line += text(args)), ...);
    calls.push_back(line);
    return result;
  }
  static std::string text(const char* s) { return s; }
  static std::string text(int n) { return std::to_string(n); }

  ScopedBoardServices board_;
  ScopedMcuServices mcu_;
  ScopedSesServices ses_;
};

}  // namespace bayhal::test
