#!/usr/bin/env bash
# The program is ended at random moments, by kill -9 and SIGTERM, while it downloads and converts;
# each next start finds its list whole and nothing of the dead run in the way, no job is lost, and
# every finished file is its stream. Prints what it did.
#   whole_ends.sh BIN-FOLDER ROUNDS [SEED]
set -euo pipefail
bin=$1 rounds=$2
RANDOM=${3:-1}
. "$(dirname "$0")/../../scripts/desktop.sh"

use_private_folders
start_site 0 --media "$bin/demo-media" --rate 600000 || die "no site"
export REELKEEPER_SITE_HOST=$site_host REELKEEPER_UPDATE_HOST=$site QT_QPA_PLATFORM=offscreen
streams=(several-sizes-360p.mp4 several-sizes-240p.mp4 several-sizes-360p.flv several-sizes-180p.flv)
unfinished=5 # jobs in the list at each start
mp4=100      # the output format
folder=$HOME/Documents/Corvane\ Reelkeeper
list=$(data_folder)/Task.dat
declare -A stream checked # by job: name of its stream
round=0 tenths=10 next=1 kills=0 terminations=0 same=0 converted=0

sql() { sqlite3 -cmd ".timeout 5000" "$list" "$1"; } # may write: what a killed run left half done is rolled back

add_job() {
    local id=$((next++)) name guid file='' format=0 bytes=0 total=-1
    name=${streams[RANDOM % ${#streams[@]}]}
    guid={$(tr a-z A-Z </proc/sys/kernel/random/uuid)}
    case $((id % 4)) in
    0) format=$mp4 ;;
    1) # complete, but its end was never heard of
        file=$folder/$guid.${name##*.}
        cp "$bin/demo-media/$name" "$file"
        bytes=$(stat -c %s "$file") total=$bytes
        ;;
    esac
    sql "insert into video_download values($id,'http://$site/watch?v=several-sizes','Clip $id','','',
        'http://$site/stream/$name','','','640x360',0,'${name##*.}','$file',$bytes,$total,12,$format,
        '','','$guid',$(date +%-j),0,0)"
    stream[$id]=$name
}

# What the next start would find. Finished jobs are taken off the list when they are seen again.
inspect() {
    local id state format file left=0
    [ ! -e "$list.damaged" ] || die "the list is damaged"
    for id in "${!stream[@]}"; do
        IFS='|' read -r state format file <<<"$(sql "select video_state,output_format,output_name
            from video_download where id=$id")"
        case $state in
        0) left=$((left + 1)) ;;
        3)
            if [ -n "${checked[$id]:-}" ]; then
                rm "$file"
                sql "delete from video_download where id=$id"
                unset "stream[$id]"
            elif [ "$format" -eq 0 ]; then
                cmp "$file" "$bin/demo-media/${stream[$id]}" || die "job $id is not its stream"
                same=$((same + 1))
            else
                [ -z "$(ffmpeg -v error -i "$file" -f null - 2>&1)" ] || die "job $id: bad $file"
                converted=$((converted + 1))
            fi
            checked[$id]=1
            ;;
        *) die "job $id has the state \"$state\"" ;;
        esac
    done
    while [ "$left" -lt "$1" ]; do
        add_job
        left=$((left + 1))
    done
}

end_program() { # SIGNAL
    local code=0 gone=
    kill "-$1" "$program" 2>/dev/null || gone="by itself "
    wait "$program" 2>/dev/null || code=$?
    [ -z "$gone" ] || code=-$code
    # A signal may come before main() is reached.
    case $1-$code in KILL-137 | TERM-0 | TERM-143) ;; *)
        die "$1 after $tenths tenths in round $round: it ended ${gone}with $code: $(cat "$scratch/program.log")" ;;
    esac
    wait_until 30 "the end of the encoders" no_encoder || die "an encoder is left"
}
no_encoder() { ! pgrep -f "ffmpeg.*$HOME" >/dev/null; }
all_finished() { [ "$(sql "select count(*) from video_download where id>0 and video_state<>3")" = 0 ]; }

start_program
wait_until 30 "the list" test -s "$list" || die "no list"
sleep 1
end_program TERM
inspect $unfinished
for ((round = 0; round < rounds; ++round)); do
    start_program
    longest=15 # tenths of a second; some rounds are long enough for a conversion
    [ $((round % 4)) -ne 0 ] || longest=60
    tenths=$((2 + RANDOM % longest))
    sleep $((tenths / 10)).$((tenths % 10))
    if [ $((RANDOM % 2)) -eq 0 ]; then
        kills=$((kills + 1))
        end_program KILL
    else
        terminations=$((terminations + 1))
        end_program TERM
    fi
    inspect $unfinished
done
start_program
wait_until 120 "the end of all jobs" all_finished || die "jobs are left"
end_program TERM
inspect 0
# A run that dies between the renaming of a finished file and the save leaves the file to a second
# download: complete, under its title. Nothing else may be left.
twice=-${#stream[@]}
for file in "$folder"/* "$folder"/.[!.]*; do
    case ${file##*/} in 'Clip '*) twice=$((twice + 1)) ;; '.[!.]*') ;; *) die "left behind: $file" ;; esac
done
say "$kills ends by SIGKILL, $terminations by SIGTERM, $((next - 1)) jobs, $same files as their" \
    "streams, $converted converted, $twice finished twice"
