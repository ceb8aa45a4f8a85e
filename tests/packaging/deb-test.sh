#!/usr/bin/env bash
# The Debian package as administrators and users meet it, on this machine:
# installed with apt-get; the installed OrvprintD started as its autostart
# entry starts it, by an unprivileged user on a private X display, shows no
# window (its start-up probe finds the installed backend); a request sent by
# that user with the installed orvprint-send and answered with Enter; the
# answer, the user's own Config.ini and log checked (the machine's Config.ini
# in TempDir untouched). The print service: a private CUPS scheduler (never
# the machine's own) whose secure queue runs the installed backend
# /usr/lib/cups/backend/orvprint under the installed policy; two test users
# logged on at once, each with the installed OrvprintD; a job held while the
# installed print-service.conf has no printers, released after the
# administrator added them; lp as each user, each job answered by keyboard in
# its own user's OrvprintD only; the printed bytes and the billing codes in
# the page log. Then the upgrade from an older layout whose TempDir was
# writable by everybody, with a link, FIFO or hard link planted there;
# upgraded to a higher version while the users' OrvprintD run (the changed
# print-service.conf kept); purged while they run again; nothing of the
# package left (files, the accounting folder, the configuration, the users'
# processes); the test users removed. Needs root (skipped otherwise); the
# printing part needs cupsd, lp and xdotool (skipped otherwise). Leaves the
# machine as it found it, also when a check fails.
#
#   deb-test.sh PACKAGE.deb UPGRADE.deb
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$here/checks.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"
# shellcheck source=scripts/private-cupsd.sh
. "$root/scripts/private-cupsd.sh"
# shellcheck source=scripts/make-pdf.sh
. "$root/scripts/make-pdf.sh"
# shellcheck source=tests/service/e2e/print-session.sh
. "$root/tests/service/e2e/print-session.sh"

name="package deb"
deb=$(realpath "$1")
next=$(realpath "$2")
out=$(dirname "$deb")
# The user of the first part, made here for the run (an account that may have
# used OrvprintD before would bring its own channel folder and settings).
user=orvtest-deb-carol
program=/usr/lib/orv-soft/client/OrvprintD
backend=/usr/lib/cups/backend/orvprint
service_conf=/etc/orv-soft/print-service.conf
accounting_dir=/var/log/orv-soft/print-service
temp_dir=/var/lib/orv-soft/client/temp
# The users who print, logged on at once (made here, removed again).
print_users=(orvtest-deb-alice orvtest-deb-bob)
alice=${print_users[0]}
bob=${print_users[1]}
# Without the recommended cups-daemon, which would start the machine's own
# scheduler; the printing part runs only when it is there already.
apt=(apt-get -y -q --no-install-recommends -o DPkg::Lock::Timeout=600)
# The installed programs use the machine's own folders, whatever the caller set.
unset ORVPRINT_MACHINE_CONFIG ORVPRINT_SHM_DIR ORVPRINT_SYSTEM_ACCOUNT XDG_CONFIG_DIRS CUPS_SERVERBIN CUPS_SERVER \
  ORVPRINT_SERVICE_CONF ORVPRINT_SERVICE_STATE_DIR

echo "== $name: $(basename "$deb"), upgrade to $(basename "$next")"
if [ "$(id -u)" -ne 0 ]; then
  skip_all "$name" "installing a Debian package needs root (run scripts/test.sh as root to test it)"
  summary_line "$name"; exit 0
fi
if dpkg-query -W -f='${Status}' orvprintd 2>/dev/null | grep -q "installed"; then
  skip_all "$name" "orvprintd is installed on this machine; the test leaves it alone"
  summary_line "$name"; exit 0
fi
for p in /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft /etc/xdg/autostart/OrvprintD.desktop \
         "$backend" /usr/share/orvprintd; do
  if [ -e "$p" ]; then
    skip_all "$name" "$p exists on this machine; the test leaves it alone"
    summary_line "$name"; exit 0
  fi
done

