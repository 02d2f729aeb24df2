#!/usr/bin/env python3
"""Reads the rows the duct system scenario left in its project database outside our code (Python's
own sqlite3 for a file, psql for a server project), and checks what the module and the
application layer wrote. Prints PASS."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
import projectrows  # noqa: E402

project = projectrows.find(sys.argv[1])
rows = projectrows.query(project, "SELECT * FROM tblDuct ORDER BY ixDuct")
faults = []


def expect(what, got, want):
    if got != want:
        faults.append(f"{what}: {got!r}, expected {want!r}")


expect("rows", len(rows), 16)
for r in rows:
    expect(f"drawing of {r['ixDuct']}", r["DRAWING"], "system.dwg")
    expect(f"alignment of {r['ixDuct']}", r["iAlignmentPointNumber1"], 0)
main = [r for r in rows if r["SIZEFOR"] == "W"]
expect("ducts set through kv_hvac-setDuctInfo", len(main), 1)
if main:
    m = main[0]
    for column, want in [("SHAPE", "RC"), ("WIDTH", 24.0), ("DEPTH", 12.0), ("AIRFLOW", "sa"),
                         ("MATERIAL", "GS"), ("SIZEMAX", 24), ("SIZESHAPE", "RD2RC"), ("X1", 0.0),
                         ("X2", 100.0), ("Z1", 110.0), ("Z2", 112.0), ("DRAWING2", "upper.dwg"),
                         ("FITTING", " "), ("CFM", 0)]:
        expect(f"main {column}", m[column] if column != "FITTING" else (m[column] or " ")[:1], want)
flex = [r for r in rows if r["MATERIAL"] == "FX"]
expect("flexible ducts", [(r["SHAPE"], r["WIDTH"]) for r in flex], [("rd", 8.0)])
# Templates carry the section of the duct they were made from, never its ends.
ends = {tuple(r[c] for c in ("X1", "Y1", "Z1", "X2", "Y2", "Z2")) for r in rows}
expect("every duct has its own ends", len(ends), len(rows))
diffusers = projectrows.query(project, "SELECT ixDuct FROM tblDiffL")
expect("the diffuser hangs on the flexible duct", [d[0] for d in diffusers], [flex[0]["ixDuct"]] if flex else [])
if faults:
    print("\n".join(faults))
    sys.exit(1)
print("PASS")
