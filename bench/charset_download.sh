#!/usr/bin/env bash
# What decoding every charset costs the download: the same 1,000 article
# texts (about 1 KB each) posted twice to a private INN 2.7, once as
# ISO-2022-JP words and bodies (fj.bench.jis), once as UTF-8 words and 8-bit
# UTF-8 bodies (fj.bench.utf8), each downloaded RUNS times (default 5, taking
# turns) by bench_nntp_download.exe at the default depth with DecodeCharsets
# 1; the ISO-2022-JP group also with DecodeCharsets 0, the plain rules, as
# the baseline. Medians; articles/s and microseconds an article, and each
# against the baseline. Aim: UTF-8 within 1.3x of ISO-2022-JP.
#
#   bench/charset_download.sh [RUNS]   (root; uses PELNOR_BUILD, default build/)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
exe=$build/bench/bench_nntp_download.exe
runs=${1:-5}
[ -f "$exe" ] || { echo "build first: $exe is missing" >&2; exit 1; }
[ "$(id -u)" = 0 ] || { echo "run as root (innd)" >&2; exit 1; }
default_depth=$(sed -n 's/.*kDefaultPipelineDepth = \([0-9]*\).*/\1/p' "$top/settings/settings.h")
inn=$build/charset-bench-inn
session=$build/charset-bench-session
work=$(mktemp -d /tmp/pelnor-charset-bench.XXXXXX)
. "$top/bench/bench_inn.sh"
bench_seed fj.bench.jis 1000
python3 "$top/tools/inn/corpus.py" bench "$inn" "$top/tools/inn/inn.sh" fj.bench.utf8 1000 utf-8

# pelnor GROUP DECODE -> seconds
pelnor() {
  local data=$work/pelnor-$RANDOM
  mkdir -p "$data"
  PELNOR_BENCH_DECODE=$2 PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$exe" "$port" "Z:${data//\//\\}\\" \
    "$default_depth" "$1" | tr -d '\r' | awk '{printf "%.4f\n", $2 / 1000}'
  rm -rf "$data"
}
median() { sort -n | awk '{a[NR] = $1} END {print a[int((NR + 1) / 2)]}'; }

: >"$work/base" && : >"$work/jis" && : >"$work/utf8"
for _ in $(seq 1 "$runs"); do
  pelnor fj.bench.jis 0 >>"$work/base"
  pelnor fj.bench.jis 1 >>"$work/jis"
  pelnor fj.bench.utf8 1 >>"$work/utf8"
done
base=$(median <"$work/base")
echo "download of 1,000 articles from INN 2.7 on loopback, depth $default_depth; medians of $runs runs"
printf '  %-38s %8s %8s %9s %8s\n' articles seconds art/s us/art "/ base"
for row in "ISO-2022-JP, DecodeCharsets 0:base" "ISO-2022-JP, DecodeCharsets 1:jis" "UTF-8, DecodeCharsets 1:utf8"; do
  name=${row%%:*}
  s=$(median <"$work/${row##*:}")
  python3 -c "import sys; s, b = float(sys.argv[2]), float(sys.argv[3]); print('  %-38s %8.3f %8.1f %9.1f %8.2f' % (sys.argv[1], s, 1000 / s, s * 1000, s / b))" "$name" "$s" "$base"
done
