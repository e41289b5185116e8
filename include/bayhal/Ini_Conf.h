/* bayhal configuration store: INI files shared between processes.
 *
 * Every call is atomic across processes and threads: readers take no lock, writers replace
 * the file by write-temporary-then-rename under the file's exclusive lock. Files under
 * /etc/config are fsync'ed before the rename. Paths are absolute and resolved under the
 * system root. Results: above 0 means success/found unless a function says otherwise.
 */
#ifndef BAYHAL_INI_CONF_H
#define BAYHAL_INI_CONF_H

#ifdef __cplusplus
extern "C" {
#endif

/* Copies the value, truncated to buf_size - 1 bytes plus terminator. Above 0 when found,
   0 or below when file, section or key is missing (buf then untouched). */
int Ini_Conf_Get_Field(const char *file, const char *section, const char *key, char *buf,
                       int buf_size);
/* Creates file, section and key as needed. Above 0 on success, negative on failure. */
int Ini_Conf_Set_Field(const char *file, const char *section, const char *key,
                       const char *value);
/* hex 1: hexadecimal text (0x prefix optional); 0: decimal. Above 0 when found; *value is
   untouched when missing or unparsable. */
int Ini_Conf_Get_Field_Int(const char *file, const char *section, const char *key, int *value,
                           int hex);
/* Writes "0x%x" (hex 1) or "%d" (hex 0). Above 0 on success. */
int Ini_Conf_Set_Field_Int(const char *file, const char *section, const char *key, int value,
                           int hex);
/* Negative on failure; removing a missing key is not a failure. */
int Ini_Conf_Remove_Field(const char *file, const char *section, const char *key);
/* 0 or more on success. */
int Ini_Conf_Remove_Section(const char *file, const char *section);

/* Bitmaps of arbitrary length stored as text in one key. 0 on success, negative on error. */
int Ini_Conf_Bitmap_Set_Bit(const char *file, const char *section, const char *key, int bit);
int Ini_Conf_Bitmap_Reset_Bit(const char *file, const char *section, const char *key, int bit);
/* Non-zero when set, 0 when clear or missing. */
int Ini_Conf_Bitmap_Is_Bit_Set(const char *file, const char *section, const char *key, int bit);
/* Lowest clear bit >= start into *bit; with claim 1 it is set in the same locked step.
   0 on success, negative on error. */
int Ini_Conf_Bitmap_Get_Next_Free_Bit(const char *file, const char *section, const char *key,
                                      int *bit, int start, int claim);
/* Number of set bits (0 when missing). */
int Ini_Conf_Bitmap_Get_Set_Count(const char *file, const char *section, const char *key);

/* Callback for Ini_Conf_Bitmap_Enumerate: return 0 to store the bit, non-zero to skip it. */
typedef int (*Ini_Conf_Bitmap_Callback)(int bit, void *arg);
/* Visits set bits in ascending order; stores a bit in `bits` (up to capacity) when the
   callback returned 0 or there is none. Returns the number stored. */
int Ini_Conf_Bitmap_Enumerate(const char *file, const char *section, const char *key,
                              int *bits, int capacity, Ini_Conf_Bitmap_Callback callback,
                              void *arg);

/* Opaque lock handle. */
typedef struct Ini_Conf_Lock INI_CONF_LOCK;
/* Blocking exclusive write lock of a store file; NULL on failure. The holder may still get
   and set keys of that file. */
INI_CONF_LOCK *Ini_Conf_Write_Lock_File(const char *file);
/* Releases and frees the handle. 0 on success. */
int Ini_Conf_Unlock_File(INI_CONF_LOCK *lock);
/* Before unlocking: 1 when no other process waits, so the lock file may be deleted. */
int MVC_Lock_File_Removable_After_Unlock(INI_CONF_LOCK *lock);
/* Deletes the lock file of the store `file`. 0 on success. */
int Ini_Conf_Remove_LCK_File(const char *file);

#ifdef __cplusplus
}
#endif

#endif
