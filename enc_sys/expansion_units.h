// The expansion units the appliance recognises on USB and Thunderbolt, from the data file
// /etc/expansion_units.conf (one section per unit model; see examples/expansion_units.conf):
//
//   [MV-J4 USB]
//   BUS = usb                ; usb or thunderbolt
//   VENDOR_ID = 0x1e4e       ; idVendor (USB) or vendor (Thunderbolt)
//   PRODUCT_ID = 0x0104      ; idProduct (USB) or device (Thunderbolt)
//   VENDOR = Bay             ; optional: else the device's own manufacturer/vendor name
//   MODEL = MV-J4            ; optional: else the device's own product/device name
//   MAX_DISK_NUM = 4
//   CAP = 0x0                ; capability word of the enclosure record
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "bayhal/SE.h"

namespace bayhal {

inline constexpr const char* kExpansionUnitsConf = "/etc/expansion_units.conf";

struct UnitModel {
  std::string bus;
  unsigned vendor_id = 0;
  unsigned product_id = 0;
  std::string vendor;
  std::string model;
  int max_disk_num = 0;
  uint32_t capabilities = 0;
};

// The unit model of the table that matches, or nullopt.
std::optional<UnitModel> find_unit_model(const std::string& bus, unsigned vendor_id,
                                         unsigned product_id);

// A USB device ("usb_<name>", e.g. "usb_2-1.4") or Thunderbolt device ("tb_<name>") that
// the table recognises.
int usb_expander_enumerate(char** names, int capacity);
int usb_expander_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int tb_enclosure_enumerate(char** names, int capacity);
int tb_enclosure_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

// USB units that arrived (listed but not registered), collected by usb_expander_enumerate
// for their arrival message; at most 32.
struct UsbArrival {
  std::string name;
  int vendor_id;
  int product_id;
};
std::vector<UsbArrival>& usb_arrivals();
// Reports one arrival to the event log.
int usb_expander_do_notify_log_early(const UsbArrival& arrival);

}  // namespace bayhal
