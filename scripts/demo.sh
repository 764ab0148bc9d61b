#!/usr/bin/env bash
# The library's main job, end to end: two processes talk through one
# database file. A responder process answers "inventory" commands from the
# library manager; a second process sends one command it answers with the
# default 5-second journal poll, the same command with fast wake (--wake 5),
# and one ("move medium") that nobody answers, which times out. Each send
# prints its round-trip time. Installs what is missing and builds first.
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
# --wake 5: the responder looks for other processes' commits every 5 ms.
echo "== starting a responder process for inventory commands (fast wake: --wake 5)"
"$dbictl" respond "$db" --endpoint 1 --operation 1 --text "inventory complete" --wake 5 \
  > "$workdir/responder.log" &
responder=$!
until grep -q answering "$workdir/responder.log" 2>/dev/null; do sleep 0.2; done
sed 's/^/   responder | /' "$workdir/responder.log"

echo "== sending an inventory command in the default mode (the sender polls every 5 s)"
"$dbictl" send "$db" --source 1 --operation 1 --target 5 --arg "all slots" --timeout 30 | tee "$workdir/default.log"

echo "== sending it again with fast wake (--wake 5)"
"$dbictl" send "$db" --source 1 --operation 1 --target 5 --arg "all slots" --timeout 30 --wake 5 \
  | tee "$workdir/wake.log"

echo "== sending a move-medium command nobody answers (times out)"
status=0
"$dbictl" send "$db" --source 1 --operation 2 --target 5 --arg "slot 12 -> drive 1" --timeout 30 || status=$?
[ "$status" -eq 3 ] || { echo "expected a time-out, got exit status $status"; exit 1; }

echo "== stopping the responder; what it did:"
kill "$responder"; wait "$responder" || true; responder=""
sed 's/^/   responder | /' "$workdir/responder.log"

roundTrip() { sed -n 's/^ *round trip //p' "$1"; }
echo "== round trips: default mode $(roundTrip "$workdir/default.log"), with --wake 5 $(roundTrip "$workdir/wake.log")"

echo "== what the database holds now: the command channel's rows, and a health check"
"$dbictl" show "$db" library_commandresponse
"$dbictl" check "$db"
