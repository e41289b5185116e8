// Names of a disk shown to people: the slot printed on the chassis, the name event logs
// use, and a short form. Member disks are numbered from 1 in names (their ids count from 0).
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_fields.h"
#include "disk/pd_query.h"
#include "enc_sys/enc_kind.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/text.h"
#include "ini/ini_store.h"
#include "model/model_keys.h"

namespace bayhal::disk {

namespace {

constexpr int kCacheEncId = 23;  // the internal cache enclosure's id

bool is_member(int port_id) { return is_member_id(port_id); }
int member_slot(int port_id) { return port_id / PD_MEMBER_PORT_ID_FACTOR; }
int member_number(int port_id) { return port_id % PD_MEMBER_PORT_ID_FACTOR + 1; }

std::string format(const char* fmt, const std::string& a, int x, int y = 0) {
  char buf[160];
  std::snprintf(buf, sizeof buf, fmt, a.c_str(), x, y);
  return buf;
}

std::string format2(const char* fmt, const std::string& a, const std::string& b, int x = 0) {
  char buf[200];
  std::snprintf(buf, sizeof buf, fmt, a.c_str(), b.c_str(), x);
  return buf;
}

// The board's PCIe slot of a "root_pcie_<n>" enclosure; -1 when unknown.
int pcie_slot_of(const std::string& enc_sys_id) {
  int n = index_after(enc_sys_id, enc_kind_name(EncKind::kPcieSlot));
  return n > 0 ? n : -1;
}

std::string disk_name(const std::string& log, int port_id) {
  if (is_member(port_id))
    return format("%s: Disk %d-%d", log, member_slot(port_id), member_number(port_id));
  return format("%s: Disk %d", log, port_id);
}

std::string slotted_name(const std::string& log, const std::string& slot, int port_id) {
  if (is_member(port_id)) return format2("%s: %s-%d", log, slot, member_number(port_id));
  return format2("%s: %s", log, slot);
}

}  // namespace

std::optional<std::string> slot_name(int enc_id, int port_id) {
  if (enc_id < 0 || port_id < 0) return std::nullopt;
  int slot = is_member(port_id) ? member_slot(port_id) : port_id;
  if (enc_id == 0 || enc_id == kCacheEncId) {
    auto s = model::read_slot(enc_id == 0 ? "System Disk" : "Cache Disk", slot);
    return s ? s->slot_name : std::nullopt;
  }
  int protocol = enc_protocol(enc_id);
  if (protocol == SE_PROTOCOL_MVS) {
    std::string model = enc_model(enc_id);
    auto count = ini::read_section(kModelConf, "External Enclosure");
    long long types = count ? count->get_int("MAX_SUPPORT_TYPE_COUNT").value_or(0) : 0;
    for (long long t = 1; t <= types && t <= 64; ++t) {
      std::string section = "External Type " + std::to_string(t);
      auto s = ini::read_section(kModelConf, section);
      const std::string_view* m = s ? s->find("MODEL") : nullptr;
      if (m == nullptr || *m != model) continue;
      const std::string_view* name = s->find("SLOT_NAME_" + std::to_string(slot));
      if (name != nullptr && !name->empty()) return std::string(*name);
      return std::nullopt;
    }
  }
  // M.2 card units (protocols 9 and 11) name their slots through the card back-end, which
  // this library does not have: they have no slot names here.
  return std::nullopt;
}

std::string log_name(int enc_id, int port_id) {
  std::string log = enc_log_name(enc_id);
  std::string sys = enc_sys_id_of(enc_id);
  int protocol = enc_protocol(enc_id);
  if (enc_id == 0) {
    auto slot = slot_name(enc_id, port_id);
    return slot ? slotted_name(log, *slot, port_id) : disk_name(log, port_id);
  }
  if (enc_id == enc_cache_id()) return format("%s: Internal Cache Module %d", log, port_id);
  if (enc_is_pci_cache(enc_id)) {
    if (protocol == SE_PROTOCOL_ZMC || protocol == SE_PROTOCOL_HZR)
      if (auto slot = slot_name(enc_id, port_id)) return format2("%s: %s", log, *slot);
    int pcie = pcie_slot_of(sys);
    if (pcie < 0) return format("%s: PCIe SSD %d", log, port_id);
    return format("%s: PCIe %d SSD %d", log, pcie, port_id) ;
  }
  if (enc_is(sys, EncKind::kUsbPorts)) {
    auto slot = model::read_slot("Usb Port", port_id);
    int shown = slot && slot->slot_id ? *slot->slot_id : port_id;
    return format("%s port %d", log, shown);
  }
  if (enc_is_internal(enc_id)) return disk_name(log, port_id);
  if (enc_is_external_jbod(enc_id)) {
    if (auto slot = slot_name(enc_id, port_id)) return slotted_name(log, *slot, port_id);
    if (is_virtual_id(port_id))
      return format("%s: RAID Group %d", log, port_id - PD_VIRTUAL_PORT_ID_BASE);
    return format("%s: Disk %d", log, port_id);
  }
  char vendor[PD_NAME_LEN];
  char model[PD_MODEL_LEN];
  if (PD_Get_Vendor(enc_id, port_id, vendor, sizeof vendor) >= 0 &&
      PD_Get_Model(enc_id, port_id, model, sizeof model) >= 0)
    return format2("%s %s", vendor, model);
  return format("%s: Disk %d", log, port_id);
}

}  // namespace bayhal::disk

