// hal_tool conf as a person uses it to inspect and mend a store: what it writes is what the
// store reads, awkward names pass through unharmed, and failures say so with exit 1.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "bayhal/Ini_Conf.h"
#include "tests/support/sandbox_root.h"
#include "tests/tools/run_process.h"

namespace bayhal::test {
namespace {

class HalToolConf : public SandboxTest {
 protected:
  ProcessResult tool(std::vector<std::string> args) {
    std::vector<std::string> argv{HAL_TOOL_PATH, "--root", root.dir()};
    argv.insert(argv.end(), args.begin(), args.end());
    return run_process(argv, {});
  }
  nlohmann::json json(std::vector<std::string> args) {
    args.insert(args.begin(), "--json");
    ProcessResult r = tool(args);
    EXPECT_EQ(r.exit_code, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false)["conf"];
  }
};

TEST_F(HalToolConf, SetGetDelRoundTripWithAwkwardNames) {
  root.write("/etc/disk.conf", "# kept\n[S.M.A.R.T. ID #197]\nraw = 0\n");
  const std::string section = "S.M.A.R.T. ID #197", key = "Temperature Threshold (F) 3";
  const std::string value = "a=b: c, d";
  auto set = json({"conf", "set", "/etc/disk.conf", section, key, value});
  EXPECT_EQ(set["written"], true);
  // What the tool wrote is what the library reads, and the rest of the file is untouched.
  char got[64] = "";
  ASSERT_GT(Ini_Conf_Get_Field("/etc/disk.conf", section.c_str(), key.c_str(), got, sizeof got), 0);
  EXPECT_EQ(got, value);
  EXPECT_EQ(root.read("/etc/disk.conf").rfind("# kept\n[S.M.A.R.T. ID #197]\nraw = 0\n", 0), 0u);

  auto get = json({"conf", "get", "/etc/disk.conf", section, key});
  EXPECT_EQ(get["found"], true);
  EXPECT_EQ(get["value"], value);
  EXPECT_EQ(get["section"], section);
  ProcessResult human = tool({"conf", "get", "/etc/disk.conf", section, key});
  EXPECT_EQ(human.out, value + "\n");

  auto del = json({"conf", "del", "/etc/disk.conf", section, key});
  EXPECT_EQ(del["removed"], true);
  ProcessResult missing = tool({"conf", "get", "/etc/disk.conf", section, key});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_NE(missing.err.find("no key"), std::string::npos) << missing.err;
  EXPECT_TRUE(missing.out.empty());
  // Removing what is not there is not a failure.
  EXPECT_EQ(json({"conf", "del", "/etc/disk.conf", section, key})["removed"], false);
  // The leading section is the empty name.
  root.write("/etc/top.conf", "version = 3\n[Other]\nversion = 9\n");
  EXPECT_EQ(json({"conf", "get", "/etc/top.conf", "", "version"})["value"], "3");
}

TEST_F(HalToolConf, BitmapListsTheSetBitsInOrder) {
  for (int bit : {70, 0, 5}) ASSERT_GE(Ini_Conf_Bitmap_Set_Bit("/etc/hal.conf", "Index", "enc_bitmap", bit), 0);
  auto j = json({"conf", "bitmap", "/etc/hal.conf", "Index", "enc_bitmap"});
  EXPECT_EQ(j["bits"], nlohmann::json({0, 5, 70}));
  EXPECT_EQ(j["count"], 3);
  EXPECT_EQ(tool({"conf", "bitmap", "/etc/hal.conf", "Index", "enc_bitmap"}).out, "0,5,70\n");

  root.write("/etc/odd.conf", "[Index]\nenc_bitmap = not hex\n");
  ProcessResult bad = tool({"conf", "bitmap", "/etc/odd.conf", "Index", "enc_bitmap"});
  EXPECT_EQ(bad.exit_code, 1);
  EXPECT_NE(bad.err.find("is not a bitmap"), std::string::npos) << bad.err;
}

TEST_F(HalToolConf, RefusedWritesFailAndLoseNothing) {
  root.write("/etc/hal.conf", "[Index]\nenc_bitmap = 0x1\n");
  // A key with '=' cannot be stored so that it reads back: refused, file unchanged.
  ProcessResult r = tool({"conf", "set", "/etc/hal.conf", "Index", "a=b", "1"});
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("cannot set"), std::string::npos) << r.err;
  EXPECT_EQ(root.read("/etc/hal.conf"), "[Index]\nenc_bitmap = 0x1\n");
  // A directory is not a store.
  root.mkdir("/etc/adir");
  EXPECT_EQ(tool({"conf", "set", "/etc/adir", "s", "k", "v"}).exit_code, 1);
}

}  // namespace
}  // namespace bayhal::test
