// The socket backend of the device command transport: under a system root served by halsim
// ($HAL_ROOT/run/halsim.sock exists) and with no transport installed, device commands go to
// the simulator's device models instead of the ioctls. Production never sets HAL_ROOT, so
// it never takes this path.
#pragma once
#include "transport/device_transport.h"

namespace bayhal {

class SocketTransport : public DeviceTransport {
 public:
  // One connection per command: the library runs in many processes, some of them forked
  // from others, and a shared connection would interleave their frames.
  int submit(std::string_view device, DeviceCommand& cmd) override;
};

// The socket backend when the root holds a halsim socket, else nullptr.
DeviceTransport* halsim_transport();

}  // namespace bayhal
