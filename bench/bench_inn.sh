# Sourced by the download benchmarks, with top, build, inn, session and
# work set: a private INN 2.7 (its port in $port) and a Wine session for
# this run, started afresh; when the script exits both are stopped, the
# delay proxy ($proxy_pid, if one was started) killed and $work removed.
# bench_seed GROUP COUNT posts COUNT articles of about 1 KB to GROUP;
# slrn PORT GROUP pulls GROUP with Debian's slrnpull, the baseline, and
# prints: articles seconds articles/s.
proxy_pid=
cleanup() {
  [ -n "$proxy_pid" ] && kill "$proxy_pid" 2>/dev/null || true
  "$top/tools/inn/inn.sh" stop "$inn" >/dev/null 2>&1 || true
  "$top/tools/wine-session.sh" stop "$session" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT

"$top/tools/inn/inn.sh" stop "$inn" >/dev/null 2>&1 || true
if [ -L "$inn" ]; then rm -rf "$(readlink -f "$inn")"; fi
rm -rf "$inn"
port=$("$top/tools/inn/inn.sh" start "$inn" 0)
"$top/tools/wine-session.sh" start "$session" >/dev/null

bench_seed() { python3 "$top/tools/inn/corpus.py" bench "$inn" "$top/tools/inn/inn.sh" "$1" "$2"; }

slrn() {
  local spool=$work/slrn-$RANDOM
  mkdir -p "$spool"
  printf 'default 0 7 0\n%s\n' "$2" >"$spool/slrnpull.conf"
  local start end
  start=$(date +%s.%N)
  SLRNPULL_ROOT=$spool slrnpull -d "$spool" -h "127.0.0.1:$1" --no-post >"$spool/out.txt" 2>&1
  end=$(date +%s.%N)
  local got
  got=$(find "$spool/news" -type f -name '[0-9]*' | wc -l)
  rm -rf "$spool"
  python3 -c "import sys; n,s=int(sys.argv[1]),float(sys.argv[3])-float(sys.argv[2]); print(n, '%.3f'%s, '%.1f'%(n/s))" "$got" "$start" "$end"
}