version=$(dpkg-deb -f "$deb" Version)
next_version=$(dpkg-deb -f "$next" Version)
# What is here before: the package's paths that exist already (folders such
# as /usr/bin), the installed packages, the shared-memory folder.
mapfile -t package_paths < <(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's#^\./#/#; s#/$##' | grep -v '^$' | grep -v '^/$')
existing_before=()
for p in "${package_paths[@]}"; do [ -e "$p" ] && existing_before+=("$p"); done
packages_before=$(dpkg-query -W -f='${Package}\n' | sort)
shm_before=$(find /dev/shm -mindepth 1 -maxdepth 1 -printf '%f\n' | sort)
autostart_dir_existed=0; [ -d /etc/xdg/autostart ] && autostart_dir_existed=1
backend_dir_existed=0; [ -d /usr/lib/cups/backend ] && backend_dir_existed=1

work=$(mktemp -d /tmp/orvprint-deb-test.XXXXXX)
chmod 755 "$work"
mkdir -p "$work/home" "$work/run" "$work/session" "$work/no-backend/backend"
chmod 755 "$work/session"
SESSION_WORK=$work/session
if ! session_make_users "$user"; then
  rm -rf "$work"
  check "the test user $user is made" false
  summary_line "$name"; exit 1
fi
group=$(id -gn "$user")
chown "$user:$group" "$work/home" "$work/run"
chmod 700 "$work/run"

uid=$(id -u "$user")
# The user's private folder of the channel and the instance lock (made anew
# with the user): the session's runtime folder, else one of its own in /tmp.
chan_dir=/tmp/orvprint-$uid
if [ -d "/run/user/$uid" ] && [ "$(stat -c '%u %a' "/run/user/$uid")" = "$uid 700" ]; then
  chan_dir=/run/user/$uid
fi

# The printing part needs a scheduler of its own and the tools that find
# and answer the dialogs.
print_reason=$(private_cupsd_missing_reason)
if [ -z "$print_reason" ]; then
  for tool in setpriv useradd userdel xdotool xprop; do
    command -v "$tool" >/dev/null || { print_reason="$tool is missing"; break; }
  done
fi

user_pid=
probe_pid=
send_pid=
XVFB_PID=
cleanup() {
  if [ "$CHECKS_FAILED" -gt 0 ] && [ -n "$PRIVATE_CUPSD_PID" ]; then
    echo "---- jobs of the private scheduler"
    lpstat -W all -l -o 2>&1 | sed 's/^/   /'
    echo "---- its log (jobs, last lines)"
    grep -E '^[EIW] .*\[Job [0-9]+\]' "$PRIVATE_CUPSD_DIR/log/error_log" 2>/dev/null | tail -n 40 | sed 's/^/   /'
  fi
  for pid in $send_pid $user_pid $probe_pid "${SESSION_PIDS[@]}"; do
    kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
  done
  private_cupsd_stop
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
  if dpkg-query -W -f='${Status}' orvprintd 2>/dev/null | grep -q "installed\|config-files\|half"; then
    "${apt[@]}" purge orvprintd >/dev/null 2>&1 || dpkg --purge --force-all orvprintd >/dev/null 2>&1
  fi
  # Packages that apt installed as dependencies go again.
  local added
  added=$(comm -13 <(echo "$packages_before") <(dpkg-query -W -f='${Package}\n' | sort) | tr '\n' ' ')
  # shellcheck disable=SC2086 # one package name a word
  [ -n "${added// /}" ] && "${apt[@]}" purge $added >/dev/null 2>&1
  rm -rf /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft /etc/xdg/autostart/OrvprintD.desktop \
    "$backend" /usr/share/orvprintd
  [ $autostart_dir_existed -eq 0 ] && rmdir /etc/xdg/autostart 2>/dev/null
  [ $backend_dir_existed -eq 0 ] && rmdir /usr/lib/cups/backend /usr/lib/cups 2>/dev/null
  # The named objects that the installed programs made in /dev/shm.
  comm -13 <(echo "$shm_before") <(find /dev/shm -mindepth 1 -maxdepth 1 -printf '%f\n' | sort) | while IFS= read -r f; do
    case "$f" in Orvprint*|*Orv-soft*|*orv-soft*|*05D73725*) rm -f "/dev/shm/$f" ;; esac
    case "$(stat -c %U "/dev/shm/$f" 2>/dev/null)" in "$user"|"$alice"|"$bob") rm -f "/dev/shm/$f" ;; esac
  done
  session_remove_users
  rm -rf "$work"
}
trap cleanup EXIT

