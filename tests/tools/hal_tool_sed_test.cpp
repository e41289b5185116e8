// hal_tool sed on the simulated appliance: the disk marked as a self-encrypting drive answers
// through the sedutil-cli stand-in, and a password is taken from input, never from argv.
#include <gtest/gtest.h>

#include "tests/tools/appliance.h"

namespace bayhal::test {
namespace {

class HalToolSed : public ApplianceTest {
 protected:
  HalToolSed() {
    start();
    EXPECT_EQ(hal_tool({"boot"}).exit_code, 0);
  }
  ProcessResult sed(std::vector<std::string> args, const std::string& secret) {
    root.write("/secret", secret + "\n");
    args.insert(args.begin(), "sed");
    args.insert(args.end(), {"--secret-file", root.path("/secret")});
    return hal_tool(args);
  }
};

TEST_F(HalToolSed, DriveLockedAndUnlockedWithThePasswordFromAFile) {
  EXPECT_EQ(query({"sed", "status", "0/1"})["sed"]["supported"], false);
  EXPECT_EQ(query({"sed", "status", "0/5"})["sed"]["initialized"], false);
  ASSERT_EQ(sed({"init", "0/5"}, "p'w; $(x)").exit_code, 0);
  ASSERT_EQ(sed({"range", "0/5", "1", "--setup", "0", "4096"}, "p'w; $(x)").exit_code, 0);
  ASSERT_EQ(sed({"range", "0/5", "1", "--enable"}, "p'w; $(x)").exit_code, 0);

  ProcessResult wrong = sed({"lock", "0/5", "1", "--json"}, "wrong");
  EXPECT_EQ(wrong.exit_code, 1);
  EXPECT_EQ(nlohmann::json::parse(wrong.out)["sed"]["done"], false);
  EXPECT_NE(wrong.err.find("sedutil.log"), std::string::npos) << wrong.err;
  EXPECT_EQ(wrong.err.find("NOT_AUTHORIZED"), std::string::npos) << "the tool's own text is not passed on";

  ASSERT_EQ(sed({"lock", "0/5", "1"}, "p'w; $(x)").exit_code, 0);
  EXPECT_EQ(query({"sed", "status", "0/5"})["sed"]["locked"], true);
  EXPECT_EQ(hal_tool({"sed", "unlock", "0/5", "1", "p'w; $(x)"}).exit_code, 2) << "a password argument is refused";
  EXPECT_EQ(sed({"lock", "0/1", "1"}, "pw").exit_code, 1);
}

}  // namespace
}  // namespace bayhal::test
