#include "board/dispatch/unit_kind.h"

#include <string_view>

#include "enc_sys/sas_expander.h"

namespace bayhal::board {
namespace {

struct PrefixRow {
  std::string_view prefix;
  UnitKind kind;
  Family family;
};

// After "root" and the SAS expander check, in this order.
constexpr PrefixRow kPrefixes[] = {
    {"usb_", UnitKind::kUsb, Family::kUsbUnit}, {"px_", UnitKind::kPx, Family::kPx},
    {"mvs_", UnitKind::kMvs, Family::kMvs},     {"tb_", UnitKind::kTb, Family::kTb},
    {"zmc", UnitKind::kZmc, Family::kZmc},
};

}  // namespace

std::optional<UnitKind> unit_kind(const char* enc_sys_id) {
  if (enc_sys_id == nullptr) return std::nullopt;
  std::string_view id(enc_sys_id);
  if (id == "root") return UnitKind::kRoot;
  if (comm_sys_check_is_sas_expander(enc_sys_id)) return UnitKind::kSas;
  for (const PrefixRow& row : kPrefixes)
    if (id.starts_with(row.prefix)) return row.kind;
  return std::nullopt;
}

Family unit_family(UnitKind kind) {
  if (kind == UnitKind::kSas) return Family::kSes;
  for (const PrefixRow& row : kPrefixes)
    if (row.kind == kind) return row.family;
  return Family::kSes;
}

}  // namespace bayhal::board
