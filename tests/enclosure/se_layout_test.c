/* Compiled as C99: the enclosure record keeps its layout, since records are copied whole
   between processes and back-ends keep data at fixed places inside them. */
#include <bayhal/SE.h>
#include <stddef.h>
#include <stdio.h>

#define CHECK(expr)                                   \
  do {                                                \
    if (!(expr)) {                                    \
      fprintf(stderr, "layout changed: %s\n", #expr); \
      ++failures;                                     \
    }                                                 \
  } while (0)

int main(void) {
  int failures = 0;
  SE_ENC_INFO info;
  CHECK(sizeof(SE_ENC_INFO) == 1544);
  CHECK(offsetof(SE_ENC_INFO, enc_id) == 0);
  CHECK(offsetof(SE_ENC_INFO, enc_parent_sys_id) == 8);
  CHECK(offsetof(SE_ENC_INFO, enc_sys_id) == 44);
  CHECK(offsetof(SE_ENC_INFO, wwn) == 140);
  CHECK(offsetof(SE_ENC_INFO, model) == 205);
  CHECK(offsetof(SE_ENC_INFO, revision) == 279);
  CHECK(offsetof(SE_ENC_INFO, conn_status) == 296);
  CHECK(offsetof(SE_ENC_INFO, sas_address) == 400);
  CHECK(offsetof(SE_ENC_INFO, backend_area) == 408);
  CHECK(offsetof(SE_ENC_INFO, status) == 1432);
  CHECK(offsetof(SE_ENC_INFO, capabilities) == 1436);
  CHECK(offsetof(SE_ENC_INFO, region_max_fan_num) == 1480);
  CHECK(offsetof(SE_ENC_INFO, link_err_type) == 1536);
  CHECK(sizeof info.conn_status / sizeof info.conn_status[0] == 9);
  CHECK(sizeof info.revision == 17);
  printf("%s\n", failures == 0 ? "se_layout_test: ok" : "se_layout_test: FAILED");
  return failures == 0 ? 0 : 1;
}
