# Sourced by demo.sh and the package tests: a private X display, the wait
# until OrvprintD serves the request channel, and the print-option dialog
# found and answered with a key, as a user would.

# Starts Xvfb on a free display (no TCP) and exports DISPLAY; XVFB_PID is its
# process id (the caller ends it).
start_private_xvfb() {
  local number_file
  number_file=$(mktemp)
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$number_file" 2>/dev/null &
  XVFB_PID=$!
  local display_no=
  for _ in $(seq 400); do
    display_no=$(tr -dc '0-9' <"$number_file")
    [ -n "$display_no" ] && break
    kill -0 "$XVFB_PID" 2>/dev/null || break
    sleep 0.05
  done
  rm -f "$number_file"
  [ -n "$display_no" ] || { echo "Xvfb did not start" >&2; return 1; }
  export DISPLAY=:$display_no
}

# Waits (at most 60 s) until the program with process id PID holds the
# existence lock file MUTEX of the request channel (Linux), i.e. serves
# requests. Fails when the program ends first.
wait_until_serving() { # MUTEX PID
  local mutex=$1 pid=$2
  for _ in $(seq 1200); do
    if [ -e "$mutex" ] && ! flock -n "$mutex" true 2>/dev/null; then return 0; fi
    kill -0 "$pid" 2>/dev/null || return 1
    sleep 0.05
  done
  return 1
}

# Prints the id of the visible X window titled TITLE once it is there (at
# most TIMEOUT seconds, default 60).
find_window() { # TITLE [TIMEOUT]
  timeout "${2:-60}" xdotool search --sync --onlyvisible --name "$1" 2>/dev/null | head -1
}

# Presses KEY in window WIN as the keyboard does: the window gets the focus
# and the key goes through XTEST (not to the window directly, which would
# leave the key held down once the window closes).
press_key() { # WIN KEY
  xdotool windowfocus --sync "$1" 2>/dev/null || true
  xdotool key --clearmodifiers "$2"
}
