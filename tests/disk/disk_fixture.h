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

// Discovery double: getinfo answers from `disks` (keyed by pd_sys_id); no enclosure lists
// disks of its own and no multi-disk adapter or PCIe enclosure is fitted. The device-level
// questions go to the sandbox's sysfs and the device models, as in production.
class FakeDiskBackend : public DiscoveryBackend {
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
  int sr_mode(int enc_id, int port_id) override;
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
