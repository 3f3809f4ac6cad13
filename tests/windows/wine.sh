#!/bin/bash
# wine.sh FOLDER PROGRAM [ARGUMENT...] runs a Windows program under Wine, on a display and with a drive C of its own
# in FOLDER. Both are started when they are missing and end by themselves half a minute after the last program.
# wine.sh FOLDER --end ends them at once.

folder=$1
shift
export WINEPREFIX=$folder/prefix WINEDEBUG=-all WINEDLLOVERRIDES=winemenubuilder.exe,mscoree,mshtml= WINEARCH=win64
export XDG_RUNTIME_DIR=$folder LC_ALL=C.UTF-8
server=/usr/lib/wine/wineserver64
wine=/usr/lib/wine/wine64

display_lives() {
    [ -s "$folder/display" ] && [ -s "$folder/pid" ] && kill -0 "$(cat "$folder/pid")" 2>/dev/null
}

# Ends the display with the last Wine process.
watch_display() {
    "$server" -w
    kill "$1"
    wait "$1"
}

start_display() {
    rm -f "$folder/display" "$folder/pid"
    mkfifo "$folder/ready.$$"
    # In a session of its own, so that Ctrl+C reaches it only through --end.
    setsid Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$folder/ready.$$" </dev/null >/dev/null 2>&1 9>&- &
    local pid=$!
    read -r number <"$folder/ready.$$"
    rm "$folder/ready.$$"
    echo "$pid" >"$folder/pid"
    echo ":$number" >"$folder/display"
    export DISPLAY=":$number"
    "$server" -p30 </dev/null >/dev/null 2>&1 9>&-
    # The virtual desktop has a notification area, which a bare display lacks.
    if [ ! -e "$folder/complete" ]; then
        "$wine" wineboot -i 9>&-
        "$wine" reg add 'HKCU\Software\Wine\Explorer' /v Desktop /d Test /f 9>&-
        "$wine" reg add 'HKCU\Software\Wine\Explorer\Desktops' /v Test /d 1280x1024 /f 9>&-
        touch "$folder/complete"
    fi >/dev/null 2>&1
    watch_display "$pid" </dev/null >/dev/null 2>&1 9>&- &
}

if [ "$1" = --end ]; then
    [ -e "$folder/pid" ] || exit 0
    "$server" -k
    display_lives && kill "$(cat "$folder/pid")"
    rm -f "$folder/pid" "$folder/display"
    exit 0
fi

mkdir -p "$folder/prefix"
chmod 700 "$folder"
{
    flock 9
    display_lives || start_display
} 9>"$folder/lock"
DISPLAY=$(cat "$folder/display") exec "$wine" "$@"
