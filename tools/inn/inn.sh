#!/usr/bin/env bash
# A private INN 2.7 (Debian inn2) on loopback ports, in a folder of its own:
# innd takes articles, nnrpd serves readers. Must run as root (innd drops to
# the news user).
#
#   inn.sh start DIR PORT [USER:PASSWORD]   innd on a free port and a reader
#                                           (nnrpd) on 127.0.0.1:PORT; with
#                                           USER:PASSWORD readers must log in
#   inn.sh reader DIR PORT [USER:PASSWORD]  one more reader on another port
#   inn.sh newgroup DIR GROUP...            create groups
#   inn.sh post DIR FILE...                 offer wire-format articles (IHAVE)
#   inn.sh cancel DIR MESSAGE-ID...         remove articles from the spool
#   inn.sh seed DIR                         sample Japanese groups and articles;
#                                           DIR/group.dat subscribes to them
#   inn.sh stop DIR                         stop every daemon of DIR
# PORT 0 picks a free port; the port is printed. The readers are nnrpd as
# INN ships it. Everything INN writes stays in DIR; the daemons' output goes
# to DIR/log.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin=/usr/lib/news/bin
cmd=${1:?start, reader, newgroup, post, cancel, seed or stop}
dir=${2:?folder}
# The news user must reach every folder of the tree. Where it cannot (a
# clone under /root, mode 700) a new tree is made under /var/tmp and DIR
# becomes a link to it.
if [ "$cmd" = start ] && [ ! -e "$dir" ] && [ "$(id -u)" = 0 ] &&
   ! runuser -u news -- test -x "$(dirname "$(realpath -m "$dir")")" 2>/dev/null; then
  real=$(mktemp -d /var/tmp/pelnor-inn.XXXXXX)
  chmod 755 "$real"
  mkdir -p "$(dirname "$dir")"
  ln -s "$real" "$dir"
fi
mkdir -p "$dir"
dir=$(cd "$dir" && pwd -P)
export INNCONF=$dir/etc/inn.conf

free_port() {
  python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'
}

# Waits until something answers with a 2xx greeting on the port (20 s).
wait_for_greeting() {
  python3 - "$1" <<'PY'
import socket, sys, time
port = int(sys.argv[1])
deadline = time.monotonic() + 20
while True:
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as s:
            if s.recv(512).startswith(b"2"):
                s.sendall(b"QUIT\r\n")
                sys.exit(0)
    except OSError:
        pass
    if time.monotonic() > deadline:
        sys.exit("no news server on port %d" % port)
    time.sleep(0.05)
PY
}

make_tree() {
  local innd_port=$1
  mkdir -p "$dir"/{etc,db,run,log,tmp,spool/articles,spool/overview,spool/outgoing,spool/incoming/bad,spool/archive,http}
  # The package's configuration, less what would point outside the tree.
  for f in newsfeeds incoming.conf storage.conf expire.ctl control.ctl control.ctl.local \
           distrib.pats distributions moderators localgroups nocem.ctl subscriptions innfeed.conf \
           inn-secrets.conf passwd.nntp nnrpd.track; do
    [ -e /etc/news/$f ] && cp /etc/news/$f "$dir/etc/$f"
  done
  # innd is not fed from outside: no controlchan or other channels.
  printf 'ME:!*/!local::\n' >"$dir/etc/newsfeeds"
  cat >"$dir/etc/inn.conf" <<CONF
domain:            localdomain
pathhost:          pelnor-test.localdomain
organization:      "Pelnor test server"
server:            127.0.0.1
port:              $innd_port
bindaddress:       127.0.0.1
ovmethod:          tradindexed
hismethod:         hisv6
enableoverview:    true
storeonxref:       true
wireformat:        true
docancels:         all
mta:               "/bin/true %s"
immediatecancel:   true
nnrpdcheckart:     true
articlemmap:       true
maxartsize:        1000000
maxconnections:    50
nnrpdloadlimit:    0
readerswhenstopped: true
pgpverify:         false
artcutoff:         0
logartsize:        false
logipaddr:         false
syntaxchecks:      [ no-laxmid ]
status:            0
timer:             0
pathnews:          $dir
pathbin:           $bin
pathcontrol:       $bin/control
pathfilter:        $bin/filter
pathdb:            $dir/db
pathetc:           $dir/etc
pathrun:           $dir/run
pathlog:           $dir/log
pathhttp:          $dir/http
pathtmp:           $dir/tmp
pathspool:         $dir/spool
patharticles:      $dir/spool/articles
pathoverview:      $dir/spool/overview
pathoutgoing:      $dir/spool/outgoing
pathincoming:      $dir/spool/incoming
patharchive:       $dir/spool/archive
pathuniover:       $dir/spool/uniover
CONF
  cat >"$dir/etc/incoming.conf" <<'CONF'
peer ME {
  hostname: "localhost, 127.0.0.1"
  streaming: true
}
CONF
  cat >"$dir/etc/readers.conf" <<'CONF'
auth "everyone" {
    hosts: "*"
    default: "<reader>"
}
access "everyone" {
    users: "<reader>"
    newsgroups: "*"
    access: RPA
}
CONF
  printf 'control 0000000000 0000000001 n\ncontrol.cancel 0000000000 0000000001 n\njunk 0000000000 0000000001 n\n' \
    >"$dir/db/active"
  : >"$dir/db/active.times"
  : >"$dir/db/newsgroups"
  : >"$dir/db/history"
  chown -R news:news "$dir"
  (cd "$dir/db" && INNCONF=$INNCONF $bin/makedbz -i -o -s 10000 >/dev/null)
  chown -R news:news "$dir"
}

