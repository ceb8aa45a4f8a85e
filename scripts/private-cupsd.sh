# shellcheck shell=bash
# Sourced by the demo and the print service's shell tests: a CUPS scheduler
# of the caller's own in a folder of its own, so that the machine's CUPS
# (/etc/cups, the system cupsd) is never touched. The same scheduler as the
# C++ tests' private one (tests/service/cups/PrivateCupsd.cpp):
#
#   FOLDER/cupsd.conf        Listen FOLDER/cups.sock, the secure queue's
#                            <Policy orvprint> (service/orvprint-policy.conf)
#   FOLDER/cups-files.conf   ServerRoot, ServerBin, CacheDir, StateDir,
#                            RequestRoot, TempDir and the logs in FOLDER;
#                            SetEnv ORVPRINT_SERVICE_CONF FOLDER/print-service.conf,
#                            the service's state (ORVPRINT_SERVICE_STATE_DIR)
#                            and its default accounting log
#                            (ORVPRINT_ACCOUNTING_LOG) in FOLDER too
#   FOLDER/serverbin         links to /usr/lib/cups, the given orvprint
#                            backend copied 0700 (run as root) and the capture
#                            backend 0755 (run as lp), which copies each job
#                            whole into FOLDER/capture/QUEUE-JOBID (and its
#                            arguments into ...args); the installed
#                            /usr/lib/cups/backend/orvprint is used in place
#                            (linked like the other backends), not copied
#   FOLDER/log/page_log      the page log (billing code = the project)
#
# Functions (each returns non-zero and says why on standard error):
#   private_cupsd_missing_reason           empty when this machine can run one
#   private_cupsd_start FOLDER BACKEND [NAME=VALUE...]
#                                          starts cupsd -f in the background,
#                                          waits (at most 30 s) until it answers
#                                          on its socket; exports CUPS_SERVER;
#                                          PRIVATE_CUPSD_PID is its process id;
#                                          each NAME=VALUE is one more SetEnv
#                                          for the backends
#   private_cupsd_add_secure_queue [NAME]  lpadmin -p NAME (SecurePrint) -E
#                                          -v orvprint:/ -m raw
#                                          -o printer-op-policy=orvprint
#   private_cupsd_add_capture_queue NAME   a printer that captures its jobs
#   private_cupsd_job_state ID             pending, processing, held, completed
#                                          or canceled
#   private_cupsd_wait_for_job ID STATE [S]  waits (at most S seconds, 60) until
#                                          the job is in STATE; prints the state
#   private_cupsd_job_message QUEUE-ID     the job's state message (lpstat)
#   private_cupsd_stop                     ends cupsd by its pid (TERM, then
#                                          KILL after 15 s); the folder stays
#                                          (the caller's)
# BACKEND is this build's build/linux/bin/orvprint or an installed
# /usr/lib/cups/backend/orvprint. Needs root: the scheduler runs the
# backend as root only when it runs as root itself.
# Set before private_cupsd_start: PRIVATE_CUPSD_POLICY, the file with the
# <Policy orvprint> block (default: service/orvprint-policy.conf of this
# tree; the package installs it as /usr/share/orvprintd/orvprint-policy.conf);
# PRIVATE_CUPSD_SERVICE_CONF, the service's configuration instead of
# FOLDER/print-service.conf; PRIVATE_CUPSD_SYSTEM_PATHS=1, the backend's own
# state folder and accounting log (/run/orvprint,
# /var/log/orv-soft/print-service) instead of those in FOLDER (the package
# test, with the installed backend).

PRIVATE_CUPSD_DIR=
PRIVATE_CUPSD_PID=
PRIVATE_CUPSD_POLICY=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/service/orvprint-policy.conf
PRIVATE_CUPSD_SERVICE_CONF=
PRIVATE_CUPSD_SYSTEM_PATHS=

private_cupsd_missing_reason() {
  if [ "$(id -u)" -ne 0 ]; then
    echo "a private cupsd that runs the orvprint backend as root needs root"
    return 0
  fi
  local tool
  for tool in /usr/sbin/cupsd /usr/sbin/lpadmin /usr/bin/lp /usr/bin/lpstat; do
    if [ ! -x "$tool" ]; then
      echo "$tool is missing (scripts/setup.sh installs cups-daemon and cups-client)"
      return 0
    fi
  done
  if [ ! -x /usr/lib/cups/daemon/cups-exec ]; then
    echo "/usr/lib/cups/daemon/cups-exec is missing"
  fi
}

