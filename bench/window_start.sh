#!/usr/bin/env bash
# Start-up on a folder of many subscribed groups through Pelnor's window, a
# first start and a later one, against checking every group before the
# first row (bench/window_start.cpp says what is timed):
#   bench/window_start.sh [GROUPS] [BUILD_DIR]
# GROUPS defaults to 10000; BUILD_DIR to $PELNOR_BUILD or ./build.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
exec "$top/bench/run_bench.sh" bench_window_start "${2:-${PELNOR_BUILD:-$top/build}}" "${1:-10000}"
