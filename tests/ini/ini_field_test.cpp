// Key operations of the store through the exported C calls, grouped by operation.
#include <unistd.h>

#include <cstring>
#include <string>

#include "bayhal/Ini_Conf.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

constexpr const char* kFile = "/etc/test.conf";

class IniField : public test::SandboxTest {
 protected:
  std::string get(const char* section, const char* key, int* rc = nullptr) {
    char buf[256] = "untouched";
    int r = Ini_Conf_Get_Field(kFile, section, key, buf, sizeof buf);
    if (rc != nullptr) *rc = r;
    return buf;
  }
};

const char* kHandWritten =
    "# hand-written header comment\n"
    "lead_key = leading value\n"
    "\n"
    "[S.M.A.R.T. ID #197]\n"
    "Temperature Threshold (F) 3 = 140\n"
    "raw=  a=b: c, d  \n"
    "; a comment inside\n"
    "[System Disk 1-2]\n"
    "  spaced key   =   spaced value  \n"
    "empty =\n"
    "Case = upper\n";

// Every hand-written form reads back; what is missing (keys and sections are
// case-sensitive, leading keys belong to no section) leaves the buffer untouched.
TEST_F(IniField, GetReadsHandWrittenFormsAndLeavesMissingUntouched) {
  root.write(kFile, kHandWritten);
  struct {
    const char* file;
    const char* section;
    const char* key;
    const char* want;  // nullptr: missing
  } cases[] = {
      {kFile, "", "lead_key", "leading value"},
      {kFile, "S.M.A.R.T. ID #197", "Temperature Threshold (F) 3", "140"},
      {kFile, "S.M.A.R.T. ID #197", "raw", "a=b: c, d"},
      {kFile, "System Disk 1-2", "spaced key", "spaced value"},
      {kFile, "System Disk 1-2", "empty", ""},
      {kFile, "System Disk 1-2", "Case", "upper"},
      {"/etc/none.conf", "System Disk 1-2", "Case", nullptr},
      {kFile, "No Section", "Case", nullptr},
      {kFile, "System Disk 1-2", "case", nullptr},
      {kFile, "system disk 1-2", "Case", nullptr},
      {kFile, "System Disk 1-2", "lead_key", nullptr},
      {kFile, "", "Case", nullptr},
      {kFile, "S.M.A.R.T. ID #197", "; a comment inside", nullptr},
  };
  for (const auto& c : cases) {
    char buf[16] = "untouched";
    int rc = Ini_Conf_Get_Field(c.file, c.section, c.key, buf, sizeof buf);
    EXPECT_EQ(rc > 0, c.want != nullptr) << c.key;
    EXPECT_STREQ(buf, c.want ? c.want : "untouched") << c.section << "/" << c.key;
  }
}

