/* bayhal GPIO family: the front panel's LEDs, buttons, buzzer and locate actions, and the
   disk-slot LEDs.

   Every function takes the enclosure id (0 is the appliance) unless it says otherwise and
   returns 0 on success, -1 on failure; the button and cover queries return the state (1
   pressed / open, 0 not) or -1. LED states: 0 off, anything else on (or blinking, for the
   _BLINK forms). Status LED numbers: 0 red, 1 green, 2 both (blink only). */
#ifndef BAYHAL_GPIO_H
#define BAYHAL_GPIO_H

#ifdef __cplusplus
extern "C" {
#endif

/* Status-LED events of GPIO_Set_NAS_Status_LED, by the group that steers the LED. */
#define GPIO_EVENT_GREEN_OFF_FIRST 0x40000 /* green off, above everything else */
#define GPIO_EVENT_BOTH_BLINK 0x000F0      /* both LEDs blinking */
#define GPIO_EVENT_FORMATTING 0x80         /* counted: one per disk being formatted */
#define GPIO_EVENT_RED 0x0F000             /* red steady */
#define GPIO_EVENT_RED_BLINK 0x00F00       /* red blinking */
#define GPIO_EVENT_GREEN_BLINK 0x0000F     /* green blinking */
#define GPIO_EVENT_GREEN_BLINK_THEN_BOTH 0x2 /* green blinking, both after five seconds */
#define GPIO_EVENT_GREEN_OFF 0xF0000       /* green off */
#define GPIO_EVENT_EXCLUSIVE 0x20000       /* replaces the whole bitmap */

/* Ident (locate) action bits. */
#define GPIO_IDENT_LED 0x1     /* the enclosure's ident LED */
#define GPIO_IDENT_BUZZER 0x2  /* "/sbin/hal_tool buzzer_locate on" */
#define GPIO_IDENT_LCM 0x4     /* "/sbin/hal_tool lcm_locate on" */
#define GPIO_IDENT_SPEAKER 0x8 /* "/sbin/hal_tool speaker_locate on [voice]" */

int GPIO_Enable_Status_LED(int enc_id, int led, int state);
int GPIO_Enable_Status_LED_BLINK(int enc_id, int led, int state);
int GPIO_Enable_Power_LED(int enc_id, int state);
int GPIO_Enable_Power_LED_BLINK(int enc_id, int state);
int GPIO_Enable_Standby_LED(int enc_id, int state);
int GPIO_Enable_USB_LED(int enc_id, int state);
int GPIO_Enable_USB_LED_BLINK(int enc_id, int state);
int GPIO_Enable_Breath_LED(int enc_id, int state);
int GPIO_Enable_BREATHING_LED(int enc_id, int state);
int GPIO_Enable_BREATHING_LED_BLINK(int enc_id, int state);
int GPIO_Enable_10G_Present_LED(int enc_id, int state);
/* The expansion-unit-connected LED. */
int GPIO_Enable_EXP_Present_LED(int enc_id, int state);

/* Dimmable boards (SE_Get_LED_BV_Ctrl_Capability kind 1): brightness 0..100. */
int GPIO_Set_LED_Brightness(int enc_id, int percent);
int GPIO_Enable_LED_In_Night_Mode(int enc_id, int state);

int GPIO_Does_Eject_Button_Press(int enc_id);
int GPIO_Does_Copy_Button_Press(int enc_id);
int GPIO_Does_Reset_Button_Press(int enc_id);
int GPIO_Does_Case_Cover_Open(int enc_id);
/* Supply 1 or 2: *status 0 good, -1 failed. */
int GPIO_Get_Power_Status(int enc_id, int supply, int *status);

/* Switches on the actions whose bits are set and off the active ones whose bits are clear
   (0 ends every locate action). Speaker voice: GPIO_Enable_Ident_Action_Voice. */
int GPIO_Enable_Ident_Action(int enc_id, int actions);
/* The same with the speaker's voice prompt number (negative: the default prompt). */
int GPIO_Enable_Ident_Action_Voice(int enc_id, int actions, int voice);
/* The active action bits, or -1. */
int GPIO_Get_Ident_Action(int enc_id);

/* Disk-slot LEDs of bay `port_id` (1..) of the enclosure; the bitmap forms take bit p for
   bay p (1..63). A bay whose hardware offers no path for the LED answers -1 (the capability
   query says why). */
#define GPIO_HDD_LED_ERR 0x1
#define GPIO_HDD_LED_IDENT 0x2
#define GPIO_HDD_LED_PRESENT 0x4
#define GPIO_HDD_LED_ACTIVE 0x8
#define GPIO_HDD_LED_READ_BACK 0x100 /* their state can be read back */
int GPIO_Enable_HDD_ERR_LED(int enc_id, int port_id, int state);
int GPIO_Enable_HDD_ERR_LEDS(int enc_id, unsigned long long port_bitmap, int state);
int GPIO_Enable_HDD_Ident_LED(int enc_id, int port_id, int state);
int GPIO_Enable_HDD_Present_LED(int enc_id, int port_id, int state);
int GPIO_Enable_HDD_Present_LEDS(int enc_id, unsigned long long port_bitmap, int state);
int GPIO_Enable_HDD_Active_LED(int enc_id, int port_id, int state);
/* The LEDs of the bay its hardware can light (GPIO_HDD_LED_* bits, 0 for none); `how`
   (may be null) receives what drives them ("AHCI em_message of host2", "PCIe slot m2a
   attention", ...) or why nothing does. -1 when the enclosure cannot be looked up. */
int GPIO_Get_HDD_LED_Capability(int enc_id, int port_id, char *how, int size);
/* One LED (a GPIO_HDD_LED_* bit) as the hardware reports it: 1 on, 0 off, -1 unknown. */
int GPIO_Get_HDD_LED(int enc_id, int port_id, int led);

/* GPIO_Set_NAS_Status_LED: records `event` as set (status non-zero) or clear in the event
   bitmap of "/var/ledvalue" and drives the appliance's status LED from it. Event 0 clears
   every event. */
int GPIO_Set_NAS_Status_LED(int event, int status);

#ifdef __cplusplus
}
#endif

#endif
