# shellcheck shell=bash
# Sourced by the tests that print through a private scheduler
# (scripts/private-cupsd.sh) to the OrvprintD of several users logged on at
# once on one X display (scripts/dialog-session.sh): test users made for the
# run and removed again, each with a session environment of their own; their
# OrvprintD started and found by process id; lp as each user; the print-option
# dialogs and whose OrvprintD shows them; the capture printers' files and the
# page log.
#
# The caller sets before use:
#   SESSION_WORK      a folder (0755) for the users' homes, runtime folders,
#                     the programs' output
#   SESSION_ENV       array of extra VARIABLE=VALUE for the users' programs;
#                     "{user}" in a value is replaced by the user's name
#                     (e.g. XDG_CONFIG_DIRS=$SESSION_WORK/xdg-{user})
# and a private scheduler must be running (CUPS_SERVER, PRIVATE_CUPSD_DIR)
# for submit, the capture and page log functions.
#
# Functions:
#   session_make_users USER...     makes the users that do not exist yet
#                                  (home SESSION_WORK/home-USER, 0700, with
#                                  runtime and XDG folders beside it);
#                                  SESSION_MADE_USERS lists them; fails and
#                                  says why when useradd fails
#   session_remove_users           removes the users made (and their channel
#                                  folder in /tmp when it was not there before)
#   two_printer_service_conf ALICE  a print-service.conf: printers P1
#                                  (office), P2 (basement), projects J1
#                                  (ALICE only), J2 (everybody)
#   as_user USER COMMAND...        runs the command as USER in that user's
#                                  session environment
#   as_user_exec USER COMMAND...   the same in place of the (sub)shell:
#                                  "as_user_exec U CMD &" gives $! the program
#   channel_folder USER            the private folder of USER's channel
#   start_orvprintd USER PROGRAM   starts PROGRAM (an OrvprintD) as USER and
#                                  waits until it serves its channel; its pid
#                                  goes to orv_pid[USER] and SESSION_PIDS
#   submit USER FILE TITLE [QUEUE] lp as USER to QUEUE (SecurePrint); prints
#                                  the job id
#   dialogs                        the visible dialogs, "WINDOW OWNER" each
#   wait_for_dialogs COUNT         until exactly COUNT are shown (60 s)
#   dialog_owners, dialog_of USER  the dialogs' owners; USER's dialog window
#   windows_of USER, wait_for_windows USER COUNT
#                                  visible windows of USER's OrvprintD
#   backend_ids_of_uid UID         Uid/Gid/Groups of the running backend
#                                  processes of that user under this
#                                  session's scheduler, one a line
#   captured_now, captured_since BEFORE, wait_for_capture BEFORE
#                                  the capture printers' files
#   log_of USER                    USER's OrvprintD log
#   page_log_has QUEUE USER JOB BILLING
#                                  the page log has that job with that code

SESSION_WORK=${SESSION_WORK:-}
SESSION_ENV=()
SESSION_MADE_USERS=()
SESSION_PIDS=()
SESSION_TITLE="请选择打印选项"
declare -A orv_pid=()
declare -A SESSION_CHANNEL_EXISTED=()

session_make_users() { # USER...
  local u uid
  for u in "$@"; do
    if ! id "$u" >/dev/null 2>&1; then
      if ! useradd --user-group --no-create-home --home-dir "$SESSION_WORK/home-$u" --shell /usr/sbin/nologin "$u"; then
        echo "could not make the test user $u" >&2
        return 1
      fi
      SESSION_MADE_USERS+=("$u")
      # A channel folder of an earlier account with the same id is not
      # this new user's.
      rm -rf "/tmp/orvprint-$(id -u "$u")"
    fi
    uid=$(id -u "$u")
    if [ -e "/tmp/orvprint-$uid" ]; then SESSION_CHANNEL_EXISTED[$uid]=1; else SESSION_CHANNEL_EXISTED[$uid]=0; fi
    install -d -m 0700 -o "$u" -g "$(id -gn "$u")" "$SESSION_WORK/home-$u" "$SESSION_WORK/xdg-$u" "$SESSION_WORK/run-$u"
  done
}

session_remove_users() {
  local u uid
  for u in "${SESSION_MADE_USERS[@]}"; do
    uid=$(id -u "$u" 2>/dev/null) && [ "${SESSION_CHANNEL_EXISTED[$uid]:-1}" = 0 ] && rm -rf "/tmp/orvprint-$uid"
    userdel "$u" >/dev/null 2>&1
  done
  SESSION_MADE_USERS=()
}

as_user() { # USER COMMAND...
  (as_user_exec "$@")
}

as_user_exec() { # USER COMMAND...
  local u=$1; shift
  local -a scheduler=()
  [ -n "${CUPS_SERVER:-}" ] && scheduler=(CUPS_SERVER="$CUPS_SERVER")
  exec setpriv --reuid="$u" --regid="$(id -g "$u")" --init-groups \
    env -i HOME="$SESSION_WORK/home-$u" USER="$u" LOGNAME="$u" PATH=/usr/bin:/bin LANG=C.UTF-8 \
        DISPLAY="${DISPLAY:-}" QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR="$SESSION_WORK/run-$u" \
        "${scheduler[@]}" "${SESSION_ENV[@]//\{user\}/$u}" "$@"
}