run_as_user() { # COMMAND... : run as the user, in the user's environment
  (run_as_user_exec "$@")
}

# The same in place of the calling (sub)shell: "run_as_user_exec CMD &"
# gives $! the program's own process id.
run_as_user_exec() { # COMMAND...
  exec setpriv --reuid="$user" --regid="$group" --init-groups \
    env -i HOME="$work/home" USER="$user" LOGNAME="$user" PATH=/usr/bin:/bin LANG=C.UTF-8 \
        DISPLAY="${DISPLAY:-}" QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR="$work/run" "$@"
}

# The contents of FILE, one of the user's, read with the user's rights (not
# root's: a link the user put there reaches nothing of root's).
user_file() { # FILE
  run_as_user cat -- "$1"
}

user_file_has() { # FILE PATTERN: a line of the user's FILE matches PATTERN
  user_file "$1" | grep -q -- "$2"
}

# The program the autostart entry starts (its Exec line).
autostart_program() {
  local exec_line
  exec_line=$(sed -n 's/^Exec=//p' /etc/xdg/autostart/OrvprintD.desktop)
  echo "${exec_line//\"/}"
}

# Starts the installed OrvprintD as the user, the way the autostart entry
# does, and waits until it serves requests.
start_as_user() {
  run_as_user_exec "$(autostart_program)" >"$work/orvprintd.out" 2>&1 &
  user_pid=$!
  wait_until_serving "$chan_dir/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "$user_pid" && return 0
  show_not_serving
  return 1
}

# What there is to see when the user's OrvprintD does not serve: whether it
# runs and where it waits, its output, the end of its log, its channel folder.
show_not_serving() {
  echo "---- OrvprintD of $user (pid $user_pid) does not serve"
  if kill -0 "$user_pid" 2>/dev/null; then
    echo "   running; state $(awk '{print $3}' "/proc/$user_pid/stat" 2>/dev/null), threads waiting in:"
    for t in /proc/"$user_pid"/task/*; do echo "     $(cat "$t/comm" 2>/dev/null) $(cat "$t/wchan" 2>/dev/null)"; done
  else
    echo "   ended"
  fi
  echo "   its output:"; sed 's/^/     /' "$work/orvprintd.out" 2>/dev/null | tail -n 20
  echo "   its log (last lines):"
  user_file "$work/home/.local/state/orv-soft/log/OrvprintD.log" 2>/dev/null | tail -n 30 | sed 's/^/     /'
  echo "   $chan_dir:"; find "$chan_dir" -maxdepth 1 -printf '%M %u %s %TT %f\n' 2>&1 | sed 's/^/     /'
  echo "   processes of $user:"; ps -u "$user" -o pid=,stat=,etime=,args= 2>/dev/null | sed 's/^/     /'
}

# Presses Enter in dialog WIN of USER's job JOB (the first printer, office,
# and the first project offered) and checks what came out: the user's PDF
# byte for byte on office, both jobs completed, the page log's billing code.
enter_prints_on_office() { # USER JOB WIN CODE WHICH-PROJECT
  local u=$1 job=$2 before new fwd
  before=$(captured_now)
  press_key "$3" Return
  new=$(wait_for_capture "$before")
  check_eq "Enter: $u's job goes to the first printer's queue (office)" "office-" "${new%%[0-9]*}"
  check "the printed file equals $u's PDF byte for byte" \
    cmp "$SESSION_WORK/home-$u/report.pdf" "$PRIVATE_CUPSD_DIR/capture/$new"
  fwd=${new#office-}
  check_eq "the secure job SecurePrint-$job and the forwarded one office-$fwd completed" "completed completed" \
    "$(private_cupsd_wait_for_job "$job" completed) $(private_cupsd_wait_for_job "$fwd" completed)"
  check "the page log has $u's job on office with $5 as billing code" page_log_has office "$u" "$fwd" "$4"
}

# Number of visible windows of the process PID.
visible_windows() { xdotool search --onlyvisible --pid "$1" 2>/dev/null | wc -l; }

# The processes of the users, "USER PID COMMAND" each.
user_processes() { # USER...
  local u
  for u in "$@"; do
    id "$u" >/dev/null 2>&1 || continue
    ps -u "$u" -o pid=,comm= 2>/dev/null | sed "s/^ */$u /"
  done
}

