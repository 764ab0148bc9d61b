#!/usr/bin/env bash
# Builds a sysroot of static SQLite, Boost and libcrypto for a cross target.
# Usage: scripts/cross-sysroot.sh powerpc|s390x SYSROOT WORKDIR
# powerpc: cross-built from Debian's bookworm source packages.
# s390x:   unpacked from Debian's bookworm s390x -dev packages.
# apt runs on a private state under WORKDIR, made from this machine's own
# sources; the system's apt and dpkg configuration are left untouched.
set -euo pipefail

TARGET=${1:?usage: cross-sysroot.sh powerpc|s390x SYSROOT WORKDIR}
SYSROOT=${2:?sysroot dir}
WORK=${3:?work dir}
SUITE=bookworm
JOBS=2

case $TARGET in
  powerpc) TRIPLE=powerpc-linux-gnu OPENSSL_TARGET=linux-ppc B2_ARCH=power ADDRESS_MODEL=32 ;;
  s390x)   TRIPLE=s390x-linux-gnu   OPENSSL_TARGET=linux64-s390x B2_ARCH=s390x ADDRESS_MODEL=64 ;;
  *) echo "unknown target: $TARGET" >&2; exit 2 ;;
esac

APT_DIR=$WORK/apt
APT_OPTS=()

# Private apt state whose sources are the machine's own, with the given Types.
setup_private_apt() {
  local types=$1; shift
  rm -rf "$APT_DIR"
  mkdir -p "$APT_DIR"/{state/lists/partial,cache/archives/partial,parts}
  : > "$APT_DIR/status"
  local f
  for f in /etc/apt/sources.list.d/*.sources; do
    if [ -f "$f" ]; then sed "s/^Types:.*/Types: $types/" "$f"; echo; fi
  done > "$APT_DIR/parts/machine.sources"
  for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    if [ -f "$f" ]; then sed -n "s/^deb /$types /p" "$f"; fi
  done > "$APT_DIR/sources.list"
  APT_OPTS=(-o "Dir::State=$APT_DIR/state" -o "Dir::State::status=$APT_DIR/status"
            -o "Dir::Cache=$APT_DIR/cache" -o "Dir::Etc::SourceList=$APT_DIR/sources.list"
            -o "Dir::Etc::SourceParts=$APT_DIR/parts" -o APT::Sandbox::User=root "$@")
  apt-get -q "${APT_OPTS[@]}" update
}

fetch_sources() {
  mkdir -p "$WORK/src"
  (cd "$WORK/src" && apt-get -q "${APT_OPTS[@]}" source "$@")
}

# SQLite's amalgamation is generated on the host, then compiled for the target
# with the same feature flags Debian's own package uses.
build_sqlite() {
  local src; src=$(echo "$WORK"/src/sqlite3-*/)
  mkdir -p "$src/amalgamation"
  (cd "$src/amalgamation" && ../configure -q --disable-tcl >/dev/null && make -s sqlite3.c)
  local flags; flags=$(grep -o -- '-DSQLITE_[A-Z0-9_]*\(=[0-9]*\)\?' "$src/debian/rules" | sort -u)
  # shellcheck disable=SC2086
  "$TRIPLE-gcc" -O2 -fPIC $flags -c "$src/amalgamation/sqlite3.c" -o "$WORK/sqlite3.o"
  "$TRIPLE-ar" rcs "$SYSROOT/lib/libsqlite3.a" "$WORK/sqlite3.o"
  cp "$src"/amalgamation/sqlite3{,ext}.h "$SYSROOT/include/"
}

# libcrypto alone: the project does not use libssl.
build_openssl() {
  local src; src=$(echo "$WORK"/src/openssl-*/)
  (cd "$src" &&
    ./Configure "$OPENSSL_TARGET" no-shared no-asm no-tests -fPIC \
      --cross-compile-prefix="$TRIPLE-" >/dev/null &&
    make -s -j"$JOBS" build_generated >/dev/null &&
    make -s -j"$JOBS" libcrypto.a >/dev/null)
  cp "$src/libcrypto.a" "$SYSROOT/lib/"
  mkdir -p "$SYSROOT/include/openssl"
  cp "$src"/include/openssl/*.h "$SYSROOT/include/openssl/"
}

# Only the compiled Boost libraries the project links; the rest is headers.
# Debian's source drops b2's generated parser, so it is regenerated first.
build_boost() {
  local src; src=$(echo "$WORK"/src/boost1.74-*/)
  (cd "$src" &&
    bison -y -d -o tools/build/src/engine/jamgram.cpp tools/build/src/engine/jamgram.y &&
    ./bootstrap.sh --with-toolset=gcc &&
    echo "using gcc : cross : $TRIPLE-g++ ;" > "$WORK/user-config.jam" &&
    ./b2 -d0 -j"$JOBS" --user-config="$WORK/user-config.jam" --stagedir="$SYSROOT" \
      toolset=gcc-cross target-os=linux architecture="$B2_ARCH" address-model="$ADDRESS_MODEL" \
      link=static runtime-link=shared threading=multi variant=release cxxflags=-fPIC \
      --with-thread --with-chrono --with-date_time --with-atomic --with-system stage)
  cp -rL "$src/boost" "$SYSROOT/include/"  # the source tree's boost/ is a symlink forest
}

timed() {
  local start=$SECONDS
  "$@"
  echo "-- $1 took $((SECONDS - start))s"
}

from_source() {
  timed setup_private_apt deb-src
  timed fetch_sources "sqlite3/$SUITE" "openssl/$SUITE" "boost1.74/$SUITE"
  # SQLite's amalgamation compiles on one core: it runs beside the others.
  timed build_sqlite > "$WORK/sqlite.log" 2>&1 &
  local sqlite=$!
  timed build_openssl
  timed build_boost
  wait "$sqlite" || { cat "$WORK/sqlite.log" >&2; return 1; }
  cat "$WORK/sqlite.log"
}

# The target's own -dev packages, unpacked (never installed) and flattened into
# include/ and lib/; only static archives are kept so nothing needs loading at run time.
from_binary_packages() {
  setup_private_apt deb -o "APT::Architecture=$TARGET" -o "APT::Architectures::=$TARGET"
  local debs=$WORK/debs root=$WORK/root deb
  mkdir -p "$debs" "$root"
  (cd "$debs" && apt-get -q "${APT_OPTS[@]}" download libsqlite3-dev libssl-dev libboost1.74-dev \
    libboost-{thread,chrono,date-time,atomic,system}1.74-dev)
  for deb in "$debs"/*.deb; do dpkg -x "$deb" "$root"; done
  cp -a "$root/usr/include/." "$root/usr/include/$TRIPLE/." "$SYSROOT/include/"
  rm -rf "${SYSROOT:?}/include/$TRIPLE"
  cp -a "$root/usr/lib/$TRIPLE/"*.a "$SYSROOT/lib/"
}

rm -rf "$SYSROOT" "$WORK"
mkdir -p "$SYSROOT/include" "$SYSROOT/lib" "$WORK"
case $TARGET in
  powerpc) from_source ;;
  s390x)   from_binary_packages ;;
esac
