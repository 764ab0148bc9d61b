#!/usr/bin/env bash
# Delivery between two processes in the three wake modes, side by side:
# the default 5-second poll, --wake 5 (a check every 5 ms) and --wake commit.
#   - command round trip: `dbictl send` asking, `dbictl respond` answering;
#   - one hop: a commit in one process (`dbictl event --clock`) to the
#     listener call in another (`dbictl watch --clock`), both stamped with the
#     monotonic clock every process shares;
#   - CPU of a watching dispatcher while a writer commits 1,000 times a second;
#   - CPU and wake-ups of an idle dispatcher.
# Prints a markdown section on stdout; progress goes to stderr.
#
#   bench/roundtrip.sh [PATH-TO-DBICTL]
#
# Without a path it builds dbictl in build-bench. COUNT (default 20) sets the
# commands per mode, HOPS (default 1000) the commits of the one-hop run, one
# every HOP_MS (default 10) ms, IDLE_SECONDS (default 60) the idle
# measurement, DB_DIR the folder of the database file (default: a new one
# under /tmp; a tmpfs such as /dev/shm takes the disk's fsync out of the numbers).
set -euo pipefail
cd "$(dirname "$0")/.."

count=${COUNT:-20}
hops=${HOPS:-1000}
hopMs=${HOP_MS:-10}
idleSeconds=${IDLE_SECONDS:-60}
modes=(default interval commit)
declare -A options=([default]="" [interval]="--wake 5" [commit]="--wake commit")

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

# Starts a background dbictl that prints $ready when set up; logs to $1,
# its pid goes to $started.
startDbictl() {
  local log=$1 ready=$2; shift 2
  "$dbictl" "$@" >"$log" &
  started=$!
  pids+=("$started")
  until grep -q "$ready" "$log" 2>/dev/null; do sleep 0.1; done
}

stopDbictl() { kill "$1"; wait "$1" 2>/dev/null || true; }

# $1 divided by $2, with one decimal.
divide() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.1f", a / b}'; }

# Nearest-rank percentile $1 of the numbers in file $2.
percentile() { sort -n "$2" | awk -v p="$1" '{v[NR]=$1} END {i=int((p*NR+99)/100); printf "%.2f", v[i]}'; }

# CPU time (user + system, in clock ticks) of process $1 so far.
cpuTicks() { awk '{print $14 + $15}' "/proc/$1/stat"; }

