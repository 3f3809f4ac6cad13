#!/bin/bash
# wine.sh FOLDER PROGRAM [ARGUMENT...] runs a Windows program under Wine, on a display and with a drive C of its own
# in FOLDER. Both are started when they are missing and end by themselves half a minute after the last program, or
# immediately by wine.sh FOLDER --end.

folder=$1
shift
export WINEPREFIX=$folder/prefix WINEDEBUG=-all WINEDLLOVERRIDES=winemenubuilder.exe,mscoree,mshtml= WINEARCH=win64
export XDG_RUNTIME_DIR=$folder LC_ALL=C.UTF-8
server=/usr/lib/wine/wineserver64
wine=/usr/lib/wine/wine64

# What stays must hold neither our lock nor our output: a caller that reads the output waits for its end.
start_display() {
    exec 9>&- </dev/null >/dev/null 2>&1
    rm -f "$folder/ready"
    mkfifo "$folder/ready"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3>"$folder/ready" &
    local pid=$! number
    read -r number <"$folder/ready"
    export DISPLAY=":$number"
    # The tests send their keys from within. A window that takes the display's focus would release the modifiers that
    # the display knows and does not see held; so it knows none.
    for key in 37 50 62 64 105 108 133 134 204 205 206 207; do echo "keycode $key ="; done | xmodmap -
    # The virtual desktop's color is the scenarios' ground.
    "$wine" reg add 'HKCU\Software\Wine\Explorer' /v Desktop /d Test /f
    "$wine" reg add 'HKCU\Software\Wine\Explorer\Desktops' /v Test /d 1280x1024 /f
    "$wine" reg add 'HKCU\Control Panel\Colors' /v Background /d '48 96 160' /f
    # A prefix that has just been made still runs the shell of the bare display.
    "$server" -k
    "$server" -p30
    # The services are started here, because they keep the output of the program that starts them.
    "$wine" wineboot
    # The tests' pointer: what they append is done in order.
    : >"$folder/pointer"
    tail --pid="$pid" -n 0 -f "$folder/pointer" | xdotool - &
    # The display ends with the last Wine process.
    { "$server" -w; kill "$pid"; wait "$pid"; } &
    echo "$DISPLAY" >"$folder/display"
}

case "$1" in
    --start) start_display; exit 0 ;;
    --end) [ ! -d "$WINEPREFIX" ] || "$server" -k; exit 0 ;;
esac

mkdir -p "$WINEPREFIX"
chmod 700 "$folder"
{
    flock 9
    # In a session of its own, so that Ctrl+C ends the tests but reaches the display only through --end.
    "$server" -k0 || setsid --wait "$0" "$folder" --start
} 9>"$folder/lock"
DISPLAY=$(cat "$folder/display") exec "$wine" "$@"
