#!/usr/bin/env bash
# Runs a Windows program under Wine with the build's private prefix,
# headless and quiet. Used by ctest as the cross build's emulator.
#   wine-run.sh PROGRAM.exe [ARGS...]
set -euo pipefail

exe=$1; shift
build_dir=${ORV_BUILD_DIR:-$(cd "$(dirname "$exe")" && pwd)}
# The prefix lives in the top of the cross build folder.
while [ ! -f "$build_dir/CMakeCache.txt" ] && [ "$build_dir" != "/" ]; do
  build_dir=$(dirname "$build_dir")
done

export WINEPREFIX=${WINEPREFIX:-$build_dir/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-"mscoree,mshtml=;winemenubuilder.exe=d"}
# ORV_WINE_DPI: the screen DPI of a prefix of its own (made on first use).
"$(dirname "$0")/wine-prefix.sh" "$WINEPREFIX" "${ORV_WINE_DPI:-96}"

# A program that shows windows needs a session whose desktop was made with a
# display. A session that a program without one left behind (it lingers for
# a few seconds) would be reused without a display driver: end it first.
# Tests run one after the other, so no other program is using it.
if [ -n "${DISPLAY:-}" ]; then
  wineserver -k >/dev/null 2>&1 || true
  wineserver -w >/dev/null 2>&1 || true
fi

# A gtest report path is a Unix path: give the Windows program its Wine form,
# and make its folder, which gtest does not create there.
args=()
for a in "$@"; do
  case "$a" in
    --gtest_output=xml:/*)
      path=${a#--gtest_output=xml:}
      mkdir -p "$(dirname "$path")"
      args+=("--gtest_output=xml:Z:${path//\//\\}")
      ;;
    *) args+=("$a") ;;
  esac
done

exec wine "$exe" "${args[@]}"
