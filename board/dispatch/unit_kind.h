// Stage 1 of the board dispatch: which kind of enclosure an identity names. The appliance's
// own board is served by stage 2 (board/dispatch/resolve.h); every other kind hands the whole
// operation to the back-end family of that kind.
#pragma once
#include <optional>

#include "board/driver.h"

namespace bayhal::board {

enum class UnitKind : unsigned {
  kRoot = 1u << 0,  // exactly "root"
  kSas = 1u << 1,   // a SAS expander present now
  kUsb = 1u << 2,   // "usb_"
  kPx = 1u << 3,    // "px_"
  kMvs = 1u << 4,   // "mvs_"
  kTb = 1u << 5,    // "tb_"
  kZmc = 1u << 6,   // "zmc"
};

// The kinds an operation offers, as a mask of UnitKind bits.
using Branches = unsigned;
constexpr Branches kAllBranches = 0x7F;
constexpr Branches operator|(UnitKind a, UnitKind b) {
  return static_cast<unsigned>(a) | static_cast<unsigned>(b);
}
constexpr Branches operator|(Branches a, UnitKind b) { return a | static_cast<unsigned>(b); }

// The kind of an identity (by the enclosure-kind table, enc_sys/enc_kind.h); nullopt for
// anything else, which includes "usb" without the underscore and the root's pseudo-enclosures.
std::optional<UnitKind> unit_kind(const char* enc_sys_id);
// The back-end family that serves a kind other than the root.
Family unit_family(UnitKind kind);

}  // namespace bayhal::board
