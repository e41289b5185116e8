// The PD_SED_* interface: each operation is its tool command, the text that says it worked
// and what follows it (disk/pd_sed.h has the path they share).
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/pd_query.h"
#include "disk/pd_sed.h"
#include "disk/sed_output.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace {

using namespace bayhal::disk;

void entry(const char* fn, int enc_id, int port_id) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
}

// "--query": the drive's Locking feature line says Y or N for `flag`.
int query_flag(const char* fn, int enc_id, int port_id, const char* flag) {
  entry(fn, enc_id, port_id);
  SedDisk disk(fn, enc_id, port_id);
  if (!disk) return -1;
  SedCommand cmd("--query");
  cmd.device(disk.device());
  SedOutput out;
  if (!disk.run(cmd, 0, out)) return -1;
  int answer = sed_flag(out.text(), flag);
  if (answer >= 0) return disk.answered("query", answer);
  return disk.parse_error(cmd, out.text());
}

// "RLKEna = Y ... WLKEna = Y": 1 when both of a range's flags say Y, 0 when the first says N.
int range_flags(const char* fn, int enc_id, int port_id, int range_id, const char* password,
                const char* read_flag, const char* write_flag) {
  entry(fn, enc_id, port_id);
  SedDisk disk(fn, enc_id, port_id);
  if (!disk.range(range_id, 0) || !disk.secret(password)) return -1;
  SedCommand cmd("--listLockingRanges");
  cmd.secret(password).device(disk.device());
  SedOutput out;
  if (!disk.run(cmd, 0, out)) return -1;
  SedRange r = sed_range(out.text(), disk.device(), range_id);
  int read = r.found ? sed_flag(r.flags, read_flag) : -1, write = r.found ? sed_flag(r.flags, write_flag) : -1;
  if (read == 1 && write == 1) return disk.answered("list range", 1);
  if (read == 0 || write == 0) return disk.answered("list range", 0);
  return disk.parse_error(cmd, out.text());
}

// "--enableLockingRange", "--disableLockingRange": "LockingRange<n> enabled|disabled".
int range_switch(const char* fn, int enc_id, int port_id, int range_id, const char* password, bool on) {
  entry(fn, enc_id, port_id);
  SedDisk disk(fn, enc_id, port_id);
  if (!disk.range(range_id, 0) || !disk.secret(password)) return -1;
  SedCommand cmd(on ? "--enableLockingRange" : "--disableLockingRange");
  cmd.number(range_id).secret(password).device(disk.device());
  std::string success = "LockingRange" + std::to_string(range_id) + (on ? " enabled" : " disabled");
  unsigned steps = kSedLocking | (on ? 0u : unsigned{kSedUnlockTime});
  return disk.change(cmd, steps, success, on ? "enable range" : "disable range");
}

// "--setLockingRange <n> LK|RW": "LockingRange<n> set to LK|RW".
int range_lock(const char* fn, int enc_id, int port_id, int range_id, const char* password, bool lock) {
  entry(fn, enc_id, port_id);
  SedDisk disk(fn, enc_id, port_id);
  if (!disk.range(range_id, 0) || !disk.secret(password)) return -1;
  const char* state = lock ? "LK" : "RW";
  SedCommand cmd("--setLockingRange");
  cmd.number(range_id).arg(state).secret(password).device(disk.device());
  std::string success = "LockingRange" + std::to_string(range_id) + " set to " + state;
  unsigned steps = kSedLocking | (lock ? 0u : unsigned{kSedUnlockTime});
  return disk.change(cmd, steps, success, lock ? "lock range" : "unlock range");
}

// "--setupLockingRange <n> <start> <length>".
int range_setup(SedDisk& disk, int range_id, long long start, long long count,
                const char* password, const char* done) {
  SedCommand cmd("--setupLockingRange");
  cmd.number(range_id).number(start).number(count).secret(password).device(disk.device());
  std::string success = "LockingRange" + std::to_string(range_id) + " starting block " + std::to_string(start) +
                        " for " + std::to_string(count) + " blocks configured as unlocked range";
  return disk.change(cmd, 0, success, done);
}

// The resets: the drive's locking is gone afterwards, so what it can do is asked again.
int factory_reset(const char* fn, int enc_id, int port_id, const char* secret, const char* option,
                  const char* success, const char* done) {
  entry(fn, enc_id, port_id);
  SedDisk disk(fn, enc_id, port_id);
  if (!disk.secret(secret)) return -1;
  SedCommand cmd(option);
  cmd.secret(secret).device(disk.device());
  return disk.change(cmd, kSedLocking | kSedUnlockTime | kSedRescan, success, done);
}

}  // namespace

