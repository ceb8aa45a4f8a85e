#!/usr/bin/env bash
# Fuzz harnesses of tests/fuzz: libFuzzer with AddressSanitizer and
# UndefinedBehaviorSanitizer, built with clang in <build root>/fuzz (Linux).
#
#   scripts/fuzz.sh replay                 build, then run every harness once
#                                          over its corpus; non-zero on a crash
#   scripts/fuzz.sh run SECONDS [NAME...]  fuzz each harness (or the ones named,
#                                          e.g. records) for SECONDS, one after
#                                          the other; new inputs that add
#                                          coverage are merged into the corpus
#   scripts/fuzz.sh merge [NAME...]        minimise the corpora (-merge=1)
#   scripts/fuzz.sh build                  build only
#
# Corpora: tests/fuzz/corpus/<name>/, dictionaries: tests/fuzz/dict/<name>.dict.
# Crashes are written to <build root>/fuzz/artifacts/ and stop the run.
# Environment: ORV_BUILD_ROOT (default build), ORV_JOBS (default 2),
# ORV_FUZZ_NICE (default 10), ORV_FUZZ_TMPDIR (default /dev/shm).
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build_root=${ORV_BUILD_ROOT:-$root/build}
dir=$build_root/fuzz
jobs=${ORV_JOBS:-2}
nice_level=${ORV_FUZZ_NICE:-10}
fuzz_src=$root/tests/fuzz
corpus_root=$fuzz_src/corpus
artifacts=$dir/artifacts

# The harnesses that write files (Config.ini, LogConfig.conf) write them to
# a folder of their own under TMPDIR: memory-backed where there is one.
if [ -z "${ORV_FUZZ_TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then
  ORV_FUZZ_TMPDIR=/dev/shm
fi
export TMPDIR=${ORV_FUZZ_TMPDIR:-${TMPDIR:-/tmp}}

# Any sanitizer report ends the harness with an error.
export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1:allocator_may_return_null=1:detect_stack_use_after_return=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}

usage() { sed -n '2,16p' "$0" | sed 's/^# \{0,1\}//'; exit 2; }

build() {
  mkdir -p "$build_root"
  if ! command -v clang++ >/dev/null 2>&1; then
    echo "fuzz: clang++ is missing (apt: clang libclang-rt-14-dev)"; return 1
  fi
  echo "== fuzz: configure and build ($dir)"
  if ! cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
       -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
       -DORV_FUZZ=ON -DORV_SANITIZE=address,undefined >"$dir.configure.log" 2>&1; then
    cat "$dir.configure.log"; echo "fuzz: configure FAILED"; return 1
  fi
  if ! cmake --build "$dir" -j "$jobs" --target orv_fuzzers >"$dir.build.log" 2>&1; then
    grep -E "error|Error|FAILED" "$dir.build.log" | head -40; echo "fuzz: build FAILED (see $dir.build.log)"; return 1
  fi
}

# Harness names: those asked for, else all that were built.
harnesses() {
  if [ $# -gt 0 ]; then
    for n in "$@"; do echo "${n%_fuzzer}"; done
    return
  fi
  for f in "$dir"/tests/fuzz/*_fuzzer; do
    [ -x "$f" ] || continue
    n=$(basename "$f"); echo "${n%_fuzzer}"
  done
}

# Options of one harness: its dictionary and input size limit.
options() { # name
  local name=$1 opts=()
  [ -f "$fuzz_src/dict/$name.dict" ] && opts+=("-dict=$fuzz_src/dict/$name.dict")
  case $name in
    records) opts+=(-max_len=8192) ;;   # a whole printer record
    *) opts+=(-max_len=4096) ;;
  esac
  echo "${opts[@]}"
}

replay() {
  local status=0 name bin passed=0 failed=0
  for name in $(harnesses "$@"); do
    bin=$dir/tests/fuzz/${name}_fuzzer
    [ -x "$bin" ] || { echo "fuzz: $name: no harness"; status=1; failed=$((failed + 1)); continue; }
    mkdir -p "$corpus_root/$name" "$artifacts"
    local n; n=$(find "$corpus_root/$name" -type f | wc -l)
    if (cd "$dir" && "$bin" $(options "$name") -runs=0 -timeout=60 -artifact_prefix="$artifacts/$name-" \
          "$corpus_root/$name") >"$dir/replay-$name.log" 2>&1; then
      echo "fuzz: $name: $n inputs replayed, no finding"
      passed=$((passed + 1))
    else
      failed=$((failed + 1))
      echo "fuzz: $name: FAILED (see $dir/replay-$name.log)"
      grep -E "ERROR|SUMMARY|check failed|runtime error|Test unit written" "$dir/replay-$name.log" | head -20
      status=1
    fi
  done
  # One line in the form of the test summaries (harnesses as tests).
  echo "fuzz replay: $passed passed, $failed failed, 0 skipped"
  return $status
}

merge_into_corpus() { # name [extra corpus dirs...]
  local name=$1; shift
  local bin=$dir/tests/fuzz/${name}_fuzzer merged=$dir/merged/$name
  rm -rf "$merged"; mkdir -p "$merged"
  (cd "$dir" && "$bin" $(options "$name") -merge=1 "$merged" "$corpus_root/$name" "$@") \
    >"$dir/merge-$name.log" 2>&1 || { echo "fuzz: $name: merge FAILED (see $dir/merge-$name.log)"; return 1; }
  rm -rf "$corpus_root/$name"; mkdir -p "$corpus_root/$name"
  cp "$merged"/* "$corpus_root/$name"/ 2>/dev/null || true
  echo "fuzz: $name: corpus $(find "$corpus_root/$name" -type f | wc -l) inputs, $(cat "$corpus_root/$name"/* 2>/dev/null | wc -c) bytes"
}

run() { # seconds names...
  local seconds=$1; shift
  local status=0 name bin work
  for name in $(harnesses "$@"); do
    bin=$dir/tests/fuzz/${name}_fuzzer
    [ -x "$bin" ] || { echo "fuzz: $name: no harness"; status=1; continue; }
    work=$dir/work/$name
    mkdir -p "$work" "$corpus_root/$name" "$artifacts"
    echo "== fuzz: $name for $seconds s"
    (cd "$dir" && nice -n "$nice_level" "$bin" $(options "$name") -max_total_time="$seconds" -timeout=20 \
        -rss_limit_mb=2560 -print_final_stats=1 -artifact_prefix="$artifacts/$name-" \
        "$work" "$corpus_root/$name") >"$dir/run-$name.log" 2>&1
    local rc=$?
    grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+.*DONE" "$dir/run-$name.log" | sed "s/^/   $name: /"
    if [ $rc -ne 0 ]; then
      echo "fuzz: $name: FINDING (see $dir/run-$name.log)"
      grep -E "ERROR|SUMMARY|check failed|runtime error|Test unit written|timeout" "$dir/run-$name.log" | head -20
      status=1
    fi
    merge_into_corpus "$name" "$work" || status=1
  done
  return $status
}

mode=${1:-}
[ -n "$mode" ] || usage
shift
case $mode in
  build) build ;;
  replay)
    if ! build; then
      echo "fuzz replay: 0 passed, 1 failed, 0 skipped"
      exit 1
    fi
    replay "$@" ;;
  run)
    [ $# -ge 1 ] || usage
    seconds=$1; shift
    build && run "$seconds" "$@" ;;
  merge)
    build || exit 1
    status=0
    for name in $(harnesses "$@"); do merge_into_corpus "$name" || status=1; done
    exit $status ;;
  *) usage ;;
esac
