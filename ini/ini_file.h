// File access of the store: one whole-file read, and one locked read-modify-replace.
#pragma once
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"
#include "ini/ini_edit.h"

namespace bayhal::ini {

// A growable read buffer that is never zero-filled; each thread keeps one for reads.
class FileBuffer {
 public:
  std::string_view view() const { return {data_.get(), len_}; }
  // Reads the whole file: 1 read, 0 missing, -1 error (traced as `who`).
  int load(const char* path, const char* who);
  // Takes `text` (a copy) as if it had been read.
  void assign(std::string_view text);
  // The same from an open descriptor: 1 read, -1 error.
  int read_from(int fd, const char* path, const char* who);
  void clear() { len_ = 0; }

 private:
  void grow(size_t want);
  // Cache-line aligned: the kernel's copy into a misaligned buffer is measurably slower.
  struct Free {
    void operator()(char* p) const { ::operator delete[](p, std::align_val_t{64}); }
  };
  std::unique_ptr<char[], Free> data_;
  size_t cap_ = 0;
  size_t len_ = 0;
};

FileBuffer& read_buffer();

// A caller's path: false (traced as `who`) when it is null, empty or relative.
bool check_file(const char* who, const char* file);
// Its resolution: false (traced) when it did not fit.
bool check_resolved(const char* who, const char* file, const SysPath& path);

// Traces, once per process and file, that `file` holds a line the store does not
// understand (1-based `line`); such lines are kept, never refused.
void note_foreign_line(const char* who, std::string_view file, size_t line);
// The same for a whole text: reads call it on a miss, which has scanned the file anyway.
void note_foreign_lines(const char* who, std::string_view file, std::string_view text);

// Where a write of the store `file` lands: its links are followed only when trusted (see
// foundation/trusted_path.h). False, traced as `who`, when refused or unreachable.
bool store_place(const char* who, const char* file, Place& out);

// Files under /etc/config survive power loss: they are fsync'ed before the rename.
bool is_persistent(std::string_view appliance_path);

// Applies `edit` to `file` under its write lock and replaces the file when it changed.
// 1 when written, 0 when nothing changed (the file is then not touched, nor created),
// -1 on failure (a directory, no space...), traced as `who`.
int update(const char* who, const char* file, const Edit& edit);

// A read-modify-write whose change depends on the current text: `decide(text, edit)` is
// called under the lock and fills `edit`; it returns a negative result to abort.
template <typename Decide>
int update_with(const char* who, const char* file, Decide&& decide);

int locked_update(const char* who, const char* file,
                  int (*decide)(std::string_view text, Edit& edit, void* ctx), void* ctx);

template <typename Decide>
int update_with(const char* who, const char* file, Decide&& decide) {
  return locked_update(
      who, file,
      [](std::string_view text, Edit& edit, void* ctx) {
        return (*static_cast<std::remove_reference_t<Decide>*>(ctx))(text, edit);
      },
      &decide);
}

}  // namespace bayhal::ini
