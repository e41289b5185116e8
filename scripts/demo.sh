#!/usr/bin/env bash
# The demo: builds bayhal and drives it on a sandbox system root.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j"$(nproc)" --target hal_tool
tool=build/tools/hal_tool/hal_tool
root=$(mktemp -d /tmp/bayhal-demo-XXXXXX)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/var/log" "$root/var/lock"

echo "== hal_tool version"
$tool version
echo "== a trace line written into the sandbox root $root"
$tool --root "$root" trace 0x8 "demo: hello from hal_tool"
cat "$root/var/log/hal_lib.log"

echo "== the model description on the sample appliance (examples/roots/sample)"
cp -a examples/roots/sample/. "$root/"
$tool --root "$root" model setup
$tool --root "$root" model show --section "System Enclosure"
