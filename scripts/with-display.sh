#!/usr/bin/env bash
# Runs a command with an X display: the caller's when ORV_USE_DISPLAY is set
# and DISPLAY works, otherwise a private Xvfb server.
set -euo pipefail
if [ -n "${ORV_USE_DISPLAY:-}" ] && [ -n "${DISPLAY:-}" ]; then
  exec "$@"
fi
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$@"
