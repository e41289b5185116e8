#!/usr/bin/env bash
# The demo: builds bayhal, brings the sample appliance (examples/appliances/sample.ini) to life
# with halsim on a temporary system root, and drives it with hal_tool the way the appliance's
# start-up code and its hot-plug handler would. Leaves nothing running and nothing behind.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j"$(nproc)" --target hal_tool halsim
tool=build/tools/hal_tool/hal_tool
sim=build/sim/halsim/halsim
root=$(mktemp -d /tmp/bayhal-demo-XXXXXX)

cleanup() {
  "$sim" --root "$root" stop >/dev/null 2>&1 || true
  # A daemon that did not answer is ended by the pid it recorded.
  if [ -f "$root/run/halsim.pid" ]; then kill -9 "$(cat "$root/run/halsim.pid")" 2>/dev/null || true; fi
  rm -rf "$root"
}
trap cleanup EXIT

step() { printf '\n\033[1m== %s\033[0m\n' "$*"; }
# Shows a command, runs it, and goes on when it fails: the demo reports, it does not hide.
show() {
  printf '\033[2m$ %s\033[0m\n' "$*"
  "$@" || printf '\033[33m(exit %d)\033[0m\n' "$?"
}
hal() { show "$tool" --root "$root" "$@"; }
halsim() { show "$sim" --root "$root" "$@"; }

began=$SECONDS
step "halsim brings the sample appliance to life under $root"
halsim start examples/appliances/sample.ini
halsim status

step "start-up: model set-up, then every enclosure present is attached with its disks"
hal boot

step "the enclosures"
hal enc list

step "the slot map"
hal disk list

step "hot-swap: the disk in bay 3 is pulled (the device manager calls PD_Sys_Detach)"
halsim remove root/3
hal disk list root
echo "the history store remembers it:"
hal conf get /etc/enclosure_0_del.conf PhysicalDisk_3 serial_no

step "... and pushed back: it returns to bay 3 under the same names"
halsim insert root/3
hal disk info root/3

step "the expansion unit is unplugged: the registry remembers which bays held disks"
unit=5000ccab0200e07f
unit_id=$("$tool" --root "$root" enc list | awk -v u="$unit" '$2 == u { print $1 }')
halsim remove jbod
hal conf get /tmp/.se_detached "Enclosure_$unit_id" pd_bitmap
hal enc list

step "... and plugged back: the same enclosure id from the persistent map"
halsim insert jbod
hal enc list
hal disk list "$unit"

step "what the library ran, as the stand-ins recorded it"
for p in udevadm pd_attach pd_detach; do
  printf '%s: %s calls, last: %s\n' "$p" "$(wc -l <"$root/calls/$p.log" 2>/dev/null || echo 0)" \
    "$(tail -n 1 "$root/calls/$p.log" 2>/dev/null)"
done

halsim stop
echo
echo "demo finished in $((SECONDS - began)) s after the build"
