#!/usr/bin/env bash
# The library's main job, end to end: two processes talk through one
# database file. A responder process answers "inventory" commands from the
# library manager; a second process sends it one command in each wake mode
# (both processes in the same mode): the default 5-second journal poll, a
# check every 5 ms (--wake 5) and wake on commit (--wake commit); then one
# ("move medium") that nobody answers, which times out. Each send prints its
# round-trip time. Installs what is missing and builds first.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target dbictl >/dev/null
dbictl=build/tools/dbictl

workdir=$(mktemp -d)
responder=""
cleanup() {
  [ -n "$responder" ] && kill "$responder" 2>/dev/null && wait "$responder" 2>/dev/null
  rm -rf "$workdir"
}
trap cleanup EXIT

db="$workdir/appliance.db"
"$dbictl" init "$db"

# Endpoint 1 is the library manager, 5 the command line; operation 1 is
# "inventory", 2 "move medium".
# One inventory command, responder and sender both in the wake mode given
# (none: the default poll); the sender's output goes to $workdir/NAME.log.
sendInMode() {  # NAME [--wake MS|commit]
  local name=$1; shift
  echo "== inventory command, both processes in mode: ${*:-default (5 s poll)}"
  "$dbictl" respond "$db" --endpoint 1 --operation 1 --text "inventory complete" "$@" \
    > "$workdir/responder.log" &
  responder=$!
  until grep -q answering "$workdir/responder.log" 2>/dev/null; do sleep 0.2; done
  "$dbictl" send "$db" --source 1 --operation 1 --target 5 --arg "all slots" --timeout 30 "$@" \
    | tee "$workdir/$name.log"
  kill "$responder"; wait "$responder" || true; responder=""
  sed 's/^/   responder | /' "$workdir/responder.log"
}

sendInMode default
sendInMode interval --wake 5
sendInMode commit --wake commit

echo "== sending a move-medium command nobody answers (times out)"
status=0
"$dbictl" send "$db" --source 1 --operation 2 --target 5 --arg "slot 12 -> drive 1" --timeout 30 || status=$?
[ "$status" -eq 3 ] || { echo "expected a time-out, got exit status $status"; exit 1; }

roundTrip() { sed -n 's/^ *round trip //p' "$workdir/$1.log"; }
echo "== round trips: default mode $(roundTrip default), --wake 5 $(roundTrip interval)," \
  "--wake commit $(roundTrip commit)"

echo "== what the database holds now: the command channel's rows, and a health check"
"$dbictl" show "$db" library_commandresponse
"$dbictl" check "$db"
