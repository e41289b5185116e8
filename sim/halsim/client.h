// The command side of halsim: talks to the daemon serving a root over its socket, and after
// a hot-plug calls the library's hot-plug entry points the way the device manager would.
#pragma once
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace bayhal::sim::halsim {

class Client {
 public:
  explicit Client(std::string root) : root_(std::move(root)) {}

  // One control request. nullopt (and `error`) when the daemon cannot be reached or answers
  // nonsense; otherwise whether it succeeded and its JSON reply.
  std::optional<std::pair<bool, nlohmann::json>> request(const std::string& text,
                                                         std::string& error) const;

  // The subcommands; each returns the process exit code (0, 1 failed, 2 usage).
  int stop(bool as_json) const;
  int status(bool as_json) const;
  int hotplug(bool insert, const std::string& target, const std::string& disk, bool as_json) const;

 private:
  std::string root_;
};

}  // namespace bayhal::sim::halsim