BAYHAL_EXPORT int PD_SED_Is_Supported(int enc_id, int port_id) try {
  entry(__func__, enc_id, port_id);
  if (enc_id < 0 || port_id < 0) return 0;
  auto caps = get_number(store_file(enc_id), section_for(port_id), "capabilities");
  return caps && (static_cast<unsigned long long>(*caps) & PD_CAP_SED) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_SED_Is_Initialized(int enc_id, int port_id) try {
  return query_flag(__func__, enc_id, port_id, "LockingEnabled");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Is_Locked(int enc_id, int port_id) try {
  return query_flag(__func__, enc_id, port_id, "Locked");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Initialize(int enc_id, int port_id, const char* password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.secret(password)) return -1;
  SedCommand cmd("--initialSetup");
  cmd.secret(password).device(disk.device());
  std::string success = std::string("Initial setup of TPer complete on ") + disk.device();
  return disk.change(cmd, kSedRescan, success, "initial SED");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_MBR_Enable(int enc_id, int port_id, int on, const char* password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.secret(password)) return -1;
  const char* state = on ? "on" : "off";
  SedCommand cmd("--setMBREnable");
  cmd.arg(state).secret(password).device(disk.device());
  return disk.change(cmd, 0, std::string("MBREnable set ") + state, on ? "enable MBR" : "disable MBR");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Display_Range(int enc_id, int port_id, int range_id, const char* password,
                                       long long* start, long long* length) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.range(range_id, 0) || !disk.secret(password)) return -1;
  if (start == nullptr || length == nullptr) {
    sed_event_log(true, "[%s]%s no place for the range given\n", __func__, disk.device());
    return -1;
  }
  SedCommand cmd("--listLockingRanges");
  cmd.secret(password).device(disk.device());
  SedOutput out;
  if (!disk.run(cmd, 0, out)) return -1;
  SedRange r = sed_range(out.text(), disk.device(), range_id);
  if (!r.found) return disk.parse_error(cmd, out.text());
  *start = r.start;
  *length = r.length;
  return disk.answered("display range", 0);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Setup_Range(int enc_id, int port_id, int range_id, long long start,
                                     long long count, const char* password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.range(range_id, 1) || !disk.sectors(start, count) || !disk.secret(password)) return -1;
  return range_setup(disk, range_id, start, count, password, "setup range");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Remove_Range(int enc_id, int port_id, int range_id, const char* password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.range(range_id, 1) || !disk.secret(password)) return -1;
  return range_setup(disk, range_id, 0, 0, password, "remove range");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Range_Is_Enabled(int enc_id, int port_id, int range_id, const char* password) try {
  return range_flags(__func__, enc_id, port_id, range_id, password, "RLKEna", "WLKEna");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Range_Is_Locked(int enc_id, int port_id, int range_id, const char* password) try {
  return range_flags(__func__, enc_id, port_id, range_id, password, "RLocked", "WLocked");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Enable_Range(int enc_id, int port_id, int range_id, const char* password) try {
  return range_switch(__func__, enc_id, port_id, range_id, password, true);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Disable_Range(int enc_id, int port_id, int range_id, const char* password) try {
  return range_switch(__func__, enc_id, port_id, range_id, password, false);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Lock_Range(int enc_id, int port_id, int range_id, const char* password) try {
  return range_lock(__func__, enc_id, port_id, range_id, password, true);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Unlock_Range(int enc_id, int port_id, int range_id, const char* password) try {
  return range_lock(__func__, enc_id, port_id, range_id, password, false);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Change_Password(int enc_id, int port_id, const char* old_password,
                                         const char* new_password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.secret(old_password) || !disk.secret(new_password)) return -1;
  SedCommand cmd("--setAdmin1Pwd");
  cmd.secret(old_password).secret(new_password).device(disk.device());
  return disk.change(cmd, 0, "Admin1 password changed", "change password");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Verify_Password(int enc_id, int port_id, const char* password) try {
  entry(__func__, enc_id, port_id);
  SedDisk disk(__func__, enc_id, port_id);
  if (!disk.secret(password)) return -1;
  SedCommand cmd("--listLockingRanges");
  cmd.secret(password).device(disk.device());
  SedOutput out;
  // The exit status alone decides: the tool's output goes nowhere.
  if (!disk.run(cmd, kSedQuiet, out)) return -1;
  return disk.answered("verify password", 0);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Factory_Reset_With_Password(int enc_id, int port_id, const char* password) try {
  return factory_reset(__func__, enc_id, port_id, password, "--revertNoErase",
                       "revertLockingSP completed successfully", "revert with password");
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SED_Factory_Reset_With_PSID(int enc_id, int port_id, const char* psid) try {
  return factory_reset(__func__, enc_id, port_id, psid, "--yesIreallywanttoERASEALLmydatausingthePSID",
                       "revertTper completed successfully", "revert with PSID");
} BAYHAL_C_BOUNDARY(-1)
