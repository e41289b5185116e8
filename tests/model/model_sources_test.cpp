// The parsers of firmware and device bytes behind the model description: SMBIOS tables,
// FRU board areas and PCI configuration space.
#include <gtest/gtest.h>

#include <tuple>

#include "model/fru.h"
#include "model/pci_identity.h"
#include "model/smbios.h"
#include "tests/model/blob_builders.h"

namespace bayhal {
namespace {

using test::Bytes;
using test::DmiBuilder;

// Every field of a memory device, so a table row states the whole record.
std::string fields(const smbios::MemoryDevice& m) {
  auto n = [](auto v) { return std::to_string(v); };
  return n(m.handle) + "|" + n(m.installed) + n(m.size_known) + "|" + n(m.size_mb) + "|" +
         m.locator + "|" + m.bank + "|" + m.manufacturer + "|" + m.serial + "|" + m.part_number +
         "|" + m.type + "|" + n(m.speed_mts) + "|" + n(m.configured_mts) + "|" + n(m.rank);
}

// Sizes in every encoding (MB, KB, extended, empty, unknown), and the fields each layout
// version has: SMBIOS 2.1 (length 0x15) has no speed, manufacturer or part number yet.
TEST(Smbios, MemoryDevicesInEveryEncodingAndLayout) {
  const std::string strings = "DIMM_A1|BANK 0|Acme Memory|0000A1B2|AM4-8G-2666|DDR4|2666|2666|1";
  struct Case {
    uint16_t word;
    uint32_t ext;
    uint8_t length;
    std::string want;
  } cases[] = {
      {8192, 0, 0x28, "17|11|8192|" + strings},
      {0x8000 | 0x0800, 0, 0x28, "17|11|2|" + strings},  // 2048 KB
      {0x7FFF, 65536, 0x28, "17|11|65536|" + strings},
      {0, 0, 0x28, "17|01|0|" + strings},                // empty slot
      {0xFFFF, 0, 0x28, "17|10|0|" + strings},           // unknown
      {8192, 0, 0x15, "17|11|8192|DIMM_A1|BANK 0||||DDR4|0|0|0"},
  };
  for (const Case& c : cases) {
    DmiBuilder b;
    DmiBuilder::Dimm d;
    d.size_word = c.word;
    d.ext_size_mb = c.ext;
    d.length = c.length;
    b.memory_device(0x11, d).end_of_table();
    smbios::Table t = smbios::parse_table(b.bytes());
    ASSERT_TRUE(t.well_formed);
    auto m = smbios::memory_device(*t.of_type(17).at(0));
    ASSERT_TRUE(m);
    EXPECT_EQ(fields(*m), c.want);
  }
}

TEST(Smbios, BadStringIndexGivesEmptyTextAndStructuresOfOtherTypesAreSkipped) {
  DmiBuilder b;
  b.add(0, 0, {1, 2, 0x00, 0xF0, 9}, {"Vendor", "1.0"});  // a BIOS record with index 9 of 2
  b.power_supply(0x27, true).end_of_table();
  smbios::Table t = smbios::parse_table(b.bytes());
  ASSERT_EQ(t.structures.size(), 3u);
  EXPECT_EQ(t.structures[0].string_at(4), "Vendor");
  EXPECT_EQ(t.structures[0].string_at(8), "");   // index 9 of 2
  EXPECT_EQ(t.structures[0].string_at(99), "");  // beyond the formatted area
  EXPECT_FALSE(smbios::memory_device(t.structures[0]));
  auto p = smbios::power_supply(*t.of_type(39).at(0));
  ASSERT_TRUE(p);
  EXPECT_TRUE(p->present);
  EXPECT_EQ(p->name, "PSU");
  EXPECT_EQ(p->max_watts, 550u);
}

TEST(Smbios, CutOrMalformedTablesKeepWhatCameBeforeAndSayNotWellFormed) {
  DmiBuilder good;
  good.memory_device(0x11, {});
  Bytes base = good.bytes();

  Bytes cut_area = base;
  cut_area.insert(cut_area.end(), {17, 0x28, 0x12, 0x00, 1, 2, 3});  // 7 of 0x28 bytes
  Bytes no_terminator = base;
  no_terminator.insert(no_terminator.end(), {1, 4, 0x01, 0x00, 'a', 'b'});
  Bytes short_length = base;
  short_length.insert(short_length.end(), {17, 2, 0, 0, 0, 0});
  for (const Bytes* bytes : {&cut_area, &no_terminator, &short_length}) {
    smbios::Table t = smbios::parse_table(*bytes);
    EXPECT_FALSE(t.well_formed);
    ASSERT_EQ(t.structures.size(), 1u);
    EXPECT_EQ(t.structures[0].handle, 0x11);
  }
  EXPECT_TRUE(smbios::parse_table(base).well_formed);  // ends cleanly without type 127
  good.end_of_table();
  Bytes junk_after_end = good.bytes();
  junk_after_end.insert(junk_after_end.end(), {17, 0xFF, 0xFF});  // never read
  smbios::Table t = smbios::parse_table(junk_after_end);
  EXPECT_TRUE(t.well_formed);
  EXPECT_EQ(t.structures.size(), 2u);
}

TEST(Fru, BoardAreaFieldsAreDecodedInEveryEncoding) {
  test::FruBoard b;
  b.file_id = "02";  // one character would read as the end marker 0xC1
  auto info = fru::parse_board(test::fru_image(b));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->manufacturer + "|" + info->product + "|" + info->serial + "|" + info->part_number +
                "|" + info->file_id,
            "Acme Backplanes|8-bay SATA backplane|BP0001|BP-8SATA-A|02");

