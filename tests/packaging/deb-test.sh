#!/usr/bin/env bash
# The Debian package as administrators and users meet it, on this machine:
# installed with apt-get; the installed OrvprintD started as its autostart
# entry starts it, by an unprivileged user on a private X display; a request
# sent by that user with the installed orvprint-send and answered with Enter;
# the answer, the user's own Config.ini and log checked (the machine's
# Config.ini in TempDir untouched); the upgrade from an older layout whose
# TempDir was writable by everybody, with a link, FIFO or hard link planted
# there; upgraded to a higher version while OrvprintD runs; purged while it
# runs again; nothing of the package left. Needs root (skipped otherwise). Leaves the machine as it
# found it, also when a check fails.
#
#   deb-test.sh PACKAGE.deb UPGRADE.deb
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$here/checks.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"

name="package deb"
deb=$(realpath "$1")
next=$(realpath "$2")
out=$(dirname "$deb")
user=nobody
group=nogroup
program=/usr/lib/orv-soft/client/OrvprintD
temp_dir=/var/lib/orv-soft/client/temp
apt=(apt-get -y -q -o DPkg::Lock::Timeout=600)
# The installed programs use the machine's own folders, whatever the caller set.
unset ORVPRINT_MACHINE_CONFIG ORVPRINT_SHM_DIR ORVPRINT_SYSTEM_ACCOUNT XDG_CONFIG_DIRS CUPS_SERVERBIN

echo "== $name: $(basename "$deb"), upgrade to $(basename "$next")"
if [ "$(id -u)" -ne 0 ]; then
  skip_all "$name" "installing a Debian package needs root (run scripts/test.sh as root to test it)"
  summary_line "$name"; exit 0
fi
if dpkg-query -W -f='${Status}' orvprintd 2>/dev/null | grep -q "installed"; then
  skip_all "$name" "orvprintd is installed on this machine; the test leaves it alone"
  summary_line "$name"; exit 0
fi
for p in /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft /etc/xdg/autostart/OrvprintD.desktop; do
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
shm_before=$(ls -A /dev/shm | sort)
autostart_dir_existed=0; [ -d /etc/xdg/autostart ] && autostart_dir_existed=1

uid=$(id -u "$user")
# The user's private folder of the channel and the instance lock: the
# session's runtime folder, else one of its own in /tmp.
chan_dir=/tmp/orvprint-$uid
if [ -d "/run/user/$uid" ] && [ "$(stat -c '%u %a' "/run/user/$uid")" = "$uid 700" ]; then
  chan_dir=/run/user/$uid
fi
chan_dir_existed=0; [ -e "$chan_dir" ] && chan_dir_existed=1

work=$(mktemp -d /tmp/orvprint-deb-test.XXXXXX)
chmod 755 "$work"
mkdir -p "$work/home" "$work/run" "$work/cups/backend"
chown "$user:$group" "$work/home" "$work/run"
chmod 700 "$work/run"
# The print processor's filter belongs to the printing service's package: a
# stand-in, so that OrvprintD finds it.
printf '#!/bin/sh\nexec cat\n' >"$work/cups/backend/orvprint"
chmod 700 "$work/cups/backend/orvprint"

orv_pid=
send_pid=
XVFB_PID=
cleanup() {
  for pid in $send_pid $orv_pid; do
    kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
  done
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
  if dpkg-query -W -f='${Status}' orvprintd 2>/dev/null | grep -q "installed\|config-files\|half"; then
    "${apt[@]}" purge orvprintd >/dev/null 2>&1 || dpkg --purge --force-all orvprintd >/dev/null 2>&1
  fi
  # Packages that apt installed as dependencies go again.
  local added
  added=$(comm -13 <(echo "$packages_before") <(dpkg-query -W -f='${Package}\n' | sort) | tr '\n' ' ')
  [ -n "${added// /}" ] && "${apt[@]}" purge $added >/dev/null 2>&1
  rm -rf /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft /etc/xdg/autostart/OrvprintD.desktop
  [ $autostart_dir_existed -eq 0 ] && rmdir /etc/xdg/autostart 2>/dev/null
  # The named objects that the installed programs made in /dev/shm.
  comm -13 <(echo "$shm_before") <(ls -A /dev/shm | sort) | while IFS= read -r f; do
    case "$f" in Orvprint*|*Orv-soft*|*orv-soft*|*05D73725*) rm -f "/dev/shm/$f" ;; esac
    [ "$(stat -c %U "/dev/shm/$f" 2>/dev/null)" = "$user" ] && rm -f "/dev/shm/$f"
  done
  [ $chan_dir_existed -eq 0 ] && rm -rf "$chan_dir"
  rm -rf "$work"
}
trap cleanup EXIT

