// Stage 2 without any driver: what the model description's chip keys resolve to.
#include "board/dispatch/resolve.h"
#include "tests/board/board_fixture.h"

namespace bayhal::test {
namespace {

using namespace board;

class BoardResolveTest : public BoardTest {};

TEST_F(BoardResolveTest, TemperatureMapGivesEachUnitItsKindAndChannel) {
  struct Row {
    const char* model;
    int index;
    int hm_type;
    int channel;
  };
  const Row rows[] = {
      {"[System Enclosure]\nCPU_TEMP_UNIT = DTS:1\n", 0, kHmDts, 1},
      {"[System Enclosure]\nCPU_TEMP_UNIT = thermal_zone:2\n", 1, kHmThermalZone, 2},
      {"[System Enclosure]\nCPU_TEMP_UNIT = SIO\n", 0, kHmUnsupported, -1},  // no channel
      {"[System Enclosure]\nCPU_TEMP_UNIT = EC\n", 1, kHmEc, 1},
      {"[System Enclosure]\nSYSTEM_TEMP_UNIT = SIO:3\n", 5, kHmSio, 3},
      {"[System Enclosure]\nSYSTEM_TEMP_UNIT = PIC\n", 6, kHmPic, -1},
      {"[System Enclosure]\nSYSTEM_TEMP_UNIT = MCU:1\n", 7, kHmMcu, 5},
      {"[System Enclosure]\nSYSTEM_TEMP_UNIT = MCU\n", 7, kHmMcu, 7},
      {"[System Enclosure]\nSYSTEM_TEMP_UNIT = EC\n", 7, kHmEc, 2},
      {"[System IO]\nREDUNDANT_POWER_2 = I2C:0x59\n", 11, kHmI2c, 2},
      {"[System IO]\nREDUNDANT_POWER_1 = EC\n", 10, kHmEc, 0},
      {"[System Enclosure]\nENV_TEMP_UNIT = I2C:0x4c\n", 17, kHmI2c, 4},
      {"[System Enclosure]\nENV_TEMP_UNIT = SIO\nENV_TEMP3_ID = 9\n", 17, kHmSio, 9},
      {"[System Enclosure]\nENV_TEMP_UNIT = SIO\n", 17, kHmSio, 2},
      {"[System Enclosure]\nENV_TEMP_UNIT = MCU\n", 38, kHmMcu, 38},
      {"[System Enclosure]\nENV_TEMP_UNIT = FOO\n", 15, kHmUnsupported, -1},
      {"[System Enclosure]\nCPU_TEMP_UNIT = EC\n", 3, kHmUnresolved, -1},  // no unit there
      {"[System Enclosure]\n", 0, kHmUnsupported, -1},
  };
  for (const Row& r : rows) {
    model(r.model);
    Slot s = resolve_temp(r.index).slot;
    EXPECT_EQ(s.hm_type, r.hm_type) << r.model << " index " << r.index;
    EXPECT_EQ(s.channel, r.channel) << r.model << " index " << r.index;
  }
}

TEST_F(BoardResolveTest, FanMapReadsUnitsSlotsAndRegions) {
  model(
      "[System FAN]\nFAN_UNIT = sio\nFAN_1 = I3\nFAN_2 = none\n"
      "[CPU FAN]\nFAN_UNIT = EC\nFAN_2 = I8\n"
      "[System FAN Region 2]\nFAN_UNIT = PIC\nFAN_6 = I31\n"
      "[System IO]\nREDUNDANT_POWER_1 = I2C:0x58\nREDUNDANT_POWER_2 = EC\n");
  struct Row {
    int index, hm_type, channel;
  } rows[] = {
      {0, kHmSio, 3},  {1, kHmUnsupported, -1}, {2, kHmUnsupported, -1}, {7, kHmEc, 8},
      {35, kHmPic, 31}, {10, kHmI2c, 1},         {11, kHmEc, 12},         {5, kHmUnresolved, -1},
      {36, kHmUnresolved, -1},
  };
  for (const Row& r : rows) {
    Slot s = resolve_fan(r.index).slot;
    EXPECT_EQ(s.hm_type, r.hm_type) << "fan " << r.index;
    EXPECT_EQ(s.channel, r.channel) << "fan " << r.index;
  }
  EXPECT_EQ(resolve_fan(20).slot.hm_type, kHmUnsupported);  // region 1 not described
  EXPECT_TRUE(traced("root_get_fan_index("));
  EXPECT_TRUE(traced("): System Error.\n"));
  model("[System FAN]\nFAN_UNIT = LM63\nFAN_1 = I1\n");
  EXPECT_EQ(resolve_fan(0).slot.hm_type, kHmUnsupported);
  EXPECT_TRUE(traced("): hm_type = LM63 not implement.\n"));
}

TEST_F(BoardResolveTest, SelectorsCompareWithCaseAndParseWhatTheValueCarries) {
  model(
      "[System IO]\nSTATUS_RED_LED = sio\nSTATUS_GREEN_LED = IOPORT:0x4e4\n"
      "REDUNDANT_POWER_1 = I2C:0x58\nREDUNDANT_POWER_2 = I2C:0x99\nRESET_BUTTON = GPIO:17\n"
      "USB_COPY_BUTTON = EC\n[System Enclosure]\nPWR_RECOVERY_UNIT = ICH\n");
  struct Row {
    Function f;
    bool blink;
    Family family;  // kCount: nothing selected
    int channel;
  } rows[] = {
      {Function::kStatusRedLed, false, Family::kCount, -1},
      {Function::kStatusGreenLed, false, Family::kIoPort, 0x4e4},
      {Function::kStatusGreenLed, true, Family::kCount, -1},
      {Function::kPowerSupply1, false, Family::kI2c, 0x58},
      {Function::kPowerSupply2, false, Family::kI2c, -1},
      {Function::kResetButton, false, Family::kGpio, 17},
      {Function::kUsbCopyButton, false, Family::kEc, -1},
      {Function::kPowerRecovery, false, Family::kIch, -1},
      {Function::kLedBrightness, false, Family::kSio, -1},  // missing key: the Super I/O
      {Function::kPowerLed, false, Family::kCount, -1},
  };
  for (const Row& r : rows) {
    Selection s = select_function(r.f, r.blink);
    std::string name(function_info(r.f).name);
    EXPECT_EQ(s.choice ? s.choice->family : Family::kCount, r.family) << name;
    EXPECT_EQ(s.channel, r.channel) << name;
  }
}

}  // namespace
}  // namespace bayhal::test
