#!/usr/bin/env bash
# Two people logged on at once, each with an OrvprintD of their own, on one
# X display: each one's channel and single-instance lock lie in that user's
# private folder; a request of one user opens a dialog only in that user's
# OrvprintD; one user cannot open the other's channel; a user who makes the
# other's folder first does not stop the other's OrvprintD, which logs the
# refusal and serves from the next place. Real users (made here and removed
# again), real processes. Needs root (skipped otherwise).
#
#   two-users-test.sh BIN_DIR
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$root/tests/packaging/checks.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"
# shellcheck source=scripts/channel-folder.sh
. "$root/scripts/channel-folder.sh"

name="two users"
bin=$(cd "$1" && pwd)
if [ "$(id -u)" -ne 0 ]; then
  skip_all "$name" "acting as two users needs root"
  summary_line "$name"; exit 0
fi
for tool in setpriv useradd userdel Xvfb xdotool flock; do
  if ! command -v "$tool" >/dev/null; then
    skip_all "$name" "$tool is missing"
    summary_line "$name"; exit 0
  fi
done

users=(orvtest-alice orvtest-bob)
made_users=()
pids=()
XVFB_PID=
work=$(mktemp -d /tmp/orvtest-twousers.XXXXXX)
chmod 755 "$work"
declare -A chan_existed

cleanup() {
  local pid u
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null; done
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
  for u in "${made_users[@]}"; do
    local uid
    uid=$(id -u "$u" 2>/dev/null) && [ "${chan_existed[$uid]:-1}" = 0 ] && rm -rf "/tmp/orvprint-$uid"
    userdel "$u" >/dev/null 2>&1
  done
  rm -rf "$work"
}
trap cleanup EXIT

for u in "${users[@]}"; do
  if ! id "$u" >/dev/null 2>&1; then
    useradd --user-group --no-create-home --home-dir "$work/home-$u" --shell /usr/sbin/nologin "$u" || {
      skip_all "$name" "could not make the test user $u"; summary_line "$name"; exit 0; }
    made_users+=("$u")
    # A channel folder of an earlier account with the same id is not this
    # new user's.
    rm -rf "/tmp/orvprint-$(id -u "$u")"
  fi
  uid=$(id -u "$u")
  [ -e "/tmp/orvprint-$uid" ] && chan_existed[$uid]=1 || chan_existed[$uid]=0
  install -d -m 0700 -o "$u" -g "$(id -gn "$u")" "$work/home-$u" "$work/xdg-$u"
done
alice=${users[0]}
bob=${users[1]}
alice_uid=$(id -u "$alice")
bob_uid=$(id -u "$bob")

