#!/usr/bin/env bash
# The whole road of a secure print job with the real programs: two people,
# each with an OrvprintD of their own on one X display (Xvfb), print with
# lp to the secure queue of a private CUPS scheduler (scripts/private-cupsd.sh)
# whose orvprint backend is this build's. The backend's worker, running as
# the job's user, asks that user's OrvprintD; the dialog is answered with
# the keyboard; the job goes to the chosen capture printer unchanged, with
# the project as billing code, or is cancelled, or is held when the user's
# OrvprintD is not running. Real users (made here and removed again).
# Needs root, Xvfb and xdotool (skipped otherwise).
#
#   secure-print-test.sh BIN_DIR
# Screenshots of the dialogs go to build/screenshots/ of the source tree
# (ORV_SCREENSHOT_DIR overrides).
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$root/tests/packaging/checks.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"
# shellcheck source=scripts/private-cupsd.sh
. "$root/scripts/private-cupsd.sh"
# shellcheck source=scripts/make-pdf.sh
. "$root/scripts/make-pdf.sh"
# shellcheck source=tests/service/e2e/print-session.sh
. "$here/print-session.sh"

name="secure print"
bin=$(cd "$1" && pwd)
reason=$(private_cupsd_missing_reason)
if [ -z "$reason" ]; then
  for tool in setpriv useradd userdel Xvfb xdotool xprop import flock; do
    command -v "$tool" >/dev/null || { reason="$tool is missing"; break; }
  done
fi
if [ -n "$reason" ]; then
  skip_all "$name" "$reason"
  summary_line "$name"; exit 0
fi

users=(orvtest-print-alice orvtest-print-bob)
alice=${users[0]}
bob=${users[1]}
XVFB_PID=
work=$(mktemp -d /tmp/orvtest-secureprint.XXXXXX)
chmod 755 "$work"
SESSION_WORK=$work
shots=${ORV_SCREENSHOT_DIR:-$root/build/screenshots}
mkdir -p "$shots"

cleanup() {
  local pid
  if [ "$CHECKS_FAILED" -gt 0 ] && [ -n "$PRIVATE_CUPSD_PID" ]; then
    echo "---- jobs of the private scheduler"
    lpstat -W all -l -o 2>&1 | sed 's/^/   /'
    echo "---- its log (jobs, last lines)"
    grep -E '^[EIW] .*\[Job [0-9]+\]' "$cupsd/log/error_log" 2>/dev/null | tail -n 40 | sed 's/^/   /'
  fi
  for pid in "${SESSION_PIDS[@]}"; do kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null; done
  private_cupsd_stop
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
  session_remove_users
  if [ -n "${ORV_KEEP_WORK:-}" ]; then echo "kept $work"; else rm -rf "$work"; fi
}
trap cleanup EXIT

if ! session_make_users "${users[@]}"; then
  skip_all "$name" "could not make the test users"; summary_line "$name"; exit 0
fi
alice_uid=$(id -u "$alice")
bob_uid=$(id -u "$bob")

# The print service: a private scheduler with the secure queue (this build's
# backend, the orvprint policy) and two capture printers; two printers and
# two projects, one of them only for alice.
cupsd=$work/cupsd
mkdir "$cupsd"
if ! private_cupsd_start "$cupsd" "$bin/orvprint" || ! private_cupsd_add_secure_queue SecurePrint ||
   ! private_cupsd_add_capture_queue office || ! private_cupsd_add_capture_queue basement; then
  echo "$name: the private scheduler did not start"; CHECKS_FAILED=$((CHECKS_FAILED + 1))
  summary_line "$name"; exit 1
fi
SESSION_PIDS+=("$PRIVATE_CUPSD_PID")
two_printer_service_conf "$alice" >"$cupsd/print-service.conf"
chmod 644 "$cupsd/print-service.conf"

# The desktop side: the machine registry, the administrator's Config.ini
# (projects shown, one must be chosen), each user's log in that user's state
# folder, OrvprintD where both users may run it. Its start-up probe finds the
# backend in the private scheduler's ServerBin.
mkdir -p "$work/bin" "$work/install" "$work/temp"
cp "$bin/OrvprintD" "$work/bin/"
cat >"$work/machine.ini" <<INI
[Software\\Orv-soft\\Client]
InstallDir=$work/install
TempDir=$work/temp
INI
printf '[Setting]\nDisplayProjectSelection=1\nCanSelectNoProject=0\n\n[ServerConfig]\nAuditInstalled=1\n' \
  >"$work/temp/Config.ini"
