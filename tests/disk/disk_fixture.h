// Shared pieces of the disk registry tests: a registered enclosure, a disk record, and a
// discovery double that answers from a table instead of a device tree.
#pragma once
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bayhal/PD.h"
#include "disk_sys/disk_backend.h"
#include "foundation/command_runner.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {

// Registers enclosure `enc_id` in hal.conf the way the enclosure registry leaves it.
void add_enclosure(int enc_id, const std::string& enc_sys_id, int max_disk_num, int protocol,
                   unsigned capability = 0);

// A disk record as discovery fills it.
PD_INFO make_disk(const std::string& pd_sys_id, const std::string& serial, int port_id = -1,
                  const std::string& enc_sys_id = "root");
void set_wwn(PD_INFO& info, std::vector<unsigned char> bytes);

// Discovery double: getinfo answers from `disks` (keyed by pd_sys_id), enumerate lists the
// disks of an enclosure.
class FakeBackend : public DiskBackend {
 public:
  std::map<std::string, PD_INFO> disks;
  std::map<std::string, int> getinfo_result;  // pd_sys_id -> forced result
  std::map<std::string, std::vector<std::string>> members;  // enc_sys_id -> pd_sys_ids
  std::map<std::string, std::string> names;   // "/dev/sdb" -> "sdb"
  std::string boot;
  std::map<int, int> sr_modes;                // port -> mode
  std::map<std::string, int> behind_sas;      // bus name -> 1/0
  // HZR card double.
  int mvs_slot = -1, mvs_index = -1;
  HzrCardDescription card;
  std::map<int, std::string> lanes;           // lane index -> pd_sys_id
  std::vector<std::pair<int, int>> ext_ports;
  int getinfo_calls = 0;

  int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) override;
  int enumerate(const char* enc_sys_id, char** list, int max) override;
  int sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) override;
  int boot_disk(char* name, int size) override;
  int attached_behind_sas(const char* bus_name) override;
  int attached_to_sas_hba_directly(const char* bus_name) override;
  // The device-level questions go to the sandbox's sysfs, as in production.
  int check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info) override;
  int set_device_queue(const char* sys_name) override;
  int set_io_latency(const char* sys_name, int latency_ms) override;
  int queue_depth(const char* sys_name) override;
  int set_queue_depth(const char* sys_name, int depth) override;
  int sed_command(const char* const* args, std::span<char> out, size_t* out_len) override;
  std::string dev_name(int major, int minor) override;
  bool dev_no(std::string_view name, int* major, int* minor) override;
  std::vector<std::string> block_devices() override;
  bool device_present(const char* dev) override;
  void reload_usb_host() override;
  // Health goes to the device readers, which the tests answer with device models.
  int power_mode(int type, const char* pd_sys_id) override;
  int health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                  SmartReading& out) override;
  int self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) override;
  int sr_mode(int enc_id, int port_id) override;
  int mvs_card_position(const char* enc_sys_id, int* pcie_slot, int* card_index) override;
  int hzr_card_description(int pcie_slot, HzrCardDescription* out) override;
  int lookup_in_pcie_enclosure(int domain, const char* dev_bus, int switch_port, int index,
                               char* pd_sys_id, int size) override;
  int scan_ext_port(const char* card_enc_sys_id, std::vector<std::pair<int, int>>* ports) override;
};

// Records what the library would run and runs nothing. shell_read answers `read_output`.
class RecordingRunner : public CommandRunner {
 public:
  std::vector<std::string> lines;
  std::string read_output;
  int shell(const std::string& line) override;
  int shell_read(const std::string& line, std::string& output) override;
  int exec(const std::vector<std::string>& argv, std::string* output) override;
};

// Runs commands for real (stand-ins under the root) but lets a shell line's background jobs
// finish before returning, so a test sees what a hook recorded without sleeping.
class WaitingRunner : public CommandRunner {
 public:
  // Construct while the real runner is in force.
  WaitingRunner() : real_(runner()) {}
  int shell(const std::string& line) override;
  int shell_read(const std::string& line, std::string& output) override;
  int exec(const std::vector<std::string>& argv, std::string* output) override;

 private:
  CommandRunner& real_;
};

// A sandbox root with the fake backend installed.
class DiskTest : public SandboxTest {
 protected:
  DiskTest();
  ~DiskTest() override;
  FakeBackend backend;
};

// Value of a key or "" (through the store, as any reader would).
std::string key_of(const std::string& file, const std::string& section, const std::string& key);
bool bit_of(const std::string& file, const std::string& key, int bit);

}  // namespace bayhal::test
