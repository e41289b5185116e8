// Exported record access: SE_Get_Info, status and the JBOD-series tests.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

using namespace bayhal;

BAYHAL_EXPORT int SE_Get_Info(int enc_id, SE_ENC_INFO* info) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %p).\n", __func__, enc_id,
            static_cast<void*>(info));
  return se_read_conf(enc_id, info, true);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Status(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  auto v = enc_get_int(enc_id, "status");
  return v ? static_cast<int>(*v) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Set_Status(int enc_id, int status) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, status);
  return enc_set_text(__func__, enc_id, "status", std::to_string(status));
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Protocol(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  auto v = enc_get_int(enc_id, "protocol");
  return v ? static_cast<int>(*v) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Is_PX_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return SE_Get_Protocol(enc_id) == SE_PROTOCOL_PX;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Is_MV_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  auto model = enc_get_text(enc_id, "model");
  return model && model->rfind("MV-", 0) == 0 ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Is_External_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return SE_Is_PX_JBOD(enc_id) || SE_Is_MV_JBOD(enc_id) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Is_Removing(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return SE_Get_Status(enc_id) == SE_STATUS_REMOVING ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)
