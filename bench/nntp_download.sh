#!/usr/bin/env bash
# Download rate from a private INN 2.7 whose nnrpd runs as shipped, every
# client in the same run against the same server and articles:
#   - a plain script sending HEAD and BODY one command at a time
#     (bench/nntp_plain.py), storing nothing;
#   - Debian's slrnpull, pulling the group into a spool of its own;
#   - Pelnor's download (under Wine, storing every article in its log and
#     index) at depth 1 (one command at a time) and at its default depth;
# on loopback and through a proxy adding 50 ms of round trip
# (bench/delay_proxy.py); then a sweep of depths, and the download's peak
# private bytes after 1,000 and 10,000 articles.
#
#   bench/nntp_download.sh     (root; uses the build folder, default build/)
# One-at-a-time clients pay two round trips per article over the delayed
# link, so there they fetch the first PLAIN_SLOW (200) articles only; every
# rate is articles per second of what each fetched.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
exe=$build/bench/bench_nntp_download.exe
[ -f "$exe" ] || { echo "build first: $exe is missing" >&2; exit 1; }
[ "$(id -u)" = 0 ] || { echo "run as root (innd)" >&2; exit 1; }
command -v slrnpull >/dev/null || { echo "apt-get install slrnpull" >&2; exit 1; }
default_depth=$(sed -n 's/.*kDefaultPipelineDepth = \([0-9]*\).*/\1/p' "$top/settings/settings.h")
inn=$build/bench-inn
session=$build/bench-session
work=$(mktemp -d /tmp/pelnor-bench.XXXXXX)
. "$top/bench/bench_inn.sh"
bench_seed fj.bench.thousand 1000
bench_seed fj.bench.slow 200
bench_seed fj.bench.tenthousand 10000

slow_port=$(python3 "$top/bench/delay_proxy.py" 0 "$port" 50 > "$work/proxy.port" & echo $! > "$work/proxy.pid"
            while [ ! -s "$work/proxy.port" ]; do sleep 0.1; done; cat "$work/proxy.port")
proxy_pid=$(cat "$work/proxy.pid")

# Each prints: articles seconds articles/s
plain() { python3 "$top/bench/nntp_plain.py" "$1" "$2" | awk '{print $1, $2, $3}'; }
pelnor() { # PORT DEPTH GROUP -> articles seconds articles/s peak-private-bytes
  local data=$work/pelnor-$RANDOM
  mkdir -p "$data"
  PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$exe" "$1" "Z:${data//\//\\}\\" "$2" "$3" | tr -d '\r' |
    awk '{printf "%d %.3f %.1f %d\n", $1, $2 / 1000, $3, $4}'
}
rate() { echo "$1" | awk '{print $3}'; }

echo "articles in fj.bench.thousand: 1000 of $(python3 -c "
import glob,os,sys; f=glob.glob(sys.argv[1]+'/corpus/fj.bench.thousand.*'); print('%.0f' % (sum(os.path.getsize(x) for x in f)/len(f)))" "$inn") bytes on average (wire)"

loop_plain=$(plain "$port" fj.bench.thousand)
loop_slrn=$(slrn "$port" fj.bench.thousand)
loop_d1=$(pelnor "$port" 1 fj.bench.thousand)
loop_dd=$(pelnor "$port" "$default_depth" fj.bench.thousand)
slow_plain=$(plain "$slow_port" fj.bench.slow)
slow_slrn=$(slrn "$slow_port" fj.bench.thousand)
slow_d1=$(pelnor "$slow_port" 1 fj.bench.slow)
slow_dd=$(pelnor "$slow_port" "$default_depth" fj.bench.thousand)

python3 - "$default_depth" "$loop_plain" "$loop_slrn" "$loop_d1" "$loop_dd" "$slow_plain" "$slow_slrn" "$slow_d1" "$slow_dd" <<'PY'
import sys
depth = sys.argv[1]
rows = [a.split() for a in sys.argv[2:]]
names = ["plain script, one command at a time", "slrnpull (Debian)", "Pelnor, depth 1",
         "Pelnor, default depth %s" % depth]
for title, part in (("loopback", rows[:4]), ("loopback + 50 ms round trip (proxy)", rows[4:])):
    slrn = float(part[1][2])
    print("download from INN 2.7 nnrpd as shipped, %s" % title)
    print("  %-40s %9s %9s %9s %10s" % ("client", "articles", "seconds", "art/s", "/ slrnpull"))
    for name, r in zip(names, part):
        print("  %-40s %9s %9s %9s %10.2f" % (name, r[0], r[1], r[2], float(r[2]) / slrn))
PY

echo "depth sweep (Pelnor, 1,000 articles): art/s on loopback, art/s over 50 ms round trip"
for depth in 1 2 4 8 16 32 64 128 256; do
  a=$(rate "$(pelnor "$port" "$depth" fj.bench.thousand)")
  if [ "$depth" = 1 ]; then b=$(rate "$slow_d1"); else b=$(rate "$(pelnor "$slow_port" "$depth" fj.bench.thousand)"); fi
  printf '  depth %3d %9s %9s\n' "$depth" "$a" "$b"
done

k1=$(pelnor "$port" "$default_depth" fj.bench.thousand)
k10=$(pelnor "$port" "$default_depth" fj.bench.tenthousand)
echo "peak private bytes of the download program at depth $default_depth:" \
     "$(echo "$k1" | awk '{print $4}') after $(echo "$k1" | awk '{print $1}') articles," \
     "$(echo "$k10" | awk '{print $4}') after $(echo "$k10" | awk '{print $1}') articles ($(rate "$k10") art/s)"
