#!/usr/bin/env bash
# Runs a Windows program under Wine in Pelnor's private prefix, Japanese
# locale, on the X display of the running session (tools/wine-session.sh).
# CTest uses this as the cross-compiling emulator.
#   PELNOR_SESSION  session folder (default: the build folder's wine-session)
set -u
session=${PELNOR_SESSION:-}
if [ -z "$session" ]; then
  # The build folder is the nearest parent holding CMakeCache.txt.
  dir=$(pwd)
  while [ "$dir" != / ] && [ ! -f "$dir/CMakeCache.txt" ]; do dir=$(dirname "$dir"); done
  session="$dir/wine-session"
fi
if [ ! -f "$session/env" ]; then
  echo "wine-run: no running session in $session (start tools/wine-session.sh start $session)" >&2
  exit 125
fi
# shellcheck disable=SC1091
. "$session/env"
export WINEPREFIX DISPLAY
export LANG=ja_JP.UTF-8 LC_ALL=ja_JP.UTF-8
export WINEDEBUG=${PELNOR_WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
exec wine "$@"
