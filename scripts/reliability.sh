#!/usr/bin/env bash
# Runs the library against real processes, crashes and storage faults, and
# checks every database afterwards with an independent client (the sqlite3
# shell): committed transactions all present, failed ones absent, none half
# written, integrity "ok".
#   scripts/reliability.sh                       full run, writes docs/reliability.md
#   scripts/reliability.sh --quick --tool PATH   short run of every scenario (test suite)
set -euo pipefail
cd "$(dirname "$0")/.."

quick=0
tool=""
while [ $# -gt 0 ]; do
  case $1 in
    --quick) quick=1 ;;
    --tool) tool=$2; shift ;;
    *) echo "usage: $0 [--quick] [--tool reliability_tool]" >&2; exit 2 ;;
  esac
  shift
done

build=${DBI_BUILD_DIR:-build}
if [ $quick = 0 ]; then
  scripts/install-deps.sh valgrind
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$build" -j2
  tool=$build/tests/reliability/reliability_tool
  report=docs/reliability.md
  K_VALUES="2 4 8" THREADS=2 TRANSACTIONS=40 CRASH_ROUNDS=100 STORM_PROCESSES=40 STORM_THREADS=8 STORM_RUNS=5
else
  K_VALUES="2" THREADS=2 TRANSACTIONS=10 CRASH_ROUNDS=5 STORM_PROCESSES=8 STORM_THREADS=4 STORM_RUNS=1
fi
tool=$(realpath "$tool")
schema=$(realpath tests/reliability/schema.sql)

work=$(mktemp -d /tmp/dbi-reliability-XXXXXX)
chmod 755 "$work"  # the non-root writer works below it
mounted=""
cleanup() {
  [ -n "$mounted" ] && umount "$mounted" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
[ $quick = 1 ] && report=$work/report.md

rows=()
failures=0
row() {  # scenario, amount, outcome
  rows+=("| $1 | $2 | $3 |")
  echo "$1: $3"
  case $3 in FAIL*) failures=$((failures + 1)) ;; esac
}

new_db() {  # path
  sqlite3 "$1" < "$schema"
  sqlite3 "$1" "PRAGMA journal_mode = WAL" >/dev/null
}

q() { sqlite3 -cmd ".timeout 10000" "$@"; }

# Checks a database against the ids reported committed and failed; prints
# "lost=N phantom=N partial=N counter=ok|off integrity=..." and returns
# non-zero when anything is wrong.
check_db() {  # db, committed ids file, failed ids file
  local db=$1 ids
  ids=$(mktemp -p "$work")
  {
    echo "CREATE TEMP TABLE committed (id integer); CREATE TEMP TABLE failed (id integer);"
    sed 's/.*/INSERT INTO committed VALUES (&);/' "$2"
    sed 's/.*/INSERT INTO failed VALUES (&);/' "$3"
    echo "SELECT 'lost=' || (SELECT count(*) FROM committed WHERE id NOT IN (SELECT txn FROM parts))
      || ' phantom=' || (SELECT count(*) FROM failed WHERE id IN (SELECT txn FROM parts))
      || ' partial=' || (SELECT count(*) FROM (SELECT txn FROM parts GROUP BY txn HAVING count(*) != 3))
      || ' counter=' || CASE WHEN (SELECT value FROM counter) = (SELECT count(DISTINCT txn) FROM parts)
                             THEN 'ok' ELSE 'off' END;"
  } > "$ids"
  local result integrity
  result=$(q "$db" < "$ids")
  integrity=$(q "$db" "PRAGMA integrity_check" | tr '\n' ' ' | sed 's/ $//')
  echo "$result integrity=$integrity"
  [[ "$result" == "lost=0 phantom=0 partial=0 counter=ok" && "$integrity" == ok ]]
}

# --- Contention -------------------------------------------------------------
outside_writer() {  # db, stop file, count file
  local i=0
  while [ ! -e "$2" ]; do
    i=$((i + 1))
    # Holds the write lock while it counts, as a busy foreign writer would.
    q "$1" "BEGIN IMMEDIATE; INSERT INTO outside VALUES ($i, datetime('now'));
      WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 200000) SELECT count(*) FROM c;
      COMMIT;" >/dev/null 2>&1 || true
    sleep 0.05
  done
  echo "$i" > "$3"
}

