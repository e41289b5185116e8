// Several real processes on one store file at once: nothing lost, nothing handed out twice.
#include <sys/stat.h>

#include <set>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "ini/ini_store.h"
#include "tests/support/child_process.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using test::join;
using test::Pipe;
using test::spawn;

using IniMultiProcess = test::SandboxTest;

constexpr int kProcs = 8;
constexpr int kEach = 500;

TEST_F(IniMultiProcess, ConcurrentClaimsGetDistinctBits) {
  const char* file = "/etc/enclosure_0.conf";
  Pipe out;
  std::vector<pid_t> kids;
  for (int p = 0; p < kProcs; ++p)
    kids.push_back(spawn([&] {
      out.close_read();
      for (int i = 0; i < kEach; ++i) {
        int bit = -1;
        if (Ini_Conf_Bitmap_Get_Next_Free_Bit(file, "Index", "disk_bitmap", &bit, 0, 1) != 0)
          return 1;
        if (!out.put(bit)) return 2;
      }
      return 0;
    }));
  out.close_write();
  std::multiset<int> got;
  for (int bit; out.get(bit);) got.insert(bit);
  for (pid_t k : kids) EXPECT_EQ(join(k), 0);

  ASSERT_EQ(got.size(), static_cast<size_t>(kProcs * kEach));
  std::set<int> distinct(got.begin(), got.end());
  EXPECT_EQ(distinct.size(), got.size()) << "a bit was claimed twice";
  EXPECT_EQ(*distinct.rbegin(), kProcs * kEach - 1) << "claims leave no holes";
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(file, "Index", "disk_bitmap"), kProcs * kEach);
}

// Half the writers go through a link to the file, as the system's own links are followed:
// the lock follows the file written, so both kinds share it.
TEST_F(IniMultiProcess, ConcurrentSetsOfDistinctKeysLoseNone) {
  const char* file = "/etc/shared.conf";
  root.write("/etc/shared_x.conf", "# shared by everybody\n[Other]\nkeep = me\n");
  root.symlink("shared_x.conf", file);
  EXPECT_EQ(test::run_children(kProcs, [&](int p) {
      const char* path = p % 2 ? file : "/etc/shared_x.conf";
      for (int i = 0; i < kEach; ++i) {
        std::string key = "p" + std::to_string(p) + "_k" + std::to_string(i);
        // Half into one shared section, half into a section of each process's own.
        std::string sec = i % 2 ? "Shared" : "Proc " + std::to_string(p);
        if (Ini_Conf_Set_Field_Int(path, sec.c_str(), key.c_str(), i, 0) <= 0) return 1;
      }
      return 0;
    }), 0);
  struct stat st {};
  EXPECT_TRUE(::lstat(root.path(file).c_str(), &st) == 0 && S_ISLNK(st.st_mode));
  EXPECT_FALSE(root.exists("/etc/shared.conf.lck"));

  auto shared = ini::read_section(file, "Shared");
  ASSERT_TRUE(shared.has_value());
  size_t total = shared->entries.size();
  for (int p = 0; p < kProcs; ++p) {
    auto own = ini::read_section(file, "Proc " + std::to_string(p));
    ASSERT_TRUE(own.has_value()) << p;
    total += own->entries.size();
    for (int i = 0; i < kEach; ++i) {
      std::string key = "p" + std::to_string(p) + "_k" + std::to_string(i);
      const ini::Section& s = i % 2 ? *shared : *own;
      EXPECT_EQ(s.get_int(key), i) << key;
    }
  }
  EXPECT_EQ(total, static_cast<size_t>(kProcs * kEach));
  char keep[8] = "";
  EXPECT_GT(Ini_Conf_Get_Field(file, "Other", "keep", keep, sizeof keep), 0);
  EXPECT_STREQ(keep, "me");
  EXPECT_EQ(root.read(file).rfind("# shared by everybody\n[Other]\nkeep = me\n", 0), 0u);
}

}  // namespace
}  // namespace bayhal
