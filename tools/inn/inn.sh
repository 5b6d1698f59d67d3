#!/usr/bin/env bash
# A private INN 2.7 (Debian inn2) on loopback ports, in a folder of its own:
# innd takes articles, nnrpd serves readers. Must run as root (innd drops to
# the news user); certs alone needs only openssl.
#
#   inn.sh start DIR PORT [USER:PASSWORD] [OPTION...]
#                                   innd on a free port and a reader (nnrpd)
#                                   on 127.0.0.1:PORT; with USER:PASSWORD
#                                   readers must log in
#   inn.sh reader DIR PORT [USER:PASSWORD] [OPTION...]
#                                   one more reader on another port
#   inn.sh certs DIR                test certificates in DIR/tls (make_certs
#                                   below); those already there are kept
#   inn.sh newgroup DIR GROUP...    create groups
#   inn.sh post DIR FILE...         offer wire-format articles (IHAVE)
#   inn.sh cancel DIR MESSAGE-ID... remove articles from the spool
#   inn.sh seed DIR                 sample Japanese groups and articles;
#                                   DIR/group.dat subscribes to them
#   inn.sh stop DIR                 stop every daemon of DIR
# Options of a reader (its certificates are made first, as by certs):
#   --tls implicit                  TLS from the first byte (nnrpd -S)
#   --tls starttls                  plain until STARTTLS, which works
#   --cert NAME                     serves DIR/tls/NAME.pem (default good)
#   --require-tls-login             with USER:PASSWORD and --tls: AUTHINFO
#                                   is answered 483 until the connection is
#                                   encrypted
# PORT 0 picks a free port; the port is printed. The readers are nnrpd as
# INN ships it: each offers COMPRESS DEFLATE, before and after login; one
# without --tls lists STARTTLS too but answers it 580. A TLS reader reads
# its own copy of inn.conf, DIR/etc/inn-PORT.conf. Everything INN writes stays in DIR;
# the daemons' output goes to DIR/log.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin=/usr/lib/news/bin
cmd=${1:?start, reader, certs, newgroup, post, cancel, seed or stop}
dir=${2:?folder}
# The news user must reach every folder of the tree. Where it cannot (a
# clone under /root, mode 700) a new tree is made under /var/tmp and DIR
# becomes a link to it.
if { [ "$cmd" = start ] || [ "$cmd" = certs ]; } && [ ! -e "$dir" ] && [ "$(id -u)" = 0 ] &&
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

