// What serves each board function of the root board, as the model description resolves it
// now (without the per-process caches, so an edited description shows at once): the key and
// its value, the chip family, its channel and whether that family's driver offers the
// operation. hal_tool board shows it.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace bayhal::board {

struct FunctionView {
  std::string group;     // "temperature", "fan", "LED", "button", "power supply", "setting"
  std::string name;      // "temperature 15", "fan 6", "status LED red", ...
  int index = -1;        // temperature or fan index; -1 for the others
  std::string section;   // where the selecting key is; empty when the function has none
  std::string key;
  std::optional<std::string> value;
  std::optional<std::string> slot;  // fans: the FAN_<n> value
  std::string chip;      // the family ("EC", "I2C", "EMCU", ...); empty when none is named
  int channel = -1;      // the number the chip takes; -1 when none
  int address = -1;      // the I2C device or I/O port the value names; -1 when none
  bool supported = false;
  std::string reason;    // why not, when not supported
};

std::vector<FunctionView> board_map();

}  // namespace bayhal::board
