#!/usr/bin/env bash
# The program as a person meets it, on a virtual display and the bundled site: an address is copied,
# the dialog opens by itself, Enter downloads, the file is the stream byte for byte and still in the
# list after a restart, however the run before ended.
#   whole_program.sh BIN-FOLDER
set -euo pipefail
bin=$1
. "$(dirname "$0")/../../scripts/desktop.sh"

use_private_folders
make_certificate || die "no certificate"
start_site 0 --media "$bin/demo-media" --rate 400000 --certificate "$certificate" --key "$key" \
    --secure-port 0 --stream-port 0 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site
export REELKEEPER_SECURE_HOSTS=overridden.example REELKEEPER_CA_FILE=$certificate
mkdir "$XDG_CONFIG_HOME/Quarnitek"
printf '[Options]\nSecure Hosts=none.example, %s' "$site_host" \
    >"$XDG_CONFIG_HOME/Quarnitek/Corvane Reelkeeper.conf"
start_display || die "no display"

end_program() { # SIGNAL EXPECTED-CODE
    kill "-$1" "$program"
    program_ends_with "$2"
}

say "A copied address becomes a finished file"
start_program
window_shown
# A colour of its ground that comes from nothing but the style sheet.
styled() {
    import -silent -window "$(window_named "Corvane Reelkeeper")" ppm:- |
        convert - -depth 8 -unique-colors txt:- | grep '#E4E4E9'
}
wait_until 10 "the style sheet's colours" styled || die "the window is plain"
download "http://$site/watch?v=several-sizes"
wait_until 60 "the finished job" state_is 1 3 || die "the download did not finish"
file=$(job_field output_name 1)
[ "$(basename "$file")" = "Several frame sizes.mp4" ] || die "named $file"
curl -s --fail -o "$scratch/stream" "$(job_field video_url 1)"
cmp "$file" "$scratch/stream"

say "A second start hands over to the first and ends with 0"
xdotool windowminimize --sync "$(window_named "Corvane Reelkeeper")"
xev -root -event property >"$scratch/told" &
launch=launcher_TIME$(($(cut -d . -f 1 /proc/uptime) * 1000))
DESKTOP_STARTUP_ID=$launch "$bin/reelkeeper" || die "the second start ended with $?"
wait_until 10 "the window to come back" window_named "Corvane Reelkeeper" || die "not raised"
xprop -id "$(window_named "Corvane Reelkeeper")" _NET_STARTUP_ID | grep -q "\"$launch\"" ||
    die "the launcher does not know the window"
wait_until 10 "the end of the start" grep -q _NET_STARTUP_INFO_BEGIN "$scratch/told" ||
    die "the cursor stays busy"

say "A request to end stops a running download with every byte it has"
download "http://$site/watch?v=longer"
wait_until 30 "the job" state_is 2 0 || die "the new job is not stored"
sleep 1 # some of the stream
end_program TERM 0
state_is 1 3 && state_is 2 0 || die "the jobs were not saved"
has_bytes 2 100000 || die "nothing was downloaded"
bytes=$(bytes_of 2)

say "A killed run does not stand in the way of the next, which goes on with the download"
start_program -hide
wait_until 30 "more bytes" has_bytes 2 $((bytes + 100000)) || die "the download did not go on"
end_program KILL 137
start_program
window_shown
wait_until 60 "the second job" state_is 2 3 || die "the resumed download did not finish"
curl -s --fail -o "$scratch/stream" "$(job_field video_url 2)"
cmp "$(job_field output_name 2)" "$scratch/stream"

say "A copied https address becomes a finished file, wherever its stream is sent on to"
download "https://$secure_site/pages/archive-org-play-av.html"
wait_until 60 "the secure job" state_is 3 3 || die "the secure download did not finish"
file=$(job_field output_name 3)
[ "$(basename "$file")" = "Old Lock.mp4" ] || die "named $file"
curl -s --fail --location --cacert "$certificate" -o "$scratch/stream" "$(job_field video_url 3)"
cmp "$file" "$scratch/stream"

say "./run that is ended takes the program with it, and waits for it"
end_program INT 0
"$(dirname "$0")/../../run" --site "$site_host" --updates "$site" >"$scratch/program.log" 2>&1 &
program=$!
window_shown
end_program TERM 143
! window_named "Corvane Reelkeeper" || die "the program still runs"

say "A list that cannot be kept ends the start with code 2 and a message"
mv "$(data_folder)" "$scratch/data"
touch "$(data_folder)"
start_program
wait_until 30 "the message" window_named "Reelkeeper" || die "no message"
press "$(window_named "Reelkeeper")" Return
program_ends_with 2
say "1 passed, 0 failed"
