#!/bin/sh
# End to end in kvhost: a layer key resolved into a new project's drawing, and a folder with no
# database or two candidate databases connecting nothing. Usage: kvhost_layer.sh KVHOST WORKDIR
# With KV_PROJECTDB_SERVER set, the projects are made on that server behind link files.
set -u
kvhost=$1
work=$2
rm -rf "$work" && mkdir -p "$work/new" "$work/none" "$work/two" || exit 1
fail() { echo "FAIL $*"; exit 1; }
ext=kv
[ -n "${KV_PROJECTDB_SERVER:-}" ] && ext=kvlink

# kvhost makes the project file of a folder that has none.
out=$("$kvhost" --project "$work/new" --open "$work/new/a.dwg" \
  -e '(princ (strcat "[" (kv_hvac-getLayer "ROOM OUTLINES" nil) "]"))' \
  -e "(kvhost-export-dxf \"$work/new/a.dxf\")") || fail "kvhost: $out"
echo "$out" | grep -q '\[M-ROOM-OTLN\]' || fail "layer name not printed: $out"
grep -qx 'M-ROOM-OTLN' "$work/new/a.dxf" || fail "layer M-ROOM-OTLN not in the drawing"
[ -f "$work/new/new_kv_hvac.$ext" ] || fail "no project file made for the new project"

# A new project's own layer system resolves its ductwork keys without falling back to "0".
out=$("$kvhost" --project "$work/new" --open "$work/new/a.dwg" \
  -e '(princ (strcat "[" (kv_hvac-getLayer "DUCTWORK CENTERLINE: SUPPLY" 1) "]"))' \
  -e '(princ (strcat "[" (kv_hvac-getLayer "NO SUCH KEY" 1) "]"))') || fail "kvhost: $out"
echo "$out" | grep -q '\[M-DUCT-SUPP-CNTR\]' || fail "system 1 centre line not resolved: $out"
echo "$out" | grep -q '\[M-HVAC\]' || fail "system 1 DEFAULT not used for an unknown key: $out"
echo "$out" | grep -q 'does not exist' && fail "a key of system 1 is missing: $out"

# A layer row whose line weight is no weight makes the layer with the default weight.
out=$("$kvhost" --project "$work/new" --open "$work/new/b.dwg" \
  -e "(kvdb-execute \"$work/new/new_kv_hvac.$ext\" \"update tblLayer set sLineweight = '9999' where sName = 'M-ROOM-LEAD'\")" \
  -e '(princ (strcat "[" (kv_hvac-getLayer "ROOM LEADER" nil) "]"))' \
  -e "(kvhost-export-dxf \"$work/new/b.dxf\")") || fail "kvhost: $out"
echo "$out" | grep -q '\[M-ROOM-LEAD\]' || fail "layer with a bad weight not made: $out"
grep -qx 'M-ROOM-LEAD' "$work/new/b.dxf" || fail "layer M-ROOM-LEAD not in the drawing"

expect_unconnected() {
  out=$("$kvhost" --open "$1/a.dwg" -e '(princ (list "result" (kv_hvac-getLayer "ROOM OUTLINES" nil)))') \
    || fail "kvhost: $out"
  echo "$out" | grep -q 'Error finding the HVAC database\.' || fail "no finding message in $1: $out"
  echo "$out" | grep -q 'Cannot connect to the HVAC database (Connection Error Code 1)\.' \
    || fail "no connection message in $1: $out"
  echo "$out" | grep -q '(result nil)' || fail "a layer came back in $1: $out"
}
expect_unconnected "$work/none"
"$kvhost" -e "(kvdb-create \"$work/two/a_kv_hvac.$ext\")" -e "(kvdb-create \"$work/two/b_kv_hvac.$ext\")" >/dev/null \
  || fail "cannot create the two candidates"
expect_unconnected "$work/two"
echo "PASS"
