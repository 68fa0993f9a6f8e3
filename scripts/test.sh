#!/usr/bin/env bash
# Installs what is missing, builds and runs the tests:
#   scripts/test.sh [PRESET...]     presets of CMakePresets.json; without one: core dev
# core is the data layer without Qt, dev is everything, asan and tsan are everything under the sanitizers, release and
# core-release are optimised, as what scripts/run.sh starts.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "${1:-}" in
  -h|--help) sed -n '2,5s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
esac
[ $# -gt 0 ] || set -- core dev

scripts/bootstrap.sh
scripts/check-format.sh
scripts/check-time.sh

if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  XDG_RUNTIME_DIR="$(mktemp -d)"
  export XDG_RUNTIME_DIR
fi
# One preset's objects serve the next where the flags are the same.
export CCACHE_NOHASHDIR=true CCACHE_BASEDIR="$PWD" CCACHE_SLOPPINESS=pch_defines,time_macros
export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export TSAN_OPTIONS="suppressions=$PWD/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1"

for preset in "$@"; do
  echo "== $preset: build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  case "$preset" in core*|dev|release) cmake --build --preset "$preset" --target all_verify_interface_header_sets ;; esac
  echo "== $preset: tests"
  # Half of the tests wait for films that play, or for a service.
  ctest --preset "$preset" -j"$((2 * $(nproc)))"
done
