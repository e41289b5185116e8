// IDENTIFY pages captured from real drives must decode to what hdparm decoded from the same
// bytes (expected_identify.tsv of each folder).
#include "disk_sys/ata_identify.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "sim/ata_disk_model.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

struct Expected {
  std::string file, model, serial, firmware, lba28, lba48, rotation, wwn;
};

std::vector<std::string> split_tabs(const std::string& line) {
  std::vector<std::string> out;
  std::stringstream ss(line);
  std::string cell;
  while (std::getline(ss, cell, '\t')) out.push_back(cell);
  if (!line.empty() && line.back() == '\t') out.emplace_back();
  return out;
}

// Rows of a folder's expected_identify.tsv; `page_of` maps the first column to the page file.
std::vector<Expected> load(const std::string& folder, std::string (*page_of)(const std::string&)) {
  std::ifstream in(test::test_data_dir() + "/external/" + folder + "/expected_identify.tsv");
  std::vector<Expected> rows;
  std::string line;
  bool header = true;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    if (header) {
      header = false;
      continue;
    }
    auto c = split_tabs(line);
    c.resize(8);
    rows.push_back({test::test_data_dir() + "/external/" + folder + "/" + page_of(c[0]), c[1],
                    c[2], c[3], c[4], c[5], c[6], c[7]});
  }
  return rows;
}

std::string blob_page(const std::string& drive) { return "pages/" + drive + ".identify.bin"; }
std::string plain_page(const std::string& file) { return file; }

std::vector<uint8_t> read_bytes(const std::string& path) {
  std::string s = test::read_file(path);
  return {s.begin(), s.end()};
}

void expect_matches(const AtaIdentity& id, const Expected& e) {
  EXPECT_EQ(id.model, e.model);
  EXPECT_EQ(id.serial, e.serial);
  EXPECT_EQ(id.firmware, e.firmware);
  EXPECT_EQ(std::to_string(id.lba28_sectors), e.lba28);
  EXPECT_EQ(id.lba48_sectors ? std::to_string(id.lba48_sectors) : "", e.lba48);
  EXPECT_EQ(std::to_string(id.sectors), e.lba48.empty() ? e.lba28 : e.lba48);
  std::string rotation = id.rotation_rate < 0    ? ""
                         : id.rotation_rate == 0 ? "Solid State Device"
                                                 : std::to_string(id.rotation_rate);
  EXPECT_EQ(rotation, e.rotation);
  EXPECT_EQ(id.wwn_hex(), e.wwn);
}

class RealIdentifyPages : public ::testing::TestWithParam<const char*> {};

std::vector<Expected> rows_for(const std::string& folder) {
  return load(folder, folder == "parse-identify-data" ? plain_page : blob_page);
}

TEST_P(RealIdentifyPages, DecodeAsHdparmDid) {
  auto rows = rows_for(GetParam());
  ASSERT_GE(rows.size(), 3u);
  for (const auto& e : rows) {
    SCOPED_TRACE(e.file);
    auto page = read_bytes(e.file);
    ASSERT_EQ(page.size(), 512u);
    AtaIdentity id;
    ASSERT_TRUE(ata_identify_parse(page.data(), page.size(), id));
    expect_matches(id, e);
    if (id.checksum_present) {
      EXPECT_TRUE(id.checksum_ok);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(External, RealIdentifyPages,
                         ::testing::Values("libatasmart-blob-examples", "libblockdev-smart-dumps",
                                           "parse-identify-data"));

TEST(AtaIdentifyTest, ShortBlankAndCorruptPagesAreRefusedOrFlagged) {
  AtaIdentity id;
  std::vector<uint8_t> page(511, 0x41);
  EXPECT_FALSE(ata_identify_parse(page.data(), page.size(), id));
  page.assign(512, 0);
  EXPECT_FALSE(ata_identify_parse(page.data(), page.size(), id)) << "no device answered";
  page.assign(512, 0xff);
  EXPECT_FALSE(ata_identify_parse(page.data(), page.size(), id));
  EXPECT_FALSE(ata_identify_parse(nullptr, 512, id));

  page = sim::ata_identify_page(sim::AtaDiskSpec{});
  page[54] ^= 0x01;  // one model character changed behind the checksum's back
  ASSERT_TRUE(ata_identify_parse(page.data(), page.size(), id));
  EXPECT_TRUE(id.checksum_present);
  EXPECT_FALSE(id.checksum_ok);
}

}  // namespace
}  // namespace bayhal
