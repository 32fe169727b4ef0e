#!/usr/bin/env bash
# Makes the pictures of this folder anew: the built program with real downloads from the bundled
# site, on a virtual display, cropped to the windows. Nothing here can reach the machine's services.
#   docs/screenshots/make.sh [BIN-FOLDER]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin=${1:-$here/../../build/bin}
. "$here/../../scripts/desktop.sh"
title="Corvane Reelkeeper"
use_private_folders
# Of two sites: one whose downloads run for as long as the pictures take, and a fast one.
cp -r "$bin/demo-media" "$scratch/media"
start_site 0 --media "$scratch/media" --rate 30000 || die "no site"
slow=$site
start_site 0 --media "$scratch/media" --rate 0 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site
start_display 1280x900x24 || die "no display"

shoot() { # NAME TITLE: the window of that title with its frame
    local frame
    wait_until 20 "\"$2\"" window_named "$2" || die "no window \"$2\""
    sleep 0.7 # what the window manager and the program still draw
    frame=$(xwininfo -id "$(window_named "$2")" -tree | sed -n 's/.*Parent window id: \(0x[0-9a-f]*\).*/\1/p')
    import -silent -window "$frame" -frame -strip "$here/$1.png"
    convert "$here/$1.png" -strip +dither -colors 255 -define png:compression-level=9 "PNG8:$here/$1.png"
    say "$1.png"
}
key() { press "$(window_named "$1")" "${@:2}"; } # TITLE KEYS...
click_at() { # X Y in the main window
    xdotool mousemove --window "$(window_named "$title")" "$1" "$2" click 1
    xdotool mousemove 1270 890
    sleep 0.3
}
download_as() { # BEGIN-OF-FORMAT ADDRESS
    offer "$2"
    key "Download Video" Tab Tab
    xdotool type "$1"
    xdotool key Return
    wait_until 10 "the dialog's end" no window_named "Download Video" || die "no download of $2"
}
no() { ! "$@"; }
finished() { wait_until 60 "job $1" state_is "$1" 3 || die "job $1 did not finish"; }
settings=$XDG_CONFIG_HOME/Quarnitek/$title.conf
mkdir -p "$(dirname "$settings")"
printf '[Options]\nShut%%20Down%%20When%%20All%%20Finished=true\n[MainFrame]\npos=@Point(200 150)\nsize=@Size(821 588)\n' >"$settings"

kill -STOP "$site_pid" # the update waits
start_program
shoot update Update
kill -CONT "$site_pid"
window_shown

download_as As "http://$site/watch?v=several-sizes"
shoot shut-down "Shut Down"
key "Shut Down" Escape
key "$title" ctrl+comma
wait_until 10 "the settings" window_named Settings
key Settings Tab Tab space Return # not again after every download
download_as MKV "http://$site/watch?v=several-sizes"
finished 2
download_as MP3 "http://$site/watch?v=longer"
finished 3

offer "http://$slow/watch?v=several-sizes"
shoot new-download "Download Video"
key "Download Video" Escape
key "$title" ctrl+n
wait_until 10 "the dialog" window_named "Download Video"
xdotool type "not an address"
xdotool key Return
shoot new-download-message "Download Video"
key "Download Video" Escape

download_as As "http://$slow/watch?v=longer"
rm "$scratch/media/index-last-360p.mp4"
download_as As "http://$site/watch?v=index-last"
download_as WebM "http://$slow/watch?v=several-sizes"
download_as As "http://$slow/watch?v=several-sizes"
sleep 4 # some of each
click_at 200 240 # the last row
key "$title" ctrl+p
sleep 1.2 # the list follows within a second
shoot main "$title"

click_at 200 14 # the other tab
click_at 200 115
shoot finished "$title"
key "$title" Delete
shoot delete-finished Delete
key Delete Escape
key "$title" ctrl+comma
shoot settings Settings
key Settings Escape
click_at 790 15
shoot about About
key About Escape
key "$title" ctrl+q
shoot exit Exit
key Exit Return
program_ends_with 0
