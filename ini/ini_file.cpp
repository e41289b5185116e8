#include "ini/ini_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"
#include "ini/ini_lock.h"
#include "ini/ini_text.h"

namespace bayhal::ini {
namespace {

// Store files are a few KB to a few hundred; the first read normally takes all of it.
constexpr size_t kInitialRead = 128 * 1024;
constexpr size_t kMaxFile = 64u * 1024 * 1024;

// Applies `edit` and then each edit chained to it, each to the previous result; `now` is the
// final text, in one of this thread's two edit buffers.
EditResult apply_chain(std::string_view text, const Edit& edit, std::string_view& now,
                       size_t* foreign_line) {
  thread_local std::string out;
  thread_local std::string next;
  bool changed = false;
  now = text;
  for (size_t i = 0; i <= edit.then.size(); ++i) {
    const Edit& step = i == 0 ? edit : edit.then[i - 1];
    // Each step reads the previous result and writes the other buffer.
    std::string& dest = changed && now.data() == out.data() ? next : out;
    // Foreign lines pass through every step unchanged: the first step sees them all.
    EditResult r = apply_edit(now, step, dest, i == 0 ? foreign_line : nullptr);
    if (r == EditResult::changed) {
      changed = true;
      now = dest;
    }
  }
  return changed ? EditResult::changed : EditResult::unchanged;
}

}  // namespace

void FileBuffer::grow(size_t want) {
  if (want <= cap_) return;
  size_t cap = cap_ == 0 ? 16384 : cap_;
  while (cap < want) cap *= 2;
  std::unique_ptr<char[], Free> bigger(
      static_cast<char*>(::operator new[](cap, std::align_val_t{64})));
  if (len_ > 0) std::memcpy(bigger.get(), data_.get(), len_);
  data_ = std::move(bigger);
  cap_ = cap;
}

int FileBuffer::load(const char* path, const char* who) {
  len_ = 0;
  // No fstat on this hot path: a directory fails the read with EISDIR, O_NONBLOCK keeps a
  // FIFO or terminal from blocking, and the size cap stops an endless device.
  UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!fd) {
    if (errno == ENOENT || errno == ENOTDIR) return 0;
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot open %s: %s\n", who, path, std::strerror(errno));
    return -1;
  }
  return read_from(fd.get(), path, who);
}

int FileBuffer::read_from(int fd, const char* path, const char* who) {
  len_ = 0;
  grow(kInitialRead);
  for (;;) {
    if (len_ == cap_) {
      if (cap_ >= kMaxFile) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is larger than %zu bytes\n", who, path, kMaxFile);
        len_ = 0;
        return -1;
      }
      grow(cap_ * 2);
    }
    ssize_t n = ::read(fd, data_.get() + len_, cap_ - len_);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot read %s: %s\n", who, path,
                errno == EISDIR ? "it is a directory" : std::strerror(errno));
      len_ = 0;
      return -1;
    }
    len_ += static_cast<size_t>(n);
    // A short read of a regular file is its end; the room left over saves a second call.
    if (n == 0 || len_ < cap_) return 1;
  }
}

void FileBuffer::assign(std::string_view text) {
  len_ = 0;
  grow(text.size());
  if (!text.empty()) std::memcpy(data_.get(), text.data(), text.size());
  len_ = text.size();
}

FileBuffer& read_buffer() {
  thread_local FileBuffer buf;
  return buf;
}

bool check_file(const char* who, const char* file) {
  if (file == nullptr || *file == '\0') {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no file given\n", who);
    return false;
  }
  if (*file != '/') {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is not an absolute path\n", who, file);
    return false;
  }
  return true;
}

namespace {

bool own_area(std::string_view file) {
  for (std::string_view area : {"/etc/", "/var/", "/tmp/"})
    if (file.starts_with(area)) return true;
  return false;
}

}  // namespace

bool store_place(const char* who, const char* file, Place& out) {
  if (!check_file(who, file)) return false;
  SysPath path(file);
  if (!check_resolved(who, file, path)) return false;
  Refusal why;
  if (resolve_place(path.c_str(), true, out, &why) == 0) return true;
  // The library's own stores live in folders a fresh system root may not have yet.
  if (errno == ENOENT && own_area(file) && make_parent_dirs(path.c_str(), 0755) == 0 &&
      resolve_place(path.c_str(), true, out, &why) == 0)
    return true;
  if (errno == ELOOP && why.name[0] != '\0')
    ERR_TRACE(HAL_TRACE_ERROR,
              "%s: %s leads through the symbolic link %s of uid %u, which only root or this "
              "user may make, in a directory no one else can write: nothing written\n",
              who, file, why.name, static_cast<unsigned>(why.owner));
  else
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot reach %s: %s\n", who, file, std::strerror(errno));
  return false;
}

bool check_resolved(const char* who, const char* file, const SysPath& path) {
  if (path.ok()) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: path too long: %.64s...\n", who, file);
  return false;
}

void note_foreign_line(const char* who, std::string_view file, size_t line) {
  // A fixed table of path hashes, claimed without a lock: a fork while another thread
  // reports must not leave a child stuck on a mutex. A full table stops the reports.
  static std::atomic<uint64_t> seen[64];
  uint64_t h = 1469598103934665603ull;
  for (char c : file) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  if (h == 0) h = 1;
  for (auto& slot : seen) {
    uint64_t cur = 0;
    if (slot.compare_exchange_strong(cur, h)) {
      ERR_TRACE(HAL_TRACE_WARN, "%s: %.*s line %zu is not INI; such lines are kept as they are\n",
                who, static_cast<int>(file.size()), file.data(), line);
      return;
    }
    if (cur == h) return;
  }
}

void note_foreign_lines(const char* who, std::string_view file, std::string_view text) {
  size_t line = 0;
  if (!is_ini(text, &line)) note_foreign_line(who, file, line);
}

bool is_persistent(std::string_view appliance_path) {
  return appliance_path.starts_with("/etc/config/");
}

int locked_update(const char* who, const char* file,
                  int (*decide)(std::string_view text, Edit& edit, void* ctx), void* ctx) {
  Place store;
  if (!store_place(who, file, store)) return -1;
  WriteLock lock(who, store);
  if (!lock.ok()) return -1;

  UniqueFd fd(::openat(store.dir.get(), store.name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  thread_local FileBuffer in;
  in.clear();
  mode_t mode = 0644;
  if (fd) {
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is not a regular file\n", who, file);
      return -1;
    }
    mode = st.st_mode & 07777;
    if (in.read_from(fd.get(), file, who) < 0) return -1;
  } else if (errno != ENOENT) {
    // ELOOP: it became a link after it was resolved; the next write looks again.
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot open %s: %s\n", who, file, std::strerror(errno));
    return -1;
  }
  Edit edit;
  int rc = decide(in.view(), edit, ctx);
  if (rc < 0) return rc;
  std::string_view now;
  size_t foreign = 0;
  EditResult r = apply_chain(in.view(), edit, now, &foreign);
  if (foreign != 0) note_foreign_line(who, file, foreign);
  if (r == EditResult::unchanged) return 0;
  return replace_at(who, file, store, now, mode, is_persistent(file)) == 0 ? 1 : -1;
}

int update(const char* who, const char* file, const Edit& edit) {
  return update_with(who, file, [&](std::string_view, Edit& e) {
    e = edit;
    return 0;
  });
}

}  // namespace bayhal::ini
