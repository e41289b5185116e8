// The text layer on its own: line classification, validity and edits of unusual files.
#include "ini/ini_edit.h"
#include "ini/ini_text.h"
#include "ini/key_index.h"
#include "tests/support/ini_reference.h"

#include <gtest/gtest.h>

namespace bayhal::ini {
namespace {

TEST(IniText, ClassifiesLines) {
  struct {
    const char* line;
    LineKind kind;
    const char* name;
    const char* value;
  } cases[] = {
      {"", LineKind::blank, "", ""},
      {" \t\r", LineKind::blank, "", ""},
      {"  # c", LineKind::comment, "", ""},
      {";c", LineKind::comment, "", ""},
      {"[S.M.A.R.T. ID #197]", LineKind::section, "S.M.A.R.T. ID #197", ""},
      {" [ spaced ] \r", LineKind::section, "spaced", ""},
      {"[]", LineKind::section, "", ""},
      {"[[x]]", LineKind::section, "[x]", ""},
      {"[open", LineKind::bad, "", ""},
      {"k=v", LineKind::key, "k", "v"},
      {"Temperature Threshold (F) 3 = a=b: c, d \r", LineKind::key,
       "Temperature Threshold (F) 3", "a=b: c, d"},
      {"k =", LineKind::key, "k", ""},
      {"= v", LineKind::bad, "", ""},
      {"no equals sign", LineKind::bad, "", ""},
  };
  for (const auto& c : cases) {
    Line l = classify(c.line);
    EXPECT_EQ(l.kind, c.kind) << c.line;
    EXPECT_EQ(l.name, c.name) << c.line;
    EXPECT_EQ(l.value, c.value) << c.line;
  }
}

TEST(IniText, IsIniNamesTheFirstBadLine) {
  size_t bad = 0;
  EXPECT_TRUE(is_ini(""));
  EXPECT_TRUE(is_ini("# only a comment"));
  EXPECT_FALSE(is_ini("[a]\nk = v\nstray words\n", &bad));
  EXPECT_EQ(bad, 3u);
  EXPECT_FALSE(is_ini(std::string_view("[a]\nk = v\0w\n", 12), &bad));
  EXPECT_EQ(bad, 2u);
}

TEST(IniText, CrLfFilesKeepTheirLineEnds) {
  std::string out;
  Edit e{"a", {{"k", "new"}, {"n", "1"}}, {}, false, {}};
  ASSERT_EQ(apply_edit("[a]\r\nk = old\r\n[b]\r\n", e, out), EditResult::changed);
  EXPECT_EQ(out, "[a]\r\nk = new\r\nn = 1\n[b]\r\n");
  std::string_view v;
  ASSERT_TRUE(find_value(out, "a", "n", v));
  EXPECT_EQ(v, "1");
}

// Edits of empty and keyless sections; an edit that changes nothing says so.
TEST(IniText, EditsOfEmptyAndKeylessSections) {
  struct {
    const char* text;
    Edit edit;
    const char* want;
  } cases[] = {
      {"", Edit{"", {{"k", "v"}}, {}, false, {}}, "k = v\n"},
      {"# top\n[a]\n", Edit{"", {{"k", "v"}}, {}, false, {}}, "# top\nk = v\n[a]\n"},
      {"[a]\n\n[b]\n", Edit{"a", {{"k", "v"}}, {}, false, {}}, "[a]\nk = v\n\n[b]\n"},
      {"[a]\nk=\n", Edit{"a", {{"k", "v"}}, {}, false, {}}, "[a]\nk= v\n"},
      {"[a]\nk = 1\nk = 2\n", Edit{"a", {}, {"k"}, false, {}}, "[a]\n"},
      {"[a]\nk = 1\n", Edit{"a", {{"k", "1"}, {"k", "2"}}, {}, false, {}}, "[a]\nk = 2\n"},
      {"[a]\n", Edit{"b", {{"k", "v"}}, {}, false, {}}, "[a]\n\n[b]\nk = v\n"},
      {"[a]\n\n", Edit{"b", {{"k", "v"}}, {}, false, {}}, "[a]\n\n[b]\nk = v\n"},
      {"[a]\nx = 1\n[b]\n[a]\ny = 2\n\n", Edit{"a", {}, {}, true, {}}, "[b]\n"},
      {"[a]\nk = v\n", Edit{"a", {{"k", "v"}}, {}, false, {}}, nullptr},  // nothing to change
      {"[a]\nk = v\n", Edit{"a", {}, {"x"}, false, {}}, nullptr},
      {"[a]\nk = v\n", Edit{"z", {}, {}, true, {}}, nullptr},
  };
  for (const auto& c : cases) {
    std::string out = c.text;
    EditResult r = apply_edit(c.text, c.edit, out);
    EXPECT_EQ(r == EditResult::unchanged, c.want == nullptr) << c.text;
    if (c.want != nullptr) {
      EXPECT_EQ(out, c.want) << c.text;
    }
  }
}

// Lines the store does not understand (a hand edit, another tool's output) are never lost
// and never block an edit: every edit keeps them byte for byte where they stand.
TEST(IniText, ForeignLinesSurviveEveryEdit) {
  const std::string nul("k = v\0w\n", 8);
  struct {
    std::string text;
    Edit edit;
    std::string want;
    size_t foreign;
  } cases[] = {
      {"[a]\nwords\nk = 1\n", Edit{"a", {{"k", "2"}, {"n", "3"}}, {}, false, {}},
       "[a]\nwords\nk = 2\nn = 3\n", 2},
      {"[a\n= v\n", Edit{"a", {{"k", "v"}}, {}, false, {}}, "[a\n= v\n\n[a]\nk = v\n", 1},
      {"[a]\nk = 1\nhand edit\nj = 2\n\n[b]\n", Edit{"a", {}, {}, true, {}},
       "hand edit\n[b]\n", 3},
      {"[a]\nk = 1\nstray", Edit{"a", {}, {"k"}, false, {}}, "[a]\nstray", 3},
      {"stray\n[a]\n" + nul, Edit{"a", {{"x", "1"}}, {}, false, {}}, "stray\n[a]\n" + nul + "x = 1\n",
       1},
      {"[a]\nk = 1\n", Edit{"a", {{"k", "1"}}, {}, false, {}}, "[a]\nk = 1\n", 0},
  };
  for (const auto& c : cases) {
    std::string out;
    size_t foreign = 99;
    EditResult r = apply_edit(c.text, c.edit, out, &foreign);
    EXPECT_EQ(r == EditResult::changed ? out : c.text, c.want) << c.text;
    EXPECT_EQ(foreign, c.foreign) << c.text;
  }
}

// Header lines in every form the store accepts, names that appear elsewhere than in a
// header, and files cut mid-line: the fast scans find what a line-by-line reading finds.
TEST(IniText, SectionScanAgreesWithALineByLineReading) {
  const char* texts[] = {
      "[ PhysicalDisk_3 ]\nk = 1\n",
      "x = [PhysicalDisk_3]\n[PhysicalDisk_3]\nk = 2\n",
      " \t[PhysicalDisk_3]\r\nk = 3\r\n[b]\r\n",
      "[PhysicalDisk_3]]\nk = 4\n[PhysicalDisk_3]\nk = 5\n",
      "[PhysicalDisk_30]\na = 1\n[PhysicalDisk_3]\nb = 2\n[PhysicalDisk_3]\nc = 3\n",
      "[PhysicalDisk_3",
      "[PhysicalDisk_3]",
      "[PhysicalDisk_3]\nk = 1",
      "[PhysicalDisk_3] x\nk = 1\n[PhysicalDisk_3]  \t\nk = 6\n",
      "# [PhysicalDisk_3]\nk = 1\n;[PhysicalDisk_3]\n",
      "top = 0\n[PhysicalDisk_3]\n= v\nno equals\n;c\n  k  =  v  \n[broken\nj = 2\n[ b ]\nz = 9\n",
      "[x]\n  [PhysicalDisk_3]  \nk=v\nk=w\n",
      "[S.M.A.R.T. ID #197]\nraw = 0\n[PhysicalDisk_3]\n",
      "lead = 1\n\n  also = 2\n[PhysicalDisk_3]\n",
      "",
  };
  const char* names[] = {"PhysicalDisk_3", "PhysicalDisk_30", "b", "S.M.A.R.T. ID #197", "",
                         "PhysicalDisk_3 ", " b", "PhysicalDisk_3]", "x"};
  for (const char* text : texts) {
    std::vector<std::string> headers;
    for_each_header(text, [&](std::string_view name, size_t, size_t) { headers.emplace_back(name); });
    EXPECT_EQ(headers, headers_line_by_line(text)) << text;
    for (const char* name : names) {
      bool want_found = false;
      KeyList want = read_line_by_line(text, name, want_found);
      KeyList got;
      bool found = for_each_key(text, name, [&](std::string_view k, std::string_view v) {
        got.emplace_back(k, v);
      });
      EXPECT_EQ(found, want_found) << "[" << name << "] in: " << text;
      EXPECT_EQ(got, want) << "[" << name << "] in: " << text;
    }
  }
}

// Keys that share length and end bytes land on the same slot: each still finds its own row,
// and a key of that shape the table lacks is not taken for one of them.
TEST(IniText, KeyIndexTellsApartKeysOfOneShape) {
  struct Row {
    std::string_view key;
  };
  static constexpr Row rows[] = {{"serial"}, {"sXrial"}, {"s12345l"}, {"model"}, {"m"}, {"port_id"}};
  constexpr KeyIndex<16> index(rows);
  for (int i = 0; i < static_cast<int>(std::size(rows)); ++i)
    EXPECT_EQ(index.find(rows[i].key), i) << rows[i].key;
  for (std::string_view absent : {"sYrial", "serial ", "", "mode", "M", "port_iD"})
    EXPECT_EQ(index.find(absent), -1) << absent;
}

}  // namespace
// A reader that has what it wants stops; one that does not sees the section's first block only.
TEST(IniText, KeyScanStopsWhenAskedAndEndsWithTheFirstBlock) {
  const std::string_view text = "[a]\nx = 1\ny = 2\nz = 3\n[b]\nw = 0\n[a]\nlate = 9\n";
  std::vector<std::string> seen;
  EXPECT_TRUE(scan_section(text, "a", [&](std::string_view k, std::string_view) {
    seen.emplace_back(k);
    return k != "y";
  }));
  EXPECT_EQ(seen, (std::vector<std::string>{"x", "y"}));
  seen.clear();
  EXPECT_TRUE(scan_section(text, "a", [&](std::string_view k, std::string_view) {
    seen.emplace_back(k);
    return true;
  }));
  EXPECT_EQ(seen, (std::vector<std::string>{"x", "y", "z"}));
  EXPECT_FALSE(scan_section(text, "c", [](std::string_view, std::string_view) { return true; }));
}

}  // namespace bayhal::ini
