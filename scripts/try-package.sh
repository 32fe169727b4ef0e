#!/usr/bin/env bash
# Tries the package in a bare Debian 12: installs it with what it says it needs and no more, starts
# it, downloads from the bundled site with the site scripts that came with it, over http and https,
# converts, removes it, and looks at what is left. Needs root, and the network for Debian's packages
# only.
#   scripts/try-package.sh [PACKAGE [MIRROR]]
set -euo pipefail
cd "$(dirname "$0")/.."
package=${1:-$(echo build/reelkeeper_*.deb)}
[ -e "$package" ] || { echo "There is no $package: ./package makes it." >&2; exit 1; }
scripts/setup.sh try-package
scripts/build.sh build-package reelkeeper_demo
bin=$PWD/build-package/bin
. scripts/desktop.sh
bare=$scratch/bare

# into_bare USER COMMAND...: becomes a command in the bare system, with nothing of this one but network
# and processes.
into_bare() {
    local user=$1 home=/root
    [ "$user" = root ] || home=/home/$user
    shift
    # The mount is seen by this command alone, so that nothing has to be unmounted.
    exec unshare --mount bash -c 'mount -t proc proc "$1/proc" && exec chroot "${@:2}"' into_bare \
        "$bare" "--userspec=$user:$user" "$bare" /usr/bin/env -i HOME="$home" LANG=C.UTF-8 \
        XDG_RUNTIME_DIR="/run/$user" PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        DEBIAN_FRONTEND=noninteractive "${with[@]}" "$@"
}
with=()
in_bare() { (into_bare "$@"); }
apt() {
    in_bare root apt-get -qq -y --no-install-recommends "$@" >"$scratch/apt.log" 2>&1 ||
        die "$(tail "$scratch/apt.log")"
}
contents() { say "$(in_bare root dpkg-query -f '.\n' -W | wc -l) packages, $(du -sm "$bare" | cut -f 1) MB"; }
files() { # of the bare system, but for what the package tools write down
    find "$bare" -xdev \( -path "$bare/proc" -o -path "$bare/run" -o -path "$bare/var/lib/dpkg" -o -path "$bare/var/lib/apt" \
        -o -path "$bare/var/cache" -o -path "$bare/var/log" \) -prune -o -printf '/%P\n' | sort
}

say "A bare Debian 12"
debootstrap --variant=minbase bookworm "$bare" ${2:+"$2"} >"$scratch/debootstrap.log" ||
    die "$(tail "$scratch/debootstrap.log")"
printf '#!/bin/sh\nexit 101\n' >"$bare/usr/sbin/policy-rc.d" # no services
chmod 755 "$bare/usr/sbin/policy-rc.d"
in_bare root useradd --create-home person
in_bare root install -d -m 700 -o person /run/person
contents

say "What the package depends on"
apt update
apt satisfy "$(dpkg-deb -f "$package" Depends)"
contents
files >"$scratch/before"

say "Installing $(basename "$package")"
cp "$package" "$bare/tmp/package.deb"
apt install /tmp/package.deb
rm "$bare/tmp/package.deb"
in_bare root dpkg --verify reelkeeper
files | comm -13 "$scratch/before" - >"$scratch/installed"
say "$(wc -l <"$scratch/installed") files and folders"

say "Starting it by its name, for a person of the bare system"
make_certificate || die "no certificate"
start_site 0 --certificate "$certificate" --key "$key" --secure-port 0 --stream-port 0 || die "no site"
cp "$certificate" "$bare/run/person/certificate.pem"
start_display || die "no display"
# No update server: nothing listens on that port.
with=("DISPLAY=$DISPLAY" "REELKEEPER_SITE_HOST=$site_host" REELKEEPER_UPDATE_HOST=127.0.0.1:9
    "REELKEEPER_SECURE_HOSTS=$site_host" REELKEEPER_CA_FILE=/run/person/certificate.pem)
into_bare person reelkeeper >"$scratch/program.log" 2>&1 &
program=$!
window_shown
executable=$(readlink "/proc/$program/exe")
say "It is ${executable#"$bare"}"

export XDG_DATA_HOME=$bare/home/person/.local/share # where data_folder looks
finished() { # ID FORMAT: as FFmpeg names the file's
    local file
    wait_until 120 "job $1" state_is "$1" 3 || die "job $1 has state $(job_field video_state "$1")"
    file=$(job_field output_name "$1")
    in_bare person ffprobe -v error -show_entries format=format_name -of csv=p=0 "$file" | grep -q "$2" ||
        die "job $1: bad $file"
    in_bare person ffmpeg -v error -xerror -i "$file" -f null - || die "job $1: damaged $file"
    say "Finished: $file, $(stat -c %s "$bare$file") bytes"
}
say "Downloading"
download "http://$site/watch?v=several-sizes"
finished 1 mp4
say "Downloading over https and converting"
offer "https://$secure_site/pages/archive-org-play-av.html"
press "$(window_named "Download Video")" Tab Tab
xdotool type WebM
xdotool key Return
finished 2 webm
kill -TERM "$program"
program_ends_with 0

say "Checking its site scripts with its checker"
in_bare person reelkeeper-check --manifest /usr/lib/reelkeeper/site-scripts

say "Removing it"
with=()
apt purge reelkeeper
files >"$scratch/after"
comm -13 "$scratch/before" "$scratch/after" >"$scratch/left"
say "Left:"
cat "$scratch/left"
! grep -v '^/home/person/' "$scratch/left" || die "something is left behind"
[ "$(comm -23 "$scratch/before" "$scratch/after" | wc -l)" -eq 0 ] || die "something is missing"
grep -q '\.webm$' "$scratch/left" && grep -q '/Task\.dat$' "$scratch/left" || die "the person's data is gone"
say "The package installs, works and goes."
