#!/usr/bin/env bash
# The program on a Wayland desktop without a tray: hiding means minimised, another start brings the
# window back, and an address copied elsewhere opens the dialog once the window has the focus again.
# The desktop is a window on a virtual display, so that there is a keyboard.
#   whole_wayland.sh BIN-FOLDER
set -euo pipefail
bin=$1
. "$(dirname "$0")/../../scripts/desktop.sh"
for tool in weston wl-copy; do
    command -v $tool >/dev/null || { say "Skipped: there is no $tool here."; exit 77; }
done
use_private_folders
start_site 0 --media "$bin/demo-media" --rate 4000000 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site
start_display || die "no display"
weston --backend=x11-backend.so --use-pixman --no-config --idle-time=0 --socket=tested \
    --width=1200 --height=700 >"$scratch/weston.log" 2>&1 &
wait_until 20 "the desktop's window" xdotool search --class weston || die "$(cat "$scratch/weston.log")"
desktop=$(xdotool search --class weston)
export WAYLAND_DISPLAY=tested QT_QPA_PLATFORM=wayland WAYLAND_DEBUG=client

# What program and desktop say to each other is the program's log.
titled() { [ "$(grep -c "set_title(\"$1\")" "$scratch/program.log")" -ge "$2" ]; } # TITLE TIMES
minimised() { # the focus has gone since it was asked for last
    awk '/set_minimized/ { asked = 1; gone = 0 } /wl_keyboard.*leave/ { gone = asked }
        END { exit !gone }' "$scratch/program.log"
}
has_job() { [ -n "$(job_field id 1)" ]; }
accepted() { # the dialog may not have the focus yet
    press "$desktop" Return
    wait_until 1 "the job" has_job
}

say "Hidden where there is no tray, the window is minimised, and another start brings it back"
start_program -hide
wait_until 30 "the end of the focus" minimised || die "$(tail -n 20 "$scratch/program.log")"
"$bin/reelkeeper" 2>/dev/null || die "the second start ended with $?"
wait_until 10 "a new window" titled "Corvane Reelkeeper" 2 || die "not brought back"

say "An address that was copied while another window had the focus becomes a finished file"
WAYLAND_DEBUG='' wl-copy --foreground "http://$site/watch?v=several-sizes" 2>/dev/null &
wait_until 20 "the dialog" titled "Download Video" 1 || die "no dialog"
wait_until 20 "the download" accepted || die "the dialog was not accepted"
wait_until 60 "the finished job" state_is 1 3 || die "the download did not finish"
curl -s --fail -o "$scratch/stream" "$(job_field video_url 1)"
cmp "$(job_field output_name 1)" "$scratch/stream"
kill -TERM "$program"
program_ends_with 0
say "1 passed, 0 failed"
