// Writes controller topologies under a system root in the shape the Linux kernel gives
// them in sysfs, so that discovery, halsim and the demo run on a directory tree instead of
// a machine. Every path argument and result is an appliance path ("/sys/devices/..."); the
// builder writes below its host root. Links are relative, as the kernel's are. Device nodes
// under /dev are plain files. docs/sysfs_builder.md lists the kernel layout each call mirrors.
//
// Filesystem failures throw std::filesystem::filesystem_error: this is a test and simulator
// library, never linked into libbayhal.so.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bayhal::sim {

// PCI identity and driver of a function.
struct PciSpec {
  PciSpec() = default;
  PciSpec(unsigned v, unsigned d, unsigned cls, std::string drv = {}, std::string mod = {})
      : vendor(v), device(d), class_code(cls), driver(std::move(drv)), module(std::move(mod)) {}
  unsigned vendor = 0x8086;
  unsigned device = 0x0000;
  unsigned class_code = 0x000000;  // e.g. 0x010601 AHCI, 0x010802 NVMe, 0x0c0330 xHCI
  std::string driver;              // bound driver ("ahci"); empty = none
  std::string module;              // its module ("ahci"); empty = same as driver
};

// A SCSI logical unit with its block and generic devices.
struct BlockSpec {
  BlockSpec() = default;
  explicit BlockSpec(std::string n, std::string v = "ATA", std::string m = "DISK",
                     std::string r = "1.00")
      : name(std::move(n)), vendor(std::move(v)), model(std::move(m)), rev(std::move(r)) {}
  BlockSpec& with_sg(int i) { sg = i; return *this; }
  BlockSpec& with_type(int t) { type = t; return *this; }
  BlockSpec& with_size(std::uint64_t s) { sectors = s; return *this; }
  BlockSpec& as_removable() { removable = true; return *this; }
  BlockSpec& as_ssd() { rotational = false; return *this; }

  std::string name;          // block device ("sda", "sr0"); empty = no block device
  int sg = -1;               // scsi_generic index; -1 = next free
  int type = 0;              // SCSI peripheral device type: 0 disk, 5 optical
  std::string vendor = "ATA";
  std::string model = "DISK";
  std::string rev = "1.00";
  std::uint64_t sectors = 0;  // size in 512-byte units, as /sys/block/<name>/size
  int logical_block = 512;
  bool removable = false;
  bool rotational = true;
  std::string provisioning_mode = "full";  // scsi_disk attribute
  std::string sas_address;                 // device attribute of SAS-attached units
  // SATA link of an AHCI port ("ata%d/link%d/ata_link/link%d"): negotiated and limit.
  std::string sata_spd = "6.0 Gbps";
  std::string sata_spd_limit = "6.0 Gbps";
};

// One AHCI port: "ata%d" and its own "host%d".
struct AhciPort {
  int ata = 0;
  int host = 0;
  std::string host_dir;
};

// A SAS initiator (HBA) with one SCSI host.
struct SasHba {
  int host = 0;
  std::string host_dir;
  std::string sas_address;
  int next_port = 0;
  int next_target = 0;
};

// A SAS expander, reached through a wide port of the host.
struct SasExpander {
  SasHba* hba = nullptr;
  int channel = 0;  // the N of expander-H:N
  std::string dir;
  int next_port = 0;
};

// The SAS end device of a disk.
struct EndDeviceSpec {
  EndDeviceSpec() = default;
  explicit EndDeviceSpec(std::string addr, int bay_id = -1, std::string encl = {},
                         std::string proto = "ssp")
      : sas_address(std::move(addr)), bay(bay_id), enclosure_id(std::move(encl)),
        protocol(std::move(proto)) {}
  std::string sas_address = "0x5000c50000000001";
  int bay = -1;                    // bay_identifier; -1 = not reported
  std::string enclosure_id;        // enclosure_identifier; empty = not reported
  std::string protocol = "ssp";    // target_port_protocols: "ssp" or "sata"
  std::string rate = "12.0 Gbit";  // negotiated and maximum link rate of the phy
  // libsas drivers name the target "target%d:%d:0" (channel = end-device number) instead of
  // the "target%d:0:%d" of mpt3sas; set true to build that form.
  bool channel_target = false;
};

// A USB root hub or device.
struct UsbDev {
  int bus = 0;
  std::string name;  // "usb2", "2-3", "2-1.4"
  std::string dir;
  int speed = 480;
};

struct UsbSpec {
  UsbSpec() = default;
  UsbSpec(unsigned v, unsigned p, std::string maker, std::string name, int spd = 5000,
          int hub = 0)
      : vendor(v), product(p), manufacturer(std::move(maker)), product_name(std::move(name)),
        speed(spd), hub_ports(hub) {}
  unsigned vendor = 0x0bda;
  unsigned product = 0x0328;
  std::string manufacturer = "Generic";
  std::string product_name = "USB Storage";
  std::string serial;
  int speed = 5000;  // Mbit/s as the "speed" attribute: 12, 480, 5000, 10000, 20000
  int hub_ports = 0;  // > 0 builds a hub with that many ports
};

struct NvmeSpec {
  std::string model = "NVME SSD";
  std::string serial = "S000000000";
  std::string firmware = "1.0";
  std::vector<std::uint64_t> namespaces = {1953525168};  // sizes in 512-byte units
  bool misc_class = false;  // old kernels put the controller under "misc" instead of "nvme"
};

class SysfsBuilder {
 public:
  // `host_root` is the directory that stands for "/".
  explicit SysfsBuilder(std::string host_root);
  const std::string& host_root() const { return root_; }
  std::string host_path(std::string_view app_path) const;