# As OrvprintD and the backend's worker find it: the session's runtime
# folder when it is the user's own, else /tmp/orvprint-UID, else the one in
# the user's home.
# shellcheck source=scripts/channel-folder.sh
. "$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)/scripts/channel-folder.sh"
channel_folder() { orv_channel_folder "$1" "$SESSION_WORK/home-$1"; }

start_orvprintd() { # USER PROGRAM
  as_user_exec "$1" "$2" >>"$SESSION_WORK/$1.out" 2>&1 &
  orv_pid[$1]=$!
  SESSION_PIDS+=("$!")
  wait_until_serving "$(channel_folder "$1")/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "${orv_pid[$1]}"
}

submit() { # USER FILE TITLE [QUEUE]
  local out queue=${4:-SecurePrint}
  out=$(as_user "$1" lp -d "$queue" -t "$3" "$2" 2>&1)
  sed -n "s/^request id is $queue-\([0-9]*\) .*/\1/p" <<<"$out"
}

# One line each: "WINDOW OWNER", OWNER being the user whose OrvprintD shows
# it (by the window's _NET_WM_PID), else pid-PID.
dialogs() {
  local w pid owner u
  for w in $(xdotool search --onlyvisible --name "$SESSION_TITLE" 2>/dev/null); do
    pid=$(xprop -id "$w" _NET_WM_PID 2>/dev/null | sed -n 's/.* = //p')
    owner="pid-$pid"
    for u in "${!orv_pid[@]}"; do [ "$pid" = "${orv_pid[$u]}" ] && owner=$u; done
    echo "$w $owner"
  done
}

wait_for_dialogs() { # COUNT
  local deadline=$(($(date +%s) + 60))
  until [ "$(dialogs | wc -l)" -eq "$1" ]; do
    [ "$(date +%s)" -gt "$deadline" ] && return 1
    sleep 0.05
  done
}

dialog_owners() { dialogs | awk '{print $2}' | sort | tr '\n' ' ' | sed 's/ $//'; }

dialog_of() { dialogs | awk -v u="$1" '$2 == u {print $1; exit}'; }

windows_of() { xdotool search --onlyvisible --pid "${orv_pid[$1]}" 2>/dev/null | wc -l; }

wait_for_windows() { # USER COUNT
  local deadline=$(($(date +%s) + 30))
  until [ "$(windows_of "$1")" -eq "$2" ]; do
    [ "$(date +%s)" -gt "$deadline" ] && return 1
    sleep 0.05
  done
}

# The backend processes are those whose argv[0] is "orvprint:/".
backend_ids_of_uid() { # UID
  local dir argv0
  for dir in /proc/[0-9]*; do
    argv0=
    IFS= read -r -d '' argv0 2>/dev/null <"$dir/cmdline"
    [ "$argv0" = "orvprint:/" ] || continue
    # Only this session's scheduler's backends (other tests may print too).
    runs_under_private_cupsd "${dir#/proc/}" || continue
    awk -v uid="$1" '/^Uid:/ { if ($2 != uid) exit; line = $0 } /^Gid:|^Groups:/ { line = line "|" $0 }
                     END { if (line != "") print line }' "$dir/status" 2>/dev/null
  done
}

# True when process PID descends from this session's private cupsd.
runs_under_private_cupsd() { # PID
  local pid=$1 ppid
  while [ -n "$pid" ] && [ "$pid" -gt 1 ]; do
    [ "$pid" = "$PRIVATE_CUPSD_PID" ] && return 0
    ppid=$(awk '/^PPid:/ { print $2 }' "/proc/$pid/status" 2>/dev/null)
    [ "$ppid" = "$pid" ] && return 1
    pid=$ppid
  done
  return 1
}

captured_now() {
  find "$PRIVATE_CUPSD_DIR/capture" -maxdepth 1 -type f ! -name '*.args' ! -name '*.part' -printf '%f\n' | sort
}

captured_since() { # BEFORE
  comm -13 <(printf '%s\n' "$1") <(captured_now)
}

# Waits (at most 60 s) until one more job was captured; prints its name.
wait_for_capture() { # BEFORE
  local deadline=$(($(date +%s) + 60)) new
  for (( ; ; )); do
    new=$(captured_since "$1")
    if [ -n "$new" ] || [ "$(date +%s)" -gt "$deadline" ]; then
      echo "$new"; return
    fi
    sleep 0.05
  done
}

log_of() { cat "$SESSION_WORK/home-$1/.local/state/orv-soft/log/OrvprintD.log" 2>/dev/null; }

page_log_has() { # QUEUE USER JOB BILLING
  grep -qE "^$1 $2 $3 \[[^]]*\] total [0-9]+ $4 " "$PRIVATE_CUPSD_DIR/log/page_log"
}

# The service configuration both two-user tests use: two printers (office,
# basement) and two projects, J1 only for ALICE, J2 for everybody.
two_printer_service_conf() { # ALICE
  cat <<CONF
[Service]
AnswerTimeoutSeconds=120

[Printer:P1]
Name=Office 3F east
Queue=office
[Printer:P2]
Name=Basement colour
Queue=basement

[Project:J1]
Name=Alice's research
Users=$1
[Project:J2]
Name=General office
CONF
}
