#!/usr/bin/python3
"""hal_tool metrics parses as OpenMetrics (the Prometheus client's own parser) and says what
hal_tool temp, fan and smart --cached say, on both sample appliances, with one sensor that
cannot be read, a healthy, a failing, a sleeping and a never-read disk; the sleeping disk is
not woken by it.

usage: check_metrics.py HALSIM HAL_TOOL SOURCE_DIR"""
import json
import os
import shutil
import subprocess
import sys
import tempfile

from prometheus_client.openmetrics.parser import text_string_to_metric_families

halsim, hal_tool, source = sys.argv[1:4]
failures = []


def check(cond, what):
    if not cond:
        failures.append(what)


def run(*argv, root, ok=True):
    r = subprocess.run(list(argv) + ["--root", root], capture_output=True, text=True, timeout=60)
    if ok and r.returncode != 0:
        raise RuntimeError(f"{argv} exit {r.returncode}: {r.stderr}")
    return r.stdout


def samples(text):
    """{(family, kind, index): value} of the sensors' samples, {(family, port, attribute or
    id): value} of the disks'."""
    out = {}
    for family in text_string_to_metric_families(text):
        for s in family.samples:
            if "port" in s.labels:
                key = (s.name, int(s.labels["port"]), s.labels.get("attribute", s.labels.get("id")))
            else:
                key = (s.name, s.labels.get("kind"), int(s.labels["index"]))
                check(s.labels["name"], f"name of {key}")
            check(key not in out, f"sample {key} twice")
            check(s.labels["enclosure"] == "0", f"enclosure of {key}")
            out[key] = s.value
    return out


VERDICTS = {"unknown": -1, "good": 0, "warning": 1, "error": 2}
WATCHED = ["5", "187", "188", "197", "198"]


def read_disks(root):
    """Bay 1 and 3 (failing) read, bay 2 read and then found asleep, the others never read."""
    for bay in ["0/1", "0/3", "0/2"]:
        run(hal_tool, "smart", bay, root=root)
    run(halsim, "spin", "root/2", "down", root=root)
    run(hal_tool, "smart", "0/2", root=root)


def check_disks(got, root):
    ports = [d["port_id"] for d in json.loads(run(hal_tool, "disk", "list", "0", "--json", root=root))["disks"]]
    check(len(ports) > 3, "disks listed")
    seen = set()
    for p in ports:
        out = run(hal_tool, "smart", f"0/{p}", "--cached", "--json", root=root, ok=False)
        r = (json.loads(out).get("smart") or {}) if out else {}
        cached = "verdict" in r
        check(got.get(("bayhal_disk_smart_cached", p, None)) == cached, f"cached {p}")
        if not cached:
            check(not any(k[1] == p and k[0] != "bayhal_disk_smart_cached" for k in got), f"samples of the unread {p}")
            continue
        seen.add((p, r["verdict"], r["power"]))
        check(got.get(("bayhal_disk_smart_verdict", p, None)) == VERDICTS[r["verdict"]], f"verdict {p}")
        check(got.get(("bayhal_disk_temperature_celsius", p, None)) == r["temperature_c"], f"temperature {p}")
        check(got.get(("bayhal_disk_smart_standby", p, None)) == (r["power"] == "standby"), f"standby {p}")
        for w in WATCHED + ["temperature"]:
            check(got.get(("bayhal_disk_smart_warning", p, w)) == (w in r["warnings"]), f"warning {w} of {p}")
        raws = {str(a["id"]): a["raw"] for a in r["attributes"] if str(a["id"]) in WATCHED}
        check(raws and all(got.get(("bayhal_disk_smart_attribute_raw", p, i)) == v for i, v in raws.items()),
              f"raw values of {p}: {raws}")
    check({(1, "good", "active"), (3, "error", "active"), (2, "good", "standby")} <= seen, f"disks seen: {seen}")


def appliance(ini, unreadable, disks=False):
    root = tempfile.mkdtemp(prefix="bayhal-metrics-")
    try:
        run(halsim, "start", os.path.join(source, "examples/appliances", ini), root=root)
        try:
            run(hal_tool, "boot", root=root)
            if unreadable:
                os.remove(root + unreadable)
            if disks:
                read_disks(root)
            text = run(hal_tool, "metrics", root=root)
            check(text.endswith("# EOF\n"), f"{ini}: ends with # EOF")
            got = samples(text)
            temps = json.loads(run(hal_tool, "temp", "--json", root=root))["temp"]["temperatures"]
            fans = json.loads(run(hal_tool, "fan", "--json", root=root))["fan"]["fans"]
            check(temps and fans, f"{ini}: sensors listed")
            for t in temps:
                family = "bayhal_temperature_celsius" if t["kind"] == "temperature" else "bayhal_region_temperature_celsius"
                key = (family, None, t["index"])
                check(got.get(("bayhal_sensor_up", t["kind"], t["index"])) == (1 if t["ok"] else 0), f"{ini}: up {t}")
                if t["ok"]:
                    check(got.get(key) == t["celsius"], f"{ini}: {t} vs {got.get(key)}")
                else:
                    check(key not in got and t["celsius"] is None, f"{ini}: failed {t} has no sample")
            for f in fans:
                i = f["index"]
                check(got.get(("bayhal_fan_speed_rpm", None, i)) == f["rpm"], f"{ini}: rpm {f}")
                check(got.get(("bayhal_fan_failed", None, i)) == (f["fan_status"] == "failed"), f"{ini}: status {f}")
                check(got.get(("bayhal_fan_pwm", None, i)) == f["pwm"], f"{ini}: pwm {f}")
                check(got.get(("bayhal_fan_level", None, i)) == f["level"], f"{ini}: level {f}")
            if disks:
                check_disks(got, root)
                spindle = json.loads(run(halsim, "spin", "root/2", "down", "--json", root=root))["spin"]
                check(spindle["wakeups"] == 0, f"the sleeping disk was woken: {spindle}")
            return got
        finally:
            run(halsim, "stop", root=root)
    finally:
        shutil.rmtree(root, ignore_errors=True)


ec = appliance("sample.ini", None, disks=True)
check(ec.get(("bayhal_power_supply_good", None, 1)) == 1, "supply 1 good")
sio = appliance("sio_sample.ini", "/sys/class/hwmon/hwmon0/device/temp2_input")
check(sio.get(("bayhal_sensor_up", "temperature", 5)) == 0, "the unreadable sensor is down")
check(sio.get(("bayhal_sensor_up", "temperature", 0)) == 1, "the others are up")
for f in failures:
    print("FAILED:", f)
sys.exit(1 if failures else 0)
