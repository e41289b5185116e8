// Secrets (passwords, PSIDs) cross the library on their way into a program's argv. They are
// used in place, never copied; a buffer that may hold one afterwards (a program's output
// could echo it) is wiped before it is given back.
#pragma once
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace bayhal {

// Zeroes `n` bytes at `p` with stores the compiler may not drop as dead.
void wipe(void* p, size_t n) noexcept;

// A fixed-size buffer that is wiped when it goes; it never grows, so no copy of what it
// held is left behind by a reallocation.
class WipedBuffer {
 public:
  explicit WipedBuffer(size_t capacity) : data_(new char[capacity]), capacity_(capacity) {}
  ~WipedBuffer() { wipe(data_.get(), capacity_); }
  WipedBuffer(const WipedBuffer&) = delete;
  WipedBuffer& operator=(const WipedBuffer&) = delete;

  // The whole buffer, to be filled; then set_size() to what was filled.
  std::span<char> space() { return {data_.get(), capacity_}; }
  void set_size(size_t n) { size_ = n < capacity_ ? n : capacity_; }
  std::string_view text() const { return {data_.get(), size_}; }

 private:
  std::unique_ptr<char[]> data_;
  size_t capacity_;
  size_t size_ = 0;
};

}  // namespace bayhal
