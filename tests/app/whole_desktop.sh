#!/usr/bin/env bash
# A day with the program on a desktop that has a tray: a conversion chosen by keyboard, balloons,
# hiding and coming back, renaming, deleting, the exit question and the next start. The first run
# meets a tray of embedded windows, the second one that speaks over the bus, with notifications;
# both trays come after the program.
#   whole_desktop.sh BIN-FOLDER TRAY-HOST SESSION-MANAGER
set -euo pipefail
bin=$1 tray_host=$2 session_manager=$3
. "$(dirname "$0")/../../scripts/desktop.sh"
use_private_folders
start_site 0 --media "$bin/demo-media" --rate 600000 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site
start_display || die "no display"
start_bus || die "no session bus"
title="Corvane Reelkeeper"

# Visible windows that are not the window manager's: balloons and menus.
popup() {
    local id
    for id in $(xdotool search --onlyvisible --classname '^reelkeeper$' 2>/dev/null); do
        is_managed "$id" || [ "$(xdotool getwindowgeometry --shell "$id" | sed -n 's/WIDTH=//p')" -lt 100 ] ||
            { echo "$id"; return; }
    done
    return 1
}
no() { ! "$@"; }
tray_icon() { # embedded: deep inside other windows
    xwininfo -root -tree | sed -n 's/^ \{12,\}\(0x[0-9a-f]*\) .*("reelkeeper".*/\1/p' | grep -m 1 .
}
click_tray() { # BUTTON
    xdotool mousemove --window "$(tray_icon)" 11 11 click "$1"
}
click_at() { # X Y in the main window
    xdotool mousemove --window "$(window_named "$title")" "$1" "$2" click 1
}
job_ends() { wait_until 30 "job $1" state_is "$1" 3 || die "job $1 did not finish"; }
answer() { # TITLE KEYS...: in the dialog of that title, which closes
    local name=$1
    shift
    wait_until 10 "\"$name\"" window_named "$name" || die "no dialog \"$name\""
    press "$(window_named "$name")" "$@"
    wait_until 10 "the end of \"$name\"" no window_named "$name" || die "\"$name\" stays open"
}

download_as() { # BEGIN-OF-FORMAT ADDRESS
    offer "$2"
    press "$(window_named "Download Video")" Tab Tab
    xdotool type "$1"
    xdotool key Return
}

say "A tray that comes late is used; a format chosen by keyboard converts, and a balloon says so"
start_program
window_shown
trayer --edge bottom --align right --widthtype request --height 24 >"$scratch/trayer.log" 2>&1 &
tray=$!
wait_until 10 "the tray icon" tray_icon || die "no icon in the tray"
download_as AVI "http://$site/watch?v=several-sizes"
wait_until 30 "the balloon" popup || die "no balloon for the finished video"
job_ends 1
file=$(job_field output_name 1)
[ "$(basename "$file")" = "Several frame sizes.avi" ] || die "named $file"
[ "$(head -c 4 "$file")" = RIFF ] || die "$file is no AVI"

say "Closing hides into the tray, and a click on its balloon or its icon shows the window again"
wait_until 20 "the balloon's end" no popup || die "the balloon stays"
press "$(window_named "$title")" alt+F4
wait_until 10 "the window to go" no window_named "$title" || die "the window was not hidden"
wait_until 10 "the balloon about the background" popup || die "the first hiding went unsaid"
kill -0 "$program" || die "closing ended the program"
xdotool mousemove --window "$(popup)" 40 20 click 1
window_shown
press "$(window_named "$title")" alt+F4
wait_until 10 "the window to go" no window_named "$title" || die "the window was not hidden again"
click_tray 1
window_shown

say "F2 renames the video and its file"
click_at 180 15  # the other tab
click_at 100 112 # its first row
xdotool key F2
xdotool type "A better name"
xdotool key Return
renamed=$(dirname "$file")/A\ better\ name.avi
wait_until 10 "the renamed file" test -e "$renamed" || die "the file was not renamed"
[ ! -e "$file" ] || die "the old name is still there"

