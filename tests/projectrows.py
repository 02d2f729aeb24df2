"""Rows of a project database for the end-to-end scenarios, read outside our code: a project file
with Python's own sqlite3, a project behind a link file (.kvlink) with the server's own psql.
Either way a row is a tuple of Python values (None for null) that also answers to its columns'
names in any case, since the server folds names to lower case."""
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


class Row(tuple):
    """A row by position or by its column's name in any case, as sqlite3.Row gives it."""

    def __new__(cls, pairs):
        row = super().__new__(cls, [v for _, v in pairs])
        row._at = {k.lower(): i for i, (k, _) in enumerate(pairs)}
        return row

    def __getitem__(self, key):
        return tuple.__getitem__(self, self._at[key.lower()] if isinstance(key, str) else key)


def query(path, sql):
    """The rows of one statement, each a Row."""
    if path.endswith(".kvlink"):
        return [Row(pairs) for pairs in _server_rows(path, sql)]
    cur = sqlite3.connect(path).execute(sql)
    names = [c[0] for c in cur.description]
    return [Row(list(zip(names, r))) for r in cur.fetchall()]


class _Cursor(list):
    def fetchall(self):
        return list(self)

    def fetchone(self):
        return self[0] if self else None


class connect:
    """What a check written for sqlite3.connect uses of it, for either kind of project."""

    def __init__(self, path):
        self.path = path

    def execute(self, sql):
        return _Cursor(query(self.path, sql))


if __name__ == "__main__":
    # projectrows.py PATH SQL: the rows as Python prints them, one list.
    import sys
    print(query(sys.argv[1], sys.argv[2]))
