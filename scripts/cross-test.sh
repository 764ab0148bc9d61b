#!/usr/bin/env bash
# Cross-builds dbi for a big-endian target, runs its tests under qemu-user,
# then builds the target's Debian packages from the same tree and runs the
# unpacked dbictl under qemu-user.
# Usage: scripts/cross-test.sh powerpc|s390x
# Env: DBI_CROSS_CACHE (sysroot cache, default ~/.cache/dbi-cross),
#      DBI_CROSS_BUILD_DIR (default build-cross-<target> in the repository),
#      DBI_CROSS_FLAGS (compiler flags, default "-O2 -DNDEBUG": the target's
#      optimisation without debug information, which qemu runs do not need).
set -euo pipefail

TARGET=${1:-}
case $TARGET in
  powerpc) TRIPLE=powerpc-linux-gnu QEMU=qemu-ppc ;;
  s390x)   TRIPLE=s390x-linux-gnu   QEMU=qemu-s390x ;;
  *) echo "usage: $0 powerpc|s390x" >&2; exit 2 ;;
esac

REPO=$(cd "$(dirname "$0")/.." && pwd)
CACHE=${DBI_CROSS_CACHE:-$HOME/.cache/dbi-cross}/$TARGET
SYSROOT=$CACHE/sysroot
STAMP=$CACHE/sysroot.stamp
BUILD_DIR=${DBI_CROSS_BUILD_DIR:-$REPO/build-cross-$TARGET}
GTEST_SOURCE_DIR=/usr/src/googletest
JOBS=2

TIMINGS=()
phase() {
  local name=$1 start=$SECONDS; shift
  echo "==> $name"
  "$@"
  TIMINGS+=("$name: $((SECONDS - start))s")
  echo "==> $name took $((SECONDS - start))s"
}
print_timings() {
  [ ${#TIMINGS[@]} -eq 0 ] || printf 'phase timing: %s\n' "${TIMINGS[@]}"
}
trap print_timings EXIT

# Host tools, each as command:package; apt runs only when one is missing.
install_tools() {
  local pair missing=()
  for pair in "$TRIPLE-g++:g++-$TRIPLE" "$QEMU:qemu-user" cmake:cmake make:make g++:g++ \
              perl:perl tclsh:tcl bison:bison xz:xz-utils dpkg-source:dpkg-dev \
              lintian:lintian file:file; do
    command -v "${pair%%:*}" >/dev/null || missing+=("${pair#*:}")
  done
  [ -f "$GTEST_SOURCE_DIR/CMakeLists.txt" ] || missing+=(googletest)
  [ ${#missing[@]} -eq 0 ] && return
  export DEBIAN_FRONTEND=noninteractive
  apt-get -o DPkg::Lock::Timeout=600 update -q
  apt-get -o DPkg::Lock::Timeout=600 install -y -q --no-install-recommends "${missing[@]}"
}

# The stamp, written last, records which recipe built the sysroot; a missing
# or different stamp means a partial or stale sysroot, which is rebuilt.
sysroot_key() {
  echo "$TARGET $(sha256sum < "$REPO/scripts/cross-sysroot.sh")"
}
ensure_sysroot() {
  if [ -f "$STAMP" ] && [ "$(cat "$STAMP")" = "$(sysroot_key)" ]; then
    echo "reusing $SYSROOT"
    return
  fi
  rm -f "$STAMP"
  "$REPO/scripts/cross-sysroot.sh" "$TARGET" "$SYSROOT" "$CACHE/work"
  rm -rf "$CACHE/work"
  sysroot_key > "$STAMP"
}

configure_project() {
  cmake -S "$REPO" -B "$BUILD_DIR" \
    -DCMAKE_TOOLCHAIN_FILE="$REPO/cmake/toolchains/$TRIPLE.cmake" \
    -DDBI_CROSS_SYSROOT="$SYSROOT" \
    -DDBI_GTEST_SOURCE_DIR="$GTEST_SOURCE_DIR" \
    -DDBI_BUILD_TESTS=ON -DDBI_BUILD_TOOLS=ON -DDBI_BUILD_BENCHMARKS=OFF \
    -DCMAKE_INSTALL_PREFIX=/usr -DDBI_DEB_ARCHITECTURE="$TARGET" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="${DBI_CROSS_FLAGS:--O2 -DNDEBUG}"
}

build_project() {
  cmake --build "$BUILD_DIR" -j"$JOBS"
}

run_tests() {
  ctest --test-dir "$BUILD_DIR" --output-on-failure -j"$JOBS"
}

# The packages as the controller would install them: unpacked side by side,
# the unpacked dbictl finds the unpacked libdbi and runs against a new database.
check_packages() {
  local packages=$BUILD_DIR/packages unpacked=$BUILD_DIR/packages/unpacked deb libdir
  DBI_PACKAGE_BUILD_DIR=$BUILD_DIR DBI_PACKAGE_DIR=$packages "$REPO/scripts/package.sh" "$TARGET"
  rm -rf "$unpacked"
  for deb in "$packages"/*.deb; do dpkg-deb -x "$deb" "$unpacked"; done
  libdir=$(dirname "$(find "$unpacked" -name 'libdbi.so.*' -type f | head -1)")
  local dbictl=("$QEMU" -L "/usr/$TRIPLE" -E "LD_LIBRARY_PATH=$libdir" "$unpacked/usr/bin/dbictl")
  "${dbictl[@]}" --version
  "${dbictl[@]}" init "$unpacked/check.db"
  "${dbictl[@]}" check "$unpacked/check.db"
}

phase "install tools" install_tools
phase "sysroot" ensure_sysroot
phase "configure" configure_project
phase "build" build_project
phase "tests under $QEMU" run_tests
phase "packages" check_packages
