#!/usr/bin/env bash
# Shows one secure print job on Linux, the whole road: lp to the secure
# queue, the CUPS backend orvprint asks the user's OrvprintD, the dialog
# "请选择打印选项", the document forwarded unchanged to the chosen printer
# with the project as billing code. See --help.
set -euo pipefail

usage() {
  cat <<'HELP'
Usage: scripts/demo.sh [--headless] [--bin-dir DIR]
       scripts/demo.sh --direct
       scripts/demo.sh --help

Default: one secure print job through CUPS, on a private CUPS scheduler of
the demo's own in a temporary folder (its own configuration, socket, spool
and logs; the machine's CUPS and /etc are never touched):
  - the secure queue SecurePrint (backend orvprint of this build, policy
    orvprint) and two capture printers (office, basement) that keep what
    they receive;
  - a print-service.conf with two printers and three projects, one of them
    only for another user (it is not offered);
  - OrvprintD started for the demo user; a small three-page PDF made on the
    fly and printed with lp to SecurePrint as that user;
  - the dialog: with a display (DISPLAY reachable) you answer it; without
    one it runs on a private Xvfb server, a screenshot is saved and Enter is
    pressed for you (--headless: always so);
  - a summary, one item a line: "document: PATH" (the submitted PDF),
    "printed: PATH" (what the chosen printer received, byte for byte the
    same), the CUPS job ids (secure and forwarded), printer, project, the
    page log line with the billing code, and the accounting line when the
    print service wrote its accounting log.
  Both files are kept in build/demo/; everything else is removed and every
  process the demo started is ended.

  Needs root. CUPS runs the backend as root only when it is installed 0700
  and the scheduler runs as root: root reaches each user's own OrvprintD
  and forwards the job as that user. The backend refuses root's own jobs,
  so the demo makes an unprivileged user, orvprint-demo (removed again
  afterwards), and runs OrvprintD and lp as that user. Run by another user
  it builds as that user and runs the rest under sudo. With your
  display, the demo user is allowed on it with "xhost +SI:localuser:..."
  for the run (taken back afterwards); when that fails, Xvfb is used.

--direct     the channel alone, without CUPS: orvprint-send writes a request
             (two printers, two projects) straight into OrvprintD's channel,
             as the print service does, and prints the answer, e.g.
             {"resultCode":0,...,"printerId":"P-3F-01","projectId":"PRJ-001"}.
             Runs as any user (as root, another account is named the system
             one). Screenshot build/demo/dialog.png without a display.
--headless   always a private Xvfb server, Enter pressed for you.
--bin-dir D  the programs (OrvprintD, OrvClientTool, orvprint) from D;
             nothing is installed or built (the tests use this).
HELP
}

mode=cups
headless=0
bin_dir=
while [ $# -gt 0 ]; do
  case $1 in
    --direct) mode=direct ;;
    --headless) headless=1 ;;
    --bin-dir) [ $# -ge 2 ] || { usage >&2; exit 2; }; bin_dir=$(cd "$2" && pwd); shift ;;
    --help|-h) usage; exit 0 ;;
    *) echo "demo: unknown argument $1" >&2; usage >&2; exit 2 ;;
  esac
  shift
done

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
out=$root/build/demo
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"

