// The LEDs of a disk slot (bay), on the Linux interface that drives them:
//  - a bay on an AHCI port: the libata enclosure-management LED message of the port's SCSI
//    host ("/sys/class/scsi_host/hostN/em_message", when its "em_message_type" lists "led");
//    fault and locate bits, and the activity LED; the host keeps the last message, which is
//    read back;
//  - an NVMe bay in a PCIe hot-plug slot: the slot's attention indicator
//    ("/sys/bus/pci/slots/*/attention", the slot matched by the controller's PCI address):
//    on for a fault, blinking for locate; the slot reports it back;
//  - a bay of an expansion unit with enclosure services: the SES element control, which
//    needs the enclosure-services page layer (not built: the documented failure);
//  - anything else has no LED path: -1, and the route says why.
#pragma once
#include <string>

namespace bayhal {

enum class SlotLed : int { kFault, kIdent, kPresent, kActive };

enum class SlotLedPath : int { kNone, kAhciEm, kPciSlot, kSes };

struct SlotLedRoute {
  SlotLedPath path = SlotLedPath::kNone;
  std::string attribute;  // the attribute written (appliance path); empty without one
  std::string where;      // "host2", "PCI slot m2a", the unit's identity
  bool reads_back = false;
  std::string why;        // no path, or a path that cannot light every LED: the reason
};

// How the LEDs of bay `port` of enclosure `enc_sys_id` are driven.
SlotLedRoute pd_sys_slot_led_route(const char* enc_sys_id, int port);
// Whether the route can light `led`.
bool slot_led_offered(const SlotLedRoute& route, SlotLed led);
// What the hardware reports for `led`: 1 on, 0 off; -1 when it cannot be read.
int pd_sys_get_slot_led(const char* enc_sys_id, int port, SlotLed led);

int pd_sys_set_err_led(const char* enc_sys_id, int port, int on);
int pd_sys_set_ident_led(const char* enc_sys_id, int port, int on);
int pd_sys_set_present_led(const char* enc_sys_id, int port, int on);
int pd_sys_set_active_led(const char* enc_sys_id, int port, int on);
// Bit p of `ports` is bay p; -1 when any bay fails (the others are still set).
int pd_sys_set_err_leds(const char* enc_sys_id, unsigned long long ports, int on);
int pd_sys_set_present_leds(const char* enc_sys_id, unsigned long long ports, int on);

}  // namespace bayhal
