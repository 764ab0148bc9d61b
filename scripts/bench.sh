#!/usr/bin/env bash
# Builds dbi in Release, runs the benchmark suite (timed, then instruction
# counts under callgrind) and writes docs/performance.md with its chart.
#   DBI_BENCH_REPETITIONS (default 3): timed runs of each benchmark, interleaved
#   DBI_BENCH_CALLGRIND_ROWS (default 2000): rows per workload under callgrind
#   DBI_BENCH_BUILD_TYPE (default Release)
#   DBI_BENCH_REPORT_ONLY=1 writes the report again from the last run's results;
#     the round trip between processes (bench/roundtrip.sh) is measured anew
#   DB_DIR: the round trip's database folder (a tmpfs such as /dev/shm takes
#     the disk's fsync out of its numbers)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
BENCH_PACKAGES=(valgrind gnuplot-nox)
missing=()
for pkg in "${BENCH_PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get -o DPkg::Lock::Timeout=600 update -qq
  $SUDO env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}"
fi

BUILD=build-bench
OUT=$BUILD/results
REPORT=docs/performance.md
CHART=docs/performance-per-row.png
REPS=${DBI_BENCH_REPETITIONS:-3}
CG_ROWS=${DBI_BENCH_CALLGRIND_ROWS:-2000}
CG_AUTOCOMMIT_ROWS=200
KEYS=(dbi dbi-bound replay prepared sqlitecpp soci)
NAMES=("dbi" "dbi, bound values" "SQLite running dbi's texts (sqlite3_exec)" "one prepared statement" "SQLiteCpp" "SOCI (sqlite3)")
WORKLOADS=(insert insert_autocommit select_all get update)

BUILD_TYPE=${DBI_BENCH_BUILD_TYPE:-Release}
LAUNCHER=()
command -v ccache >/dev/null && LAUNCHER=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$BUILD" -DCMAKE_BUILD_TYPE="$BUILD_TYPE" -DDBI_BUILD_BENCHMARKS=ON -DDBI_BUILD_TESTS=OFF \
  -DDBI_BUILD_TOOLS=ON "${LAUNCHER[@]}" >/dev/null
cmake --build "$BUILD" -j2 --target dbi_bench dbi_bench_profile
if [ "${DBI_BENCH_REPORT_ONLY:-0}" = 0 ]; then
rm -rf "$OUT" && mkdir -p "$OUT"

echo "==> timed suite ($REPS interleaved repetitions)"
"$BUILD/bench/dbi_bench" --benchmark_repetitions="$REPS" --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true --benchmark_out="$OUT/timed.csv" --benchmark_out_format=csv

# workload rows contender -> median milliseconds
awk -F, '/_median"?,/ {
    gsub(/"/, "", $1); split($1, part, "/")
    t = $3; if ($5 == "us") t /= 1000; if ($5 == "ns") t /= 1e6; if ($5 == "s") t *= 1000
    print part[1], part[2], part[3], t }' "$OUT/timed.csv" >"$OUT/timed.txt"

echo "==> instruction counts under callgrind ($CG_ROWS rows)"
for w in "${WORKLOADS[@]}"; do
  rows=$CG_ROWS
  [ "$w" = insert_autocommit ] && rows=$CG_AUTOCOMMIT_ROWS
  for i in "${!KEYS[@]}"; do
    valgrind --tool=callgrind --toggle-collect=bench_measured --callgrind-out-file="$OUT/callgrind.$w.${KEYS[$i]}" \
      "$BUILD/bench/dbi_bench_profile" "$i" "$w" "$rows" 2>"$OUT/callgrind.$w.${KEYS[$i]}.log"
    collected=$(awk '/Collected :/ {print $NF}' "$OUT/callgrind.$w.${KEYS[$i]}.log")
    echo "$w $rows ${KEYS[$i]} $collected" | tee -a "$OUT/instructions.txt"
  done
done
"$BUILD/bench/dbi_bench_profile" memory >"$OUT/memory.txt"
fi

value() {  # file workload rows contender column -> value or empty
  awk -v w="$2" -v r="$3" -v c="$4" -v col="$5" '$1 == w && (r == "" || $2 == r) && $3 == c {print $col; exit}' "$1"
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a != "" && b != "" && b > 0) printf "%.2f", a / b; else printf "-" }'; }
fmt() { awk -v v="$1" -v d="$2" 'BEGIN { if (v == "") printf "-"; else printf "%.*f", d, v }'; }

