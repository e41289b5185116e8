// SMART of real drives, read through the ATA device path from a model answering with each
// drive's captured pages, must give what skdump decoded from the same bytes: every
// attribute's id, value, worst, threshold, raw bytes and flag kinds, the self-test bytes and
// the verdict the drive recorded. Then the page, sense and command rules themselves.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "disk_sys/ata_smart.h"
#include "disk_sys/pd_sys_smart.h"
#include "disk_sys/smart_names.h"
#include "sim/ata_disk_model.h"
#include "sim/device_model.h"
#include "tests/support/sandbox_root.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

using Row = std::vector<std::string>;

// The rows of a TSV file of the shared captures, without comments and the header line.
std::vector<Row> tsv(const std::string& path) {
  std::ifstream in(path);
  std::vector<Row> rows;
  bool header = true;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#' || std::exchange(header, false)) continue;
    Row r;
    std::stringstream ss(line);
    for (std::string cell; std::getline(ss, cell, '\t');) r.push_back(cell);
    r.resize(13);
    rows.push_back(r);
  }
  return rows;
}

std::vector<uint8_t> bytes(const std::string& path) {
  std::string s = test::read_file(path);
  return {s.begin(), s.end()};
}

// The raw value the ATA rule gives for six page-order bytes written as hex.
uint64_t raw_of(unsigned id, const std::string& hex) {
  uint64_t v = 0;
  for (int i = 5; i >= 0; --i) v = (v << 8) | std::stoul(hex.substr(2 * static_cast<size_t>(i), 2), nullptr, 16);
  return id == 194 ? (v & 0xffff) : v;
}

// skdump prints "n/a" for a value byte it takes as not valid: 0, or above 0xFD.
void expect_value(unsigned char actual, const std::string& decoded) {
  if (decoded == "n/a")
    EXPECT_TRUE(actual == 0 || actual > 0xfd) << int(actual);
  else
    EXPECT_EQ(actual, std::stoi(decoded));
}

