#!/usr/bin/env bash
# Shows the road of one print-option request on Linux:
#   the printing service (orvprint-send) writes a request with two printers
#   and two projects into the shared block and signals; OrvprintD pops the
#   dialog "请选择打印选项"; the answer goes back and is printed.
# Everything runs on a private demo machine configuration in a temporary
# folder (machine registry, Config.ini, LogConfig.conf, client tool, shared
# objects), so nothing on this machine is touched.
#
# With a display (DISPLAY set and reachable) you answer the dialog yourself.
# Without one the dialog is shown on a private Xvfb server, a screenshot is
# saved, Enter is pressed for you (OK with the preselected printer), and the
# answer, the screenshot's path and the tail of the log are printed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/setup.sh"

build=$root/build/linux
if [ ! -x "$build/bin/OrvprintD" ] || [ ! -x "$build/bin/orvprint-send" ] || [ ! -x "$build/bin/OrvClientTool" ]; then
  echo "== building (first run only)"
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build" -j "$(nproc)" --target OrvprintD orvprint-send OrvClientTool >/dev/null
bin=$build/bin

demo=$(mktemp -d /tmp/orvprint-demo.XXXXXX)
out=$root/build/demo
mkdir -p "$out"

# Machine registry, Config.ini (show projects, remember the last choice), the
# print processor, the request; the environment that points OrvprintD there.
# OrvprintD refuses to run as the system account (root); the demo may run as
# root (containers, CI): another account is named as the system one.
# shellcheck source=scripts/private-machine.sh
. "$root/scripts/private-machine.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"
private_machine "$demo" "$demo/shm" "$demo" 0 orvprint-demo-system

# Logging: everything of the program into one file.
cat >"$demo/install/LogConfig.conf" <<CONF
log4cpp.rootCategory=ERROR
log4cpp.category.OrvprintD_exe=DEBUG, file
log4cpp.appender.file=org.apache.log4cpp.FileAppender
log4cpp.appender.file.fileName=$demo/log/OrvprintD.log
log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout
log4cpp.appender.file.layout.ConversionPattern=%d{%H:%M:%S,%l} %p %m%n
OutputParam.OrvprintD_exe=true
CONF

interactive=0
XVFB_PID=
cleanup() {
  "$bin/OrvprintD" --quit >/dev/null 2>&1 || true
  pkill -f "$bin/OrvClientTool" 2>/dev/null || true
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null || true
  rm -rf "$demo"
}
trap cleanup EXIT

if [ -n "${DISPLAY:-}" ] && xdotool getdisplaygeometry >/dev/null 2>&1; then
  interactive=1
  echo "== using your display $DISPLAY: answer the dialog when it appears"
else
  start_private_xvfb
  echo "== no display: using a private Xvfb server ($DISPLAY)"
fi
export QT_QPA_PLATFORM=xcb

echo "== starting OrvprintD"
t0=$(date +%s%N)
"$bin/OrvprintD" &
orv_pid=$!
wait_until_serving "$ORVPRINT_SHM_DIR/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" $orv_pid \
  || { echo "OrvprintD ended early or did not start serving"; exit 1; }
echo "   serving after $(( ($(date +%s%N) - t0) / 1000000 )) ms (pid $orv_pid); client tool running: $(pgrep -f "$bin/OrvClientTool" >/dev/null && echo yes || echo no)"


echo "== orvprint-send $demo/request.json (the printing service's side)"
t1=$(date +%s%N)
"$bin/orvprint-send" --timeout 300 "$demo/request.json" >"$demo/answer.json" &
send_pid=$!

if [ $interactive -eq 0 ]; then
  win=$(find_window "请选择打印选项")
  echo "   dialog on screen after $(( ($(date +%s%N) - t1) / 1000000 )) ms"
  import -window "$win" "$out/dialog.png" 2>/dev/null || import -window root "$out/dialog.png" 2>/dev/null || true
  t2=$(date +%s%N)
  press_key "$win" Return
fi
wait $send_pid || true
[ $interactive -eq 0 ] && echo "   answer back $(( ($(date +%s%N) - t2) / 1000000 )) ms after Enter"
echo "== answer"
cat "$demo/answer.json"; echo
echo "== Config.ini now"
grep -E "^Default" "$demo/temp/Config.ini" | sed 's/^/   /'
[ $interactive -eq 0 ] && echo "== screenshot: $out/dialog.png"
echo "== log (last lines of $demo/log/OrvprintD.log)"
tail -n 12 "$demo/log/OrvprintD.log" | sed 's/^/   /'
echo "== stopping OrvprintD (OrvprintD --quit)"
"$bin/OrvprintD" --quit || true
