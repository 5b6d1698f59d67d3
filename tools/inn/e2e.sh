#!/usr/bin/env bash
# The INN of the end-to-end tests: a private INN with two readers on free
# loopback ports, one open and one that wants "pelnor" / "e2e-secret",
# holding the test corpus (3 groups of 80 articles, some cancelled). Both
# readers are nnrpd as INN starts it. Readers over TLS besides them: one
# each for implicit TLS and STARTTLS that take the same login only once
# encrypted, and one with implicit TLS for each certificate a client must
# question (self-signed, another host's, expired, and a second good one).
# The group fj.test.charsets holds one article of each charset and MIME form
# posters use (tools/inn/charset_corpus.py).
#   e2e.sh start DIR    DIR/ports holds "OPEN_PORT AUTH_PORT";
#                       DIR/tls-ports "NAME PORT" lines (implicit, starttls,
#                       selfsigned, wronghost, expired, good2);
#                       DIR/tls the certificates (inn.sh certs);
#                       DIR/expected the log and index bytes per group
#   e2e.sh stop DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cmd=${1:?start or stop}
dir=${2:?folder}
# The daemons must not keep the caller's pipes (CTest waits for them).
for fd in /proc/$$/fd/*; do
  n=${fd##*/}
  if [ "$n" -gt 2 ] 2>/dev/null; then eval "exec $n>&-" 2>/dev/null || true; fi
done
case "$cmd" in
start)
  if [ "$(id -u)" != 0 ]; then echo "e2e.sh: innd needs root" >&2; exit 1; fi
  "$here/inn.sh" stop "$dir" >/dev/null 2>&1 || true  # a server left by an earlier run
  rm -rf "$dir"
  open_port=$("$here/inn.sh" start "$dir" 0)
  auth_port=$("$here/inn.sh" reader "$dir" 0 pelnor:e2e-secret)
  python3 "$here/corpus.py" e2e "$dir" "$here/inn.sh" fj.test.pelnor,fj.comp.pelnor.misc,japan.test.pelnor 80
  "$here/inn.sh" newgroup "$dir" fj.test.charsets fj.test.post
  python3 "$here/charset_corpus.py" "$dir" | xargs "$here/inn.sh" post "$dir"
  {
    echo "implicit $("$here/inn.sh" reader "$dir" 0 pelnor:e2e-secret --tls implicit --require-tls-login)"
    echo "starttls $("$here/inn.sh" reader "$dir" 0 pelnor:e2e-secret --tls starttls --require-tls-login)"
    for cert in selfsigned wronghost expired good2; do
      echo "$cert $("$here/inn.sh" reader "$dir" 0 --tls implicit --cert $cert)"
    done
  } >"$dir/tls-ports"
  echo "$open_port $auth_port" >"$dir/ports.tmp"
  mv "$dir/ports.tmp" "$dir/ports"
  ;;
stop)
  "$here/inn.sh" stop "$dir"
  ;;
*)
  echo "usage: $0 start|stop DIR" >&2; exit 2 ;;
esac
