// The halsim socket: frames and device-command messages survive the trip and refuse
// malformed bytes; the library's transport reaches the daemon's models through the socket.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "disk_sys/device_commands.h"
#include "disk_sys/scsi_pages.h"
#include "transport/transport_frame.h"
#include "tests/sim/halsim_fixture.h"

namespace bayhal {
namespace {

DeviceCommand inquiry_cmd(uint8_t* buf) {
  DeviceCommand c;
  c.cdb_len = 6;
  c.cdb[0] = 0x12;
  c.cdb[4] = 36;
  c.dir = XferDir::kFromDevice;
  c.data = buf;
  c.data_len = 36;
  c.timeout_ms = 1234;
  return c;
}

TEST(HalsimFrames, DeviceCommandSurvivesTheTrip) {
  uint8_t buf[36] = {};
  DeviceCommand c = inquiry_cmd(buf);
  c.nvme.cdw15 = 0xdeadbeef;
  auto req = frame::device_request("/dev/sg3", c);
  ASSERT_TRUE(req);
  auto q = frame::parse_device_request(*req);
  ASSERT_TRUE(q);
  EXPECT_EQ(std::tuple(q->device, q->cmd.cdb_len, q->cmd.cdb[4], q->cmd.timeout_ms, q->cmd.nvme.cdw15),
            std::tuple("/dev/sg3", 6, 36, 1234u, 0xdeadbeefu));
  EXPECT_EQ(q->cmd.dir, XferDir::kFromDevice);
  ASSERT_EQ(q->data.size(), 36u);

  // The far side answers; its answer lands in the caller's buffer and fields.
  q->cmd.status = kScsiCheckCondition;
  q->cmd.sense_len = 18;
  q->cmd.sense[0] = 0x70;
  q->cmd.sense[2] = 0x05;
  q->cmd.residual = 6;
  q->data[8] = 'B';
  auto reply = frame::device_reply(0, q->cmd, q->data);
  EXPECT_EQ(frame::parse_device_reply(reply, c), 0);
  EXPECT_EQ(std::tuple(c.status, c.sense_key(), c.residual, buf[8]),
            std::tuple(kScsiCheckCondition, 0x05, 6, 'B'));

  // A failed submit carries its errno and no data.
  buf[8] = 0;
  EXPECT_EQ(frame::parse_device_reply(frame::device_reply(-ENODEV, q->cmd, q->data), c), -ENODEV);
  EXPECT_EQ(buf[8], 0);

  // Data to the device travels with the request.
  uint8_t out[512];
  for (int i = 0; i < 512; ++i) out[i] = static_cast<uint8_t>(i);
  DeviceCommand w;
  w.cdb_len = 16;
  w.dir = XferDir::kToDevice;
  w.data = out;
  w.data_len = sizeof out;
  auto wq = frame::parse_device_request(*frame::device_request("/dev/sg0", w));
  ASSERT_TRUE(wq);
  EXPECT_EQ(std::vector<uint8_t>(out, out + 512), wq->data);
}

TEST(HalsimFrames, MalformedBytesAreRefused) {
  uint8_t buf[36] = {};
  DeviceCommand c = inquiry_cmd(buf);
  std::vector<uint8_t> req = *frame::device_request("/dev/sg3", c);
  // Every truncation, and any trailing byte.
  for (size_t n = 0; n < req.size(); ++n)
    EXPECT_FALSE(frame::parse_device_request({req.data(), n})) << n;
  std::vector<uint8_t> longer = req;
  longer.push_back(0);
  EXPECT_FALSE(frame::parse_device_request(longer));

  struct Patch {
    const char* what;
    size_t at;
    uint8_t value;
  };
  // Offsets: type 0, kind 1, dir 2, cdb_len 3, cdb 4-19, opcode 20, dwords 21-48, timeout
  // 49-52, data_len 53-56, device length 57-58.
  for (const Patch& p : std::vector<Patch>{{"type", 0, 9},
                                           {"kind", 1, 2},
                                           {"direction", 2, 3},
                                           {"cdb length", 3, 17},
                                           {"no transfer but a length", 2, 0},
                                           {"transfer past the limit", 53, 0x10},
                                           {"empty device path", 58, 0},
                                           {"device path longer than the payload", 58, 0x40}}) {
    std::vector<uint8_t> bad = req;
    bad[p.at] = p.value;
    if (std::string(p.what) == "empty device path") bad[57] = 0;
    EXPECT_FALSE(frame::parse_device_request(bad)) << p.what;
  }
  // Nor a path with a NUL in it.
  std::vector<uint8_t> nul = req;
  nul[60] = 0;
  EXPECT_FALSE(frame::parse_device_request(nul));

  // Replies: more data than the caller's buffer, truncation, a positive result.
  frame::DeviceRequest big;
  big.cmd = c;
  big.cmd.data_len = 64;
  std::vector<uint8_t> sixty_four(64, 1);
  EXPECT_EQ(frame::parse_device_reply(frame::device_reply(0, big.cmd, sixty_four), c), -EPROTO);
  std::vector<uint8_t> ok = frame::device_reply(0, c, std::vector<uint8_t>(36, 0));
  for (size_t n = 0; n < ok.size(); ++n)
    EXPECT_EQ(frame::parse_device_reply({ok.data(), n}, c), -EPROTO) << n;
  std::vector<uint8_t> positive = ok;
  positive[4] = 1;
  EXPECT_EQ(frame::parse_device_reply(positive, c), -EPROTO);

  // Frame headers: zero and oversized lengths.
  EXPECT_FALSE(frame::payload_length(std::vector<uint8_t>{0, 0, 0, 0}));
  EXPECT_FALSE(frame::payload_length(std::vector<uint8_t>{0, 0x40, 0, 1}));
  EXPECT_FALSE(frame::payload_length(std::vector<uint8_t>{0, 0}));
  EXPECT_EQ(frame::payload_length(std::vector<uint8_t>{0, 0, 1, 0}), 256u);
  // Control replies carry a status byte of 0 or 1.
  EXPECT_FALSE(frame::parse_control_reply(std::vector<uint8_t>{frame::kControlReply, 2}));
  EXPECT_FALSE(frame::parse_control(std::vector<uint8_t>{frame::kControlReply}));
}

// What each simulated disk answers through the socket is the appliance test's
// (tests/tools/appliance_test.cpp boots the library over it).
class HalsimSocket : public test::HalsimDaemonTest {
 protected:
  void SetUp() override { serve(); }
};

// A pulled disk stops answering and returns; a stopped daemon takes its socket with it and
// the library falls back to the real backend, whose ioctl fails on the plain nodes.
TEST_F(HalsimSocket, PulledDiskReturnsAndAStoppedDaemonTakesItsSocket) {
  auto pulled = nlohmann::json::parse(control("remove root/3"));
  EXPECT_EQ(pulled["pd_sys_id"], "sdc");
  uint8_t buf[96];
  DeviceCommand c = inquiry_cmd(buf);
  EXPECT_EQ(device_command("/dev/sg2", c), -ENODEV);
  auto back = nlohmann::json::parse(control("insert root/3"));
  EXPECT_EQ(back["name"], "hdd3");
  EXPECT_EQ(scsi_inquiry("/dev/sg2", -1, buf, 36), 0);
  EXPECT_NE(control("dance").find("unknown request"), std::string::npos);

  std::string sock = root.path("/run/halsim.sock");
  ASSERT_TRUE(std::filesystem::exists(sock));
  EXPECT_EQ(std::stoi(root.read("/run/halsim.pid")), ::getpid());
  bool stop = false;
  daemon->handle(frame::control_message("stop"), stop);
  EXPECT_TRUE(stop);
  daemon->request_stop();
  server.join();
  EXPECT_FALSE(std::filesystem::exists(sock));
  EXPECT_FALSE(root.exists("/run/halsim.pid"));
  EXPECT_LT(scsi_inquiry("/dev/sg2", -1, buf, 36), 0);
}

}  // namespace
}  // namespace bayhal
