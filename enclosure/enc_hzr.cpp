#include "enclosure/enc_hzr.h"

#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enc_sys/private_backends.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_store.h"
#include "foundation/text.h"
#include "mcu/mcu_services.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

constexpr int kMaxExtPorts = model::kMaxMinisasPorts;

int pcie_slot_count() {
  return model::max_pcie_slot();
}

std::string pair_text(int a, int b) { return std::to_string(a) + ":" + std::to_string(b); }

std::string ext_port_key(int n) { return "ext_port_" + std::to_string(n); }

void push_host_name(int jbod_id) {
  char sys_id[32];
  if (se_lookup_sys_id(jbod_id, sys_id, sizeof sys_id) < 0) return;
  std::string name = conf_get_text(kSysdefConf, "System", "Server Name").value_or("");
  name = std::string(first_line(name));
  if (mcu_services().se_sys_set_host_name(sys_id, name.c_str(), static_cast<int>(name.size())) < 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s: fail to set hostname %s to %s!\n", __func__, name.c_str(),
              sys_id);
}

}  // namespace

void hzr_link_all_ext_ports() {
  for (int slot = 1; slot <= pcie_slot_count(); ++slot) {
    char hzr[32] = {};
    int card = se_sys_find_hzr_by_pcie_slot(slot, hzr, sizeof hzr);
    if (card < 0) continue;
    int enc_ids[kMaxExtPorts], enc_ports[kMaxExtPorts];
    int ports = se_sys_scan_ext_port(hzr, enc_ids, enc_ports, kMaxExtPorts);
    for (int n = 1; n <= ports && n <= kMaxExtPorts; ++n) {
      int jbod = enc_ids[n - 1], jbod_port = enc_ports[n - 1];
      Ini_Conf_Set_Field(enc_disk_conf(card).c_str(), kIndex, ext_port_key(n).c_str(),
                         pair_text(jbod, jbod_port).c_str());
      if (jbod < 0) continue;
      Ini_Conf_Set_Field(enc_disk_conf(jbod).c_str(), kIndex, ext_port_key(jbod_port).c_str(),
                         pair_text(card, n).c_str());
      push_host_name(jbod);
    }
  }
}

void hzr_unlink_enclosure(int enc_id) {
  for (int slot = 1; slot <= pcie_slot_count(); ++slot) {
    char hzr[32] = {};
    int card = se_sys_find_hzr_by_pcie_slot(slot, hzr, sizeof hzr);
    if (card < 0) continue;
    auto desc = model::pcie_slot(slot);
    int ports = desc ? desc->minisas_port_count : 0;
    std::string store = enc_disk_conf(card);
    for (int n = 1; n <= ports; ++n) {
      auto link = conf_get_text(store.c_str(), kIndex, ext_port_key(n).c_str());
      int linked = -1, port = -1;
      if (!link || std::sscanf(link->c_str(), "%d:%d", &linked, &port) != 2 || linked != enc_id)
        continue;
      ERR_TRACE(HAL_TRACE_INFO, "%s: Found enc_id %d in %s. Remove it\n", __func__, enc_id,
                store.c_str());
      Ini_Conf_Set_Field(store.c_str(), kIndex, ext_port_key(n).c_str(), "-1:-1");
    }
  }
}

}  // namespace bayhal
