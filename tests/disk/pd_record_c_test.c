/* Compiled as C99: the disk record is plain C and keeps the layout other components copy.
   The layout is checked at compile time (a wrong offset makes an array of negative size)
   and again at run time so a failure names the field. */
#include <bayhal/PD.h>
#include <stddef.h>
#include <stdio.h>

#define LAYOUT_CHECK(name, cond) typedef char layout_check_##name[(cond) ? 1 : -1]

LAYOUT_CHECK(size, sizeof(PD_INFO) == 464);
LAYOUT_CHECK(wwn, offsetof(PD_INFO, wwn) == 168);
LAYOUT_CHECK(capacity, offsetof(PD_INFO, capacity) == 400);
LAYOUT_CHECK(adapter_kind, offsetof(PD_INFO, adapter_kind) == 456);

struct field {
  const char *name;
  size_t offset;
  size_t expected;
};

int main(void) {
  static const struct field fields[] = {
      {"port_id", offsetof(PD_INFO, port_id), 0},
      {"att_phy_id", offsetof(PD_INFO, att_phy_id), 4},
      {"pd_sys_id", offsetof(PD_INFO, pd_sys_id), 8},
      {"enc_sys_id", offsetof(PD_INFO, enc_sys_id), 40},
      {"pd_sys_name", offsetof(PD_INFO, pd_sys_name), 72},
      {"pd_ctrl_name", offsetof(PD_INFO, pd_ctrl_name), 104},
      {"pd_bus_name", offsetof(PD_INFO, pd_bus_name), 136},
      {"wwn", offsetof(PD_INFO, wwn), 168},
      {"wwn_len", offsetof(PD_INFO, wwn_len), 204},
      {"type", offsetof(PD_INFO, type), 208},
      {"form", offsetof(PD_INFO, form), 212},
      {"link_speed", offsetof(PD_INFO, link_speed), 216},
      {"max_link_speed", offsetof(PD_INFO, max_link_speed), 220},
      {"pd_max_link_speed", offsetof(PD_INFO, pd_max_link_speed), 224},
      {"read_speed", offsetof(PD_INFO, read_speed), 228},
      {"vendor", offsetof(PD_INFO, vendor), 260},
      {"model", offsetof(PD_INFO, model), 292},
      {"serial_no", offsetof(PD_INFO, serial_no), 333},
      {"revision", offsetof(PD_INFO, revision), 366},
      {"protocol_ver", offsetof(PD_INFO, protocol_ver), 384},
      {"status", offsetof(PD_INFO, status), 388},
      {"capabilities", offsetof(PD_INFO, capabilities), 392},
      {"sector_size", offsetof(PD_INFO, sector_size), 396},
      {"capacity", offsetof(PD_INFO, capacity), 400},
      {"rotation_speed", offsetof(PD_INFO, rotation_speed), 408},
      {"hw_raid_disk_bitmap", offsetof(PD_INFO, hw_raid_disk_bitmap), 412},
      {"hw_raid_spare_bitmap", offsetof(PD_INFO, hw_raid_spare_bitmap), 416},
      {"hw_raid_type", offsetof(PD_INFO, hw_raid_type), 420},
      {"pd_driver_name", offsetof(PD_INFO, pd_driver_name), 424},
      {"adapter_kind", offsetof(PD_INFO, adapter_kind), 456},
  };
  int failures = 0;
  size_t i;
  PD_INFO rec = {0};
  for (i = 0; i < sizeof fields / sizeof fields[0]; ++i) {
    if (fields[i].offset != fields[i].expected) {
      fprintf(stderr, "%s at %lu, expected %lu\n", fields[i].name,
              (unsigned long)fields[i].offset, (unsigned long)fields[i].expected);
      ++failures;
    }
  }
  if (sizeof rec.wwn != 36 || sizeof rec.model != 41 || sizeof rec.serial_no != 33 ||
      sizeof rec.revision != 16 || sizeof rec.capacity != 8) {
    fprintf(stderr, "field sizes changed\n");
    ++failures;
  }
  if (PD_GLOBAL_ID(2, 5) != 0x20005 || PD_GLOBAL_ID(1, 0x1ffff) != 0x1ffff) {
    fprintf(stderr, "PD_GLOBAL_ID wrong\n");
    ++failures;
  }
  printf("%s\n", failures == 0 ? "pd_record_c_test: ok" : "pd_record_c_test: FAILED");
  return failures == 0 ? 0 : 1;
}
