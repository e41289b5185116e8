// The device models answer the library's own command builders with pages its own parsers
// decode back to the model's description: a round trip through real formats.
#include <gtest/gtest.h>

#include <cerrno>

#include "disk_sys/ata_identify.h"
#include "disk_sys/device_commands.h"
#include "disk_sys/nvme_identify.h"
#include "disk_sys/scsi_pages.h"
#include "enc_sys/vpd_serial.h"
#include "sim/ata_disk_model.h"
#include "sim/nvme_model.h"
#include "sim/scsi_disk_models.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using sim::ModelTransport;

class DeviceModelTest : public ::testing::Test {
 protected:
  ModelTransport models;
  ScopedDeviceTransport use{models};

  InquiryData inquiry(const char* dev) {
    uint8_t buf[96] = {};
    size_t got = 0;
    InquiryData d;
    EXPECT_EQ(scsi_inquiry(dev, -1, buf, sizeof buf, &got), 0);
    EXPECT_TRUE(scsi_parse_inquiry(buf, got, d));
    return d;
  }
};

// Identity fields the discovery tests (tests/disk_sys/getinfo_test.cpp) already read back
// through these models are not repeated here: only the translation layers they skip.
TEST_F(DeviceModelTest, SataDiskAnswersThroughTheTranslationLayer) {
  sim::AtaDiskSpec spec{.model = "WDC WD40EFRX-68N32N0", .serial = "WD-WCC7K0000001",
                        .firmware = "82.00A82", .logical_sector_size = 4096,
                        .wwn = 0x50014ee20d000001ull};
  models.add("/dev/sg1", std::make_shared<sim::SataDiskModel>(spec));

  InquiryData inq = inquiry("/dev/sg1");
  EXPECT_EQ(inq.vendor + "|" + inq.product + "|" + inq.revision, "ATA|WDC WD40EFRX-68N|0A82");
  uint8_t page[600] = {};
  size_t got = 0;
  ASSERT_EQ(scsi_inquiry("/dev/sg1", 0x80, page, sizeof page, &got), 0);
  EXPECT_EQ(parse_vpd_serial(page, got), spec.serial);
  ASSERT_EQ(scsi_inquiry("/dev/sg1", 0x83, page, sizeof page, &got), 0);
  uint8_t naa[16];
  ASSERT_EQ(scsi_parse_vpd_naa(page, got, naa), 8u);
  EXPECT_EQ(naa[0] * 256 + naa[7], 0x5001);
  uint64_t blocks = 0;
  uint32_t block_len = 0;
  ASSERT_EQ(scsi_read_capacity("/dev/sg1", blocks, block_len), 0);
  EXPECT_EQ(blocks * 1000 + block_len, spec.sectors * 1000 + 4096);
}

TEST_F(DeviceModelTest, SataSmartStatusComesBackInTheRegisters) {
  auto disk = std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{});
  models.add("/dev/sg0", disk);
  AtaTaskfile tf;
  tf.command = 0xb0;
  tf.features = 0xda;
  tf.lba_mid = 0x4f;
  tf.lba_high = 0xc2;
  DeviceCommand cmd;
  ASSERT_EQ(ata_pass_through("/dev/sg0", tf, XferDir::kNone, nullptr, 0, &cmd), 0);
  EXPECT_EQ(cmd.sense[17], 0x4f);
  EXPECT_EQ(cmd.sense[19], 0xc2);
  disk->set_smart_status(false);
  ASSERT_EQ(ata_pass_through("/dev/sg0", tf, XferDir::kNone, nullptr, 0, &cmd), 0);
  EXPECT_EQ(cmd.sense[17], 0xf4);
  EXPECT_EQ(cmd.sense[19], 0x2c);

  uint8_t data[512];
  tf.features = 0xd0;
  tf.sector_count = 1;
  ASSERT_EQ(ata_pass_through("/dev/sg0", tf, XferDir::kFromDevice, data, sizeof data), 0);
  unsigned sum = 0;
  for (uint8_t b : data) sum += b;
  EXPECT_EQ(sum % 256, 0u) << "SMART data checksum";
  EXPECT_EQ(data[2], 5);  // first attribute id
  tf.lba_mid = 0;          // no SMART signature: the drive aborts
  EXPECT_EQ(ata_pass_through("/dev/sg0", tf, XferDir::kFromDevice, data, sizeof data), -1);
  EXPECT_EQ(disk->ata_commands().back(), 0xb0);
}

