#!/usr/bin/env bash
# Starts or stops the Wine session the tests and the main job run in: an
# Xvfb display, a private WINEPREFIX and a persistent wineserver, so that
# each program start costs a fraction of a second.
#   wine-session.sh start SESSION_DIR [PREFIX_DIR]
#   wine-session.sh stop  SESSION_DIR
set -eu
cmd=${1:?start or stop}
session=${2:?session folder}
mkdir -p "$session"
session=$(cd "$session" && pwd)
prefix=${3:-$session/prefix}
here=$(cd "$(dirname "$0")" && pwd)

# The daemons started here outlive this script: they must not keep the
# caller's pipes (CTest waits for them to close).
for fd in /proc/$$/fd/*; do
  n=${fd##*/}
  if [ "$n" -gt 2 ] 2>/dev/null; then eval "exec $n>&-" 2>/dev/null || true; fi
done

export LANG=ja_JP.UTF-8 LC_ALL=ja_JP.UTF-8 WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"

stop_session() {
  if [ -f "$session/env" ]; then
    # shellcheck disable=SC1091
    . "$session/env"
    WINEPREFIX=$WINEPREFIX wineserver -k 2>/dev/null || true
    WINEPREFIX=$WINEPREFIX wineserver -w 2>/dev/null || true
    if [ -n "${XVFB_PID:-}" ]; then kill "$XVFB_PID" 2>/dev/null || true; fi
    rm -f "$session/env"
  fi
}

case "$cmd" in
start)
  stop_session
  # A free display number: none of /tmp/.X<n>-lock.
  n=90
  while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
  Xvfb ":$n" -screen 0 1024x768x24 -nolisten tcp >"$session/xvfb.log" 2>&1 </dev/null &
  xvfb_pid=$!
  # Wait until the display answers (xdpyinfo exits 0), at most 20 s.
  for _ in $(seq 1 200); do
    if DISPLAY=":$n" xdpyinfo >/dev/null 2>&1; then break; fi
    if ! kill -0 "$xvfb_pid" 2>/dev/null; then echo "Xvfb failed: $(cat "$session/xvfb.log")" >&2; exit 1; fi
    sleep 0.1
  done
  export WINEPREFIX=$prefix DISPLAY=":$n"
  if [ ! -f "$prefix/system.reg" ]; then
    mkdir -p "$prefix"
    wineboot -i >"$session/wineboot.log" 2>&1 </dev/null
    wineserver -w
    # Japanese faces for the dialog and menu fonts; windows that need no
    # window manager (Xvfb has none), so hiding one does not wait for it.
    wine regedit /S "$here/wine-prefix.reg" >/dev/null 2>&1 </dev/null
    wineserver -w
    # Wine's own faces (Tahoma, and Marlett for the caption buttons) are
    # found only in the prefix's font folder here.
    cp /usr/share/wine/fonts/*.ttf "$prefix/drive_c/windows/Fonts/" 2>/dev/null || true
  fi
  wineserver -p </dev/null >/dev/null 2>&1
  # Start the prefix's services now, with their output going nowhere: a
  # program started later would hand them its own (CTest's) pipes.
  wine cmd.exe /c exit 0 </dev/null >/dev/null 2>&1
  cat >"$session/env" <<ENV
WINEPREFIX=$prefix
DISPLAY=:$n
XVFB_PID=$xvfb_pid
ENV
  ;;
stop)
  stop_session
  ;;
*)
  echo "usage: $0 start|stop SESSION_DIR [PREFIX_DIR]" >&2; exit 2 ;;
esac
