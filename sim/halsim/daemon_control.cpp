// halsim's control messages: "status", "insert BAY [DISK]", "insert UNIT", "remove BAY",
// "remove UNIT", "board", "board log [N]", "board clear", "press BUTTON", "release BUTTON",
// "spin BAY down|up", "stop", with bays as the scenario spells them ("root/3", "jbod/5"). Replies are JSON
// objects (docs/halsim.md).
#include <sstream>

#include <nlohmann/json.hpp>

#include "sim/halsim/daemon.h"

namespace bayhal::sim::halsim {
namespace {

using json = nlohmann::ordered_json;

std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> out;
  for (std::string w; in >> w;) out.push_back(w);
  return out;
}

json disk_json(const PluggedDisk& pd) {
  return {{"bay", pd.slot}, {"name", pd.disk}, {"enc_sys_id", pd.enc_sys_id},
          {"pd_sys_id", pd.pd_sys_id}, {"sg", pd.sg}};
}

json status_json(const Machine& m) {
  json bays = json::array();
  for (const Slot& s : m.scenario().slots) {
    json j{{"bay", s.id()}, {"label", s.label.empty() ? json() : json(s.label)}, {"enc_sys_id", m.enc_sys_id(s)}};
    auto c = m.contents().find(s.id());
    j["name"] = c == m.contents().end() ? json() : json(c->second);
    auto v = m.visible().find(s.id());
    j["pd_sys_id"] = v == m.visible().end() ? json() : json(v->second.pd_sys_id);
    bays.push_back(j);
  }
  json units = json::array();
  for (const Unit& u : m.scenario().units)
    units.push_back({{"unit", u.name}, {"enc_sys_id", m.enc_sys_id({u.name, 1, {}, 0, {}, false})},
                     {"cabled", m.cabled(u.name)}});
  return {{"appliance", m.scenario().name}, {"pid", ::getpid()}, {"bays", bays}, {"units", units}};
}

json hotplug(Machine& m, const std::vector<std::string>& w, bool insert, bool& ok) {
  std::string error;
  if (m.scenario().unit(w[1]) != nullptr) {
    if (w.size() > 2) return ok = false, json{{"error", "a unit is plugged as a whole"}};
    std::string id = insert ? m.plug_unit(w[1], error) : m.unplug_unit(w[1], error);
    if (id.empty()) return ok = false, json{{"error", error}};
    return {{"unit", w[1]}, {"enc_sys_id", id}, {"visible", true}};
  }
  const std::string& slot = w[1];
  auto pd = insert ? m.insert(slot, w.size() > 2 ? w[2] : "", error) : m.remove(slot, error);
  if (!error.empty()) return ok = false, json{{"error", error}};
  if (!pd) return {{"bay", slot}, {"visible", false}};  // the unit is not cabled
  json j = disk_json(*pd);
  j["visible"] = true;
  return j;
}

// "spin BAY down|up": the disk's spindle, as its own power management would leave it.
json spin(const Machine& m, DeviceModels& models, const std::string& bay, bool down, bool& ok) {
  auto v = m.visible().find(bay);
  if (v == m.visible().end()) return ok = false, json{{"error", "bay " + bay + " holds no disk the kernel sees"}};
  auto s = models.spindle(v->second, down);
  if (!s) return ok = false, json{{"error", "the disk in bay " + bay + " has no spindle to spin down"}};
  return {{"bay", bay}, {"pd_sys_id", v->second.pd_sys_id}, {"standby", s->standby},
          {"commands", s->commands}, {"wakeups", s->wakeups}};
}

// "board": the chips' state; "board log [N]": the last N port accesses (default 10000);
// "board clear": forget the accesses logged so far.
json board_control(BoardModels& board, const std::vector<std::string>& w, bool& ok) {
  if (w.size() == 1) return board.status();
  if (w.size() == 2 && w[1] == "clear") {
    board.clear_log();
    return json::object();
  }
  if (w[1] == "log" && w.size() <= 3) {
    size_t last = 10000;
    if (w.size() == 3) {
      try {
        last = std::stoul(w[2]);
      } catch (const std::exception&) {
        ok = false;
        return {{"error", "board log takes a count"}};
      }
    }
    return {{"accesses", board.log(last)}};
  }
  ok = false;
  return {{"error", "board takes nothing, log [N] or clear"}};
}

}  // namespace

std::string Daemon::control(const std::string& text, bool& ok, bool& stop) {
  std::vector<std::string> w = words(text);
  std::lock_guard lock(mu_);
  board_.on_watch();  // a PWM written just before is seen by whoever asks next
  json reply;
  try {
    if (w.size() == 1 && w[0] == "status") {
      reply = status_json(machine_);
    } else if (!w.empty() && w[0] == "board") {
      reply = board_control(board_, w, ok);
    } else if (w.size() == 2 && (w[0] == "press" || w[0] == "release")) {
      if (!board_.press(w[1], w[0] == "press")) {
        ok = false;
        reply = {{"error", "the board has no button '" + w[1] + "'"}};
      } else {
        reply = {{"button", w[1]}, {"pressed", w[0] == "press"}};
      }
    } else if (w.size() == 3 && w[0] == "spin" && (w[2] == "down" || w[2] == "up")) {
      reply = spin(machine_, models_, w[1], w[2] == "down", ok);
    } else if (w.size() == 1 && w[0] == "stop") {
      stop = true;
      reply = json::object();
    } else if (w.size() >= 2 && w.size() <= 3 && (w[0] == "insert" || w[0] == "remove")) {
      if (w[0] == "remove" && w.size() != 2) {
        ok = false;
        reply = {{"error", "remove takes one slot or unit"}};
      } else {
        reply = hotplug(machine_, w, w[0] == "insert", ok);
      }
    } else {
      ok = false;
      reply = {{"error", "unknown request '" + text + "'"}};
    }
  } catch (const std::exception& e) {
    ok = false;
    reply = {{"error", e.what()}};
  }
  return reply.dump();
}

}  // namespace bayhal::sim::halsim
