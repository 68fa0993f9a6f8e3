#!/usr/bin/env bash
# Reads the programs of a release build, and fails where they are not hardened:
#   scripts/check-hardening.sh [BUILD FOLDER]     build/release without one
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build="${1:-build/release}"

fail() { echo "check-hardening: $*" >&2; exit 1; }
# All of the text is read, as a reader that leaves early would end the writer with a fault.
has() { grep -c -- "$1" >/dev/null; }

for program in "$build/apps/browser/korvane-browser" "$build/server/korvane-camera-server" \
    "$build/libexec/korvane/korvane-film-helper"; do
  name="$(basename "$program")"
  readelf -hW "$program" | has 'Type: *DYN' || fail "$name stands at a fixed address"
  readelf -dW "$program" | has 'FLAGS_1.*NOW' || fail "$name looks functions up while it runs"
  readelf -lW "$program" | has 'GNU_RELRO' || fail "$name leaves its tables writable"
  readelf -lW "$program" | has 'GNU_STACK.* RW ' || fail "$name has a stack that can be run"
  symbols="$(readelf -sW "$program")"
  has '__stack_chk_fail' <<<"$symbols" || fail "$name has no guards on its stack"
  has '__glibcxx_assert_fail' <<<"$symbols" || fail "$name does not check the standard library's arguments"
  has '__[a-z]*_chk@GLIBC' <<<"$symbols" || fail "$name does not check the lengths that the C library gets"
  if [ "$(uname -m)" = x86_64 ]; then
    marks="$(objdump -d --no-show-raw-insn "$program" | grep -c endbr64 || true)"
    [ "$marks" -gt 100 ] || fail "$name has no marks for its jumps"
  fi
done
# These leave no trace that could be read.
for flag in -fstack-clash-protection -ftrivial-auto-var-init=zero; do
  without="$(grep '"command"' "$build/compile_commands.json" | grep -cv -- "$flag" || true)"
  [ "$without" -eq 0 ] || fail "$without sources are compiled without $flag"
done
echo "check-hardening: the programs are hardened"
