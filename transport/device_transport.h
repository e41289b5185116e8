// The device command transport: one transport-neutral command record and one pass-through
// call for everything the library asks of a disk's firmware (SCSI CDBs, ATA commands inside
// ATA PASS-THROUGH, NVMe admin commands). Code that builds or parses commands never touches
// SG_IO or the NVMe ioctls; it fills a DeviceCommand and calls device_command(). The real
// backend issues the ioctls on the device node; tests and halsim install device models
// (sim/device_model.h) the way they install a clock. docs/device_transport.md has the detail.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/seam.h"

namespace bayhal {

enum class CmdKind : uint8_t { kScsi, kNvmeAdmin };
enum class XferDir : uint8_t { kNone, kFromDevice, kToDevice };

// SCSI status bytes the callers look at.
constexpr uint8_t kScsiGood = 0x00;
constexpr uint8_t kScsiCheckCondition = 0x02;

// Sense key, ASC and ASCQ of sense data: response code 0x70/0x71 is the fixed format (key in
// byte 2, ASC/ASCQ in bytes 12/13), 0x72/0x73 the descriptor format (bytes 1, 2, 3); `valid`
// is false (and the fields 0) for anything else.
struct SenseFields {
  uint8_t key = 0, asc = 0, ascq = 0;
  bool valid = false;
};
SenseFields sense_fields(const uint8_t* sense, size_t len);

struct NvmeAdminFields {
  uint8_t opcode = 0;
  uint32_t nsid = 0;
  uint32_t cdw10 = 0, cdw11 = 0, cdw12 = 0, cdw13 = 0, cdw14 = 0, cdw15 = 0;
  uint32_t result = 0;  // out: completion dword 0
};

struct DeviceCommand {
  // In.
  CmdKind kind = CmdKind::kScsi;
  uint8_t cdb[16] = {};
  uint8_t cdb_len = 0;
  NvmeAdminFields nvme;           // for kNvmeAdmin
  XferDir dir = XferDir::kNone;
  uint8_t* data = nullptr;        // caller's buffer
  uint32_t data_len = 0;
  uint32_t timeout_ms = 30000;

  // Out.
  uint8_t status = 0;             // SCSI status byte
  uint16_t nvme_status = 0;       // NVMe completion status field (0 = success)
  uint16_t host_status = 0;       // transport-level errors (SG_IO host/driver status)
  uint16_t driver_status = 0;
  uint8_t sense[32] = {};
  uint8_t sense_len = 0;          // bytes of sense data returned
  int32_t residual = 0;           // bytes of `data` not transferred

  // Completed with good status at every level.
  bool good() const {
    return status == kScsiGood && nvme_status == 0 && host_status == 0 &&
           (driver_status & ~0x08) == 0;  // DRIVER_SENSE alone only says sense is attached
  }
  // Bytes actually transferred.
  uint32_t transferred() const {
    return residual > 0 && static_cast<uint32_t>(residual) <= data_len
               ? data_len - static_cast<uint32_t>(residual)
               : data_len;
  }
  // Sense key, ASC and ASCQ from fixed (0x70/0x71) or descriptor (0x72/0x73) sense; 0 when
  // there is none.
  uint8_t sense_key() const;
  uint8_t asc() const;
  uint8_t ascq() const;
};

class DeviceTransport {
 public:
  virtual ~DeviceTransport() = default;
  // Sends `cmd` to the device node `device` (an appliance path such as "/dev/sg2" or
  // "/dev/nvme0"). Returns 0 when the device answered (see cmd.good() and the status
  // fields), a negative errno when the command could not be delivered.
  virtual int submit(std::string_view device, DeviceCommand& cmd) = 0;
};

// The transport in force: the real ioctl backend unless a test or halsim installed another.
DeviceTransport& device_transport();
// Installs `t` (not owned); nullptr restores the real backend.
void set_device_transport(DeviceTransport* t);

// The one pass-through call: device_transport().submit(device, cmd).
int device_command(std::string_view device, DeviceCommand& cmd);

using ScopedDeviceTransport = ScopedSeam<DeviceTransport, set_device_transport>;

}  // namespace bayhal
