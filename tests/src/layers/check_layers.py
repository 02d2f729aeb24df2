#!/usr/bin/env python3
"""The module's include graph runs one way: each folder of src/ includes only its own files, the
public headers of the folders below it, and the host. The host includes nothing of src/.
Prints every include that breaks this and exits 1; prints PASS otherwise."""
import os
import re
import sys

# Rank of each folder: a folder may include a folder of lower rank. The grid stands alone.
RANKS = {"bridge": 1, "filing": 1, "database": 2, "loads": 2, "ductwork": 3, "rooms": 3, "dialogs": 3, "module": 4,
         "grid": 1}
RANKS["solids"] = 3.5  # stands on ductwork, below the module
PUBLIC = {
    "bridge": {"bridge.h"},
    "filing": {"filing.h"},
    "database": {"database.h"},
    "ductwork": {"KvDuct.h", "ductrows.h"},
    "rooms": {"rooms.h"},
    "loads": {"loads.h", "loadslisp.h"},
    "dialogs": {"dialogs.h"},
    "module": {"module.h"},
    "grid": {"gridctrl.h"},
    "solids": {"solids.h"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def sources(root):
    for folder, _, files in os.walk(root):
        for name in files:
            if name.endswith((".h", ".cpp", ".inc")):
                yield os.path.join(folder, name)


def folder_of(root, path):
    rel = os.path.relpath(path, root).split(os.sep)
    return rel[0] if len(rel) > 1 else None


def check(repo):
    src = os.path.join(repo, "src")
    files_by_folder = {}
    for path in sources(src):
        files_by_folder.setdefault(folder_of(src, path), set()).add(os.path.basename(path))
    faults = []
    for path in sources(src):
        here = folder_of(src, path)
        if here not in RANKS:
            faults.append(f"{path}: a folder the layering does not know")
            continue
        for target in INCLUDE.findall(open(path, encoding="utf-8").read()):
            parts = target.split("/")
            if len(parts) == 2 and parts[0] in RANKS:
                there, name = parts
                if there == here:
                    continue
                if RANKS[there] >= RANKS[here]:
                    faults.append(f"{path}: includes {target}, which is not below {here}")
                elif name not in PUBLIC[there]:
                    faults.append(f"{path}: includes {target}, a private header of {there}")
                continue
            # A bare name is the folder's own file, or a header of the host.
            owners = [f for f, names in files_by_folder.items() if target in names]
            if owners and here not in owners:
                faults.append(f"{path}: includes {target} of {owners[0]} by its bare name")
    for path in sources(os.path.join(repo, "host")):
        for target in INCLUDE.findall(open(path, encoding="utf-8", errors="replace").read()):
            if target.split("/")[0] in RANKS and "/" in target:
                faults.append(f"{path}: the host includes {target} of the module")
    return faults


if __name__ == "__main__":
    found = check(sys.argv[1] if len(sys.argv) > 1 else ".")
    for fault in found:
        print(fault)
    print("FAIL" if found else "PASS")
    sys.exit(1 if found else 0)
