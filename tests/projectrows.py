"""Rows of a project database for the end-to-end scenarios, read outside our code: a project file
with Python's own sqlite3, a project behind a link file (.kvlink) with the server's own psql.
Either way a row comes back as a tuple of Python values (None for null), and query_rows gives
rows by column name in any case, since the server folds names to lower case."""
import glob
import json
import sqlite3
import subprocess


def find(folder):
    """The one project database of folder, file or link; exits with FAIL when there is not one."""
    found = glob.glob(f"{folder}/*_kv_hvac.kv") + glob.glob(f"{folder}/*_kv_hvac.kvlink")
    if len(found) != 1:
        raise SystemExit(f"FAIL: one project database expected in {folder}, found {found}")
    return found[0]


def _conninfo(link):
    with open(link, encoding="utf-8") as f:
        for line in f:
            line = line.strip()
            if line and not line.startswith("#"):
                return line
    raise SystemExit(f"FAIL: {link} names no server")


def _server_rows(link, sql):
    # Each row as one JSON object keeps the server's types: numbers stay numbers, null is None.
    wrapped = f"SELECT row_to_json(q) FROM ({sql}) q"
    out = subprocess.run(["psql", "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-d", _conninfo(link), "-c", wrapped],
                         check=True, capture_output=True, text=True).stdout
    return [json.loads(line, object_pairs_hook=list) for line in out.splitlines() if line]


class Row(dict):
    """A row whose columns are found by name in any case."""

    def __getitem__(self, name):
        return dict.__getitem__(self, name.lower())


def query_rows(path, sql):
    if path.endswith(".kvlink"):
        return [Row((k.lower(), v) for k, v in pairs) for pairs in _server_rows(path, sql)]
    cur = sqlite3.connect(path).execute(sql)
    names = [c[0].lower() for c in cur.description]
    return [Row(zip(names, r)) for r in cur.fetchall()]


def query(path, sql):
    if path.endswith(".kvlink"):
        return [tuple(v for _, v in pairs) for pairs in _server_rows(path, sql)]
    return sqlite3.connect(path).execute(sql).fetchall()


if __name__ == "__main__":
    # projectrows.py PATH SQL: the rows as Python prints them, one list.
    import sys
    print(query(sys.argv[1], sys.argv[2]))
