#include "disk_sys/root_slots.h"

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/comm_sys.h"
#include "disk_sys/pd_sys.h"
#include "enc_sys/enc_kind.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

constexpr const char* kFn = "enumerate_pd_in_root_enclosure";

// Member k of slot n: 1000 * n + k; the slot itself for k 0 of a plain slot.
int member_port(int slot, int k) { return 1000 * slot + k; }

// The first disk of slot n is port n; further disks of the same slot (a port multiplier,
// the LUNs of a card reader) are its members 1000 * n + k.
void add(std::vector<SlotHit>& out, int port, const std::vector<FoundDisk>& disks) {
  for (size_t k = 0; k < disks.size(); ++k) {
    int id = k == 0 ? port : member_port(port, static_cast<int>(k));
    out.push_back({id, disks[k]});
  }
}

// A plain slot: DEV_BUS and DEV_PORT (both required) on a controller.
std::vector<FoundDisk> plain_slot(const model::SlotDesc& s, int n, bool use_switch, bool all_targets) {
  if (s.dev_bus.empty() || s.dev_port_text.empty() || s.dev_port < 0) return {};
  int switch_port = use_switch ? s.switch_port : -1;
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):Disk %d:%s:%d\n", kFn, __LINE__, n, s.dev_bus.c_str(),
            s.dev_port);
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):PCI DEV Domain = %d\n", kFn, __LINE__, s.domain);
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):PCI Switch Port = %d\n", kFn, __LINE__, switch_port);
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):Bridge bus = %s\n", kFn, __LINE__, s.bridge_bus.c_str());
  std::string ctrl = resolve_controller(s.domain, s.dev_bus, s.bridge_bus, switch_port,
                                        model::disk_drv_type() == model::kDrvM2);
  if (ctrl.empty()) return {};
  return lookup_in_controller(ctrl, s.dev_port, all_targets);
}

// Slots of one kind: "<prefix> n", sub-sections "<sub_prefix> n-d" when MULTI_DEVICE is set.
void slots_of(std::vector<SlotHit>& out, const char* prefix, const char* sub_prefix,
              bool use_switch, bool all_targets) {
  for (int n : model::slot_numbers(prefix)) {
    auto s = model::read_slot(std::string(prefix) + " " + std::to_string(n));
    if (!s) continue;
    if (s->multi > 0 && sub_prefix != nullptr) {
      for (int d = 1; d <= s->multi && d <= 4; ++d) {
        auto sub = model::read_slot(std::string(sub_prefix) + " " + std::to_string(n) + "-" +
                             std::to_string(d));
        if (!sub) continue;
        for (const auto& disk : plain_slot(*sub, n, use_switch, false))
          out.push_back({member_port(n, d - 1), disk});
      }
      continue;
    }
    add(out, n, plain_slot(*s, n, use_switch, all_targets));
  }
}

std::vector<FoundDisk> block_in(const std::string& dir) {
  std::vector<FoundDisk> out;
  for (const auto& b : sysfs_list(dir + "/block")) {
    FoundDisk d;
    d.name = b;
    out.push_back(d);
  }
  return out;
}

// get_virtio_device: the virtio disk of PCI function DEV_BUS, or of "virtio<DEV_PORT>".
std::vector<FoundDisk> get_virtio_device(const model::SlotDesc& s) {
  if (!s.dev_bus.empty()) {
    std::string pci = sysfs_resolve(comm_sys_get_path_from_c_dev_bus(s.domain, s.dev_bus));
    if (pci.empty()) return {};
    std::string v = comm_sys_search_partial_filename(pci, "virtio");
    return v.empty() ? std::vector<FoundDisk>{} : block_in(pci + "/" + v);
  }
  if (s.dev_port < 0) return {};
  return block_in("/sys/bus/virtio/devices/virtio" + std::to_string(s.dev_port));
}

// get_xenvbd_device: the disk of Xen virtual block device DEV_PORT ("vbd-51712").
std::vector<FoundDisk> get_xenvbd_device(const model::SlotDesc& s) {
  if (s.dev_port < 0) return {};
  return block_in("/sys/bus/xen/devices/vbd-" + std::to_string(s.dev_port));
}

void system_disks(std::vector<SlotHit>& out, const char* slots) {
  int drv = model::disk_drv_type();
  if (drv != model::kDrvVirtio && drv != model::kDrvXenvbd && drv != model::kDrvUsb) {
    slots_of(out, slots, slots, true, false);
    return;
  }
  for (int n : model::slot_numbers(slots)) {
    auto s = model::read_slot(slots, n);
    if (!s) continue;
    if (drv == model::kDrvVirtio)
      add(out, n, get_virtio_device(*s));
    else if (drv == model::kDrvXenvbd)
      add(out, n, get_xenvbd_device(*s));
    else if (!s->dev_bus.empty())
      add(out, n, usb_slot_disks(*s, false));
  }
}

void usb_ports(std::vector<SlotHit>& out, const char* slots) {
  for (int n : model::slot_numbers(slots)) {
    auto s = model::read_slot(slots, n);
    if (!s) continue;
    if (s->multi > 0) {
      for (int d = 1; d <= s->multi && d <= 4; ++d) {
        auto sub = model::read_slot(std::string(slots) + " " + std::to_string(n) + "-" +
                                    std::to_string(d));
        if (!sub || sub->dev_bus.empty()) continue;
        for (const auto& disk : usb_slot_disks(*sub, true))
          out.push_back({member_port(n, d - 1), disk});
      }
      continue;
    }
    if (!s->dev_bus.empty()) add(out, n, usb_slot_disks(*s, true));
  }
}

