#!/usr/bin/env bash
# Builds the fuzzers and runs each for so many seconds from its first inputs in fuzz/corpus:
#   scripts/fuzz.sh [SECONDS] [TARGET...]     20 seconds, all targets
# What it finds on the way stays in build/fuzz/found for the next time; an input that breaks something is in
# build/fuzz/broken, is tried first in each run from then on, and given to the target's program alone shows it again.
# With KORVANE_FUZZ_RUNS set, each target makes so many runs instead, however long they take.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "${1:-}" in
  -h|--help) sed -n '2,7s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
esac
seconds=20
if [[ "${1:-}" =~ ^[0-9]+$ ]]; then
  seconds="$1"
  shift
fi
# To the fuzzers 0 is no limit at all.
[ "$((10#$seconds))" -gt 0 ] || { echo "fuzz: how many seconds? 0 are none" >&2; exit 2; }
limit=(-max_total_time="$seconds")
[ -z "${KORVANE_FUZZ_RUNS:-}" ] || limit=(-runs="$KORVANE_FUZZ_RUNS")

scripts/bootstrap.sh fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
# All that are built here.
list=build/fuzz/fuzz/targets.txt
[ $# -gt 0 ] || set -- $(cut -d" " -f1 "$list")
[ $# -gt 0 ] || { echo "fuzz: there are no targets in $list" >&2; exit 1; }

export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
# Where each block was allocated costs a quarter of the runs, and is seen when the input is given to the program alone;
# what freed blocks the processor's cache does not hold, a third.
export ASAN_OPTIONS="malloc_context_size=1:quarantine_size_mb=1:thread_local_quarantine_size_kb=128:max_redzone=16"
failures=build/fuzz/failures
rm -f "$failures"

# What once broke a target is tried first, lest the next run forget it.
replay() {
  local program="$1" broken="$2" input
  shift 2
  for input in "$broken"/*; do
    [ ! -f "$input" ] || "$program" "$@" "$input" || return 1
  done
}

fuzz() {
  local target="$1" found="build/fuzz/found/$1" broken="build/fuzz/broken/$1" log="build/fuzz/$1.log"
  mkdir -p "$found" "$broken"
  # Leaks are looked for at the end; what the targets keep from run to run would have them looked for in each.
  local options=(-print_final_stats=1 -detect_leaks=0 -entropic=0 -timeout=10 -artifact_prefix="$broken/"
    -max_len="$(awk -v target="$target" '$1 == target { print $2 }' "$list")")
  local program="build/fuzz/fuzz/korvane_fuzz_$target"
  if replay "$program" "$broken" "${options[@]}" >"$log" 2>&1 &&
    "$program" "${options[@]}" "${limit[@]}" "$found" "fuzz/corpus/$target" >>"$log" 2>&1; then
    awk -v target="$target" '/number_of_executed_units/ { runs = $2 } /average_exec_per_sec/ { speed = $2 }
      END { printf "fuzz: %-12s %10d runs, %7d a second\n", target, runs, speed }' "$log"
  else
    grep -vE '^(#|INFO|stat::|\s*NEW_FUNC)' "$log" | tail -40 >&2 || true
    echo "fuzz: $target is broken; all of it is in $log" >&2
    echo "$target" >>"$failures"
  fi
}

# One for each core.
running=0
for target in "$@"; do
  fuzz "$target" &
  running=$((running + 1))
  [ "$running" -lt "$(nproc)" ] || wait -n
done
wait
[ ! -f "$failures" ]
