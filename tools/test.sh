#!/usr/bin/env bash
# The test command: installs what is missing, builds everything and runs
# every test through CTest (Wine tests under Xvfb, native sanitizer tests).
# The 32-bit program and store tests are built too, as the release builds
# them, in a folder of their own beside the main one (<build>-i686); their
# store tests run in the same CTest run when Wine runs 32-bit programs here.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${PELNOR_BUILD:-$top/build}
build=${build%/}
build32=$build-i686
"$top/tools/setup.sh"

# Debian's wine32 (with the i386 architecture) lets the 64-bit prefix of
# the tests run 32-bit programs.
if dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q 'install ok installed'; then
  tests32=$build32
else
  tests32=
fi
"$top/tools/build.sh" -DPELNOR_I686_TESTS="$tests32"

cmake -S "$top" -B "$build32" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-i686.cmake" \
      -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build32" --target pelnor test_store -j"$(nproc)"
if [ -z "$tests32" ]; then
  echo "test: the 32-bit store tests are skipped: Wine cannot run 32-bit programs here" \
       "(Debian's wine32:i386 is not installed); $build32 holds pelnor.exe and the store tests built for i686"
fi

cd "$build"
exec ctest --output-on-failure -j"$(nproc)"