namespace {

int copy_name(const std::string& name, char* buf, int size) {
  std::snprintf(buf, static_cast<size_t>(size), "%s", name.c_str());
  return 0;
}

bool bad_call(const char* fn, int enc_id, int port_id, char* buf, int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  if (enc_id >= 0 && port_id >= 0 && bayhal::disk::usable_buffer(buf, size)) return false;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: invalid arguments (%d, %d, %p, %d)!\n", fn, enc_id, port_id,
            static_cast<void*>(buf), size);
  return true;
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Slot_Name(int enc_id, int port_id, char* buf, int size) try {
  if (bad_call(__func__, enc_id, port_id, buf, size)) return -1;
  auto name = bayhal::disk::slot_name(enc_id, port_id);
  return name ? copy_name(*name, buf, size) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Log_Name(int enc_id, int port_id, char* buf, int size) try {
  if (bad_call(__func__, enc_id, port_id, buf, size)) return -1;
  // An event log must not name a disk of an enclosure that is not there.
  if (bayhal::disk::enc_sys_id_of(enc_id).empty()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no enclosure %d\n", __func__, enc_id);
    return -1;
  }
  return copy_name(bayhal::disk::log_name(enc_id, port_id), buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Dev_Slot_Name(int enc_id, int port_id, char* buf, int size) try {
  if (bad_call(__func__, enc_id, port_id, buf, size)) return -1;
  if (enc_id == 0) {
    if (auto slot = bayhal::disk::slot_name(enc_id, port_id)) {
      copy_name(*slot, buf, size);
      return 1;
    }
    std::snprintf(buf, static_cast<size_t>(size), "Disk %d", port_id);
    return 0;
  }
  int protocol = bayhal::disk::enc_protocol(enc_id);
  if (bayhal::disk::enc_is_pci_cache(enc_id) && protocol != 9 && protocol != 11) {
    std::string sys = bayhal::disk::enc_sys_id_of(enc_id);
    std::string last = sys.empty() ? std::string() : sys.substr(sys.size() - 1);
    std::snprintf(buf, static_cast<size_t>(size), "PCIe %s SSD %d", last.c_str(), port_id);
    return 0;
  }
  copy_name(bayhal::disk::log_name(enc_id, port_id), buf, size);
  return 0;
} BAYHAL_C_BOUNDARY(-1)