TEST_F(DeviceModelTest, SasDiskNamesItsLogicalUnitAndRefusesAta) {
  models.add("/dev/sg16", std::make_shared<sim::SasDiskModel>(
                              sim::SasDiskSpec{.naa = 0x5000cca0506b5f1cull, .form_factor = 3}));
  uint8_t page[256];
  size_t got = 0;
  ASSERT_EQ(scsi_inquiry("/dev/sg16", 0x83, page, sizeof page, &got), 0);
  uint8_t naa[16];
  ASSERT_EQ(scsi_parse_vpd_naa(page, got, naa), 8u);
  EXPECT_EQ(naa[7], 0x1c) << "the logical unit's NAA, not the target port's";
  ASSERT_EQ(scsi_inquiry("/dev/sg16", 0xb1, page, sizeof page, &got), 0);
  int rotation = -2, form = -1;
  ASSERT_TRUE(scsi_parse_vpd_block_chars(page, got, rotation, form));
  EXPECT_EQ(form, 3);
  uint8_t id[512];
  EXPECT_EQ(ata_identify("/dev/sg16", id), -1);
  EXPECT_EQ(scsi_inquiry("/dev/sg16", 0x89, page, sizeof page), -1) << "page not supported";
}

TEST_F(DeviceModelTest, NvmeControllerCountsItsNamespacesAndRefusesScsi) {
  models.add("/dev/nvme0", std::make_shared<sim::NvmeModel>(
                               sim::NvmeCtrlSpec{.namespaces = {500118192ull, 1000}}));
  std::vector<uint8_t> buf(4096);
  ASSERT_EQ(nvme_identify("/dev/nvme0", 1, 0, buf.data()), 0);
  NvmeController ctrl;
  ASSERT_TRUE(nvme_parse_identify_ctrl(buf.data(), buf.size(), ctrl));
  EXPECT_EQ(ctrl.nn, 2u);
  EXPECT_EQ(nvme_identify("/dev/nvme0", 0, 2, buf.data()), 0);
  EXPECT_EQ(nvme_identify("/dev/nvme0", 0, 3, buf.data()), -1) << "no namespace 3";
  uint8_t inq[36];
  EXPECT_EQ(scsi_inquiry("/dev/nvme0", -1, inq, sizeof inq), -1);
}

TEST_F(DeviceModelTest, UnknownNodesAndTheRealBackendFailCleanly) {
  DeviceCommand cmd;
  cmd.cdb_len = 6;
  EXPECT_EQ(device_command("/dev/sg9", cmd), -ENODEV);
  EXPECT_EQ(models.commands("/dev/sg9"), 0);

  set_device_transport(nullptr);  // the real ioctl backend, on a plain file under a root
  test::SandboxRoot root;
  root.write("/dev/sg0", "");
  DeviceCommand inq;
  inq.cdb_len = 6;
  inq.cdb[0] = 0x12;
  uint8_t buf[36];
  inq.cdb[4] = sizeof buf;
  inq.dir = XferDir::kFromDevice;
  inq.data = buf;
  inq.data_len = sizeof buf;
  EXPECT_LT(device_command("/dev/sg0", inq), 0) << "SG_IO on a plain file";
  EXPECT_EQ(device_command("/dev/missing", inq), -ENOENT);
  DeviceCommand no_buffer;
  no_buffer.cdb_len = 6;
  no_buffer.dir = XferDir::kFromDevice;
  EXPECT_EQ(device_command("/dev/sg0", no_buffer), -EINVAL);
  set_device_transport(&models);
}

}  // namespace
}  // namespace bayhal
