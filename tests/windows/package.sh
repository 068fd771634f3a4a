#!/bin/sh
# package.sh CMAKE CPACK BUILD_DIR ZIP FOLDER ZESTDECK: makes the zip as a user gets it, then
# unpacks it into FOLDER, made afresh, beside a copy of zestdeck.exe, as in the host's folder.
set -eu
cmake=$1 cpack=$2 build=$3 zip=$4 folder=$5 zestdeck=$6
rm -f "$zip"
(cd "$build" && "$cpack" --config CPackConfig.cmake)
rm -rf "$folder"
mkdir -p "$folder"
cp "$zestdeck" "$folder"
cd "$folder"
"$cmake" -E tar xf "$zip"
echo "the zip holds:"
"$cmake" -E tar tf "$zip"
