#!/usr/bin/env bash
# Builds everything (Linux and Windows cross build) and runs every test:
# Linux tests natively, Windows tests under Wine (headless, Xvfb where a
# window is needed); builds both packages (scripts/package.sh) and installs,
# uses, upgrades and removes each (tests/packaging/); then replays the fuzz
# corpora and runs the Linux tests under the sanitizers (clang). Prints one summary line per build and a total
# line; exits non-zero on any failure.
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

"$root/scripts/setup.sh" || exit 1

jobs=${ORV_JOBS:-$(nproc 2>/dev/null || echo 2)}
build_root=${ORV_BUILD_ROOT:-$root/build}
linux_dir=$build_root/linux
win_dir=$build_root/windows
started=$(date +%s)
status=0

configure_and_build() { # name dir extra-cmake-args...
  local name=$1 dir=$2; shift 2
  echo "== $name: configure and build"
  if ! cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >"$dir.configure.log" 2>&1; then
    cat "$dir.configure.log"; echo "$name: configure FAILED"; return 1
  fi
  if ! cmake --build "$dir" -j "$jobs" >"$dir.build.log" 2>&1; then
    grep -E "error|Error|FAILED" "$dir.build.log" | head -40; echo "$name: build FAILED (see $dir.build.log)"; return 1
  fi
}

# Counts GoogleTest results of one build from its XML reports.
summarize() { # name dir ctest-status
  local name=$1 dir=$2 ctest_status=$3 tests=0 failures=0 errors=0 skipped=0
  for xml in "$dir"/test-results/*.xml; do
    [ -f "$xml" ] || continue
    local line
    line=$(grep -m1 "<testsuites" "$xml")
    t=$(sed -n 's/.* tests="\([0-9]*\)".*/\1/p' <<<"$line")
    f=$(sed -n 's/.* failures="\([0-9]*\)".*/\1/p' <<<"$line")
    e=$(sed -n 's/.* errors="\([0-9]*\)".*/\1/p' <<<"$line")
    s=$(grep -c '<skipped' "$xml" || true)
    tests=$((tests + ${t:-0})); failures=$((failures + ${f:-0})); errors=$((errors + ${e:-0})); skipped=$((skipped + ${s:-0}))
  done
  local failed=$((failures + errors))
  if [ "$ctest_status" -ne 0 ] && [ "$failed" -eq 0 ]; then
    failed=1   # a binary crashed or timed out before writing its report
  fi
  local passed=$((tests - failures - errors - skipped))
  echo "$name: $passed passed, $failed failed, $skipped skipped"
  TOTAL_PASSED=$((TOTAL_PASSED + passed)); TOTAL_FAILED=$((TOTAL_FAILED + failed)); TOTAL_SKIPPED=$((TOTAL_SKIPPED + skipped))
}

run_tests() { # name dir
  local name=$1 dir=$2
  rm -rf "$dir/test-results"
  echo "== $name: tests"
  (cd "$dir" && ctest --output-on-failure --timeout 900) >"$dir.test.log" 2>&1
  local rc=$?
  grep -E "^ *[0-9]+/[0-9]+ Test|tests passed|FAILED|\[  FAILED  \]" "$dir.test.log" | sed 's/^/   /'
  if [ $rc -ne 0 ]; then
    echo "---- $name failures (from $dir.test.log) ----"
    grep -B2 -A25 -E "\[  FAILED  \]|Failure|Exception|Timeout|SEGFAULT|Subprocess aborted" "$dir.test.log" | head -150
  fi
  return $rc
}