ended() { # PID
  ! kill -0 "$1" 2>/dev/null
}

# --- install
t0=$(now_ms)
"${apt[@]}" install "$deb" >"$work/install.log" 2>&1
install_rc=$?
install_ms=$(( $(now_ms) - t0 ))
check_eq "apt-get install ./$(basename "$deb") succeeds ($install_ms ms)" 0 "$install_rc"
[ $install_rc -ne 0 ] && tail -20 "$work/install.log"
check_eq "dpkg knows orvprintd $version as installed" "install ok installed $version" \
  "$(dpkg-query -W -f='${Status} ${Version}' orvprintd 2>/dev/null)"
check "the program, its tools and their configuration are installed" \
  test -x "$program" -a -x /usr/bin/orvprint-send -a -x /usr/bin/orvprint-config \
       -a -f /etc/orv-soft/machine.ini -a -f /etc/orv-soft/LogConfig.conf \
       -a -f /etc/xdg/autostart/OrvprintD.desktop
check_eq "LogConfig.conf in InstallDir is the configuration file under /etc" /etc/orv-soft/LogConfig.conf \
  "$(readlink /usr/lib/orv-soft/client/LogConfig.conf)"
check_eq "the configuration files are conffiles" \
  "/etc/orv-soft/LogConfig.conf /etc/orv-soft/machine.ini /etc/orv-soft/print-service.conf /etc/xdg/autostart/OrvprintD.desktop" \
  "$(dpkg-query -W -f='${Conffiles}' orvprintd | awk 'NF {print $1}' | sort | tr '\n' ' ' | sed 's/ $//')"
check_eq "TempDir and the machine's Config.ini are root's (0755, 0644); no shared log folder" \
  "root:root 755 root:root 644 regular file no" \
  "$(stat -c '%U:%G %a' "$temp_dir") $(stat -c '%U:%G %a %F' "$temp_dir/Config.ini") $([ -e /var/log/orv-soft/client ] && echo yes || echo no)"
check_eq "the print service's backend is root's, 0700 (CUPS runs it as root)" "root:root 700 regular file" \
  "$(stat -c '%U:%G %a %F' "$backend" 2>&1)"
check_eq "the backend names its device for lpinfo" 'direct orvprint "Unknown" "Secure print (OrvprintD)"' \
  "$("$backend" 2>&1)"
check "the secure queue's policy is installed for the administrator, as in the source" \
  cmp "$root/service/orvprint-policy.conf" /usr/share/orvprintd/orvprint-policy.conf
check_eq "print-service.conf (root's, 0644) configures nothing: every line a comment" "root:root 644 " \
  "$(stat -c '%U:%G %a' "$service_conf") $(grep -Ev '^[[:space:]]*([;#]|$)' "$service_conf")"
check_eq "print-service.conf shows every key, commented" \
  "AccountingLog AnswerTimeoutSeconds Comment Description Hours MaxPagesPerJob Name Queue RoamingQueue Users" \
  "$(sed -n 's/^;\([A-Za-z]*\)=.*/\1/p' "$service_conf" | sort -u | tr '\n' ' ' | sed 's/ $//')"
