// Port I/O messages of the halsim socket (layout in docs/halsim.md).
#include "foundation/byte_reader.h"
#include "transport/transport_frame.h"

namespace bayhal::frame {
namespace {

constexpr size_t kRequestSize = 6;  // type, op, port, arg
constexpr size_t kReplySize = 6;    // type, result, value

void be16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back(static_cast<uint8_t>(v >> 8));
  out.push_back(static_cast<uint8_t>(v));
}

}  // namespace

std::vector<uint8_t> port_request(const PortRequest& q) {
  std::vector<uint8_t> out{kPortRequest, static_cast<uint8_t>(q.op)};
  be16(out, q.port);
  be16(out, q.arg);
  return out;
}

std::optional<PortRequest> parse_port_request(std::span<const uint8_t> payload) {
  ByteReader r(payload);
  if (payload.size() != kRequestSize || r.next_u8() != kPortRequest) return std::nullopt;
  uint8_t op = r.next_u8();
  PortRequest q;
  q.port = r.next_be16();
  q.arg = r.next_be16();
  if (!r.ok() || op > static_cast<uint8_t>(PortOp::kOut)) return std::nullopt;
  q.op = static_cast<PortOp>(op);
  if (q.op == PortOp::kOut && q.arg > 0xFF) return std::nullopt;
  if (q.op == PortOp::kPermit && (q.arg == 0 || q.port + q.arg > 0x10000)) return std::nullopt;
  return q;
}

std::vector<uint8_t> port_reply(const PortReply& r) {
  auto v = static_cast<uint32_t>(r.result);
  return {kPortReply, static_cast<uint8_t>(v >> 24), static_cast<uint8_t>(v >> 16),
          static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v), r.value};
}

std::optional<PortReply> parse_port_reply(std::span<const uint8_t> payload) {
  ByteReader r(payload);
  if (payload.size() != kReplySize || r.next_u8() != kPortReply) return std::nullopt;
  PortReply out;
  out.result = static_cast<int32_t>(r.next_be32());
  out.value = r.next_u8();
  if (!r.ok() || out.result > 0) return std::nullopt;
  return out;
}

}  // namespace bayhal::frame
