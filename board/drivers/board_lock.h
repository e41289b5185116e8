// The two cross-process locks of the board chips. The Super I/O configuration ports and the
// embedded controller's mailbox are shared by every process on the appliance, and an
// index/data pair or a mailbox exchange cut in half by another process addresses the wrong
// register. Each lock is a System V semaphore set of one semaphore, created on first use by
// whichever process comes first and taken with SEM_UNDO, so a holder that dies (even by
// SIGKILL) gives it back.
//
// Keys: 0x483 (Super I/O) and 0x4543 (embedded controller, "EC") at the system root "/".
// Under any other root the key is derived from the root's real path, so sandboxes and
// simulated appliances never share a lock with each other or with the machine
// (docs/board.md).
#pragma once
#include <sys/types.h>

#include <string_view>

namespace bayhal {

enum class BoardLockId { kSio, kEc };

inline constexpr key_t kSioLockKey = 0x483;
inline constexpr key_t kEcLockKey = 0x4543;

// The key of a lock under the current system root.
key_t board_lock_key(BoardLockId id);

// Take (create-or-open, initialise once, semop -1 with SEM_UNDO, three tries) and give
// back. 0, or -1 after "get semaphore fail." at level 1.
int acquire_sio_lock();
int release_sio_lock();
int acquire_ec_lock();
int release_ec_lock();

// Holds a lock for its lifetime. REQUIRES: held() before touching a port.
class BoardLock {
 public:
  explicit BoardLock(BoardLockId id);
  ~BoardLock();
  BoardLock(const BoardLock&) = delete;
  BoardLock& operator=(const BoardLock&) = delete;
  bool held() const { return semid_ >= 0; }

 private:
  int semid_;
};

// Removes the semaphore sets of the current root, or of the system root `root` (tests and
// halsim clean up after themselves). Refused at the root "/", whose locks belong to the
// appliance: -1.
int board_locks_remove();
int board_locks_remove(std::string_view root);

}  // namespace bayhal
