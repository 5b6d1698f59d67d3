#!/usr/bin/env bash
# Download rate from a real INN 2.7: Pelnor (under Wine, storing every
# article) beside a plain client that sends the same GROUP, HEAD and BODY
# commands one at a time and stores nothing, measured in the same run
# against the same server and corpus (3 groups, 222 articles).
#
# nnrpd writes a reply's status line and its data in two writes; with
# Nagle's algorithm on its side and delayed acknowledgements on the
# client's, every reply waits ~40 ms. The stall is shown apart by running
# each client twice: against the reader as INN starts it, and against a
# reader whose connections have TCP_NODELAY (tools/inn/nodelay.c preloaded);
# the plain client also runs with immediate acknowledgements (TCP_QUICKACK).
#
#   bench/nntp_download.sh        (root; uses the build folder, default build/)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
exe=$build/bench/bench_nntp_download.exe
[ -f "$exe" ] || { echo "build first: $exe is missing" >&2; exit 1; }
inn=$build/bench-inn
session=$build/bench-session
cleanup() {
  "$top/tools/inn/e2e.sh" stop "$inn" >/dev/null 2>&1 || true
  "$top/tools/wine-session.sh" stop "$session" >/dev/null 2>&1 || true
}
trap cleanup EXIT

"$top/tools/inn/e2e.sh" start "$inn" >/dev/null
read -r plain_port _ <"$inn/ports"
nodelay_port=$(PELNOR_INN_NODELAY=1 "$top/tools/inn/inn.sh" reader "$inn" 0)
groups=$(paste -sd, "$inn/expected/groups.txt")
"$top/tools/wine-session.sh" start "$session"

plain() { python3 "$top/bench/nntp_plain.py" "$@"; }
pelnor() {
  local data=$build/bench-data-$1
  rm -rf "$data"; mkdir -p "$data"
  PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$exe" "$1" "Z:${data//\//\\}\\" ${groups//,/ } | tr -d '\r'
}

plain_default=$(plain "$plain_port" "$groups")
plain_quickack=$(plain "$plain_port" "$groups" quickack)
plain_nodelay=$(plain "$nodelay_port" "$groups")
pelnor_default=$(pelnor "$plain_port")
pelnor_nodelay=$(pelnor "$nodelay_port")

python3 - "$plain_default" "$plain_quickack" "$plain_nodelay" "$pelnor_default" "$pelnor_nodelay" <<'PY'
import sys
pd, pq, pn = ([float(x) for x in a.split()] for a in sys.argv[1:4])
wd, wn = ([float(x) for x in a.split()] for a in sys.argv[4:6])
articles = int(pd[0])
print("download of %d articles (HEAD + BODY each, one command at a time) from INN 2.7 on loopback" % articles)
print("%-48s %9s %9s %8s" % ("client / server", "art/s", "seconds", "stalls"))
print("%-48s %9.1f %9.3f %8d" % ("plain script / nnrpd as started", pd[2], pd[1], pd[3]))
print("%-48s %9.1f %9.3f %8d" % ("plain script, immediate ACKs / nnrpd as started", pq[2], pq[1], pq[3]))
print("%-48s %9.1f %9.3f %8d" % ("plain script / nnrpd with TCP_NODELAY", pn[2], pn[1], pn[3]))
print("%-48s %9.1f %9.3f" % ("Pelnor (Wine, storing) / nnrpd as started", wd[2], wd[1] / 1000))
print("%-48s %9.1f %9.3f" % ("Pelnor (Wine, storing) / nnrpd with TCP_NODELAY", wn[2], wn[1] / 1000))
print("ratio Pelnor / plain script: %.2f against nnrpd as started, %.2f with TCP_NODELAY"
      % (wd[2] / pd[2], wn[2] / pn[2]))
print("delayed-ACK stalls per article: plain script %.1f ms, Pelnor %.1f ms; own cost per article:"
      " plain script %.2f ms, Pelnor %.2f ms"
      % ((pd[1] - pn[1]) * 1000 / articles, (wd[1] - wn[1]) / wd[0], pn[1] * 1000 / articles, wn[1] / wn[0]))
PY
