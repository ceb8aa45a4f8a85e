#!/usr/bin/env bash
# The Windows package as administrators and users meet it, under Wine in a
# fresh prefix of its own: installed with msiexec /qn (with another LOGDIR)
# over a TempDir that a user made beforehand, its files, folders and registry
# values checked; the installed OrvprintD started the way the Run value
# starts it (at the session's start); a request sent with orvprint-send.exe
# and answered with Enter; the answer and the saved defaults checked;
# upgraded to a higher version while OrvprintD runs; removed while it runs
# again; no file, folder or registry value left. Then, on the empty prefix:
# a TempDir that is a junction to another folder (where Wine's mklink /j
# makes one) is refused and nothing changes behind it; an upgrade that
# fails (DataDir is a file) leaves the installed Config.ini in place.
#
#   msi-test.sh PACKAGE.msi UPGRADE.msi ORVPRINT-SEND.exe WORK-DIR
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
# shellcheck source=tests/packaging/checks.sh
. "$here/checks.sh"
# shellcheck source=scripts/dialog-session.sh
. "$root/scripts/dialog-session.sh"

name="package msi"
msi=$(realpath "$1")
next=$(realpath "$2")
send_exe=$(realpath "$3")
mkdir -p "$4"
work=$(cd "$4" && pwd)
out=$(dirname "$msi")
version=$(basename "$msi" | sed -n 's/^OrvprintD-\(.*\)-x64\.msi$/\1/p')
next_version=$(basename "$next" | sed -n 's/^OrvprintD-\(.*\)-x64\.msi$/\1/p')

echo "== $name: $(basename "$msi"), upgrade to $(basename "$next")"
rm -rf "${work:?}"/*
export WINEPREFIX=$work/prefix
# A Chinese desktop (code page 936). Wine shows the Application-log events
# that orvprint-folders reports on a refusal (err:eventlog); the lines the
# installer's programs write reach msiexec's output.
export LANG=zh_CN.UTF-8
export WINEDEBUG=-all,err+eventlog
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
"$root/scripts/wine-prefix.sh" "$WINEPREFIX"
drive_c=$WINEPREFIX/drive_c
program_dir="$drive_c/Program Files/Orv-soft/Client"
data_dir="$drive_c/ProgramData/Orv-soft/Client"
log_dir="$drive_c/Orv Logs"
program='C:\Program Files\Orv-soft\Client\OrvprintD.exe'
request=$(winepath -w "$root/scripts/sample-request.json" 2>/dev/null)
send_win=$(winepath -w "$send_exe" 2>/dev/null)

XVFB_PID=
boot_pid=
cleanup() {
  [ -n "$boot_pid" ] && kill "$boot_pid" 2>/dev/null
  timeout 30 wineserver -k >/dev/null 2>&1
  [ -n "$XVFB_PID" ] && kill "$XVFB_PID" 2>/dev/null
  rm -rf "$WINEPREFIX"
}
trap cleanup EXIT
start_private_xvfb || exit 1

msiexec() { # ARGS... (output in $work/msiexec.out)
  timeout 300 wine msiexec "$@" >"$work/msiexec.out" 2>&1
}

reg_value() { # KEY NAME
  timeout 60 wine reg query "$1" /v "$2" 2>/dev/null | tr -d '\r' | sed -n "s/^ *$2 *REG_SZ *//p"
}

reg_key_exists() { # KEY
  timeout 60 wine reg query "$1" >/dev/null 2>&1
}

version_resource() { # EXE FIELD
  strings -el "$1" | grep -A1 -x "$2" | tail -1
}

# Ids of the processes of this prefix that run the installed OrvprintD.
orvprintd_pids() {
  local pid
  for pid in $(pgrep -f 'Orv-soft.Client.OrvprintD.exe'); do
    tr '\0' '\n' <"/proc/$pid/environ" 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX" && echo "$pid"
  done
}

# A log-on: the session starts and runs the Run values. OrvprintD's start
# asks the spooler for its print processor, which Wine lacks: the message
# box that says so is answered with Enter, as a user would.
log_on() {
  timeout 30 wineserver -k >/dev/null 2>&1
  wine wineboot >/dev/null 2>&1 &
  boot_pid=$!
  local box
  box=$(find_window '^OrvprintD$' 60)
  [ -n "$box" ] && press_key "$box" Return
  wait "$boot_pid" 2>/dev/null; boot_pid=
  [ -n "$(orvprintd_pids)" ]
}

