#!/usr/bin/env bash
# Builds and starts hosts outside of this tree, by both ways of taking the library: from the installed package and by
# add_subdirectory. Installs what scripts/test.sh has built with two presets, then looks at the programs' package:
#   scripts/check-package.sh [CORE_PRESET] [PRESET]     without them: core dev
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root="$PWD"
core="${1:-core}"
all="${2:-dev}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software XDG_RUNTIME_DIR="$work"

fail() { echo "check-package: $*" >&2; exit 1; }

# host NAME OPTION...: builds the project $work/NAME with warnings as errors.
host() {
  local name="$1"; shift
  echo "== host $name"
  cmake -G Ninja -S "$work/$name" -B "$work/$name/build" -DCMAKE_CXX_FLAGS=-Werror "$@" >/dev/null
  cmake --build "$work/$name/build" >"$work/log" || { cat "$work/log"; fail "$name does not build"; }
}

# A host without a service says that it cannot use this token. Nothing else may go wrong.
refuses() {
  local said; said="$("$@" not-a-token 2>&1 >/dev/null)" && fail "$1 takes any token"
  [[ "$said" =~ ^"the token was refused with status "-?[0-9]+$ ]] || fail "$1 says: $said"
}

mkdir "$work/model" "$work/subdirectory"
cat >"$work/model/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(model LANGUAGES CXX)
find_package(korvanesdktimelineview 2 REQUIRED COMPONENTS model)
if(TARGET Qt6::Core)
  message(FATAL_ERROR "the model needs Qt")
endif()
add_executable(model main.cpp)
target_link_libraries(model PRIVATE korvane::timeline_model)
END
cat >"$work/model/main.cpp" <<'END'
#include "korvane/base/LoopScheduler.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"

int main() {
    korvane::LoopScheduler scheduler;
    korvane::HttpService service(scheduler);
    const korvane::ScrubberEventsDataProvider provider(scheduler, service);
}
END
cat >"$work/subdirectory/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(subdirectory LANGUAGES CXX)
add_subdirectory("$root" korvane)
add_subdirectory("$root/examples/cpp_host" example)
END
cp -r examples/cpp_host examples/qml_host "$work"

cmake --install "build/$core" --prefix "$work/prefix-core" >/dev/null
cmake --install "build/$all" --prefix "$work/prefix-all" >/dev/null
(cd "$work/prefix-all/include"
 grep -rhoP '#include "\K[^"]+' . | sort -u | while read -r header; do
   [ -f "$header" ] || fail "an installed header includes $header, which is not installed"
 done)
host model -DCMAKE_PREFIX_PATH="$work/prefix-core"
"$work/model/build/model"
host cpp_host -DCMAKE_PREFIX_PATH="$work/prefix-all"
refuses "$work/cpp_host/build/korvane-example-cpp"
host qml_host -DCMAKE_PREFIX_PATH="$work/prefix-all"
# It shows its window until somebody ends it.
said="$(timeout 5 "$work/qml_host/build/korvane-example-qml" not-a-token 2>&1)" && fail "the example in QML shows no window"
[ -z "$said" ] || fail "the example in QML says: $said"
host subdirectory
refuses "$work/subdirectory/build/example/korvane-example-cpp"
ls "$work"/subdirectory/build/korvane/{server,tests,bench,apps} 2>/dev/null && fail "a host builds more than the libraries"
echo "check-package: all hosts are fine"
scripts/check-debian-package.sh "build/$all"
