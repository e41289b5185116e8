// A stand-in for sedutil-cli, the TCG Opal tool, installed as "<root>/sbin/sedutil-cli" by
// halsim and the tests. It keeps each drive's Opal state in a file under the same root and
// answers the options the library uses with the tool's own lines: information on standard
// output, errors on standard error, the Opal method status as the exit status. Every run is
// recorded with its arguments hex-encoded (byte for byte), and a run that starts while
// another is inside is recorded as an overlap. A FIFO "<device>.gate" in the state folder
// holds the runs on that device until something writes to it and closes it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "sim/sedutil/opal_drive.h"

namespace {

using bayhal::sim::OpalDrive;
using bayhal::sim::OpalRange;

// Opal method status codes, which the tool returns as its exit status.
constexpr int kNotAuthorized = 0x01;
constexpr int kInvalidParameter = 0x0c;
constexpr int kUnsupportedDisk = 0xff;

std::string g_dir;  // the state folder

std::string state_dir() {
  char exe[4096];
  ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return {};
  std::string path(exe, static_cast<size_t>(n));
  // "<root>/sbin/sedutil-cli": the root is two levels up.
  for (int i = 0; i < 2; ++i) path = path.substr(0, path.rfind('/'));
  return path + bayhal::sim::kOpalStateDir;
}

void record(const std::string& line) {
  int fd = ::open((g_dir + "/" + bayhal::sim::kOpalRunsLog).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  std::string text = line + "\n";
  (void)!::write(fd, text.data(), text.size());
  ::close(fd);
}

std::string device_base(const std::string& device) { return device.substr(device.rfind('/') + 1); }

// Blocks on the device's gate, when there is one, until it is opened for writing and closed.
void pass_gate(const std::string& device) {
  std::string gate = g_dir + "/" + device_base(device) + ".gate";
  struct stat st {};
  if (::stat(gate.c_str(), &st) != 0 || !S_ISFIFO(st.st_mode)) return;
  int fd = ::open(gate.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  char c;
  while (::read(fd, &c, 1) > 0) {
  }
  ::close(fd);
}

struct Run {
  std::vector<std::string> args;  // after the option
  std::string device;
  OpalDrive drive;
};

int fail(int status, const std::string& what) {
  std::fprintf(stderr, "method status code %s\n%s\n", status == kNotAuthorized ? "NOT_AUTHORIZED" : "INVALID_PARAMETER",
               what.c_str());
  return status;
}

// The Admin1 session every locking-SP option opens first.
int admin1_session(const Run& r, const std::string& password) {
  if (!r.drive.locking_active) return fail(kInvalidParameter, "Unable to start session on the inactive Locking SP");
  if (password != r.drive.admin1) return fail(kNotAuthorized, "Session start failed rc = 1");
  return 0;
}

bool parse_range(const std::string& text, int lowest, size_t& out) {
  char* end = nullptr;
  long v = std::strtol(text.c_str(), &end, 10);
  if (end == text.c_str() || *end != '\0' || v < lowest || v > 8) return false;
  out = static_cast<size_t>(v);
  return true;
}

bool parse_u64(const std::string& text, uint64_t& out) {
  char* end = nullptr;
  out = std::strtoull(text.c_str(), &end, 10);
  return end != text.c_str() && *end == '\0' && text[0] != '-';
}

int query(Run& r) {
  const OpalDrive& d = r.drive;
  auto yn = [](bool b) { return b ? "Y" : "N"; };
  std::printf("%s ATA %s %s %s\n", r.device.c_str(), d.model.c_str(), d.firmware.c_str(), d.serial.c_str());
  std::printf("TPer function (0x0001)\n    ACKNAK = N, ASYNC = N. BufferManagement = N, comIDManagement  = N, "
              "Streaming = Y, SYNC = Y\n");
  std::printf("Locking function (0x0002)\n    Locked = %s, LockingEnabled = %s, LockingSupported = Y, MBRDone = %s, "
              "MBREnabled = %s, MediaEncrypt = Y\n",
              yn(d.locked()), yn(d.locking_active), yn(d.mbr_done), yn(d.mbr_enabled));
  std::printf("Opal SSC V2.00 function (0x0203)\n    Range crossing = N, Locking Admins = 4, Locking Users = 9\n");
  return 0;
}

int initial_setup(Run& r) {
  OpalDrive& d = r.drive;
  if (d.owned()) return fail(kNotAuthorized, "takeOwnership failed\nInitial setup failed - unable to take ownership");
  d.sid = d.admin1 = r.args[0];
  d.locking_active = true;
  d.ranges = {};
  d.mbr_done = true;
  d.mbr_enabled = false;
  std::printf("takeOwnership complete\nLocking SP Activate Complete\nLockingRange0 disabled \nLockingRange0 set to RW\n"
              "MBRDone set on \nMBREnable set off \nInitial setup of TPer complete on %s\n",
              r.device.c_str());
  return 0;
}

int set_mbr_enable(Run& r) {
  bool on = r.args[0] == "on";
  if (!on && r.args[0] != "off") return fail(kInvalidParameter, "Invalid setMBREnable argument " + r.args[0]);
  if (int rc = admin1_session(r, r.args[1])) return rc;
  r.drive.mbr_enabled = on;
  std::printf("MBREnable set %s \n", on ? "on" : "off");
  return 0;
}

int list_ranges(Run& r) {
  if (int rc = admin1_session(r, r.args[0])) return rc;
  auto yn = [](bool b) { return b ? " Y " : " N "; };
  std::printf("Locking Range Configuration for %s\n", r.device.c_str());
  for (size_t i = 0; i < r.drive.ranges.size(); ++i) {
    const OpalRange& g = r.drive.ranges[i];
    std::printf("LR%zu Begin %llu for %llu\n", i, static_cast<unsigned long long>(g.start),
                static_cast<unsigned long long>(g.length));
    std::printf("            RLKEna =%s WLKEna =%s RLocked =%s WLocked =%s\n", yn(g.read_lock_enabled),
                yn(g.write_lock_enabled), yn(g.read_locked), yn(g.write_locked));
  }
  return 0;
}

int setup_range(Run& r) {
  size_t n = 0;
  uint64_t start = 0, length = 0;
  if (!parse_range(r.args[0], 1, n) || !parse_u64(r.args[1], start) || !parse_u64(r.args[2], length))
    return fail(kInvalidParameter, "setupLockingRange Failed");
  if (int rc = admin1_session(r, r.args[3])) return rc;
  r.drive.ranges[n] = OpalRange{start, length, false, false, false, false};
  std::printf("LockingRange%zu starting block %llu for %llu blocks configured as unlocked range\n", n,
              static_cast<unsigned long long>(start), static_cast<unsigned long long>(length));
  return 0;
}

int switch_range(Run& r, bool on) {
  size_t n = 0;
  if (!parse_range(r.args[0], 0, n)) return fail(kInvalidParameter, "configureLockingRange Failed");
  if (int rc = admin1_session(r, r.args[1])) return rc;
  r.drive.ranges[n].read_lock_enabled = r.drive.ranges[n].write_lock_enabled = on;
  std::printf("LockingRange%zu %s\n", n, on ? "enabled ReadLocking,WriteLocking" : "disabled ");
  return 0;
}

int set_range(Run& r) {
  size_t n = 0;
  const std::string& state = r.args[1];
  if (!parse_range(r.args[0], 0, n) || (state != "RW" && state != "RO" && state != "LK"))
    return fail(kInvalidParameter, "Invalid locking state for setLockingRange (RW, RO, LK)");
  if (int rc = admin1_session(r, r.args[2])) return rc;
  r.drive.ranges[n].read_locked = state == "LK";
  r.drive.ranges[n].write_locked = state != "RW";
  std::printf("LockingRange%zu set to %s\n", n, state.c_str());
  return 0;
}

int set_admin1(Run& r) {
  if (int rc = admin1_session(r, r.args[0])) return rc;
  r.drive.admin1 = r.args[1];
  std::printf("Admin1 password changed\n");
  return 0;
}

int revert_no_erase(Run& r) {
  if (int rc = admin1_session(r, r.args[0])) return rc;
  r.drive.revert_locking_sp();
  std::printf("revertLockingSP completed successfully\n");
  return 0;
}

int revert_psid(Run& r) {
  if (r.args[0] != r.drive.psid) return fail(kNotAuthorized, "Unable to start session with the PSID authority");
  r.drive.factory_reset();
  std::printf("revertTper completed successfully\n");
  return 0;
}

struct Option {
  const char* name;
  size_t args;  // before the device
  bool changes;
  std::function<int(Run&)> act;
};

const Option kOptions[] = {
    {"--query", 0, false, query},
    {"--initialSetup", 1, true, initial_setup},
    {"--setMBREnable", 2, true, set_mbr_enable},
    {"--listLockingRanges", 1, false, list_ranges},
    {"--setupLockingRange", 4, true, setup_range},
    {"--enableLockingRange", 2, true, [](Run& r) { return switch_range(r, true); }},
    {"--disableLockingRange", 2, true, [](Run& r) { return switch_range(r, false); }},
    {"--setLockingRange", 3, true, set_range},
    {"--setAdmin1Pwd", 2, true, set_admin1},
    {"--revertNoErase", 1, true, revert_no_erase},
    {"--yesIreallywanttoERASEALLmydatausingthePSID", 1, true, revert_psid},
};

std::optional<OpalDrive> load(const std::string& device) {
  std::ifstream in(g_dir + "/" + device_base(device));
  if (!in) return std::nullopt;
  std::stringstream s;
  s << in.rdbuf();
  return bayhal::sim::opal_drive_parse(s.str());
}

bool save(const std::string& device, const OpalDrive& d) {
  // Written through a link, when the state is one, so the drive keeps it wherever it goes.
  std::string path = g_dir + "/" + device_base(device);
  char target[4096];
  ssize_t n = ::readlink(path.c_str(), target, sizeof target - 1);
  if (n > 0) path = target[0] == '/' ? std::string(target, static_cast<size_t>(n))
                                     : g_dir + "/" + std::string(target, static_cast<size_t>(n));
  std::string tmp = path + ".tmp";
  {
    std::ofstream out(tmp, std::ios::trunc);
    out << bayhal::sim::opal_drive_text(d);
    if (!out) return false;
  }
  return ::rename(tmp.c_str(), path.c_str()) == 0;
}

int dispatch(int argc, char** argv) {
  if (argc < 3) return fail(kInvalidParameter, "Invalid command line argument");
  std::string option = argv[1];
  std::string device = argv[argc - 1];
  auto drive = load(device);
  if (option == "--isValidSED") {
    if (drive) std::printf("%s SED -2- %s %s\n", device.c_str(), drive->model.c_str(), drive->firmware.c_str());
    else std::printf("%s NO --- \n", device.c_str());
    return 0;
  }
  for (const Option& o : kOptions) {
    if (option != o.name) continue;
    if (static_cast<size_t>(argc) != o.args + 3) return fail(kInvalidParameter, "Invalid command line argument " + option);
    if (!drive) {
      std::fprintf(stderr, "Invalid or unsupported disk %s\n", device.c_str());
      return kUnsupportedDisk;
    }
    Run r{std::vector<std::string>(argv + 2, argv + argc - 1), device, *drive};
    int rc = o.act(r);
    if (rc == 0 && o.changes && !save(device, r.drive)) return fail(kInvalidParameter, "state not saved");
    return rc;
  }
  return fail(kInvalidParameter, "Invalid command line argument " + option);
}

}  // namespace

int main(int argc, char** argv) {
  g_dir = state_dir();
  std::string line = "begin " + std::to_string(::getpid());
  for (int i = 1; i < argc; ++i) line += " " + bayhal::sim::hex_encode(argv[i]);
  record(line);
  std::string busy = g_dir + "/.busy";
  int mark = ::open(busy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (mark < 0) record("overlap " + std::to_string(::getpid()));
  if (argc > 1) pass_gate(argv[argc - 1]);
  int rc = dispatch(argc, argv);
  std::fflush(stdout);
  record("end " + std::to_string(::getpid()) + " " + std::to_string(rc));
  if (mark >= 0) {
    ::close(mark);
    ::unlink(busy.c_str());
  }
  return rc;
}