# readers-USER.conf: every reader must log in as USER with PASSWORD.
auth_readers_conf() {
  local user=${1%%:*} password=${1#*:}
  local hash
  hash=$(python3 -W ignore -c 'import crypt,sys; print(crypt.crypt(sys.argv[1], crypt.mksalt(crypt.METHOD_SHA512)))' "$password")
  printf '%s:%s\n' "$user" "$hash" >"$dir/etc/passwd-$user"
  cat >"$dir/etc/readers-$user.conf" <<CONF
auth "login" {
    hosts: "*"
    auth: "ckpasswd -f $dir/etc/passwd-$user"
}
access "login" {
    users: "$user"
    newsgroups: "*"
    access: RPA
}
CONF
  chown news:news "$dir/etc/passwd-$user" "$dir/etc/readers-$user.conf"
  echo "readers-$user.conf"
}

start_reader() {
  local port=$1 login=${2:-}
  [ "$port" = 0 ] && port=$(free_port)
  local conf=()
  if [ -n "$login" ]; then conf=(-c "$(auth_readers_conf "$login")"); fi
  setsid "$bin/nnrpd" -D -f -p "$port" -b 127.0.0.1 "${conf[@]}" </dev/null >>"$dir/log/nnrpd.out" 2>&1 &
  echo $! >>"$dir/run/readers.pids"
  wait_for_greeting "$port"
  echo "$port"
}

case "$cmd" in
start)
  port=${3:?port}
  login=${4:-}
  "$0" stop "$dir" >/dev/null 2>&1 || true
  innd_port=$(free_port)
  make_tree "$innd_port"
  : >"$dir/run/readers.pids"
  setsid "$bin/innd" -f -d </dev/null >>"$dir/log/innd.out" 2>&1 &
  echo $! >"$dir/run/innd.daemon.pid"
  echo "$innd_port" >"$dir/run/innd.port"
  wait_for_greeting "$innd_port"
  start_reader "$port" "$login"
  ;;
reader)
  start_reader "${3:?port}" "${4:-}"
  ;;
newgroup)
  shift 2
  for g in "$@"; do $bin/ctlinnd -s newgroup "$g" y pelnor; done
  ;;
post)
  shift 2
  python3 "$here/post.py" "$(cat "$dir/run/innd.port")" "$@"
  ;;
cancel)
  shift 2
  for id in "$@"; do $bin/ctlinnd -s cancel "$id"; done
  ;;
seed)
  python3 "$here/corpus.py" seed "$dir" "$here/inn.sh"
  ;;
stop)
  if [ -f "$dir/run/readers.pids" ]; then
    while read -r pid; do
      kill -- -"$pid" 2>/dev/null || kill "$pid" 2>/dev/null || true
    done <"$dir/run/readers.pids"
    rm -f "$dir/run/readers.pids"
  fi
  if [ -f "$dir/run/innd.daemon.pid" ]; then
    pid=$(cat "$dir/run/innd.daemon.pid")
    $bin/ctlinnd -s -t 5 shutdown pelnor 2>/dev/null || kill "$pid" 2>/dev/null || true
    for _ in $(seq 1 200); do kill -0 "$pid" 2>/dev/null || break; sleep 0.05; done
    kill -9 "$pid" 2>/dev/null || true
    rm -f "$dir/run/innd.daemon.pid"
  fi
  ;;
*)
  sed -n '2,20p' "$0" >&2; exit 2 ;;
esac
