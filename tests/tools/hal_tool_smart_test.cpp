// hal_tool smart on the simulated appliance (disks answering with real drives' pages) and on
// saved pages: verdicts, a sleeping disk shown from its last reading and never woken, the
// exit codes.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/tools/appliance.h"

namespace bayhal::test {
namespace {

using nlohmann::json;

const std::string kPages = std::string(BAYHAL_SOURCE_DIR) + "/tests/data/external/libblockdev-smart-dumps/pages";

class HalToolSmart : public ApplianceTest {
 protected:
  HalToolSmart() {
    start();
    EXPECT_EQ(hal_tool({"boot"}).exit_code, 0);
  }
  json spin_down(const std::string& bay) { return nlohmann::json::parse(halsim({"spin", bay, "down", "--json"}).out)["spin"]; }
};

TEST_F(HalToolSmart, HealthyFailingAndSleepingDisks) {
  EXPECT_EQ(hal_tool({"smart", "0/2"}).exit_code, 0);
  spin_down("root/2");
  struct Case {
    const char* bay;
    const char* verdict;
    const char* power;
    int skipped;
  } cases[] = {{"0/1", "good", "active", 0}, {"0/3", "error", "active", 0}, {"0/2", "good", "standby", 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bay);
    json r = query({"smart", c.bay})["smart"];
    EXPECT_EQ(r["verdict"], c.verdict);
    EXPECT_EQ(r["power"], c.power);
    EXPECT_EQ(r["skipped"], c.skipped);
    EXPECT_EQ(r["type"], "ata");
    EXPECT_TRUE(r["checksum_ok"].get<bool>());
    EXPECT_GE(r["attributes"].size(), 10u);
    EXPECT_TRUE(r["self_test"]["short_minutes"].is_number());
    ProcessResult text = hal_tool({"smart", c.bay});
    EXPECT_EQ(text.exit_code, 0);
    EXPECT_NE(text.out.find(c.power), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Temperature_Celsius"), std::string::npos) << text.out;
  }
  EXPECT_EQ(spin_down("root/2")["wakeups"], 0) << "the sleeping disk was read";

  // Asleep and never read: nothing to show, and still not woken.
  spin_down("root/4");
  ProcessResult never = hal_tool({"smart", "0/4"});
  EXPECT_EQ(never.exit_code, 1);
  EXPECT_NE(never.err.find("standby and was never read"), std::string::npos) << never.err;
  EXPECT_EQ(spin_down("root/4")["wakeups"], 0);

  EXPECT_EQ(hal_tool({"smart", "0/7"}).exit_code, 1) << "an empty bay";
  EXPECT_EQ(hal_tool({"smart", "0/5", "--cached"}).exit_code, 1) << "never read";
  EXPECT_EQ(hal_tool({"smart", "nobay"}).exit_code, 2);

  // Bay 3's saved pages decode to what the disk answered.
  json saved = query({"smart", "--from-pages", std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/smart",
                      "WDC_WD20EARS-00MVWB0"})["smart"];
  EXPECT_EQ(saved["attributes"], query({"smart", "0/3"})["smart"]["attributes"]);
  EXPECT_EQ(saved["verdict"], "threshold exceeded");
}

// Saved pages of a real drive on their own (no appliance needed), damaged, cut short, missing.
using HalToolSmartPages = ApplianceTest;

TEST_F(HalToolSmartPages, IdentityChecksumsAndBadFiles) {
  json r = query({"smart", "--from-pages", kPages, "WDC_WD20EARS-00MVWB0"})["smart"];
  EXPECT_EQ(r["model"], "WDC WD20EARS-00MVWB0");
  EXPECT_EQ(r["serial"], "WD-WMAZA0075739");
  EXPECT_TRUE(r["checksum_ok"].get<bool>());
  EXPECT_EQ(r["attributes"].size(), 17u);

  // One byte changed, as a USB bridge may; a file cut short; a missing one.
  std::string dir = root.path("/pages");
  std::filesystem::create_directories(dir);
  for (const char* suffix : {".smart_data.bin", ".smart_thresholds.bin"})
    std::filesystem::copy_file(kPages + "/WDC_WD20EARS-00MVWB0" + suffix, dir + "/bad" + suffix);
  {
    std::fstream f(dir + "/bad.smart_data.bin", std::ios::in | std::ios::out | std::ios::binary);
    f.seekg(400);
    char c = static_cast<char>(f.get());
    f.seekp(400);
    f.put(static_cast<char>(c ^ 1));
  }
  ProcessResult bad = hal_tool({"smart", "--from-pages", dir, "bad", "--json"});
  EXPECT_EQ(bad.exit_code, 0);
  EXPECT_FALSE(json::parse(bad.out)["smart"]["checksum_ok"].get<bool>());
  EXPECT_NE(bad.err.find("checksum byte is wrong"), std::string::npos) << bad.err;
  std::filesystem::resize_file(dir + "/bad.smart_thresholds.bin", 100);
  ProcessResult cut = hal_tool({"smart", "--from-pages", dir, "bad"});
  EXPECT_EQ(cut.exit_code, 1);
  EXPECT_NE(cut.err.find("holds 100 bytes"), std::string::npos) << cut.err;
  EXPECT_EQ(hal_tool({"smart", "--from-pages", dir, "none"}).exit_code, 1);
}

}  // namespace
}  // namespace bayhal::test
