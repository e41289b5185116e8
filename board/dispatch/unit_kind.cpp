#include "board/dispatch/unit_kind.h"

#include <string_view>

#include "enc_sys/enc_kind.h"
#include "enc_sys/sas_expander.h"

namespace bayhal::board {
namespace {

// The expansion kinds the board back-end serves. The enclosure-kind table tells the kind;
// the board wants the full prefix of a unit's identity, so "usb2-1" is not a USB unit here.
struct UnitRow {
  EncKind kind;
  std::string_view prefix;
  UnitKind unit;
  Family family;
};

constexpr UnitRow kUnits[] = {
    {EncKind::kUsbUnit, "usb_", UnitKind::kUsb, Family::kUsbUnit},
    {EncKind::kPx, "px_", UnitKind::kPx, Family::kPx},
    {EncKind::kMvs, "mvs_", UnitKind::kMvs, Family::kMvs},
    {EncKind::kTbUnit, "tb_", UnitKind::kTb, Family::kTb},
    {EncKind::kZmc, "zmc", UnitKind::kZmc, Family::kZmc},
};

constexpr bool prefixes_agree() {
  for (const UnitRow& u : kUnits)
    if (enc_kind_of(u.prefix) != &enc_kind_row(u.kind)) return false;
  return true;
}
static_assert(prefixes_agree(), "each board prefix must name its enclosure kind");

}  // namespace

std::optional<UnitKind> unit_kind(const char* enc_sys_id) {
  if (enc_sys_id == nullptr) return std::nullopt;
  std::string_view id(enc_sys_id);
  const EncKindRow* row = enc_kind_of(id);
  if (row != nullptr && row->kind == EncKind::kRoot) return UnitKind::kRoot;
  if (row == nullptr) {
    if (comm_sys_check_is_sas_expander(id)) return UnitKind::kSas;
    return std::nullopt;
  }
  for (const UnitRow& u : kUnits)
    if (u.kind == row->kind && id.starts_with(u.prefix)) return u.unit;
  return std::nullopt;
}

Family unit_family(UnitKind kind) {
  for (const UnitRow& u : kUnits)
    if (u.unit == kind) return u.family;
  return Family::kSes;
}

}  // namespace bayhal::board
