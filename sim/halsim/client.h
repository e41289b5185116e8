// The command side of halsim: talks to the daemon serving a root over its socket, and after
// a hot-plug calls the library's hot-plug entry points the way the device manager would.
#pragma once
#include <sys/types.h>

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace bayhal::sim::halsim {

class Client {
 public:
  explicit Client(std::string root) : root_(std::move(root)) {}

  // One control request. nullopt (and `error`) when the daemon cannot be reached or answers
  // nonsense; otherwise whether it succeeded and its JSON reply.
  std::optional<std::pair<bool, nlohmann::ordered_json>> request(const std::string& text,
                                                         std::string& error) const;

  // The daemon's status (docs/halsim.md); nullopt with `error` when it cannot be reached.
  std::optional<nlohmann::ordered_json> status(std::string& error) const;
  // Stops the daemon and waits for it to exit; its pid, or nullopt with `error`.
  std::optional<pid_t> stop(std::string& error) const;
  // Inserts or removes what `target` names (a bay or a unit, in any spelling of
  // bay_names.h), then makes the library's hot-plug call. The daemon's answer plus "call"
  // and "result" (null when nothing is visible to the library yet); nullopt with `error`
  // when refused or unreachable. `ok` is false when the library's call failed.
  std::optional<nlohmann::ordered_json> hotplug(bool insert, const std::string& target, const std::string& disk,
                                        std::string& error, bool& ok) const;
  // A board or disk request ("board", "board log N", "board clear", "press BUTTON", "release
  // BUTTON", "spin BAY down|up"): the daemon's answer, or nullopt with `error` when refused or unreachable.
  std::optional<nlohmann::ordered_json> board(const std::string& text, std::string& error) const;

 private:
  std::string root_;
};

}  // namespace bayhal::sim::halsim
