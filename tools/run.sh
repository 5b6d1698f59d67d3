#!/usr/bin/env bash
# The main job: builds Pelnor, prepares a data folder and the registry
# settings, and opens Pelnor under Wine. With $DISPLAY it runs on that
# display until you quit it (Alt+X or ツール > 終了); without one it runs on
# Xvfb, writes a screenshot of its window and closes again.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
"$top/tools/setup.sh"
"$top/tools/build.sh" >/dev/null
echo "run: built $build/pelnor.exe"

session=$build/run-session
data=$build/demo-data
mkdir -p "$data"
shot=$build/screenshots/pelnor-main.png
mkdir -p "$(dirname "$shot")"

headless=1
if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then headless=0; fi
if [ $headless = 1 ]; then
  "$top/tools/wine-session.sh" start "$session"
else
  # Use the caller's display with the private prefix.
  "$top/tools/wine-session.sh" start "$session"
  sed -i "s|^DISPLAY=.*|DISPLAY=$DISPLAY|" "$session/env"
fi
trap '"$top/tools/wine-session.sh" stop "$session"' EXIT
run() { PELNOR_SESSION=$session "$top/tools/wine-run.sh" "$@"; }

# Settings: the data folder, and a news server for the download.
winpath() { echo "Z:$(echo "$1" | sed 's|/|\\|g')\\"; }
key='HKCU\Software\marrowby\Pelnor'
run reg add "$key" /v Server /t REG_SZ /d "${PELNOR_SERVER:-127.0.0.1}" /f >/dev/null
run reg add "$key" /v Port /t REG_DWORD /d "${PELNOR_PORT:-119}" /f >/dev/null
run reg add "$key" /v DataPath /t REG_SZ /d "$(winpath "$data")" /f >/dev/null
run reg add "$key" /v Limit /t REG_DWORD /d 50 /f >/dev/null
echo "run: data folder $data"

if [ $headless = 0 ]; then
  echo "run: opening Pelnor on $DISPLAY"
  run "$build/pelnor.exe"
else
  run "$build/pelnor.exe" &
  pelnor=$!
  run "$build/tools/winshot.exe" PelnorMainFrmWnd "$(winpath "$shot" | sed 's/\\$//')" 60 --close
  wait "$pelnor" || true
  echo "run: no display; Pelnor ran on Xvfb. Screenshot: $shot"
fi
