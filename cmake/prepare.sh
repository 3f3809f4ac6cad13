# Sourced by run, test, bench and package, from the root of the project: installs what is missing and builds.

set -uo pipefail

build_packages=(
    cmake ninja-build g++ pkg-config
    libavcodec-dev libavformat-dev libavutil-dev libcairo2-dev libpango1.0-dev libdbus-1-dev
    libxcb1-dev libxcb-shm0-dev libxcb-damage0-dev libxcb-randr0-dev libxcb-shape0-dev libxcb-xfixes0-dev
    libxcb-composite0-dev libxcb-xinput-dev libgtest-dev fonts-dejavu-core
    # The native build, too, needs the SDK's headers and the Windows resource compiler.
    binutils-mingw-w64-x86-64 g++-mingw-w64-x86-64-posix
)
native_test_packages=(
    clang-format python3 ffmpeg xvfb x11-utils x11-xserver-utils xclip clang libclang-rt-14-dev
    dbus-daemon dunst libglib2.0-bin trayer picom desktop-file-utils appstream dpkg-dev file xdotool
)
windows_test_packages=(googletest wine64 fonts-wine xvfb xdotool x11-xserver-utils)
package_packages=(dpkg-dev file)
bench_packages=(libyuv-dev xvfb dbus-daemon dbus-bin dunst strace ffmpeg xdotool trayer gnuplot-nox python3)

# What could not be done because something is missing; reported at the very end.
left_out=()

leave_out() {
    left_out+=("$1")
}

tell_what_was_left_out() {
    local line
    for line in "${left_out[@]+"${left_out[@]}"}"; do
        echo "NOT RUN: $line" >&2
    done
    [ ${#left_out[@]} -eq 0 ]
}

absent_packages() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || echo "$package"
    done
}

# install PACKAGE...: true if all are installed afterwards. apt is not called if they are already.
install() {
    local absent as_root=()
    mapfile -t absent < <(absent_packages "$@")
    [ ${#absent[@]} -gt 0 ] || return 0
    echo "Installing ${absent[*]}"
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]+"${as_root[@]}"}" apt-get update -qq &&
        "${as_root[@]+"${as_root[@]}"}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${absent[@]}" >/dev/null
    # Builds that are configured already have not seen the new packages.
    rm -f build/*/build.ninja
    [ -z "$(absent_packages "$@")" ]
}

install_or_end() {
    install "$@" && return
    local absent
    mapfile -t absent < <(absent_packages "$@")
    leave_out "these packages are missing and cannot be installed: ${absent[*]}"
    tell_what_was_left_out
    exit 1
}

# build PRESET [TARGET...]: silent unless something is wrong.
build() {
    local preset=$1
    shift
    mkdir -p "build/$preset"
    echo "Building ($preset)"
    # A configured folder configures itself again when it has to.
    if [ ! -e "build/$preset/build.ninja" ]; then
        cmake --preset "$preset" >"build/$preset/configure.log" 2>&1 || { cat "build/$preset/configure.log"; return 1; }
    fi
    cmake --build --preset "$preset" ${1:+--target "$@"} >"build/$preset/build.log" 2>&1 ||
        { grep -vE '^\[[0-9]+/[0-9]+\]' "build/$preset/build.log"; return 1; }
}