TEST_F(IniField, GetTruncatesAndBadArgumentsAreRefused) {
  root.write(kFile, "[a]\nk = 0123456789\n");
  char buf[8] = "xxxx";
  EXPECT_GT(Ini_Conf_Get_Field(kFile, "a", "k", buf, 5), 0);
  EXPECT_STREQ(buf, "0123");
  EXPECT_GT(Ini_Conf_Get_Field(kFile, "a", "k", buf, 1), 0);
  EXPECT_EQ(buf[0], '\0');
  root.write(kFile, "[a]\nk = v\n");
  std::strcpy(buf, "same");
  EXPECT_LT(Ini_Conf_Get_Field(nullptr, "a", "k", buf, 8), 0);
  EXPECT_LT(Ini_Conf_Get_Field(kFile, nullptr, "k", buf, 8), 0);
  EXPECT_LT(Ini_Conf_Get_Field(kFile, "a", nullptr, buf, 8), 0);
  EXPECT_LT(Ini_Conf_Get_Field(kFile, "a", "k", nullptr, 8), 0);
  EXPECT_LT(Ini_Conf_Get_Field(kFile, "a", "k", buf, 0), 0);
  EXPECT_LT(Ini_Conf_Get_Field("", "a", "k", buf, 8), 0);
  EXPECT_STREQ(buf, "same");
  // Paths are absolute: a relative one would land wherever the caller happens to run.
  ASSERT_EQ(::chdir(root.dir().c_str()), 0);
  root.write("/rel.conf", "[a]\nk = v\n");
  EXPECT_LT(Ini_Conf_Get_Field("rel.conf", "a", "k", buf, 8), 0);
  EXPECT_LT(Ini_Conf_Set_Field("rel.conf", "a", "k", "x"), 0);
  EXPECT_EQ(Ini_Conf_Write_Lock_File("rel.conf"), nullptr);
  EXPECT_EQ(root.read("/rel.conf"), "[a]\nk = v\n");
  EXPECT_FALSE(root.exists("/rel.conf.lck"));
  ASSERT_EQ(::chdir("/"), 0);
  const char* bad_sets[][4] = {{kFile, "a", "k", nullptr}, {kFile, "a", "", "v"},
                               {kFile, "a", "k=x", "v"},   {kFile, "a", "[k", "v"},
                               {kFile, "a", "#k", "v"},    {kFile, "a", " k", "v"},
                               {kFile, "a\nb", "k", "v"},  {kFile, "a", "k", "two\nlines"},
                               {nullptr, "a", "k", "v"}};
  for (const auto& b : bad_sets) EXPECT_LT(Ini_Conf_Set_Field(b[0], b[1], b[2], b[3]), 0) << b[2];
  EXPECT_EQ(root.read(kFile), "[a]\nk = v\n");
  std::string log = root.read("/var/log/hal_lib.log");
  EXPECT_NE(log.find("Ini_Conf_Get_Field: no buffer or size 0"), std::string::npos) << log;
  EXPECT_NE(log.find("Ini_Conf_Set_Field: cannot store key(k=x)"), std::string::npos) << log;
}

TEST_F(IniField, DirectoriesAreRefusedAndForeignLinesKept) {
  root.mkdir("/etc/adir");
  char buf[8] = "same";
  EXPECT_LT(Ini_Conf_Get_Field("/etc/adir", "a", "k", buf, 8), 0);
  EXPECT_LT(Ini_Conf_Set_Field("/etc/adir", "a", "k", "v"), 0);
  EXPECT_STREQ(buf, "same");

  // Another tool's file, or a hand edit: reads pass over what they do not understand,
  // writes keep it byte for byte, and the log says so once per file.
  const std::string binary("\x7f" "ELF\0\0\x01[x]\nk=v\n", 16);
  const std::string prose = "This is a letter.\nIt has no keys at all.\n";
  for (const std::string& content : {binary, prose}) {
    root.write(kFile, content);
    EXPECT_EQ(Ini_Conf_Get_Field(kFile, "a", "k", buf, 8), 0);
    EXPECT_GT(Ini_Conf_Set_Field(kFile, "a", "k", "v"), 0);
    EXPECT_GT(Ini_Conf_Set_Field(kFile, "a", "j", "w"), 0);
    EXPECT_GE(Ini_Conf_Remove_Section(kFile, "x"), 0);
    EXPECT_EQ(root.read(kFile).substr(0, content.size()), content);
    EXPECT_EQ(get("a", "k"), "v");
  }
  EXPECT_EQ(root.read(kFile), prose + "\n[a]\nk = v\nj = w\n");
  std::string log = root.read("/var/log/hal_lib.log");
  size_t first = log.find("/etc/test.conf line 1 is not INI");
  EXPECT_NE(first, std::string::npos) << log;
  EXPECT_EQ(log.find("is not INI", first + 40), std::string::npos) << log;
}

TEST_F(IniField, SetCreatesFileSectionAndKey) {
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "System Disk 1-2", "Temperature Threshold (F) 3", "a=b: c, d"), 0);
  EXPECT_EQ(get("System Disk 1-2", "Temperature Threshold (F) 3"), "a=b: c, d");
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "", "lead", "1"), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "S.M.A.R.T. ID #197", "x", "y"), 0);
  EXPECT_EQ(root.read(kFile),
            "lead = 1\n"
            "[System Disk 1-2]\n"
            "Temperature Threshold (F) 3 = a=b: c, d\n"
            "\n"
            "[S.M.A.R.T. ID #197]\n"
            "x = y\n");
}

