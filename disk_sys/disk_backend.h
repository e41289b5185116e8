// What the disk registry asks of the hardware: the discovery layer, the kernel's block
// devices and the card back-ends. The registry reaches hardware only through this
// interface (it is store and policy), so its tests install a double and run without any
// device tree; production uses the discovery layer (pd_sys_*).
#pragma once
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bayhal/PD.h"
#include "disk_sys/pd_sys.h"
#include "disk_sys/pd_sys_devno.h"
#include "disk_sys/pd_sys_smart.h"
#include "disk_sys/smart_reading.h"

namespace bayhal {

// The mini-SAS side of a PCIe SATA host card, as its description gives it.
struct HzrCardDescription {
  int minisas_port_count = 0;       // "MINISAS_PORT_COUNT"
  int port_offset = 0;              // "PORT_OFFSET"
  std::vector<int> switch_ports;    // "PCI_SWITCH_PORT<n>", n from 1
};

class DiskBackend {
 public:
  virtual ~DiskBackend() = default;

  // Fills `info` for one disk (pd_sys_getinfo): 0, -2 for a device not to register, or
  // another negative value.
  virtual int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) = 0;
  // Lists the disks present in an enclosure (pd_sys_enumerate): newly allocated strings
  // (malloc) the caller frees; the count or a negative value.
  virtual int enumerate(const char* enc_sys_id, char** list, int max) = 0;
  // Block device name ("/dev/sdb" or "sdb") to pd_sys_id: 0 or -1.
  virtual int sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) = 0;
  // The boot device as discovery finds it at start-up: 0 or -1.
  virtual int boot_disk(char* name, int size) = 0;
  // From a disk's bus name: 1 when it sits behind a SAS expander / directly on a SAS HBA,
  // 0 when not, -1 when unknown.
  virtual int attached_behind_sas(const char* bus_name) = 0;
  virtual int attached_to_sas_hba_directly(const char* bus_name) = 0;

  // 0 when the disk answers I/O, -2 for a device not to register, -1 otherwise
  // (pd_sys_check_rw_access).
  virtual int check_rw_access(const char* enc_sys_id, const char* pd_sys_id,
                              const PD_INFO* info) = 0;
  // The configured request size limit and the command-timeout latency of a block device
  // ("/dev/sdb"): 0 or -1.
  virtual int set_device_queue(const char* sys_name) = 0;
  virtual int set_io_latency(const char* sys_name, int latency_ms) = 0;

  // The queue depth of a block device ("/dev/sdb"): the depth or -1; set: 0 or -1.
  virtual int queue_depth(const char* sys_name) = 0;
  virtual int set_queue_depth(const char* sys_name, int depth) = 0;
  // Runs the self-encrypting-drive tool (pd_sys_sed_command): `args` may hold secrets and
  // are used in place. The wait status, -1 when it could not be started.
  virtual int sed_command(const char* const* args, std::span<char> out, size_t* out_len) = 0;

  // The kernel's block devices: "/dev/<name>" of a device number (empty when none), the
  // number of a "/dev/sd*"-like name, the disks in /sys/block, whether a node exists.
  virtual std::string dev_name(int major, int minor) = 0;
  virtual bool dev_no(std::string_view name, int* major, int* minor) = 0;
  virtual std::vector<std::string> block_devices() = 0;
  virtual bool device_present(const char* dev) = 0;
  // Reloads the USB host driver (a boot stick that dropped off the bus comes back).
  virtual void reload_usb_host() = 0;

  // Health, by the disk's SMART type (PD_SMART_TYPE_*); -2 for a type without readers.
  // The power mode: 1 awake (or nothing to spin up), 0 standby, -1 unknown. A reading of
  // at most `size` entries (ATA: slots), a self-test start: 0 or -1.
  virtual int power_mode(int type, const char* pd_sys_id) = 0;
  virtual int health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                          SmartReading& out) = 0;
  virtual int self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) = 0;

  // Hardware-RAID mode of a disk (PD_Get_SR_Mode); -1 when the disk has none.
  virtual int sr_mode(int enc_id, int port_id) = 0;

  // PCIe SATA host card (HZR) and its external JBOD-series units (protocol 12).
  // The PCIe slot and card index of the card that an MVS unit hangs on: 0 or -1.
  virtual int mvs_card_position(const char* enc_sys_id, int* pcie_slot, int* card_index) = 0;
  // The mini-SAS description of the card in a PCIe slot: 0 or -1.
  virtual int hzr_card_description(int pcie_slot, HzrCardDescription* out) = 0;
  // The disk on one lane of the card (pd_sys_lookup_in_pcie_enclosuare): 0 or -1.
  virtual int lookup_in_pcie_enclosure(int domain, const char* dev_bus, int switch_port,
                                       int index, char* pd_sys_id, int size) = 0;
  // Rescans a card's external ports (se_sys_scan_ext_port): for each port n (from 1), the
  // attached enclosure id and its port, -1 and -1 when nothing is attached. 0 or -1.
  virtual int scan_ext_port(const char* card_enc_sys_id,
                            std::vector<std::pair<int, int>>* ports) = 0;
};