check_eq "the accounting folder is root's, 0750" "root:root 750 directory" \
  "$(stat -c '%U:%G %a %F' "$accounting_dir" 2>&1)"
check "orvprint(8) gives the lpadmin line of the secure queue" \
  bash -c "zcat /usr/share/man/man8/orvprint.8.gz | grep -qF 'lpadmin \-p SecurePrint \-E \-v orvprint:/ \-m raw \-o printer\-op\-policy=orvprint'"
depends=$(dpkg-query -W -f='${Depends}' orvprintd)
check_eq "the backend's shared libraries are dependencies (GnuTLS, Kerberos, Avahi); cups-daemon is recommended" \
  "libgnutls30 libgssapi-krb5-2 libavahi-client3 cups-daemon" \
  "$(grep -o 'libgnutls30' <<<"$depends") $(grep -o 'libgssapi-krb5-2' <<<"$depends") $(grep -o 'libavahi-client3' <<<"$depends") $(dpkg-query -W -f='${Recommends}' orvprintd)"
check_eq "libcups and qpdf are linked into the backend: it loads neither, nor log4cpp or libstdc++" "" \
  "$(readelf -d "$backend" 2>&1 | sed -n 's/.*Shared library: \[\(libcups\|libqpdf\|liblog4cpp\|libstdc++\)[^]]*\].*/\1/p')"
# shellcheck disable=SC2016 # the file's own variable, not the shell's
check_eq "each user's log is in that user's state folder" \
  'log4cpp.appender.orvFile.fileName=${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log' \
  "$(grep '^log4cpp.appender.orvFile.fileName=' /etc/orv-soft/LogConfig.conf)"
check_eq "orvprint-config reads TempDir from the installed machine registry" "$temp_dir" \
  "$(setpriv --reuid="$user" --regid="$group" --init-groups orvprint-config 2>&1 | sed -n 's/^  TempDir (id 2): //p')"

# --- the installed program serves a request of the installed orvprint-send
start_private_xvfb || exit 1
# Its start-up probe: where the backend is missing (CUPS_SERVERBIN elsewhere)
# the box says so, at the installed one it says nothing.
run_as_user_exec env CUPS_SERVERBIN="$work/no-backend" "$(autostart_program)" >"$work/probe.out" 2>&1 &
probe_pid=$!
box=$(find_window "^OrvprintD\$" 60)
check_eq "with the backend missing (CUPS_SERVERBIN elsewhere) the start-up probe's box \"OrvprintD\" appears" \
  "$probe_pid" "$([ -n "$box" ] && xprop -id "$box" _NET_WM_PID 2>/dev/null | sed -n 's/.* = //p')"
kill "$probe_pid" 2>/dev/null; wait "$probe_pid" 2>/dev/null; probe_pid=
start_as_user
check "OrvprintD, started by $user as the autostart entry says, serves requests" test $? -eq 0
check_eq "and shows no window before the first request (its start-up probe finds $backend)" 0 \
  "$(visible_windows "$user_pid")"
cp "$temp_dir/Config.ini" "$work/machine-Config.ini.before"
cp "$root/scripts/sample-request.json" "$work/request.json"
chmod 644 "$work/request.json"
run_as_user /usr/bin/orvprint-send --timeout 120 "$work/request.json" >"$work/answer.json" 2>&1 &
send_pid=$!
win=$(find_window "请选择打印选项")
check "the dialog \"请选择打印选项\" is shown" test -n "$win"
if [ -n "$win" ]; then
  import -window "$win" "$out/deb-dialog.png" 2>/dev/null || true
  press_key "$win" Return
fi
wait "$send_pid"; send_pid=
check_eq "the answer of Enter: OK with the first printer and project" \
  '{"resultCode":0,"responseLength":44,"result":0,"printerId":"P-3F-01","projectId":"PRJ-001"}' \
  "$(cat "$work/answer.json")"