# Printing through CUPS needs root (see --help). Run by another user, the
# demo builds as that user and runs the rest again under sudo, with the
# programs it built.
need_sudo=0
if [ $mode = cups ] && [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null 2>&1; then
    cat >&2 <<'MSG'
demo: printing through CUPS needs root. The orvprint backend runs as root
(as CUPS runs it when installed 0700) to reach the demo user's OrvprintD,
so the demo runs its own private CUPS scheduler as root and makes an
unprivileged demo user for OrvprintD and lp. sudo is not installed: run it
as root, or show the request channel alone, without CUPS, as any user:

    ./scripts/demo.sh --direct
MSG
    exit 2
  fi
  need_sudo=1
fi

if [ -z "$bin_dir" ]; then
  "$root/scripts/setup.sh"
  build=$root/build/linux
  targets=(OrvprintD OrvClientTool)
  if [ $mode = cups ]; then targets+=(orvprint); else targets+=(orvprint-send); fi
  if [ ! -f "$build/build.ninja" ]; then
    echo "== building (first run only)"
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  fi
  cmake --build "$build" -j "$(nproc)" --target "${targets[@]}" >/dev/null
  bin=$build/bin
else
  bin=$bin_dir
fi
if [ $need_sudo -eq 1 ]; then
  echo "== printing through CUPS needs root: the rest runs under sudo"
  sudo_args=(--bin-dir "$bin")
  [ $headless -eq 1 ] && sudo_args+=(--headless)
  exec sudo --preserve-env=DISPLAY,XAUTHORITY \
    "$root/scripts/demo.sh" "${sudo_args[@]}"
fi
mkdir -p "$out"

use_own_display() {
  [ $headless -eq 0 ] && [ -n "${DISPLAY:-}" ] && xdotool getdisplaygeometry >/dev/null 2>&1
}

ms_since() { echo $(( ($(date +%s%N) - $1) / 1000000 )); }

# ---------------------------------------------------------------------------
# --direct: a request straight into the channel with orvprint-send.
# ---------------------------------------------------------------------------
run_direct() {
  demo=$(mktemp -d /tmp/orvprint-demo.XXXXXX)
  # shellcheck source=scripts/private-machine.sh
  . "$root/scripts/private-machine.sh"
  # Machine registry, Config.ini (show projects, remember the last choice),
  # the print service's stand-in, the request; the environment that points
  # OrvprintD there. OrvprintD refuses to run as the system account (root);
  # the demo may run as root (containers, CI): another account is named as
  # the system one.
  private_machine "$demo" "$demo/shm" "$demo" 0 orvprint-demo-system
  cat >"$demo/install/LogConfig.conf" <<CONF
log4cpp.rootCategory=ERROR
log4cpp.category.OrvprintD_exe=DEBUG, file
log4cpp.appender.file=org.apache.log4cpp.FileAppender
log4cpp.appender.file.fileName=$demo/log/OrvprintD.log
log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout
log4cpp.appender.file.layout.ConversionPattern=%d{%H:%M:%S,%l} %p %m%n
OutputParam.OrvprintD_exe=true
CONF

  local interactive=0 send_pid t0 t1 t2=0
  orv_pid=
  client_pid=
  XVFB_PID=
  # shellcheck disable=SC2317 # called by the trap
  cleanup_direct() {
    [ -n "$orv_pid" ] && kill "$orv_pid" 2>/dev/null && wait "$orv_pid" 2>/dev/null
    [ -n "$client_pid" ] && kill "$client_pid" 2>/dev/null
    [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
    rm -rf "$demo"
  }
  trap cleanup_direct EXIT

  if use_own_display; then
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
  wait_until_serving "$ORVPRINT_SHM_DIR/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "$orv_pid" \
    || { echo "OrvprintD ended early or did not start serving"; exit 1; }
  client_pid=$(pgrep -P "$orv_pid" -x OrvClientTool || true)
  echo "   serving after $(ms_since "$t0") ms (pid $orv_pid); client tool: ${client_pid:-not running}"

  echo "== orvprint-send $demo/request.json (the printing service's side)"
  t1=$(date +%s%N)
  "$bin/orvprint-send" --timeout 300 "$demo/request.json" >"$demo/answer.json" &
  send_pid=$!
  if [ $interactive -eq 0 ]; then
    local win
    win=$(find_window "请选择打印选项")
    echo "   dialog on screen after $(ms_since "$t1") ms"
    import -window root "$out/dialog.png" 2>/dev/null || true
    t2=$(date +%s%N)
    press_key "$win" Return
  fi
  wait "$send_pid" || true
  [ $interactive -eq 0 ] && echo "   answer back $(ms_since "$t2") ms after Enter"
  echo "== answer"
  cat "$demo/answer.json"; echo
  echo "== the user's Config.ini now (the choice is remembered there)"
  grep -E "^Default" "$XDG_CONFIG_HOME/orv-soft/Config.ini" 2>/dev/null | sed 's/^/   /'
  [ $interactive -eq 0 ] && echo "== screenshot: $out/dialog.png"
  echo "== log (last lines of $demo/log/OrvprintD.log)"
  tail -n 12 "$demo/log/OrvprintD.log" | sed 's/^/   /'
  echo "== stopping OrvprintD (OrvprintD --quit)"
  "$bin/OrvprintD" --quit || true
  wait "$orv_pid" 2>/dev/null || true
  orv_pid=
}

if [ $mode = direct ]; then
  run_direct
  exit 0
fi

# ---------------------------------------------------------------------------
# Default: the whole road through a private CUPS scheduler.
# ---------------------------------------------------------------------------
# shellcheck source=scripts/private-cupsd.sh
. "$root/scripts/private-cupsd.sh"
# shellcheck source=scripts/make-pdf.sh
. "$root/scripts/make-pdf.sh"

reason=$(private_cupsd_missing_reason)
[ -z "$reason" ] || { echo "demo: $reason" >&2; exit 1; }

user=orvprint-demo
other_user=orvprint-demo-other
demo=$(mktemp -d /tmp/orvprint-demo.XXXXXX)
chmod 755 "$demo"
made_user=0
chan_made=
xhost_added=0
orv_pid=
client_pid=
XVFB_PID=

# shellcheck disable=SC2317 # called by the trap
cleanup() {
  set +e
  if [ -n "$orv_pid" ]; then
    client_pid=${client_pid:-$(pgrep -P "$orv_pid" -x OrvClientTool)}
    kill "$orv_pid" 2>/dev/null && wait "$orv_pid" 2>/dev/null
  fi
  [ -n "$client_pid" ] && kill "$client_pid" 2>/dev/null
  private_cupsd_stop
  [ "$xhost_added" -eq 1 ] && xhost "-SI:localuser:$user" >/dev/null 2>&1
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null && wait "$XVFB_PID" 2>/dev/null
  [ -n "$chan_made" ] && rm -rf "$chan_made"
  [ "$made_user" -eq 1 ] && userdel "$user" >/dev/null 2>&1
  rm -rf "$demo"
}
trap cleanup EXIT

rm -f "$out/document.pdf" "$out/printed.pdf" "$out/dialog.png"

# The demo user: unprivileged, made for this run, home in the demo folder.
if id "$user" >/dev/null 2>&1; then
  echo "demo: the user $user exists already (left by an earlier run?); remove it with: userdel $user" >&2
  exit 1
fi
useradd --user-group --no-create-home --home-dir "$demo/home" --shell /usr/sbin/nologin "$user"
made_user=1
uid=$(id -u "$user")
install -d -m 0700 -o "$user" -g "$(id -gn "$user")" "$demo/home" "$demo/run"
# The user's channel folder, as OrvprintD and the backend's worker find it.
if [ -d "/run/user/$uid" ]; then
  channel=/run/user/$uid
else
  channel=/tmp/orvprint-$uid
  [ -e "$channel" ] || chan_made=$channel
fi

echo "== private CUPS scheduler in $demo/cups"
mkdir "$demo/cups"
private_cupsd_start "$demo/cups" "$bin/orvprint"
private_cupsd_add_secure_queue SecurePrint
private_cupsd_add_capture_queue office
private_cupsd_add_capture_queue basement
echo "   socket $CUPS_SERVER (pid $PRIVATE_CUPSD_PID); queues: SecurePrint (orvprint:/, policy orvprint), office, basement"

declare -A printer_name=([office]="三楼东 HP LaserJet" [basement]="Basement colour printer")
declare -A printer_id=([office]=P-3F-01 [basement]=P-B1-01)
declare -A project_name=([PRJ-001]="新产品发布" [PRJ-002]="Research" [PRJ-003]="Finance (not for you)")
cat >"$demo/cups/print-service.conf" <<CONF
[Service]
AnswerTimeoutSeconds=300
AccountingLog=$demo/accounting.jsonl

[Printer:${printer_id[office]}]
Name=${printer_name[office]}
Queue=office
Comment=3rd floor, east wing
[Printer:${printer_id[basement]}]
Name=${printer_name[basement]}
Queue=basement
MaxPagesPerJob=50

[Project:PRJ-001]
Name=${project_name[PRJ-001]}
[Project:PRJ-002]
Name=${project_name[PRJ-002]}
Users=$user
[Project:PRJ-003]
Name=${project_name[PRJ-003]}
Users=$other_user
CONF
chmod 644 "$demo/cups/print-service.conf"

# The desktop side: machine registry, the administrator's Config.ini, the
# log, OrvprintD and the client tool where the demo user may run them.
mkdir -p "$demo/bin" "$demo/install" "$demo/temp" "$demo/xdg"
cp "$bin/OrvprintD" "$demo/bin/"
[ -x "$bin/OrvClientTool" ] && cp "$bin/OrvClientTool" "$demo/bin/"
cat >"$demo/machine.ini" <<INI
[Software\\Orv-soft\\Client]
InstallDir=$demo/bin
TempDir=$demo/temp
INI
printf '[Setting]\nDisplayProjectSelection=1\nCanSelectNoProject=0\n\n[ServerConfig]\nAuditInstalled=1\n' \
  >"$demo/temp/Config.ini"
cat >"$demo/bin/LogConfig.conf" <<CONF
log4cpp.rootCategory=ERROR
log4cpp.category.OrvprintD_exe=DEBUG, file
log4cpp.appender.file=org.apache.log4cpp.FileAppender
log4cpp.appender.file.fileName=$demo/home/OrvprintD.log
log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout
log4cpp.appender.file.layout.ConversionPattern=%d{%H:%M:%S,%l} %p %m%n
CONF
chmod -R a+rX "$demo/bin" "$demo/temp" "$demo/xdg" "$demo/machine.ini"

interactive=0
if use_own_display && xhost "+SI:localuser:$user" >/dev/null 2>&1; then
  xhost_added=1
  interactive=1
  echo "== using your display $DISPLAY ($user may use it for this run): answer the dialog when it appears"
else
  start_private_xvfb
  echo "== no display: using a private Xvfb server ($DISPLAY)"
fi

as_user_exec() { # COMMAND... : in place of the calling (sub)shell, as the demo user
  exec setpriv --reuid="$user" --regid="$(id -g "$user")" --init-groups \
    env -i HOME="$demo/home" USER="$user" LOGNAME="$user" PATH=/usr/bin:/bin LANG=C.UTF-8 \
        DISPLAY="$DISPLAY" QT_QPA_PLATFORM=xcb ORVPRINT_MACHINE_CONFIG="$demo/machine.ini" \
        XDG_CONFIG_DIRS="$demo/xdg" XDG_RUNTIME_DIR="$demo/run" CUPS_SERVERBIN="$demo/cups/serverbin" \
        CUPS_SERVER="$CUPS_SERVER" "$@"
}

echo "== starting OrvprintD as $user (uid $uid)"
t0=$(date +%s%N)
as_user_exec "$demo/bin/OrvprintD" >"$demo/OrvprintD.out" 2>&1 &
orv_pid=$!
wait_until_serving "$channel/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "$orv_pid" \
  || { echo "demo: OrvprintD ended early or did not start serving"; cat "$demo/OrvprintD.out"; exit 1; }
client_pid=$(pgrep -P "$orv_pid" -x OrvClientTool || true)
echo "   serving its channel in $channel after $(ms_since "$t0") ms (pid $orv_pid); client tool: ${client_pid:-not running}"

document=$out/document.pdf
make_pdf "$document" 3 "OrvprintD demo"
echo "== lp -d SecurePrint -t document.pdf < $document   (as $user)"
t1=$(date +%s%N)
lp_out=$( (as_user_exec lp -d SecurePrint -t document.pdf) <"$document" 2>&1) || true
secure_id=$(sed -n 's/^request id is SecurePrint-\([0-9]*\) .*/\1/p' <<<"$lp_out")
[ -n "$secure_id" ] || { echo "demo: lp failed: $lp_out"; exit 1; }
echo "   $lp_out"

if [ $interactive -eq 0 ]; then
  win=$(find_window "请选择打印选项")
  [ -n "$win" ] || { echo "demo: no dialog appeared"; exit 1; }
  echo "   dialog on screen after $(ms_since "$t1") ms"
  import -window root "$out/dialog.png" 2>/dev/null || true
  press_key "$win" Return
  wait_seconds=60
else
  echo "   waiting for your answer (at most 300 s)"
  wait_seconds=400
fi

# The secure job ends completed (forwarded), canceled, or held.
deadline=$(($(date +%s) + wait_seconds))
state=$(private_cupsd_job_state "$secure_id")
while [ "$state" != completed ] && [ "$state" != canceled ] && [ "$state" != held ]; do
  [ "$(date +%s)" -gt "$deadline" ] && break
  sleep 0.1
  state=$(private_cupsd_job_state "$secure_id")
done

forwarded=
if [ "$state" = completed ]; then
  forwarded=$(grep -oE "\[Job [0-9]+\] Queued on \"(office|basement)\" by \"$user\"" "$demo/cups/log/error_log" |
               tail -n 1 | sed 's/^\[Job \([0-9]*\)\] Queued on "\([a-z]*\)".*/\2 \1/')
fi
printed=
if [ -n "$forwarded" ]; then
  queue=${forwarded% *}
  fwd_id=${forwarded#* }
  private_cupsd_wait_for_job "$fwd_id" completed >/dev/null
  if [ -f "$demo/cups/capture/$queue-$fwd_id" ]; then
    printed=$out/printed.pdf
    cp "$demo/cups/capture/$queue-$fwd_id" "$printed"
    chmod 644 "$printed"
  fi
fi

echo "== summary"
echo "document: $document"
if [ -n "$printed" ]; then
  echo "printed: $printed"
  if cmp -s "$document" "$printed"; then
    echo "identical: yes, $(stat -c %s "$printed") bytes"
  else
    echo "identical: NO"
  fi
fi
echo "secure job: SecurePrint-$secure_id ($state)"
if [ -n "$forwarded" ]; then
  page_line=$(grep -E "^$queue $user $fwd_id " "$demo/cups/log/page_log" | tail -n 1)
  billing=$(awk '{print $8}' <<<"$page_line")
  echo "forwarded job: $queue-$fwd_id"
  echo "printer: ${printer_name[$queue]} (${printer_id[$queue]}, queue $queue)"
  if [ -n "$billing" ] && [ "$billing" != - ]; then
    echo "project: ${project_name[$billing]:-?} ($billing)"
  else
    echo "project: none"
  fi
  echo "page log: $page_line"
fi
if [ "$state" = held ] || [ "$state" = canceled ]; then
  message=$(private_cupsd_job_message "SecurePrint-$secure_id")
  [ -n "$message" ] && echo "message: $message"
fi
if [ -s "$demo/accounting.jsonl" ]; then
  echo "accounting: $(tail -n 1 "$demo/accounting.jsonl")"
fi
[ $interactive -eq 0 ] && echo "screenshot: $out/dialog.png"
answer=$(grep -o 'Selected printer : .*' "$demo/home/OrvprintD.log" | tail -n 1 || true)
echo "OrvprintD log: ${answer:-$(grep -o 'User clicked .*' "$demo/home/OrvprintD.log" | tail -n 1)}"
# Run through sudo: the kept files belong to the person who ran the demo.
if [ -n "${SUDO_UID:-}" ] && [ "$SUDO_UID" != 0 ]; then
  chown -R "$SUDO_UID:${SUDO_GID:-$SUDO_UID}" "$out"
fi
# Done: printed unchanged, or cancelled by the user; anything else failed.
if [ "$state" = canceled ] || { [ -n "$printed" ] && cmp -s "$document" "$printed"; }; then
  exit 0
fi
exit 1
