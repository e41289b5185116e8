// Device command messages of the halsim socket (layout in docs/halsim.md).
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "transport/transport_frame.h"
#include "foundation/byte_reader.h"

namespace bayhal::frame {
namespace {

class Writer {
 public:
  void u8(uint8_t v) { out_.push_back(v); }
  void be16(uint16_t v) { be(v, 2); }
  void be32(uint32_t v) { be(v, 4); }
  void bytes(const void* p, size_t n) {
    const uint8_t* b = static_cast<const uint8_t*>(p);
    out_.insert(out_.end(), b, b + n);
  }
  std::vector<uint8_t> take() { return std::move(out_); }

 private:
  std::vector<uint8_t> out_;
  void be(uint32_t v, int n) {
    for (int i = n - 1; i >= 0; --i) out_.push_back(static_cast<uint8_t>(v >> (8 * i)));
  }
};

bool valid_dir(uint8_t d) { return d <= static_cast<uint8_t>(XferDir::kToDevice); }
bool valid_kind(uint8_t k) { return k <= static_cast<uint8_t>(CmdKind::kNvmeAdmin); }

bool copy_bytes(ByteReader& r, void* out, size_t n) {
  auto b = r.bytes(r.pos(), n);
  r.skip(n);
  if (b.size() != n) return false;
  if (n > 0) std::memcpy(out, b.data(), n);
  return true;
}

}  // namespace

std::optional<std::vector<uint8_t>> device_request(std::string_view device, const DeviceCommand& cmd) {
  if (device.empty() || device.size() > kMaxDevicePath || cmd.data_len > kMaxData ||
      cmd.cdb_len > sizeof cmd.cdb || (cmd.dir != XferDir::kNone && cmd.data == nullptr))
    return std::nullopt;
  Writer w;
  w.u8(kDeviceCommand);
  w.u8(static_cast<uint8_t>(cmd.kind));
  w.u8(static_cast<uint8_t>(cmd.dir));
  w.u8(cmd.cdb_len);
  w.bytes(cmd.cdb, sizeof cmd.cdb);
  w.u8(cmd.nvme.opcode);
  for (uint32_t v : {cmd.nvme.nsid, cmd.nvme.cdw10, cmd.nvme.cdw11, cmd.nvme.cdw12,
                     cmd.nvme.cdw13, cmd.nvme.cdw14, cmd.nvme.cdw15})
    w.be32(v);
  w.be32(cmd.timeout_ms);
  uint32_t len = cmd.dir == XferDir::kNone ? 0 : cmd.data_len;
  w.be32(len);
  w.be16(static_cast<uint16_t>(device.size()));
  w.bytes(device.data(), device.size());
  if (cmd.dir == XferDir::kToDevice) w.bytes(cmd.data, len);
  return w.take();
}

std::optional<DeviceRequest> parse_device_request(std::span<const uint8_t> payload) {
  ByteReader r(payload);
  if (r.next_u8() != kDeviceCommand) return std::nullopt;
  DeviceRequest q;
  uint8_t kind = r.next_u8(), dir = r.next_u8();
  q.cmd.cdb_len = r.next_u8();
  if (!valid_kind(kind) || !valid_dir(dir) || q.cmd.cdb_len > sizeof q.cmd.cdb) return std::nullopt;
  q.cmd.kind = static_cast<CmdKind>(kind);
  q.cmd.dir = static_cast<XferDir>(dir);
  if (!copy_bytes(r, q.cmd.cdb, sizeof q.cmd.cdb)) return std::nullopt;
  q.cmd.nvme.opcode = r.next_u8();
  for (uint32_t* v : {&q.cmd.nvme.nsid, &q.cmd.nvme.cdw10, &q.cmd.nvme.cdw11, &q.cmd.nvme.cdw12,
                      &q.cmd.nvme.cdw13, &q.cmd.nvme.cdw14, &q.cmd.nvme.cdw15})
    *v = r.next_be32();
  q.cmd.timeout_ms = r.next_be32();
  q.cmd.data_len = r.next_be32();
  uint16_t dev_len = r.next_be16();
  if (!r.ok() || q.cmd.data_len > kMaxData || dev_len == 0 || dev_len > kMaxDevicePath) return std::nullopt;
  if ((q.cmd.dir == XferDir::kNone) != (q.cmd.data_len == 0)) return std::nullopt;
  q.device.resize(dev_len);
  if (!copy_bytes(r, q.device.data(), dev_len)) return std::nullopt;
  if (q.device.find('\0') != std::string::npos) return std::nullopt;
  q.data.assign(q.cmd.data_len, 0);
  if (q.cmd.dir == XferDir::kToDevice && !copy_bytes(r, q.data.data(), q.data.size())) return std::nullopt;
  if (r.remaining() != 0) return std::nullopt;
  return q;
}

std::vector<uint8_t> device_reply(int rc, const DeviceCommand& cmd, std::span<const uint8_t> data) {
  Writer w;
  w.u8(kDeviceReply);
  w.be32(static_cast<uint32_t>(rc));
  w.u8(cmd.status);
  w.be16(cmd.nvme_status);
  w.be16(cmd.host_status);
  w.be16(cmd.driver_status);
  uint8_t sense_len = cmd.sense_len > sizeof cmd.sense ? sizeof cmd.sense : cmd.sense_len;
  w.u8(sense_len);
  w.bytes(cmd.sense, sizeof cmd.sense);
  w.be32(static_cast<uint32_t>(cmd.residual));
  w.be32(cmd.nvme.result);
  bool back = rc == 0 && cmd.dir == XferDir::kFromDevice;
  size_t n = back ? std::min<size_t>(data.size(), kMaxData) : 0;
  w.be32(static_cast<uint32_t>(n));
  w.bytes(data.data(), n);
  return w.take();
}

int parse_device_reply(std::span<const uint8_t> payload, DeviceCommand& cmd) {
  ByteReader r(payload);
  if (r.next_u8() != kDeviceReply) return -EPROTO;
  int rc = static_cast<int32_t>(r.next_be32());
  uint8_t status = r.next_u8();
  uint16_t nvme_status = r.next_be16(), host = r.next_be16(), driver = r.next_be16();
  uint8_t sense_len = r.next_u8();
  uint8_t sense[sizeof cmd.sense];
  if (!copy_bytes(r, sense, sizeof sense)) return -EPROTO;
  int32_t residual = static_cast<int32_t>(r.next_be32());
  uint32_t result = r.next_be32();
  uint32_t n = r.next_be32();
  uint32_t room = cmd.dir == XferDir::kFromDevice ? cmd.data_len : 0;
  if (!r.ok() || sense_len > sizeof sense || n > room || r.remaining() != n) return -EPROTO;
  if (rc > 0) return -EPROTO;
  if (n > 0 && !copy_bytes(r, cmd.data, n)) return -EPROTO;
  cmd.status = status;
  cmd.nvme_status = nvme_status;
  cmd.host_status = host;
  cmd.driver_status = driver;
  cmd.sense_len = sense_len;
  std::memcpy(cmd.sense, sense, sizeof sense);
  cmd.residual = residual;
  cmd.nvme.result = result;
  return rc;
}

}  // namespace bayhal::frame
