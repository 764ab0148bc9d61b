#!/usr/bin/env bash
# Installs the Debian packages needed to build, test and run dbi.
# Idempotent: when every package is already installed it does nothing.
# Extra package names on the command line are installed too (the
# reliability script asks for valgrind this way).
set -euo pipefail

PACKAGES=(
  build-essential cmake pkg-config
  libsqlite3-dev sqlite3
  libboost-thread-dev libboost-date-time-dev libboost-chrono-dev libboost-dev
  libssl-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev libsqlitecpp-dev libsoci-dev
  clang libclang-rt-14-dev
  dpkg-dev file lintian doxygen
  "$@"
)

missing=()
for pkg in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get -o DPkg::Lock::Timeout=600 update -qq
$SUDO apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}"
