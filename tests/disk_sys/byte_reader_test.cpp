#include "foundation/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace bayhal {
namespace {

TEST(ByteReaderTest, ReadsByOffsetInBothByteOrders) {
  const uint8_t page[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09};
  ByteReader r(page, sizeof page);
  EXPECT_EQ(r.be16(0), 0x0102);
  EXPECT_EQ(r.le16(0), 0x0201);
  EXPECT_EQ(r.be32(1), 0x02030405u);
  EXPECT_EQ(r.le32(1), 0x05040302u);
  EXPECT_EQ(r.be64(1), 0x0203040506070809ull);
  EXPECT_EQ(r.be(3, 3), 0x040506u);
  EXPECT_EQ(r.word(1), 0x0403);
  EXPECT_TRUE(r.bit(8, 0));
  EXPECT_FALSE(r.bit(8, 1));
  EXPECT_TRUE(r.ok());
}

TEST(ByteReaderTest, OverflowReadsZeroAndSticks) {
  const uint8_t page[] = {0xff, 0xff, 0xff, 0xff};
  ByteReader r(page, sizeof page);
  EXPECT_EQ(r.be32(1), 0u);  // one byte short
  EXPECT_FALSE(r.ok());
  EXPECT_EQ(r.u8(0), 0xff);  // later in-range reads still work...
  EXPECT_FALSE(r.ok());      // ...but the flag stays
  ByteReader s(page, sizeof page);
  EXPECT_EQ(s.u8(SIZE_MAX), 0);
  EXPECT_TRUE(s.bytes(SIZE_MAX - 1, 4).empty());  // offset + length wraps around
  EXPECT_EQ(s.be(0, 9), 0u);                     // wider than a 64-bit value
  EXPECT_FALSE(s.ok());
  ByteReader null_reader(nullptr, 100);
  EXPECT_EQ(null_reader.size(), 0u);
  EXPECT_EQ(null_reader.u8(0), 0);
}

TEST(ByteReaderTest, TextFieldsAreTrimmedAndMadePrintable) {
  const char inq[] = "ATA     ST8000DM004\x01\xff  ";
  ByteReader r(inq, sizeof inq - 1);
  EXPECT_EQ(r.ascii(0, 8), "ATA");
  EXPECT_EQ(r.ascii(8, 15), "ST8000DM004??");
  // ATA strings hold the first character of each pair in the high byte.
  const uint8_t ata[] = {'D', 'W', ' ', 'C', 'D', 'W', '0', '4'};
  ByteReader a(ata, sizeof ata);
  EXPECT_EQ(a.ata_string(0, 4), "WDC WD40");
  EXPECT_EQ(a.ata_string(2, 4), "");  // past the end
  EXPECT_FALSE(a.ok());
}

TEST(ByteReaderTest, CursorAndWindows) {
  std::vector<uint8_t> page = {0x0a, 0x00, 0x10, 0xde, 0xad, 0xbe, 0xef};
  ByteReader r(page.data(), page.size());
  EXPECT_EQ(r.next_u8(), 0x0a);
  EXPECT_EQ(r.next_be16(), 0x0010);
  EXPECT_EQ(r.remaining(), 4u);
  ByteReader w = r.sub(r.pos(), 4);
  EXPECT_EQ(w.be32(0), 0xdeadbeefu);
  EXPECT_EQ(w.u8(4), 0);
  EXPECT_FALSE(w.ok());
  EXPECT_TRUE(r.ok());  // a window's overflow is its own
  r.skip(4);
  EXPECT_EQ(r.next_be16(), 0);
  EXPECT_FALSE(r.ok());
}

}  // namespace
}  // namespace bayhal
