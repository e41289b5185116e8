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
}

// The pages of the failing drive the appliance's bay 3 holds, decoded on their own (no
// appliance needed), against the reference decode of the same capture.
using HalToolSmartPages = ApplianceTest;

TEST_F(HalToolSmartPages, DecodeAsTheReferenceAndDamageIsReported) {
  json r = query({"smart", "--from-pages", kPages, "WDC_WD20EARS-00MVWB0"})["smart"];
  EXPECT_EQ(r["model"], "WDC WD20EARS-00MVWB0");
  EXPECT_EQ(r["verdict"], "threshold exceeded");
  EXPECT_TRUE(r["checksum_ok"].get<bool>());
  std::ifstream tsv(std::string(BAYHAL_SOURCE_DIR) + "/tests/data/external/libblockdev-smart-dumps/expected_attributes.tsv");
  std::string drive, name, hex, rest;
  unsigned id, value, worst, threshold;
  size_t k = 0;
  while (tsv >> drive) {
    if (drive != "WDC_WD20EARS-00MVWB0" || !(tsv >> id >> name >> value >> worst >> threshold >> hex)) {
      std::getline(tsv, rest);
      continue;
    }
    std::getline(tsv, rest);
    ASSERT_LT(k, r["attributes"].size());
    const json& a = r["attributes"][k++];
    unsigned long long raw = 0;
    for (int i = id == 194 ? 1 : 5; i >= 0; --i) raw = raw << 8 | std::stoull(hex.substr(2 * i, 2), nullptr, 16);
    EXPECT_EQ(a["id"], id);
    EXPECT_EQ(a["value"], value);
    EXPECT_EQ(a["worst"], worst);
    EXPECT_EQ(a["threshold"], threshold);
    EXPECT_EQ(a["raw"], raw) << id;
  }
  EXPECT_EQ(k, r["attributes"].size());
  EXPECT_GT(k, 10u);

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