# Ends programs that a test left running (a test binary that crashed or was
# killed cannot end what it started), and says which: programs of this build
# root, and programs that tests copied into their temporary folders.
end_leftovers() {
  local exe target pid tmp=${TMPDIR:-/tmp}
  tmp=${tmp%/}
  for exe in /proc/[0-9]*/exe; do
    target=$(readlink "$exe" 2>/dev/null) || continue
    case "$target" in
      "$build_root"/*|"$tmp"/orvtest-*)
        pid=${exe#/proc/}; pid=${pid%/exe}
        echo "   note: ending $target (pid $pid), left running by a test"
        kill -9 "$pid" 2>/dev/null || true ;;
    esac
  done
  local prefix
  for prefix in "$win_dir"/wineprefix*; do
    [ -d "$prefix" ] && WINEPREFIX=$prefix wineserver -k >/dev/null 2>&1 || true
  done
}

TOTAL_PASSED=0; TOTAL_FAILED=0; TOTAL_SKIPPED=0
mkdir -p "$build_root"

linux_ok=1; win_ok=1
configure_and_build linux "$linux_dir" || { linux_ok=0; status=1; }
configure_and_build windows "$win_dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" || { win_ok=0; status=1; }

summary=()
if [ $linux_ok -eq 1 ]; then
  run_tests linux "$linux_dir"; rc=$?; [ $rc -ne 0 ] && status=1
  summary+=("$(summarize linux "$linux_dir" $rc)")
else
  summary+=("linux: build failed")
fi
if [ $win_ok -eq 1 ]; then
  export WINEPREFIX="$win_dir/wineprefix"
  "$root/scripts/wine-prefix.sh" "$WINEPREFIX"
  run_tests windows "$win_dir"; rc=$?; [ $rc -ne 0 ] && status=1
  summary+=("$(summarize windows "$win_dir" $rc)")
  wineserver -k >/dev/null 2>&1 || true
else
  summary+=("windows: build failed")
fi

# Packages: the DEB and the MSI built by package.sh into build/packages/, and
# a higher version of each for the upgrade tests; then each installed, used,
# upgraded and removed (the DEB on this machine, as root; the MSI under Wine
# in a prefix of its own).
if [ $linux_ok -eq 1 ] && [ $win_ok -eq 1 ]; then
  echo "== packages: build"
  pkg_dir=$build_root/packages
  pkg_log=$build_root/packages.log
  version=$(cat "$linux_dir/orv-version.txt")
  next_version=$(awk -F. '{ printf "%d.%d.%d", $1, $2, $3 + 1 }' <<<"$version")
  if ORV_BUILD_ROOT=$build_root "$root/scripts/package.sh" >"$pkg_log" 2>&1 &&
     ORV_BUILD_ROOT=$build_root "$root/scripts/package.sh" --version "$next_version" --out "$pkg_dir/upgrade-test" >>"$pkg_log" 2>&1; then
    grep -E '^package:|^   [EW]: ' "$pkg_log" | sed 's/^/   /'
    for kind in deb msi; do
      test_log=$build_root/package-$kind-test.log
      if [ $kind = deb ]; then
        "$root/tests/packaging/deb-test.sh" "$pkg_dir/orvprintd_${version}_amd64.deb" \
          "$pkg_dir/upgrade-test/orvprintd_${next_version}_amd64.deb" >"$test_log" 2>&1
      else
        "$root/tests/packaging/msi-test.sh" "$pkg_dir/OrvprintD-${version}-x64.msi" \
          "$pkg_dir/upgrade-test/OrvprintD-${next_version}-x64.msi" "$win_dir/bin/orvprint-send.exe" \
          "$pkg_dir/msi-test" >"$test_log" 2>&1
      fi
      rc=$?
      sed 's/^/   /' "$test_log"
      [ $rc -ne 0 ] && status=1
      line=$(grep -E '^package [a-z]+: [0-9]+ passed' "$test_log" | tail -1)
      summary+=("${line:-package $kind: test did not finish}")
    done
  else
    tail -40 "$pkg_log"; status=1
    summary+=("packages: build failed (see $pkg_log)")
  fi
fi

# Reliability (Linux, clang): every fuzz harness replays its corpus, the
# Linux tests run under AddressSanitizer + UndefinedBehaviorSanitizer, and
# the thread, lock, queue, logging and popup-thread tests under
# ThreadSanitizer. ORV_TEST_SANITIZERS=0 leaves them out of a local run.
if [ "${ORV_TEST_SANITIZERS:-1}" != 0 ]; then
  echo "== fuzz: build and replay the corpora"
  fuzz_log=$build_root/fuzz.replay.log
  ORV_BUILD_ROOT=$build_root "$root/scripts/fuzz.sh" replay >"$fuzz_log" 2>&1; rc=$?
  sed 's/^/   /' "$fuzz_log" | grep -v "^   fuzz replay:"
  [ $rc -ne 0 ] && status=1
  line=$(grep '^fuzz replay:' "$fuzz_log" | tail -1)
  summary+=("${line:-fuzz replay: build failed}")

  for mode in asan tsan; do
    rm -rf "$build_root/$mode/test-results"
    ORV_BUILD_ROOT=$build_root "$root/scripts/sanitizers.sh" $mode; rc=$?
    [ $rc -ne 0 ] && status=1
    if [ -d "$build_root/$mode/test-results" ]; then
      summary+=("$(summarize $mode "$build_root/$mode" $rc)")
    else
      summary+=("$mode: build failed")
    fi
  done
fi

end_leftovers

# Totals (recomputed here: the summaries above ran in subshells).
TOTAL_PASSED=0; TOTAL_FAILED=0; TOTAL_SKIPPED=0
for line in "${summary[@]}"; do
  p=$(sed -n 's/.*: \([0-9]*\) passed.*/\1/p' <<<"$line")
  f=$(sed -n 's/.* \([0-9]*\) failed.*/\1/p' <<<"$line")
  s=$(sed -n 's/.* \([0-9]*\) skipped.*/\1/p' <<<"$line")
  TOTAL_PASSED=$((TOTAL_PASSED + ${p:-0})); TOTAL_FAILED=$((TOTAL_FAILED + ${f:-0})); TOTAL_SKIPPED=$((TOTAL_SKIPPED + ${s:-0}))
  [ -z "$p" ] && TOTAL_FAILED=$((TOTAL_FAILED + 1))
done

echo
echo "== summary ($(( $(date +%s) - started )) s)"
for line in "${summary[@]}"; do echo "$line"; done
[ $TOTAL_FAILED -gt 0 ] && status=1
echo "total: $TOTAL_PASSED passed, $TOTAL_FAILED failed, $TOTAL_SKIPPED skipped"
exit $status
