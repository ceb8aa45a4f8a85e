# shellcheck shell=bash
# Sourced by the scripts and tests that look at a user's OrvprintD channel.
#
#   orv_channel_folder USER HOME   the private folder of USER's channel, where
#                                  OrvprintD and the print service's worker
#                                  find it: the session's runtime folder when
#                                  it is the user's own, else
#                                  /tmp/orvprint-UID, else HOME/.cache/orv-soft/run
orv_channel_folder() { # USER HOME
  local uid
  uid=$(id -u "$1")
  if [ -d "/run/user/$uid" ] && [ "$(stat -c '%u %a' "/run/user/$uid")" = "$uid 700" ]; then
    echo "/run/user/$uid"
  elif [ "$(stat -c '%u %a %F' "/tmp/orvprint-$uid" 2>/dev/null)" = "$uid 700 directory" ] ||
       [ ! -e "/tmp/orvprint-$uid" ]; then
    echo "/tmp/orvprint-$uid"
  else
    echo "$2/.cache/orv-soft/run"
  fi
}