class RealSmartPages : public test::SandboxTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(RealSmartPages, DeviceReadingMatchesSkdump) {
  std::string dir = test::test_data_dir() + "/external/" + GetParam();
  std::multimap<std::string, Row> attrs;
  for (Row& r : tsv(dir + "/expected_attributes.tsv")) attrs.emplace(r[0], r);
  auto drives = tsv(dir + "/expected_identify.tsv");
  ASSERT_GE(drives.size(), 13u);
  for (const Row& d : drives) {
    SCOPED_TRACE(d[0]);
    std::string pages = dir + "/pages/" + d[0];
    sim::ModelTransport models;
    models.add("/dev/sdq", std::make_shared<sim::SataDiskModel>(bytes(pages + ".identify.bin"),
                                                                bytes(pages + ".smart_data.bin"),
                                                                bytes(pages + ".smart_thresholds.bin")));
    ScopedDeviceTransport use(models);
    PD_SMART_ATTR list[30];
    int verdict = -9, status = -9, progress = -9, short_min = -9, ext_min = -9;
    int n = pd_sys_get_ata_smart("root", "sdq", &verdict, list, 30, &status, &progress, &short_min, &ext_min);
    auto [from, to] = attrs.equal_range(d[0]);
    ASSERT_EQ(n, std::distance(from, to));
    const PD_SMART_ATTR* a = list;
    for (auto it = from; it != to; ++it, ++a) {
      const Row& e = it->second;
      unsigned id = static_cast<unsigned>(std::stoul(e[1]));
      SCOPED_TRACE(id);
      EXPECT_EQ(a->id, id);
      EXPECT_STREQ(a->name, smart_attr_name(id, 0));
      expect_value(a->value, e[3]);
      expect_value(a->worst, e[4]);
      EXPECT_EQ(a->thresh, std::stoi(e[5]));
      EXPECT_EQ(a->raw, raw_of(id, e[6]));
      EXPECT_EQ((a->status_flag & 1) != 0, e[7] == "prefail");
      EXPECT_EQ((a->status_flag & 2) != 0, e[8] == "online");
      EXPECT_EQ(a->reserved, 0xFFFF);
    }
    int st = std::stoi(d[9], nullptr, 16);
    EXPECT_EQ(status, st >> 4);
    EXPECT_EQ(progress, 100 - 10 * (st & 0x0f));
    EXPECT_EQ(short_min, std::stoi(d[10]));
    EXPECT_EQ(ext_min, d[11] == "255" ? std::stoi(d[12]) : std::stoi(d[11]));
    if (!d[8].empty()) {
      EXPECT_EQ(verdict, d[8] == "1" ? 0 : 1) << "the drive's own RETURN STATUS";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(External, RealSmartPages,
                         ::testing::Values("libatasmart-blob-examples", "libblockdev-smart-dumps"));

// A SMART READ DATA page with the given 12-byte slots (from slot 0) and status bytes.
std::vector<uint8_t> data_page(const std::vector<std::vector<uint8_t>>& slots, uint8_t st = 0,
                               uint8_t ext = 60, uint16_t ext_word = 0) {
  std::vector<uint8_t> p(512, 0);
  for (size_t i = 0; i < slots.size(); ++i) std::copy(slots[i].begin(), slots[i].end(), p.begin() + 2 + 12 * static_cast<long>(i));
  p[363] = st;
  p[373] = ext;
  p[375] = static_cast<uint8_t>(ext_word);
  p[376] = static_cast<uint8_t>(ext_word >> 8);
  uint8_t sum = 0;
  for (size_t i = 0; i < 511; ++i) sum = static_cast<uint8_t>(sum + p[i]);
  p[511] = static_cast<uint8_t>(-sum);
  return p;
}

TEST(AtaSmartPageTest, SlotsThresholdsRawValuesAndSelfTestBytes) {
  std::vector<uint8_t> zero(12, 0);
  std::vector<uint8_t> temp = {194, 0x22, 0, 100, 100, 0x2a, 0x00, 0x14, 0x00, 0x37, 0x00, 0};
  std::vector<uint8_t> hours = {9, 0x32, 0, 99, 99, 0x10, 0x27, 0, 0, 0, 0x01, 0};
  auto page = data_page({hours, zero, temp}, 0xf7, 0xff, 397);
  std::vector<uint8_t> thr(512, 0);
  thr[2 + 12] = 9;  // slot 1 lists 9 (slot 0 of the data page), slot 2 lists 194
  thr[3 + 12] = 7;
  thr[2 + 24] = 194;
  thr[3 + 24] = 3;
  SmartReading r;
  ASSERT_TRUE(ata_smart_parse_pages(page.data(), page.size(), thr.data(), thr.size(), 30, 0, r));
  ASSERT_EQ(r.attrs.size(), 2u) << "the id-0 slot is skipped, the one after it read";
  EXPECT_EQ(r.attrs[0].raw, 0x010000002710ull) << "48 bits, little-endian";
  EXPECT_EQ(r.attrs[1].raw, 42u) << "194 keeps its low 16 bits";
  EXPECT_EQ(r.attrs[0].thresh, 7) << "by id, not by slot";
  EXPECT_EQ(r.attrs[1].thresh, 3);
  EXPECT_EQ(r.temperature, 42);
  EXPECT_EQ(r.test_status, 15);
  EXPECT_EQ(r.test_progress, 30);
  EXPECT_EQ(r.extended_minutes, 397) << "byte 373 = 0xFF: the word at 375";
  EXPECT_TRUE(r.checksum_ok);

  SmartReading two;
  ata_smart_parse_pages(page.data(), page.size(), thr.data(), thr.size(), 2, 0, two);
  EXPECT_EQ(two.attrs.size(), 1u) << "the list size bounds slots, not entries";
  page[100] ^= 1;
  SmartReading damaged;
  ata_smart_parse_pages(page.data(), page.size(), thr.data(), thr.size(), 30, 0, damaged);
  EXPECT_FALSE(damaged.checksum_ok);
  EXPECT_FALSE(ata_smart_parse_pages(page.data(), 511, thr.data(), thr.size(), 30, 0, damaged));
  EXPECT_FALSE(ata_smart_parse_pages(page.data(), page.size(), thr.data(), 511, 30, 0, damaged));
}

// Sense of RETURN STATUS: descriptor format with the ATA Status Return descriptor.
std::vector<uint8_t> status_sense(uint8_t mid, uint8_t high, uint8_t code = 0x72, uint8_t ext = 0,
                                  uint8_t error = 0, uint8_t len_fix = 0) {
  std::vector<uint8_t> s(22, 0);
  s[0] = code;
  s[7] = static_cast<uint8_t>(14 + len_fix);
  s[8] = 0x09;
  s[9] = 0x0c;
  s[10] = ext;
  s[11] = error;
  s[17] = mid;
  s[19] = high;
  return s;
}

TEST(AtaSmartPageTest, ReturnStatusVerdictFromSense) {
  struct Case {
    const char* what;
    std::vector<uint8_t> sense;
    int want;
  } cases[] = {
      {"passed", status_sense(0x4f, 0xc2), 0},
      {"threshold exceeded", status_sense(0xf4, 0x2c), 1},
      {"other registers", status_sense(0x00, 0x00), -1},
      {"fixed-format sense", status_sense(0x4f, 0xc2, 0x70), -1},
      {"extended return", status_sense(0x4f, 0xc2, 0x72, 1), -1},
      {"aborted", status_sense(0x4f, 0xc2, 0x72, 0, 0x04), -1},
      {"length does not add up", status_sense(0x4f, 0xc2, 0x72, 0, 0, 1), -1},
      {"too short", {0x72, 0, 0, 0}, -1},
  };
  for (const Case& c : cases) EXPECT_EQ(ata_smart_status_from_sense(c.sense.data(), c.sense.size()), c.want) << c.what;
}

TEST(AtaSmartPageTest, NamesOfBothKinds) {
  struct Case {
    unsigned id;
    int kind;
    const char* name;
  } cases[] = {{1, 0, "Raw_Read_Error_Rate"}, {1, 2, "Read_Error_Rate"}, {5, 1, "Retired_Block_Count"},
               {160, 0, "Unknown_Attribute"}, {160, 2, "Uncorrectable_Sectors_Count_When_Read/Write"},
               {209, 2, "Offline_Seek_Performnce"}, {245, 2, "Flash_Write_Sector_Count"},
               {0, 0, "Unknown_Attribute"}, {255, 2, "Unknown_Attribute"}, {193, 0, "Unknown_Attribute"}};
  for (const Case& c : cases) EXPECT_STREQ(smart_attr_name(c.id, c.kind), c.name) << c.id;
}

// Records each command's CDB and answers as a transport whose host or driver says `status`.
struct Recorder : DeviceTransport {
  std::vector<std::vector<uint8_t>> cdbs;
  sim::SataDiskModel disk{sim::AtaDiskSpec{}};
  uint16_t host_status = 0;
  int submit_result = 0;
  int submit(std::string_view, DeviceCommand& cmd) override {
    cdbs.emplace_back(cmd.cdb, cmd.cdb + cmd.cdb_len);
    if (submit_result != 0) return submit_result;
    disk.handle(cmd);
    cmd.host_status = host_status;
    return 0;
  }
};

TEST(AtaSmartCommandTest, ThreeCommandsExactlyAsLaidOutAndTheSuccessRule) {
  test::SandboxRoot root;
  Recorder rec;
  ScopedDeviceTransport use(rec);
  PD_SMART_ATTR list[30];
  int verdict = -1;
  ASSERT_EQ(pd_sys_get_ata_smart("root", "sdb", &verdict, list, 30, nullptr, nullptr, nullptr, nullptr), 3);
  EXPECT_EQ(verdict, 0);
  auto cdb = [](uint8_t proto, uint8_t flags, uint8_t feature, uint8_t count) {
    return std::vector<uint8_t>{0x85, proto, flags, 0, feature, 0, count, 0, 0, 0, 0x4f, 0, 0xc2, 0, 0xb0, 0};
  };
  ASSERT_EQ(rec.cdbs.size(), 3u);
  EXPECT_EQ(rec.cdbs[0], cdb(0x08, 0x0e, 0xd0, 1));
  EXPECT_EQ(rec.cdbs[1], cdb(0x06, 0x20, 0xda, 0));
  EXPECT_EQ(rec.cdbs[2], cdb(0x08, 0x0e, 0xd1, 1));

  rec.host_status = 0x07;
  EXPECT_EQ(get_ata_smart_status("/dev/sdb"), -1) << "a host status fails the request";
  rec.host_status = 0;
  rec.submit_result = -EIO;
  EXPECT_EQ(pd_sys_get_ata_smart("root", "sdb", &verdict, list, 30, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(pd_sys_get_ata_smart("px_0011", "sdb", &verdict, list, 30, nullptr, nullptr, nullptr, nullptr), -1);
}

}  // namespace
}  // namespace bayhal
