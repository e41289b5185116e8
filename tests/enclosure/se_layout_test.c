/* Compiled as C99: the enclosure record keeps its layout, since records are copied whole
   between processes and back-ends keep data at fixed places inside them. A wrong offset or
   size makes an array of negative size whose name names the field. */
#include <bayhal/SE.h>
#include <stddef.h>
#include <stdio.h>

#define AT(field, offset) \
  typedef char layout_check_##field[offsetof(SE_ENC_INFO, field) == (offset) ? 1 : -1]
#define SIZE(field, size) \
  typedef char size_check_##field[sizeof(((SE_ENC_INFO *)0)->field) == (size) ? 1 : -1]

typedef char layout_check_record[sizeof(SE_ENC_INFO) == 1544 ? 1 : -1];
AT(enc_id, 0);
AT(enc_parent_sys_id, 8);
AT(enc_sys_id, 44);
AT(wwn, 140);
AT(model, 205);
AT(revision, 279);
AT(conn_status, 296);
AT(sas_address, 400);
AT(backend_area, 408);
AT(status, 1432);
AT(capabilities, 1436);
AT(region_max_fan_num, 1480);
AT(link_err_type, 1536);
SIZE(conn_status, 9 * sizeof(((SE_ENC_INFO *)0)->conn_status[0]));
SIZE(revision, 17);

int main(void) {
  puts("se_layout_test: ok");
  return 0;
}
