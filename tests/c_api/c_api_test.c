/* Compiled as C99 against every public header and linked with libbayhal.so: the interface is
   plain C, its names resolve from C, and a C caller drives the store (Ini_Conf_*), the
   enclosure registry (SE_*) and the disk registry (PD_*) on a system root of its own, the way
   the appliance's daemons do. Bad arguments get -1, never a crash. */
#define _XOPEN_SOURCE 700
#include <bayhal/bayhal.h>
#include <errno.h>
#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

static int failures = 0;
static char root[64];

#define CHECK(cond)                                               \
  do {                                                            \
    if (!(cond)) {                                                \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                 \
    }                                                             \
  } while (0)

/* Writes `text` to the appliance path `path` under the root, making its folders. */
static void put(const char *path, const char *text) {
  char full[512];
  char *slash;
  FILE *f;
  snprintf(full, sizeof full, "%s%s", root, path);
  for (slash = strchr(full + strlen(root) + 1, '/'); slash != NULL; slash = strchr(slash + 1, '/')) {
    *slash = '\0';
    if (mkdir(full, 0755) != 0 && errno != EEXIST) ++failures;
    *slash = '/';
  }
  f = fopen(full, "w");
  if (f == NULL) {
    ++failures;
    return;
  }
  fputs(text, f);
  fclose(f);
}

static int remove_entry(const char *path, const struct stat *st, int flag, struct FTW *ftw) {
  (void)st;
  (void)flag;
  (void)ftw;
  return remove(path);
}

static void store(void) {
  const char *file = "/etc/config/c_caller.conf";
  char buf[32];
  int value = 0;
  CHECK(Ini_Conf_Set_Field(file, "Disk", "name", "first disk") > 0);
  CHECK(Ini_Conf_Get_Field(file, "Disk", "name", buf, (int)sizeof buf) > 0);
  CHECK(strcmp(buf, "first disk") == 0);
  CHECK(Ini_Conf_Set_Field_Int(file, "Disk", "port", 0x1f, 1) > 0);
  CHECK(Ini_Conf_Get_Field_Int(file, "Disk", "port", &value, 1) > 0 && value == 0x1f);
  CHECK(Ini_Conf_Bitmap_Set_Bit(file, "Index", "bitmap", 40) >= 0);
  CHECK(Ini_Conf_Bitmap_Is_Bit_Set(file, "Index", "bitmap", 40) == 1);
  CHECK(Ini_Conf_Bitmap_Is_Bit_Set(file, "Index", "bitmap", 41) == 0);
  CHECK(Ini_Conf_Remove_Field(file, "Disk", "name") >= 0);
  CHECK(Ini_Conf_Get_Field(file, "Disk", "name", buf, (int)sizeof buf) <= 0);
  /* Bad arguments are refused. */
  CHECK(Ini_Conf_Get_Field(NULL, "Disk", "port", buf, (int)sizeof buf) < 0);
  CHECK(Ini_Conf_Get_Field(file, "Disk", "port", NULL, 8) < 0);
  CHECK(Ini_Conf_Set_Field(file, "Disk", "bad=key", "x") < 0);
}

static void enclosures(void) {
  int ids[8];
  int n;
  char model[64];
  put("/etc/model.conf",
      "[System Enclosure]\nVENDOR = Bay\nMODEL = C-4\nMAX_DISK_NUM = 4\nCAP = 0x0\n");
  CHECK(SE_Sys_Attach("root", 0) == 0);
  n = SE_Enumerate(ids, 8, NULL, NULL);
  CHECK(n == 1 && ids[0] == 0);
  CHECK(SE_Is_Exist(0) == 1);
  CHECK(SE_Get_Model(0, model, (int)sizeof model) == 0 && strcmp(model, "C-4") == 0);
  CHECK(SE_Get_PD_Port_Num(0) == 4);
  CHECK(SE_Get_Protocol(0) == SE_PROTOCOL_ROOT);
  /* Unknown identities and ids, null buffers. */
  CHECK(SE_Sys_Attach("no_such_kind", 0) < 0);
  CHECK(SE_Sys_Attach(NULL, 0) < 0);
  CHECK(SE_Is_Exist(17) == 0);
  CHECK(SE_Get_Model(0, NULL, 8) < 0);
}

static void disks(void) {
  int major = -1;
  int minor = -1;
  char name[32];
  PD_INFO info;
  /* The kernel's block-device table, as sysfs shows it. */
  put("/sys/class/block/sdb/dev", "8:16\n");
  put("/sys/dev/block/8:16/uevent", "MAJOR=8\nMINOR=16\nDEVNAME=sdb\nDEVTYPE=disk\n");
  CHECK(PD_Get_Dev_No_By_Sys_Name("/dev/sdb", &major, &minor) == 0 && major == 8 && minor == 16);
  CHECK(PD_Get_Sys_Name_By_Dev_No(8, 16, name, (int)sizeof name) == 0);
  CHECK(strcmp(name, "/dev/sdb") == 0);
  CHECK(PD_Is_In_Root(0) == 1);
  put("/etc/disk_wwn_blacklist.list", "# vendor | model\nACME | Brick*\n");
  CHECK(Disk_Is_WWN_Blacklisted("ACME", "Brick 2000") == 1);
  CHECK(Disk_Is_WWN_Blacklisted("ACME", "Feather") == 0);
  /* No such disk: a clear failure, nothing registered. */
  CHECK(PD_Sys_Attach("root", "sdz") < 0);
  CHECK(PD_Get_Info(0, 1, &info) < 0);
  CHECK(PD_Get_Info(0, 1, NULL) < 0);
  CHECK(PD_Get_Dev_No_By_Sys_Name(NULL, &major, &minor) < 0);
  CHECK(PD_Get_Dev_No_By_Sys_Name("/dev/../etc", &major, &minor) < 0);
}

int main(void) {
  unsigned char bytes[3] = {0x0a, 0xff, 0x10};
  char hex[7];
  strcpy(root, "/tmp/bayhal_c_api_XXXXXX");
  if (mkdtemp(root) == NULL || setenv("HAL_ROOT", root, 1) != 0) return 2;

  num_to_ascii(bytes, 3, hex, (int)sizeof hex);
  CHECK(strcmp(hex, "0AFF10") == 0);
  CHECK(ERR_TRACE(HAL_TRACE_ENTRY, "%s: c caller\n", "c_api_test") == 0);
  CHECK(hal_get_last_uptime("/nonexistent/uptime") == 0);
  /* The folders an appliance has; the store creates files, not folders. */
  put("/etc/config/.keep", "");
  put("/tmp/.keep", "");
  put("/var/lock/.keep", "");
  store();
  enclosures();
  disks();

  nftw(root, remove_entry, 16, FTW_DEPTH | FTW_PHYS);
  printf("%s\n", failures == 0 ? "c_api_test: ok" : "c_api_test: FAILED");
  return failures == 0 ? 0 : 1;
}
