#!/usr/bin/env bash
# Fails when a manual page leaves out an option or a command that the program's help names:
#   packaging/check-manual.sh PROGRAM PAGE
set -euo pipefail
name="$(basename "$1")"
help="$("$1" --help)"
page="$(sed 's/\\-/-/g' "$2")"
missing=0
while read -r wanted; do
  grep -qE -- "(^|[^a-z-])$wanted($|[^a-z-])" <<<"$page" && continue
  echo "$2 does not name $wanted" >&2
  missing=1
done < <(grep -oE -- '--[a-z][a-z-]*' <<<"$help"; grep -oE "^  $name [a-z]+" <<<"$help" | sed 's/^ *//')
exit "$missing"
