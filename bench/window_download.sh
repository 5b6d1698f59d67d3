#!/usr/bin/env bash
# Download rate through Pelnor's window, every client in the same run
# against the same private INN 2.7 (nnrpd as shipped) and the same 1,000
# articles of about 1 KB (fj.bench.thousand):
#   - Debian's slrnpull, pulling the group into a spool of its own (the
#     baseline);
#   - Pelnor's download code alone (bench_nntp_download.exe at the default
#     depth): one session, no window;
#   - Pelnor's window (bench_window_download.exe): the real main frame over
#     a fresh data folder subscribed to the group, the I key pressed in the
#     group view, timed from the key to the end-of-run box; the phases of
#     that time are shown below the table.
# Each client runs RUNS times (default 5), taking turns; the table shows the
# medians, and the lowest and highest rate. With --delay the same again
# through a proxy adding 50 ms of round trip (bench/delay_proxy.py).
#
#   bench/window_download.sh [RUNS] [--delay]   (root; uses PELNOR_BUILD,
#                                                default build/)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
engine=$build/bench/bench_nntp_download.exe
window=$build/bench/bench_window_download.exe
runs=5
delay=0
for arg in "$@"; do
  case "$arg" in
  --delay) delay=1 ;;
  [0-9]*) runs=$arg ;;
  *) echo "usage: $0 [RUNS] [--delay]" >&2; exit 2 ;;
  esac
done
for exe in "$engine" "$window"; do
  [ -f "$exe" ] || { echo "build first: $exe is missing" >&2; exit 1; }
done
[ "$(id -u)" = 0 ] || { echo "run as root (innd)" >&2; exit 1; }
command -v slrnpull >/dev/null || { echo "apt-get install slrnpull" >&2; exit 1; }
default_depth=$(sed -n 's/.*kDefaultPipelineDepth = \([0-9]*\).*/\1/p' "$top/settings/settings.h")
inn=$build/window-bench-inn
session=$build/window-bench-session
work=$(mktemp -d /tmp/pelnor-window-bench.XXXXXX)
. "$top/bench/bench_inn.sh"
bench_seed fj.bench.thousand 1000

# Each prints: articles seconds articles/s [phases in ms]
engine() {
  local data=$work/engine-$RANDOM
  mkdir -p "$data"
  PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$engine" "$1" "Z:${data//\//\\}\\" "$default_depth" \
    fj.bench.thousand | tr -d '\r' | awk '{printf "%d %.3f %.1f\n", $1, $2 / 1000, $3}'
  rm -rf "$data"
}
window() {
  local data=$work/window-$RANDOM
  mkdir -p "$data"
  PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$window" "$1" "Z:${data//\//\\}\\" fj.bench.thousand |
    tr -d '\r' | awk '{printf "%d %.3f %.1f %s %s %s %s\n", $1, $2 / 1000, $3, $4, $5, $6, $7}'
  rm -rf "$data"
}

measure() { # TITLE PORT -> the table of RUNS turns of each client
  local title=$1 p=$2 results=$work/results-$RANDOM
  : >"$results"
  for i in $(seq 1 "$runs"); do
    echo "slrn $(slrn "$p" fj.bench.thousand)" >>"$results"
    echo "engine $(engine "$p")" >>"$results"
    echo "window $(window "$p")" >>"$results"
  done
  python3 - "$title" "$default_depth" "$runs" "$results" <<'PY'
import statistics, sys
title, depth, runs, path = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4]
rows = {}
for line in open(path):
    f = line.split()
    rows.setdefault(f[0], []).append([float(x) for x in f[1:]])
med = lambda values: statistics.median(values)
slrn_rate = med([r[2] for r in rows["slrn"]])
print("download of fj.bench.thousand from INN 2.7 nnrpd as shipped, %s; medians of %s runs" % (title, runs))
print("  %-44s %8s %8s %8s %15s %10s" % ("client", "articles", "seconds", "art/s", "art/s low-high", "/ slrnpull"))
for key, name in (("slrn", "slrnpull (Debian)"),
                  ("engine", "Pelnor's download code alone, depth %s" % depth),
                  ("window", "Pelnor's window: I key to end-of-run box")):
    r = rows[key]
    rates = [x[2] for x in r]
    print("  %-44s %8d %8.3f %8.1f %15s %10.2f" % (name, med([x[0] for x in r]), med([x[1] for x in r]), med(rates),
          "%.0f-%.0f" % (min(rates), max(rates)), med(rates) / slrn_rate))
w = rows["window"]
engine_rate = med([x[2] for x in rows["engine"]])
print("  window / download code alone: %.2f" % (med([x[2] for x in w]) / engine_rate))
print("  window phases (ms, medians): key to progress dialog %.1f, dialog up (session) %.1f,"
      " dialog end to box %.1f; box answer to idle (group view reload) %.1f" %
      tuple(med([x[i] for x in w]) for i in (3, 4, 5, 6)))
PY
}

echo "articles in fj.bench.thousand: 1000 of $(python3 -c "
import glob,os,sys; f=glob.glob(sys.argv[1]+'/corpus/fj.bench.thousand.*'); print('%.0f' % (sum(os.path.getsize(x) for x in f)/len(f)))" "$inn") bytes on average (wire)"
measure loopback "$port"

if [ "$delay" = 1 ]; then
  slow_port=$(python3 "$top/bench/delay_proxy.py" 0 "$port" 50 > "$work/proxy.port" & echo $! > "$work/proxy.pid"
              while [ ! -s "$work/proxy.port" ]; do sleep 0.1; done; cat "$work/proxy.port")
  proxy_pid=$(cat "$work/proxy.pid")
  measure "loopback + 50 ms round trip (proxy)" "$slow_port"
fi
