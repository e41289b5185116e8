// Shared pieces of the disk registry tests: a registered enclosure, a disk record, and a
// discovery double that answers from a table instead of a device tree.
#pragma once
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bayhal/PD.h"
#include "disk_sys/disk_backend.h"
#include "disk_sys/pd_sys.h"
#include "disk_sys/pd_sys_devno.h"
#include "disk_sys/pd_sys_smart.h"
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

// Discovery double: getinfo answers from `disks` (keyed by pd_sys_id); no enclosure lists
// disks of its own and no multi-disk adapter or PCIe enclosure is fitted.
class FakeDiskBackend : public DiskBackend {
 public:
  std::map<std::string, PD_INFO> disks;
  std::map<std::string, std::string> names;   // "/dev/sdb" -> "sdb"
  std::string boot;
  std::map<int, int> sr_modes;                // port -> mode
  std::map<std::string, int> behind_sas;      // bus name -> 1/0
  int getinfo_calls = 0;

  int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) override;
  int enumerate(const char*, char**, int) override { return 0; }
  int sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) override;
  int boot_disk(char* name, int size) override;
  int attached_behind_sas(const char* bus_name) override;
  int attached_to_sas_hba_directly(const char* bus_name) override;
  // The device-level questions go to the sandbox's sysfs and the device models, as in
  // production.
  int check_rw_access(const char* enc, const char* pd, const PD_INFO* info) override {
    return pd_sys_check_rw_access(enc, pd, info);
  }
  int set_device_queue(const char* name) override { return pd_sys_set_device_queue(name); }
  int set_io_latency(const char* name, int ms) override { return pd_sys_set_io_latency(name, ms); }
  int queue_depth(const char* name) override { return pd_sys_get_queue_depth(name); }
  int set_queue_depth(const char* name, int d) override { return pd_sys_set_queue_depth(name, d); }
  int sed_command(const char* const* args, std::span<char> out, size_t* len) override {
    return pd_sys_sed_command(args, out, len);
  }
  std::string dev_name(int major, int minor) override { return pd_sys_dev_name_of(major, minor); }
  bool dev_no(std::string_view name, int* major, int* minor) override {
    return pd_sys_dev_no_of(name, major, minor);
  }
  std::vector<std::string> block_devices() override { return pd_sys_block_devices(); }
  bool device_present(const char* dev) override { return pd_sys_device_present(dev); }
  void reload_usb_host() override { pd_sys_reload_usb_host(); }
  int power_mode(int type, const char* pd) override { return pd_sys_health_power_mode(type, pd); }
  int health_read(int type, const char* enc, const char* pd, int size, SmartReading& out) override {
    return pd_sys_health_read(type, enc, pd, size, out);
  }
  int self_test(int type, const char* enc, const char* pd, int mode) override {
    return pd_sys_health_self_test(type, enc, pd, mode);
  }
  int sr_mode(int enc_id, int port_id) override;
  int mvs_card_position(const char*, int*, int*) override { return -1; }
  int hzr_card_description(int, HzrCardDescription*) override { return -1; }
  int lookup_in_pcie_enclosure(int, const char*, int, int, char*, int) override { return -1; }
  int scan_ext_port(const char*, std::vector<std::pair<int, int>>*) override { return -1; }
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
  FakeDiskBackend backend;
};

// Value of a key or "" (through the store, as any reader would).
std::string key_of(const std::string& file, const std::string& section, const std::string& key);
bool bit_of(const std::string& file, const std::string& key, int bit);

}  // namespace bayhal::test
