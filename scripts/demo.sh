#!/usr/bin/env bash
# The library's main job, end to end: two processes talk through one
# database file. A responder process answers "inventory" commands from the
# library manager; a second process sends one command it answers and one
# ("move medium") that nobody answers, which times out. Installs what is
# missing and builds first.
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
echo "== starting a responder process for inventory commands"
"$dbictl" respond "$db" --endpoint 1 --operation 1 --text "inventory complete" > "$workdir/responder.log" &
responder=$!
until grep -q answering "$workdir/responder.log" 2>/dev/null; do sleep 0.2; done
sed 's/^/   responder | /' "$workdir/responder.log"

echo "== sending an inventory command (answered)"
"$dbictl" send "$db" --source 1 --operation 1 --target 5 --arg "all slots" --timeout 30

echo "== sending a move-medium command nobody answers (times out)"
status=0
"$dbictl" send "$db" --source 1 --operation 2 --target 5 --arg "slot 12 -> drive 1" --timeout 30 || status=$?
[ "$status" -eq 3 ] || { echo "expected a time-out, got exit status $status"; exit 1; }

echo "== stopping the responder; what it did:"
kill "$responder"; wait "$responder" || true; responder=""
sed 's/^/   responder | /' "$workdir/responder.log"

echo "== what the database holds now: the command channel's rows, and a health check"
"$dbictl" show "$db" library_commandresponse
"$dbictl" check "$db"
