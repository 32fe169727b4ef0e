#!/usr/bin/env bash
# Installs what building, running and testing need and this machine lacks. Asks nothing, needs root
# or sudo only when something is missing, and is done at once when nothing is.
set -euo pipefail

build=(
    g++ cmake ninja-build
    qtbase5-dev qtscript5-dev libxcb1-dev
)
run=(
    libqt5sql5-sqlite   # the driver of the job database
    ffmpeg
    xdg-utils           # which program opens a type of file
    qtwayland5          # the way to a Wayland display
    fonts-dejavu-core
    ca-certificates     # whom to trust; the TLS library itself comes with Qt
)
# A display, a window manager, a keyboard and a clipboard for machines that have none.
display=(
    xvfb openbox xdotool xclip x11-utils imagemagick sqlite3
)
certificates=(openssl)  # for servers of this machine's own
test=(
    clang-format clang-tidy
    clang libclang-rt-dev # the sanitizers' and libFuzzer's compiler
    lld                   # links a build of many programs in half the time
    curl
    dbus-daemon dbus-bin # buses of the tests' own, for stand-ins of the system's services
    trayer dunst         # a tray and a notification service
    weston wl-clipboard  # a desktop without X, and its clipboard
    procps
    libsm-dev libice-dev # a manager of the session
    qttools5-dev-tools   # lupdate, which collects the texts for translators
)
package=(
    dpkg-dev file        # what a program is linked with becomes what its package depends on
    gzip
    desktop-file-utils appstream lintian
)
bare=(
    debootstrap debian-archive-keyring
)

wanted=("${build[@]}" "${run[@]}")
case "${1:-}" in
    run) wanted+=("${display[@]}" "${certificates[@]}") ;;
    test) wanted+=("${display[@]}" "${certificates[@]}" "${test[@]}") ;;
    package) wanted=("${build[@]}" "${package[@]}") ;;
    try-package) wanted+=("${display[@]}" "${certificates[@]}" "${bare[@]}") ;;
    *) echo "usage: $0 run|test|package|try-package" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
        missing+=("$package")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
        echo "These packages are missing and there is no sudo to install them: ${missing[*]}" >&2
        exit 1
    }
    root=(sudo)
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# Lists may be old or not there at all.
"${root[@]}" apt-get -qq update
"${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y --no-install-recommends \
    -o Dpkg::Use-Pty=0 install "${missing[@]}" >/dev/null
