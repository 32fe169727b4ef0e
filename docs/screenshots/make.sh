#!/usr/bin/env bash
# Makes the pictures of this folder anew: the built program with real downloads from the bundled
# site, on a virtual display, cropped to the windows; the list and its tips also at twice the size.
# Nothing here can reach the machine's services.
#   docs/screenshots/make.sh [BIN-FOLDER]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bin=${1:-$here/../../build/bin}
. "$here/../../scripts/desktop.sh"
title="Corvane Reelkeeper"
use_private_folders
# Of three sites: one whose downloads run for as long as the pictures take, one that will go away,
# and a fast one.
start_site 0 --media "$bin/demo-media" --rate 30000 || die "no site"
slow=$site
start_site 0 --media "$bin/demo-media" --rate 30000 || die "no site"
leaving=$site leaving_pid=$site_pid
cp -r "$bin/demo-media" "$scratch/media"
start_site 0 --media "$scratch/media" --rate 0 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site
start_display 2400x1700x24 || die "no display"
scale=1

shoot() { # NAME TITLE: the window of that title with its frame
    local frame
    wait_until 20 "\"$2\"" window_named "$2" || die "no window \"$2\""
    sleep 0.7 # what the window manager and the program still draw
    frame=$(xwininfo -id "$(window_named "$2")" -tree | sed -n 's/.*Parent window id: \(0x[0-9a-f]*\).*/\1/p')
    import -silent -window "$frame" -frame -strip "$here/$1.png"
    shrink "$1"
}
shrink() { # NAME
    convert "$here/$1.png" -strip +dither -colors 255 -define png:compression-level=9 "PNG8:$here/$1.png"
    say "$1.png"
}
key() { press "$(window_named "$1")" "${@:2}"; } # TITLE KEYS...
point_at() { # X Y in the main window, in its own units
    xdotool mousemove --window "$(window_named "$title")" $(($1 * scale)) $(($2 * scale))
}
click_at() { # as above
    point_at "$@"
    xdotool click 1
    sleep 0.3
    xdotool mousemove 2390 1690
    sleep 0.3
}
row_at() { echo $((80 + 40 * $1)); } # ROW: the middle of it
corner() { # X or Y of the main window's upper left corner
    xwininfo -id "$(window_named "$title")" | sed -n "s/.*Absolute upper-left $1: *//p"
}
shoot_tips() { # NAME ROW...: the rows with the tips of their progress, one below the other
    local name=$1 row place strips=()
    shift
    for row; do
        xdotool mousemove 2390 1690
        sleep 0.5
        point_at 565 "$(row_at "$row")"
        point_at 566 "$(row_at "$row")"
        sleep 2 # until the tip is there, and all of it drawn
        place=$((930 * scale))x$((120 * scale))
        place+=+$(corner X)+$(($(corner Y) + ($(row_at "$row") - 25) * scale))
        strips+=("$scratch/tip$row.png")
        import -silent -window root -crop "$place" +repage "${strips[-1]}"
        mogrify -fill "#c8c8c8" -draw "color $((930 * scale - 1)),0 floodfill" "${strips[-1]}" # the desktop
    done
    convert "${strips[@]}" -background "#c8c8c8" -splice 0x$((12 * scale)) -append "$here/$name.png"
    shrink "$name"
}
download_as() { # BEGIN-OF-FORMAT ADDRESS
    offer "$2"
    key "Download Video" Tab Tab
    xdotool type "$1"
    xdotool key Return
    wait_until 10 "the dialog's end" no window_named "Download Video" || die "no download of $2"
}
no() { ! "$@"; }
leave() { # TITLE
    key "$1" Escape
    wait_until 10 "the end of $1" no window_named "$1"
}
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
download_as As "http://$leaving/watch?v=longer"
sleep 4 # some of each
kill $leaving_pid
click_at 200 "$(row_at 4)"
key "$title" ctrl+p
sleep 6 # the second try that fails is waited for longer than the first
shoot main "$title"
shoot_tips tips 1 2 3 4 5

click_at 200 14 # the other tab
click_at 200 115
shoot finished "$title"
key "$title" Delete
shoot delete-finished Delete
leave Delete
key "$title" ctrl+comma
shoot settings Settings
leave Settings
click_at 790 15
shoot about About
leave About
key "$title" ctrl+q
shoot exit Exit
key Exit Return
program_ends_with 0

# Why the failed one failed is known only after it has failed again.
scale=2
export QT_SCALE_FACTOR=2
start_program
window_shown
click_at 70 14
click_at 200 "$(row_at 2)"
key "$title" ctrl+r
sleep 6
shoot main-double "$title"
shoot_tips tips-double 1 2 3 4 5
key "$title" ctrl+q
wait_until 10 "the question" window_named Exit
key Exit Return
program_ends_with 0
