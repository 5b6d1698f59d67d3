#!/usr/bin/env bash
# What TLS and COMPRESS DEFLATE cost Pelnor's download, every link in the
# same run against the same private INN 2.7 (nnrpd as shipped) and the same
# 1,000 articles of about 1 KB (fj.bench.thousand), at the default depth:
#   - articles/s and peak private bytes of bench_nntp_download.exe over
#     plain TCP (the baseline), implicit TLS (a second reader, nnrpd -S),
#     STARTTLS (a third reader), and COMPRESS DEFLATE over plain TCP and
#     over implicit TLS; each link RUNS times (default 5), taking turns, the
#     table showing the medians and each rate / plain. Aims: implicit TLS
#     at 0.8x plain or better, and under 4 MB more peak private bytes. The
#     same runs on a group of 10 articles (fj.bench.ten) show what opening
#     the connection costs, and the rate of the rest of the big group;
#   - the bytes on the wire of one download of the group, each way, with
#     COMPRESS off and on (plain TCP) and over implicit TLS, counted by a
#     pass-through proxy (bench/delay_proxy.py with no delay).
# The TLS readers serve inn.sh's test certificate "good" (localhost and
# 127.0.0.1), checked against its test CA (inn.sh certs), given to Pelnor as
# its file of extra roots.
#
#   bench/tls_download.sh [RUNS]   (root; uses PELNOR_BUILD, default build/;
#                                   PELNOR_BENCH_HOST, default localhost)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
exe=$build/bench/bench_nntp_download.exe
runs=${1:-5}
host=${PELNOR_BENCH_HOST:-localhost}
[ -f "$exe" ] || { echo "build first: $exe is missing" >&2; exit 1; }
[ "$(id -u)" = 0 ] || { echo "run as root (innd)" >&2; exit 1; }
default_depth=$(sed -n 's/.*kDefaultPipelineDepth = \([0-9]*\).*/\1/p' "$top/settings/settings.h")
inn=$build/tls-bench-inn
session=$build/tls-bench-session
work=$(mktemp -d /tmp/pelnor-tls-bench.XXXXXX)
. "$top/bench/bench_inn.sh"
proxies=
trap '[ -z "$proxies" ] || kill $proxies 2>/dev/null || true; cleanup' EXIT
bench_seed fj.bench.thousand 1000
bench_seed fj.bench.ten 10

inn_sh=$top/tools/inn/inn.sh
tls_port=$("$inn_sh" reader "$inn" 0 --tls implicit)
starttls_port=$("$inn_sh" reader "$inn" 0 --tls starttls)
ca=$(PELNOR_SESSION=$session "$top/tools/wine-run.sh" winepath -w "$inn/tls/ca.pem" | tr -d '\r')

# Counting proxies in front of the plain and the implicit TLS reader: each
# connection's byte counts go to $work/NAME.count.
for name in plain tls; do
  target=$port
  [ "$name" = tls ] && target=$tls_port
  python3 "$top/bench/delay_proxy.py" 0 "$target" 0 "$work/$name.count" >"$work/$name.port" &
  proxies="$proxies $!"
done
for name in plain tls; do
  while [ ! -s "$work/$name.port" ]; do sleep 0.1; done
done
plain_counter=$(cat "$work/plain.port")
tls_counter=$(cat "$work/tls.port")