for k in $K_VALUES; do
  dir=$work/contention-$k; mkdir -p "$dir"; db=$dir/db
  new_db "$db"
  outside_writer "$db" "$dir/stop" "$dir/outside" &
  writer=$!
  pids=()
  for p in $(seq "$k"); do
    "$tool" worker "$db" "$p" "$THREADS" "$TRANSACTIONS" > "$dir/worker-$p.out" &
    pids+=($!)
  done
  wait "${pids[@]}"
  touch "$dir/stop"; wait "$writer"
  cat "$dir"/worker-*.out > "$dir/all"
  grep '^committed ' "$dir/all" | cut -d' ' -f2 > "$dir/committed" || true
  grep '^failed ' "$dir/all" | cut -d' ' -f2 > "$dir/failed" || true
  sum() { grep -o "$1=[0-9]*" "$dir/all" | cut -d= -f2 | awk '{s += $1} END {print s + 0}'; }
  amount="$k processes x $THREADS threads x $TRANSACTIONS transactions, sqlite3 shell holding the write lock $(cat "$dir/outside") times"
  counts="committed $(wc -l < "$dir/committed"), busy failures $(sum busy), retried by retryTransaction $(sum retried), other failures $(sum other)"
  if verdict=$(check_db "$db" "$dir/committed" "$dir/failed"); then
    row "Contention K=$k" "$amount" "ok: $counts; $verdict"
  else
    row "Contention K=$k" "$amount" "FAIL: $counts; $verdict"
  fi
done

# --- Crashes ----------------------------------------------------------------
dir=$work/crash; mkdir -p "$dir"; db=$dir/db
new_db "$db"
: > "$dir/log"
bad_rounds=0
for round in $(seq "$CRASH_ROUNDS"); do
  "$tool" crash-writer "$db" "$dir/log" 2>/dev/null &
  victim=$!
  sleep "$(printf '0.%03d' $((RANDOM % 300 + 50)))"
  kill -KILL "$victim"
  wait "$victim" 2>/dev/null || true
  [ "$(q "$db" "PRAGMA integrity_check")" = ok ] || bad_rounds=$((bad_rounds + 1))
done
: > "$dir/none"
amount="$CRASH_ROUNDS SIGKILLs at random moments, $(wc -l < "$dir/log") transactions logged committed"
if verdict=$(check_db "$db" "$dir/log" "$dir/none") && [ $bad_rounds = 0 ]; then
  row "Crashes" "$amount" "ok: integrity ok after every round; $verdict"
else
  row "Crashes" "$amount" "FAIL: $bad_rounds rounds failed integrity_check; $verdict"
fi

# --- Open storm -------------------------------------------------------------
# On the file the last killed writer left behind, so the first opener runs
# WAL recovery while the others open; each run crashes a writer afresh.
storm_runs=()
storm_failures=0
for run in $(seq "$STORM_RUNS"); do
  "$tool" crash-writer "$db" "$dir/log" 2>/dev/null &
  victim=$!; sleep 0.3; kill -KILL "$victim"; wait "$victim" 2>/dev/null || true
  start=$(( $(date +%s%3N) + 2000 ))
  pids=()
  for p in $(seq "$STORM_PROCESSES"); do
    "$tool" open-storm "$db" "$STORM_THREADS" "$start" > "$dir/storm-$run-$p.out" &
    pids+=($!)
  done
  wait "${pids[@]}"
  failed=$(cat "$dir"/storm-"$run"-*.out | grep -o 'failures=[0-9]*' | cut -d= -f2 | awk '{s += $1} END {print s + 0}')
  storm_runs+=("$failed")
  storm_failures=$((storm_failures + failed))
done
amount="$STORM_RUNS runs of $STORM_PROCESSES processes x $STORM_THREADS threads opening at the same moment, after a crash"
if [ "$storm_failures" = 0 ]; then
  row "Open storm" "$amount" "ok: 0 failures (per run: ${storm_runs[*]})"
else
  row "Open storm" "$amount" "FAIL: $storm_failures failures (per run: ${storm_runs[*]}): $(grep -h '^failure' "$dir"/storm-*.out | sort | uniq -c | head -3 | tr '\n' ' ')"
