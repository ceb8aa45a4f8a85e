#!/usr/bin/env bash
# Creates a Wine prefix once (wineboot -i), with the font substitutions that
# make Chinese dialog text render with WenQuanYi Micro Hei; DPI (default
# 96) is the screen's LogPixels, e.g. 192 for a prefix that shows 200 %.
#   wine-prefix.sh PREFIX [DPI]
set -euo pipefail
prefix=$1
dpi=${2:-96}
export WINEPREFIX=$prefix
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"

[ -f "$prefix/.orv-ready" ] && exit 0
mkdir -p "$prefix"
(
  flock 9
  [ -f "$prefix/.orv-ready" ] && exit 0
  wineboot -i >/dev/null 2>&1 || true
  wineserver -w || true
  for f in "MS Shell Dlg" "MS Shell Dlg 2" "Tahoma" "SimSun"; do
    wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "$f" /d "WenQuanYi Micro Hei" /f >/dev/null 2>&1
  done
  if [ "$dpi" != 96 ]; then
    wine reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$dpi" /f >/dev/null 2>&1
    wine reg add 'HKCU\Software\Wine\Fonts' /v LogPixels /t REG_DWORD /d "$dpi" /f >/dev/null 2>&1
  fi
  wineserver -w || true
  touch "$prefix/.orv-ready"
) 9>"$prefix.lock"