private_cupsd_start() { # FOLDER BACKEND [NAME=VALUE...]
  local dir=$1 backend=$2 entry pair
  shift 2
  if [ ! -d "$dir" ]; then echo "private cupsd: no folder $dir" >&2; return 1; fi
  if [ ! -f "$backend" ]; then echo "private cupsd: no backend $backend" >&2; return 1; fi
  if [ ! -f "$PRIVATE_CUPSD_POLICY" ]; then echo "private cupsd: no policy $PRIVATE_CUPSD_POLICY" >&2; return 1; fi
  dir=$(cd "$dir" && pwd)
  PRIVATE_CUPSD_DIR=$dir
  chmod 0755 "$dir" # the capture backend runs as lp, users connect to the socket
  mkdir -p "$dir"/serverbin/backend "$dir"/serverbin/filter "$dir"/cache "$dir"/state \
    "$dir"/spool/tmp "$dir"/log "$dir"/capture
  chmod 01777 "$dir/capture"
  ln -s /usr/lib/cups/daemon "$dir/serverbin/daemon"
  ln -s /usr/lib/cups/notifier "$dir/serverbin/notifier"
  for entry in /usr/lib/cups/backend/*; do
    [ -e "$entry" ] || continue
    ln -s "$entry" "$dir/serverbin/backend/${entry##*/}"
  done
  if [ "$(realpath "$backend")" != "$(realpath /usr/lib/cups/backend/orvprint 2>/dev/null)" ]; then
    rm -f "$dir/serverbin/backend/orvprint"
    cp "$backend" "$dir/serverbin/backend/orvprint"
    chmod 0700 "$dir/serverbin/backend/orvprint"
  fi
  cat >"$dir/serverbin/backend/capture" <<'BACKEND'
#!/bin/sh
# Test printer: copies the job into the capture folder, whole or not at all.
if [ $# -eq 0 ]; then echo 'direct capture "Unknown" "Test capture"'; exit 0; fi
out="${DEVICE_URI#capture:}/$PRINTER-$1"
if [ -n "$6" ]; then cat "$6" >"$out.part" || exit 1; else cat >"$out.part" || exit 1; fi
printf 'user=%s\ntitle=%s\ncopies=%s\ncontent=%s\n' "$2" "$3" "$4" "$CONTENT_TYPE" >"$out.args"
mv "$out.part" "$out"
exit 0
BACKEND
  chmod 0755 "$dir/serverbin/backend/capture"
  {
    printf 'Listen %s/cups.sock\nLogLevel debug\nMaxLogSize 0\n' "$dir"
    printf '<Location />\n  Order allow,deny\n  Allow all\n</Location>\n'
    cat "$PRIVATE_CUPSD_POLICY"
  } >"$dir/cupsd.conf"
  cat >"$dir/cups-files.conf" <<CONF
ServerRoot $dir
ServerBin $dir/serverbin
DataDir /usr/share/cups
CacheDir $dir/cache
StateDir $dir/state
RequestRoot $dir/spool
TempDir $dir/spool/tmp
AccessLog $dir/log/access_log
ErrorLog $dir/log/error_log
PageLog $dir/log/page_log
SetEnv ORVPRINT_SERVICE_CONF $dir/print-service.conf
SetEnv ORVPRINT_SERVICE_STATE_DIR $dir/service-state
SetEnv ORVPRINT_ACCOUNTING_LOG $dir/accounting/accounting.jsonl
SetEnv ASAN_OPTIONS detect_leaks=0
CONF
  for pair in "$@"; do printf 'SetEnv %s %s\n' "${pair%%=*}" "${pair#*=}" >>"$dir/cups-files.conf"; done
  chmod 0644 "$dir/cupsd.conf" "$dir/cups-files.conf"
  # A later SetEnv of a variable replaces the earlier one.
  if [ -n "$PRIVATE_CUPSD_SERVICE_CONF" ]; then
    printf 'SetEnv ORVPRINT_SERVICE_CONF %s\n' "$PRIVATE_CUPSD_SERVICE_CONF" >>"$dir/cups-files.conf"
  fi
  if [ "$PRIVATE_CUPSD_SYSTEM_PATHS" = 1 ]; then
    printf 'SetEnv ORVPRINT_SERVICE_STATE_DIR /run/orvprint\nSetEnv ORVPRINT_ACCOUNTING_LOG %s\n' \
      /var/log/orv-soft/print-service/accounting.jsonl >>"$dir/cups-files.conf"
  fi

  /usr/sbin/cupsd -f -c "$dir/cupsd.conf" -s "$dir/cups-files.conf" >"$dir/cupsd.out" 2>&1 </dev/null &
  PRIVATE_CUPSD_PID=$!
  export CUPS_SERVER=$dir/cups.sock
  # Ready when it answers on its socket (at most 30 s).
  local deadline=$(($(date +%s) + 30))
  until [ -S "$dir/cups.sock" ] && lpstat -h "$dir/cups.sock" -r 2>/dev/null | grep -qx "scheduler is running"; do
    if ! kill -0 "$PRIVATE_CUPSD_PID" 2>/dev/null; then
      echo "private cupsd: cupsd ended at start; see $dir/cupsd.out:" >&2
      sed 's/^/  /' "$dir/cupsd.out" >&2
      PRIVATE_CUPSD_PID=
      return 1
    fi
    if [ "$(date +%s)" -gt "$deadline" ]; then
      echo "private cupsd: cupsd did not answer on $dir/cups.sock within 30 s" >&2
      return 1
    fi
    sleep 0.05
  done
}

