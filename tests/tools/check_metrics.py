#!/usr/bin/python3
"""hal_tool metrics parses as OpenMetrics (the Prometheus client's own parser) and says what
hal_tool temp and fan say, on both sample appliances, with one sensor that cannot be read.

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


def run(*argv, root):
    r = subprocess.run(list(argv) + ["--root", root], capture_output=True, text=True, timeout=60)
    if r.returncode != 0:
        raise RuntimeError(f"{argv} exit {r.returncode}: {r.stderr}")
    return r.stdout


def samples(text):
    """{(family, kind, index): value} of every sample."""
    out = {}
    for family in text_string_to_metric_families(text):
        for s in family.samples:
            key = (s.name, s.labels.get("kind"), int(s.labels["index"]))
            check(key not in out, f"sample {key} twice")
            check(s.labels["enclosure"] == "0" and s.labels["name"], f"labels of {key}")
            out[key] = s.value
    return out


def appliance(ini, unreadable):
    root = tempfile.mkdtemp(prefix="bayhal-metrics-")
    try:
        run(halsim, "start", os.path.join(source, "examples/appliances", ini), root=root)
        try:
            run(hal_tool, "boot", root=root)
            if unreadable:
                os.remove(root + unreadable)
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
            return got
        finally:
            run(halsim, "stop", root=root)
    finally:
        shutil.rmtree(root, ignore_errors=True)


ec = appliance("sample.ini", None)
check(ec.get(("bayhal_power_supply_good", None, 1)) == 1, "supply 1 good")
sio = appliance("sio_sample.ini", "/sys/class/hwmon/hwmon0/device/temp2_input")
check(sio.get(("bayhal_sensor_up", "temperature", 5)) == 0, "the unreadable sensor is down")
check(sio.get(("bayhal_sensor_up", "temperature", 0)) == 1, "the others are up")
for f in failures:
    print("FAILED:", f)
sys.exit(1 if failures else 0)
