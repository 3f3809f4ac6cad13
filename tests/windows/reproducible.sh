#!/bin/bash
# reproducible.sh SOURCES BUILD FOLDER builds the program once more from a copy of SOURCES in FOLDER: both programs and
# both zips have to be the same byte for byte. The first run there is a whole build, later ones build what has changed.

set -euo pipefail
sources=$1 build=$2 folder=$3
rm -rf "$folder/sources"
mkdir -p "$folder/sources"
tar -C "$sources" --exclude=./build --exclude=./out --exclude=./.git -c . | tar -C "$folder/sources" -x
cd "$folder/sources"
cmake --preset windows -B "$folder/build" >"$folder/build.log" 2>&1 &&
    cmake --build "$folder/build" --target QuorvelDeskClip >>"$folder/build.log" 2>&1 ||
    { cat "$folder/build.log"; exit 1; }
cmp "$build/QuorvelDeskClip.exe" "$folder/build/QuorvelDeskClip.exe"

export SOURCE_DATE_EPOCH=315619200
for each in "$build" "$folder/build"; do
    cpack --config "$each/CPackConfig.cmake" -B "$each/package" >"$folder/package.log" || { cat "$folder/package.log"; exit 1; }
done
cmp "$build"/package/*.zip "$folder"/build/package/*.zip
