#!/usr/bin/env bash
# Builds the two packages of OrvprintD into build/packages/:
#   orvprintd_<version>_amd64.deb  (Linux build, CPack DEB, checked by lintian)
#   OrvprintD-<version>-x64.msi    (MinGW-w64 build, wixl)
# The version is the project's (CMakeLists.txt). Builds only the programs the
# packages hold, in build/linux and build/windows (configured when missing).
#
#   package.sh [--version X.Y.Z --out DIR] [--deb-only | --msi-only]
#
# --version builds packages of another version (for upgrade tests) in build
# folders of their own under build/packages/, into DIR.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build_root=${ORV_BUILD_ROOT:-$root/build}
out=$build_root/packages
version=
want_deb=1
want_msi=1
while [ $# -gt 0 ]; do
  case "$1" in
    --version) version=$2; shift 2 ;;
    --out) out=$2; shift 2 ;;
    --deb-only) want_msi=0; shift ;;
    --msi-only) want_deb=0; shift ;;
    *) echo "usage: package.sh [--version X.Y.Z --out DIR] [--deb-only | --msi-only]" >&2; exit 2 ;;
  esac
done

"$root/scripts/setup.sh"
jobs=${ORV_JOBS:-$(nproc 2>/dev/null || echo 2)}
mkdir -p "$out"
out=$(cd "$out" && pwd)

if [ -n "$version" ]; then
  linux_dir=$build_root/packages/build-$version/linux
  win_dir=$build_root/packages/build-$version/windows
  override=(-DORV_VERSION_OVERRIDE="$version")
else
  linux_dir=$build_root/linux
  win_dir=$build_root/windows
  override=()
fi

configure() { # dir extra-args...
  local dir=$1; shift
  if [ ! -f "$dir/build.ninja" ] || [ ${#override[@]} -gt 0 ]; then
    mkdir -p "$dir"
    cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${override[@]}" "$@" >"$dir.package-configure.log" 2>&1 \
      || { cat "$dir.package-configure.log"; return 1; }
  fi
}

if [ $want_deb -eq 1 ]; then
  configure "$linux_dir"
  cmake --build "$linux_dir" -j "$jobs" --target OrvprintD orvprint-send orvprint-config orvprint >"$linux_dir.package-build.log" 2>&1 \
    || { tail -40 "$linux_dir.package-build.log"; echo "package: Linux build FAILED"; exit 1; }
  v=$(cat "$linux_dir/orv-version.txt")
  deb=orvprintd_${v}_amd64.deb
  rm -f "$linux_dir/packages/$deb"
  (cd "$linux_dir" && cpack -G DEB --config CPackConfig.cmake) >"$linux_dir.cpack.log" 2>&1 \
    || { cat "$linux_dir.cpack.log"; echo "package: cpack FAILED"; exit 1; }
  mv -f "$linux_dir/packages/$deb" "$out/$deb"
  lintian_log=$out/$deb.lintian.txt
  lintian --tag-display-limit 0 "$out/$deb" >"$lintian_log" 2>&1 || true
  errors=$(grep -c '^E: ' "$lintian_log" || true)
  warnings=$(grep -c '^W: ' "$lintian_log" || true)
  echo "package: $out/$deb ($(stat -c %s "$out/$deb") bytes); lintian: $errors errors, $warnings warnings"
  sed 's/^/   /' "$lintian_log"
  if [ "$errors" -ne 0 ]; then
    echo "package: lintian reports errors"; exit 1
  fi
fi

if [ $want_msi -eq 1 ]; then
  configure "$win_dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake"
  cmake --build "$win_dir" -j "$jobs" --target OrvprintD orvprint-folders >"$win_dir.package-build.log" 2>&1 \
    || { tail -40 "$win_dir.package-build.log"; echo "package: Windows build FAILED"; exit 1; }
  v=$(cat "$win_dir/orv-version.txt")
  msi=OrvprintD-${v}-x64.msi
  stage=$win_dir/msi-stage
  rm -rf "$stage"
  cmake --install "$win_dir" --prefix "$stage" --strip >/dev/null
  rm -f "$out/$msi"
  # wixl takes the files' paths relative to where it runs.
  (cd "$stage" && wixl -a x64 -D Version="$v" -D StageDir=. -o "$out/$msi" "$root/packaging/windows/OrvprintD.wxs" 2>&1 \
     | grep -v "no property named 'Platform'" | grep -v '^$' || true)
  [ -s "$out/$msi" ] || { echo "package: wixl FAILED"; exit 1; }
  # The rows wixl has no elements for.
  while IFS= read -r query; do
    case "$query" in ''|--*) continue ;; esac
    msibuild "$out/$msi" -q "$query"
  done <"$root/packaging/windows/OrvprintD-additions.sql"
  echo "package: $out/$msi ($(stat -c %s "$out/$msi") bytes)"
fi
