// The machinery every se_sys_* operation shares: stage 1 with the operation's own branches,
// the call of a family's operation with the documented failure when the family lacks it,
// and the microcontroller family the MCU spec selects.
#pragma once
#include "board/dispatch/resolve.h"
#include "board/dispatch/unit_kind.h"
#include "board/driver.h"

namespace bayhal::board {

// How an operation answers an identity outside its branches.
enum class Unknown {
  kNotImplement,  // "%s(%d): enc_sys_id = %s not implement.\n"
  kNotImplementShort,  // "%s(%d):NOT implement\n"
  kSilent,        // -1 without a message (root-only operations)
};

// The hm_type of a family; 6 for both microcontroller protocols, 0 for families that have
// none (CPLD, ICH, IOPORT, the beeper, expansion-unit back-ends).
int family_hm_type(Family f);
// The family of an hm_type; MCU is resolved through the MCU spec.
Family family_of(int hm_type);
// EMCU when the MCU spec is 3 or 4, else MCU.
Family mcu_family();
// The family a selection names (MCU through the MCU spec).
Family family_of(const Choice& c);

// Calls `op` of the family's table with `t` and `args`; a null operation answers -1 with
// the documented trace under `who`.
template <typename Fn, typename... Args>
int call_driver(const char* who, Family f, Fn Driver::*op, const Target& t, Args... args);

// Stage 1: the root goes to root(), an expansion kind among `branches` to the operation
// `op` of its family's table (with the function's `index`); any other identity answers -1
// as `unknown` says.
template <typename Root, typename Fn, typename... Args>
int dispatch(const char* who, const char* enc_sys_id, int index, Branches branches,
             Unknown unknown, Root root, Fn Driver::*op, Args... args);

// Root-only: root() for "root", -1 without a message for anything else.
template <typename Root>
int root_only(const char* enc_sys_id, Root root);

// ---- implementation ----

int not_built(const char* who, int line, Family f, const Target& t);
int not_dispatched(const char* who, int line, const char* enc_sys_id, Unknown unknown);

template <typename Fn, typename... Args>
int call_driver(const char* who, Family f, Fn Driver::*op, const Target& t, Args... args) {
  Fn fn = driver(f).*op;
  if (fn == nullptr) return not_built(who, __LINE__, f, t);
  return fn(t, args...);
}

template <typename Root, typename Fn, typename... Args>
int dispatch(const char* who, const char* enc_sys_id, int index, Branches branches,
             Unknown unknown, Root root, Fn Driver::*op, Args... args) {
  std::optional<UnitKind> kind = unit_kind(enc_sys_id);
  if (kind && (branches & static_cast<unsigned>(*kind))) {
    if (*kind == UnitKind::kRoot) return root();
    Target t;
    t.enc_sys_id = enc_sys_id;
    t.index = index;
    return call_driver(who, unit_family(*kind), op, t, args...);
  }
  return not_dispatched(who, __LINE__, enc_sys_id, unknown);
}

template <typename Root>
int root_only(const char* enc_sys_id, Root root) {
  if (enc_sys_id == nullptr || std::string_view(enc_sys_id) != "root") return -1;
  return root();
}

}  // namespace bayhal::board