// The default backend: the discovery layer (pd_sys_*) and the kernel's device tree.
// Questions that only a card or hardware-RAID back-end could answer get "not available"
// (-1): this library has none. Tests derive from it to replace what they script.
class DiscoveryBackend : public DiskBackend {
 public:
  int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) override {
    return pd_sys_getinfo(enc_sys_id, pd_sys_id, info);
  }
  int enumerate(const char* enc_sys_id, char** list, int max) override {
    return pd_sys_enumerate(enc_sys_id, list, max);
  }
  int sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) override {
    return pd_sys_get_sys_id_by_sys_name(sys_name, sys_id, size);
  }
  int boot_disk(char* name, int size) override { return pd_sys_get_boot_disk(name, size); }
  // From the disk's path through the SAS transport classes.
  int attached_behind_sas(const char* bus_name) override;
  int attached_to_sas_hba_directly(const char* bus_name) override;
  int power_mode(int type, const char* pd_sys_id) override {
    return pd_sys_health_power_mode(type, pd_sys_id);
  }
  int health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                  SmartReading& out) override {
    return pd_sys_health_read(type, enc_sys_id, pd_sys_id, size, out);
  }
  int self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) override {
    return pd_sys_health_self_test(type, enc_sys_id, pd_sys_id, mode);
  }
  int check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info) override {
    return pd_sys_check_rw_access(enc_sys_id, pd_sys_id, info);
  }
  int set_device_queue(const char* sys_name) override { return pd_sys_set_device_queue(sys_name); }
  int set_io_latency(const char* sys_name, int latency_ms) override {
    return pd_sys_set_io_latency(sys_name, latency_ms);
  }
  int queue_depth(const char* sys_name) override { return pd_sys_get_queue_depth(sys_name); }
  int set_queue_depth(const char* sys_name, int depth) override {
    return pd_sys_set_queue_depth(sys_name, depth);
  }
  int sed_command(const char* const* args, std::span<char> out, size_t* out_len) override {
    return pd_sys_sed_command(args, out, out_len);
  }
  std::string dev_name(int major, int minor) override { return pd_sys_dev_name_of(major, minor); }
  bool dev_no(std::string_view name, int* major, int* minor) override {
    return pd_sys_dev_no_of(name, major, minor);
  }
  std::vector<std::string> block_devices() override { return pd_sys_block_devices(); }
  bool device_present(const char* dev) override { return pd_sys_device_present(dev); }
  void reload_usb_host() override { pd_sys_reload_usb_host(); }
  int sr_mode(int, int) override { return -1; }
  int mvs_card_position(const char*, int*, int*) override { return -1; }
  int hzr_card_description(int, HzrCardDescription*) override { return -1; }
  int lookup_in_pcie_enclosure(int, const char*, int, int, char*, int) override { return -1; }
  int scan_ext_port(const char*, std::vector<std::pair<int, int>>*) override { return -1; }
};

// The backend in force: the discovery layer unless a test installed another.
DiskBackend& disk_backend();
// Installs `b` (not owned); nullptr restores the default.
void set_disk_backend(DiskBackend* b);

}  // namespace bayhal
