// Bitmap operations: text form, set/reset/test, next free bit and its claim, enumeration.
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "ini/ini_bitmap.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

constexpr const char* kFile = "/etc/enclosure_0.conf";
constexpr const char* kSec = "Index";
constexpr const char* kKey = "port_bitmap";

class IniBitmap : public test::SandboxTest {
 protected:
  std::string value() {
    char buf[512] = "";
    Ini_Conf_Get_Field(kFile, kSec, kKey, buf, sizeof buf);
    return buf;
  }
};

TEST(BitmapText, FormatIsHexNumberWithBitZeroLowest) {
  struct {
    std::vector<int> bits;
    const char* text;
  } cases[] = {{{}, "0x0"}, {{0}, "0x1"}, {{0, 5}, "0x21"}, {{0, 5, 64}, "0x10000000000000021"},
               {{63}, "0x8000000000000000"}, {{4, 7}, "0x90"}};
  for (const auto& c : cases) {
    ini::Bitmap bm;
    for (int b : c.bits) bm.set(b);
    EXPECT_EQ(bm.format(), c.text);
    ini::Bitmap back;
    ASSERT_TRUE(back.parse(c.text));
    EXPECT_EQ(back.count(), static_cast<int>(c.bits.size()));
    for (int b : c.bits) EXPECT_TRUE(back.test(b)) << c.text << " bit " << b;
  }
}

TEST(BitmapText, ParseAcceptsHandWrittenFormsAndRejectsJunk) {
  ini::Bitmap bm;
  for (const char* ok : {"", "0", "0X1F", "1f", "  0x00000001  ", "0x"}) EXPECT_TRUE(bm.parse(ok)) << ok;
  ASSERT_TRUE(bm.parse("000000000000000000000000000000000000000000000000000000000000001"));
  EXPECT_EQ(bm.format(), "0x1");
  for (const char* bad : {"0xg", "1 2", "-1", "0x1,0x2", "yes"}) EXPECT_FALSE(bm.parse(bad)) << bad;
  EXPECT_FALSE(bm.parse("1" + std::string(ini::kMaxBit / 4 + 1, '0')));
}

// A missing bitmap reads as empty and is not created by reading; then bits on both sides
// of each 64-bit word boundary.
TEST_F(IniBitmap, MissingThenSetResetAndTestAcrossWordBoundaries) {
  EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kFile, kSec, kKey, 0), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(kFile, kSec, kKey), 0);
  int bits[4] = {-7, -7, -7, -7};
  EXPECT_EQ(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, bits, 4, nullptr, nullptr), 0);
  EXPECT_EQ(bits[0], -7);
  int bit = -1;
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSec, kKey, &bit, 5, 0), 0);
  EXPECT_EQ(bit, 5);
  EXPECT_FALSE(root.exists(kFile));
  for (int b : {0, 3, 63, 64, 200}) EXPECT_EQ(Ini_Conf_Bitmap_Set_Bit(kFile, kSec, kKey, b), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Set_Bit(kFile, kSec, kKey, 3), 0);  // already set
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(kFile, kSec, kKey), 5);
  for (int b = 0; b < 260; ++b) {
    bool want = b == 0 || b == 3 || b == 63 || b == 64 || b == 200;
    EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kFile, kSec, kKey, b) != 0, want) << b;
  }
  EXPECT_EQ(Ini_Conf_Bitmap_Reset_Bit(kFile, kSec, kKey, 200), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Reset_Bit(kFile, kSec, kKey, 1000), 0);  // clear already
  EXPECT_EQ(value(), "0x18000000000000009");
  int small = 0;
  EXPECT_EQ(Ini_Conf_Bitmap_Reset_Bit(kFile, kSec, kKey, 64), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Reset_Bit(kFile, kSec, kKey, 63), 0);
  EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, kSec, kKey, &small, 1), 0);
  EXPECT_EQ(small, 9) << "a small bitmap reads as the same hex number";
}

TEST_F(IniBitmap, NextFreeBitFindsAndClaims) {
  root.write(kFile, "[Index]\nport_bitmap = 0x2f\n");  // 0-3 and 5 set
  struct {
    int start;
    int claim;
    int want;
  } steps[] = {{0, 0, 4}, {0, 0, 4}, {0, 1, 4}, {0, 1, 6}, {5, 1, 7}, {100, 1, 100}, {0, 0, 8}};
  for (const auto& s : steps) {
    int bit = -1;
    EXPECT_EQ(Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSec, kKey, &bit, s.start, s.claim), 0);
    EXPECT_EQ(bit, s.want) << "start " << s.start << " claim " << s.claim;
  }
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(kFile, kSec, kKey), 9);
}

int keep_even(int bit, void* arg) {
  static_cast<std::vector<int>*>(arg)->push_back(bit);
  return bit % 2;  // 0 stores the bit
}

TEST_F(IniBitmap, EnumerateVisitsAscendingAndStoresAccepted) {
  for (int b : {130, 2, 7, 64, 10}) Ini_Conf_Bitmap_Set_Bit(kFile, kSec, kKey, b);
  int bits[8] = {};
  EXPECT_EQ(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, bits, 8, nullptr, nullptr), 5);
  EXPECT_EQ(std::vector<int>(bits, bits + 5), (std::vector<int>{2, 7, 10, 64, 130}));

  std::vector<int> seen;
  int even[8] = {};
  EXPECT_EQ(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, even, 8, keep_even, &seen), 4);
  EXPECT_EQ(seen, (std::vector<int>{2, 7, 10, 64, 130}));
  EXPECT_EQ(std::vector<int>(even, even + 4), (std::vector<int>{2, 10, 64, 130}));

  seen.clear();
  EXPECT_EQ(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, nullptr, 0, keep_even, &seen), 0);
  EXPECT_EQ(seen.size(), 5u) << "the callback sees every bit even with no array";

  int two[2] = {};
  EXPECT_EQ(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, two, 2, nullptr, nullptr), 2);
  EXPECT_EQ(two[1], 7);
}

TEST_F(IniBitmap, BadInputIsRefusedAndKeepsTheValue) {
  root.write(kFile, "[Index]\nport_bitmap = 0x5\nname = not a bitmap\n");
  EXPECT_LT(Ini_Conf_Bitmap_Set_Bit(kFile, kSec, kKey, -1), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Set_Bit(kFile, kSec, kKey, ini::kMaxBit + 1), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Reset_Bit(kFile, kSec, kKey, -3), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kFile, kSec, kKey, -1), 0);
  int bit = 99;
  EXPECT_LT(Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSec, kKey, &bit, -1, 1), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSec, kKey, nullptr, 0, 1), 0);
  EXPECT_EQ(bit, 99);
  int bits[2];
  EXPECT_LT(Ini_Conf_Bitmap_Enumerate(kFile, kSec, kKey, bits, -1, nullptr, nullptr), 0);
  // A key that holds something else is never overwritten by a bitmap.
  EXPECT_LT(Ini_Conf_Bitmap_Set_Bit(kFile, kSec, "name", 1), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Get_Next_Free_Bit(kFile, kSec, "name", &bit, 0, 1), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Get_Set_Count(kFile, kSec, "name"), 0);
  EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kFile, kSec, "name", 0), 0);
  EXPECT_LT(Ini_Conf_Bitmap_Set_Bit(nullptr, kSec, kKey, 1), 0);
  EXPECT_EQ(root.read(kFile), "[Index]\nport_bitmap = 0x5\nname = not a bitmap\n");
}

}  // namespace
}  // namespace bayhal
