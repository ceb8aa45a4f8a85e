#!/usr/bin/env bash
# Installs, with apt and only when missing, everything the build, the tests
# and the demo need on a fresh Debian 12 machine. Quiet when all is there.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config
  liblog4cpp5-dev libboost-dev nlohmann-json3-dev
  qt6-base-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  fonts-wqy-microhei xvfb xdotool x11-apps imagemagick
  g++-mingw-w64-x86-64-posix wine64 wine
  clang libclang-rt-14-dev
  dpkg-dev fakeroot lintian wixl msitools
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=sudo
  else
    echo "setup: these packages are missing and installing them needs root:" >&2
    echo "  ${missing[*]}" >&2
    echo "setup: run 'sudo ./scripts/setup.sh' once, then try again." >&2
    exit 1
  fi
else
  SUDO=
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