# The machine: the programs (where both users may run them), the machine
# registry, the administrator's Config.ini, the log configuration (each
# user's log in that user's state folder), the print processor's stand-in.
mkdir -p "$work/bin" "$work/install" "$work/temp" "$work/cups/backend"
cp "$bin/OrvprintD" "$bin/orvprint-send" "$work/bin/"
cat >"$work/machine.ini" <<INI
[Software\\Orv-soft\\Client]
InstallDir=$work/install
TempDir=$work/temp
INI
printf '[Setting]\nDisplayProjectSelection=1\n\n[ServerConfig]\nAuditInstalled=1\n' >"$work/temp/Config.ini"
cat >"$work/install/LogConfig.conf" <<'CONF'
log4cpp.rootCategory=ERROR
log4cpp.category.OrvprintD_exe=DEBUG, file
log4cpp.appender.file=org.apache.log4cpp.FileAppender
log4cpp.appender.file.fileName=${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log
log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout
log4cpp.appender.file.layout.ConversionPattern=%m%n
CONF
printf '#!/bin/sh\nexec cat\n' >"$work/cups/backend/orvprint"
chmod 700 "$work/cups/backend/orvprint"
chmod -R a+rX "$work/bin" "$work/install" "$work/temp" "$work/cups" "$work/machine.ini"
cp "$root/scripts/sample-request.json" "$work/request.json"
chmod 644 "$work/request.json"

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

as_user() { # USER COMMAND... : runs in that user's own session environment
  (as_user_exec "$@")
}

# The same in place of the calling (sub)shell: "as_user_exec U CMD &" gives
# $! the program's own process id.
as_user_exec() { # USER COMMAND...
  local u=$1; shift
  exec setpriv --reuid="$u" --regid="$(id -g "$u")" --init-groups \
    env -i HOME="$work/home-$u" USER="$u" LOGNAME="$u" PATH=/usr/bin:/bin LANG=C.UTF-8 \
        DISPLAY="${DISPLAY:-}" QT_QPA_PLATFORM=xcb ORVPRINT_MACHINE_CONFIG="$work/machine.ini" \
        XDG_CONFIG_DIRS="$work/xdg-$u" CUPS_SERVERBIN="$work/cups" "${san_env[@]}" "$@"
}

# The private folder that OrvprintD of user U uses: the session's runtime
# folder when it is the user's own, else /tmp/orvprint-UID, else the one
# in the user's home.
channel_folder() { orv_channel_folder "$1" "$work/home-$1"; }

declare -A orv_pid
start_orvprintd() { # USER
  as_user_exec "$1" "$work/bin/OrvprintD" >"$work/$1.out" 2>&1 &
  orv_pid[$1]=$!
  pids+=("$!")
  wait_until_serving "$(channel_folder "$1")/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "${orv_pid[$1]}"
}

log_of() { cat "$work/home-$1/.local/state/orv-soft/log/OrvprintD.log" 2>/dev/null; }

echo "== $name: $alice ($alice_uid) and $bob ($bob_uid)"
start_private_xvfb || { echo "$name: Xvfb did not start"; exit 1; }
pids+=("$XVFB_PID")

# Bob makes Alice's folder in /tmp first (unless her session's runtime
# folder serves): her OrvprintD refuses it and serves from the next place.
if [ "$(channel_folder "$alice")" = "/tmp/orvprint-$alice_uid" ]; then
  as_user "$bob" mkdir -m 0700 "/tmp/orvprint-$alice_uid"
  planted=1
else
  planted=0
fi
start_orvprintd "$alice"
check "$alice's OrvprintD serves" kill -0 "${orv_pid[$alice]}"
start_orvprintd "$bob"
check "$bob's OrvprintD serves at the same time" kill -0 "${orv_pid[$bob]}"
alice_dir=$(channel_folder "$alice")
bob_dir=$(channel_folder "$bob")
if [ $planted = 1 ]; then
  check_eq "$alice's folder made by $bob is refused, with the ERROR line naming it, and the next place used" \
    "1 $work/home-$alice/.cache/orv-soft/run" \
    "$(log_of "$alice" | grep -c "ERROR - .*Refused /tmp/orvprint-$alice_uid: it is not a private folder of this user.") $alice_dir"
fi
check_eq "each channel folder is its user's own, mode 0700" "$alice 700 $bob 700" \
  "$(stat -c '%U %a' "$alice_dir") $(stat -c '%U %a' "$bob_dir")"
check_eq "the channel block and the instance lock are in each user's own folder" "2 2" \
  "$(ls "$alice_dir" | grep -cE '^(Orvprint_Popup_Dialog_SHM|\{05D73725-23EF-4104-92F1-CE15A4115D6A\})$') $(ls "$bob_dir" | grep -cE '^(Orvprint_Popup_Dialog_SHM|\{05D73725-23EF-4104-92F1-CE15A4115D6A\})$')"
check "$bob cannot open $alice's channel block" \
  bash -c "! setpriv --reuid=$bob_uid --regid=$(id -g "$bob") --init-groups cat '$alice_dir/Orvprint_Popup_Dialog_SHM' >/dev/null 2>&1"
check "$bob cannot list $alice's channel folder" \
  bash -c "! setpriv --reuid=$bob_uid --regid=$(id -g "$bob") --init-groups ls '$alice_dir' >/dev/null 2>&1"

# A second OrvprintD of the same user still ends at once.
as_user "$alice" timeout 60 "$work/bin/OrvprintD" >"$work/second.out" 2>&1
check_eq "a second OrvprintD of $alice ends at once with 0, the first serves on" "0 yes" \
  "$? $(kill -0 "${orv_pid[$alice]}" 2>/dev/null && echo yes || echo no)"

# Both users print at once: each request opens a dialog in its own user's
# OrvprintD, which is answered with Enter.
declare -A send_pid
for u in "$alice" "$bob"; do
  as_user_exec "$u" "$work/bin/orvprint-send" --timeout 120 "$work/request.json" >"$work/answer-$u.json" 2>&1 &
  send_pid[$u]=$!
  pids+=("$!")
done
for _ in $(seq 600); do
  [ "$(xdotool search --onlyvisible --name "请选择打印选项" 2>/dev/null | wc -l)" -ge 2 ] && break
  sleep 0.05
done
mapfile -t windows < <(xdotool search --onlyvisible --name "请选择打印选项" 2>/dev/null)
check_eq "two dialogs are shown, one per user" 2 "${#windows[@]}"
owners=()
for w in "${windows[@]}"; do
  pid=$(xprop -id "$w" _NET_WM_PID 2>/dev/null | sed -n 's/.* = //p')
  owner=?
  for u in "$alice" "$bob"; do [ "$pid" = "${orv_pid[$u]}" ] && owner=$u; done
  owners+=("$owner")
done
check_eq "each dialog belongs to one user's OrvprintD" "$alice $bob" "$(printf '%s\n' "${owners[@]}" | sort | tr '\n' ' ' | sed 's/ $//')"
import -window root "$bin/../two-users-dialogs.png" 2>/dev/null || true
for w in "${windows[@]}"; do press_key "$w" Return; done
for u in "$alice" "$bob"; do
  wait "${send_pid[$u]}"
  check_eq "$u's answer comes from $u's own dialog" \
    '{"resultCode":0,"responseLength":44,"result":0,"printerId":"P-3F-01","projectId":"PRJ-001"}' \
    "$(cat "$work/answer-$u.json")"
done
check_eq "each user's choice is saved in that user's own Config.ini (0600); the machine's is untouched" \
  "$alice 600 $bob 600 [Setting] DisplayProjectSelection=1  [ServerConfig] AuditInstalled=1 " \
  "$(stat -c '%U %a' "$work/home-$alice/.config/orv-soft/Config.ini") $(stat -c '%U %a' "$work/home-$bob/.config/orv-soft/Config.ini") $(tr '\n' ' ' <"$work/temp/Config.ini")"
check_eq "each user's log is that user's own (0600, folder 0700)" "$alice 600 700 $bob 600 700" \
  "$(stat -c '%U %a' "$work/home-$alice/.local/state/orv-soft/log/OrvprintD.log") $(stat -c %a "$work/home-$alice/.local/state/orv-soft/log") $(stat -c '%U %a' "$work/home-$bob/.local/state/orv-soft/log/OrvprintD.log") $(stat -c %a "$work/home-$bob/.local/state/orv-soft/log")"

# --quit of one user ends that user's OrvprintD alone.
as_user "$alice" timeout 60 "$work/bin/OrvprintD" --quit >/dev/null 2>&1
quit_rc=$?
# --quit waits until the instance has ended: its status is there to take.
alice_rc=running
if [ $quit_rc -eq 0 ]; then wait "${orv_pid[$alice]}"; alice_rc=$?; fi
check_eq "$alice's --quit ends $alice's OrvprintD (both exit 0) and leaves $bob's serving" "0 0 yes" \
  "$quit_rc $alice_rc $(kill -0 "${orv_pid[$bob]}" 2>/dev/null && echo yes || echo no)"

if [ ${#san_env[@]} -gt 0 ]; then
  check_eq "the users' programs wrote no sanitizer report" "" "$(cat "$work"/sanitizer/report* 2>/dev/null)"
fi
summary_line "$name"
