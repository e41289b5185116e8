// Frames of the halsim socket ($HAL_ROOT/run/halsim.sock): a 4-byte big-endian payload
// length, then the payload, whose first byte is the message type. The same framing carries
// device commands (the socket backend of the device command transport) and halsim's own
// control messages. Lengths are checked before anything is allocated.
#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "transport/device_transport.h"

namespace bayhal::frame {

constexpr uint32_t kMaxPayload = 4u << 20;
constexpr size_t kHeaderSize = 4;

enum MsgType : uint8_t {
  kDeviceCommand = 1,
  kDeviceReply = 2,
  kControl = 3,
  kControlReply = 4,
  kPortRequest = 5,
  kPortReply = 6,
};

// The payload length a header announces; nullopt when it is 0 or above kMaxPayload.
std::optional<uint32_t> payload_length(std::span<const uint8_t> header);

// Header and payload as one buffer.
std::vector<uint8_t> make_frame(std::span<const uint8_t> payload);

// Blocking I/O on a stream socket. 0, or a negative errno (-EPROTO for a bad length,
// -ECONNRESET when the peer closed before a whole frame).
int write_frame(int fd, std::span<const uint8_t> payload);
int read_frame(int fd, std::vector<uint8_t>& payload);

// Control messages: a type byte and text; the reply adds a status byte (0 ok) before it.
std::vector<uint8_t> control_message(std::string_view text);
std::vector<uint8_t> control_reply(bool ok, std::string_view text);
// The text of a control message; nullopt when the payload is not one.
std::optional<std::string> parse_control(std::span<const uint8_t> payload);
// Status and text of a control reply; nullopt when the payload is not one.
std::optional<std::pair<bool, std::string>> parse_control_reply(std::span<const uint8_t> payload);

// Device commands. The request carries the record's input fields, the device path and, for
// a transfer to the device, the data; the reply carries the output fields, the submit result
// and, for a transfer from the device, the data. Transfers are limited to kMaxData bytes.
constexpr uint32_t kMaxData = 1u << 20;
constexpr size_t kMaxDevicePath = 4096;

struct DeviceRequest {
  std::string device;
  DeviceCommand cmd;          // cmd.data is null; `data` holds the transfer buffer
  std::vector<uint8_t> data;  // data_len bytes: the data to send, or zeros to be filled
};

// nullopt when the command cannot be carried (path or transfer too long, no CDB).
std::optional<std::vector<uint8_t>> device_request(std::string_view device, const DeviceCommand& cmd);
std::optional<DeviceRequest> parse_device_request(std::span<const uint8_t> payload);
// `rc` is the submit result on the simulator's side; `data` the transfer buffer.
std::vector<uint8_t> device_reply(int rc, const DeviceCommand& cmd, std::span<const uint8_t> data);
// Fills the output fields of `cmd` and copies returned data into cmd.data. The submit
// result, or -EPROTO when the payload is malformed or returns more data than was asked.
int parse_device_reply(std::span<const uint8_t> payload, DeviceCommand& cmd);

// Port I/O: one access of the port-I/O seam and its answer. `arg` is the port count of a
// permission request and the byte of an output.
enum class PortOp : uint8_t { kPermit = 0, kIn = 1, kOut = 2 };
struct PortRequest {
  PortOp op = PortOp::kIn;
  uint16_t port = 0;
  uint16_t arg = 0;
};
struct PortReply {
  int32_t result = 0;  // 0, or a negative errno for a refused permission
  uint8_t value = 0;   // the byte read
};
std::vector<uint8_t> port_request(const PortRequest& q);
// nullopt for a malformed request (unknown operation, output byte above 255, wrong length).
std::optional<PortRequest> parse_port_request(std::span<const uint8_t> payload);
std::vector<uint8_t> port_reply(const PortReply& r);
std::optional<PortReply> parse_port_reply(std::span<const uint8_t> payload);

// Connects to the halsim socket at a host path; paths too long for sockaddr_un are reached
// through the folder's descriptor. The descriptor, or a negative errno.
int connect_socket(const std::string& path);
// Binds and listens at a host path (replacing a stale socket file); fd or negative errno.
int listen_socket(const std::string& path);

}  // namespace bayhal::frame
