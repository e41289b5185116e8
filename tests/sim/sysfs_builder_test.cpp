// The builder's trees are held against sysfs trees captured from real machines: what the
// capture holds of the pieces discovery walks must exist, at the same paths and with the same
// link targets, in the tree the builder makes for the same topology.
#include "sim/sysfs_builder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/sim/real_tree.h"
#include "tests/support/sandbox_root.h"
#include "tests/support/test_files.h"

namespace bayhal::test {
namespace {

namespace fs = std::filesystem;
using sim::BlockSpec;
using sim::EndDeviceSpec;
using sim::PciSpec;
using sim::SysfsBuilder;

// Entries discovery and slot mapping read; the capture's other attributes (error counters,
// bsg nodes, power folders) are not modelled.
bool walked(const std::string& rel) {
  static const std::regex name(
      R"((phy-[0-9:]+|port-[0-9:]+|expander-[0-9:]+|end_device-[0-9:]+|target[0-9:]+|host[0-9]+|)"
      R"([0-9]+:[0-9]+:[0-9]+:[0-9]+|sd[a-z]+|sg[0-9]+|block|scsi_generic|scsi_host|scsi_disk|)"
      R"(sas_host|sas_phy|sas_port|sas_device|sas_end_device|sas_expander|sas_address|)"
      R"(bay_identifier|enclosure_identifier|phy_identifier|target_port_protocols|)"
      R"(negotiated_linkrate|maximum_linkrate|proc_name|host_sas_address|type|vendor|model|rev|)"
      R"(provisioning_mode|port|device|level|generic))");
  return std::regex_match(fs::path(rel).filename().string(), name);
}

// Where a link points, as a path relative to `root` (resolved lexically, as the kernel's
// relative links are meant).
std::string resolved(const std::string& root, const std::string& rel) {
  std::string text = link_text(root + "/" + rel);
  if (text.empty()) return {};
  std::string out = (fs::path(rel).parent_path() / text).lexically_normal().string();
  while (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

std::string first_line(const std::string& path) {
  std::string s = read_file(path);
  return s.substr(0, s.find('\n'));
}

// Compares the walked part of `real_root`/`sub` with the built tree.
void expect_same_shape(const std::string& real_root, const std::string& built_root,
                       const std::string& sub, int* compared) {
  for (const std::string& rel : list_tree(real_root + "/" + sub)) {
    std::string p = sub + "/" + rel;
    if (!walked(p) || p.find("/bsg/") != std::string::npos) continue;
    std::error_code ec;
    // The capture left out some expander ports; their phys' "port" links dangle there.
    if (!fs::exists(real_root + "/" + p, ec)) continue;
    ++*compared;
    std::string built = built_root + "/" + p;
    if (!fs::exists(fs::symlink_status(built, ec))) {
      ADD_FAILURE() << "builder lacks " << p;
      continue;
    }
    std::string real_target = resolved(real_root, p);
    // The capture's sas_end_device class links point at the sas_device folder; the kernel
    // (drivers/scsi/scsi_transport_sas.c) links each class to its own folder, as built.
    if (p.rfind("sys/class/sas_end_device/", 0) == 0) continue;
    if (!real_target.empty()) {
      EXPECT_EQ(resolved(built_root, p), real_target) << p;
    }
  }
}

class SysfsBuilderTest : public SandboxTest {};

TEST_F(SysfsBuilderTest, SasHbaWithExpandersMatchesTheMpt3sasCapture) {
  RealTree real("prometheus-procfs-sas-sysfs/procfs-sas-host11-sysfs.tar.gz");
  ASSERT_TRUE(real.ok());

  SysfsBuilder b(root.dir());
  std::string bridge = b.pci_bridge("0000:00:03.0", 3);
  std::string pci = b.pci_device("0000:03:00.0", bridge, PciSpec(0x1000, 0x0097, 0x010700,
                                                                 "mpt3sas", "mpt3sas"));
  auto hba = b.sas_hba(pci, 11, {7, 8, 9, 10, 11, 12, 13, 14, 15}, "0x500062b2047b51c4");
  hba.next_target = 7;
  auto e0 = b.sas_expander(hba, {8, 9, 10, 11}, 16, "0x5000ccab0200947e");
  const std::string encl = "0x5000ccab020094ff";
  b.sas_expander_disk(e0, 2, EndDeviceSpec("0x5000ccab02009402", 58, encl, "sata"),
                      BlockSpec("sdv", "ATA", "ST8000DM004-2CX1", "0001").with_sg(23));
  b.sas_expander_disk(e0, 4, EndDeviceSpec("0x5000cca26128b1f5", 23, encl, "ssp"),
                      BlockSpec("sdw", "HITACHI", "HUH72808CLAR8000", "M7K0").with_sg(24));
  b.sas_expander_disk(e0, 6, EndDeviceSpec("0x5000ccab02009406", 57, encl, "sata"),
                      BlockSpec("sdx", "ATA", "ST8000DM004-2CX1", "0001").with_sg(25));
  b.sas_expander(hba, {12, 13, 14, 15}, 36, "0x5003048001e8967f");
  hba.next_target = 0;
  b.sas_direct_disk(hba, {7}, EndDeviceSpec("0x5000cca0506b5f1d", 0, "0x500062b2047b51c0"),
                    BlockSpec("sdp", "HITACHI", "HUSMM111CLAR1600", "C250").with_sg(16));

  int compared = 0;
  expect_same_shape(real.dir(), root.dir(), "sys/devices", &compared);
  expect_same_shape(real.dir(), root.dir(), "sys/class", &compared);
  EXPECT_GT(compared, 300);

  // Attribute values that slot mapping and the bay report read.
  const std::string h = "/sys/devices/pci0000:00/0000:00:03.0/0000:03:00.0/host11";
  for (std::string ed : {"/port-11:0/expander-11:0/port-11:0:1/end_device-11:0:1",
                         "/port-11:2/end_device-11:2"}) {
    std::string name = fs::path(ed).filename().string();
    for (const char* a : {"bay_identifier", "enclosure_identifier", "phy_identifier",
                          "target_port_protocols", "sas_address"}) {
      std::string rel = "sys/devices/pci0000:00/0000:00:03.0/0000:03:00.0/host11" + ed +
                        "/sas_device/" + name + "/" + a;
      EXPECT_EQ(first_line(root.dir() + "/" + rel), first_line(real.dir() + "/" + rel)) << rel;
    }
  }
  EXPECT_EQ(root.read(h + "/port-11:2/end_device-11:2/target11:0:0/11:0:0:0/model"),
            read_file(real.dir() + h + "/port-11:2/end_device-11:2/target11:0:0/11:0:0:0/model"));
}

// The block-device links of a capture must read exactly as the builder writes them.
struct LinkCase {
  const char* tarball;
  const char* prefix;  // folder inside the archive that stands for "/"
  // Link in the capture and the same link in the built tree.
  std::vector<std::pair<const char*, const char*>> links;
  void (*build)(SysfsBuilder&);
};

void build_bcachefs_machine(SysfsBuilder& b) {
  std::string ahci = b.pci_device("0000:00:1f.2", {}, PciSpec(0x8086, 0x1c02, 0x010601, "ahci"));
  auto ports = b.ahci(ahci, 4, 0);
  b.ahci_disk(ports[0], BlockSpec("sda", "ATA", "KINGSTON SH103S3240G", "BBF0"));
  b.ahci_disk(ports[1], BlockSpec("sdb", "ATA", "WDC WD800JD-00MSA1", "1E01"));
  b.ahci_disk(ports[3], BlockSpec("sr0", "HL-DT-ST", "DVD+/-RW GH82N", "A101").with_type(5));
  std::string rp = b.pci_bridge("0000:00:1c.4", 5);
  std::string nv = b.pci_device("0000:05:00.0", rp, PciSpec(0x2646, 0x5013, 0x010802, "nvme"));
  b.nvme(nv, 0);
}

void build_simple_nvme_machine(SysfsBuilder& b) {
  std::string ahci = b.pci_device("0000:00:1f.2", {}, PciSpec(0x8086, 0x1e02, 0x010601, "ahci"));
  auto ports = b.ahci(ahci, 6, 0);
  b.ahci_disk(ports[0], BlockSpec("sda"));
  b.ahci_disk(ports[1], BlockSpec("sdb"));
  std::string rp = b.pci_bridge("0000:00:01.0", 1);
  b.nvme(b.pci_device("0000:01:00.0", rp, PciSpec(0x2646, 0x0010, 0x010802, "nvme")), 0);
}

void build_usb_reader_machine(SysfsBuilder& b) {
  std::string x = b.pci_device("0000:00:14.0", {}, PciSpec(0x8086, 0x9ded, 0x0c0330, "xhci_hcd"));
  b.usb_root_hub(x, 1, 480, 12);
  auto ss = b.usb_root_hub(x, 2, 5000, 6);
  auto reader = b.usb_device(ss, 3, sim::UsbSpec(0x0bda, 0x0328, "Generic", "USB3.0-CRW"));
  b.usb_storage(reader, 0, {BlockSpec("sda", "Generic-", "SD/MMC CRW").as_removable()});
  std::string rp = b.pci_bridge("0000:00:1c.4", 4);
  b.nvme(b.pci_device("0000:04:00.0", rp, PciSpec(0x144d, 0xa808, 0x010802, "nvme")), 0);
}

void build_pcie_nvme_server(SysfsBuilder& b) {
  b.nvme(b.pci_device("0214:90:00.0", {}, PciSpec(0x144d, 0xa826, 0x010802, "nvme")), 0);
}

TEST_F(SysfsBuilderTest, BlockAndControllerLinksMatchRealMachines) {
  const std::vector<LinkCase> cases = {
      {"util-linux-lsblk-dumps/multi-devs-bcachefs.tar.xz", "multi-devs-bcachefs",
       {{"sys/block/sda", "sys/block/sda"},
        {"sys/block/sdb", "sys/block/sdb"},
        {"sys/block/sr0", "sys/block/sr0"},
        {"sys/block/nvme0n1", "sys/block/nvme0n1"}},
       build_bcachefs_machine},
      {"util-linux-lsblk-dumps/simple-nvme.tar.xz", "simple-nvme",
       {{"sys/block/sda", "sys/block/sda"},
        {"sys/block/sdb", "sys/block/sdb"},
        {"sys/block/nvme0n1", "sys/block/nvme0n1"}},
       build_simple_nvme_machine},
      // This capture keeps each block link one folder down ("sys/block/sda/sda"), with the
      // kernel's link text.
      {"pcp-qa-scsi-map/pcp-scsi-map-usb-nvme-subset.tar.gz", "",
       {{"sys/block/sda/sda", "sys/block/sda"}, {"sys/block/nvme0n1/nvme0n1", "sys/block/nvme0n1"}},
       build_usb_reader_machine},
      {"libnvme-sysfs-trees/tree-pcie.tar.xz", "",
       {{"sys/class/nvme/nvme0", "sys/class/nvme/nvme0"}}, build_pcie_nvme_server},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.tarball);
    RealTree real(c.tarball);
    ASSERT_TRUE(real.ok());
    std::string real_root = real.dir() + (*c.prefix ? "/" + std::string(c.prefix) : "");
    SandboxRoot built;
    SysfsBuilder b(built.dir());
    c.build(b);
    for (const auto& [real_rel, built_rel] : c.links) {
      std::string text = link_text(real_root + "/" + real_rel);
      ASSERT_FALSE(text.empty()) << real_rel;
      EXPECT_EQ(link_text(built.dir() + "/" + built_rel), text) << real_rel;
      EXPECT_TRUE(fs::exists(built.dir() + "/" + built_rel)) << built_rel << " dangles";
    }
  }
}

// libsas (hisi_sas, mvsas) names each end device's target by channel, "target<host>:<n>:0";
// discovery's handling of it is tested only through trees built this way.
TEST_F(SysfsBuilderTest, LibsasEndDevicesNameTheirTargetsByChannel) {
  SysfsBuilder b(root.dir());
  auto hba = b.sas_hba(b.pci_device("0000:01:00.0", {}, PciSpec(0x1000, 0x0097, 0x010700)), 6, {0, 1});
  b.sas_direct_disk(hba, {0}, EndDeviceSpec("0x5000c500a0000001"), BlockSpec("sde"));
  EndDeviceSpec libsas("0x5000c500a0000009", -1, "", "sata");
  libsas.channel_target = true;
  b.sas_direct_disk(hba, {1}, libsas, BlockSpec("sdf"));
  std::string link = link_text(root.path("/sys/block/sdf"));
  EXPECT_NE(link.find("/end_device-6:1/target6:1:0/6:1:0:0/block/sdf"), std::string::npos) << link;
}

}  // namespace
}  // namespace bayhal::test
