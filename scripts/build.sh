#!/usr/bin/env bash
# build.sh FOLDER [-C...] [-D...] [TARGETS...]: configures and builds into a folder of the repository.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$1
shift
options=()
while [ $# -gt 0 ] && [[ $1 == -[CD]* ]]; do
    options+=("$1")
    shift
done
cmake -G Ninja -S . -B "$folder" "${options[@]}" >"$folder.log" 2>&1 || { cat "$folder.log"; exit 1; }
ninja -C "$folder" --quiet "$@"