TEST_F(IniField, SetKeepsEveryOtherLineAndPlacesNewKeysAtSectionEnd) {
  root.write(kFile, kHandWritten);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "S.M.A.R.T. ID #197", "raw", "new"), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "S.M.A.R.T. ID #197", "added", "1"), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "", "lead2", "2"), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "System Disk 1-2", "empty", "now"), 0);
  EXPECT_LT(Ini_Conf_Set_Field(kFile, "System Disk 1-2", "  spaced key", "x"), 0);
  EXPECT_EQ(root.read(kFile),
            "# hand-written header comment\n"
            "lead_key = leading value\n"
            "lead2 = 2\n"
            "\n"
            "[S.M.A.R.T. ID #197]\n"
            "Temperature Threshold (F) 3 = 140\n"
            "raw=  new  \n"
            "added = 1\n"
            "; a comment inside\n"
            "[System Disk 1-2]\n"
            "  spaced key   =   spaced value  \n"
            "empty = now\n"
            "Case = upper\n");
}

// A set that changes nothing leaves the bytes alone; a file without a final newline gets
// one before the line added after it.
TEST_F(IniField, SetOnUnusualEndings) {
  struct {
    const char* before;
    const char* section;
    const char* key;
    const char* after;
  } cases[] = {{"[a]\nk=v\n", "a", "k", "[a]\nk=v\n"},
               {"[a]\nk = v", "a", "n", "[a]\nk = v\nn = v\n"},
               {"[a]\nk = v", "b", "n", "[a]\nk = v\n\n[b]\nn = v\n"}};
  for (const auto& c : cases) {
    root.write(kFile, c.before);
    EXPECT_GT(Ini_Conf_Set_Field(kFile, c.section, c.key, "v"), 0);
    EXPECT_EQ(root.read(kFile), c.after) << c.before;
  }
}

TEST_F(IniField, IntRoundTripsInBothBases) {
  struct {
    int value;
    int hex;
    const char* text;
  } cases[] = {{0, 0, "0"}, {-17, 0, "-17"}, {2147483647, 0, "2147483647"},
               {255, 1, "0xff"}, {-1, 1, "0xffffffff"}, {0, 1, "0x0"}};
  for (const auto& c : cases) {
    EXPECT_GT(Ini_Conf_Set_Field_Int(kFile, "n", "v", c.value, c.hex), 0);
    EXPECT_EQ(get("n", "v"), c.text);
    int out = 12345;
    EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, "n", "v", &out, c.hex), 0);
    EXPECT_EQ(out, c.value);
  }
}

TEST_F(IniField, GetIntAcceptsHandWrittenAndRejectsJunk) {
  root.write(kFile,
             "[n]\nplain_hex = 1F\nprefixed = 0X1f\ndec = +42\nbig = 99999999999\n"
             "junk = 12xyz\nempty =\nneg_hex = -0x1\n");
  struct {
    const char* key;
    int hex;
    int want_rc_positive;
    int want;
  } cases[] = {
      {"plain_hex", 1, 1, 31}, {"prefixed", 1, 1, 31}, {"dec", 0, 1, 42},
      {"big", 0, 0, 0},        {"junk", 0, 0, 0},      {"junk", 1, 0, 0},
      {"empty", 0, 0, 0},      {"neg_hex", 1, 0, 0},   {"missing", 0, 0, 0},
  };
  for (const auto& c : cases) {
    int out = 777;
    int rc = Ini_Conf_Get_Field_Int(kFile, "n", c.key, &out, c.hex);
    if (c.want_rc_positive) {
      EXPECT_GT(rc, 0) << c.key;
      EXPECT_EQ(out, c.want) << c.key;
    } else {
      EXPECT_LE(rc, 0) << c.key;
      EXPECT_EQ(out, 777) << c.key << " output must stay untouched";
    }
  }
  EXPECT_LT(Ini_Conf_Get_Field_Int(kFile, "n", "dec", nullptr, 0), 0);
}

