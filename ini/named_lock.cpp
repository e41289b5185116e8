#include "ini/named_lock.h"

#include "bayhal/ERR_TRACE.h"

namespace bayhal::ini {

NamedLock::NamedLock(const char* who, const char* file, bool tidy)
    : who_(who), file_(file), lock_(Ini_Conf_Write_Lock_File(file)), tidy_(tidy) {
  if (lock_ == nullptr) ERR_TRACE(HAL_TRACE_ERROR, "%s: can't lock %s\n", who_, file_);
}

NamedLock::~NamedLock() {
  if (lock_ == nullptr) return;
  bool removable = tidy_ && MVC_Lock_File_Removable_After_Unlock(lock_) == 1;
  Ini_Conf_Unlock_File(lock_);
  if (removable) Ini_Conf_Remove_LCK_File(file_);
  if (tidy_) ERR_TRACE(HAL_TRACE_INFO, "%s(%d): Free Config Write Lock Done for %s\n", who_, __LINE__, file_);
}

}  // namespace bayhal::ini
