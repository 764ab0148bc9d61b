#!/usr/bin/env bash
# Installs what is missing, then builds dbi and runs the whole test suite:
#   1. native build (with tools and benchmarks), its tests (the Debian
#      packages' among them) and the API reference,
#   2. the same under AddressSanitizer + UndefinedBehaviorSanitizer,
#   3. under ThreadSanitizer,
#   4. a short run of the libFuzzer targets (clang build),
#   5. cross-built for 32-bit big-endian PowerPC, tests run under qemu.
# DBI_TEST_SANITIZERS=0 skips 2 and 3, DBI_TEST_FUZZ=0 skips 4,
# DBI_TEST_CROSS=0 skips 5.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

timings=()
run_suite() {  # build-dir, extra cmake arguments...
  local dir=$1 start=$SECONDS; shift
  echo "==> $dir"
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$dir" -j2
  # Many tests only wait for the dispatcher's poll, so they run four at a time.
  (cd "$dir" && ctest --output-on-failure -j4 --timeout 600)
  timings+=("$dir: $((SECONDS - start)) s")
}

run_suite build -DDBI_BUILD_BENCHMARKS=ON
# The API reference builds without a Doxygen warning.
cmake --build build --target docs
if [ "${DBI_TEST_SANITIZERS:-1}" != 0 ]; then
  # Sanitizers find faults at -O1 as well, and line tables are enough for
  # their reports; both keep these builds several minutes shorter.
  sanitized=(-DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG")
  run_suite build-asan -DDBI_SANITIZE=address,undefined "${sanitized[@]}"
  run_suite build-tsan -DDBI_SANITIZE=thread "${sanitized[@]}"
fi
if [ "${DBI_TEST_FUZZ:-1}" != 0 ]; then
  start=$SECONDS
  scripts/fuzz.sh 10
  timings+=("fuzzing: $((SECONDS - start)) s")
fi
if [ "${DBI_TEST_CROSS:-1}" != 0 ]; then
  start=$SECONDS
  # CI proves the target from scratch; developers reuse the built sysroot.
  if [ -n "${CI:-}" ]; then
    DBI_CROSS_CACHE=$(mktemp -d)
    export DBI_CROSS_CACHE
  fi
  scripts/cross-test.sh powerpc
  timings+=("powerpc under qemu: $((SECONDS - start)) s")
fi
printf '%s\n' "${timings[@]}"
scripts/test-size.sh
