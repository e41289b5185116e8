// What the registries ask of SCSI Enclosure Services and SAS management (SMP): the SES
// device and bsg node of a SAS-attached enclosure, SAS addresses and link rates, phy
// control, connectors, and the reboot of SAS enclosures.
//
// Until the SES layer implements an operation it answers -1 with the
// "%s(%d): enc_sys_id = %s not implement.\n" trace.
#pragma once
#include <cstdint>

#include "foundation/seam.h"

namespace bayhal {

class SesServices {
 public:
  virtual ~SesServices() = default;

  virtual int se_sys_get_real_enc_sys_id(const char* enc_sys_id, char* buf, int size);
  virtual int pd_sys_get_bsg_name_by_sg(const char* sg_name, char* buf, int size);
  virtual int se_sys_get_root_sas_address(const char* real_sys_id, uint64_t* address);
  virtual int se_sys_set_reboot(const char* enc_sys_id);
  virtual int se_sys_get_connector_status(const char* enc_sys_id, int connector, uint32_t* status);
  virtual int se_sys_set_korv_phys_err_handling_of_ports(const char* enc_sys_id, int enable);
  virtual int se_sys_set_smp_sas_link_rate(const char* bsg_name, int phy, int rate);
  virtual int se_sys_clear_smp_sas_phy_error(const char* bsg_name, int phy);
  virtual int se_sys_control_smp_phy(const char* bsg_name, int phy, int operation);
  virtual int se_sys_get_sas_all_ports_linkrate(int enc_id, int* rates, int count);
  virtual int se_sys_get_sas_address(int enc_id, uint64_t* address);
  virtual int se_sys_discover_exp();
};

// The services in force (the pending defaults unless a back-end or a test installed others).
SesServices& ses_services();
// Installs `s` (not owned); nullptr restores the defaults.
void set_ses_services(SesServices* s);
using ScopedSesServices = ScopedSeam<SesServices, set_ses_services>;

}  // namespace bayhal