private_cupsd_add_secure_queue() { # [NAME]
  private_cupsd_lpadmin -p "${1:-SecurePrint}" -E -v orvprint:/ -m raw -o printer-op-policy=orvprint
}

private_cupsd_add_capture_queue() { # NAME
  private_cupsd_lpadmin -p "$1" -E -v "capture:$PRIVATE_CUPSD_DIR/capture" -m raw
}

# lpadmin on the private scheduler; its output (CUPS 2.4 warns that raw
# queues are deprecated) only when it fails.
private_cupsd_lpadmin() { # ARGS...
  local out
  if ! out=$(/usr/sbin/lpadmin -h "$PRIVATE_CUPSD_DIR/cups.sock" "$@" 2>&1); then
    echo "private cupsd: lpadmin $*: $out" >&2
    return 1
  fi
}

# The state of job ID, by the scheduler's own log lines at each change
# (lpstat shows no job state).
private_cupsd_job_state() { # ID
  local line
  line=$(grep -oE "\[Job $1\] (Started backend|Job completed\.|Job canceled at printer\.|Job held indefinitely|Job released by user\.)" \
           "$PRIVATE_CUPSD_DIR/log/error_log" 2>/dev/null | tail -n 1)
  case $line in
    *"Started backend") echo processing ;;
    *"Job completed.") echo completed ;;
    *"Job canceled at printer.") echo canceled ;;
    *"Job held indefinitely") echo held ;;
    *) echo pending ;;
  esac
}

private_cupsd_wait_for_job() { # ID STATE [SECONDS]
  local deadline=$(($(date +%s) + ${3:-60})) state
  for (( ; ; )); do
    state=$(private_cupsd_job_state "$1")
    if [ "$state" = "$2" ] || [ "$(date +%s)" -gt "$deadline" ]; then
      echo "$state"
      return 0
    fi
    sleep 0.05
  done
}

# The job's state message (job-printer-state-message), e.g. why it is held.
private_cupsd_job_message() { # QUEUE-ID
  lpstat -h "$PRIVATE_CUPSD_DIR/cups.sock" -W all -l -o "${1%-*}" 2>/dev/null | awk -v job="$1" '
    /^[^ \t]/ { mine = ($1 == job) }
    mine && /^\tStatus: / { sub(/^\tStatus: /, ""); print }'
}

private_cupsd_stop() {
  local pid=$PRIVATE_CUPSD_PID
  [ -n "$pid" ] || return 0
  PRIVATE_CUPSD_PID=
  kill -TERM "$pid" 2>/dev/null || return 0
  local deadline=$(($(date +%s) + 15))
  while kill -0 "$pid" 2>/dev/null; do
    # Reaped here when this shell started it; a zombie of another shell
    # counts as ended once it is no longer running.
    case $(ps -o stat= -p "$pid" 2>/dev/null) in Z*) break ;; esac
    if [ "$(date +%s)" -gt "$deadline" ]; then
      kill -KILL "$pid" 2>/dev/null || true
      break
    fi
    sleep 0.05
  done
  wait "$pid" 2>/dev/null || true
}