TEST_F(IniField, RemoveField) {
  root.write(kFile, "[a]\nk = 1\n# keep\nj = 2\n[b]\nk = 3\n");
  EXPECT_GE(Ini_Conf_Remove_Field(kFile, "a", "k"), 0);
  EXPECT_GE(Ini_Conf_Remove_Field(kFile, "a", "missing"), 0);
  EXPECT_GE(Ini_Conf_Remove_Field(kFile, "zz", "k"), 0);
  EXPECT_GE(Ini_Conf_Remove_Field("/etc/none.conf", "a", "k"), 0);
  EXPECT_FALSE(root.exists("/etc/none.conf"));
  EXPECT_EQ(root.read(kFile), "[a]\n# keep\nj = 2\n[b]\nk = 3\n");
  EXPECT_LT(Ini_Conf_Remove_Field(kFile, nullptr, "k"), 0);
}

TEST_F(IniField, RemoveSection) {
  root.write(kFile,
             "lead = 1\n"
             "[a]\n# about a\nk = 1\n\n# about b\n[b]\nk = 2\n\n[c]\nk = 3\n");
  EXPECT_GE(Ini_Conf_Remove_Section(kFile, "a"), 0);
  EXPECT_EQ(root.read(kFile), "lead = 1\n# about b\n[b]\nk = 2\n\n[c]\nk = 3\n");
  EXPECT_GE(Ini_Conf_Remove_Section(kFile, "c"), 0);
  EXPECT_EQ(root.read(kFile), "lead = 1\n# about b\n[b]\nk = 2\n\n");
  EXPECT_GE(Ini_Conf_Remove_Section(kFile, ""), 0);
  EXPECT_EQ(root.read(kFile), "# about b\n[b]\nk = 2\n\n");
  EXPECT_GE(Ini_Conf_Remove_Section(kFile, "missing"), 0);
  EXPECT_GE(Ini_Conf_Remove_Section("/etc/none.conf", "a"), 0);
  char buf[8] = "same";
  EXPECT_LE(Ini_Conf_Get_Field(kFile, "a", "k", buf, 8), 0);
  EXPECT_LT(Ini_Conf_Remove_Section(kFile, nullptr), 0);
}

TEST_F(IniField, OnlyTheFirstBlockOfARepeatedSectionCounts) {
  root.write(kFile, "[a]\nk = 1\n[b]\nx = 0\n[a]\nk = 2\nj = 3\n");
  int rc = 0;
  EXPECT_EQ(get("a", "k"), "1");
  EXPECT_EQ(get("a", "j", &rc), "untouched");
  EXPECT_EQ(rc, 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "a", "j", "4"), 0);
  EXPECT_EQ(get("a", "j"), "4");
  EXPECT_GE(Ini_Conf_Remove_Field(kFile, "a", "k"), 0);
  EXPECT_EQ(root.read(kFile), "[a]\nj = 4\n[b]\nx = 0\n[a]\nk = 2\nj = 3\n");
  EXPECT_GE(Ini_Conf_Remove_Section(kFile, "a"), 0);
  EXPECT_EQ(root.read(kFile), "[b]\nx = 0\n");
}

TEST_F(IniField, PersistentAndSymlinkedStores) {
  EXPECT_GT(Ini_Conf_Set_Field("/etc/config/p.conf", "a", "k", "v"), 0);
  EXPECT_EQ(root.read("/etc/config/p.conf"), "[a]\nk = v\n");
  root.write("/etc/real.conf", "[a]\nk = 1\n");
  root.symlink(root.path("/etc/real.conf"), "/etc/link.conf");
  EXPECT_GT(Ini_Conf_Set_Field("/etc/link.conf", "a", "k", "2"), 0);
  EXPECT_EQ(root.read("/etc/real.conf"), "[a]\nk = 2\n");
  char buf[8] = "";
  EXPECT_GT(Ini_Conf_Get_Field("/etc/link.conf", "a", "k", buf, 8), 0);
  EXPECT_STREQ(buf, "2");
}

}  // namespace
}  // namespace bayhal
