#!/usr/bin/env bash
# The demo: builds bayhal, brings the sample appliance (examples/appliances/sample.ini) to life
# with halsim on a temporary system root, and drives it with hal_tool the way the appliance's
# start-up code and its hot-plug handler would; then shows its board (an embedded controller)
# and the board of a second appliance with a Super I/O chip (examples/appliances/
# sio_sample.ini). Leaves nothing running and nothing behind.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j"$(nproc)" --target hal_tool halsim
tool=build/tools/hal_tool/hal_tool
sim=build/sim/halsim/halsim
root=$(mktemp -d /tmp/bayhal-demo-XXXXXX)
sio_root=$(mktemp -d /tmp/bayhal-demo-sio-XXXXXX)
roots=("$root" "$sio_root")

cleanup() {
  for r in "${roots[@]}"; do
    "$sim" --root "$r" stop >/dev/null 2>&1 || true
    # A daemon that did not answer is ended by the pid it recorded.
    if [ -f "$r/run/halsim.pid" ]; then kill -9 "$(cat "$r/run/halsim.pid")" 2>/dev/null || true; fi
    rm -rf "$r"
  done
}
trap cleanup EXIT

step() { printf '\n\033[1m== %s\033[0m\n' "$*"; }
# Shows a command, runs it, and goes on when it fails: the demo reports, it does not hide.
# The command line goes to stderr so that a filter on the output keeps it in view.
show() {
  printf '\033[2m$ %s\033[0m\n' "$*" >&2
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

step "a self-encrypting drive in bay 5: its life cycle (passwords on standard input, never in argv)"
# Runs hal_tool sed with a secret piped to it, showing the secret as the pipe carries it.
sed_with() {
  local secret=$1
  shift
  printf '\033[2m$ printf %%s %q | hal_tool sed %s\033[0m\n' "$secret" "$*"
  printf '%s\n' "$secret" | "$tool" --root "$root" sed "$@" || printf '\033[33m(exit %d)\033[0m\n' "$?"
}
pw='it'"'"'s $(not) a; shell'
hal sed status 0/5
sed_with "$pw" init 0/5
sed_with "$pw" range 0/5 1 --setup 2048 1048576
sed_with "$pw" range 0/5 1 --enable
sed_with "$pw" lock 0/5 1
hal sed status 0/5
sed_with "wrong" unlock 0/5 1
sed_with "$pw" unlock 0/5 1
sed_with "$pw"$'\n'"new password" password 0/5
sed_with "new password" range 0/5 1
sed_with "new password" revert 0/5
sed_with "BF19PSID0000000000000000000B205" revert --psid 0/5
hal sed status 0/5 --json
echo "the SED event log (no password in it):"
cat "$root/var/log/sedutil.log"

step "disk health: SATA disks answer with real drives' captured SMART pages; bay 1 is healthy, bay 3 failing"
hal smart 0/1
hal smart 0/3

step "a sleeping disk is never woken: bay 2 spins down, and its reading is the last one, with its age"
hal smart 0/2 >/dev/null
halsim spin root/2 down
hal smart 0/2
halsim spin root/2 up

step "a self-test, the warning policy, SAS and NVMe health from their own log pages"
hal smart test 0/4 short
hal smart 0/4 --json | grep -A5 '"self_test"'
hal smart policy
hal smart "$unit/1"
echo "a failing SAS disk (Informational Exceptions) and a failing NVMe disk (critical warning):"
hal smart "$unit/2" | grep -E "^(bay|verdict|type) "
hal smart root_cache/1
echo "saved pages decode on their own (a failing drive's):"
hal smart --from-pages tests/data/external/libblockdev-smart-dumps/pages WDC_WD20EARS-00MVWB0 | head -12
echo "the disks' health in the metrics export, from the cache (no disk is asked):"
hal metrics | grep -E '^bayhal_disk_(smart_verdict|temperature_celsius|smart_warning.*} 1)'

step "what the library ran, as the stand-ins recorded it"
for p in udevadm pd_attach pd_detach; do
  printf '%s: %s calls, last: %s\n' "$p" "$(wc -l <"$root/calls/$p.log" 2>/dev/null || echo 0)" \
    "$(tail -n 1 "$root/calls/$p.log" 2>/dev/null)"
done

step "the board: the chip behind each function, read through the embedded controller's mailbox"
hal board --read
hal ec fw

step "the hardware monitor: temperatures, fans set to level 5, and the OpenMetrics export"
hal temp
hal fan set all 5
hal fan
hal metrics | grep -v '^# HELP'

step "the bays' LEDs: which path drives each, then bay 3's locate LED on and off (AHCI LED message)"
hal disk led 0
hal disk led root_cache
hal locate 0 3 on
echo "host2's em_message now: $(cat "$root/sys/class/scsi_host/host2/em_message")"
hal locate 0 3 off
echo "host2's em_message now: $(cat "$root/sys/class/scsi_host/host2/em_message")"
hal disk led root_cache 1 fault on
echo "PCIe slot m2a's attention indicator: $(cat "$root/sys/bus/pci/slots/m2a/attention")"
hal disk led root_cache 1 fault off
hal locate root_usb 1 on

step "the front panel through GPIO_*: status-LED events, LED brightness, the buzzer, the buttons and supplies"
hal led event 0x1000 on
halsim board | grep status_led
hal led event 0 off
halsim board | grep status_led
hal led brightness 40
halsim board | grep led_brightness
hal buzzer 2
echo "the beeps the controller heard (length, silence before):"
"$sim" --root "$root" board | sed -n '/buzzer_beeps/,/chip/p' | grep after_ms
hal buzzer_locate on
hal buzzer_locate off
hal button

step "the controller's registers: the status LED blinks red, the USB copy button is pressed"
hal ec set 0x155 4
halsim press usb_copy
hal ec get 0x143
halsim board
echo "the last accesses of the exchange, as the controller saw them (process, port, in/out, byte):"
halsim board log 8
halsim stop

step "a second appliance, whose board is an IT87 Super I/O chip with hwmon0 (under $sio_root)"
root=$sio_root
halsim start examples/appliances/sio_sample.ini
"$tool" --root "$root" boot >/dev/null
hal board --read
hal sio id
hal temp
hal fan set 6 8
hal fan

step "its front panel: the green LED on (GP53), the red one on the blink engine (GP52), the power and USB LEDs on through GPIO_*, the ident LED by a locate, a button"
hal sio gpio 53 on
hal sio blink 52
hal led power on
hal led usb on
hal locate 0 on
halsim press usb_copy
hal sio gpio 21
halsim board

step "the eject button held and the case cover opened, as the library sees them; then let go and closed"
halsim press eject
halsim press case_cover
hal button
halsim release eject
halsim release case_cover
hal button
halsim stop
echo
echo "demo finished in $((SECONDS - began)) s after the build"
