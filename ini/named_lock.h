// The appliance's named lock files ("/tmp/.sed_lock_file", "/tmp/.sed_log_lock"): the
// store's write lock taken on the lock file's own path for one scope, so they share the
// store's protections (nesting within a thread, lock files of other users refused).
#pragma once
#include "bayhal/Ini_Conf.h"

namespace bayhal::ini {

class NamedLock {
 public:
  // Blocks until held; `who` names the holder in traces. With `tidy`, the lock leaves the
  // way the system's long updates do: it asks whether another process waits, unlocks, and
  // deletes the lock file only when none did.
  NamedLock(const char* who, const char* file, bool tidy = false);
  ~NamedLock();
  NamedLock(const NamedLock&) = delete;
  NamedLock& operator=(const NamedLock&) = delete;
  bool ok() const { return lock_ != nullptr; }

 private:
  const char* who_;
  const char* file_;
  INI_CONF_LOCK* lock_;
  bool tidy_;
};

}  // namespace bayhal::ini
