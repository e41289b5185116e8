// The private interface's register-level view of the board's chips (bayhal_tool.h).
#include "board/drivers/ec/ec.h"
#include "board/drivers/sio/sio.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "tools/tool_api/bayhal_tool.h"

BAYHAL_EXPORT int bayhal_tool_ec_get_reg(unsigned reg, unsigned char* value) try {
  if (reg > 0xFFFF || value == nullptr) return -1;
  return bayhal::ec_sys_get_internal_reg(static_cast<uint16_t>(reg), value);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_ec_set_reg(unsigned reg, unsigned char value) try {
  if (reg > 0xFFFF) return -1;
  return bayhal::ec_sys_set_internal_reg(static_cast<uint16_t>(reg), value);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_ec_fw_version(char* buf, int size) try {
  if (buf == nullptr || size <= 0) return -1;
  return bayhal::ec_sys_get_fw_version(buf, static_cast<size_t>(size));
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_sio_chip_id(unsigned* id) try {
  if (id == nullptr) return -1;
  uint16_t v = 0;
  int rc = bayhal::sio_sys_get_chip_id(&v);
  *id = v;
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_sio_gpio(int pin, int set, int* value) try {
  if (set >= 0) return bayhal::sio_sys_set_gpio_val(pin, set);
  return value ? bayhal::sio_sys_get_gpio_val(pin, value) : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_sio_blink(int pin, int engine) try {
  return bayhal::sio_sys_blink_gpio(pin, engine);
} BAYHAL_C_BOUNDARY(-1)
