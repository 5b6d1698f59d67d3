#!/usr/bin/env bash
# Installs what building, running and testing Pelnor need on Debian 12, as
# root (or through sudo). Idempotent and quiet: a second run installs nothing.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)

SUDO=
if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi

packages=(
  cmake make python3 clang libclang-rt-14-dev googletest
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix binutils-mingw-w64-i686 zip
  wine wine64 xvfb xauth x11-utils fonts-noto-cjk locales openssl
  libz-mingw-w64-dev dpkg-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  if ! $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null 2>&1; then
    $SUDO apt-get update -qq >/dev/null
    $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
  fi
fi

# Wine reports code page 932 only when the Japanese UTF-8 locale exists.
if ! locale -a 2>/dev/null | grep -qix 'ja_JP.utf8'; then
  echo "setup: generating the ja_JP.UTF-8 locale"
  if grep -q '^# *ja_JP.UTF-8 UTF-8' /etc/locale.gen; then
    $SUDO sed -i 's/^# *\(ja_JP.UTF-8 UTF-8\)/\1/' /etc/locale.gen
  elif ! grep -q '^ja_JP.UTF-8 UTF-8' /etc/locale.gen; then
    echo 'ja_JP.UTF-8 UTF-8' | $SUDO tee -a /etc/locale.gen >/dev/null
  fi
  $SUDO locale-gen >/dev/null
fi

# The news server of the end-to-end tests and the main job. The package's
# configure step fails while /etc/news/inn.conf has no domain (this host's
# name has none): let the install stop there, give it the domain and
# configure again. The package's own innd is not started here; the tests
# run private servers (tools/inn/inn.sh).
if ! dpkg-query -W -f='${Status}' inn2 2>/dev/null | grep -q 'install ok installed'; then
  echo "setup: installing inn2"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get install -y -qq inn2 >/dev/null 2>&1 || true
  if ! dpkg-query -W inn2 >/dev/null 2>&1; then
    $SUDO apt-get update -qq >/dev/null
    $SUDO apt-get install -y -qq inn2 >/dev/null 2>&1 || true
  fi
  if [ -f /etc/news/inn.conf ] && ! grep -q '^domain:' /etc/news/inn.conf; then
    echo 'domain: localdomain' | $SUDO tee -a /etc/news/inn.conf >/dev/null
  fi
  $SUDO dpkg --configure inn2 >/dev/null 2>&1
fi

# Mbed TLS, which Debian ships for Linux only: built here for both mingw-w64
# targets from Debian's source package, static libraries only, with
# cmake/pelnor_mbedtls_config.h as its user configuration. Each target's
# build goes into a cache outside the checkout, <deps>/mbedtls-<version>-<arch>
# with include/, lib/ and a stamp written last, which later runs, fresh
# clones and the release reuse (cmake/PelnorDeps.cmake finds it). A cache
# entry built with another configuration is built again.
deps=${PELNOR_DEPS_DIR:-/var/cache/pelnor-deps}
deps=${deps%/}
mbedtls_config=$top/cmake/pelnor_mbedtls_config.h

# The newest entry of a target whose stamp exists, if it was built with
# this checkout's configuration.
mbedtls_ready() {
  local entry
  entry=$(find "$deps" -maxdepth 2 -path "$deps/mbedtls-*-$1/stamp" -printf '%h\n' 2>/dev/null | sort -V | tail -n 1)
  [ -n "$entry" ] && cmp -s "$mbedtls_config" "$entry/include/pelnor_mbedtls_config.h"
}

if ! mbedtls_ready x86_64 || ! mbedtls_ready i686; then
  work=$(mktemp -d)
  part=
  trap '$SUDO rm -rf "$work" ${part:+"$part"}' EXIT
  log=$work/log
  # Runs a command with its output in the log, which is shown only when the
  # command fails.
  quiet() {
    if ! "$@" >>"$log" 2>&1; then
      echo "setup: failed: $*" >&2
      tail -n 40 "$log" >&2
      exit 1
    fi
  }

  # Debian's source package, from a private source list made from this
  # machine's own sources, so that nothing of the machine's apt changes.
  sources=/etc/apt/sources.list.d/debian.sources
  [ -f "$sources" ] || { echo "setup: $sources is missing; it names where Debian's source packages come from" >&2; exit 1; }
  mkdir -p "$work/lists/partial"
  sed 's/^Types: deb$/Types: deb-src/' "$sources" >"$work/deb-src.sources"
  apt_src=(-o Dir::Etc::sourcelist="$work/deb-src.sources" -o Dir::Etc::sourceparts=-
           -o Dir::State::Lists="$work/lists")
  quiet $SUDO apt-get "${apt_src[@]}" update
  (cd "$work" && quiet $SUDO apt-get "${apt_src[@]}" source mbedtls)
  src=$(find "$work" -mindepth 1 -maxdepth 1 -type d -name 'mbedtls-*')
  [ -n "$src" ] || { echo "setup: Debian's source package of Mbed TLS did not unpack in $work" >&2; exit 1; }
  debian_version=$(dpkg-parsechangelog -l "$src/debian/changelog" -S Version)
  version=${debian_version#*:}
  version=${version%-*}

  for arch in x86_64 i686; do
    if mbedtls_ready "$arch"; then continue; fi
    echo "setup: building Mbed TLS $version for $arch"
    entry=$deps/mbedtls-$version-$arch
    part=$entry.part$$
    quiet $SUDO mkdir -p "$part/include"
    quiet $SUDO cp "$mbedtls_config" "$part/include/pelnor_mbedtls_config.h"
    quiet $SUDO cmake -S "$src" -B "$work/build-$arch" \
      -DCMAKE_TOOLCHAIN_FILE="$top/cmake/mingw-w64-$arch.cmake" -DCMAKE_BUILD_TYPE=Release \
      -DCMAKE_INSTALL_PREFIX="$part" \
      -DCMAKE_C_FLAGS="-ffunction-sections -fdata-sections -I$part/include -DMBEDTLS_USER_CONFIG_FILE=\\\"pelnor_mbedtls_config.h\\\"" \
      -DUSE_STATIC_MBEDTLS_LIBRARY=ON -DUSE_SHARED_MBEDTLS_LIBRARY=OFF \
      -DENABLE_PROGRAMS=OFF -DENABLE_TESTING=OFF -DMBEDTLS_FATAL_WARNINGS=OFF
    quiet $SUDO cmake --build "$work/build-$arch" -j2
    quiet $SUDO cmake --install "$work/build-$arch"
    printf 'Debian source package mbedtls %s, built for %s-w64-mingw32\n' "$debian_version" "$arch" |
      quiet $SUDO tee "$part/stamp"
    quiet $SUDO rm -rf "$entry"
    quiet $SUDO mv "$part" "$entry"
  done
fi
