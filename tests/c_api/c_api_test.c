/* Compiled as C99 against every public header and linked with libbayhal.so: proves the
   interface is plain C and that the exported names resolve from C. */
#include <bayhal/bayhal.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  unsigned char bytes[3] = {0x0a, 0xff, 0x10};
  char hex[7];
  int failures = 0;
  num_to_ascii(bytes, 3, hex, (int)sizeof hex);
  if (strcmp(hex, "0AFF10") != 0) {
    fprintf(stderr, "num_to_ascii gave %s\n", hex);
    ++failures;
  }
  if (ERR_TRACE(HAL_TRACE_ENTRY, "%s: c caller\n", "c_api_test") != 0) {
    fprintf(stderr, "ERR_TRACE failed\n");
    ++failures;
  }
  if (hal_get_last_uptime("/nonexistent/uptime") != 0) {
    fprintf(stderr, "missing uptime file not 0\n");
    ++failures;
  }
  printf("%s\n", failures == 0 ? "c_api_test: ok" : "c_api_test: FAILED");
  return failures == 0 ? 0 : 1;
}
