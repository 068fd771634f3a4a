#!/usr/bin/env bash
# Builds the Windows artefacts here and runs them under Wine: QtCore cross-built once with
# mingw-w64 from Debian's own Qt source into a cache folder, then io.zestworks.gamepad.dll,
# zestdeck.exe and the Windows suite (the windows preset). As root on Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."
cache=${ZEST_WINDOWS_CACHE:-${HOME:-/root}/.cache/zestworks-windows}
export ZEST_WINDOWS_QT=$cache/qt-6.4.2-mingw
export WINEPREFIX=$cache/wine
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="

bash scripts/setup.sh g++-mingw-w64-x86-64-posix wine64 dpkg-dev xz-utils

build_qt() {
  local sources=$cache/qt-source build=$cache/qt-build
  if ! ls "$sources"/qt6-base-*/CMakeLists.txt >/dev/null 2>&1; then
    if ! apt-get source --print-uris qt6-base >/dev/null 2>&1; then
      printf 'Types: deb-src\nURIs: http://deb.debian.org/debian\nSuites: bookworm\nComponents: main\nSigned-By: /usr/share/keyrings/debian-archive-keyring.gpg\n' \
        >/etc/apt/sources.list.d/zestworks-deb-src.sources
      apt-get update -q
    fi
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
cmake --workflow --preset windows
