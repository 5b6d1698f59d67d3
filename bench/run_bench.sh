#!/usr/bin/env bash
# Builds and runs one benchmark program under Wine and prints its figures
# and ratios (each against a baseline measured in the same run).
#   bench/run_bench.sh NAME [BUILD_DIR] [ARTICLES]
# NAME is store_bench, views_bench or bench_window_start (whose count is of
# groups); BUILD_DIR defaults to $PELNOR_BUILD or ./build; ARTICLES to
# 100000. The build's Wine session is used when it runs, else started and
# stopped here.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
name=${1:?benchmark name}
build=${2:-${PELNOR_BUILD:-$top/build}}
articles=${3:-100000}
build=$(cd "$build" && pwd)

cmake --build "$build" --target "$name" >/dev/null

session=$build/wine-session
started=
if [ ! -f "$session/env" ]; then
  "$top/tools/wine-session.sh" start "$session" >/dev/null
  started=1
fi
status=0
PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$build/bench/$name.exe" "$articles" || status=$?
if [ -n "$started" ]; then
  "$top/tools/wine-session.sh" stop "$session" >/dev/null
fi
exit $status