user_config=$work/home/.config/orv-soft/Config.ini
check_eq "the user's defaults are saved in the user's own Config.ini (0600, folder 0700)" \
  "DefaultPrinter=三楼彩色打印机 DefaultProject=年度审计项目 $user 600 700" \
  "$(user_file "$user_config" | grep -E '^Default(Printer|Project)=' | tr '\n' ' ')$(stat -c '%U %a' "$user_config") $(stat -c %a "$(dirname "$user_config")")"
check "the machine's Config.ini is unchanged" cmp -s "$work/machine-Config.ini.before" "$temp_dir/Config.ini"
log_file=$work/home/.local/state/orv-soft/log/OrvprintD.log
check_eq "the user's log is the user's own (~/.local/state/orv-soft/log, 0600, folder 0700)" \
  "$user 600 700" "$(stat -c '%U %a' "$log_file" 2>&1) $(stat -c %a "$(dirname "$log_file")" 2>&1)"
check "the user's log is written" test -s "$log_file"
check "the log says that the client tool of the suite is missing" \
  user_file_has "$log_file" "Failed to launch apps. err = .*/usr/lib/orv-soft/client/OrvClientTool"
user_file "$log_file" >"$out/deb-OrvprintD.log" 2>/dev/null
user_file "$user_config" >"$work/Config.ini.before"

# --- the print service: lp as two users logged on at once, through a
# private scheduler whose secure queue runs the installed backend under the
# installed policy; the administrator's configuration is the installed
# /etc/orv-soft/print-service.conf.
printed=0
if [ -n "$print_reason" ]; then
  skip_check "printing through CUPS with the installed backend" "$print_reason"
elif ! session_make_users "$alice" "$bob"; then
  check "the test users $alice and $bob are made" false
else
  PRIVATE_CUPSD_POLICY=/usr/share/orvprintd/orvprint-policy.conf
  PRIVATE_CUPSD_SERVICE_CONF=$service_conf
  # The installed backend's own state and accounting folders.
  PRIVATE_CUPSD_SYSTEM_PATHS=1
  mkdir "$work/cupsd"
  if ! private_cupsd_start "$work/cupsd" "$backend" || ! private_cupsd_add_secure_queue SecurePrint ||
     ! private_cupsd_add_capture_queue office || ! private_cupsd_add_capture_queue basement; then
    check "the private scheduler starts with the installed backend and policy" false
  else
    printed=1
  fi
