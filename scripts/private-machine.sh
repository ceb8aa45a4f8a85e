# Sourced by demo.sh and bench.sh: a private machine configuration for
# OrvprintD in a folder of its own, so that nothing on this machine is
# touched.
#
#   private_machine DIR SHM_DIR RUNTIME_DIR CAN_SELECT_NO_PROJECT SYSTEM_ACCOUNT
#
# Writes DIR/machine.ini (the machine registry stand-in: the client's
# folders DIR/install, DIR/temp, DIR/log), DIR/temp/Config.ini (projects
# shown, no saved defaults), a CUPS backend stand-in (the print service is
# present), DIR/request.json (sample-request.json: two printers and two
# projects, the way the printing service describes them to orvprint-send),
# and exports the variables that point OrvprintD at them: named objects in
# SHM_DIR, the user's objects in RUNTIME_DIR, the autostart entry under
# DIR/xdg, the user's settings and logs under DIR/config and DIR/state. When run as root, SYSTEM_ACCOUNT is named as the system account
# (OrvprintD refuses to run as the system account). LogConfig.conf in
# DIR/install is the caller's.

private_machine() {
  local dir=$1 shm_dir=$2 runtime_dir=$3 no_project=$4 account=$5
  mkdir -p "$dir"/{install,temp,log,xdg,config,state,cups/backend} "$shm_dir" "$runtime_dir"

  cat >"$dir/machine.ini" <<INI
[Software\\Orv-soft\\Client]
InstallDir=$dir/install
TempDir=$dir/temp
LogDir=$dir/log
DataDir=$dir/temp
INI
  cat >"$dir/temp/Config.ini" <<INI
[Setting]
DisplayProjectSelection=1
CanSelectNoPrinter=0
CanSelectNoProject=$no_project
DefaultPrinter=
DefaultProject=

[ServerConfig]
WaterPrintInstalled=0
AuditInstalled=1
SGIdentifyInstalled=0
FilterIntalled=0
INI
  printf '#!/bin/sh\nexec cat\n' >"$dir/cups/backend/orvprint"
  chmod +x "$dir/cups/backend/orvprint"
  cp "$(dirname "${BASH_SOURCE[0]}")/sample-request.json" "$dir/request.json"

  export ORVPRINT_MACHINE_CONFIG=$dir/machine.ini
  export ORVPRINT_SHM_DIR=$shm_dir
  export XDG_CONFIG_DIRS=$dir/xdg
  # The user's own settings and logs stay in DIR too: nothing of a run is
  # left in the caller's home.
  export XDG_CONFIG_HOME=$dir/config
  export XDG_STATE_HOME=$dir/state
  export XDG_RUNTIME_DIR=$runtime_dir
  export CUPS_SERVERBIN=$dir/cups
  if [ "$(id -u)" -eq 0 ]; then export ORVPRINT_SYSTEM_ACCOUNT=$account; fi
}
