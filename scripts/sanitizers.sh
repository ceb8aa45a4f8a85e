#!/usr/bin/env bash
# The Linux tree under sanitizers (clang):
#   asan  AddressSanitizer + UndefinedBehaviorSanitizer in <build root>/asan,
#         every Linux test (ctest)
#   tsan  ThreadSanitizer in <build root>/tsan: the thread, lock, queue and
#         logging tests and the popup-thread tests of the application
#
#   scripts/sanitizers.sh [asan|tsan|all]      (default all)
#
# Any sanitizer report fails the run, also one from a child process that a
# test started: reports are written to <dir>/sanitizer-reports/ and printed
# at the end. Suppressions (narrow, each explained) are in
# tests/fuzz/sanitizers/. Environment: ORV_BUILD_ROOT (default build),
# ORV_JOBS (default 2), ORV_ASAN_CTEST_ARGS (more ctest arguments for the
# asan run, e.g. "-E orv_e2e_tests"), ORV_TSAN_APP_FILTER (GoogleTest filter
# of orv_app_tests under ThreadSanitizer, default *Popup*:*LogReopen*).
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build_root=${ORV_BUILD_ROOT:-$root/build}
jobs=${ORV_JOBS:-2}
supp=$root/tests/fuzz/sanitizers
started=$(date +%s)

configure_and_build() { # name dir sanitizers [targets...]
  local name=$1 dir=$2 sanitize=$3; shift 3
  echo "== $name: configure and build ($dir)"
  mkdir -p "$build_root"
  if ! cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
       -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DORV_SANITIZE="$sanitize" \
       >"$dir.configure.log" 2>&1; then
    cat "$dir.configure.log"; echo "$name: configure FAILED"; return 1
  fi
  local targets=()
  for t in "$@"; do targets+=(--target "$t"); done
  if ! cmake --build "$dir" -j "$jobs" "${targets[@]}" >"$dir.build.log" 2>&1; then
    grep -E "error|Error|FAILED" "$dir.build.log" | head -40; echo "$name: build FAILED (see $dir.build.log)"; return 1
  fi
}

# Fails when any process left a report. (Files with warnings only, such as
# AddressSanitizer's notice of an allocation refused on purpose, are none.)
check_reports() { # name dir
  local name=$1 reports=$2/sanitizer-reports f
  local found=()
  for f in "$reports"/*; do
    [ -f "$f" ] || continue
    grep -qE "ERROR: (Address|Leak|Thread|UndefinedBehavior)Sanitizer|runtime error:|WARNING: ThreadSanitizer|^SUMMARY: " "$f" \
      && found+=("$f")
  done
  if [ ${#found[@]} -gt 0 ]; then
    echo "---- $name: sanitizer reports ----"
    for f in "${found[@]}"; do echo "## $f"; head -60 "$f"; done
    echo "$name: ${#found[@]} sanitizer report(s)"
    return 1
  fi
  echo "$name: no sanitizer reports"
}

run_asan() {
  local dir=$build_root/asan
  configure_and_build asan "$dir" address,undefined || return 1
  rm -rf "$dir/sanitizer-reports" "$dir/test-results"; mkdir -p "$dir/sanitizer-reports"
  # allocator_may_return_null: tests of the allocation-failure paths ask malloc
  # for more than can exist and expect a null pointer, as without the sanitizer.
  export ASAN_OPTIONS="halt_on_error=1:abort_on_error=1:detect_leaks=1:allocator_may_return_null=1:detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1:log_path=$dir/sanitizer-reports/report"
  export LSAN_OPTIONS="suppressions=$supp/lsan.supp:print_suppressions=0"
  export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:log_path=$dir/sanitizer-reports/report"
  echo "== asan: tests"
  # shellcheck disable=SC2086
  (cd "$dir" && ctest --output-on-failure --timeout 900 ${ORV_ASAN_CTEST_ARGS:-}) >"$dir.test.log" 2>&1
  local rc=$?
  grep -E "^ *[0-9]+/[0-9]+ Test|tests passed|FAILED" "$dir.test.log" | sed 's/^/   /'
  [ $rc -ne 0 ] && grep -B2 -A25 -E "\[  FAILED  \]|Failure|Exception|Timeout|SEGFAULT|Subprocess aborted" "$dir.test.log" | head -80
  check_reports asan "$dir" || rc=1
  unset ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS
  return $rc
}

run_tsan() {
  local dir=$build_root/tsan
  # Threads, locks and the queue; the log facade, which every thread uses;
  # the popup thread.
  local tests=(orv_utility_tests orv_msgqueue_tests orv_logging_tests orv_app_tests)
  local built=()
  configure_and_build tsan "$dir" thread "${tests[@]}" || return 1
  rm -rf "$dir/sanitizer-reports"; mkdir -p "$dir/sanitizer-reports" "$dir/test-results"
  export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$supp/tsan.supp:log_path=$dir/sanitizer-reports/report"
  export ORV_SOURCE_DIR=$root ORV_BUILD_DIR=$dir QT_QPA_PLATFORM=offscreen
  local rc=0 t bin filter
  echo "== tsan: tests"
  for t in "${tests[@]}"; do
    bin=$(find "$dir" -type f -name "$t" -perm -u+x | head -1)
    [ -n "$bin" ] || { echo "   $t: not built"; continue; }
    filter='*'
    [ "$t" = orv_app_tests ] && filter=${ORV_TSAN_APP_FILTER:-*Popup*:*LogReopen*}
    if (cd "$dir" && timeout 1200 "$bin" --gtest_filter="$filter" --gtest_output="xml:$dir/test-results/$t.xml") \
         >"$dir/$t.log" 2>&1; then
      echo "   $t ($filter): $(grep -Eo '\[  PASSED  \] [0-9]+ tests?' "$dir/$t.log" | head -1)"
    else
      echo "   $t ($filter): FAILED (see $dir/$t.log)"
      grep -E "\[  FAILED  \]|WARNING: ThreadSanitizer" "$dir/$t.log" | head -20
      rc=1
    fi
  done
  check_reports tsan "$dir" || rc=1
  unset TSAN_OPTIONS
  return $rc
}

mode=${1:-all}
status=0
case $mode in
  asan) run_asan || status=1 ;;
  tsan) run_tsan || status=1 ;;
  all) run_asan || status=1; run_tsan || status=1 ;;
  *) sed -n '2,18p' "$0" | sed 's/^# \{0,1\}//'; exit 2 ;;
esac
echo "sanitizers ($mode): $([ $status -eq 0 ] && echo passed || echo FAILED) in $(( $(date +%s) - started )) s"
exit $status
