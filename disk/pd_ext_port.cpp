#include "disk/pd_ext_port.h"

#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_fields.h"
#include "disk_sys/disk_backend.h"
#include "ini/ini_store.h"
#include "model/model_keys.h"

namespace bayhal::disk {

namespace {

constexpr int kLanesPerPort = 4;

std::string ext_port_key(int n) { return "ext_port_" + std::to_string(n); }

std::string pair_text(int a, int b) { return std::to_string(a) + ":" + std::to_string(b); }

void set_ext_port(const std::string& file, int n, const std::string& value) {
  if (ini::write_keys(file, kIndex, {{ext_port_key(n), value}}) != 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Set_Field(%s, %s, %s, %s) error!\n", __func__,
              __LINE__, file.c_str(), kIndex, ext_port_key(n).c_str(), value.c_str());
}

// The mini-SAS port (from 0) of the card whose lanes lead to `pd_sys_id`, or -1.
int find_card_port(int pcie_slot, std::string_view pd_sys_id) {
  auto slot = model::pcie_slot(pcie_slot);
  if (!slot || slot->slot.dev_bus.empty()) return -1;
  const std::string& bus = slot->slot.dev_bus;
  int domain = slot->slot.domain;
  HzrCardDescription card;
  if (disk_backend().hzr_card_description(pcie_slot, &card) != 0) return -1;
  for (int p = 0; p < card.minisas_port_count && p < model::kMaxMinisasPorts; ++p) {
    int switch_port = p < static_cast<int>(card.switch_ports.size()) ? card.switch_ports[p] : -1;
    for (int lane = 0; lane < kLanesPerPort; ++lane) {
      int index = card.port_offset + lane + (card.minisas_port_count > 3 ? kLanesPerPort * p : 0);
      char name[PD_NAME_LEN] = {};
      if (disk_backend().lookup_in_pcie_enclosure(domain, bus.c_str(), switch_port, index, name,
                                                  sizeof name) != 0)
        continue;
      if (text_of(name) == pd_sys_id) return p;
    }
  }
  return -1;
}

int group_of(int port_id) { return (port_id - 1) / kLanesPerPort + 1; }

}  // namespace

void pd_link_ext_port(int enc_id, int port_id, const PD_INFO& info, const char* dir) {
  if (port_id < 1) return;
  std::string sys_id = enc_sys_id_of(enc_id);
  int pcie_slot = -1;
  int card_index = -1;
  if (sys_id.empty() ||
      disk_backend().mvs_card_position(sys_id.c_str(), &pcie_slot, &card_index) != 0)
    return;
  char card_sys_id[PD_NAME_LEN];
  std::snprintf(card_sys_id, sizeof card_sys_id, "hzr_%d_%d", pcie_slot, card_index);
  int card_id = enc_id_of(card_sys_id);
  if (card_id < 0) return;
  int p = find_card_port(pcie_slot, text_of(info.pd_sys_id));
  if (p < 0) return;
  int g = group_of(port_id);
  set_ext_port(store_file(enc_id, dir), g, pair_text(card_id, p + 1));
  set_ext_port(store_file(card_id), p + 1, pair_text(enc_id, g));
}

void pd_unlink_ext_port(int enc_id, int port_id) {
  if (port_id < 1 || port_id > PD_SLOT_PORT_ID_MAX) return;
  std::string file = store_file(enc_id);
  int g = group_of(port_id);
  for (int other = (g - 1) * kLanesPerPort + 1; other <= g * kLanesPerPort; ++other) {
    if (other != port_id &&
        Ini_Conf_Bitmap_Is_Bit_Set(file.c_str(), kIndex, kPdBitmap, other))
      return;
  }
  ERR_TRACE(HAL_TRACE_INFO, "%s: update HZR minisas port info!\n", "pd_remove_conf");
  std::vector<int> ids = enc_registered_ids();
  for (int id : ids) {
    if (id > PD_MAX_INTERNAL_ENC_ID || enc_protocol(id) != SE_PROTOCOL_MVS) continue;
    for (int n = 1; n <= kLanesPerPort; ++n) set_ext_port(store_file(id), n, "-1:-1");
  }
  for (int card_id : ids) {
    if (enc_protocol(card_id) != SE_PROTOCOL_HZR) continue;
    std::string card_sys_id = enc_sys_id_of(card_id);
    std::vector<std::pair<int, int>> ports;
    if (card_sys_id.empty() || disk_backend().scan_ext_port(card_sys_id.c_str(), &ports) != 0)
      continue;
    for (size_t i = 0; i < ports.size(); ++i) {
      int n = static_cast<int>(i) + 1;
      auto [unit, unit_port] = ports[i];
      set_ext_port(store_file(card_id), n, pair_text(unit, unit_port));
      if (unit >= 0 && unit_port >= 1) set_ext_port(store_file(unit), unit_port, pair_text(card_id, n));
    }
  }
}

}  // namespace bayhal::disk
