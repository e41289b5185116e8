#!/usr/bin/env bash
# The shared library exports the C families and nothing of its internals: no C++ (mangled)
# name, and no lower-case name except the few the appliance's programs call by name and the
# private interface of bayhal's own programs (bayhal_tool_*), which only its own version
# node BAYHAL_PRIVATE may carry.
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
singles='^(ERR_TRACE|MVC_Lock_File_Removable_After_Unlock|Clear_Real_Sys_Id_by_Enc_ID|BAYHAL_1|BAYHAL_PRIVATE)$'

versioned=$(nm -D --defined-only "$lib" | awk '{print $NF}')
names=$(sed 's/@.*//' <<<"$versioned" | sort -u)
bad=0
# The private interface and its version node go together, both ways.
while read -r v; do
  private=0 node=0
  [[ ${v%%@*} == bayhal_tool_* ]] && private=1
  [[ $v == *@@BAYHAL_PRIVATE ]] && node=1
  if [[ $private -ne $node ]]; then echo "private interface and version node disagree: $v"; bad=1; fi
done <<<"$versioned"
for n in $names; do
  if [[ $n == _Z* ]]; then
    echo "C++ name exported: $n"; bad=1; continue
  fi
  [[ $n =~ $family || $n =~ $singles || $n == bayhal_tool_* ]] && continue
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
