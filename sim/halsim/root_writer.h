// Brings a system root to the state of an appliance just powered on: what a reboot clears is
// cleared (the live registries in /etc, /tmp, /var/run, the kernel's trees), what persists
// is kept (/etc/config, the logs), the firmware's files are written for the scenario and the
// external programs are replaced by recording stand-ins.
#pragma once
#include <string>

#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {

// The programs the library runs, each replaced by a stand-in that appends its arguments as
// one line to "<root>/calls/<name>.log" (the convention of the tests' SandboxRoot); but
// "/sbin/sedutil-cli" is the Opal stand-in program (sim/sedutil) when it is built beside
// halsim, so the drives of the scenario answer as self-encrypting drives do.
extern const char* const kStandIns[];

// Checks that `root` can be used: an absolute directory other than "/", created if missing.
// Returns the normalised path, or empty with `error` set.
std::string prepare_root(const std::string& root, std::string& error);

// Clears what does not survive a reboot. Never touches anything outside `root`.
void clear_volatile(const std::string& root);
// "/etc/model.conf", "/etc/platform.conf", "/etc/config/sysdef.conf" (only when missing:
// it is the owner's settings), the folders the library expects.
void write_firmware_files(const std::string& root, const Scenario& sc);
void install_stand_ins(const std::string& root);

// Host path of a program's recorded calls.
std::string calls_log(const std::string& root, const std::string& program);

}  // namespace bayhal::sim::halsim