void mmc_ports(std::vector<SlotHit>& out, const char* slots) {
  for (int n : model::slot_numbers(slots)) {
    auto s = model::read_slot(slots, n);
    if (!s || s->dev_bus.empty()) continue;
    std::string ctrl = resolve_controller(s->domain, s->dev_bus, s->bridge_bus, -1, false);
    if (ctrl.empty()) continue;
    std::vector<FoundDisk> disks;
    for (const auto& host : sysfs_list(ctrl + "/mmc_host"))
      for (const auto& card : sysfs_list(ctrl + "/mmc_host/" + host))
        if (card.rfind(host + ":", 0) == 0) {
          auto b = block_in(ctrl + "/mmc_host/" + host + "/" + card);
          disks.insert(disks.end(), b.begin(), b.end());
        }
    add(out, n, disks);
  }
}

void pcie_slot(std::vector<SlotHit>& out, int slot) {
  auto desc = model::pcie_slot(slot);
  if (!desc || desc->slot.dev_bus.empty()) return;
  const model::SlotDesc* s = &desc->slot;
  std::string ctrl = resolve_controller(s->domain, s->dev_bus, s->bridge_bus, s->switch_port, false);
  if (ctrl.empty()) return;
  std::string nvme = comm_sys_get_pcie_nvme_name(ctrl);
  if (!nvme.empty()) {
    FoundDisk d;
    d.name = comm_sys_get_nvme_disk_name(ctrl, nvme);
    out.push_back({1, d});
    return;
  }
  std::vector<FoundDisk> disks;
  for (int port : controller_ports(ctrl)) {
    auto found = lookup_in_controller(ctrl, port);
    disks.insert(disks.end(), found.begin(), found.end());
  }
  if (disks.empty()) disks = disks_below(ctrl);  // the last resort: anything below the card
  // A place in this list is no slot: the disk store allocates their ids.
  for (const FoundDisk& d : disks) out.push_back({-1, d});
}

}  // namespace

std::vector<FoundDisk> usb_slot_disks(const model::SlotDesc& s, bool with_bridge) {
  std::string bridge = with_bridge ? s.bridge_bus : std::string();
  std::string ctrl = resolve_controller(s.domain, s.dev_bus, bridge, s.switch_port, false);
  if (ctrl.empty()) return {};
  if (!s.dev_port_text.empty())
    return lookup_usb_ports(ctrl, comm_sys_get_each_usb_port(s.dev_port_text), s.in_hub,
                            s.hub_port, 0);
  std::vector<FoundDisk> out;
  const std::pair<const std::optional<model::UsbConnection>*, int> variants[] = {
      {&s.ssp, 6}, {&s.ss, 4}, {&s.ns, 3}};
  for (const auto& [conn, cls] : variants) {
    if (!conn->has_value()) continue;
    auto found = lookup_usb_ports(ctrl, comm_sys_get_each_usb_port((*conn)->ports),
                                  (*conn)->in_hub, (*conn)->hub_port, cls);
    out.insert(out.end(), found.begin(), found.end());
  }
  return out;
}

std::vector<FoundDisk> enumerate_pd_in_iscsi_enclousre() {
  std::vector<FoundDisk> out;
  for (const auto& session : sysfs_list("/sys/class/iscsi_session")) {
    std::string dev = sysfs_resolve("/sys/class/iscsi_session/" + session + "/device");
    if (dev.empty()) continue;
    auto found = disks_below(dev);
    out.insert(out.end(), found.begin(), found.end());
  }
  return out;
}

std::vector<SlotHit> root_enclosure_disks(std::string_view enc) {
  std::vector<SlotHit> out;
  const EncKindRow* kind = enc_kind_of(enc);
  if (kind == nullptr) return out;
  const char* slots = kind->slot_prefix;
  switch (kind->kind) {
    case EncKind::kRoot:
      system_disks(out, slots);
      break;
    case EncKind::kOdd:
      // The sub-sections of optical slots carry the system-disk name.
      slots_of(out, slots, enc_kind_row(EncKind::kRoot).slot_prefix, false, false);
      break;
    case EncKind::kEsata:
      slots_of(out, slots, nullptr, false, true);
      break;
    case EncKind::kCache:
      slots_of(out, slots, slots, false, false);
      break;
    case EncKind::kUsbPorts:
      usb_ports(out, slots);
      break;
    case EncKind::kMmc:
      mmc_ports(out, slots);
      break;
    case EncKind::kPcieSlot:
      if (int slot = index_after(enc, kind->name); slot > 0) pcie_slot(out, slot);
      break;
    case EncKind::kIscsi: {
      // Logins come and go in any order: the disk store allocates their ids (capped at the
      // enclosure's disk count), not their place in the session list.
      for (const FoundDisk& d : enumerate_pd_in_iscsi_enclousre()) out.push_back({-1, d});
      break;
    }
    case EncKind::kBoot: {
      char name[32] = {};
      if (pd_sys_get_boot_disk(name, sizeof name) == 0) {
        FoundDisk d;
        d.name = name;
        out.push_back({1, d});
      }
      break;
    }
    default:
      break;
  }
  return out;
}

int comm_sys_get_root_nvme_port_id(std::string_view pd_sys_id) {
  for (const auto& hit : root_enclosure_disks(enc_kind_name(EncKind::kRoot)))
    if (hit.disk.name == pd_sys_id) return hit.port_id;
  return -1;
}

}  // namespace bayhal
