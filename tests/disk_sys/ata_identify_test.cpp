// IDENTIFY pages captured from real drives must decode to what hdparm decoded from the same
// bytes (expected_identify.tsv of each folder).
#include "disk_sys/ata_identify.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "sim/ata_disk_model.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

struct Expected {
  std::string file, model, serial, firmware, lba28, lba48, rotation, wwn;
};

// Rows of a folder's expected_identify.tsv, each with the path of its page.
std::vector<Expected> rows_for(const std::string& folder) {
  std::string dir = test::test_data_dir() + "/external/" + folder + "/";
  std::ifstream in(dir + "expected_identify.tsv");
  std::vector<Expected> rows;
  bool header = true;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#' || std::exchange(header, false)) continue;
    std::vector<std::string> c;
    std::stringstream cells(line);
    for (std::string cell; std::getline(cells, cell, '\t');) c.push_back(cell);
    c.resize(8);
    std::string page = folder == "parse-identify-data" ? c[0] : "pages/" + c[0] + ".identify.bin";
    rows.push_back({dir + page, c[1], c[2], c[3], c[4], c[5], c[6], c[7]});
  }
  return rows;
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

TEST_P(RealIdentifyPages, DecodeAsHdparmDid) {
  auto rows = rows_for(GetParam());
  ASSERT_GE(rows.size(), 3u);
  for (const auto& e : rows) {
    SCOPED_TRACE(e.file);
    std::string bytes = test::read_file(e.file);
    std::vector<uint8_t> page(bytes.begin(), bytes.end());
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
