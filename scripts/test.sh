#!/usr/bin/env bash
# Installs what is missing, builds dbi and runs the whole test suite.
#   scripts/test.sh            native build and tests
# Set DBI_TEST_SANITIZERS=0 to skip the sanitizer builds.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

run_suite() {  # build-dir, extra cmake arguments...
  local dir=$1; shift
  local start=$SECONDS
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$dir" -j2
  (cd "$dir" && ctest --output-on-failure -j2 --timeout 600)
  echo "== $dir: $((SECONDS - start)) s"
}

run_suite build
if [ "${DBI_TEST_SANITIZERS:-1}" != 0 ]; then
  run_suite build-asan -DDBI_SANITIZE=address,undefined -DDBI_BUILD_TOOLS=ON
fi
