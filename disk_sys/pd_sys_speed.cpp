// pd_sys_get_conn_speed: the link a disk negotiated, the slot's maximum and its own.
#include <string>
#include <string_view>

#include "disk_sys/pd_sys.h"
#include "enc_sys/enc_kind.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

// "6.0 Gbps" (libata), "12.0 Gbit" (SAS), "8.0 GT/s PCIe" (PCI) to a code.
int rate_code(std::string_view text) {
  auto v = parse_number(text.substr(0, text.find('.')));
  if (!v) return kLinkUnknown;
  std::string_view frac = text.find('.') == std::string_view::npos
                              ? std::string_view()
                              : text.substr(text.find('.') + 1, 1);
  bool gt = text.find("GT/s") != std::string_view::npos;
  if (gt) {
    switch (*v) {
      case 2: return kPcie2_5GT;
      case 5: return kPcie5GT;
      case 8: return kPcie8GT;
      case 16: return kPcie16GT;
      case 32: return kPcie32GT;
      default: return kLinkUnknown;
    }
  }
  switch (*v) {
    case 1: return frac == "5" ? kSata1_5G : kLinkUnknown;
    case 3: return kSata3G;
    case 6: return kSata6G;
    case 12: return kSas12G;
    case 22: return kSas22_5G;
    default: return kLinkUnknown;
  }
}

int usb_code(long long mbps) {
  if (mbps >= 20000) return kUsb20G;
  if (mbps >= 10000) return kUsb10G;
  if (mbps >= 5000) return kUsb5G;
  if (mbps >= 480) return kUsb480M;
  if (mbps > 0) return kUsb12M;
  return kLinkUnknown;
}

// "DISK_DEFAULT_MAX_LINK_SPEED" of the enclosure's section; 0 when not given.
int default_max(std::string_view enc) {
  const EncKindRow* kind = enc_kind_of(enc);
  return model::default_max_link_speed(kind != nullptr && kind->speed_section != nullptr
                                           ? kind->speed_section
                                           : enc_kind_row(EncKind::kRoot).speed_section);
}

// The nearest folder above `path` whose name satisfies `pred`.
template <typename Pred>
std::string ancestor(std::string path, Pred pred) {
  while (!path.empty() && path != "/") {
    path = path.substr(0, path.rfind('/'));
    if (pred(path.substr(path.rfind('/') + 1))) return path;
  }
  return {};
}

bool digits_dash(const std::string& n) {  // a USB device "2-3" or "2-1.4"
  size_t dash = n.find('-');
  return dash != std::string::npos && dash > 0 && n.find(':') == std::string::npos &&
         index_after(n.substr(0, dash), "") >= 0;
}

}  // namespace

int pd_sys_get_conn_speed(const char* enc_sys_id, const char* pd_sys_id, int* link_speed,
                          int* max_link_speed, int* pd_max_link_speed) {
  if (enc_sys_id == nullptr || pd_sys_id == nullptr) return -1;
  std::string block = sysfs_resolve(std::string("/sys/class/block/") + pd_sys_id);
  if (block.empty()) return -1;
  int link = kLinkUnknown, slot_max = kLinkUnknown, own_max = kLinkUnknown;
  if (std::string ed = ancestor(block, [](const std::string& n) {
        return n.rfind("end_device-", 0) == 0;
      });
      !ed.empty()) {
    std::string port = ed.substr(0, ed.rfind('/'));
    for (const auto& e : sysfs_list(port)) {
      if (e.rfind("phy-", 0) != 0) continue;
      std::string phy = port + "/" + e + "/sas_phy/" + e;
      link = rate_code(sysfs_read(phy + "/negotiated_linkrate").value_or(""));
      slot_max = rate_code(sysfs_read(phy + "/maximum_linkrate_hw").value_or(""));
      own_max = rate_code(sysfs_read(phy + "/maximum_linkrate").value_or(""));
      break;
    }
  } else if (std::string ata = ancestor(block, [](const std::string& n) {
               return index_after(n, "ata") >= 0;
             });
             !ata.empty()) {
    std::string n = ata.substr(ata.rfind('/') + 4);
    std::string lnk = ata + "/link" + n + "/ata_link/link" + n;
    link = rate_code(sysfs_read(lnk + "/sata_spd").value_or(""));
    slot_max = rate_code(sysfs_read(lnk + "/hw_sata_spd_limit").value_or(""));
  } else if (std::string usb = ancestor(block, digits_dash); !usb.empty()) {
    link = usb_code(sysfs_read_int(usb + "/speed").value_or(0));
    std::string hub = ancestor(usb, [](const std::string& n) { return index_after(n, "usb") >= 0; });
    slot_max = usb_code(sysfs_read_int(hub + "/speed").value_or(0));
    own_max = link;
  } else if (std::string pci = ancestor(block, [](const std::string& n) {
               return n.size() == 12 && n[4] == ':' && n[7] == ':' && n[10] == '.';
             });
             !pci.empty()) {
    link = rate_code(sysfs_read(pci + "/current_link_speed").value_or(""));
    own_max = rate_code(sysfs_read(pci + "/max_link_speed").value_or(""));
    slot_max = own_max;
  }
  if (int d = default_max(enc_sys_id); d > 0) slot_max = d;
  if (link_speed) *link_speed = link;
  if (max_link_speed) *max_link_speed = slot_max;
  // Keep what the disk said of itself (IDENTIFY) when sysfs has nothing better.
  if (pd_max_link_speed && (own_max != kLinkUnknown || *pd_max_link_speed == 0))
    *pd_max_link_speed = own_max != kLinkUnknown ? own_max : slot_max;
  return 0;
}

}  // namespace bayhal
