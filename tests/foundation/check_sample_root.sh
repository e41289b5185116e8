#!/usr/bin/env bash
# The sample appliance of examples/ sets up as documented: hal_tool model setup on a copy
# of its root (named relative to the working directory) links the rev A description and
# applies exactly the fix-ups its hardware calls for; model show then reads the corrected
# file through the link.
# usage: check_sample_root.sh HAL_TOOL SOURCE_DIR
set -euo pipefail
tool=$1 src=$2
root=$(mktemp -d /tmp/bayhal-sample-XXXXXX)
trap 'rm -rf "$root"' EXIT
cp -a "$src/examples/roots/sample/." "$root/"
mkdir -p "$root/var/log" "$root/var/lock"

# A relative root works as the absolute one; the link written is relative, so it survives a move.
out=$(cd "$(dirname "$root")" && "$tool" --root "$(basename "$root")" --json model setup)
fail() { echo "sample root: $*"; echo "$out"; exit 1; }
grep -q '"result": 0' <<<"$out" || fail "setup did not succeed"
grep -q '"chosen": "/etc/model_1.conf"' <<<"$out" || fail "rev A not chosen"
[[ $(readlink "$root/etc/model.conf") == "model_1.conf" ]] || fail "link target"
changed=$(grep -c '"changed": true' <<<"$out")
[[ $changed -eq 3 ]] || fail "expected 3 fix-ups to change the file, got $changed"
grep -q '"sane": true' <<<"$out" || fail "memory records not read"

show=$("$tool" --root "$root" model show --section "System Enclosure")
grep -qx 'CAP = 0x8108200' <<<"$show" || fail "CAP not corrected: $show"
grep -qx 'T2E_SUPPORT = 0' <("$tool" --root "$root" model show --section TBTnet) || fail "T2E_SUPPORT"
# A second start finds nothing left to correct.
again=$(cd "$(dirname "$root")" && HAL_ROOT=$(basename "$root") "$tool" --json model setup)
[[ $(grep -c '"changed": true' <<<"$again") -eq 0 ]] || fail "second run changed the file again"
echo "sample root ok"
