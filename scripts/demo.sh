#!/usr/bin/env bash
# Installs what is missing, builds dbi and runs its example program on a
# database file created in a temporary folder.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target dbi-example >/dev/null

workdir=$(mktemp -d)
trap 'rm -rf "$workdir"' EXIT
build/tools/dbi-example "$workdir/example.db"