as_user() { # COMMAND... : run as the user, in the user's environment
  setpriv --reuid="$user" --regid="$group" --init-groups \
    env -i HOME="$work/home" USER="$user" LOGNAME="$user" PATH=/usr/bin:/bin LANG=C.UTF-8 \
        DISPLAY="${DISPLAY:-}" QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR="$work/run" CUPS_SERVERBIN="$work/cups" "$@"
}

# Starts the installed OrvprintD as the user, the way the autostart entry
# does (its Exec line), and waits until it serves requests.
start_as_user() {
  local exec_line
  exec_line=$(sed -n 's/^Exec=//p' /etc/xdg/autostart/OrvprintD.desktop)
  exec_line=${exec_line//\"/}
  as_user "$exec_line" >"$work/orvprintd.out" 2>&1 &
  orv_pid=$!
  wait_until_serving "$chan_dir/Orvprint_Popup_Dialog_MUTEX_EXISTANCE" "$orv_pid"
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
  "/etc/orv-soft/LogConfig.conf /etc/orv-soft/machine.ini /etc/xdg/autostart/OrvprintD.desktop" \
  "$(dpkg-query -W -f='${Conffiles}' orvprintd | awk 'NF {print $1}' | sort | tr '\n' ' ' | sed 's/ $//')"
check_eq "TempDir and the machine's Config.ini are root's (0755, 0644); no shared log folder" \
  "root:root 755 root:root 644 regular file no" \
  "$(stat -c '%U:%G %a' "$temp_dir") $(stat -c '%U:%G %a %F' "$temp_dir/Config.ini") $([ -e /var/log/orv-soft ] && echo yes || echo no)"
check_eq "each user's log is in that user's state folder" \
  'log4cpp.appender.orvFile.fileName=${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log' \
  "$(grep '^log4cpp.appender.orvFile.fileName=' /etc/orv-soft/LogConfig.conf)"
check_eq "orvprint-config reads TempDir from the installed machine registry" "$temp_dir" \
  "$(setpriv --reuid="$user" --regid="$group" --init-groups orvprint-config 2>&1 | sed -n 's/^  TempDir (id 2): //p')"

# --- the installed program serves a request of the installed orvprint-send
start_private_xvfb || exit 1
start_as_user
check "OrvprintD, started by $user as the autostart entry says, serves requests" test $? -eq 0
cp "$temp_dir/Config.ini" "$work/machine-Config.ini.before"
cp "$root/scripts/sample-request.json" "$work/request.json"
chmod 644 "$work/request.json"
as_user /usr/bin/orvprint-send --timeout 120 "$work/request.json" >"$work/answer.json" 2>&1 &
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
  "$(grep -E '^Default(Printer|Project)=' "$user_config" | tr '\n' ' ')$(stat -c '%U %a' "$user_config") $(stat -c %a "$(dirname "$user_config")")"
check "the machine's Config.ini is unchanged" cmp -s "$work/machine-Config.ini.before" "$temp_dir/Config.ini"
log_file=$work/home/.local/state/orv-soft/log/OrvprintD.log
check_eq "the user's log is the user's own (~/.local/state/orv-soft/log, 0600, folder 0700)" \
  "$user 600 700" "$(stat -c '%U %a' "$log_file" 2>&1) $(stat -c %a "$(dirname "$log_file")" 2>&1)"
check "the user's log is written" test -s "$log_file"
check "the log says that the client tool of the suite is missing" \
  grep -q "Failed to launch apps. err = .*/usr/lib/orv-soft/client/OrvClientTool" "$log_file"
cp "$log_file" "$out/deb-OrvprintD.log" 2>/dev/null
cp "$user_config" "$work/Config.ini.before"

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
    link) as_user ln -s "$work/victim" "$temp_dir/Config.ini"
          as_user ln -s "$work/victim" "$temp_dir/Config.ini.new" ;;
    fifo) as_user mkfifo "$temp_dir/Config.ini" ;;
    hardlink) as_user ln "$work/victim" "$temp_dir/Config.ini" ;;
  esac
  timeout 60 "$postinst" configure >"$work/postinst-$kind.log" 2>&1
  rc=$?
  check_eq "configure over a TempDir left 0777 with a planted $kind as Config.ini: closes the folder, makes a root Config.ini, moves the $kind aside" \
    "0 root:root 755 root:root 644 regular file 1" \
    "$rc $(stat -c '%U:%G %a' "$temp_dir") $(stat -c '%U:%G %a %F' "$temp_dir/Config.ini") $(ls "$temp_dir" | grep -c "^Config.ini.moved-aside")"
  check_eq "the file that the planted $kind pointed at is unchanged" "victim