fi

# --- Storage faults ---------------------------------------------------------
# A fault runner takes a count per line and answers with the ids it
# committed and failed and its first failure; every transaction runs on a
# fresh connection, as a restarting process would.
runner_user=()
start_runner() {  # db, payload bytes, first id
  coproc RUNNER { "${runner_user[@]}" "$tool" fault-runner "$1" "$2" "$3" 2>&1; }
}
stop_runner() {
  exec {RUNNER[1]}>&-
  wait "$RUNNER_PID" 2>/dev/null || true
}
batch() {  # count; sets committed, failed, first; appends ids to the scenario's files
  echo "$1" >&"${RUNNER[1]}"
  local reply
  IFS= read -r reply <&"${RUNNER[0]}"
  IFS='|' read -r committed failed first <<< "$reply"
  committed=${committed#committed:}; failed=${failed#failed:}; first=${first#first:}
  for id in $committed; do echo "$id" >> "$scenario/committed"; done
  for id in $failed; do echo "$id" >> "$scenario/failed"; done
}
count() { echo $#; }
next_first=1  # each scenario's transaction ids start at their own thousand

# Runs one fault: a few transactions before it, some during it, a few after it
# is gone. Passes when the fault surfaced as DBIException<3>, everything
# before and after committed, and the database checks out.
fault() {  # name, db, payload, break command, mend command, transactions during the fault
  local name=$1 db=$2 payload=$3 breaker=$4 mender=$5 during=$6
  scenario=$work/fault-$RANDOM; mkdir -p "$scenario"; : > "$scenario/committed"; : > "$scenario/failed"
  start_runner "$db" "$payload" "$next_first"
  next_first=$((next_first + 1000))
  batch 2; local before_ok=$(count $committed)
  eval "$breaker"
  batch "$during"; local during_failed=$(count $failed) during_first=$first
  eval "$mender"
  batch 2; local after_ok=$(count $committed)
  stop_runner
  local verdict outcome="fault surfaced: $during_failed of $during failed, first as \"$during_first\"; after the fault $after_ok of 2 committed"
  if verdict=$(check_db "${CHECK_DB:-$db}" "$scenario/committed" "$scenario/failed") && [ "$before_ok" = 2 ] &&
     [ "$after_ok" = 2 ] && [ "$during_failed" -gt 0 ] && [[ "$during_first" == 3:* ]]; then
    row "$name" "2 + $during + 2 transactions of 3 rows" "ok: $outcome; $verdict"
  else
    row "$name" "2 + $during + 2 transactions of 3 rows" "FAIL: $outcome (before: $before_ok of 2); $verdict"
  fi
}

# Disk full on a small tmpfs.
full=$work/full; mkdir -p "$full"
if mount -t tmpfs -o size=5m tmpfs "$full" 2>/dev/null; then
  mounted=$full
  new_db "$full/db"
  head -c 3M /dev/zero > "$full/filler"
  fault "Disk full (5 MiB tmpfs)" "$full/db" 60000 "" "rm -f '$full/filler'" 40
  umount "$full"; mounted=""
else
  row "Disk full (5 MiB tmpfs)" "-" "skipped: mounting a tmpfs was refused (not root?)"
fi

# The rest run as an unprivileged writer, for whom permissions count.
as_writer() { :; }
permissions_count=1
if [ "$(id -u)" = 0 ]; then
  nobody=(setpriv --reuid=nobody --regid="$(id -g nobody 2>/dev/null || echo 65534)" --clear-groups)
  status=0; "${nobody[@]}" "$tool" >/dev/null 2>&1 || status=$?
  if [ $status = 2 ]; then  # its usage message: the program ran
    runner_user=("${nobody[@]}")
    as_writer() { chown -R nobody "$@"; }
  else
    permissions_count=0
  fi
fi
fresh_dir() {  # name; a directory of the writer's own with a new database
  mkdir -p "$work/$1"; new_db "$work/$1/db"; as_writer "$work/$1"; echo "$work/$1"
}
# SQLite gives the -wal and -shm files the database file's mode when it
# creates them, so a writer that opened the file while it was read-only
# leaves read-only companions: the fault is gone when all three are writable.
if [ $permissions_count = 1 ]; then
  d=$(fresh_dir file-ro)
  fault "File read-only" "$d/db" 100 "chmod 444 '$d/db'" "chmod 644 '$d'/db*" 3
  d=$(fresh_dir dir-ro)
  fault "Directory read-only" "$d/db" 100 "chmod 555 '$d'" "chmod 755 '$d'" 3
else
  row "File or directory read-only" "-" "skipped: running as root and user nobody cannot run $tool"
fi
d=$(fresh_dir deleted)
fault "File deleted" "$d/db" 100 "mv '$d/db' '$d/kept'" "mv '$d/kept' '$d/db'" 3
head -c 8192 /dev/urandom > "$work/garbage"; chmod 644 "$work/garbage"
d=$(fresh_dir replaced)
fault "File replaced by one that is not a database" "$d/db" 100 \
  "mv '$d/db' '$d/kept'; cp '$work/garbage' '$d/db'" "mv -f '$d/kept' '$d/db'" 3
d=$(fresh_dir missing)
fault "Missing directory" "$d/db" 100 "mv '$d' '$d.away'" "mv '$d.away' '$d'" 3

# --- Memory checking, fuzzing and bad input (full run only) -----------------
if [ $quick = 0 ]; then
  for suite in core_test record_test; do
    if valgrind --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite -q \
         "$build/tests/$suite" --gtest_brief=1 > "$work/valgrind-$suite.out" 2>&1; then
      row "Valgrind memcheck: $suite" "every test of $suite" "ok: 0 errors, 0 definite leaks"
    else
      row "Valgrind memcheck: $suite" "every test of $suite" \
        "FAIL: $(grep -m1 -E 'ERROR SUMMARY|FAILED|definitely' "$work/valgrind-$suite.out")"
    fi
  done
  # One row per target, from the lines scripts/fuzz.sh prints for them.
  scripts/fuzz.sh 300 > "$work/fuzz.out" 2>&1 || true
  for target in $(sed -n 's/^targets=(\(.*\))$/\1/p' scripts/fuzz.sh); do
    result=$(sed -n "s/^$target: //p" "$work/fuzz.out" | tail -n 1)
    case $result in
      *"runs, no crash") row "Fuzzing: $target" "300 s, ${result%% runs*} runs" "ok: no crash" ;;
      "") row "Fuzzing: $target" "300 s" "FAIL: no result (build failed? see scripts/fuzz.sh output)" ;;
      *) row "Fuzzing: $target" "300 s" "FAIL: $result" ;;
    esac
  done
  if (cd "$build" && ctest -N -R BadInput | grep -q 'Total Tests: [1-9]'); then
    if (cd "$build" && ctest -R BadInput > "$work/badinput.out" 2>&1); then verdict=ok; else verdict=FAIL; fi
    row "Bad input" "$(cd "$build" && ctest -N -R BadInput | grep -o 'Total Tests: [0-9]*')" \
      "$verdict: $(grep -m1 'tests passed' "$work/badinput.out")"
  else
    row "Bad input" "-" "skipped: no BadInput tests in this build"
  fi
fi

{
  echo "# Reliability runs"
  echo
  echo "Written by \`scripts/reliability.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) cores,"
  echo "SQLite $(sqlite3 --version | cut -d' ' -f1). Every database was checked afterwards with the"
  echo "sqlite3 shell: *lost* counts transactions reported committed but missing, *phantom* those"
  echo "reported failed but present, *partial* those with only some of their three rows; *counter*"
  echo "compares a counter every transaction bumps with the transactions present."
  echo
  echo "| What was tried | How much | Outcome |"
  echo "|---|---|---|"
  printf '%s\n' "${rows[@]}"
  echo
  echo "Each fault runs 2 transactions before the fault, some during it and 2 after it is"
  echo "gone; every transaction runs on a connection of its own, closed afterwards, so a"
  echo "fault meets a fresh open as well as running statements. SQLite gives the -wal and"
  echo "-shm files the database file's mode when it creates them: a writer that opened the"
  echo "file while it was read-only leaves read-only companions behind, so that fault is"
  echo "gone only when all three files are writable again."
} > "$report"
[ $quick = 1 ] && cat "$report"
echo "reliability: $failures failing scenario(s); report in $report"
[ "$failures" = 0 ]
