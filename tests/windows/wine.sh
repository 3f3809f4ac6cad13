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

# Ends the display with the last Wine process.
watch_display() {
    "$server" -w
    kill "$1"
    wait "$1"
}

# What stays must hold neither our lock nor our output: a caller that reads the output waits for its end.
start_display() {
    exec 9>&- </dev/null >/dev/null 2>&1
    rm -f "$folder/ready"
    mkfifo "$folder/ready"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$folder/ready" &
    local pid=$! number
    read -r number <"$folder/ready"
    export DISPLAY=":$number"
    "$server" -p30
    # The services are started here, because they keep the output of the program that starts them. The virtual
    # desktop has a notification area, which a bare display lacks.
    "$wine" reg add 'HKCU\Software\Wine\Explorer' /v Desktop /d Test /f
    "$wine" reg add 'HKCU\Software\Wine\Explorer\Desktops' /v Test /d 1280x1024 /f
    watch_display "$pid" &
    echo "$DISPLAY" >"$folder/display"
}

case "$1" in
    --start)
        start_display
        exit 0
        ;;
    --end)
        [ ! -d "$WINEPREFIX" ] || "$server" -k
        exit 0
        ;;
esac

mkdir -p "$WINEPREFIX"
chmod 700 "$folder"
{
    flock 9
    # In a session of its own, so that Ctrl+C ends the tests but reaches the display only through --end.
    "$server" -k0 || setsid --wait "$0" "$folder" --start
} 9>"$folder/lock"
DISPLAY=$(cat "$folder/display") exec "$wine" "$@"
