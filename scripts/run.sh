#!/usr/bin/env bash
# Builds the browser and opens it on a folder of recordings:
#   scripts/run.sh [FOLDER] [OPTION...]     without a folder, on sample footage that it makes first
# Without a display it runs the scripted tour instead and prints where the pictures are.
# The options are the browser's: see build/release/apps/browser/korvane-browser --help.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

case "${1:-}" in
  -h|--help) sed -n '2,5s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
esac

folder=""
if [ $# -gt 0 ] && [ "${1#-}" = "$1" ]; then
  folder="$1"; shift
  [ -d "$folder" ] || { echo "run: no such folder: $folder" >&2; exit 2; }
fi
has_option() { local wanted="$1" option; shift; for option in "$@"; do case "$option" in "$wanted"|"$wanted="*) return 0 ;; esac; done; return 1; }

"$root/scripts/bootstrap.sh"
(cd "$root"
 cmake --preset release -DKORVANE_WITH_TESTS=OFF -DKORVANE_WITH_BENCH=OFF >/dev/null
 cmake --build --preset release --target korvane-browser korvane-camera-server)

if [ -z "$folder" ] && ! has_option --token "$@"; then
  folder="$root/out/sample"
  if [ ! -f "$folder/.complete" ]; then
    echo "Making sample footage in $folder"
    rm -rf "$folder"
    "$root/build/release/server/korvane-camera-server" sample "$folder"
    touch "$folder/.complete"
  fi
fi

arguments=("$@")
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  XDG_RUNTIME_DIR="$(mktemp -d)"
  export XDG_RUNTIME_DIR
fi
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}" QT_QUICK_BACKEND="${QT_QUICK_BACKEND:-software}"
  has_option --capture "$@" || arguments+=(--capture "$root/out/pictures")
fi
exec "$root/build/release/apps/browser/korvane-browser" ${folder:+"$folder"} ${arguments[@]+"${arguments[@]}"}
