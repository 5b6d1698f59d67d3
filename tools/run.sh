#!/usr/bin/env bash
# The main job: builds Pelnor, brings up a private INN news server seeded
# with sample Japanese groups, subscribes Pelnor to them, points its settings
# at the server and opens it under Wine.
#  - With an X display ($DISPLAY) Pelnor opens there until you quit it
#    (Alt+X, or ツール > 終了); press I (or グループ > 記事取得) to download.
#  - Without one it runs on Xvfb: it downloads once, writes a screenshot of
#    the group view to build/screenshots/pelnor-main.png and closes.
# The news server needs root (innd runs as the news user); without root, or
# with PELNOR_SERVER set, Pelnor is pointed at PELNOR_SERVER:PELNOR_PORT.
# PELNOR_TLS=implicit or PELNOR_TLS=starttls runs the demo encrypted: the
# local server then serves TLS with a certificate of its own test CA (which
# Pelnor is told to trust through CaFile) and takes the login "pelnor" /
# "demo-secret" only inside TLS. With PELNOR_SERVER, PELNOR_TLS sets the
# mode and PELNOR_CA_FILE (a Windows path) names extra roots if needed.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
"$top/tools/setup.sh"
"$top/tools/build.sh" >/dev/null
echo "run: built $build/pelnor.exe"

session=$build/run-session
inn=$build/run-inn
data=$build/demo-data
shot=$build/screenshots/pelnor-main.png
mkdir -p "$(dirname "$shot")"
rm -rf "$data"
mkdir -p "$data"

server=${PELNOR_SERVER:-}
port=${PELNOR_PORT:-119}
tls=${PELNOR_TLS:-}
case "$tls" in
  "") tls_mode=0 ;;
  implicit) tls_mode=1 ;;
  starttls) tls_mode=2 ;;
  *) echo "run: PELNOR_TLS is implicit or starttls, not '$tls'" >&2; exit 2 ;;
esac
ca_file=${PELNOR_CA_FILE:-}
login=
own_inn=0
if [ -z "$server" ] && [ "$(id -u)" = 0 ]; then
  "$top/tools/inn/inn.sh" stop "$inn" >/dev/null 2>&1 || true
  if [ -L "$inn" ]; then rm -rf "$(readlink -f "$inn")"; fi
  rm -rf "$inn"
  port=$("$top/tools/inn/inn.sh" start "$inn" 0)
  own_inn=1
  "$top/tools/inn/inn.sh" seed "$inn" >/dev/null
  cp "$inn/group.dat" "$data/group.dat"
  server=127.0.0.1
  if [ -n "$tls" ]; then
    port=$("$top/tools/inn/inn.sh" reader "$inn" 0 pelnor:demo-secret --tls "$tls" --require-tls-login)
    server=localhost
    login=pelnor:demo-secret
    ca_file=$(echo "Z:$(readlink -f "$inn")/tls/ca.pem" | sed 's|/|\\|g')
  fi
  echo "run: news server on $server:$port${tls:+ ($tls TLS, login only inside it)} with $(tr -d '\r' <"$data/group.dat" | paste -sd' ')"
elif [ -z "$server" ]; then
  server=127.0.0.1
  echo "run: not root, so no local news server; set PELNOR_SERVER and PELNOR_PORT for yours"
fi

headless=1
if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then headless=0; fi
"$top/tools/wine-session.sh" start "$session"
if [ $headless = 0 ]; then
  sed -i "s|^DISPLAY=.*|DISPLAY=$DISPLAY|" "$session/env"
fi
cleanup() {
  "$top/tools/wine-session.sh" stop "$session"
  if [ $own_inn = 1 ]; then "$top/tools/inn/inn.sh" stop "$inn" >/dev/null 2>&1 || true; fi
}
trap cleanup EXIT
run() { PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$@"; }

# The settings Pelnor starts with: server, port, data folder, limit.
winpath() { echo "Z:$(echo "$1" | sed 's|/|\\|g')"; }
key='HKCU\Software\marrowby\Pelnor'
run reg delete "$key" /f >/dev/null 2>&1 || true
run reg add "$key" /v Server /t REG_SZ /d "$server" /f >/dev/null
run reg add "$key" /v Port /t REG_DWORD /d "$port" /f >/dev/null
run reg add "$key" /v DataPath /t REG_SZ /d "$(winpath "$data")\\" /f >/dev/null
run reg add "$key" /v Limit /t REG_DWORD /d 50 /f >/dev/null
run reg add "$key" /v TlsMode /t REG_DWORD /d "$tls_mode" /f >/dev/null
if [ -n "$ca_file" ]; then run reg add "$key" /v CaFile /t REG_SZ /d "$ca_file" /f >/dev/null; fi
if [ -n "$login" ]; then
  run reg add "$key" /v UserID /t REG_SZ /d "${login%%:*}" /f >/dev/null
  run reg add "$key" /v Password /t REG_SZ /d "${login#*:}" /f >/dev/null
fi
echo "run: data folder $data"

if [ $headless = 0 ]; then
  echo "run: opening Pelnor on $DISPLAY (press I to download)"
  run "$build/pelnor.exe"
else
  run "$build/pelnor.exe" &
  pelnor=$!
  download=--download
  if [ $own_inn = 0 ]; then download=; fi
  run "$build/tools/winshot.exe" PelnorMainFrmWnd "$(winpath "$shot")" 120 $download --close
  wait "$pelnor" || true
  echo "run: no display, so Pelnor ran on Xvfb. Screenshot of its group view: $shot"
fi