# Waits until something answers with a 2xx greeting on the port (20 s);
# with "tls" as second argument, after a TLS handshake (any certificate).
wait_for_greeting() {
  python3 - "$1" "${2:-}" <<'PY'
import socket, ssl, sys, time
port, tls = int(sys.argv[1]), sys.argv[2] == "tls"
context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
context.check_hostname = False
context.verify_mode = ssl.CERT_NONE
deadline = time.monotonic() + 20
while True:
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as raw:
            s = context.wrap_socket(raw) if tls else raw
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

# readers-USER.conf: every reader must log in as USER with PASSWORD. With
# "tls" as second argument, readers-USER-tls.conf: the login group applies
# only to an encrypted connection, so nnrpd answers AUTHINFO 483 before.
auth_readers_conf() {
  local user=${1%%:*} password=${1#*:} tls=${2:-}
  local hash name=readers-$user${tls:+-tls}.conf
  hash=$(python3 -W ignore -c 'import crypt,sys; print(crypt.crypt(sys.argv[1], crypt.mksalt(crypt.METHOD_SHA512)))' "$password")
  printf '%s:%s\n' "$user" "$hash" >"$dir/etc/passwd-$user"
  cat >"$dir/etc/$name" <<CONF
auth "login" {
    hosts: "*"
    auth: "ckpasswd -f $dir/etc/passwd-$user"${tls:+
    require_encryption: true}
}
access "login" {
    users: "$user"
    newsgroups: "*"
    access: RPA
}
CONF
  chown news:news "$dir/etc/passwd-$user" "$dir/etc/$name"
  echo "$name"
}

# DIR/tls, made with openssl: a private CA and server certificates, RSA 2048
# and SHA-256, each NAME.pem beside its NAME.key (mode 600, the news user's
# when made as root):
#   ca          the CA (self-signed), 2019 to 2037
#   good        signed by ca for localhost and 127.0.0.1 (subjectAltName
#               DNS:localhost, IP:127.0.0.1), 2020 to 2037
#   good2       the same names and dates as good, another key
#   wronghost   signed by ca for wrong.example only, 2020 to 2037
#   expired     signed by ca for localhost and 127.0.0.1, 2020 to 2021
#   selfsigned  its own issuer, for localhost and 127.0.0.1, 2020 to 2037
# DIR/tls/sha256 lists "NAME hex" for each: the SHA-256 of the DER bytes.
# Files already there are kept; a new CA gets new certificates signed.
make_certs() {
  local tls=$dir/tls work lock
  mkdir -p "$tls"
  chmod 755 "$tls"
  exec {lock}<"$tls"
  flock "$lock"
  local name all=1
  for name in ca good good2 wronghost expired selfsigned; do
    [ -s "$tls/$name.pem" ] && [ -s "$tls/$name.key" ] || all=0
  done
  if [ $all = 1 ] && [ -s "$tls/sha256" ]; then exec {lock}<&-; return; fi
  work=$(mktemp -d)
  cat >"$work/ca.cnf" <<CONF
[ ca ]
default_ca = test_ca
[ test_ca ]
database = $work/index.txt
new_certs_dir = $work
certificate = $tls/ca.pem
private_key = $tls/ca.key
rand_serial = yes
default_md = sha256
policy = names
unique_subject = no
email_in_dn = no
preserve = yes
[ names ]
organizationName = optional
commonName = supplied
[ req ]
distinguished_name = dn
prompt = no
[ dn ]
CN = unused
[ ca_ext ]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[ server_ext ]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = \$ENV::SAN
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always
CONF
  : >"$work/index.txt"
  local names='DNS:localhost,IP:127.0.0.1' from=20200101000000Z to=20371231235959Z
  if [ ! -s "$tls/ca.pem" ] || [ ! -s "$tls/ca.key" ]; then
    rm -f "$tls"/{good,good2,wronghost,expired}.{pem,key}
    issue_cert "$work" ca "Pelnor test CA" "$names" 20190101000000Z "$to" ca_ext -selfsign
  fi
  local cn san start end ext self
  while read -r name cn san start end ext self; do
    [ -s "$tls/$name.pem" ] && [ -s "$tls/$name.key" ] && continue
    issue_cert "$work" "$name" "$cn" "$san" "$start" "$end" "$ext" $self
  done <<LIST
good localhost $names $from $to server_ext
good2 localhost $names $from $to server_ext
wronghost wrong.example DNS:wrong.example $from $to server_ext
expired localhost $names 20200101000000Z 20210101000000Z server_ext
selfsigned localhost $names $from $to server_ext -selfsign
LIST
  for name in ca good good2 wronghost expired selfsigned; do
    printf '%s %s\n' "$name" "$(openssl x509 -in "$tls/$name.pem" -outform DER | sha256sum | cut -d' ' -f1)"
  done >"$work/sha256"
  chmod 644 "$work/sha256"
  mv "$work/sha256" "$tls/sha256"
  rm -rf "$work"
  if [ "$(id -u)" = 0 ]; then chown -R news:news "$tls"; fi
  exec {lock}<&-
}

# issue_cert WORK NAME CN SUBJECTALTNAME START END EXTENSIONS [-selfsign]:
# a new key and a certificate for it, signed by the CA of WORK/ca.cnf or by
# itself, into DIR/tls.
issue_cert() {
  local work=$1 name=$2 cn=$3 san=$4 start=$5 end=$6 ext=$7 self=${8:-}
  local signer=() out
  [ -n "$self" ] && signer=(-selfsign -keyfile "$work/$name.key")
  (umask 077 && openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$work/$name.key")
  SAN=$san openssl req -new -config "$work/ca.cnf" -key "$work/$name.key" \
    -subj "/O=Pelnor test/CN=$cn" -out "$work/$name.csr"
  if ! out=$(SAN=$san openssl ca -batch -notext -config "$work/ca.cnf" "${signer[@]}" \
               -in "$work/$name.csr" -extensions "$ext" -startdate "$start" -enddate "$end" \
               -out "$work/$name.pem" 2>&1); then
    echo "$out" >&2
    exit 1
  fi
  chmod 644 "$work/$name.pem"
  mv "$work/$name.key" "$dir/tls/$name.key"
  mv "$work/$name.pem" "$dir/tls/$name.pem"
}

# start_reader PORT LOGIN TLS CERT REQUIRE: nnrpd as a daemon on PORT (0:
# a free one), which is printed. LOGIN is USER:PASSWORD or empty; TLS is
# implicit, starttls or empty; CERT a name in DIR/tls; REQUIRE non-empty
# for --require-tls-login.
start_reader() {
  local port=$1 login=$2 tls=$3 cert=$4 require=$5
  [ "$port" = 0 ] && port=$(free_port)
  local conf=() flags=() innconf=$INNCONF greeting=
  if [ -n "$tls" ]; then
    make_certs
    if [ ! -s "$dir/tls/$cert.pem" ]; then echo "inn.sh: no certificate $dir/tls/$cert.pem" >&2; exit 2; fi
    # nnrpd takes its certificate from inn.conf only: a copy of its own.
    innconf=$dir/etc/inn-$port.conf
    { cat "$INNCONF"
      printf 'tlscertfile:       %s\n' "$dir/tls/$cert.pem"
      printf 'tlskeyfile:        %s\n' "$dir/tls/$cert.key"
    } >"$innconf"
    chown news:news "$innconf"
    if [ "$tls" = implicit ]; then flags=(-S); greeting=tls; fi
  fi
  if [ -n "$login" ]; then conf=(-c "$(auth_readers_conf "$login" "$require")"); fi
  INNCONF=$innconf setsid "$bin/nnrpd" -D -f -p "$port" -b 127.0.0.1 "${flags[@]}" "${conf[@]}" \
    </dev/null >>"$dir/log/nnrpd.out" 2>&1 &
  echo $! >>"$dir/run/readers.pids"
  wait_for_greeting "$port" "$greeting"
  echo "$port"
}

# The arguments of start and reader after DIR, into reader_args: PORT LOGIN
# TLS CERT REQUIRE as start_reader takes them.
parse_reader_args() {
  local port= login= tls= cert=good require=
  while [ $# -gt 0 ]; do
    case "$1" in
    --tls)
      case "${2:-}" in implicit|starttls) tls=$2 ;; *) echo "inn.sh: --tls implicit or starttls" >&2; exit 2 ;; esac
      shift 2 ;;
    --cert)
      cert=${2:?--cert NAME}
      shift 2 ;;
    --require-tls-login)
      require=tls
      shift ;;
    --*)
      echo "inn.sh: unknown option $1" >&2; exit 2 ;;
    *)
      if [ -z "$port" ]; then port=$1; elif [ -z "$login" ]; then login=$1; else
        echo "inn.sh: too many arguments: $1" >&2; exit 2
      fi
      shift ;;
    esac
  done
  if [ -z "$port" ]; then echo "inn.sh: port missing" >&2; exit 2; fi
  if [ -n "$require" ] && { [ -z "$login" ] || [ -z "$tls" ]; }; then
    echo "inn.sh: --require-tls-login needs USER:PASSWORD and --tls" >&2; exit 2
  fi
  reader_args=("$port" "$login" "$tls" "$cert" "$require")
}

case "$cmd" in
start)
  shift 2
  parse_reader_args "$@"
  "$0" stop "$dir" >/dev/null 2>&1 || true
  innd_port=$(free_port)
  make_tree "$innd_port"
  : >"$dir/run/readers.pids"
  setsid "$bin/innd" -f -d </dev/null >>"$dir/log/innd.out" 2>&1 &
  echo $! >"$dir/run/innd.daemon.pid"
  echo "$innd_port" >"$dir/run/innd.port"
  wait_for_greeting "$innd_port"
  start_reader "${reader_args[@]}"
  ;;
reader)
  shift 2
  parse_reader_args "$@"
  start_reader "${reader_args[@]}"
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
certs)
  make_certs
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
  sed -n '2,/^set -e/{/^set -e/!p}' "$0" >&2; exit 2 ;;
esac
