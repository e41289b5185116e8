// Where the library's writes land, whoever else shares the machine.
//
// In a directory others can write ("/tmp", "/var/lock") any local user can plant a symbolic
// link, a FIFO or a file under a name the library is about to write, and a root process
// that follows it rewrites whatever the link names. So a path is resolved one component at
// a time and a symbolic link is followed only where the system means one: the link and the
// directory holding it belong to root or to this process's user, and nobody else may write
// that directory (the kernel's protected-symlinks rule without its sticky-directory
// exception, which a hard link to a root-owned link would defeat). A file written or locked
// in place must be a regular file with one name, owned by root or by this user; one that is
// not is deleted and made afresh with O_EXCL where the directory allows it. Temporaries are
// made with O_EXCL too, so no name can be pre-created for us.
//
// Nothing here allocates: the tracer uses it on every written line.
#pragma once
#include <sys/stat.h>
#include <sys/types.h>

#include <climits>
#include <string_view>

#include "foundation/unique_fd.h"

namespace bayhal {

// What a resolution or an open refused: the name of the untrusted link or file in its
// directory, and its owner.
struct Refusal {
  char name[NAME_MAX + 1] = "";
  uid_t owner = 0;
};

bool trusted_link(const struct stat& dir, const struct stat& link);
bool trusted_file(const struct stat& st);

// A file's place: the directory that holds it (an O_PATH descriptor) and its name there.
struct Place {
  UniqueFd dir;
  char name[NAME_MAX + 1] = "";
};

// Resolves the absolute host path `path` to its place. Symbolic links on the way, and with
// `follow_last` the file's own, are followed only when trusted. 0, or -1 with errno: ELOOP
// for an untrusted link (`why` names it), EINVAL for a relative path, EISDIR for a path
// without a file name, else the error of the component that failed. A missing last
// component is not an error: it is the file about to be created.
int resolve_place(const char* path, bool follow_last, Place& out, Refusal* why = nullptr);

// Opens `name` in `dir` with `flags` (O_CREAT with `mode` allowed; O_NOFOLLOW, O_NONBLOCK
// and O_CLOEXEC are added). With O_CREAT an existing file that is not trusted (another
// user's, a FIFO, a link, a second name of some other file) is deleted and made afresh
// with O_EXCL; without O_CREAT, or when it may not be deleted, the result is invalid with
// EPERM and `why` names it. `st` receives the status of the file opened.
UniqueFd open_trusted_at(int dir, const char* name, int flags, mode_t mode,
                         Refusal* why = nullptr, struct stat* st = nullptr);

// The same from an absolute host path: one openat2 when no link is on the way (the
// tracer's hot path), the resolution of its place otherwise. Trusted links among the
// directories are followed; the file itself is never reached through a link (one there is
// replaced like any untrusted file).
UniqueFd open_trusted(const char* path, int flags, mode_t mode, Refusal* why = nullptr,
                      struct stat* st = nullptr);

// Makes the missing directories on the way to the absolute host path `path` (not the last
// component), each with `mode` before the umask. A link planted among them is caught when
// the path is resolved afterwards. 0, or -1 with errno.
int make_parent_dirs(const char* path, mode_t mode);

// Makes `data` the whole content of the file at `p`: written to an O_EXCL temporary
// "<name>.tmp" beside it (a stale or planted one is deleted first; if it may not be, a
// random name is used), then renamed over it; with `durable` the file and its directory
// are fsync'ed. 0, or -1 traced as `who` about `shown` (the temporary is then gone).
int replace_at(const char* who, const char* shown, const Place& p, std::string_view data,
               mode_t mode, bool durable);

}  // namespace bayhal
