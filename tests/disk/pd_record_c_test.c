/* Compiled as C99: the disk record is plain C and keeps the layout other components copy.
   The layout is checked at compile time: a wrong offset or size makes an array of negative
   size whose name names the field. */
#include <bayhal/PD.h>
#include <stddef.h>
#include <stdio.h>

#define AT(field, offset) \
  typedef char layout_check_##field[offsetof(PD_INFO, field) == (offset) ? 1 : -1]
#define SIZE(field, size) \
  typedef char size_check_##field[sizeof(((PD_INFO *)0)->field) == (size) ? 1 : -1]

typedef char layout_check_record[sizeof(PD_INFO) == 464 ? 1 : -1];
AT(port_id, 0);
AT(att_phy_id, 4);
AT(pd_sys_id, 8);
AT(enc_sys_id, 40);
AT(pd_sys_name, 72);
AT(pd_ctrl_name, 104);
AT(pd_bus_name, 136);
AT(wwn, 168);
AT(wwn_len, 204);
AT(type, 208);
AT(form, 212);
AT(link_speed, 216);
AT(max_link_speed, 220);
AT(pd_max_link_speed, 224);
AT(read_speed, 228);
AT(vendor, 260);
AT(model, 292);
AT(serial_no, 333);
AT(revision, 366);
AT(protocol_ver, 384);
AT(status, 388);
AT(capabilities, 392);
AT(sector_size, 396);
AT(capacity, 400);
AT(rotation_speed, 408);
AT(hw_raid_disk_bitmap, 412);
AT(hw_raid_spare_bitmap, 416);
AT(hw_raid_type, 420);
AT(pd_driver_name, 424);
AT(adapter_kind, 456);
SIZE(wwn, 36);
SIZE(model, 41);
SIZE(serial_no, 33);
SIZE(revision, 16);
SIZE(capacity, 8);

int main(void) {
  int ok = PD_GLOBAL_ID(2, 5) == 0x20005 && PD_GLOBAL_ID(1, 0x1ffff) == 0x1ffff;
  printf("%s\n", ok ? "pd_record_c_test: ok" : "pd_record_c_test: PD_GLOBAL_ID wrong");
  return ok ? 0 : 1;
}
