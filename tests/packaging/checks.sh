# Sourced by the package tests: named checks, counted, and the summary line
# that scripts/test.sh reads ("NAME: P passed, F failed, S skipped").

CHECKS_PASSED=0
CHECKS_FAILED=0
CHECKS_SKIPPED=0

# Runs a command; passes when it succeeds.
check() { # DESCRIPTION COMMAND...
  local what=$1; shift
  if "$@" >/dev/null 2>&1; then
    CHECKS_PASSED=$((CHECKS_PASSED + 1)); echo "   ok      $what"
  else
    CHECKS_FAILED=$((CHECKS_FAILED + 1)); echo "   FAILED  $what"
  fi
}

# Passes when ACTUAL equals EXPECTED exactly; shows both when not.
check_eq() { # DESCRIPTION EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    CHECKS_PASSED=$((CHECKS_PASSED + 1)); echo "   ok      $1"
  else
    CHECKS_FAILED=$((CHECKS_FAILED + 1)); echo "   FAILED  $1"
    echo "           expected: $2"
    echo "           actual:   $3"
  fi
}

# One check that this system cannot make: counted as skipped, with the reason.
skip_check() { # DESCRIPTION REASON
  CHECKS_SKIPPED=$((CHECKS_SKIPPED + 1)); echo "   skipped $1: $2"
}

skip_all() { # NAME REASON
  CHECKS_SKIPPED=$((CHECKS_SKIPPED + 1))
  echo "$1: skipped: $2"
}

# Milliseconds since the epoch.
now_ms() { echo $(( $(date +%s%N) / 1000000 )); }

summary_line() { # NAME
  echo "$1: $CHECKS_PASSED passed, $CHECKS_FAILED failed, $CHECKS_SKIPPED skipped"
  [ "$CHECKS_FAILED" -eq 0 ]
}
