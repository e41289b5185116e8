#include "transport/socket_transport.h"

#include <sys/stat.h>

#include <cerrno>

#include "transport/transport_frame.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal {
namespace {

constexpr char kSocket[] = "/run/halsim.sock";

SocketTransport g_socket;

}  // namespace

int SocketTransport::submit(std::string_view device, DeviceCommand& cmd) {
  auto request = frame::device_request(device, cmd);
  if (!request) return -EINVAL;
  int fd = frame::connect_socket(sys_path(kSocket));
  if (fd < 0) return fd;
  UniqueFd conn(fd);
  std::vector<uint8_t> reply;
  if (int rc = frame::write_frame(fd, *request); rc != 0) return rc;
  if (int rc = frame::read_frame(fd, reply); rc != 0) return rc;
  return frame::parse_device_reply(reply, cmd);
}

DeviceTransport* halsim_transport() {
  if (sys_root().empty()) return nullptr;
  SysPath path(kSocket);
  struct stat st {};
  if (!path.ok() || ::stat(path.c_str(), &st) != 0 || !S_ISSOCK(st.st_mode)) return nullptr;
  return &g_socket;
}

}  // namespace bayhal
