#!/usr/bin/env bash
# Builds pelnor.exe for 64-bit (x86_64) and 32-bit (i686) Windows, each in a
# build folder of its own (build-release-<arch>), and packs each with the
# read-me for Windows users into dist/pelnor-<arch>.zip.
#
# The devices Pelnor was written for are 32-bit, so the 32-bit build also
# runs the store tests under Wine when this machine's Wine runs 32-bit
# programs (Debian's wine32, which needs the i386 architecture); without it
# they are skipped with the reason.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
dist=$top/dist

"$top/tools/setup.sh"
mkdir -p "$dist"

build_folder() { echo "$top/build-release-$1"; }

for arch in x86_64 i686; do
  build=$(build_folder "$arch")
  cmake -S "$top" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-$arch.cmake" \
        -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$build" --target pelnor -j"$(nproc)"

  stage=$(mktemp -d)
  "$arch-w64-mingw32-strip" -o "$stage/pelnor.exe" "$build/pelnor.exe"
  # Windows' editors want CR LF; the byte-order mark tells them it is UTF-8.
  { printf '\xef\xbb\xbf'; sed 's/$/\r/' "$top/docs/README-windows.txt"; } >"$stage/README.txt"
  rm -f "$dist/pelnor-$arch.zip"
  (cd "$stage" && zip -q -X "$dist/pelnor-$arch.zip" pelnor.exe README.txt)
  rm -rf "$stage"
  echo "release: $dist/pelnor-$arch.zip"
done

# The on-disk records, window extra bytes and pointer casts at 32 bits: the
# size checks are compile-time and held above; the store tests read and
# write the files byte for byte.
build=$(build_folder i686)
if dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q 'install ok installed'; then
  cmake --build "$build" --target test_store -j"$(nproc)"
  (cd "$build" && ctest -R '^test_store$' --output-on-failure)
else
  echo "release: 32-bit store tests skipped: Wine cannot run 32-bit programs here" \
       "(needs 'dpkg --add-architecture i386 && apt-get update && apt-get install wine32')"
fi
