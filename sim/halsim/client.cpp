#include "sim/halsim/client.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/unique_fd.h"
#include "sim/halsim/bay_names.h"
#include "sim/halsim/daemon.h"
#include "sim/halsim/hotplug_call.h"
#include "transport/transport_frame.h"

namespace bayhal::sim::halsim {
namespace {

using json = nlohmann::ordered_json;

// Waits until process `pid` has exited (a pidfd turns readable), at most `ms`.
void wait_exit(pid_t pid, int ms) {
  int fd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  if (fd < 0) return;  // already gone
  UniqueFd owner(fd);
  pollfd p{fd, POLLIN, 0};
  while (::poll(&p, 1, ms) < 0 && errno == EINTR) {
  }
}

}  // namespace

std::optional<std::pair<bool, json>> Client::request(const std::string& text, std::string& error) const {
  std::string sock = root_ + kSocketPath;
  int fd = frame::connect_socket(sock);
  if (fd < 0) {
    error = "no halsim serving " + root_ + " (" + sock + ": " + std::strerror(-fd) + ")";
    return std::nullopt;
  }
  UniqueFd conn(fd);
  std::vector<uint8_t> reply;
  if (int rc = frame::write_frame(fd, frame::control_message(text)); rc != 0 ||
      (rc = frame::read_frame(fd, reply)) != 0) {
    error = std::string("halsim connection: ") + std::strerror(-rc);
    return std::nullopt;
  }
  auto parsed = frame::parse_control_reply(reply);
  json j = parsed ? json::parse(parsed->second, nullptr, false) : json();
  if (!parsed || j.is_discarded()) {
    error = "halsim answered something that is not a control reply";
    return std::nullopt;
  }
  return std::make_pair(parsed->first, j);
}

std::optional<json> Client::status(std::string& error) const {
  auto r = request("status", error);
  if (!r) return std::nullopt;
  return r->second;
}

std::optional<pid_t> Client::stop(std::string& error) const {
  auto st = status(error);
  if (!st || !request("stop", error)) return std::nullopt;
  pid_t pid = st->value("pid", 0);
  if (pid > 0) wait_exit(pid, 10000);
  return pid;
}

std::optional<json> Client::hotplug(bool insert, const std::string& target, const std::string& disk,
                                    std::string& error, bool& ok) const {
  auto st = status(error);
  auto name = st ? control_target(*st, target, error) : std::nullopt;
  if (!name) return std::nullopt;
  auto r = request(std::string(insert ? "insert " : "remove ") + *name + (disk.empty() ? "" : " " + disk), error);
  if (!r) return std::nullopt;
  json j = r->second;
  if (!r->first) {
    error = j.value("error", "refused");
    return std::nullopt;
  }
  json call = j.value("visible", false) ? call_hotplug(root_, insert, j, ok) : json::object();
  j["call"] = call.contains("call") ? call["call"] : json();
  j["result"] = call.contains("result") ? call["result"] : json();
  return j;
}

std::optional<json> Client::board(const std::string& text, std::string& error) const {
  auto r = request(text, error);
  if (!r) return std::nullopt;
  if (!r->first) {
    error = r->second.value("error", "refused");
    return std::nullopt;
  }
  return r->second;
}

}  // namespace bayhal::sim::halsim