table() {  # workload rows
  local w=$1 rows=$2 cg_rows=$CG_ROWS
  [ "$w" = insert_autocommit ] && cg_rows=$CG_AUTOCOMMIT_ROWS
  local dbi_ms dbi_ins
  dbi_ms=$(value "$OUT/timed.txt" "$w" "$rows" dbi 4)
  dbi_ins=$(value "$OUT/instructions.txt" "$w" "$cg_rows" dbi 4)
  echo "| contender | time (ms, N = $rows) | per row (us) | dbi / this (time) | instructions per row (N = $cg_rows) | dbi / this (instructions) |"
  echo "|---|---:|---:|---:|---:|---:|"
  for i in "${!KEYS[@]}"; do
    local ms ins
    ms=$(value "$OUT/timed.txt" "$w" "$rows" "${KEYS[$i]}" 4)
    ins=$(value "$OUT/instructions.txt" "$w" "$cg_rows" "${KEYS[$i]}" 4)
    echo "| ${NAMES[$i]} | $(fmt "$ms" 1) | $(awk -v m="$ms" -v n="$rows" 'BEGIN{ if (m == "") printf "-"; else printf "%.2f", m * 1000 / n }') | $(ratio "$dbi_ms" "$ms") | $(awk -v c="$ins" -v n="$cg_rows" 'BEGIN{ if (c == "") printf "-"; else printf "%d", c / n }') | $(ratio "$dbi_ins" "$ins") |"
  done
}

# One target: the contender's instructions per row (N = CG_ROWS) divided by the
# base's, at most `max`; the timed ratio (N = 10000) stands beside it.
target_row() {  # label contender workload base-key base-name max
  local ms base_ms ins base_ins t i verdict
  ms=$(value "$OUT/timed.txt" "$3" 10000 "$2" 4)
  base_ms=$(value "$OUT/timed.txt" "$3" 10000 "$4" 4)
  ins=$(value "$OUT/instructions.txt" "$3" "$CG_ROWS" "$2" 4)
  base_ins=$(value "$OUT/instructions.txt" "$3" "$CG_ROWS" "$4" 4)
  t=$(ratio "$ms" "$base_ms")
  i=$(ratio "$ins" "$base_ins")
  verdict=$(awk -v i="$i" -v max="$6" 'BEGIN { print (i != "-" && i <= max) ? "met" : "not met" }')
  echo "| $1 | $5 | $6 | $i | $t | $verdict |"
}

echo "==> chart"
for key in "${KEYS[@]}"; do
  awk -v c="$key" '$1 == "insert" && $3 == c {print $2, $4 * 1000 / $2}' "$OUT/timed.txt" | sort -n >"$OUT/chart.$key.dat"
done
plot=""
for i in "${!KEYS[@]}"; do
  plot+="${plot:+, }'$OUT/chart.${KEYS[$i]}.dat' using 1:2 with linespoints title \"${NAMES[$i]}\""
done
gnuplot <<GNUPLOT
set terminal png size 900,560 noenhanced
set output '$CHART'
set title 'Insert in one transaction: time per row against N'
set logscale x
set logscale y
set xlabel 'rows (N)'
set ylabel 'microseconds per row'
set key below
set xrange [700:140000]
set grid
plot $plot
GNUPLOT

