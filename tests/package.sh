#!/bin/bash
# package.sh CONFIG FOLDER: packs by cpack's CONFIG in FOLDER, unpacks the deb there, and starts what it installs.

set -euo pipefail
rm -rf "$2"
mkdir -p "$2"
cd "$2"
cpack --config "$1" -B "$2" >cpack.log || { cat cpack.log; exit 1; }
dpkg-deb -x ./*.deb installed
desktop-file-validate installed/usr/share/applications/*.desktop
appstreamcli validate --no-net installed/usr/share/metainfo/*.xml
for name in $(sed -n 's/^\(Exec\|Icon\)=//p' installed/usr/share/applications/*.desktop | sort -u); do
    test -e "installed/usr/bin/$name" && test -e "installed/usr/share/icons/hicolor/48x48/apps/$name.png"
done

export HOME=$2 XDG_DATA_HOME=$2/data XDG_CONFIG_HOME=$2/config XDG_RUNTIME_DIR=$2
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY
exec 3< <(exec Xvfb -displayfd 1 -nolisten tcp -noreset 2>/dev/null)
server=$!
trap 'kill $server' EXIT
read -r number <&3
DISPLAY=:$number installed/usr/bin/quorvel-desk-clip &
program=$!
until [ -e "data/Quorvel Desk Clip/config.ini" ]; do
    kill -0 $program
    sleep 0.1
done
kill $program
wait $program
