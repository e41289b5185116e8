#!/usr/bin/env bash
# The shared library exports the C families and nothing of its internals: no C++ (mangled)
# name, and no lower-case name except the few the appliance's programs call by name.
# usage: check_exports.sh path/to/libbayhal.so
set -euo pipefail
lib=$1

# Lower-case names the system exports by name. Adding one here is a decision about the
# public interface, not a way to silence this check.
allowed_lower=(
  se_sys_setup_model_conf
  num_to_ascii
  fork_orphaned
  hal_get_system_uptime
  hal_get_last_uptime
  hal_set_last_uptime
)
# Exported families: a capitalised prefix, then an underscore.
family='^(SE|PD|VD|GPIO|HM|HAL_MB|HAL_Conf|Net|POE|Ini_Conf|Disk_Is)_[A-Za-z0-9_]+$'
singles='^(ERR_TRACE|MVC_Lock_File_Removable_After_Unlock|Clear_Real_Sys_Id_by_Enc_ID|BAYHAL_1)$'

names=$(nm -D --defined-only "$lib" | awk '{print $NF}' | sed 's/@.*//' | sort -u)
bad=0
for n in $names; do
  if [[ $n == _Z* ]]; then
    echo "C++ name exported: $n"; bad=1; continue
  fi
  [[ $n =~ $family || $n =~ $singles ]] && continue
  ok=0
  for a in "${allowed_lower[@]}"; do [[ $n == "$a" ]] && ok=1; done
  if [[ $ok -eq 0 ]]; then echo "not part of the interface: $n"; bad=1; fi
done
# The check must see a real interface, not an empty or unreadable library.
for must in ERR_TRACE num_to_ascii fork_orphaned; do
  grep -qx "$must" <<<"$names" || { echo "missing export: $must"; bad=1; }
done
count=$(wc -w <<<"$names")
if [[ $bad -eq 0 ]]; then echo "exports ok ($count names)"; fi
exit $bad
