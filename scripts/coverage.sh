#!/usr/bin/env bash
# Measures how much of the library and tools the native test suite runs:
# builds with gcov instrumentation in build-coverage, runs the tests and
# prints line, function and branch coverage of shlibs/, include/ and tools/
# (branches that only throw or cannot be reached left out). The HTML report
# is build-coverage/coverage/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh gcovr

# ccache's base_dir makes the recorded source paths relative, which gcovr
# cannot resolve; this build keeps them absolute.
unset CCACHE_BASEDIR
build=build-coverage
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=--coverage \
  -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$build" -j2
find "$build" -name '*.gcda' -delete
(cd "$build" && ctest --output-on-failure -j4 --timeout 600)

mkdir -p "$build/coverage"
gcovr --root . --object-directory "$build" \
  --filter 'shlibs/' --filter 'include/' --filter 'tools/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --html-details "$build/coverage/index.html" --print-summary \
  | grep -E '^(lines|functions|branches):'
echo "HTML report: $build/coverage/index.html"
