#include "sim/halsim/daemon.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "board/drivers/board_lock.h"
#include "transport/transport_frame.h"
#include "sim/halsim/root_writer.h"
#include "sim/halsim/sed_drives.h"

namespace bayhal::sim::halsim {

Daemon::Daemon(std::string root, Scenario sc)
    : root_(std::move(root)),
      sc_(std::move(sc)),
      models_(sc_),
      board_(sc_),
      machine_(sc_, root_,
               PlugHooks{[this](const PluggedDisk& pd, const Disk& d) {
                           models_.plug(pd, d);
                           sed_plug(root_, pd, d);
                         },
                         [this](const PluggedDisk& pd) {
                           models_.unplug(pd);
                           sed_unplug(root_, pd);
                         }}) {}

Daemon::~Daemon() {
  for (auto& [id, t] : threads_)
    if (t.joinable()) t.join();
}

void Daemon::reap() {
  std::vector<std::thread> done;
  {
    std::lock_guard lock(conn_mu_);
    for (std::thread::id id : finished_) {
      auto it = threads_.find(id);
      if (it == threads_.end()) continue;
      done.push_back(std::move(it->second));
      threads_.erase(it);
    }
    finished_.clear();
  }
  for (std::thread& t : done) t.join();
}

std::string Daemon::start() {
  try {
    clear_volatile(root_);
    write_firmware_files(root_, machine_.scenario());
    install_stand_ins(root_);
    sed_power_on(root_, machine_.scenario());
    machine_.power_on();
    board_.power_on(root_);
  } catch (const std::exception& e) {
    return std::string("power-on failed: ") + e.what();
  }
  int pipe_fds[2];
  if (::pipe2(pipe_fds, O_CLOEXEC | O_NONBLOCK) != 0) return std::string("pipe: ") + std::strerror(errno);
  wake_read_.reset(pipe_fds[0]);
  wake_write_.reset(pipe_fds[1]);
  std::string sock = root_ + kSocketPath;
  int fd = frame::listen_socket(sock);
  if (fd < 0) return sock + ": " + std::strerror(-fd);
  listen_.reset(fd);
  std::ofstream(root_ + kPidPath) << ::getpid() << '\n';
  return {};
}

void Daemon::request_stop() {
  if (wake_write_) {
    char c = 1;
    [[maybe_unused]] ssize_t n = ::write(wake_write_.get(), &c, 1);
  }
}

void Daemon::serve() {
  for (;;) {
    pollfd fds[3] = {{listen_.get(), POLLIN, 0}, {wake_read_.get(), POLLIN, 0}, {board_.watch_fd(), POLLIN, 0}};
    if (::poll(fds, board_.watch_fd() >= 0 ? 3 : 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (fds[1].revents != 0) break;
    if (fds[2].revents != 0) {
      std::lock_guard lock(mu_);
      board_.on_watch();
    }
    if ((fds[0].revents & POLLIN) == 0) continue;
    reap();
    int c = ::accept4(listen_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (c < 0) continue;
    std::lock_guard lock(conn_mu_);
    conns_.insert(c);
    std::thread t(&Daemon::serve_connection, this, c);
    std::thread::id id = t.get_id();
    threads_.emplace(id, std::move(t));
  }
  // The socket file goes first, so a client that finds it can expect an answer.
  std::error_code ec;
  std::filesystem::remove(root_ + kSocketPath, ec);
  listen_.reset();
  {
    std::lock_guard lock(conn_mu_);
    for (int c : conns_) ::shutdown(c, SHUT_RDWR);
  }
  std::map<std::thread::id, std::thread> all;
  {
    std::lock_guard lock(conn_mu_);
    all.swap(threads_);
    finished_.clear();
  }
  for (auto& [id, t] : all) t.join();
  board_locks_remove(root_);  // the board's semaphores go with the board
  std::filesystem::remove(root_ + kPidPath, ec);
}

void Daemon::serve_connection(int fd) {
  UniqueFd conn(fd);
  auto client = std::make_unique<Client>();
  ucred peer{};
  socklen_t len = sizeof peer;
  if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &len) == 0) client->pid = static_cast<uint32_t>(peer.pid);
  std::vector<uint8_t> request;
  bool stop = false;
  while (!stop && frame::read_frame(fd, request) == 0) {
    std::vector<uint8_t> reply = handle(request, stop, *client);
    if (reply.empty() || frame::write_frame(fd, reply) != 0) break;
  }
  {
    std::lock_guard lock(conn_mu_);
    conns_.erase(fd);
    finished_.push_back(std::this_thread::get_id());
  }
  if (stop) request_stop();
}

std::vector<uint8_t> Daemon::handle(std::span<const uint8_t> payload, bool& stop, Client& client) {
  if (auto text = frame::parse_control(payload)) {
    bool ok = true;
    std::string reply = control(*text, ok, stop);
    return frame::control_reply(ok, reply);
  }
  if (!payload.empty() && payload[0] == frame::kDeviceCommand) return device(payload);
  if (!payload.empty() && payload[0] == frame::kPortRequest) return port(payload, client);
  return {};  // not a message this daemon knows: the connection is dropped
}

std::vector<uint8_t> Daemon::device(std::span<const uint8_t> payload) {
  auto q = frame::parse_device_request(payload);
  if (!q) return {};
  if (!q->data.empty()) q->cmd.data = q->data.data();
  int rc;
  {
    std::lock_guard lock(mu_);
    rc = models_.submit(q->device, q->cmd);
  }
  return frame::device_reply(rc, q->cmd, q->data);
}

std::vector<uint8_t> Daemon::port(std::span<const uint8_t> payload, Client& client) {
  auto q = frame::parse_port_request(payload);
  if (!q) return {};
  std::lock_guard lock(mu_);
  return frame::port_reply(board_.access(*q, client.pid, client.ports));
}

}  // namespace bayhal::sim::halsim