  // Plain pieces.
  void dir(std::string_view app_path);
  // Writes `value` followed by a newline, as sysfs attributes read.
  void attr(std::string_view app_path, std::string_view value);
  // Writes `bytes` exactly (binary attributes such as "inquiry" or "vpd_pg83"; an empty
  // file for attributes whose read fails in the kernel).
  void raw(std::string_view app_path, std::string_view bytes);
  // Creates `app_path` as a relative link to `target` (both appliance paths).
  void link(std::string_view app_path, std::string_view target);
  // A device node as a plain empty file.
  void dev_node(std::string_view name);

  // PCI. `addr` is "dddd:bb:dd.f"; `parent` the directory of the bridge above it, empty for a
  // function on the host bridge "/sys/devices/pci<dddd>:<bb>". Returns the device directory.
  std::string pci_device(std::string_view addr, std::string_view parent = {},
                         const PciSpec& spec = {});
  // A bridge (root port, switch port) whose secondary bus is `secondary` ("pci_bus/dddd:bb").
  std::string pci_bridge(std::string_view addr, int secondary, std::string_view parent = {},
                         const PciSpec& spec = {});

  // A PCIe hot-plug slot "/sys/bus/pci/slots/<name>" holding the device at `address`
  // ("dddd:bb:dd"), with its attention indicator (0 off, 1 on, 2 blinking) at 0.
  std::string pci_slot(std::string_view name, std::string_view address);

  // SCSI. A host "host%d" below `parent_dir` with its scsi_host class folder.
  std::string scsi_host(std::string_view parent_dir, int host, std::string_view proc_name);
  // "target%d:%d:%d" below `parent_dir` and the unit "%d:%d:%d:%d" below it, with its block
  // device, scsi_generic and scsi_disk folders and the class and /dev entries. Returns the
  // unit's directory.
  std::string scsi_unit(std::string_view parent_dir, int host, int channel, int id, int lun,
                        const BlockSpec& spec);

  // AHCI: `ports` pairs of "ata%d"/"host%d" below the controller, numbered from `first_ata`
  // and `first_host`.
  std::vector<AhciPort> ahci(std::string_view pci_dir, int ports, int first_host,
                             int first_ata = 1);
  // A disk on an AHCI port: "target%d:0:0/%d:0:0:0".
  std::string ahci_disk(const AhciPort& port, const BlockSpec& spec);

  // SAS. A host with the given host phys ("phy-%d:%d").
  SasHba sas_hba(std::string_view pci_dir, int host, const std::vector<int>& phys,
                 std::string_view sas_address = "0x500062b200000000",
                 std::string_view proc_name = "mpt3sas");
  // A disk attached straight to host phys: "port-H:N/end_device-H:N/target.../unit".
  std::string sas_direct_disk(SasHba& hba, const std::vector<int>& phys,
                              const EndDeviceSpec& end, const BlockSpec& spec);
  // An expander on a wide port of host phys, with `phys` expander phys "phy-H:N:P".
  SasExpander sas_expander(SasHba& hba, const std::vector<int>& host_phys, int phys,
                           std::string_view sas_address = "0x5000ccab02000000");
  // A disk on expander phy `phy`: "port-H:N:M/end_device-H:N:M/target.../unit".
  std::string sas_expander_disk(SasExpander& exp, int phy, const EndDeviceSpec& end,
                                const BlockSpec& spec);

  // NVMe controller "nvme%d" below the PCI function and its namespaces "nvme%dn%d".
  std::string nvme(std::string_view pci_dir, int ctrl, const NvmeSpec& spec = {});

  // USB. A root hub "usb%d" of an xHCI/EHCI controller with `ports` ports.
  UsbDev usb_root_hub(std::string_view pci_dir, int bus, int speed, int ports);
  // A device on port `port` of `parent` (root hub or hub): "B-P" or "B-P.Q".
  UsbDev usb_device(const UsbDev& parent, int port, const UsbSpec& spec = {});
  // usb-storage on interface 1.0 of `dev`: "host%d" and one unit per LUN.
  std::vector<std::string> usb_storage(const UsbDev& dev, int host,
                                       const std::vector<BlockSpec>& luns);

  // virtio-blk "virtio%d/block/<name>" below a PCI function.
  std::string virtio_blk(std::string_view pci_dir, int index, std::string_view name,
                         std::uint64_t sectors);
  // Xen paravirtual disk "/sys/devices/vbd-<id>/block/<name>" (id 51712 = xvda).
  std::string xen_vbd(int vbd_id, std::string_view name, std::uint64_t sectors);

  // A partition "<block>/<name>" of the block device folder `block` (number `index`).
  std::string partition(std::string_view block, std::string_view name, int index,
                        std::uint64_t sectors);

  // A block device "<parent>/<name>" (parent is a unit's "block" folder, an NVMe controller
  // or a virtio device's "block" folder) with its class links, "dev" numbers and /dev node.
  std::string block_device(std::string_view parent, std::string_view name,
                           std::uint64_t sectors, bool removable, bool rotational,
                           int logical_block);

 private:
  std::string root_;
  int next_sg_ = 0;
  int next_minor_sd_ = 0;
  int next_minor_259_ = 0;

  std::string sas_end_device(std::string_view port_dir, std::string_view name, int phy,
                             const EndDeviceSpec& end);
  std::string sas_target(SasHba& hba, std::string_view end_dir, int end_index,
                         const EndDeviceSpec& end, const BlockSpec& spec);
  void sas_phy(std::string_view parent, std::string_view name, int phy_id,
               std::string_view sas_address, std::string_view rate);
  std::string sas_port(std::string_view parent, std::string_view name,
                       const std::vector<std::string>& phy_names);
};

}  // namespace bayhal::sim
