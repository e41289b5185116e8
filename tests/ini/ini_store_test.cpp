// The internal section reader and multi-key writer.
#include "ini/ini_store.h"

#include <sys/stat.h>

#include "ini/ini_file.h"

#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using ini::read_section;
using ini::write_keys;
using test::SandboxTest;

using IniStore = SandboxTest;

TEST_F(IniStore, ReadSectionReturnsKeysInFileOrder) {
  root.write("/etc/hal.conf",
             "top = 1\n[Enclosure_0]\nenc_sys_id = root\nmax_disk_num = 8\n"
             "cap = 0x1F\n[Enclosure_1]\nenc_sys_id = usb1\n[Enclosure_0]\nlate = x\n");
  auto s = read_section("/etc/hal.conf", "Enclosure_0");
  ASSERT_TRUE(s.has_value());
  ASSERT_EQ(s->entries.size(), 3u) << "a repeated header's keys are not read";
  EXPECT_EQ(s->entries[0], (std::pair<std::string_view, std::string_view>{"enc_sys_id", "root"}));
  EXPECT_EQ(s->entries[2].first, "cap");
  EXPECT_EQ(s->get_int("max_disk_num"), 8);
  EXPECT_EQ(s->get_int("cap", true), 31);
  EXPECT_EQ(s->get_int("enc_sys_id"), std::nullopt);
  EXPECT_EQ(s->get_int("absent"), std::nullopt);
  char buf[4] = "zz";
  EXPECT_TRUE(s->get_text("enc_sys_id", buf, sizeof buf));
  EXPECT_STREQ(buf, "roo");
  EXPECT_FALSE(s->get_text("absent", buf, sizeof buf));
  EXPECT_FALSE(s->get_text("enc_sys_id", buf, 0));
  EXPECT_STREQ(buf, "roo");

  auto lead = read_section("/etc/hal.conf", "");
  ASSERT_TRUE(lead.has_value());
  EXPECT_EQ(lead->entries.size(), 1u);
  EXPECT_FALSE(read_section("/etc/hal.conf", "Enclosure_9").has_value());
  EXPECT_FALSE(read_section("/etc/none.conf", "Enclosure_0").has_value());
  EXPECT_EQ(ini::list_sections("/etc/hal.conf"),
            (std::vector<std::string>{"Enclosure_0", "Enclosure_1"}));
  EXPECT_TRUE(ini::list_sections("/etc/none.conf").empty());
  root.write("/etc/x.conf", "[empty]\n[full]\nk = v\n");
  auto empty = read_section("/etc/x.conf", "empty");
  ASSERT_TRUE(empty.has_value()) << "an empty section exists";
  EXPECT_TRUE(empty->entries.empty());
}

TEST_F(IniStore, WriteKeysSetsAndRemovesInOneWrite) {
  root.write("/etc/hal.conf", "[Enclosure_0]\na = 1\nb = 2\n# note\n[Other]\nz = 0\n");
  EXPECT_EQ(write_keys("/etc/hal.conf", "Enclosure_0", {{"a", "10"}, {"c", "3"}, {"d", "4"}},
                       {"b"}),
            0);
  EXPECT_EQ(root.read("/etc/hal.conf"),
            "[Enclosure_0]\na = 10\nc = 3\nd = 4\n# note\n[Other]\nz = 0\n");
  EXPECT_EQ(write_keys("/etc/hal.conf", "New", {{"k", "v"}}), 0);
  EXPECT_EQ(root.read("/etc/hal.conf"),
            "[Enclosure_0]\na = 10\nc = 3\nd = 4\n# note\n[Other]\nz = 0\n\n[New]\nk = v\n");
  // One bad key refuses the whole write.
  EXPECT_LT(write_keys("/etc/hal.conf", "New", {{"ok", "1"}, {"bad=key", "2"}}), 0);
  EXPECT_LT(write_keys("/etc/hal.conf", "New", {{"ok", "line\nbreak"}}), 0);
  EXPECT_EQ(read_section("/etc/hal.conf", "New")->entries.size(), 1u);
}

// Edits of several sections in one replacement: each step reads the previous step's
// result, steps that change nothing are passed over, and one bad step writes nothing.
TEST_F(IniStore, ChainedEditsLandInOneReplacement) {
  root.write("/etc/hal.conf", "[Index]\npd_bitmap = 0x1\n[Keep]\nk = 1\n");
  struct stat before {};
  ASSERT_EQ(::stat(root.path("/etc/hal.conf").c_str(), &before), 0);
  int rc = ini::update_with("test", "/etc/hal.conf", [](std::string_view, ini::Edit& e) {
    e.section = "Index";
    e.set = {{"pd_bitmap", "0x3"}};
    e.then.push_back({"Keep", {{"k", "1"}}, {}, false, {}});      // no change
    e.then.push_back({"Disk_1", {{"port_id", "1"}}, {}, false, {}});
    e.then.push_back({"Keep", {}, {}, false, {}});                // no change
    e.then.push_back({"Disk_1", {{"wwn", "5000"}}, {}, false, {}});
    return 0;
  });
  EXPECT_EQ(rc, 1);
  EXPECT_EQ(root.read("/etc/hal.conf"),
            "[Index]\npd_bitmap = 0x3\n[Keep]\nk = 1\n\n[Disk_1]\nport_id = 1\nwwn = 5000\n");
  struct stat after {};
  ASSERT_EQ(::stat(root.path("/etc/hal.conf").c_str(), &after), 0);
  EXPECT_NE(before.st_ino, after.st_ino) << "written by a rename";

}

}  // namespace
}  // namespace bayhal