fi
if [ $printed -eq 1 ]; then
  check_eq "the private scheduler's secure queue runs the installed backend itself" "$backend" \
    "$(readlink "$PRIVATE_CUPSD_DIR/serverbin/backend/orvprint")"
  check "its cupsd.conf has the installed policy" \
    bash -c "grep -qxF '<Policy orvprint>' '$PRIVATE_CUPSD_DIR/cupsd.conf'"
  for u in "$alice" "$bob"; do
    make_pdf "$SESSION_WORK/home-$u/report.pdf" 2 "Report of $u"
    chown "$u" "$SESSION_WORK/home-$u/report.pdf"
  done
  # The users' sessions: the installed machine registry, autostart entry and
  # CUPS_SERVERBIN (the probe looks in /usr/lib/cups), lp to the private
  # scheduler (CUPS_SERVER).
  SESSION_ENV=()
  start_orvprintd "$alice" "$(autostart_program)"
  check "$alice's installed OrvprintD serves" kill -0 "${orv_pid[$alice]}"
  start_orvprintd "$bob" "$(autostart_program)"
  check "$bob's installed OrvprintD serves at the same time" kill -0 "${orv_pid[$bob]}"
  check_eq "neither shows a window before the first request (the start-up probe finds $backend)" "0 0" \
    "$(windows_of "$alice") $(windows_of "$bob")"

  # The installed configuration has no printers: the job is held, saying
  # where to add them.
  alice_job=$(submit "$alice" "$SESSION_WORK/home-$alice/report.pdf" "Alice report")
  check "lp as $alice is accepted on the secure queue" test -n "$alice_job"
  check_eq "with the installed print-service.conf $alice's job is held: no printers yet, where to add them" \
    "held The print service has no printers configured yet; add them to $service_conf; the job is held. Release it with: lp -i SecurePrint-$alice_job -H resume" \
    "$(private_cupsd_wait_for_job "$alice_job" held) $(private_cupsd_job_message "SecurePrint-$alice_job")"
  check_eq "no dialog was opened" "" "$(dialogs)"

  # The administrator adds two printers and two projects, one only for alice.
  cp "$service_conf" "$work/print-service.conf.installed"
  { echo; two_printer_service_conf "$alice"; } >>"$service_conf"
  cp "$service_conf" "$work/print-service.conf.changed"
  as_user "$alice" lp -i "SecurePrint-$alice_job" -H resume >"$work/resume.out" 2>&1
  check_eq "$alice releases her job with the command from the message" 0 "$?"
  wait_for_dialogs 1
  check_eq "the released job opens a dialog in $alice's OrvprintD only" "$alice" "$(dialog_owners)"
  win=$(dialog_of "$alice")
  import -window root "$out/deb-secure-print-alice.png" 2>/dev/null || true

  # bob prints while alice's dialog is open: his job waits (one job per
  # queue), then opens in his OrvprintD only.
  bob_job=$(submit "$bob" "$SESSION_WORK/home-$bob/report.pdf" "Bob report")
  check "lp as $bob is accepted on the secure queue" test -n "$bob_job"
  check_eq "$bob's job waits behind $alice's open dialog; no dialog of his yet" "$alice pending" \
    "$(dialog_owners) $(private_cupsd_job_state "$bob_job")"
  enter_prints_on_office "$alice" "$alice_job" "$win" J1 "her project J1"

  wait_for_dialogs 1
  check_eq "then $bob's job opens a dialog in $bob's OrvprintD only" "$bob" "$(dialog_owners)"
  enter_prints_on_office "$bob" "$bob_job" "$(dialog_of "$bob")" J2 "the only project he may use, J2,"
  check_eq "no dialog is left" "" "$(dialogs)"
  check_eq "the installed backend keeps each user's marker in /run/orvprint (root's, 0700)" \
    "root 700 directory; pending-$(id -u "$alice") pending-$(id -u "$bob")" \
    "$(stat -c '%U %a %F' /run/orvprint 2>&1); $(find /run/orvprint -name "pending-$(id -u "$alice")" -o -name "pending-$(id -u "$bob")" | sort | xargs -n1 basename | tr '\n' ' ' | sed 's/ $//')"
  private_cupsd_stop
fi

# --- an older layout: TempDir writable by everybody, and something planted
# under Config.ini by another user; the package's configure step (what an
# upgrade runs) closes the folder and touches nothing outside it.
printf 'victim\n' >"$work/victim"
chown "$user:$group" "$work/victim"
chmod 0640 "$work/victim"
victim_before=$(stat -c '%U %a %s %Y' "$work/victim")
postinst=/var/lib/dpkg/info/orvprintd.postinst
for kind in link fifo hardlink; do
  chmod 0777 "$temp_dir"
  rm -f "$temp_dir/Config.ini"
  case $kind in
    link) run_as_user ln -s "$work/victim" "$temp_dir/Config.ini"
          run_as_user ln -s "$work/victim" "$temp_dir/Config.ini.new" ;;
    fifo) run_as_user mkfifo "$temp_dir/Config.ini" ;;
    hardlink) run_as_user ln "$work/victim" "$temp_dir/Config.ini" ;;
  esac
  timeout 60 "$postinst" configure >"$work/postinst-$kind.log" 2>&1
  rc=$?
  check_eq "configure over a TempDir left 0777 with a planted $kind as Config.ini: closes the folder, makes a root Config.ini, moves the $kind aside" \
    "0 root:root 755 root:root 644 regular file 1" \
    "$rc $(stat -c '%U:%G %a' "$temp_dir") $(stat -c '%U:%G %a %F' "$temp_dir/Config.ini") $(find "$temp_dir" -maxdepth 1 -name 'Config.ini.moved-aside*' | wc -l)"
  check_eq "the file that the planted $kind pointed at is unchanged" "victim
