# Functions for scripts that drive the program on a display: to be sourced. Everything that the
# script started ends with it, however it ends, and is waited for.

scratch=$(mktemp -d)

end_children() {
    # The exit code is that of the script, not of what is ended here.
    local code=$? pid
    set +e
    trap '' INT TERM HUP
    for pid in $(jobs -p); do kill "$pid" 2>/dev/null; done
    wait
    rm -rf "$scratch"
    exit $code
}
trap end_children EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

# What is tried here must never switch the computer off: the program finds no service that could.
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/no-bus

say() { printf '%s\n' "$*"; }
die() { printf '%s\n' "$*" >&2; exit 1; }

# wait_until SECONDS WHAT COMMAND...: runs the command until it succeeds.
wait_until() {
    local end=$((SECONDS + $1)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || { say "Waited in vain for $what." >&2; return 1; }
        sleep 0.1
    done
}

# A virtual display with a window manager; sets DISPLAY. Its resolution is one at which programs
# are as large as they say.
start_display() {
    Xvfb -displayfd 3 -screen 0 "${1:-1280x800x24}" -dpi 96 -nolisten tcp \
        3>"$scratch/display" >"$scratch/xvfb.log" 2>&1 &
    wait_until 20 "a virtual display" test -s "$scratch/display" || return 1
    DISPLAY=:$(cat "$scratch/display")
    export DISPLAY
    unset WAYLAND_DISPLAY
    openbox >"$scratch/openbox.log" 2>&1 &
    wait_until 20 "the window manager" \
        sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"' 2>/dev/null || return 1
}

# make_certificate: for servers on 127.0.0.1; sets certificate and key, files that end with the script.
make_certificate() {
    certificate=$scratch/certificate.pem key=$scratch/key.pem
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 30 -subj /CN=127.0.0.1 \
        -addext subjectAltName=IP:127.0.0.1,DNS:localhost -keyout "$key" -out "$certificate" \
        2>"$scratch/openssl.log" || { cat "$scratch/openssl.log" >&2; return 1; }
}

# start_site PORT [ARGUMENTS...]: the bundled site; sets site_host and site (host:port), and
# secure_site when the arguments ask for one.
start_site() {
    local port=$1
    shift
    : >"$scratch/site" # what an earlier one said is not about this one
    "$bin/reelkeeper-demo" --port "$port" "$@" >"$scratch/site" 2>"$scratch/site.err" &
    site_pid=$!
    local end=$((SECONDS + 120))
    until grep -q Serving "$scratch/site"; do
        if ! kill -0 $site_pid 2>/dev/null || [ $SECONDS -ge $end ]; then
            cat "$scratch/site.err" >&2
            return 1
        fi
        sleep 0.1
    done
    site=$(sed -n 's|.*http://\([^/ ]*\).*|\1|p' "$scratch/site")
    site_host=${site%:*}
    secure_site=$(sed -n 's|^Secure pages at https://\([^/]*\)/.*|\1|p' "$scratch/site")
}

copy() { printf '%s' "$1" | xclip -selection clipboard -in >/dev/null 2>&1; }

# Whether the window manager has this window: not a tray's icon, a balloon or a menu.
is_managed() { xprop -root _NET_CLIENT_LIST | tr -d , | grep -qw "$(printf '%#x' "$1")"; }

# window_named TITLE: the id of the visible window with exactly that title. A tray's icon and balloons
# bear the title of their window.
window_named() {
    local id
    for id in $(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null); do
        is_managed "$id" && { echo "$id"; return; }
    done
    return 1
}

# press WINDOW KEY...: keys for a window, which gets the focus first.
press() {
    local window=$1
    shift
    xdotool windowactivate --sync "$window" 2>/dev/null || xdotool windowfocus "$window"
    xdotool key --clearmodifiers "$@"
}

screenshot() { import -silent -window root "$1"; }

data_folder() { printf '%s' "${XDG_DATA_HOME:-$HOME/.local/share}/Quarnitek/Corvane Reelkeeper"; }

# Settings, data and videos of this script's own, and no bus: nothing of the person's is touched, and
# nothing here can reach the services of the machine.
use_private_folders() {
    local name
    for name in HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_RUNTIME_DIR XDG_CACHE_HOME TMPDIR; do
        export "$name=$scratch/$name"
        mkdir -p -m 700 "$scratch/$name"
    done
    export DBUS_SESSION_BUS_ADDRESS=unix:path=$scratch/none DBUS_SYSTEM_BUS_ADDRESS=unix:path=$scratch/none
}

# A session bus of this script's own; sets its address.
start_bus() {
    export DBUS_SESSION_BUS_ADDRESS=unix:path=$scratch/bus
    dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS" \
        >"$scratch/bus.log" 2>&1 &
    wait_until 10 "the session bus" test -S "$scratch/bus"
}

# start_program [ARGUMENTS...]: sets program, its process id. PROGRAM names another than the built one.
start_program() {
    "${PROGRAM:-$bin/reelkeeper}" "$@" >"$scratch/program.log" 2>&1 &
    program=$!
}
# program_ends_with CODE
program_ends_with() {
    local code=0
    wait "$program" 2>/dev/null || code=$?
    [ $code -eq "$1" ] || die "ended with $code instead of $1: $(cat "$scratch/program.log")"
}
window_shown() { wait_until 30 "the window" window_named "Corvane Reelkeeper" || die "no window: $(cat "$scratch/program.log")"; }

# offer ADDRESS: copies it, and waits for the dialog that opens by itself.
offer() {
    copy "$1"
    wait_until 20 "the dialog" window_named "Download Video" || die "no dialog for $1"
}
download() { # ADDRESS
    offer "$1"
    press "$(window_named "Download Video")" Return
}

# job_field COLUMN ID: one field of a stored job.
job_field() {
    sqlite3 -readonly -cmd ".timeout 5000" "$(data_folder)/Task.dat" \
        "select $1 from video_download where id=$2 and id>0" 2>/dev/null
}
last_job() {
    sqlite3 -readonly -cmd ".timeout 5000" "$(data_folder)/Task.dat" \
        "select coalesce(max(id),0) from video_download" 2>/dev/null || echo 0
}
state_is() { [ "$(job_field video_state "$1")" = "$2" ]; }
bytes_of() { stat -c %s "$(job_field video_mame "$1")"; }
has_bytes() { [ "$(bytes_of "$1")" -gt "$2" ]; }