# pelnor PORT TLS COMPRESS [GROUP] -> articles seconds articles/s
# peak-private-bytes
pelnor() {
  local data=$work/pelnor-$RANDOM
  mkdir -p "$data"
  PELNOR_BENCH_HOST=$host PELNOR_BENCH_TLS=$2 PELNOR_BENCH_COMPRESS=$3 PELNOR_BENCH_CA=$ca \
    PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$exe" "$1" "Z:${data//\//\\}\\" "$default_depth" \
    "${4:-fj.bench.thousand}" | tr -d '\r' | awk '{printf "%d %.3f %.1f %d\n", $1, $2 / 1000, $3, $4}'
  rm -rf "$data"
}
# wire NAME PORT TLS COMPRESS -> client-to-server server-to-client bytes of
# one download through the counting proxy NAME (listening on PORT)
wire() {
  local count=$work/$1.count
  : >"$count"
  local got
  got=$(pelnor "$2" "$3" "$4")
  [ "$(echo "$got" | awk '{print $1}')" = 1000 ] || { echo "download through the proxy: $got" >&2; exit 1; }
  # The proxy writes its line once both ends have closed.
  for _ in $(seq 1 100); do [ -s "$count" ] && break; sleep 0.05; done
  awk '{up += $1; down += $2} END {print up + 0, down + 0}' "$count"
}

echo "articles in fj.bench.thousand: 1000 of $(python3 -c "
import glob,os,sys; f=glob.glob(sys.argv[1]+'/corpus/fj.bench.thousand.*'); print('%.0f' % (sum(os.path.getsize(x) for x in f)/len(f)))" "$inn") bytes on average (wire)"

results=$work/results
: >"$results"
for i in $(seq 1 "$runs"); do
  for group in fj.bench.thousand fj.bench.ten; do
    echo "plain $group $(pelnor "$port" 0 0 $group)" >>"$results"
    echo "implicit $group $(pelnor "$tls_port" 1 0 $group)" >>"$results"
    echo "starttls $group $(pelnor "$starttls_port" 2 0 $group)" >>"$results"
    echo "compress $group $(pelnor "$port" 0 1 $group)" >>"$results"
    echo "implicit+compress $group $(pelnor "$tls_port" 1 1 $group)" >>"$results"
  done
done
wire_off=$(wire plain "$plain_counter" 0 0)
wire_on=$(wire plain "$plain_counter" 0 1)
wire_tls=$(wire tls "$tls_counter" 1 0)

python3 - "$host" "$default_depth" "$runs" "$results" "$wire_off" "$wire_on" "$wire_tls" <<'PY'
import statistics, sys
host, depth, runs, path = sys.argv[1:5]
wire_off, wire_on, wire_tls = ([int(x) for x in a.split()] for a in sys.argv[5:8])
rows, ten = {}, {}
for line in open(path):
    f = line.split()
    (rows if f[1] == "fj.bench.thousand" else ten).setdefault(f[0], []).append([float(x) for x in f[2:]])
med = statistics.median
links = (("plain", "plain TCP"), ("implicit", "implicit TLS"), ("starttls", "STARTTLS"),
         ("compress", "COMPRESS DEFLATE"), ("implicit+compress", "implicit TLS + COMPRESS"))
plain_rate = med([r[2] for r in rows["plain"]])
plain_peak = med([r[3] for r in rows["plain"]])
print("download of fj.bench.thousand from INN 2.7 nnrpd as shipped, loopback, host %s, depth %s;"
      " medians of %s runs" % (host, depth, runs))
print("  %-30s %8s %8s %8s %15s %8s %8s %8s" % ("link", "articles", "seconds", "art/s", "art/s low-high",
                                               "/ plain", "peak MB", "+MB"))
for key, name in links:
    r = rows[key]
    rates = [x[2] for x in r]
    peak = med([x[3] for x in r])
    print("  %-30s %8d %8.3f %8.1f %15s %8.2f %8.2f %+8.2f" % (
        name, med([x[0] for x in r]), med([x[1] for x in r]), med(rates), "%.0f-%.0f" % (min(rates), max(rates)),
        med(rates) / plain_rate, peak / 2**20, (peak - plain_peak) / 2**20))
# The same links on a group of 10 articles: mostly the cost of opening the
# connection; the 990 articles more of the big group, at what rate.
steady = lambda key: 990 / (med([x[1] for x in rows[key]]) - med([x[1] for x in ten[key]]))
print("the same on fj.bench.ten (10 articles: mostly opening the connection), and the rate of the 990 articles more")
print("  %-30s %8s %10s %8s %8s" % ("link", "seconds", "+ seconds", "art/s", "/ plain"))
for key, name in links:
    s = med([x[1] for x in ten[key]])
    print("  %-30s %8.3f %+10.3f %8.1f %8.2f" % (name, s, s - med([x[1] for x in ten["plain"]]), steady(key),
                                                 steady(key) / steady("plain")))
print("bytes on the wire for one download of the group (counting proxy)")
print("  %-30s %16s %16s %9s" % ("link", "client->server", "server->client", "/ plain"))
for name, w in (("plain TCP", wire_off), ("COMPRESS DEFLATE", wire_on), ("implicit TLS", wire_tls)):
    print("  %-30s %16d %16d %9.3f" % (name, w[0], w[1], w[1] / wire_off[1]))
print("  COMPRESS / plain: client->server %.3f, server->client %.3f" % (wire_on[0] / wire_off[0],
                                                                       wire_on[1] / wire_off[1]))
PY
