#!/usr/bin/env bash
# Builds the Windows artefacts here and runs them under Wine: QtCore cross-built once with
# mingw-w64 from Debian's own Qt source into a cache folder, then io.zestworks.gamepad.dll,
# zestdeck.exe, the zip a user installs from and the Windows suite (the windows preset).
# `windows.sh package` only builds the zip. As root on Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."
cache=${ZEST_WINDOWS_CACHE:-${HOME:-/root}/.cache/zestworks-windows}
export ZEST_WINDOWS_QT=$cache/qt-6.4.2-mingw
export WINEPREFIX=$cache/wine
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="

bash scripts/setup.sh g++-mingw-w64-x86-64-posix wine64 dpkg-dev xz-utils libsdl2-dev patchelf

# Source packages from the places the machine already takes its binary ones from, so that
# another mirror or a proxy serves them too: every "deb" entry again as "deb-src".
enable_source_packages() {
  local list=/etc/apt/sources.list.d/zestworks-deb-src one_line=() deb822=() file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    if [[ -f $file && $file != "$list.list" ]]; then one_line+=("$file"); fi
  done
  for file in /etc/apt/sources.list.d/*.sources; do
    if [[ -f $file && $file != "$list.sources" ]]; then deb822+=("$file"); fi
  done
  {
    ((${#one_line[@]} == 0)) || sed -n 's/^[[:space:]]*deb[[:space:]]/deb-src /p' "${one_line[@]}"
  } >"$list.list"
  # One stanza is one record; a stanza whose types include "deb" comes again as "deb-src".
  {
    ((${#deb822[@]} == 0)) || awk '
      BEGIN { RS = "" }
      {
        n = split($0, line, "\n"); binary = 0; stanza = ""
        for (i = 1; i <= n; i++) {
          if (line[i] ~ /^Types:/) {
            m = split(line[i], type, /[ \t]+/)
            for (j = 2; j <= m; j++) if (type[j] == "deb") binary = 1
            line[i] = "Types: deb-src"
          }
          stanza = stanza line[i] "\n"
        }
        if (binary) printf "%s\n", stanza
      }' "${deb822[@]}"
  } >"$list.sources"
  apt-get update -q
}

build_qt() {
  local sources=$cache/qt-source build=$cache/qt-build
  if ! ls "$sources"/qt6-base-*/CMakeLists.txt >/dev/null 2>&1; then
    apt-get source --print-uris qt6-base >/dev/null 2>&1 || enable_source_packages
    rm -rf "$sources" && mkdir -p "$sources"
    (cd "$sources" && apt-get source -q qt6-base)
  fi
  cmake -S "$(ls -d "$sources"/qt6-base-*/)" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR=/usr/lib/x86_64-linux-gnu/cmake \
    -DCMAKE_INSTALL_PREFIX="$ZEST_WINDOWS_QT" -DBUILD_SHARED_LIBS=ON \
    -DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_TESTS=OFF \
    -DFEATURE_gui=OFF -DFEATURE_widgets=OFF -DFEATURE_network=OFF -DFEATURE_sql=OFF \
    -DFEATURE_dbus=OFF -DFEATURE_xml=OFF -DFEATURE_testlib=OFF -DFEATURE_concurrent=OFF \
    -DFEATURE_icu=OFF -DFEATURE_system_zlib=OFF -DFEATURE_system_pcre2=OFF \
    -DFEATURE_system_doubleconversion=OFF
  cmake --build "$build" --parallel
  cmake --install "$build"
  rm -rf "$build"
}

if [[ ! -f $ZEST_WINDOWS_QT/lib/cmake/Qt6Core/Qt6CoreConfig.cmake ]]; then
  echo "windows: cross-building QtCore into $ZEST_WINDOWS_QT (once)"
  build_qt
fi
# The notices of the zip name the exact Debian version of the Qt source.
ZEST_WINDOWS_QT_SOURCE=$(sed -n 's/^Version: //p' "$cache"/qt-source/qt6-base_*.dsc 2>/dev/null || true)
export ZEST_WINDOWS_QT_SOURCE
case ${1:-} in
  package) cmake --workflow --preset windows-package ;;
  "") cmake --workflow --preset windows ;;
  *) echo "usage: windows.sh [package]" >&2; exit 2 ;;
esac
