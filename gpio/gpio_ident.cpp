// The ident (locate) actions of an enclosure: its ident LED and the appliance's locate
// tools (buzzer, front-panel display, speaker). What is active is remembered per enclosure
// until the next boot, so a later call switches off exactly what an earlier one started.
#include <string>

#include "bayhal/GPIO.h"
#include "bayhal/Ini_Conf.h"
#include "board/dispatch/se_sys.h"
#include "foundation/c_boundary.h"
#include "foundation/command_runner.h"
#include "foundation/export.h"
#include "gpio/gpio_call.h"

using namespace bayhal;
using namespace bayhal::gpio;

namespace {

constexpr char kActiveFile[] = "/tmp/ident_action.conf";
constexpr char kActiveKey[] = "actions";

std::string section_of(int enc_id) { return "Enclosure_" + std::to_string(enc_id); }

int active_actions(int enc_id) {
  int bits = 0;
  Ini_Conf_Get_Field_Int(kActiveFile, section_of(enc_id).c_str(), kActiveKey, &bits, 1);
  return bits;
}

bool run_tool(const std::string& line) { return exit_code_of(runner().shell(line)) == 0; }

// One locate tool: "/sbin/hal_tool <name> on|off [voice] >&/dev/null".
bool locate_tool(const char* name, bool on, int voice) {
  std::string line = std::string("/sbin/hal_tool ") + name + (on ? " on" : " off");
  if (on && voice >= 0) line += " " + std::to_string(voice);
  return run_tool(line + " >&/dev/null");
}

bool switch_action(const char* sys_id, int bit, bool on, int voice) {
  switch (bit) {
    case GPIO_IDENT_LED: return board::se_sys_set_ident_led(sys_id, on ? 1 : 0) == 0;
    case GPIO_IDENT_BUZZER: return locate_tool("buzzer_locate", on, -1);
    case GPIO_IDENT_LCM: return locate_tool("lcm_locate", on, -1);
    case GPIO_IDENT_SPEAKER: return locate_tool("speaker_locate", on, voice);
  }
  return false;
}

int enable(const char* func, int enc_id, int actions, int voice) {
  return by_identity(func, enc_id, {enc_id, actions}, [&](const char* sys_id) {
    int before = active_actions(enc_id);
    int now = 0;
    bool ok = true;
    for (int bit : {GPIO_IDENT_LED, GPIO_IDENT_BUZZER, GPIO_IDENT_LCM, GPIO_IDENT_SPEAKER}) {
      bool want = actions & bit;
      if (!want && !(before & bit)) continue;
      bool done = switch_action(sys_id, bit, want, voice);
      ok = ok && done;
      // On when switched on; also when it could not be switched off.
      if (want == done) now |= bit;
    }
    Ini_Conf_Set_Field_Int(kActiveFile, section_of(enc_id).c_str(), kActiveKey, now, 1);
    return ok ? 0 : -1;
  });
}

}  // namespace

BAYHAL_EXPORT int GPIO_Enable_Ident_Action(int enc_id, int actions) try {
  return enable(__func__, enc_id, actions, -1);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int GPIO_Enable_Ident_Action_Voice(int enc_id, int actions, int voice) try {
  return enable(__func__, enc_id, actions, voice);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int GPIO_Get_Ident_Action(int enc_id) try {
  return by_identity(__func__, enc_id, {enc_id}, [&](const char*) { return active_actions(enc_id); });
} BAYHAL_C_BOUNDARY(-1)
