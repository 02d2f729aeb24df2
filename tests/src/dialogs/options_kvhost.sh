#!/bin/sh
# End to end in kvhost: one scripted edit of each kind of Options cell, confirmed, lands in
# tblGlobal as the dialog maps it (read back outside our code: Python's sqlite3, or psql for a
# project on the server KV_PROJECTDB_SERVER names); the same edits cancelled leave every table as
# it was (and a project file byte for byte). Usage: options_kvhost.sh KVHOST WORKDIR
set -u
kvhost=$1
work=$2
rm -rf "$work" && mkdir -p "$work/p" || exit 1
fail() { echo "FAIL $*"; exit 1; }
ext=kv
[ -n "${KV_PROJECTDB_SERVER:-}" ] && ext=kvlink
file="$work/p/p_kv_hvac.$ext"
PYTHONPATH="$(dirname "$0")/../.."; export PYTHONPATH
tables() { "$kvhost" -e "(prin1 (kvdb-checksum \"$file\"))"; }
XDG_CONFIG_HOME="$work/config"; export XDG_CONFIG_HOME

# Each dialog: start at its key, edit the value cell, then OK (#1) or Cancel (#2).
edits() {
  cat <<EOF2
type 7.25
key ENTER
click #$1
type WxD
key ENTER
click #$1
key F2
key UP
key ENTER
key ENTER
click #$1
key F2
key UP
key ENTER
key ENTER
click #$1
type Zed
key ENTER
click #$1
key F2
key DOWN
key ENTER
click #$1
type L-WxD
key ENTER
click #$1
type 3
key ENTER
click #$1
EOF2
}
run() {
  "$kvhost" --project "$work/p" --open "$work/p/a.dwg" --input "$1" \
    -e '(princ (kv_hvac-options "/tmp/" "ELBOW RADIUS" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "RECTANGULAR DUCT LABEL FORMAT" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "AUTOFIT-RC2" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "SHOW BK" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "LINED ROUND DUCT LABEL FORMAT" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "LINED ROUND DUCT LABEL FORMAT" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "LINED OVAL DUCT LABEL FORMAT" nil))' \
    -e '(princ (kv_hvac-options "/tmp/" "3DApproximation" nil))' \
    -e '(princ (strcat "[left " (itoa (kvhost-input)) "]"))'
}

"$kvhost" --project "$work/p" --open "$work/p/a.dwg" -e '(princ)' >/dev/null || fail "no project made"
[ -f "$file" ] || fail "no project file"
cp "$file" "$work/before.kv"
before=$(tables) || fail "no checksums: $before"
edits 2 > "$work/cancel.txt"
out=$(run "$work/cancel.txt") || fail "kvhost: $out"
echo "$out" | grep -q '(3DApproximation)\[left 0\]' || fail "the dialogs did not take their events: $out"
[ "$(tables)" = "$before" ] || fail "a cancelled dialog changed a table"
[ "$ext" = kvlink ] || cmp -s "$file" "$work/before.kv" || fail "a cancelled dialog changed the project file"

edits 1 > "$work/ok.txt"
out=$(run "$work/ok.txt") || fail "kvhost: $out"
echo "$out" | grep -q '(3DApproximation)\[left 0\]' || fail "the dialogs did not take their events: $out"
python3 - "$file" <<'EOF2' || fail "tblGlobal does not hold the edits"
import sys
from projectrows import query
rows = dict((k, (n, t, d)) for k, n, t, d in query(sys.argv[1], "select sKey, bNumeric, sText, dNumber from tblGlobal"))
want = {
    "ELBOW RADIUS": (-1, None, 7.25),
    "RECTANGULAR DUCT LABEL FORMAT": (0, "WxD", None),
    "AUTOFIT-RC2": (0, "0", None),
    "SHOW BK": (0, "YES", None),
    "LINED ROUND DUCT LABEL FORMAT": (0, "", None),
    "LINED OVAL DUCT LABEL FORMAT": (0, "L-WxD", None),
    "3DApproximation": (-1, None, 8.0),
}
bad = {k: (rows.get(k), v) for k, v in want.items() if rows.get(k) != v}
print(bad or "all keys as edited")
sys.exit(1 if bad else 0)
EOF2
echo "PASS"