say "Delete takes a video off the list, and with the box checked its file as well"
xdotool key Delete
answer Delete Return
[ -e "$renamed" ] || die "the file went with the entry"
download "http://$site/watch?v=index-last"
job_ends 2
file=$(job_field output_name 2)
stored() { # WHAT [CONDITION]
    sqlite3 -readonly -cmd ".timeout 5000" "$(data_folder)/Task.dat" "select $1 from video_download where id>0 ${2:-}"
}
delete_first() { click_at 100 112 && xdotool key Delete && sleep 0.3 && window_named Delete; }
wait_until 10 "the question" delete_first || die "the second video is not in the list"
answer Delete space Return # the focus is on the check box
wait_until 10 "the file to go" test ! -e "$file" || die "$file was not deleted"

say "The tray menu's Exit asks while a download runs; Cancel lets it run on"
ask_to_exit() {
    click_tray 3
    wait_until 10 "the tray menu" popup || die "no tray menu"
    xdotool key Up Return # the last of the menu
}
download_as As "http://$site/watch?v=longer"
partial() { stat -c %s "$(find "$HOME" -name '{*}.mp4')"; } # of the running download, in bytes
partial_has() { [ "$(partial)" -gt "$1" ]; }
running_job() { job=$(stored id "and video_state=0") && [ -n "$job" ]; }
wait_until 20 "the job" running_job || die "the download is not in the list"
wait_until 20 "some bytes" partial_has 100000 || die "the download did not begin"
wait_until 20 "the balloon's end" no popup || die "the balloon stays"
ask_to_exit
answer Exit Escape
bytes=$(partial)
wait_until 10 "more bytes" partial_has $((bytes + 100000)) || die "the download stopped"
ask_to_exit
answer Exit Return
program_ends_with 0
state_is "$job" 0 || die "the running download was not kept"
[ "$(stored "count(*)")" -eq 1 ] || die "deleted videos are still in the list"

say "The next start goes on with the download; here balloons are notifications, to be clicked as well"
printf '[all]\nsummary = "*"\nscript = %s\n' "$scratch/notified" >"$scratch/dunstrc"
printf '#!/bin/sh\nprintf "%%s: %%s\\n" "$2" "$3" >>%s\n' "$scratch/notes" >"$scratch/notified"
chmod +x "$scratch/notified"
dunst -conf "$scratch/dunstrc" >"$scratch/dunst.log" 2>&1 &
kill "$tray"
mkfifo "$scratch/orders"
"$session_manager" <"$scratch/orders" >"$scratch/session" &
exec 9>"$scratch/orders"
wait_until 10 "the session's manager" grep -q address "$scratch/session" || die "no session"
SESSION_MANAGER=$(sed -n 's/^address //p' "$scratch/session")
export SESSION_MANAGER
bytes=$(partial)
start_program -hide
wait_until 20 "more bytes" partial_has $((bytes + 100000)) || die "the download did not go on"
"$tray_host" >"$scratch/tray" &
wait_until 20 "the tray icon" grep -q icon "$scratch/tray" || die "no icon in the bus's tray"
! window_named "$title" || die "-hide showed the window"
icon() { # METHOD ARGUMENTS...: of the icon on the bus
    local method=$1
    shift
    dbus-send --print-reply --dest="$(sed -n 's/^icon [^ ]* //p' "$scratch/tray")" \
        /StatusNotifierItem "org.kde.StatusNotifierItem.$method" "$@" >"$scratch/reply"
}
icon Activate int32:0 int32:0
window_shown
job_ends "$job"
expected="Download Finished: The video \"$(job_field title "$job")\" is  completed."
wait_until 20 "the notification" grep -qxF "$expected" "$scratch/notes" ||
    die "not notified: $expected"
press "$(window_named "$title")" alt+F4
wait_until 10 "the window to go" no window_named "$title" || die "the window was not hidden"
dunstctl action
window_shown

say "A checkpoint of the session saves, and only its end ends the program"
rm "$XDG_CONFIG_HOME/Quarnitek/Corvane Reelkeeper.conf"
echo checkpoint >&9
wait_until 10 "the checkpoint" grep -qx saved "$scratch/session" || die "no answer to the session"
grep -q '^JS%20Version=' "$XDG_CONFIG_HOME/Quarnitek/Corvane Reelkeeper.conf" || die "not saved"
kill -0 "$program" || die "the checkpoint ended the program"
echo die >&9
program_ends_with 0
say "1 passed, 0 failed"