echo "==> $REPORT"
{
  echo "# Performance"
  echo
  echo "Written by \`scripts/bench.sh\` on $(date -u +'%Y-%m-%d %H:%M UTC'). Every contender works on the same schema"
  echo "(\`schema/schema.sql\` with its journal triggers, WAL, foreign keys on), each run on a fresh database file;"
  echo "the timed runs are Google Benchmark medians of $REPS interleaved repetitions, the instruction counts come"
  echo "from \`valgrind --tool=callgrind\` over the measured part only, which stays the same on a busy machine."
  echo
  echo "Contenders: (a) dbi, values written into the texts (the default); (a') dbi with"
  echo "\`Configure::setBindValues(true)\`; (b) \`sqlite3_exec\` of exactly the texts dbi produced for the same work"
  echo "(captured with a statement trace, savepoint statements included), so (a) / (b) is the library's own cost;"
  echo "(c) one prepared statement with bound parameters; (d) SQLiteCpp; (e) SOCI with its sqlite3 backend."
  echo
  echo "## Machine"
  echo
  echo "- CPU: $(awk -F': ' '/model name/ {print $2; exit}' /proc/cpuinfo), $(nproc) cores available"
  echo "- SQLite $(sqlite3 --version 2>/dev/null | cut -d' ' -f1 || echo '?'), Boost $(awk '/define BOOST_LIB_VERSION/ {gsub(/"/, "", $3); gsub(/_/, ".", $3); print $3}' /usr/include/boost/version.hpp),"
  echo "  $(c++ --version | head -1), Google Benchmark $(dpkg-query -W -f='${Version}' libbenchmark-dev),"
  echo "  SQLiteCpp $(dpkg-query -W -f='${Version}' libsqlitecpp-dev), SOCI $(dpkg-query -W -f='${Version}' libsoci-dev)"
  echo "- $(uname -sr), build type $BUILD_TYPE; load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
  echo
  echo "## Workloads"
  echo
  for rows in 1000 10000 100000; do
    echo "### Insert 12-column records in one transaction, N = $rows"
    echo
    table insert "$rows"
    echo
  done
  echo "### Inserts, one transaction per row (autocommit), N = 200"
  echo
  table insert_autocommit 200
  echo
  echo "### Select all rows into records, N = 10000"
  echo
  table select_all 10000
  echo
  echo "### Get by id, N times, N = 10000"
  echo
  table get 10000
  echo
  echo "### Update one column of each row, N = 10000"
  echo
  table update 10000
  echo
  echo "### Targets: dbi against a hand-written prepared loop and against SQLite running its texts"
  echo
  echo "Instructions per row (N = $CG_ROWS) of dbi divided by those of the contender it is held to; the"
  echo "ratio of the timed medians at N = 10000 stands beside it. A target is met on instructions."
  echo
  echo "| workload | against | target | instructions | time | |"
  echo "|---|---|---:|---:|---:|---|"
  prepared_name="one prepared statement"
  target_row "insert in one transaction, bound values" dbi-bound insert prepared "$prepared_name" 1.15
  target_row "select all, bound values" dbi-bound select_all prepared "$prepared_name" 1.15
  target_row "get by id, bound values" dbi-bound get prepared "$prepared_name" 1.15
  target_row "update one column, bound values" dbi-bound update prepared "$prepared_name" 1.15
  target_row "select all, text mode" dbi select_all prepared "$prepared_name" 1.3
  target_row "insert in one transaction, text mode" dbi insert replay "SQLite running the texts" 1.10
  target_row "get by id, text mode" dbi get replay "SQLite running the texts" 1.10
  target_row "update one column, text mode" dbi update replay "SQLite running the texts" 1.10
  echo
  echo "### Notify's poll (dbi only)"
  echo
  echo "The query the dispatcher runs every cycle once it has seen the whole journal."
  echo
  echo "| journal rows | time per poll (us) |"
  echo "|---:|---:|"
  for rows in 10000 1000000; do
    echo "| $rows | $(fmt "$(value "$OUT/timed.txt" notify_poll "$rows" dbi 4 | awk '{print $1 * 1000}')" 1) |"
  done
  echo
  echo "### Memory: records held in a vector of 100,000"
  echo
  echo "| record | sizeof | heap bytes per record |"
  echo "|---|---:|---:|"
  awk -F'|' '{print "| " $1 " | " $2 " | " $3 " |"}' "$OUT/memory.txt"
  echo
  if [ -x bench/roundtrip.sh ]; then
    bench/roundtrip.sh
    echo
  fi
  echo "## Time per row against N"
  echo
  echo "![insert: time per row against N]($(basename "$CHART"))"
  echo
  echo "## Where dbi's own instructions go (insert, N = $CG_ROWS, inclusive)"
  echo
  echo "A function appears once per source file its inlined code came from."
  echo
  echo '```'
  { callgrind_annotate --inclusive=yes "$OUT/callgrind.insert.dbi" 2>/dev/null |
      grep -E '^ *[0-9,]+ \( *[0-9.]+%\) ' | grep -E 'dbi::|sqlite3_exec ' | grep -v -E 'bench::|ProfileMain|=>' |
      head -16 | sed -E 's/ \[[^]]*\]$//; s#[^ ]*/(include|shlibs)/#\1/#' | cut -c1-150; } || true
  echo '```'
  echo
  cat bench/profile.md
} >"$REPORT"
echo "wrote $REPORT and $CHART"
