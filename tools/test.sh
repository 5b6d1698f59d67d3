#!/usr/bin/env bash
# The test command: installs what is missing, builds everything and runs
# every test through CTest (Wine tests under Xvfb, native sanitizer tests).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
"$top/tools/setup.sh"
"$top/tools/build.sh"
cd "$build"
exec ctest --output-on-failure -j"$(nproc)"
