// Which Linux interface drives a bay's LEDs: from the bay's slot in the model description to
// its controller, then to the controller's PCIe hot-plug slot or its port's SCSI host.
#include <string>

#include "disk_sys/comm_sys.h"
#include "disk_sys/root_lookup.h"
#include "disk_sys/slot_leds.h"
#include "enc_sys/enc_kind.h"
#include "enc_sys/sas_expander.h"
#include "foundation/sysfs.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

constexpr char kPciSlots[] = "/sys/bus/pci/slots";

SlotLedRoute none(std::string why) {
  SlotLedRoute r;
  r.why = std::move(why);
  return r;
}

// The hot-plug slot holding the PCI function `address` ("0000:02:00.0"); a slot's "address"
// names the device without its function.
std::string pci_slot_of(const std::string& address) {
  std::string device = address.substr(0, address.rfind('.'));
  for (const auto& slot : sysfs_list(kPciSlots))
    if (sysfs_read(std::string(kPciSlots) + "/" + slot + "/address") == device) return slot;
  return {};
}

SlotLedRoute pci_slot_route(const std::string& slot) {
  SlotLedRoute r;
  r.where = "PCI slot " + slot;
  r.attribute = std::string(kPciSlots) + "/" + slot + "/attention";
  if (!sysfs_exists(r.attribute)) return none(r.where + " has no attention indicator");
  r.path = SlotLedPath::kPciSlot;
  r.reads_back = true;
  r.why = "the attention indicator serves fault (on) and locate (blinking) only";
  return r;
}

SlotLedRoute ahci_route(int host) {
  SlotLedRoute r;
  std::string dir = "/sys/class/scsi_host/host" + std::to_string(host);
  r.where = "host" + std::to_string(host);
  auto type = sysfs_read(dir + "/em_message_type");
  if (!type) return none(r.where + " has no enclosure management");
  if (type->find("led") == std::string::npos)
    return none(r.where + "'s enclosure management takes no LED messages (" + *type + ")");
  r.path = SlotLedPath::kAhciEm;
  r.attribute = dir + "/em_message";
  r.reads_back = true;
  r.why = "the LED message carries fault, locate and activity, no present LED";
  return r;
}

// The PCI function of the bay's device: the controller when present; for an empty bay the
// function that appears behind the slot's bridge (an M.2 or U.2 bay names its root port).
std::string bay_function(const model::SlotDesc& slot, const std::string& ctrl) {
  if (!ctrl.empty()) return ctrl.substr(ctrl.rfind('/') + 1);
  std::string bus = comm_sys_get_pci_bus(sysfs_resolve(comm_sys_get_path_from_c_dev_bus(slot.domain, slot.dev_bus)));
  return bus.empty() ? slot.pci_address() : bus + ":00.0";
}

SlotLedRoute appliance_bay(const EncKindRow& kind, int port) {
  if (kind.slot_prefix == nullptr) return none("its bays have no slot LEDs");
  auto slot = model::read_slot(kind.slot_prefix, port);
  if (!slot || slot->dev_bus.empty())
    return none("bay " + std::to_string(port) + " is not described");
  std::string ctrl = resolve_controller(slot->domain, slot->dev_bus, slot->bridge_bus,
                                        slot->switch_port, model::disk_drv_type() == model::kDrvM2);
  std::string function = bay_function(*slot, ctrl);
  if (std::string s = pci_slot_of(function); !s.empty()) return pci_slot_route(s);
  if (ctrl.empty()) return none("its controller " + function + " is not present");
  if (!comm_sys_get_pcie_nvme_name(ctrl).empty())
    return none("NVMe controller " + function + " sits in no PCIe hot-plug slot");
  int host = ahci_port_host(ctrl, slot->dev_port);
  if (host < 0) return none("its controller " + function + " is not AHCI");
  return ahci_route(host);
}

}  // namespace

SlotLedRoute pd_sys_slot_led_route(const char* enc_sys_id, int port) {
  if (enc_sys_id == nullptr || port < 1) return none("no such bay");
  if (const EncKindRow* kind = enc_kind_of(enc_sys_id); kind != nullptr) {
    if (kind->appliance) return appliance_bay(*kind, port);
    return none("no LED path for this kind of enclosure");
  }
  if (find_sas_expander(enc_sys_id)) {
    SlotLedRoute r;
    r.path = SlotLedPath::kSes;
    r.where = enc_sys_id;
    r.why = "enclosure-services element control is not built";
    return r;
  }
  return none("unknown enclosure");
}

bool slot_led_offered(const SlotLedRoute& route, SlotLed led) {
  switch (route.path) {
    case SlotLedPath::kAhciEm: return led != SlotLed::kPresent;
    case SlotLedPath::kPciSlot: return led == SlotLed::kFault || led == SlotLed::kIdent;
    case SlotLedPath::kSes:
    case SlotLedPath::kNone: return false;
  }
  return false;
}

}  // namespace bayhal
