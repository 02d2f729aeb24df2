#!/bin/sh
# End to end in kvhost, through the module's LISP rows and guard: the Project Explorer over a
# project of three drawings hands a pick back to LISP, and the diffuser blocks dialog moves the
# schedule rows of a deleted kind to the layer's replacement on OK only (read back with Python's
# sqlite3, or psql for a project on the server KV_PROJECTDB_SERVER names).
# Usage: explorer_blocks_kvhost.sh KVHOST WORKDIR
set -u
kvhost=$1
work=$2
rm -rf "$work" && mkdir -p "$work/p" || exit 1
XDG_CONFIG_HOME="$work/config"; export XDG_CONFIG_HOME
fail() { echo "FAIL $*"; exit 1; }
ext=kv
[ -n "${KV_PROJECTDB_SERVER:-}" ] && ext=kvlink
file="$work/p/p_kv_hvac.$ext"
PYTHONPATH="$(dirname "$0")/../.."; export PYTHONPATH
host() { "$kvhost" --project "$work/p" --open "$work/p/a.dwg" "$@"; }

host -e '(setq f (projectdb-currentFile))' \
  -e "(kvdb-execute f \"delete from tblDwgDiff\")" \
  -e "(kvdb-execute f \"insert into tblDwgDiff (ixDwgDiff, iSortOrder, sDescription, iBlockNumber, iBlockType) values (1, 1, 'Louvered', 1, 0), (2, 2, 'Perforated', 2, 0)\")" \
  -e "(kvdb-execute f \"insert into tblDiffSGroup (ixDiffSGroup, sName) values (101, 'Ceiling')\")" \
  -e "(kvdb-execute f \"insert into tblDiffS (ixDiffS, ixDiffSGroup, CALLOUT, ixDwgDiff) values (201, 101, 'S-1', 1), (202, 101, 'S-2', 1)\")" \
  -e "(kvdb-execute f \"insert into tblDiffL (ixDiffL, ixDiffS, DRAWING) values (301, 201, 'a.dwg'), (302, 202, 'c.dwg')\")" \
  -e "(kvdb-execute f \"insert into tblDuct (ixDuct, DRAWING, AIRFLOW) values (401, 'a.dwg', 'sa'), (402, 'b.dwg', 'ra'), (403, 'c.dwg', 'ea')\")" \
  >/dev/null || fail "cannot fill the project"

# The device of the arguments has the focus at open; Find hands it back.
out=$(host -e '(kvhost-input "click #1091")' -e '(prin1 (kv_hvac-ProjectExplorer 402 1 "b.dwg"))') || fail "kvhost: $out"
echo "$out" | grep -qF '(("state" . 101) ("ixL" . 402) ("devType" . 1))' || fail "no pick came back: $out"
out=$(host -e '(kvhost-input "click #1")' -e '(prin1 (kv_hvac-ProjectExplorer 0 2 "a.dwg"))') || fail "kvhost: $out"
echo "$out" | grep -qF '(("state" . 1) ("ixL" . 0) ("devType" . 2))' || fail "Exit on a heading: $out"

schedule() {
  python3 -c "import sys; from projectrows import query as q; print([r[0] for r in q(sys.argv[1], 'select ixDwgDiff from tblDiffS order by ixDiffS')], [r[0] for r in q(sys.argv[1], 'select ixDwgDiff from tblDwgDiff order by ixDwgDiff')])" "$file"
}
out=$(host -e '(kvhost-input "click #1052" "click #2")' -e '(kv_hvac-dwgDiff)') || fail "kvhost: $out"
[ "$(schedule)" = "[1, 1] [1, 2]" ] || fail "Cancel changed the tables: $(schedule)"
out=$(host -e '(kvhost-input "click #1052" "click #1")' -e '(kv_hvac-dwgDiff)') || fail "kvhost: $out"
echo "$out" | grep -q 'used by 2 schedule row(s); they move to "Perforated"' || fail "the layer said nothing: $out"
[ "$(schedule)" = "[2, 2] [2]" ] || fail "OK did not move the rows: $(schedule)"
echo "PASS"
