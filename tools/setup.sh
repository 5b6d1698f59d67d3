#!/usr/bin/env bash
# Installs what building, running and testing Pelnor need on Debian 12, as
# root (or through sudo). Idempotent and quiet: a second run installs nothing.
set -euo pipefail

SUDO=
if [ "$(id -u)" != 0 ]; then SUDO=sudo; fi

packages=(
  cmake make python3 clang libclang-rt-14-dev googletest
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  g++-mingw-w64-i686-posix gcc-mingw-w64-i686-posix binutils-mingw-w64-i686 zip
  wine wine64 xvfb xauth x11-utils fonts-noto-cjk locales openssl
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