# Voluntary context switches of all threads of process $1 so far: each is the
# end of a stretch between two sleeps, so they count its wake-ups.
wakeUps() { cat /proc/"$1"/task/*/status | awk '/^voluntary_ctxt_switches/ {n += $2} END {print n}'; }

ticksPerSecond=$(getconf CLK_TCK)

# Sends $count commands in mode $1; round trips as sendCommand reported them
# go to $workdir/$1.rt, whole-process times to .wall.
measureRoundTrips() {
  local mode=$1
  # shellcheck disable=SC2086
  startDbictl "$workdir/responder.log" answering respond "$db" --endpoint 1 --operation 1 ${options[$mode]}
  local responder=$started
  : >"$workdir/$mode.rt"; : >"$workdir/$mode.wall"
  for i in $(seq "$count"); do
    local start end
    start=$(date +%s%N)
    # shellcheck disable=SC2086
    "$dbictl" send "$db" --source 1 --operation 1 --target 5 --timeout 30 ${options[$mode]} >"$workdir/send.log"
    end=$(date +%s%N)
    sed -n 's/^ *round trip \([0-9.]*\) ms$/\1/p' "$workdir/send.log" >>"$workdir/$mode.rt"
    divide $((end - start)) 1000000 >>"$workdir/$mode.wall"
    echo >>"$workdir/$mode.wall"
    echo "  $mode $i/$count: $(tail -1 "$workdir/$mode.rt") ms" >&2
  done
  stopDbictl "$responder"
}

# Writes `dbictl event --clock` output with the given options while a watcher
# in mode $1 listens; the watcher's log goes to $workdir/$1-$2.watch, the
# writer's to .write; the watcher's CPU ticks meanwhile go to $watchTicks,
# the time that took in ms to $watchMs.
watchWrites() {
  local mode=$1 name=$2; shift 2
  # shellcheck disable=SC2086
  startDbictl "$workdir/$mode-$name.watch" watching watch "$db" --table library_commandresponse --clock ${options[$mode]}
  local watcher=$started before start
  before=$(cpuTicks "$watcher")
  start=$(date +%s%N)
  "$dbictl" event "$db" --source 1 --operation 1 --clock "$@" >"$workdir/$mode-$name.write"
  local written
  written=$(wc -l <"$workdir/$mode-$name.write")
  # Everything arrives within one poll, whatever the mode.
  for _ in $(seq 60); do
    [ "$(grep -c INSERT "$workdir/$mode-$name.watch")" -ge "$written" ] && break
    sleep 0.1
  done
  watchTicks=$(($(cpuTicks "$watcher") - before))
  watchMs=$((($(date +%s%N) - start) / 1000000))
  stopDbictl "$watcher"
}

# One-hop delays in ms (delivery minus commit, joined on the row id) of mode $1.
hopDelays() {
  awk 'FNR == NR {sub("#", "", $4); committed[$4] = $1; next}
       $3 ~ /^#/ {id = substr($3, 2); if (id in committed) printf "%.3f\n", ($1 - committed[id]) * 1000}' \
    "$workdir/$1-hop.write" "$workdir/$1-hop.watch" >"$workdir/$1.hop"
}

for mode in "${modes[@]}"; do
  echo "$mode: $count commands" >&2
  measureRoundTrips "$mode"
done

for mode in "${modes[@]}"; do
  echo "$mode: one hop, $hops commits, one every $hopMs ms" >&2
  watchWrites "$mode" hop --count "$hops" --every "$hopMs"
  hopDelays "$mode"
  echo "$mode: a writer committing every millisecond for 5 s" >&2
  watchWrites "$mode" load --count 5000 --every 1
  declare "loadCpu_$mode=$(divide $((watchTicks * 100000)) $((ticksPerSecond * watchMs)))"
  declare "loadRate_$mode=$(divide $((5000 * 1000)) "$watchMs")"
done

echo "idle responders in the three modes: measuring for $idleSeconds s" >&2
for mode in "${modes[@]}"; do
  # shellcheck disable=SC2086
  startDbictl "$workdir/idle-$mode.log" answering respond "$db" --endpoint 1 --operation 1 ${options[$mode]}
  declare "idlePid_$mode=$started"
done
sleep 3  # past the start-up reads and re-checks
for mode in "${modes[@]}"; do
  pid="idlePid_$mode"
  declare "idleTicks_$mode=$(cpuTicks "${!pid}")" "idleWakes_$mode=$(wakeUps "${!pid}")"
done
sleep "$idleSeconds"
# All read before any stops: a process closing its connection is a change of
# the files that the others would see.
for mode in "${modes[@]}"; do
  pid="idlePid_$mode" ticks="idleTicks_$mode" wakes="idleWakes_$mode"
  declare "idleCpu_$mode=$(divide $((($(cpuTicks "${!pid}") - ${!ticks}) * 100)) $((ticksPerSecond * idleSeconds)))"
  declare "idleWakes_$mode=$(($(wakeUps "${!pid}") - ${!wakes}))"
done
for mode in "${modes[@]}"; do
  pid="idlePid_$mode"
  stopDbictl "${!pid}"
done

# One table row: a label, then what the given command prints for each mode.
row() {
  local label=$1; shift
  printf '| %s |' "$label"
  for mode in "${modes[@]}"; do printf ' %s |' "$("$@" "$mode")"; done
  echo
}
value() { local name="$1_$2"; echo "${!name}"; }
ms() { echo "$(percentile "$1" "$workdir/$3.$2") ms"; }
late() { awk '$1 > 1100 {n++} END {print n + 0}' "$workdir/$1.hop"; }
delivered() { echo "$(wc -l <"$workdir/$1.hop") of $hops"; }
percentOfCore() { echo "$(value "$1" "$2") %"; }
verdict() { awk -v v="$1" -v limit="$2" 'BEGIN {print (v + 0 <= limit + 0) ? "met" : "missed"}'; }

cat <<EOF
## Delivery between two processes in the three wake modes

Database on $(df --output=fstype "$workdir" | tail -1); machine: $(nproc) cores, load average
$(cut -d' ' -f1-3 /proc/loadavg) at the end. Each mode is set on both processes.
Round trip: \`dbictl send\` asking, \`dbictl respond\` answering, $count commands
per mode; "round trip" is the time \`sendCommand\` took (insert to answer),
"whole send" adds the process's start, dispatcher set-up and exit. One hop:
$hops commits of \`dbictl event\`, one every $hopMs ms, to their listener calls in
\`dbictl watch\`, both stamped with the monotonic clock after the commit;
"left to the poll" counts hops slower than 1.1 s, past the re-checks that
follow a change. Under load: the watching dispatcher's CPU while a writer
commits once a millisecond, 5,000 times (the rate it reached is shown).
Idle: a responder with nothing to do over $idleSeconds s, from /proc; its
wake-ups are its threads' voluntary context switches.

| | default (5 s poll) | \`--wake 5\` | \`--wake commit\` |
|---|---:|---:|---:|
$(row "round trip p50" ms 50 rt)
$(row "round trip p95" ms 95 rt)
$(row "whole send p50" ms 50 wall)
$(row "whole send p95" ms 95 wall)
$(row "one hop p50" ms 50 hop)
$(row "one hop p99" ms 99 hop)
$(row "hops delivered" delivered)
$(row "hops left to the poll" late)
$(row "writer's commits per second" value loadRate)
$(row "watching dispatcher CPU under load" percentOfCore loadCpu)
$(row "idle dispatcher CPU" percentOfCore idleCpu)
$(row "idle wake-ups in $idleSeconds s" value idleWakes)

Targets with \`--wake commit\`: one hop p50 <= 0.5 ms ($(verdict "$(percentile 50 "$workdir/commit.hop")" 0.5)),
p99 <= 5 ms ($(verdict "$(percentile 99 "$workdir/commit.hop")" 5)), none left to the poll ($(verdict "$(late commit)" 0)),
round trip p50 <= 2 ms ($(verdict "$(percentile 50 "$workdir/commit.rt")" 2)),
p95 <= 5 ms ($(verdict "$(percentile 95 "$workdir/commit.rt")" 5)),
idle CPU 0.0 % of a core ($(verdict "$(value idleCpu commit)" 0.0)) with no more than one wake-up per
5 s ($(verdict "$(value idleWakes commit)" $((idleSeconds / 5 + 1)))),
CPU under load <= 10 % of a core ($(verdict "$(value loadCpu commit)" 10)).
EOF
