// The real backend of the device command transport: SG_IO for SCSI CDBs and
// NVME_IOCTL_ADMIN_CMD for NVMe admin commands, on the device node under the system root.
#include "transport/device_transport.h"

#include <fcntl.h>
#include <linux/nvme_ioctl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <atomic>
#include <cerrno>

#include "transport/socket_transport.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal {
namespace {

int submit_sg_io(int fd, DeviceCommand& cmd) {
  if (cmd.cdb_len == 0 || cmd.cdb_len > sizeof cmd.cdb) return -EINVAL;
  sg_io_hdr_t h{};
  h.interface_id = 'S';
  h.cmdp = cmd.cdb;
  h.cmd_len = cmd.cdb_len;
  h.dxfer_direction = cmd.dir == XferDir::kFromDevice ? SG_DXFER_FROM_DEV
                      : cmd.dir == XferDir::kToDevice ? SG_DXFER_TO_DEV
                                                      : SG_DXFER_NONE;
  h.dxferp = cmd.dir == XferDir::kNone ? nullptr : cmd.data;
  h.dxfer_len = cmd.dir == XferDir::kNone ? 0 : cmd.data_len;
  h.sbp = cmd.sense;
  h.mx_sb_len = sizeof cmd.sense;
  h.timeout = cmd.timeout_ms;
  if (::ioctl(fd, SG_IO, &h) < 0) return -errno;
  cmd.status = h.status;
  cmd.host_status = h.host_status;
  cmd.driver_status = h.driver_status;
  cmd.sense_len = h.sb_len_wr;
  cmd.residual = h.resid;
  return 0;
}

int submit_nvme_admin(int fd, DeviceCommand& cmd) {
  nvme_admin_cmd c{};
  c.opcode = cmd.nvme.opcode;
  c.nsid = cmd.nvme.nsid;
  c.addr = reinterpret_cast<uintptr_t>(cmd.data);
  c.data_len = cmd.dir == XferDir::kNone ? 0 : cmd.data_len;
  c.cdw10 = cmd.nvme.cdw10;
  c.cdw11 = cmd.nvme.cdw11;
  c.cdw12 = cmd.nvme.cdw12;
  c.cdw13 = cmd.nvme.cdw13;
  c.cdw14 = cmd.nvme.cdw14;
  c.cdw15 = cmd.nvme.cdw15;
  c.timeout_ms = cmd.timeout_ms;
  int rc = ::ioctl(fd, NVME_IOCTL_ADMIN_CMD, &c);
  if (rc < 0) return -errno;
  // A positive result is the completion's status field.
  cmd.nvme_status = static_cast<uint16_t>(rc);
  cmd.nvme.result = c.result;
  return 0;
}

class RealDeviceTransport : public DeviceTransport {
 public:
  int submit(std::string_view device, DeviceCommand& cmd) override {
    SysPath path(device);
    if (!path.ok()) return -ENAMETOOLONG;
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    // Read-only opens are enough for SG_IO on nodes the process may not write.
    if (!fd) fd.reset(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return -errno;
    return cmd.kind == CmdKind::kNvmeAdmin ? submit_nvme_admin(fd.get(), cmd)
                                           : submit_sg_io(fd.get(), cmd);
  }
};

RealDeviceTransport g_real;
std::atomic<DeviceTransport*> g_transport{&g_real};

}  // namespace

SenseFields sense_fields(const uint8_t* s, size_t len) {
  SenseFields f;
  if (s == nullptr || len < 2) return f;
  uint8_t code = s[0] & 0x7f;
  if (code == 0x72 || code == 0x73) {
    f.key = s[1] & 0x0f;
    if (len > 2) f.asc = s[2];
    if (len > 3) f.ascq = s[3];
  } else if (code == 0x70 || code == 0x71) {
    if (len > 2) f.key = s[2] & 0x0f;
    if (len > 12) f.asc = s[12];
    if (len > 13) f.ascq = s[13];
  } else {
    return f;
  }
  f.valid = true;
  return f;
}

uint8_t DeviceCommand::sense_key() const { return sense_fields(sense, sense_len).key; }
uint8_t DeviceCommand::asc() const { return sense_fields(sense, sense_len).asc; }
uint8_t DeviceCommand::ascq() const { return sense_fields(sense, sense_len).ascq; }

DeviceTransport& device_transport() {
  DeviceTransport* t = g_transport.load(std::memory_order_acquire);
  // Under a system root that halsim serves, the simulator answers instead of the ioctls.
  if (t == &g_real)
    if (DeviceTransport* sim = halsim_transport()) return *sim;
  return *t;
}

void set_device_transport(DeviceTransport* t) {
  g_transport.store(t ? t : &g_real, std::memory_order_release);
}

int device_command(std::string_view device, DeviceCommand& cmd) {
  if (cmd.dir != XferDir::kNone && (cmd.data == nullptr || cmd.data_len == 0)) return -EINVAL;
  return device_transport().submit(device, cmd);
}

}  // namespace bayhal
