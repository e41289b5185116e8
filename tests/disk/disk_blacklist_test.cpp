// Model lists read from data files.
#include "disk/disk_blacklist.h"

#include "bayhal/PD.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

TEST(DiskBlacklist, LinesMatchVendorAndModelGlobs) {
  const char* list =
      "# comment line\n"
      "\n"
      "  ST3000DM001*   # any vendor\n"
      "ACME | Clone ?00\r\n"
      "WDC* | *EFRX*\n"
      "  | Bridge*\n"
      "| \n";
  struct Case {
    const char* vendor;
    const char* model;
    bool listed;
  } cases[] = {
      {"ATA", "ST3000DM001-1CH166", true},   {"", "st3000dm001", true},
      {"ACME", "Clone 500", true},           {"acme", "clone 900", true},
      {"ACME", "Clone 5000", false},         {"OTHER", "Clone 500", false},
      {"WDC", "WD40EFRX-68N32N0", true},     {"ATA", "WD40EFRX-68N32N0", false},
      {"ATA", "Samsung SSD 870", false},     {"ATA", "", false},
      {"JMicron", "Bridge 1", true},
  };
  for (const Case& c : cases)
    EXPECT_EQ(disk::blacklist_matches(list, c.vendor, c.model), c.listed)
        << c.vendor << " / " << c.model;
}

using DiskBlacklistFile = test::SandboxTest;

// The exported check reads its own file; a caller without a vendor still gets the model
// matched.
TEST_F(DiskBlacklistFile, ExportedCheckTakesAMissingVendor) {
  root.write("/etc/disk_wwn_blacklist.list", "CLONE-*\n");
  EXPECT_EQ(Disk_Is_WWN_Blacklisted(nullptr, "CLONE-1"), 1);
  EXPECT_EQ(Disk_Is_WWN_Blacklisted("ATA", nullptr), 0);
}

}  // namespace
}  // namespace bayhal
