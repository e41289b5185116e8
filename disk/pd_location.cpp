// Where a disk sits: in the appliance, its cache enclosures, a front USB port, behind SAS.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_query.h"
#include "disk_sys/disk_backend.h"
#include "enc_sys/enc_kind.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "model/model_keys.h"

namespace {

constexpr int kRootEncId = 0;

// A "root_usb" port is a front port when its description says so ("FRONT_PORT" = 1 in
// section "Usb Port <n>" of the model description); which ports face the front is board data.
bool is_front_usb_port(int port) {
  if (port < 1) return false;
  auto s = bayhal::model::read_slot("Usb Port", port);
  return s && s->front;
}

int sas_answer(const char* fn, int enc_id, int port_id, bool direct) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
  char bus[PD_NAME_LEN];
  if (PD_Get_Bus_Name(enc_id, port_id, bus, sizeof bus) <= 0) return 0;
  int r = direct ? bayhal::disk_backend().attached_to_sas_hba_directly(bus)
                 : bayhal::disk_backend().attached_behind_sas(bus);
  return r == 1 ? 1 : 0;
}

}  // namespace

BAYHAL_EXPORT int PD_Is_In_Root(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return enc_id == kRootEncId ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_In_Root_Cache(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  int cache = bayhal::disk::enc_cache_id();
  return enc_id >= 0 && cache >= 0 && enc_id == cache ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_In_Root_PCIe(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return enc_id >= 0 && bayhal::disk::enc_is_pci_cache(enc_id) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_In_Front_Of_Root_USB(int enc_id, int port_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (enc_id < 0) return 0;
  std::string sys = bayhal::disk::enc_sys_id_of(enc_id);
  if (bayhal::enc_is(sys, bayhal::EncKind::kUsbPorts)) return is_front_usb_port(port_id) ? 1 : 0;
  // A USB unit hanging on the appliance's USB ports: the port of its parent decides.
  if (bayhal::enc_is(bayhal::disk::enc_parent_sys_id(enc_id), bayhal::EncKind::kUsbPorts))
    return is_front_usb_port(bayhal::disk::enc_parent_port_id(enc_id)) ? 1 : 0;
  return 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_Attached_Behind_SAS(int enc_id, int port_id) try {
  return sas_answer(__func__, enc_id, port_id, false);
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Check_Attach_To_SAS_HBA_Directly(int enc_id, int port_id) try {
  return sas_answer(__func__, enc_id, port_id, true);
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Get_SR_Mode(int enc_id, int port_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (enc_id < 0 || port_id < 0) return -1;
  return bayhal::disk_backend().sr_mode(enc_id, port_id);
} BAYHAL_C_BOUNDARY(-1)
