#!/usr/bin/env bash
# Installs, with apt and only when missing, everything the build, the tests
# and the demo need on a fresh Debian 12 machine. Quiet when all is there.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config ccache
  liblog4cpp5-dev libboost-dev nlohmann-json3-dev
  qt6-base-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  fonts-wqy-microhei xvfb xdotool x11-apps x11-utils x11-xserver-utils imagemagick procps
  g++-mingw-w64-x86-64-posix wine64 wine
  clang libclang-rt-14-dev
  locales
  libcups2-dev libqpdf-dev cups-daemon cups-client
  dpkg-dev fakeroot lintian wixl msitools
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

# Wine takes a Chinese system's code page (936) from the zh_CN.UTF-8 locale,
# which a test of the Windows build runs in.
need_locale=0
if ! locale -a 2>/dev/null | grep -qi '^zh_CN\.utf-\?8$'; then
  need_locale=1
fi

[ ${#missing[@]} -eq 0 ] && [ $need_locale -eq 0 ] && exit 0

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

export DEBIAN_FRONTEND=noninteractive
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
if [ $need_locale -eq 1 ]; then
  echo "setup: generating the locale zh_CN.UTF-8"
  $SUDO localedef -i zh_CN -f UTF-8 zh_CN.UTF-8
fi
echo "setup: done"
