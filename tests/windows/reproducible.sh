#!/bin/bash
# reproducible.sh SOURCES PROGRAM FOLDER builds PROGRAM once more from a copy of SOURCES in FOLDER: both have to be the
# same byte for byte. The first run there is a whole build, later ones build what has changed.

set -euo pipefail
sources=$1 program=$2 folder=$3
rm -rf "$folder/sources"
mkdir -p "$folder/sources"
tar -C "$sources" --exclude=./build --exclude=./out --exclude=./.git -c . | tar -C "$folder/sources" -x
cd "$folder/sources"
cmake --preset windows -B "$folder/build" >"$folder/build.log" 2>&1 &&
    cmake --build "$folder/build" --target QuorvelDeskClip >>"$folder/build.log" 2>&1 ||
    { cat "$folder/build.log"; exit 1; }
cmp "$program" "$folder/build/QuorvelDeskClip.exe"
