#include "transport/socket_port_io.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/sysroot.h"

namespace bayhal {
namespace {

constexpr char kSocket[] = "/run/halsim.sock";

SocketPortIo g_ports;

}  // namespace

std::optional<frame::PortReply> SocketPortIo::exchange(const frame::PortRequest& q) {
  std::lock_guard lock(mu_);
  pid_t me = ::getpid();
  if (owner_ != me) {
    conn_.reset();
    owner_ = me;
  }
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (!conn_) {
      int fd = frame::connect_socket(sys_path(kSocket));
      if (fd < 0) {
        errno = -fd;
        return std::nullopt;
      }
      conn_.reset(fd);
    }
    if (frame::write_frame(conn_.get(), frame::port_request(q)) != 0) {
      conn_.reset();  // a simulator restarted since: connect once more
      continue;
    }
    std::vector<uint8_t> reply;
    auto r = frame::read_frame(conn_.get(), reply) == 0 ? frame::parse_port_reply(reply) : std::nullopt;
    if (r) return r;
    conn_.reset();  // the access may have happened: never send it twice
    errno = EPROTO;
    return std::nullopt;
  }
  errno = ECONNRESET;
  return std::nullopt;
}

int SocketPortIo::permit(uint16_t port, unsigned count) {
  if (count == 0 || port + count > 0x10000u) {
    errno = EINVAL;
    return -1;
  }
  auto r = exchange({frame::PortOp::kPermit, port, static_cast<uint16_t>(count)});
  if (!r) return -1;
  if (r->result != 0) {
    errno = -r->result;
    return -1;
  }
  return 0;
}

uint8_t SocketPortIo::inb(uint16_t port) {
  auto r = exchange({frame::PortOp::kIn, port, 0});
  return r ? r->value : 0xFF;
}

void SocketPortIo::outb(uint8_t value, uint16_t port) { exchange({frame::PortOp::kOut, port, value}); }

PortIo* halsim_port_io() {
  if (sys_root().empty()) return nullptr;
  SysPath path(kSocket);
  struct stat st {};
  if (!path.ok() || ::stat(path.c_str(), &st) != 0 || !S_ISSOCK(st.st_mode)) return nullptr;
  return &g_ports;
}

}  // namespace bayhal
