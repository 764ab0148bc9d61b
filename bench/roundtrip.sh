#!/usr/bin/env bash
# Command round trip between two processes (`dbictl respond` answering,
# `dbictl send` asking) in the default mode and with fast wake (--wake 5),
# and the CPU an idle dispatcher uses in each mode. Prints a markdown
# section on stdout; progress goes to stderr.
#
#   bench/roundtrip.sh [PATH-TO-DBICTL]
#
# Without a path it builds dbictl in build-bench. COUNT (default 20) sets
# the commands per mode, IDLE_SECONDS (default 30) the idle measurement,
# DB_DIR the folder of the database file (default: a new one under /tmp;
# a tmpfs such as /dev/shm takes the disk's fsync out of the numbers).
set -euo pipefail
cd "$(dirname "$0")/.."

count=${COUNT:-20}
idleSeconds=${IDLE_SECONDS:-30}
wake=5

dbictl=${1:-}
if [ -z "$dbictl" ]; then
  [ -f build-bench/CMakeCache.txt ] || cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release >&2
  cmake --build build-bench -j2 --target dbictl >&2
  dbictl=build-bench/tools/dbictl
fi

workdir=$(mktemp -d "${DB_DIR:-/tmp}/dbi-roundtrip-XXXXXX")
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$workdir"
}
trap cleanup EXIT

db="$workdir/bench.db"
"$dbictl" init "$db" >/dev/null

# Starts a responder with the given extra options; its pid goes to $started.
startResponder() {
  local log="$workdir/responder-${#pids[@]}.log"
  "$dbictl" respond "$db" --endpoint 1 --operation 1 "$@" >"$log" &
  started=$!
  pids+=("$started")
  until grep -q answering "$log" 2>/dev/null; do sleep 0.1; done
}

stopResponder() { kill "$1"; wait "$1" 2>/dev/null || true; }

# $1 divided by $2, with one decimal.
divide() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.1f", a / b}'; }

# Nearest-rank percentile $1 of the numbers in file $2.
percentile() { sort -n "$2" | awk -v p="$1" '{v[NR]=$1} END {i=int((p*NR+99)/100); printf "%.1f", v[i]}'; }

# Sends $count commands with the given extra options; writes the round trips
# sendCommand reported to $workdir/$name.rt and whole-process times to .wall.
measureRoundTrips() {
  local name=$1; shift
  startResponder "$@"
  local responder=$started
  : >"$workdir/$name.rt"; : >"$workdir/$name.wall"
  for i in $(seq "$count"); do
    local start end
    start=$(date +%s%N)
    "$dbictl" send "$db" --source 1 --operation 1 --target 5 --timeout 30 "$@" >"$workdir/send.log"
    end=$(date +%s%N)
    sed -n 's/^ *round trip \([0-9.]*\) ms$/\1/p' "$workdir/send.log" >>"$workdir/$name.rt"
    divide $((end - start)) 1000000 >>"$workdir/$name.wall"
    echo >>"$workdir/$name.wall"
    echo "  $name $i/$count: $(tail -1 "$workdir/$name.rt") ms" >&2
  done
  stopResponder "$responder"
}

# CPU time (user + system, in clock ticks) of process $1 so far.
cpuTicks() { awk '{print $14 + $15}' "/proc/$1/stat"; }

# Percent of one core that idle responders used over $idleSeconds: one in
# the default mode, one with fast wake, measured side by side.
measureIdle() {
  local quiet waking quietStart wakingStart
  startResponder; quiet=$started
  startResponder --wake "$wake"; waking=$started
  sleep 1
  quietStart=$(cpuTicks "$quiet"); wakingStart=$(cpuTicks "$waking")
  echo "  idle responders: measuring for $idleSeconds s" >&2
  sleep "$idleSeconds"
  local ticksPerSecond
  ticksPerSecond=$(getconf CLK_TCK)
  idleDefault=$(divide $(( ($(cpuTicks "$quiet") - quietStart) * 100 )) $((ticksPerSecond * idleSeconds)))
  idleWake=$(divide $(( ($(cpuTicks "$waking") - wakingStart) * 100 )) $((ticksPerSecond * idleSeconds)))
  stopResponder "$quiet"; stopResponder "$waking"
}

echo "default mode: $count commands (about 5 s each)" >&2
measureRoundTrips default
echo "fast wake (--wake $wake): $count commands" >&2
measureRoundTrips wake --wake "$wake"
measureIdle

verdict() { awk -v v="$1" -v limit="$2" 'BEGIN {print (v + 0 <= limit + 0) ? "met" : "missed"}'; }
rtP50=$(percentile 50 "$workdir/wake.rt")
rtP95=$(percentile 95 "$workdir/wake.rt")

cat <<EOF
## Command round trip between two processes

\`dbictl respond\` answers, \`dbictl send\` asks, both on one database file;
$count commands per mode, both processes in the same mode. "Round trip" is
the time \`sendCommand\` took (insert to answer); "whole send" adds the
process's start, dispatcher set-up and exit. Idle CPU: a responder waiting
with nothing to do, from its CPU time in /proc over $idleSeconds s.
Database on $(df --output=fstype "$workdir" | tail -1); machine: $(nproc) cores, load average
$(cut -d' ' -f1-3 /proc/loadavg) at the end.

| | default (5 s poll) | \`--wake $wake\` |
|---|---:|---:|
| round trip p50 | $(percentile 50 "$workdir/default.rt") ms | $rtP50 ms |
| round trip p95 | $(percentile 95 "$workdir/default.rt") ms | $rtP95 ms |
| whole send p50 | $(percentile 50 "$workdir/default.wall") ms | $(percentile 50 "$workdir/wake.wall") ms |
| whole send p95 | $(percentile 95 "$workdir/default.wall") ms | $(percentile 95 "$workdir/wake.wall") ms |
| idle dispatcher CPU | $idleDefault % of a core | $idleWake % of a core |

Targets with \`--wake $wake\`: round trip p50 <= 25 ms ($(verdict "$rtP50" 25)),
p95 <= 50 ms ($(verdict "$rtP95" 50)), idle CPU <= 1 % of a core ($(verdict "$idleWake" 1)).
EOF