# Sends the sample request once OrvprintD serves (orvprint-send exits 2 while
# there is no receiver), answers the dialog with KEY and prints the answer.
send_and_answer() { # KEY SCREENSHOT
  local answer=$work/answer.json rc=2 win
  for _ in $(seq 30); do
    wine "$send_win" --timeout 120 "$request" >"$answer" 2>/dev/null &
    local send_pid=$!
    win=$(find_window "请选择打印选项" 5)
    if [ -n "$win" ]; then
      [ -n "$2" ] && import -window "$win" "$2" 2>/dev/null
      press_key "$win" "$1"
      wait "$send_pid"; rc=$?
      break
    fi
    wait "$send_pid"; rc=$?
    [ $rc -ne 2 ] && break
  done
  tr -d '\r' <"$answer"
}

# Whether the processes have ended. Wine's process of a program that has
# exited (its Windows process is signalled) lingers a moment: at most 10 s.
ended() { # PIDS
  local pid
  for pid in "$@"; do
    for _ in $(seq 200); do kill -0 "$pid" 2>/dev/null || break; sleep 0.05; done
    kill -0 "$pid" 2>/dev/null && return 1
  done
  return 0
}

# The lines orvprint-folders wrote during the last msiexec run: what it did
# (a line per folder, "removed ...", "set aside ..."), or its refusals.
folders_lines() {
  tr -d '\r' <"$work/msiexec.out" | grep -E '^([A-Z]:\\|removed |set aside |put back |nothing to )' | paste -sd '|'
}
folders_errors() {
  tr -d '\r' <"$work/msiexec.out" | grep '^orvprint-folders: ' | paste -sd '|'
}
# The Application-log events of the last run, as Wine shows them.
folders_events() {
  tr -d '\r' <"$work/msiexec.out" | sed -n 's/^[0-9a-f]*:err:eventlog:ReportEventW L"\(.*\)"$/\1/p' | paste -sd '|'
}
product_count() {
  timeout 60 wine reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall' 2>/dev/null | tr -d '\r' | grep -c '\\{'
}

# --- install, with the log in another folder, over a TempDir that a user
# made before (ProgramData lets every user create folders)
mkdir -p "$data_dir/Temp"
t0=$(now_ms)
msiexec /i "$(winepath -w "$msi" 2>/dev/null)" /qn 'LOGDIR=C:\Orv Logs'
install_rc=$?
install_ms=$(( $(now_ms) - t0 ))
check_eq "msiexec /i $(basename "$msi") /qn LOGDIR=... succeeds ($install_ms ms)" 0 "$install_rc"
check "OrvprintD.exe and LogConfig.conf are in INSTALLDIR" \
  test -f "$program_dir/OrvprintD.exe" -a -f "$program_dir/LogConfig.conf"
check "TempDir, DataDir and the chosen LogDir are created" \
  test -d "$data_dir/Temp" -a -d "$data_dir/Data" -a -d "$log_dir"
check_eq "the client key holds the four folders" \
  'C:\Program Files\Orv-soft\Client\|C:\ProgramData\Orv-soft\Client\Temp\|C:\Orv Logs\|C:\ProgramData\Orv-soft\Client\Data\' \
  "$(for v in InstallDir TempDir LogDir DataDir; do printf '%s|' "$(reg_value 'HKLM\Software\Orv-soft\Client' $v)"; done | sed 's/|$//')"
check_eq "the Run value OrvprintD holds the quoted program path" "\"$program\"" \
  "$(reg_value 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Run' OrvprintD)"
check_eq "LogConfig.conf names the log file in the chosen LogDir" \
  'log4cpp.appender.orvFile.fileName=C:\Orv Logs\OrvprintD.log' \
  "$(grep '^log4cpp.appender.orvFile.fileName=' "$program_dir/LogConfig.conf" | tr -d '\r')"
check_eq "orvprint-folders takes the folders made beforehand and makes the others, with the package's rights" \
  'C:\ProgramData\Orv-soft: real folder; rights kept|C:\ProgramData\Orv-soft\Client: real folder; rights kept|C:\ProgramData\Orv-soft\Client\Temp: real folder; Administrators and SYSTEM full control, Users modify what is in it|C:\Orv Logs: made; Administrators and SYSTEM full control, Users modify what is in it|C:\ProgramData\Orv-soft\Client\Data: made; Administrators and SYSTEM full control, Users read' \
  "$(folders_lines)"
check_eq "no refusal" "" "$(folders_errors)"
check_eq "the package's custom actions run orvprint-folders from the Binary table and OrvprintD.exe --quit, no cmd or icacls" \
  'PrepareFolders 3074 OrvprintFolders|PutSettingsBack 3138 OrvprintFolders|PutSettingsBackOnRollback 3394 OrvprintFolders|QuitOrvprintD 3154 OrvprintD.exe|RemoveWrittenFiles 3138 OrvprintFolders|SetSettingsAside 2 OrvprintFolders' \
  "$(msiinfo export "$msi" CustomAction | tail -n +4 | tr -d '\r' | awk -F'\t' '{ print $1 " " $2 " " $3 }' | sort | paste -sd '|')"
check_eq "the program's version resource is the package's version" "$version.0 $version.0" \
  "$(version_resource "$program_dir/OrvprintD.exe" FileVersion) $(version_resource "$program_dir/OrvprintD.exe" ProductVersion)"
check "the program is stripped" sh -c "test -f '$program_dir/OrvprintD.exe' && ! x86_64-w64-mingw32-objdump -h '$program_dir/OrvprintD.exe' | grep -q debug_info"

# --- the installed program serves a request
log_on
check "a log-on starts the installed OrvprintD from the Run value" test $? -eq 0
first_pids=$(orvprintd_pids)
check_eq "the answer of Enter: OK with the first printer and project" \
  '{"resultCode":0,"responseLength":44,"result":0,"printerId":"P-3F-01","projectId":"PRJ-001"}' \
  "$(send_and_answer Return "$out/msi-dialog.png")"
check_eq "the user's defaults are saved in Config.ini in TempDir" \
  "DefaultPrinter=三楼彩色打印机 DefaultProject=年度审计项目 " \
  "$(iconv -f GBK -t UTF-8 "$data_dir/Temp/Config.ini" 2>/dev/null | tr -d '\r' | grep -E '^Default(Printer|Project)=' | tr '\n' ' ')"
cp "$data_dir/Temp/Config.ini" "$work/Config.ini.before" 2>/dev/null

# --- upgrade while OrvprintD runs
t0=$(now_ms)
msiexec /i "$(winepath -w "$next" 2>/dev/null)" /qn
upgrade_rc=$?
upgrade_ms=$(( $(now_ms) - t0 ))
check_eq "msiexec /i $(basename "$next") /qn upgrades ($upgrade_ms ms)" 0 "$upgrade_rc"
# shellcheck disable=SC2086
check "the upgrade ended the running OrvprintD" ended $first_pids
check_eq "the program is the new version" "$next_version.0" \
  "$(version_resource "$program_dir/OrvprintD.exe" ProductVersion)"
check_eq "one OrvprintD is registered" 1 \
  "$(timeout 60 wine reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall' 2>/dev/null | tr -d '\r' | grep -c '\\{')"
check "Config.ini survived the upgrade" cmp -s "$work/Config.ini.before" "$data_dir/Temp/Config.ini"
check_eq "orvprint-folders set Config.ini aside, prepared the folders (those the removal took made again) and put it back" \
  'set aside C:\ProgramData\Orv-soft\Client\Temp\Config.ini as Config.ini.upgrade|C:\ProgramData\Orv-soft: real folder; rights kept|C:\ProgramData\Orv-soft\Client: real folder; rights kept|C:\ProgramData\Orv-soft\Client\Temp: real folder; Administrators and SYSTEM full control, Users modify what is in it|C:\Orv Logs: made; Administrators and SYSTEM full control, Users modify what is in it|C:\ProgramData\Orv-soft\Client\Data: made; Administrators and SYSTEM full control, Users read|put back C:\ProgramData\Orv-soft\Client\Temp\Config.ini.upgrade as Config.ini' \
  "$(folders_lines)"
check_eq "the upgrade kept the chosen LogDir" 'C:\Orv Logs\' "$(reg_value 'HKLM\Software\Orv-soft\Client' LogDir)"

# --- removal while OrvprintD runs
log_on
check "the upgraded OrvprintD starts at log-on" test $? -eq 0
second_pids=$(orvprintd_pids)
check_eq "Escape cancels the upgraded program's dialog" \
  '{"resultCode":0,"responseLength":44,"result":1,"printerId":"","projectId":""}' \
  "$(send_and_answer Escape "")"
t0=$(now_ms)
msiexec /x "$(winepath -w "$next" 2>/dev/null)" /qn
remove_rc=$?
remove_ms=$(( $(now_ms) - t0 ))
check_eq "msiexec /x /qn removes the package ($remove_ms ms)" 0 "$remove_rc"
check_eq "orvprint-folders removed Config.ini (no log file: logging is built disabled)" \
  'removed C:\ProgramData\Orv-soft\Client\Temp\Config.ini' "$(folders_lines)"
# shellcheck disable=SC2086
check "the removal ended the running OrvprintD" ended $second_pids
check_eq "no file or folder is left" "" \
  "$(ls -d "$drive_c/Program Files/Orv-soft" "$drive_c/ProgramData/Orv-soft" "$log_dir" 2>/dev/null)"
check "no registry value is left: the client key is gone" sh -c "! timeout 60 wine reg query 'HKLM\\Software\\Orv-soft' >/dev/null 2>&1"
check_eq "no registry value is left: the Run value is gone" "" \
  "$(reg_value 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Run' OrvprintD)"
check_eq "nothing is registered" 0 \
  "$(timeout 60 wine reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall' 2>/dev/null | tr -d '\r' | grep -c '\\{')"

# --- a TempDir that a user made a junction to another folder before the
# installation: refused, and nothing changes behind it
target_dir="$drive_c/Elsewhere"
mkdir -p "$data_dir" "$target_dir"
echo "a file of another folder" >"$target_dir/keep.txt"
mklink_out=$(timeout 60 wine cmd /c mklink /j 'C:\ProgramData\Orv-soft\Client\Temp' 'C:\Elsewhere' 2>&1 |
  iconv -f GBK -t UTF-8 -c | tr -d '\r' | paste -sd ' ')
if [ ! -e "$data_dir/Temp" ]; then
  skip_check "a TempDir that is a junction is refused" \
    "Wine's cmd cannot make a junction (mklink /j: $mklink_out); the refusal is shown on Windows"
else
  msiexec /i "$(winepath -w "$msi" 2>/dev/null)" /qn
  junction_rc=$?
  check_eq "msiexec /i over a junction as TempDir fails" 91 "$junction_rc"
  check_eq "orvprint-folders refuses the junction, naming it" \
    'orvprint-folders: refused "C:\ProgramData\Orv-soft\Client\Temp": it is a junction or symbolic link (a reparse point), not a real folder.' \
    "$(folders_errors)"
  check_eq "nothing changed in the junction's target" "keep.txt" "$(ls -A "$target_dir" | paste -sd '|')"
  check_eq "nothing is registered" 0 "$(product_count)"
fi
timeout 60 wine cmd /c rmdir 'C:\ProgramData\Orv-soft\Client\Temp' >/dev/null 2>&1
rm -rf "$drive_c/ProgramData/Orv-soft" "$target_dir"

# --- an upgrade that fails (a user made DataDir a file): the installed
# Config.ini, set aside for the upgrade, comes back with the rollback
msiexec /i "$(winepath -w "$msi" 2>/dev/null)" /qn
check_eq "msiexec /i $(basename "$msi") /qn installs again, with the default folders" 0 "$?"
cp "$work/Config.ini.before" "$data_dir/Temp/Config.ini"
rmdir "$data_dir/Data" && echo "not a folder" >"$data_dir/Data"
msiexec /i "$(winepath -w "$next" 2>/dev/null)" /qn
failed_rc=$?
# Wine's msiexec ends a failed installation with 1627 (the function
# failed), an exit status of 91; Windows' with 1603.
check_eq "msiexec /i $(basename "$next") fails where DataDir is a file" 91 "$failed_rc"
check_eq "orvprint-folders refuses DataDir, naming it" \
  'orvprint-folders: refused "C:\ProgramData\Orv-soft\Client\Data": it is not a folder.' \
  "$(folders_errors)"
check_eq "the refusal is an error event in the Application log" \
  'orvprint-folders: refused \"C:\\ProgramData\\Orv-soft\\Client\\Data\": it is not a folder.' \
  "$(folders_events)"
check_eq "Config.ini was set aside and put back by the rollback" \
  'set aside C:\ProgramData\Orv-soft\Client\Temp\Config.ini as Config.ini.upgrade|put back C:\ProgramData\Orv-soft\Client\Temp\Config.ini.upgrade as Config.ini' \
  "$(folders_lines | tr '|' '\n' | grep -E '^(set aside|put back) ' | paste -sd '|')"
check "the installed Config.ini is in place, unchanged" cmp -s "$work/Config.ini.before" "$data_dir/Temp/Config.ini"
check "no Config.ini.upgrade is left" test ! -e "$data_dir/Temp/Config.ini.upgrade"
check_eq "the file in DataDir's place is untouched" "not a folder" "$(cat "$data_dir/Data" 2>/dev/null)"

echo "   figures: $(basename "$msi") $(stat -c %s "$msi") bytes; install $install_ms ms, upgrade $upgrade_ms ms, removal $remove_ms ms"
summary_line "$name"
