#include "sim/halsim/client.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "transport/transport_frame.h"
#include "foundation/unique_fd.h"
#include "sim/halsim/daemon.h"
#include "sim/halsim/hotplug_call.h"

namespace bayhal::sim::halsim {
namespace {

using nlohmann::json;

constexpr int kOk = 0, kFailed = 1;

std::string cell(const json& j) { return j.is_null() ? "-" : j.is_string() ? j.get<std::string>() : j.dump(); }

void print_table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> w;
  for (const auto& r : rows)
    for (size_t i = 0; i < r.size(); ++i) {
      if (w.size() <= i) w.push_back(0);
      w[i] = std::max(w[i], r[i].size());
    }
  for (const auto& r : rows) {
    std::string line;
    for (size_t i = 0; i < r.size(); ++i) {
      std::string c = r[i];
      if (i + 1 < r.size()) c.resize(w[i] + 2, ' ');
      line += c;
    }
    std::cout << line << '\n';
  }
}

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

int Client::stop(bool as_json) const {
  std::string error;
  auto st = request("status", error);
  auto r = st ? request("stop", error) : std::nullopt;
  if (!r) return std::cerr << "halsim: " << error << '\n', kFailed;
  pid_t pid = st->second.value("pid", 0);
  if (pid > 0) wait_exit(pid, 10000);
  if (as_json)
    std::cout << json{{"stopped", pid}}.dump(2) << '\n';
  else
    std::cout << "halsim " << pid << " stopped\n";
  return kOk;
}

int Client::status(bool as_json) const {
  std::string error;
  auto r = request("status", error);
  if (!r) return std::cerr << "halsim: " << error << '\n', kFailed;
  const json& j = r->second;
  if (as_json) return std::cout << j.dump(2) << '\n', kOk;
  std::cout << "appliance " << cell(j["appliance"]) << ", halsim pid " << cell(j["pid"]) << '\n';
  std::vector<std::vector<std::string>> rows{{"SLOT", "ENCLOSURE", "DISK", "DEVICE"}};
  for (const json& s : j["slots"])
    rows.push_back({cell(s["slot"]), cell(s["enc_sys_id"]), cell(s["disk"]), cell(s["pd_sys_id"])});
  print_table(rows);
  for (const json& u : j["units"])
    std::cout << "unit " << cell(u["unit"]) << " (" << cell(u["enc_sys_id"]) << "): "
              << (u.value("cabled", false) ? "cabled" : "not cabled") << '\n';
  return kOk;
}

int Client::hotplug(bool insert, const std::string& target, const std::string& disk, bool as_json) const {
  std::string error;
  std::string text = std::string(insert ? "insert " : "remove ") + target + (disk.empty() ? "" : " " + disk);
  auto r = request(text, error);
  if (!r) return std::cerr << "halsim: " << error << '\n', kFailed;
  json j = r->second;
  if (!r->first) return std::cerr << "halsim: " << cell(j["error"]) << '\n', kFailed;
  bool ok = true;
  if (j.value("visible", false)) j["hotplug"] = call_hotplug(root_, insert, j, ok);
  if (as_json) {
    std::cout << j.dump(2) << '\n';
  } else {
    std::string what = j.contains("unit") ? "unit " + cell(j["unit"]) : "slot " + cell(j["slot"]);
    if (!j.value("visible", false))
      std::cout << what << ": " << (insert ? "inserted" : "pulled") << " (its unit is not cabled; nothing to report)\n";
    else
      std::cout << what << ": " << (insert ? "inserted " : "pulled ")
                << (j.contains("disk") ? cell(j["disk"]) + " (" + cell(j["pd_sys_id"]) + ")" : cell(j["enc_sys_id"]))
                << "; " << cell(j["hotplug"]["call"]) << " = " << cell(j["hotplug"]["result"]) << '\n';
  }
  return ok ? kOk : kFailed;
}

}  // namespace bayhal::sim::halsim
