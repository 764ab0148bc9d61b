#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (in build-fuzz) and runs each for
# SECONDS_PER_TARGET seconds (default 20), starting from a copy of its seed
# corpus in tests/fuzz/corpus/<target>/, so the repository is never written.
# Prints one line per target and exits non-zero if any target found a crash.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
targets=(encoding_fuzz result_table_fuzz journal_dispatch_fuzz statement_text_fuzz)

scripts/install-deps.sh

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" \
  -DDBI_BUILD_FUZZERS=ON -DDBI_BUILD_TESTS=OFF -DDBI_BUILD_TOOLS=OFF -DDBI_INSTALL=OFF >/dev/null
cmake --build build-fuzz -j2 --target "${targets[@]}"

runs=$PWD/build-fuzz/runs  # absolute: a target may change its working directory
rm -rf "$runs"

# Runs one target; its one-line outcome goes to $runs/<target>/outcome.
fuzz() {
  local target=$1 work="$runs/$1"
  mkdir -p "$work/corpus"
  cp tests/fuzz/corpus/"$target"/* "$work/corpus/"
  if build-fuzz/tests/fuzz/"$target" -max_total_time="$seconds" -print_final_stats=1 \
       -artifact_prefix="$work/" "$work/corpus" >"$work/log" 2>&1; then
    executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
    echo "$target: ${executed:-?} runs, no crash" >"$work/outcome"
  else
    crash=$(find "$work" -maxdepth 1 -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' \
              -o -name 'oom-*' \) | head -n 1)
    { echo "$target: CRASH ${crash:-(no crash file)}; log: $work/log"
      grep -m 5 -E 'ERROR|runtime error|SUMMARY' "$work/log" || true; } >"$work/outcome"
    return 1
  fi
}

# One target per core at a time: each runs on one thread.
cores=$(nproc)
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$cores" ]; do wait -n || true; done
  fuzz "$target" &
done
wait || true
failed=0
for target in "${targets[@]}"; do
  cat "$runs/$target/outcome"
  grep -q CRASH "$runs/$target/outcome" && failed=1
done
exit "$failed"
