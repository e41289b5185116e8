// Which description becomes "/etc/model.conf": by backplane, by board identifier, or kept.
#include "bayhal/model_conf.h"
#include "tests/model/model_conf_fixture.h"

namespace bayhal {
namespace {

using test::FruBoard;

const char kGeneric[] = "[System Enclosure]\nVENDOR = Sample\nMULTI_CONF = 0x6\n";
const char kModel1[] = "[System Enclosure]\nVENDOR = Sample\nMODEL = rev A\n";
const char kModel2[] = "[System Enclosure]\nVENDOR = Sample\nMODEL = rev B\n";
const char kTable[] =
    "[Board intel celeron]\nHOST_BRIDGE = 8086:3e0f\nCPU = celeron\nBOARD_ID = 1\n"
    "[Board intel any]\nHOST_BRIDGE = 8086:3e0f\nSUBSYSTEM = 1849:3e0f\nBOARD_ID = 2\n"
    "[Board amd]\nHOST_BRIDGE = 1022:1450\nBOARD_ID = 0x2\n"
    "[Board not shipped]\nHOST_BRIDGE = 1022:14d8\nBOARD_ID = 3\n"
    "[Backplane]\nBP-8SATA-A = 1\nBP-8SATA-B = 2\nBP-GENERIC = model.conf\nBP-LOST = 7\n";

class ModelChoice : public test::ModelConfTest {
 protected:
  ModelChoice() {
    model(kGeneric);
    model(kModel1, "/etc/model_1.conf");
    model(kModel2, "/etc/model_2.conf");
    root.write(kBoardTable, kTable);
    root.write("/etc/platform.conf", "[MISC]\nDISPLAY_NAME = old name\nOTHER = kept\n");
  }
  int run(const char** msg = nullptr) { return setup_model_conf(msg, &report); }
  ModelSetupReport report;
};

TEST_F(ModelChoice, BoardIdentifierPicksTheCandidateAndLinksIt) {
  struct Case {
    uint16_t vendor, device, sub_vendor, sub_device;
    const char* cpu;
    const char* model;
  } cases[] = {
      {0x8086, 0x3e0f, 0x1849, 0x3e0f, "Intel(R) Celeron(R) J4125 CPU @ 2.00GHz", "rev A"},
      {0x8086, 0x3e0f, 0x1849, 0x3e0f, "Intel(R) Core(TM) i3-9100", "rev B"},  // next section
      {0x1022, 0x1450, 0, 0, "AMD Ryzen Embedded V1500B", "rev B"},            // 0x2
  };
  for (const Case& c : cases) {
    model(kGeneric);
    pci_config("0000:00:00.0", c.vendor, c.device, c.sub_vendor, c.sub_device);
    cpu(c.cpu);
    ASSERT_EQ(run(), 0) << c.cpu;
    ASSERT_TRUE(is_link()) << c.cpu;
    EXPECT_EQ(get("System Enclosure", "MODEL"), c.model) << c.cpu;
    // Relative, so a moved root does not leave it dangling.
    EXPECT_EQ("/etc/" + link_target(), report.chosen) << c.cpu;
  }
  EXPECT_TRUE(log_has("Get Board ID = 0x2\n"));
  EXPECT_EQ(root.read("/etc/platform.conf"), "[MISC]\nOTHER = kept\n");
}

TEST_F(ModelChoice, MissingCandidateFailsAndUnlinksNothing) {
  model("[System Enclosure]\nMULTI_CONF = 0x5\n");
  model(kModel1, "/etc/model_0.conf");
  ::unlink(root.path("/etc/model_2.conf").c_str());
  pci_config("0000:00:00.0", 0x8086, 0x3e0f);
  cpu("Celeron");
  EXPECT_EQ(run(), -1);
  EXPECT_TRUE(log_has("se_sys_setup_model_conf("));
  EXPECT_TRUE(log_has("): ERROR:Multi model config but config = /etc/model_2.conf not exist.\n"));
  EXPECT_FALSE(is_link());
  EXPECT_EQ(root.read("/etc/model.conf"), "[System Enclosure]\nMULTI_CONF = 0x5\n");
}

TEST_F(ModelChoice, UnknownBoardFailsAndKeepsTheDescription) {
  struct Case {
    const char* why;
    uint16_t vendor, device;
    bool config;
  } cases[] = {
      {"not in the table", 0x8086, 0x1234, true},
      {"identifier not among the candidates", 0x1022, 0x14d8, true},
      {"host bridge unreadable", 0, 0, false},
  };
  for (const Case& c : cases) {
    ::unlink(root.path("/sys/bus/pci/devices/0000:00:00.0/config").c_str());
    if (c.config) pci_config("0000:00:00.0", c.vendor, c.device);
    cpu("Celeron");
    ::unlink(root.path(test::kLog).c_str());
    EXPECT_EQ(run(), -1) << c.why;
    EXPECT_TRUE(log_has("): ERROR: Get board ID fail\n")) << c.why;
    EXPECT_FALSE(is_link()) << c.why;
    EXPECT_EQ(root.read("/etc/model.conf"), kGeneric) << c.why;
  }
}

TEST_F(ModelChoice, NoMultiConfKeepsTheSingleDescription) {
  model("[System Enclosure]\nVENDOR = Sample\n");
  const char* msg = "untouched";
  EXPECT_EQ(run(&msg), 0);
  EXPECT_FALSE(is_link());
  EXPECT_STREQ(msg, "untouched");
  EXPECT_EQ(report.chosen, "");
  EXPECT_EQ(se_sys_setup_model_conf(nullptr), 0) << "the exported form, as C callers call it";
}

class BackplaneChoice : public ModelChoice {
 protected:
  void backplane(const std::string& vpd, int format = 1) {
    model("[System Enclosure]\nVENDOR = Sample\nMULTI_CONF_FORMAT = " + std::to_string(format) +
          "\nBACKPLANE_VPD = /sys/bus/i2c/devices/1-0050/eeprom\nCAP = 0x40\n");
    root.write("/sys/bus/i2c/devices/1-0050/eeprom", vpd);
  }
};

// The part number, or the file identifier in the second format, names the description; a
// backplane naming the live file itself makes no link and removes nothing.
TEST_F(BackplaneChoice, PartNumberOrFileIdNamesTheDescription) {
  struct Case {
    const char* part;
    const char* file_id;
    int format;
    bool link;
    const char* model;
  } cases[] = {{"BP-8SATA-B", "", 1, true, "rev B"},
               {"unknown part", "01", 2, true, "rev A"},
               {"BP-GENERIC", "", 1, false, "<absent>"}};
  for (const Case& c : cases) {
    FruBoard b;
    b.part = c.part;
    b.file_id = c.file_id;
    backplane(test::fru_string(b), c.format);
    const char* msg = nullptr;
    ASSERT_EQ(run(&msg), 0) << c.part;
    EXPECT_EQ(msg, nullptr) << c.part;
    EXPECT_EQ(is_link(), c.link) << c.part;
    EXPECT_EQ(get("System Enclosure", "MODEL"), c.model) << c.part;
    EXPECT_EQ(get("System Enclosure", "BACKPLANE_VPD"),
              c.link ? "<absent>" : "/sys/bus/i2c/devices/1-0050/eeprom") << c.part;
  }
  EXPECT_TRUE(log_has("):Get model config file = /etc/model_2.conf\n"));
}

TEST_F(BackplaneChoice, UnidentifiableBackplaneSucceedsWithTheMessageAndKeepsTheFile) {
  FruBoard lost;
  lost.part = "BP-LOST";  // names model 7, which this image does not ship
  FruBoard corrupt;
  std::string bad = test::fru_string(corrupt);
  bad[12] ^= 0x01;
  for (const std::string& vpd : {std::string(), bad, test::fru_string(lost)}) {
    backplane(vpd);
    if (vpd.empty()) ::unlink(root.path("/sys/bus/i2c/devices/1-0050/eeprom").c_str());
    pci_function("0000:01:00.0", 0x1000, 0x0097, 0x010700);  // a SAS HBA: a fix-up applies
    const char* msg = nullptr;
    EXPECT_EQ(run(&msg), 0);
    EXPECT_STREQ(msg, "device identification data is not available.");
    EXPECT_FALSE(is_link());
    EXPECT_EQ(get("System Enclosure", "MULTI_CONF_FORMAT"), "1");
    EXPECT_EQ(get("System Enclosure", "CAP"), "0x0");  // the fix-ups still ran
  }
}

}  // namespace
}  // namespace bayhal
