#!/bin/sh
# build.sh CC PATCHELF OUTPUT FLAGS...: the SDL pads as OUTPUT (libSDL2-2.0.so.0), built with the
# host's compiler. Its first dependency names the real SDL by absolute path, so that loading it
# through LD_LIBRARY_PATH never finds it again in the real one's place.
set -eu
cc=$1 patchelf=$2 out=$3
shift 3
real=$("$cc" -print-file-name=libSDL2-2.0.so.0)
case $real in
  /*) real=$(realpath -s "$real") ;;
  *) echo "sdl_pads: $cc finds no libSDL2-2.0.so.0 (apt-get install libsdl2-dev)" >&2; exit 1 ;;
esac
mkdir -p "$(dirname "$out")"
"$cc" "$@" -shared -fPIC -fvisibility=hidden -o "$out.new" "$(dirname "$0")/sdl_pads.c" \
  -lSDL2 -lpthread -ldl
"$patchelf" --replace-needed libSDL2-2.0.so.0 "$real" "$out.new"
mv "$out.new" "$out"
