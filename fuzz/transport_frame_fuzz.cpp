// Bytes from the halsim socket: frame headers, device-command requests (the daemon's side),
// replies (the library's side, into a caller's buffer whose size the first byte picks),
// control messages and port-I/O requests and replies.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "transport/transport_frame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::span<const uint8_t> bytes(data, size);
  (void)bayhal::frame::payload_length(bytes);
  if (auto q = bayhal::frame::parse_device_request(bytes)) {
    if (!q->data.empty()) q->cmd.data = q->data.data();
    (void)bayhal::frame::device_reply(0, q->cmd, q->data);
  }
  std::vector<uint8_t> buf(size > 0 ? data[0] * 4u : 0u);
  bayhal::DeviceCommand cmd;
  cmd.dir = buf.empty() ? bayhal::XferDir::kNone : bayhal::XferDir::kFromDevice;
  cmd.data = buf.empty() ? nullptr : buf.data();
  cmd.data_len = static_cast<uint32_t>(buf.size());
  (void)bayhal::frame::parse_device_reply(bytes, cmd);
  (void)bayhal::frame::parse_control(bytes);
  (void)bayhal::frame::parse_control_reply(bytes);
  if (auto p = bayhal::frame::parse_port_request(bytes)) (void)bayhal::frame::port_request(*p);
  if (auto r = bayhal::frame::parse_port_reply(bytes)) (void)bayhal::frame::port_reply(*r);
  return 0;
}
