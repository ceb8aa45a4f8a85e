#!/usr/bin/env bash
# The demo (scripts/demo.sh) with this build's programs, without a display:
# through CUPS the submitted document and what the chosen printer received
# are kept and are the same bytes; the summary names the jobs, printer,
# project and the page log line with the billing code; nothing of the run is
# left (user, folder, processes). --direct still answers the sample request.
# Needs root, Xvfb and xdotool (skipped otherwise).
#
#   demo-test.sh BIN_DIR
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$root/tests/packaging/checks.sh"
# shellcheck source=scripts/private-cupsd.sh
. "$root/scripts/private-cupsd.sh"

name="demo"
bin=$(cd "$1" && pwd)
reason=$(private_cupsd_missing_reason)
if [ -z "$reason" ]; then
  for tool in setpriv useradd userdel Xvfb xdotool import; do
    command -v "$tool" >/dev/null || { reason="$tool is missing"; break; }
  done
fi
if [ -n "$reason" ]; then
  skip_all "$name" "$reason"
  summary_line "$name"; exit 0
fi

log=$(mktemp /tmp/orvtest-demo.XXXXXX)
trap 'rm -f "$log"' EXIT

echo "== $name: scripts/demo.sh --headless --bin-dir $bin"
bash "$root/scripts/demo.sh" --headless --bin-dir "$bin" >"$log" 2>&1
rc=$?
sed 's/^/   | /' "$log"
check_eq "the demo ends with 0" 0 "$rc"

line() { sed -n "s/^$1: //p" "$log"; }
document=$(line document)
printed=$(line printed)
check_eq "one document: line and one printed: line, absolute paths in build/demo" \
  "$root/build/demo/document.pdf $root/build/demo/printed.pdf" "$document $printed"
check_eq "the submitted document is a PDF of three pages" "%PDF-1.4 3" \
  "$(head -c 8 "$document" 2>/dev/null) $(grep -ac '/Type /Page /Parent' "$document" 2>/dev/null)"
check "what the printer received is the submitted document, byte for byte" cmp "$document" "$printed"
secure=$(line "secure job")
forwarded=$(line "forwarded job")
check_eq "the secure job completed" completed "$(sed -n 's/^SecurePrint-[0-9]* (\(.*\))$/\1/p' <<<"$secure")"
check_eq "it was forwarded to the first printer's queue (Enter)" office "${forwarded%-*}"
check_eq "the chosen printer and the first project offered" \
  "三楼东 HP LaserJet (P-3F-01, queue office)|新产品发布 (PRJ-001)" "$(line printer)|$(line project)"
check "the page log line has the demo user, the forwarded job and the project as billing code" \
  grep -qE "^page log: office orvprint-demo ${forwarded#office-} \[[^]]*\] total [0-9]+ PRJ-001 " "$log"
check_eq "OrvprintD logged the same answer" "Selected printer : 三楼东 HP LaserJet, selected project : 新产品发布" \
  "$(line "OrvprintD log")"
check "the accounting line: the demo user's job, printed on office with the project, the forwarded job" \
  grep -qE "^accounting: \{\"time\":\"[^\"]+\",\"job\":$(sed -n 's/^SecurePrint-\([0-9]*\) .*/\1/p' <<<"$secure"),\"user\":\"orvprint-demo\",.*\"pages\":3,\"copies\":1,\"printer\":\"P-3F-01\",\"queue\":\"office\",\"project\":\"PRJ-001\",\"outcome\":\"printed\",\"reason\":null,\"forwarded\":${forwarded#office-}\}$" "$log"
check "the screenshot of the dialog is kept" test -s "$(line screenshot)"
folder=$(sed -n 's/^== private CUPS scheduler in \(.*\)\/cups$/\1/p' "$log")
check "the demo's temporary folder is gone" test -n "$folder" -a ! -e "$folder"
check "the demo user is removed" bash -c "! id orvprint-demo >/dev/null 2>&1"
left=
for f in /proc/[0-9]*/cmdline; do
  args=$(tr '\0' ' ' 2>/dev/null <"$f")
  [[ -n "$folder" && "$args" == *"$folder"* ]] && left+="${f%/cmdline}: $args; "
done
check_eq "no process of the demo is left" "" "$left"

echo "== $name: scripts/demo.sh --direct --headless --bin-dir $bin"
bash "$root/scripts/demo.sh" --direct --headless --bin-dir "$bin" >"$log" 2>&1
check_eq "--direct: the request sent into the channel is answered with Enter" \
  '{"resultCode":0,"responseLength":44,"result":0,"printerId":"P-3F-01","projectId":"PRJ-001"}' \
  "$(grep -m1 '^{"resultCode"' "$log")"
summary_line "$name"
