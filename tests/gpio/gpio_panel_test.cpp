// The GPIO_* members over a Super I/O board: each reaches the pin its key names; the
// enclosure lookup and the ident actions.
#include <functional>

#include "bayhal/GPIO.h"
#include "tests/gpio/gpio_fixture.h"

namespace bayhal {
namespace {

using Led = sim::SuperIoModel::Led;

class GpioPanelTest : public test::GpioTest {
 protected:
  GpioPanelTest() {
    sio.attach_to(bus);
    describe(
        "[System Enclosure]\nSIO_DEVICE = IT87\n[System IO]\nPOWER_LED = SIO:50\n"
        "FRONT_USB_LED = SIO:51\nSTANDBY_LED = SIO:52\nIDENT_LED = SIO:53\n10G_LED = SIO:54\n"
        "JBOD_CONNECT_LED = SIO:55\nSTATUS_RED_LED = SIO:56\nSTATUS_GREEN_LED = SIO:57\n"
        "RESET_BUTTON = SIO:60\nUSB_COPY_BUTTON = SIO:61\nEJECT_BUTTON = SIO:62\n"
        "CASE_COVER = SIO:63\nREDUNDANT_POWER_1 = SIO:64\n");
  }
  sim::SuperIoModel sio{sim::SuperIoModel::Chip::kIt87};
};

TEST_F(GpioPanelTest, EachLedReachesItsPin) {
  struct Row {
    std::function<int()> call;
    int pin;
    Led led;
  } rows[] = {
      {[] { return GPIO_Enable_Power_LED(0, 1); }, 50, Led::kOn},
      {[] { return GPIO_Enable_Power_LED_BLINK(0, 1); }, 50, Led::kBlink1},
      {[] { return GPIO_Enable_USB_LED(0, 1); }, 51, Led::kOn},
      {[] { return GPIO_Enable_USB_LED_BLINK(0, 1); }, 51, Led::kBlink1},
      {[] { return GPIO_Enable_Standby_LED(0, 1); }, 52, Led::kOn},
      {[] { return GPIO_Enable_10G_Present_LED(0, 1); }, 54, Led::kOn},
      {[] { return GPIO_Enable_EXP_Present_LED(0, 1); }, 55, Led::kOn},
      {[] { return GPIO_Enable_EXP_Present_LED(0, 0); }, 55, Led::kOff},
      {[] { return GPIO_Enable_Status_LED(0, 0, 1); }, 56, Led::kOn},
      {[] { return GPIO_Enable_Status_LED_BLINK(0, 1, 1); }, 57, Led::kBlink1},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(r.call(), 0) << r.pin;
    EXPECT_EQ(sio.led(r.pin), r.led) << r.pin;
  }
  EXPECT_EQ(GPIO_Enable_Breath_LED(0, 1), -1);  // no FRONT_BREATH_LED
  EXPECT_EQ(GPIO_Enable_Power_LED(5, 1), -1);   // no enclosure 5
}

TEST_F(GpioPanelTest, ButtonsCoverAndSupplyReadTheirLines) {
  EXPECT_EQ(GPIO_Does_Reset_Button_Press(0), 0);
  sio.press(60, true);
  sio.press(62, true);
  sio.press(63, true);  // the cover switch pulls its line low while open
  EXPECT_EQ(GPIO_Does_Reset_Button_Press(0), 1);
  EXPECT_EQ(GPIO_Does_Copy_Button_Press(0), 0);
  EXPECT_EQ(GPIO_Does_Eject_Button_Press(0), 1);
  EXPECT_EQ(GPIO_Does_Case_Cover_Open(0), 1);
  int status = 9;
  EXPECT_EQ(GPIO_Get_Power_Status(0, 1, &status), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(GPIO_Get_Power_Status(0, 2, &status), -1);  // not described
  EXPECT_EQ(GPIO_Does_Reset_Button_Press(3), -1);
}

TEST_F(GpioPanelTest, IdentActionsSwitchOnAndOffWhatTheyStarted) {
  root.stand_in("/sbin/hal_tool");
  EXPECT_EQ(GPIO_Enable_Ident_Action(0, GPIO_IDENT_LED | GPIO_IDENT_BUZZER), 0);
  EXPECT_EQ(sio.led(53), Led::kOn);
  EXPECT_EQ(GPIO_Get_Ident_Action(0), GPIO_IDENT_LED | GPIO_IDENT_BUZZER);
  EXPECT_EQ(GPIO_Enable_Ident_Action_Voice(0, GPIO_IDENT_SPEAKER, 3), 0);
  EXPECT_EQ(sio.led(53), Led::kOff);
  EXPECT_EQ(GPIO_Get_Ident_Action(0), GPIO_IDENT_SPEAKER);
  EXPECT_EQ(GPIO_Enable_Ident_Action(0, 0), 0);
  EXPECT_EQ(GPIO_Get_Ident_Action(0), 0);
  EXPECT_EQ(root.calls("hal_tool"), (std::vector<std::string>{"buzzer_locate on", "buzzer_locate off",
                                                              "speaker_locate on 3", "speaker_locate off"}));
  // A tool that fails leaves its action off and says so.
  root.stand_in("/sbin/hal_tool", "", 1);
  EXPECT_EQ(GPIO_Enable_Ident_Action(0, GPIO_IDENT_LCM), -1);
  EXPECT_EQ(GPIO_Get_Ident_Action(0), 0);
}

}  // namespace
}  // namespace bayhal
