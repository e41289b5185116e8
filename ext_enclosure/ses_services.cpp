// Pending defaults: each operation reports that it is not implemented yet.
#include "ext_enclosure/ses_services.h"

#include <atomic>

#include "foundation/pending.h"

namespace bayhal {
namespace {

SesServices pending_services;
std::atomic<SesServices*> installed{nullptr};

}  // namespace

SesServices& ses_services() {
  SesServices* s = installed.load(std::memory_order_acquire);
  return s != nullptr ? *s : pending_services;
}

void set_ses_services(SesServices* s) { installed.store(s, std::memory_order_release); }

// Names in the trace are the operation's own, as the back-end would print them.

int SesServices::se_sys_get_real_enc_sys_id(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_real_enc_sys_id", __LINE__, enc_sys_id);
}

int SesServices::pd_sys_get_bsg_name_by_sg(const char* sg_name, char* /*buf*/, int /*size*/) {
  return not_implemented("pd_sys_get_bsg_name_by_sg", __LINE__, sg_name);
}

int SesServices::se_sys_get_root_sas_address(const char* real_sys_id, uint64_t* /*address*/) {
  return not_implemented("se_sys_get_root_sas_address", __LINE__, real_sys_id);
}

int SesServices::se_sys_set_reboot(const char* enc_sys_id) {
  return not_implemented("se_sys_set_reboot", __LINE__, enc_sys_id);
}

int SesServices::se_sys_get_connector_status(const char* enc_sys_id, int /*connector*/, uint32_t* /*status*/) {
  return not_implemented("se_sys_get_connector_status", __LINE__, enc_sys_id);
}

int SesServices::se_sys_set_korv_phys_err_handling_of_ports(const char* enc_sys_id, int /*enable*/) {
  return not_implemented("se_sys_set_korv_phys_err_handling_of_ports", __LINE__, enc_sys_id);
}

int SesServices::se_sys_set_smp_sas_link_rate(const char* bsg_name, int /*phy*/, int /*rate*/) {
  return not_implemented("se_sys_set_smp_sas_link_rate", __LINE__, bsg_name);
}

int SesServices::se_sys_clear_smp_sas_phy_error(const char* bsg_name, int /*phy*/) {
  return not_implemented("se_sys_clear_smp_sas_phy_error", __LINE__, bsg_name);
}

int SesServices::se_sys_control_smp_phy(const char* bsg_name, int /*phy*/, int /*operation*/) {
  return not_implemented("se_sys_control_smp_phy", __LINE__, bsg_name);
}

int SesServices::se_sys_get_sas_all_ports_linkrate(int /*enc_id*/, int* /*rates*/, int /*count*/) {
  return not_implemented("se_sys_get_sas_all_ports_linkrate", __LINE__, nullptr);
}

int SesServices::se_sys_get_sas_address(int /*enc_id*/, uint64_t* /*address*/) {
  return not_implemented("se_sys_get_sas_address", __LINE__, nullptr);
}

int SesServices::se_sys_discover_exp() {
  return not_implemented("se_sys_discover_exp", __LINE__, nullptr);
}

}  // namespace bayhal