$victim_before" "$(cat "$work/victim")
$(stat -c '%U %a %s %Y' "$work/victim")"
  rm -f "$temp_dir"/Config.ini.moved-aside.*
done
cp "$work/machine-Config.ini.before" "$temp_dir/Config.ini"

# --- upgrade while OrvprintD runs
t0=$(now_ms)
"${apt[@]}" install "$next" >"$work/upgrade.log" 2>&1
upgrade_rc=$?
upgrade_ms=$(( $(now_ms) - t0 ))
check_eq "apt-get install ./$(basename "$next") upgrades ($upgrade_ms ms)" "0 $next_version" \
  "$upgrade_rc $(dpkg-query -W -f='${Version}' orvprintd 2>/dev/null)"
check "the upgrade ended the running OrvprintD first" ended "$orv_pid"
wait "$orv_pid" 2>/dev/null; orv_pid=
check_eq "the program is the new one" "OrvprintD $next_version" "$("$program" --version 2>&1)"
check "the user's Config.ini survived the upgrade" cmp -s "$work/Config.ini.before" "$user_config"
check "the machine's Config.ini survived the upgrade" cmp -s "$work/machine-Config.ini.before" "$temp_dir/Config.ini"

# --- purge while OrvprintD runs
start_as_user
check "the upgraded OrvprintD serves requests" test $? -eq 0
t0=$(now_ms)
"${apt[@]}" purge orvprintd >"$work/purge.log" 2>&1
purge_rc=$?
purge_ms=$(( $(now_ms) - t0 ))
check_eq "apt-get purge orvprintd succeeds ($purge_ms ms)" 0 "$purge_rc"
check "the purge ended the running OrvprintD first" ended "$orv_pid"
wait "$orv_pid" 2>/dev/null; orv_pid=
check_eq "dpkg -L knows nothing of orvprintd" "package 'orvprintd' is not installed" \
  "$(dpkg -L orvprintd 2>&1 | head -1 | sed 's/^dpkg-query: //')"
left=()
for p in "${package_paths[@]}" /etc/orv-soft /usr/lib/orv-soft /var/lib/orv-soft /var/log/orv-soft; do
  [ -e "$p" ] || [ -L "$p" ] || continue
  printf '%s\n' "${existing_before[@]}" | grep -qxF "$p" || left+=("$p")
done
check_eq "no file or folder of the package is left" "" "${left[*]}"

echo "   figures: $(basename "$deb") $(stat -c %s "$deb") bytes, installed size $(dpkg-deb -f "$deb" Installed-Size) KiB; install $install_ms ms, upgrade $upgrade_ms ms, purge $purge_ms ms"
summary_line "$name"