cat >"$work/install/LogConfig.conf" <<'CONF'
log4cpp.rootCategory=ERROR
log4cpp.category.OrvprintD_exe=DEBUG, file
log4cpp.appender.file=org.apache.log4cpp.FileAppender
log4cpp.appender.file.fileName=${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log
log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout
log4cpp.appender.file.layout.ConversionPattern=%m%n
CONF
chmod -R a+rX "$work/bin" "$work/install" "$work/temp" "$work/machine.ini"

# The documents: three pages each, readable by their owner.
for u in "$alice" "$bob"; do
  make_pdf "$work/home-$u/report.pdf" 3 "Report of $u"
  chown "$u" "$work/home-$u/report.pdf"
done

# Under the sanitizers the users' programs keep the run's options, with
# their reports in a folder they may write (checked at the end).
mkdir -p "$work/sanitizer"
chmod 1777 "$work/sanitizer"
san_env=()
for v in ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS TSAN_OPTIONS; do
  [ -n "${!v:-}" ] || continue
  supp=$(printf '%s' "${!v}" | sed -n 's#^\(.*:\)\{0,1\}suppressions=\([^:]*\).*#\2#p')
  [ -n "$supp" ] && cp "$supp" "$work/sanitizer/$v.supp" && chmod 644 "$work/sanitizer/$v.supp"
  san_env+=("$v=$(printf '%s' "${!v}" | sed "s#log_path=[^:]*#log_path=$work/sanitizer/report#; s#^\(\(.*:\)\{0,1\}\)suppressions=[^:]*#\1suppressions=$work/sanitizer/$v.supp#")")
done

# The users' session: the private machine registry and XDG folders,
# OrvprintD's start-up probe finding the backend in the private scheduler's
# ServerBin, the run's sanitizer options.
SESSION_ENV=(ORVPRINT_MACHINE_CONFIG="$work/machine.ini" XDG_CONFIG_DIRS="$work/xdg-{user}"
             CUPS_SERVERBIN="$cupsd/serverbin" "${san_env[@]}")

# In user U's dialog WIN, with the keyboard: KEYS (e.g. "Tab Tab" to reach
# the printer list from OK) then F4 opens the list; a screenshot of the
# screen goes to FILE; then Escape closes the list again (the dialog stays).
shoot_open_list() { # USER WIN FILE KEYS...
  local u=$1 win=$2 file=$3; shift 3
  xdotool windowfocus --sync "$win" 2>/dev/null
  xdotool key --clearmodifiers "$@" F4
  wait_for_windows "$u" 2
  import -window root "$file" 2>/dev/null
  xdotool key --clearmodifiers Escape
  wait_for_windows "$u" 1
}

echo "== $name: $alice ($alice_uid) and $bob ($bob_uid), scheduler $CUPS_SERVER"
start_private_xvfb || { echo "$name: Xvfb did not start"; exit 1; }
SESSION_PIDS+=("$XVFB_PID")
start_orvprintd "$alice" "$work/bin/OrvprintD"
check "$alice's OrvprintD serves" kill -0 "${orv_pid[$alice]}"
start_orvprintd "$bob" "$work/bin/OrvprintD"
check "$bob's OrvprintD serves" kill -0 "${orv_pid[$bob]}"
check_eq "no window is shown before a job (the start-up probe finds the backend)" "" "$(dialogs)"

# --- alice prints: the dialog opens in alice's OrvprintD only.
before=$(captured_now)
alice_job=$(submit "$alice" "$work/home-$alice/report.pdf" "Alice report")
check "lp as $alice (no -U) is accepted on the secure queue" test -n "$alice_job"
wait_for_dialogs 1
check_eq "one dialog, in $alice's OrvprintD (none in $bob's)" "$alice" "$(dialog_owners)"
win=$(dialog_of "$alice")
import -window root "$shots/secure-print-alice.png" 2>/dev/null
check "screenshot of $alice's dialog saved" test -s "$shots/secure-print-alice.png"
alice_gid=$(id -g "$alice")
check_eq "while the dialog is open the backend's worker runs as $alice for good (all ids, no other groups)" \
  "$(printf 'Uid:\t%s\t%s\t%s\t%s|Gid:\t%s\t%s\t%s\t%s|Groups:\t%s ' "$alice_uid" "$alice_uid" "$alice_uid" \
     "$alice_uid" "$alice_gid" "$alice_gid" "$alice_gid" "$alice_gid" "$alice_gid")" \
  "$(backend_ids_of_uid "$alice_uid")"
check_eq "beside it the backend's root part runs as root" 1 \
  "$(backend_ids_of_uid 0 | grep -c "$(printf '^Uid:\t0\t0\t0\t0|')")"

# --- bob prints while alice's dialog is open. The scheduler runs one job
# per queue at a time: bob's job waits until alice has answered, then opens
# in bob's OrvprintD only.
bob_job=$(submit "$bob" "$work/home-$bob/report.pdf" "Bob report")
check "lp as $bob (no -U) is accepted on the secure queue" test -n "$bob_job"
check_eq "$bob's job waits behind $alice's open dialog; no second dialog" \
  "$alice pending" "$(dialog_owners) $(private_cupsd_job_state "$bob_job")"

shoot_open_list "$alice" "$win" "$shots/secure-print-alice-printers.png" Tab Tab
shoot_open_list "$alice" "$win" "$shots/secure-print-alice-projects.png" Tab
check_eq "$alice's lists were opened and closed with the keyboard; the dialog stays" "$alice" "$(dialog_owners)"
press_key "$win" Return
new=$(wait_for_capture "$before")
check_eq "Enter: $alice's job goes to the first printer's queue (office)" "office-" "${new%%[0-9]*}"
check_eq "$alice's OrvprintD logged the configured printer and her own project" \
  "Selected printer : Office 3F east, selected project : Alice's research" \
  "$(log_of "$alice" | sed -n 's/.*INFO - \(Selected printer.*\)/\1/p' | tail -n 1)"
fwd=${new#office-}
check "the captured file equals $alice's PDF byte for byte" cmp "$work/home-$alice/report.pdf" "$cupsd/capture/$new"
check_eq "the forwarded job is $alice's, with her title" "user=$alice title=Alice report copies=1" \
  "$(head -3 "$cupsd/capture/$new.args" 2>/dev/null | tr '\n' ' ' | sed 's/ $//')"
check_eq "the secure job SecurePrint-$alice_job and the forwarded one office-$fwd completed" "completed completed" \
  "$(private_cupsd_wait_for_job "$alice_job" completed) $(private_cupsd_wait_for_job "$fwd" completed)"
check "the page log has $alice's job on office with project J1 as billing code" \
  page_log_has office "$alice" "$fwd" J1

wait_for_dialogs 1
check_eq "then $bob's job opens a dialog in $bob's OrvprintD only" "$bob" "$(dialog_owners)"
win=$(dialog_of "$bob")
import -window root "$shots/secure-print-bob.png" 2>/dev/null
check "screenshot of $bob's dialog saved" test -s "$shots/secure-print-bob.png"
shoot_open_list "$bob" "$win" "$shots/secure-print-bob-projects.png" Tab Tab Tab
# Bob picks the second printer: back to the printer list, open it, Down,
# Enter takes the item, Enter again confirms the dialog.
xdotool key --clearmodifiers shift+Tab F4
wait_for_windows "$bob" 2
xdotool key --clearmodifiers Down Return
wait_for_windows "$bob" 1
before=$(captured_now)
press_key "$win" Return
new=$(wait_for_capture "$before")
check_eq "$bob's job goes to the printer he picked (basement)" "basement-" "${new%%[0-9]*}"
fwd=${new#basement-}
check_eq "$bob's OrvprintD logged that printer and the only project he may use" \
  "Selected printer : Basement colour, selected project : General office" \
  "$(log_of "$bob" | sed -n 's/.*INFO - \(Selected printer.*\)/\1/p' | tail -n 1)"
check "the captured file equals $bob's PDF byte for byte" cmp "$work/home-$bob/report.pdf" "$cupsd/capture/$new"
check_eq "the forwarded job basement-$fwd completed" completed "$(private_cupsd_wait_for_job "$fwd" completed)"
check "the page log has $bob's job on basement with project J2 as billing code" \
  page_log_has basement "$bob" "$fwd" J2

# --- Cancel: Escape cancels the job; nothing is printed.
before=$(captured_now)
cancel_job=$(submit "$alice" "$work/home-$alice/report.pdf" "Alice cancels")
wait_for_dialogs 1
check_eq "the next job of $alice opens in her OrvprintD" "$alice" "$(dialog_owners)"
press_key "$(dialog_of "$alice")" Escape
check_eq "Escape: the job is cancelled" canceled "$(private_cupsd_wait_for_job "$cancel_job" canceled)"
check_eq "nothing was captured" "" "$(captured_since "$before")"
check_eq "no dialog is left" "" "$(dialogs)"

# --- bob's OrvprintD is not running: his job is held with how to release
# it; after he starts OrvprintD again, releasing it opens his dialog.
kill "${orv_pid[$bob]}"
wait "${orv_pid[$bob]}" 2>/dev/null
check "$bob's OrvprintD ended" bash -c "! kill -0 ${orv_pid[$bob]} 2>/dev/null"
held_job=$(submit "$bob" "$work/home-$bob/report.pdf" "Bob later")
held="OrvprintD is not running for user $bob; the job is held. Release it with: lp -i SecurePrint-$held_job -H resume"
check_eq "$bob's job is held with the reason and how to release it" "held $held" \
  "$(private_cupsd_wait_for_job "$held_job" held) $(private_cupsd_job_message "SecurePrint-$held_job")"
check_eq "no dialog appears in $alice's OrvprintD (nor anywhere)" "" "$(dialogs)"
start_orvprintd "$bob" "$work/bin/OrvprintD"
check "$bob's OrvprintD serves again" kill -0 "${orv_pid[$bob]}"
before=$(captured_now)
as_user "$bob" lp -i "SecurePrint-$held_job" -H resume >"$work/resume.out" 2>&1
check_eq "$bob releases his job with the command from the message" "0" "$?"
wait_for_dialogs 1
check_eq "the released job opens in $bob's new OrvprintD only" "$bob" "$(dialog_owners)"
press_key "$(dialog_of "$bob")" Return
new=$(wait_for_capture "$before")
check "the released job is printed, byte for byte" cmp "$work/home-$bob/report.pdf" "$cupsd/capture/$new"
check_eq "the released job then completed" completed "$(private_cupsd_wait_for_job "$held_job" completed)"

if [ ${#san_env[@]} -gt 0 ]; then
  check_eq "the users' programs wrote no sanitizer report" "" "$(cat "$work"/sanitizer/report* 2>/dev/null)"
fi
summary_line "$name"