$victim_before" "$(cat "$work/victim")
$(stat -c '%U %a %s %Y' "$work/victim")"
  rm -f "$temp_dir"/Config.ini.moved-aside.*
done
cp "$work/machine-Config.ini.before" "$temp_dir/Config.ini"

# --- upgrade while OrvprintD runs (the users' too); a changed configuration
# file is kept
t0=$(now_ms)
"${apt[@]}" -o Dpkg::Options::=--force-confold install "$next" >"$work/upgrade.log" 2>&1
upgrade_rc=$?
upgrade_ms=$(( $(now_ms) - t0 ))
check_eq "apt-get install ./$(basename "$next") upgrades ($upgrade_ms ms)" "0 $next_version" \
  "$upgrade_rc $(dpkg-query -W -f='${Version}' orvprintd 2>/dev/null)"
check "the upgrade ended the running OrvprintD first" ended "$user_pid"
wait "$user_pid" 2>/dev/null; user_pid=
if [ $printed -eq 1 ]; then
  check_eq "and those of $alice and $bob" "" "$(user_processes "$alice" "$bob")"
  check "the administrator's print-service.conf survived the upgrade" \
    cmp -s "$work/print-service.conf.changed" "$service_conf"
fi
check_eq "the program is the new one" "OrvprintD $next_version" "$("$program" --version 2>&1)"
check "the user's Config.ini survived the upgrade" cmp -s "$work/Config.ini.before" <(user_file "$user_config")
check "the machine's Config.ini survived the upgrade" cmp -s "$work/machine-Config.ini.before" "$temp_dir/Config.ini"

# --- purge while OrvprintD runs, the users' too; the accounting folder
# holds a log
start_as_user
check "the upgraded OrvprintD serves requests" test $? -eq 0
if [ $printed -eq 1 ]; then
  start_orvprintd "$alice" "$(autostart_program)" && start_orvprintd "$bob" "$(autostart_program)"
  check "the upgraded OrvprintD of $alice and $bob serve" test $? -eq 0
fi
printf '{"job":1}\n' >"$accounting_dir/accounting.jsonl.1"
t0=$(now_ms)
"${apt[@]}" purge orvprintd >"$work/purge.log" 2>&1
purge_rc=$?
purge_ms=$(( $(now_ms) - t0 ))
check_eq "apt-get purge orvprintd succeeds ($purge_ms ms)" 0 "$purge_rc"
check "the purge ended the running OrvprintD first" ended "$user_pid"
wait "$user_pid" 2>/dev/null; user_pid=
check_eq "no process of the users is left" "" "$(user_processes "$user" "$alice" "$bob" | grep -v ' ps$')"
check_eq "dpkg -L knows nothing of orvprintd" "package 'orvprintd' is not installed" \
  "$(dpkg -L orvprintd 2>&1 | head -1 | sed 's/^dpkg-query: //')"
left=()
for p in "${package_paths[@]}" /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft \
         "$service_conf" "$accounting_dir" /run/orvprint; do
  [ -e "$p" ] || [ -L "$p" ] || continue
  printf '%s\n' "${existing_before[@]}" | grep -qxF "$p" || left+=("$p")
done
check_eq "no file or folder of the package is left (the configuration, the accounting folder, the backend's markers)" \
  "" "${left[*]}"

session_remove_users
check_eq "the test users are removed" "" "$(id "$user" 2>/dev/null)$(id "$alice" 2>/dev/null)$(id "$bob" 2>/dev/null)"

echo "   figures: $(basename "$deb") $(stat -c %s "$deb") bytes, installed size $(dpkg-deb -f "$deb" Installed-Size) KiB; install $install_ms ms, upgrade $upgrade_ms ms, purge $purge_ms ms"
summary_line "$name"
