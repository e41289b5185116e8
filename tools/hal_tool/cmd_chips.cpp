// The board's chips at register level, for engineers:
//   hal_tool ec get REG | set REG VALUE | fw     the embedded controller's registers
//   hal_tool sio id | gpio PIN [on|off] | blink PIN [ENGINE]
// The board functions themselves (temperatures, fans, LEDs) go through `hal_tool board`.
#include <cerrno>
#include <cstdio>

#include "tools/hal_tool/tool.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

struct Args {
  std::string reg, value, pin, state, engine = "1";
};

std::string hex(unsigned v, int digits) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%0*x", digits, v);
  return buf;
}

// A failed chip call: the driver's code in words.
void chip_failed(Context& ctx, const std::string& what, int rc) {
  ctx.fail(what + ": " + (rc == -EBUSY   ? std::string("the controller did not answer in time")
                          : rc == -ENXIO ? std::string("no such port")
                                         : "refused" + log_hint()));
}

void ec_get(Context& ctx, const Args& a) {
  long long reg;
  if (!number_arg(ctx, "register", a.reg, 0, 0xFFFF, reg)) return;
  unsigned char v = 0;
  if (int rc = bayhal_tool_ec_get_reg(static_cast<unsigned>(reg), &v); rc != 0)
    return chip_failed(ctx, "ec get " + a.reg, rc);
  ctx.emit(json{{"register", reg}, {"value", v}}, hex(static_cast<unsigned>(reg), 4) + " = " + hex(v, 2));
}

void ec_set(Context& ctx, const Args& a) {
  long long reg, v;
  if (!number_arg(ctx, "register", a.reg, 0, 0xFFFF, reg) || !number_arg(ctx, "value", a.value, 0, 255, v)) return;
  if (int rc = bayhal_tool_ec_set_reg(static_cast<unsigned>(reg), static_cast<unsigned char>(v)); rc != 0)
    return chip_failed(ctx, "ec set " + a.reg, rc);
  ctx.emit(json{{"register", reg}, {"value", v}},
           hex(static_cast<unsigned>(reg), 4) + " := " + hex(static_cast<unsigned>(v), 2));
}

void ec_fw(Context& ctx) {
  char fw[16];
  if (int rc = bayhal_tool_ec_fw_version(fw, sizeof fw); rc != 0) return chip_failed(ctx, "ec fw", rc);
  ctx.emit(json{{"firmware", fw}}, fw);
}

void sio_id(Context& ctx) {
  unsigned id = 0;
  if (int rc = bayhal_tool_sio_chip_id(&id); rc != 0) return chip_failed(ctx, "sio id", rc);
  ctx.emit(json{{"chip_id", id}}, hex(id, 4));
}

void sio_gpio(Context& ctx, const Args& a) {
  long long pin;
  bool on = false;
  if (!number_arg(ctx, "pin", a.pin, 0, 99, pin)) return;
  if (!a.state.empty() && !on_off_arg(ctx, "state", a.state, on)) return;
  int v = on ? 1 : 0;
  if (int rc = bayhal_tool_sio_gpio(static_cast<int>(pin), a.state.empty() ? -1 : v, &v); rc != 0)
    return chip_failed(ctx, "sio gpio " + a.pin, rc);
  ctx.emit(json{{"pin", pin}, {"value", v}}, "pin " + a.pin + " = " + std::to_string(v));
}

void sio_blink(Context& ctx, const Args& a) {
  long long pin, engine;
  if (!number_arg(ctx, "pin", a.pin, 0, 99, pin) || !number_arg(ctx, "engine", a.engine, 1, 2, engine)) return;
  if (int rc = bayhal_tool_sio_blink(static_cast<int>(pin), static_cast<int>(engine)); rc != 0)
    return chip_failed(ctx, "sio blink " + a.pin, rc);
  ctx.emit(json{{"pin", pin}, {"engine", engine}}, "pin " + a.pin + " blinking (engine " + a.engine + ")");
}

void add_chips(CLI::App& app, Context& ctx) {
  static Args args;
  CLI::App* ec = ctx.area(app, "ec", "the embedded controller's registers");
  CLI::App* get = ctx.add_command(ec, "get", "read one register (16-bit address)", "ec", [&ctx] { ec_get(ctx, args); });
  get->add_option("reg", args.reg, "register, e.g. 0x155")->required();
  CLI::App* set = ctx.add_command(ec, "set", "write one register", "ec", [&ctx] { ec_set(ctx, args); });
  set->add_option("reg", args.reg, "register")->required();
  set->add_option("value", args.value, "byte")->required();
  ctx.add_command(ec, "fw", "the controller's firmware version", "ec", [&ctx] { ec_fw(ctx); });

  CLI::App* sio = ctx.area(app, "sio", "the Super I/O chip: id and GPIO pins (GP52 is pin 52)");
  ctx.add_command(sio, "id", "the chip id", "sio", [&ctx] { sio_id(ctx); });
  CLI::App* gpio = ctx.add_command(sio, "gpio", "read a pin (1 = line low), or drive it on or off", "sio",
                                   [&ctx] { sio_gpio(ctx, args); });
  gpio->add_option("pin", args.pin, "pin")->required();
  gpio->add_option("state", args.state, "on or off");
  CLI::App* blink = ctx.add_command(sio, "blink", "hand a pin to a blink engine (1 or 2)", "sio",
                                    [&ctx] { sio_blink(ctx, args); });
  blink->add_option("pin", args.pin, "pin")->required();
  blink->add_option("engine", args.engine, "engine");
}

}  // namespace

HAL_TOOL_COMMAND(add_chips);

}  // namespace hal_tool
