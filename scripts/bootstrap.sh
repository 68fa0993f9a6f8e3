#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running need. Does nothing when all are there.
#   scripts/bootstrap.sh [fuzz]     with what the fuzzers need as well
set -euo pipefail

packages=(
  # build
  g++ cmake ninja-build pkg-config ccache lld dpkg-dev
  # widgets and application
  qt6-base-dev qt6-declarative-dev libsdl2-dev
  qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtqml-workerscript
  qml6-module-qtquick-templates qml6-module-qtquick-dialogs qml6-module-qt-labs-folderlistmodel
  # data layer
  libcurl4-openssl-dev libicu-dev libssl-dev nlohmann-json3-dev
  # camera service, and the program that opens films
  libsqlite3-dev libcpp-httplib-dev libavformat-dev libavcodec-dev libswscale-dev libswresample-dev libavutil-dev
  libseccomp-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev zlib1g-dev ffmpeg clang-format
  # text and the calendar sign
  fonts-dejavu-core fonts-noto-color-emoji
)
# clang and what its fuzzers and sanitizers run with
[ "${1:-}" != fuzz ] || packages+=(clang libclang-rt-dev)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if ! command -v apt-get >/dev/null; then
  echo "bootstrap: these Debian packages are missing and apt-get is not here: ${missing[*]}" >&2
  exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "bootstrap: run as root, or install sudo, to add: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "Installing ${#missing[@]} packages: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
