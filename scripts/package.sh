#!/usr/bin/env bash
# Builds the Debian packages libdbi1, libdbi-dev and dbi-tools and checks
# them with lintian.
# Usage: scripts/package.sh [powerpc]   (default: this machine's architecture)
# Env: DBI_PACKAGE_DIR  where the .deb files go (default packages/ in the repository),
#      DBI_PACKAGE_BUILD_DIR  build tree (default build-package[-<target>]); a tree
#        configured already (scripts/cross-test.sh's) is packaged as it stands.
# A powerpc build needs the cross sysroot of scripts/cross-test.sh.
set -euo pipefail

TARGET=${1:-native}
REPO=$(cd "$(dirname "$0")/.." && pwd)
OUT=${DBI_PACKAGE_DIR:-$REPO/packages}
cmake_args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr
            -DDBI_BUILD_TESTS=OFF -DDBI_BUILD_TOOLS=ON -DDBI_BUILD_BENCHMARKS=OFF)
command -v ccache >/dev/null && cmake_args+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

case $TARGET in
  native) BUILD_DIR=${DBI_PACKAGE_BUILD_DIR:-$REPO/build-package} ;;
  powerpc)
    BUILD_DIR=${DBI_PACKAGE_BUILD_DIR:-$REPO/build-package-powerpc}
    sysroot=${DBI_CROSS_CACHE:-$HOME/.cache/dbi-cross}/powerpc/sysroot
    [ -d "$sysroot" ] || { echo "no PowerPC sysroot at $sysroot: run scripts/cross-test.sh powerpc first" >&2; exit 1; }
    cmake_args+=(-DCMAKE_TOOLCHAIN_FILE="$REPO/cmake/toolchains/powerpc-linux-gnu.cmake" -DDBI_DEB_ARCHITECTURE=powerpc)
    # CPack's dpkg-shlibdeps runs for the target, see cmake/debian/cross-shlibdeps.sh.
    shim=$(mktemp -d)
    trap 'rm -rf "$shim"' EXIT
    ln -s "$REPO/cmake/debian/cross-shlibdeps.sh" "$shim/dpkg-shlibdeps"
    export PATH="$shim:$PATH" DBI_DEB_HOST_ARCH=powerpc
    ;;
  *) echo "usage: $0 [powerpc]" >&2; exit 2 ;;
esac

[ -f "$BUILD_DIR/CMakeCache.txt" ] && [ -n "${DBI_PACKAGE_BUILD_DIR:-}" ] ||
  cmake -S "$REPO" -B "$BUILD_DIR" "${cmake_args[@]}" >/dev/null
cmake --build "$BUILD_DIR" -j2
mkdir -p "$OUT" && rm -f "$OUT"/*.deb
staging=$(mktemp -d)
(cd "$BUILD_DIR" && cpack -G DEB -B "$staging" >/dev/null)
mv "$staging"/*.deb "$OUT"/ && rm -rf "$staging"

for deb in "$OUT"/*.deb; do
  echo "$(basename "$deb"):"
  dpkg-deb -f "$deb" Package Version Architecture Section Depends | sed 's/^/  /'
done
# Errors fail the build; warnings are shown.
lintian --fail-on error --suppress-tags-from-file /dev/null "$OUT"/*.deb
