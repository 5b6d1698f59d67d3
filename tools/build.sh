#!/usr/bin/env bash
# Configures and builds Pelnor and its tests in a build folder
# (default: build/ beside the sources). Arguments go to the configure step.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
cmake -S "$top" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-x86_64.cmake" "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
