// Real processes allocating enclosure ids at the same time never share one.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "enclosure/enc_ids.h"
#include "tests/enclosure/enc_test_util.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

class EncIdsProcessTest : public SandboxTest {};

TEST_F(EncIdsProcessTest, ConcurrentAllocationsNeverShareAnId) {
  constexpr int kProcs = 4;
  constexpr int kEach = 8;
  test::Pipe out;
  std::vector<pid_t> kids;
  for (int p = 0; p < kProcs; ++p)
    kids.push_back(test::spawn([&out, p] {
      out.close_read();
      int failures = 0;
      for (int i = 0; i < kEach; ++i) {
        std::string name = "usb_" + std::to_string(p) + "_" + std::to_string(i);
        SE_ENC_INFO info = make_record(name.c_str(), 0, SE_PROTOCOL_USB, "root");
        int id = -1;
        if (se_acquire_id(name.c_str(), &id, &info) != 0 || id < 0) ++failures;
        if (!out.put(id)) ++failures;
      }
      return failures == 0 ? 0 : 1;
    }));
  out.close_write();
  std::multiset<int> ids;
  for (int id; out.get(id);) ids.insert(id);
  for (pid_t pid : kids) EXPECT_EQ(test::join(pid), 0);
  ASSERT_EQ(ids.size(), static_cast<size_t>(kProcs * kEach));
  std::set<int> unique(ids.begin(), ids.end());
  EXPECT_EQ(unique.size(), ids.size());
  EXPECT_EQ(*unique.begin(), 32);
  EXPECT_EQ(*unique.rbegin(), 32 + kProcs * kEach - 1);
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count("/etc/config/enclosure.map", "Index", "enc_bitmap"),
            kProcs * kEach);
  // Every id's reverse link names the unit that got it.
  for (int got : unique) {
    std::string uid_key = ini_get("/etc/config/enclosure.map", "Index", std::to_string(got).c_str());
    ASSERT_NE(uid_key, "<absent>");
    EXPECT_EQ(ini_get("/etc/config/enclosure.map", "Index", uid_key.c_str()), std::to_string(got));
  }
}

}  // namespace
}  // namespace bayhal::test
