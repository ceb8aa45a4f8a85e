#!/bin/sh
# orvprint-config on Linux shows both settings files and, for each value of
# [Setting], the file it came from: the user's own, the machine's, or none.
#   orvprint-config-sources.sh ORVPRINT-CONFIG
set -u
d=$(mktemp -d)
trap 'rm -rf "$d"' EXIT
mkdir -p "$d/temp" "$d/config/orv-soft"
printf '[Software\\Orv-soft\\Client]\nTempDir=%s/temp\n' "$d" >"$d/machine.ini"
printf '[Setting]\nCanSelectNoPrinter=1\nDefaultProject=Admin\n[ServerConfig]\nAuditInstalled=1\n' >"$d/temp/Config.ini"
printf '[Setting]\nDefaultPrinter=Mine\n' >"$d/config/orv-soft/Config.ini"
out=$(ORVPRINT_MACHINE_CONFIG="$d/machine.ini" XDG_CONFIG_HOME="$d/config" "$1")
expected="Settings file: $d/temp/Config.ini (present)
User settings file: $d/config/orv-soft/Config.ini (present)

[Setting] (read result 0)
  DisplayProjectSelection = 1 (yes)   (default)
  CanSelectNoPrinter      = 1 (yes)   (machine file)
  CanSelectNoProject      = 0 (no)   (default)
  DefaultPrinter          = \"Mine\"   (user's file)
  DefaultProject          = \"Admin\"   (machine file)"
actual=$(printf '%s\n' "$out" | sed -n '/^Settings file:/,/^  DefaultProject/p')
if [ "$actual" != "$expected" ]; then
  printf 'expected:\n%s\nactual:\n%s\n' "$expected" "$out"
  exit 1
fi
echo "orvprint-config names each value's file"
