#include "transport/transport_frame.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/byte_reader.h"
#include "foundation/unique_fd.h"

namespace bayhal::frame {
namespace {

int write_all(int fd, const uint8_t* p, size_t n) {
  while (n > 0) {
    ssize_t w = ::send(fd, p, n, MSG_NOSIGNAL);
    if (w < 0) {
      if (errno == EINTR) continue;
      return -errno;
    }
    p += w;
    n -= static_cast<size_t>(w);
  }
  return 0;
}

int read_all(int fd, uint8_t* p, size_t n) {
  while (n > 0) {
    ssize_t r = ::read(fd, p, n);
    if (r < 0) {
      if (errno == EINTR) continue;
      return -errno;
    }
    if (r == 0) return -ECONNRESET;
    p += r;
    n -= static_cast<size_t>(r);
  }
  return 0;
}

// sockaddr_un for `path`; a path too long for sun_path goes through /proc/self/fd of its
// folder, which `dir` then keeps open.
bool socket_address(const std::string& path, sockaddr_un& addr, UniqueFd& dir) {
  std::memset(&addr, 0, sizeof addr);
  addr.sun_family = AF_UNIX;
  std::string target = path;
  if (target.size() >= sizeof addr.sun_path) {
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return false;
    dir.reset(::open(path.substr(0, slash == 0 ? 1 : slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!dir) return false;
    target = "/proc/self/fd/" + std::to_string(dir.get()) + path.substr(slash);
    if (target.size() >= sizeof addr.sun_path) return false;
  }
  std::memcpy(addr.sun_path, target.c_str(), target.size() + 1);
  return true;
}

}  // namespace

std::optional<uint32_t> payload_length(std::span<const uint8_t> header) {
  ByteReader r(header);
  uint32_t n = r.be32(0);
  if (!r.ok() || n == 0 || n > kMaxPayload) return std::nullopt;
  return n;
}

std::vector<uint8_t> make_frame(std::span<const uint8_t> payload) {
  std::vector<uint8_t> out(kHeaderSize + payload.size());
  uint32_t n = static_cast<uint32_t>(payload.size());
  for (int i = 0; i < 4; ++i) out[static_cast<size_t>(i)] = static_cast<uint8_t>(n >> (24 - 8 * i));
  if (!payload.empty()) std::memcpy(out.data() + kHeaderSize, payload.data(), payload.size());
  return out;
}

int write_frame(int fd, std::span<const uint8_t> payload) {
  if (payload.empty() || payload.size() > kMaxPayload) return -EPROTO;
  std::vector<uint8_t> f = make_frame(payload);
  return write_all(fd, f.data(), f.size());
}

int read_frame(int fd, std::vector<uint8_t>& payload) {
  uint8_t header[kHeaderSize];
  if (int rc = read_all(fd, header, sizeof header); rc != 0) return rc;
  auto n = payload_length(header);
  if (!n) return -EPROTO;
  payload.resize(*n);
  return read_all(fd, payload.data(), payload.size());
}

std::vector<uint8_t> control_message(std::string_view text) {
  std::vector<uint8_t> out{kControl};
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

std::vector<uint8_t> control_reply(bool ok, std::string_view text) {
  std::vector<uint8_t> out{kControlReply, static_cast<uint8_t>(ok ? 0 : 1)};
  out.insert(out.end(), text.begin(), text.end());
  return out;
}

std::optional<std::string> parse_control(std::span<const uint8_t> payload) {
  if (payload.empty() || payload[0] != kControl) return std::nullopt;
  return std::string(payload.begin() + 1, payload.end());
}

std::optional<std::pair<bool, std::string>> parse_control_reply(std::span<const uint8_t> payload) {
  if (payload.size() < 2 || payload[0] != kControlReply || payload[1] > 1) return std::nullopt;
  return std::make_pair(payload[1] == 0, std::string(payload.begin() + 2, payload.end()));
}

int connect_socket(const std::string& path) {
  sockaddr_un addr;
  UniqueFd dir;
  if (!socket_address(path, addr, dir)) return -ENAMETOOLONG;
  UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd) return -errno;
  if (::connect(fd.get(), reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) return -errno;
  return fd.release();
}

int listen_socket(const std::string& path) {
  sockaddr_un addr;
  UniqueFd dir;
  if (!socket_address(path, addr, dir)) return -ENAMETOOLONG;
  UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!fd) return -errno;
  ::unlink(path.c_str());
  if (::bind(fd.get(), reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) return -errno;
  if (::listen(fd.get(), 16) != 0) return -errno;
  return fd.release();
}

}  // namespace bayhal::frame