  // Board area by hand: manufacturer in 6-bit ASCII ("ABCD"), product in BCD plus ("12-4").
  Bytes area{0x01, 0x02, 0x00, 0, 0, 0, 0x83, 0xA1, 0x38, 0x92, 0x42, 0x12, 0xB4, 0xC1};
  area.resize(15, 0);
  uint8_t sum = 0;
  for (uint8_t x : area) sum = static_cast<uint8_t>(sum + x);
  area.push_back(static_cast<uint8_t>(0x100 - sum));
  Bytes image{0x01, 0, 0, 0x01, 0, 0, 0, 0xFE};
  image.insert(image.end(), area.begin(), area.end());
  info = fru::parse_board(image);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->manufacturer, "ABCD");
  EXPECT_EQ(info->product, "12-4");
}

TEST(Fru, BrokenImagesAreRefused) {
  Bytes good = test::fru_image({});
  Bytes bad_header = good;
  bad_header[7] ^= 1;
  Bytes bad_area = good;
  bad_area[20] ^= 0x20;
  Bytes cut(good.begin(), good.begin() + 20);
  Bytes erased(256, 0xFF);
  Bytes no_board = good;
  no_board[3] = 0;
  no_board[7] = static_cast<uint8_t>(no_board[7] + 1);
  for (const Bytes* b : {&bad_header, &bad_area, &cut, &erased, &no_board})
    EXPECT_FALSE(fru::parse_board(*b));
  EXPECT_FALSE(fru::parse_board({}));
}

TEST(PciConfig, IdentityFromTheStandardHeader) {
  Bytes cfg(64, 0);
  cfg[0] = 0x86, cfg[1] = 0x80, cfg[2] = 0x0f, cfg[3] = 0x3e;  // 8086:3e0f
  cfg[9] = 0x00, cfg[10] = 0x00, cfg[11] = 0x06;                // host bridge 060000
  cfg[0x2C] = 0x49, cfg[0x2D] = 0x18, cfg[0x2E] = 0x0f, cfg[0x2F] = 0x3e;
  auto id = parse_pci_config(cfg);
  ASSERT_TRUE(id);
  EXPECT_EQ(std::tuple(id->vendor, id->device, id->class_code, id->subsystem_vendor, id->subsystem_device),
            std::tuple(0x8086, 0x3e0f, 0x060000u, 0x1849, 0x3e0f));

  Bytes bridge = cfg;
  bridge[0x0E] = 0x81;  // type 1 header, multi-function: no subsystem at 0x2C
  EXPECT_EQ(parse_pci_config(bridge)->subsystem_vendor, 0);
  Bytes absent(64, 0xFF);
  EXPECT_FALSE(parse_pci_config(absent));
  EXPECT_FALSE(parse_pci_config(Bytes(cfg.begin(), cfg.begin() + 0x2F)));
}

}  // namespace
}  // namespace bayhal
