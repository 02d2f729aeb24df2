#!/usr/bin/env python3
"""Load calculation of 500 rooms in 10 zones for 12 months x 24 hours through KV-CALCLOADS's
function, in kvhost: wall and CPU seconds of the calculation alone (the project is set up by a
first run), and, where perf is installed, where the CPU time goes: the module's library (CLTD
look-ups, load store), the LISP interpreter and host bridge (the layer's arithmetic, argument and
result conversion), SQLite (writing the rows), the C and C++ run time.

usage: bench_loadcalc.py BUILD_DIR"""
import os
import re
import resource
import shutil
import subprocess
import sys
import time

build = sys.argv[1]
kvhost = os.path.join(build, "kvhost")
work = os.path.abspath(os.path.join(build, "bench-loadcalc"))
ROOMS, ZONES = 500, 10
ORIENT = ["N", "NE", "E", "SE", "S", "SW", "W", "NW"]


def room_surfaces(ix):
    """The kinds, facings and numbers of room IX's surfaces, as setup() gives them."""
    o1, o2 = ORIENT[ix % 8], ORIENT[(ix + 2) % 8]
    out = [("WALL", o1, 1 + ix % 7), ("GLASS", o1, "ABCD"[ix % 4]), ("PARTITION", None, 0)]
    if ix % 3 == 0:
        out += [("WALL", o2, 9 + ix % 7), ("GLASS", o2, "B")]
    if ix % 2 == 0:
        out.append(("ROOF", None, [1, 2, 3, 4, 5, 8, 10, 13, 14][ix % 9]))
    return out


def replay():
    """The module calls of the calculation alone, with arguments of the same shape and number and
    nothing of the layer's arithmetic or SQL: what the module's functions and their argument and
    result conversion cost."""
    out = ["(setq months '(0 1 2 3 4 5 6 7 8 9 10 11) hours '(0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23))",
           "(setq gains (apply 'append (mapcar '(lambda (n) (list n 1.5)) '(" + " ".join(
               f'"{n}"' for n in ["dWall", "dWallPlenum", "dDoor", "dGlass", "dWallPartition", "dWallPlenumPartition",
                                  "dDoorPartition", "dGlassPartition", "dPeopleSensible", "dPeopleLatent", "dLights", "dEquipmentSensible", "dEquipmentLatent",
                                  "dInfiltrationSensible", "dInfiltrationLatent", "dVentilationSensible", "dVentilationLatent",
                                  "dVentilation62Sensible", "dVentilation62Latent", "dVentilationIMCSensible",
                                  "dVentilationIMCLatent", "iOSACFM", "iOSA62CFM", "iOSAIMCCFM", "dRoomTemperature",
                                  "dRoomHumidity", "dArea", "dPeople", "dPeopleRatio"]) + "))))",
           "(setq totals (apply 'append (mapcar '(lambda (n) (list n 2.5)) '(" + " ".join(
               f'"{n}"' for n in ["dRoomTotalSensible", "dRoomTotalLatent", "dRoomTotal", "iCoolingCFM",
                                  "dSystemTotalSensible", "dSystemTotalLatent", "dSystemTotal", "dSystem62TotalSensible",
                                  "dSystem62TotalLatent", "dSystem62Total", "dSystemIMCTotalSensible",
                                  "dSystemIMCTotalLatent", "dSystemIMCTotal"]) + "))))"]
    for ix in range(1, ROOMS + 1):
        calls = []
        for kind, facing, number in room_surfaces(ix):
            if kind == "WALL":
                calls.append(f'(kv_hvac-getWallCLTDDxf 40 {number} "{facing}" m)')
            elif kind == "GLASS":
                calls.append(f'(kv_hvac-getGlassCLTDDxf 40 "{number}" "{facing}" m)')
            elif kind == "ROOF":
                calls.append(f"(kv_hvac-getRoofCLTDDxf 40 {number} m)")
            store = "RoomData" if kind == "ROOF" else "WallData"
            calls.append(f'(foreach h hours (kv_hvac-loads-store{store} {ix} m h "dWall" 1.5))')
        out.append(f"(kv_hvac-loads-resetRoomData) (kv_hvac-loads-resetWallData) (foreach m months {' '.join(calls)} "
                   f"(foreach h hours (setq w (kv_hvac-loads-getWallData {ix} m h)) "
                   f"(apply 'kv_hvac-loads-storeRoomData (append (list {ix} m h) gains)) "
                   f"(kv_hvac-loads-getRoomData {ix} m h) "
                   f"(apply 'kv_hvac-loads-storeRoomData (append (list {ix} m h) totals)) "
                   f"(kv_hvac-loads-getRoomData {ix} m h)))")
    return "\n".join(out) + "\n"


def setup():
    """Rooms of 120 to 400 sf with one or two outside walls and their glass, a roof on every other
    room, a partition, people, lights, equipment, infiltration and outdoor air."""
    out = ['(kvdb-execute (projectdb-currentFile) "UPDATE tblMonth SET bDoCalculation = -1")']
    for ix in range(1, ROOMS + 1):
        o1, o2 = ORIENT[ix % 8], ORIENT[(ix + 2) % 8]
        area = 120 + (ix * 37) % 280
        surf = [f'("WALL" "{o1}" {1 + ix % 7} {area * 0.5:.1f} 0.08)',
                f'("GLASS" "{o1}" 0 {area * 0.15:.1f} 0.55 0.6 "{"ABCD"[ix % 4]}")',
                f'("PARTITION" nil 0 {area * 0.4:.1f} 0.3 1.0 nil 5.0 20.0)']
        if ix % 3 == 0:
            surf += [f'("WALL" "{o2}" {9 + ix % 7} {area * 0.4:.1f} 0.07)', f'("GLASS" "{o2}" 0 {area * 0.1:.1f} 0.5 0.7 "B")']
        if ix % 2 == 0:
            surf.append(f'("ROOF" nil {[1, 2, 3, 4, 5, 8, 10, 13, 14][ix % 9]} {area:.1f} 0.05)')
        use = (f'(("dArea" . {area:.1f}) ("dPeople" . {1 + ix % 5}.0) ("dLights" . {area * 1.2:.1f}) '
               f'("dEquipment" . {area * 0.8:.1f}) ("dInfiltration" . {area * 0.05:.1f}) ("dOutdoorAir" . {10 + ix % 30}.0))')
        out.append(f'(room-hvac-register {ix} "Room {ix}")')
        out.append(f"(roomdata-setRoom {ix} '{use} '({' '.join(surf)}))")
    per = ROOMS // ZONES
    zones = " ".join(f'("Zone {z}" . {z}) (' + " ".join(f'("Room {r}" . -{r})' for r in range(1 + (z - 1) * per, z * per + 1)) + ")"
                     for z in range(1, ZONES + 1))
    out.append(f"(tree-hvac-store \"zone\" '({zones}))")
    return "\n".join(out) + "\n"


def run(script, prefix=()):
    path = os.path.join(work, "script.lsp")
    with open(path, "w") as f:
        f.write(script)
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    done = subprocess.run([*prefix, kvhost, "--project", work, "--open", os.path.join(work, "bench.dwg"), path],
                          capture_output=True, text=True)
    wall = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode != 0:
        sys.exit(f"kvhost failed:\n{done.stdout[-2000:]}\n{done.stderr[-2000:]}")
    return wall, (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime), done.stdout


shutil.rmtree(work, ignore_errors=True)
os.makedirs(work)
run(setup())
baseline_wall, baseline_cpu, _ = run("(princ)")
calc = "(princ (strcat \"\\nrooms \" (itoa (loads-hvac-calcAll))))"
wall, cpu, out = run(calc)
rows = subprocess.run(["sqlite3", [os.path.join(work, f) for f in os.listdir(work) if f.endswith(".kv")][0],
                       "select count(*) from tblLoadRoomCooling"], capture_output=True, text=True).stdout.strip()
calculated = re.findall(r"rooms (\d+)", out)
print(f"rooms calculated: {calculated[0] if calculated else '?'}; cooling rows written: {rows or '?'}")
print(f"calculation: {wall - baseline_wall:.1f} s wall, {cpu - baseline_cpu:.1f} s CPU "
      f"(kvhost start-up, {baseline_wall:.2f} s, taken off)")

replay_wall, replay_cpu, _ = run(replay())
print(f"the module's calls alone, replayed: {replay_cpu - baseline_cpu:.1f} s CPU, "
      f"{100 * (replay_cpu - baseline_cpu) / (cpu - baseline_cpu):.0f} % of the calculation's")

if shutil.which("perf"):
    data = os.path.join(work, "perf.data")
    run(calc, ("perf", "record", "-q", "-F", "499", "-o", data, "--"))
    report = subprocess.run(["perf", "report", "-i", data, "--stdio", "--sort", "dso", "-q"],
                            capture_output=True, text=True).stdout
    groups = {"module (libkv_hvac.so)": 0.0, "LISP interpreter and host bridge": 0.0, "SQLite": 0.0,
              "C/C++ run time and kernel": 0.0, "other host libraries": 0.0}
    for line in report.splitlines():
        m = re.match(r"\s*([\d.]+)%\s+(\S+)", line)
        if not m:
            continue
        share, dso = float(m.group(1)), m.group(2)
        if "kv_hvac" in dso:
            groups["module (libkv_hvac.so)"] += share
        elif re.search(r"kv_lisp|kv_ads|kvhost", dso):
            groups["LISP interpreter and host bridge"] += share
        elif "sqlite" in dso:
            groups["SQLite"] += share
        elif re.search(r"libc|libm|libstdc|kernel|ld-linux|unknown", dso):
            groups["C/C++ run time and kernel"] += share
        else:
            groups["other host libraries"] += share
    print("CPU samples by library (perf, self time; the run time is shared by all callers):")
    for name, share in groups.items():
        print(f"  {name}: {share:.1f} %")
