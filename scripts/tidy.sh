#!/usr/bin/env bash
# tidy.sh BUILD-FOLDER [FILES...]: clang-tidy over the program's sources, as .clang-tidy says.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=$1
shift
files=("$@")
if [ $# -eq 0 ]; then
    mapfile -t files < <(find app core conversion analysis engine ui encoder -name '*.cpp')
fi
out=$(mktemp)
trap 'rm -f "$out"' EXIT
if ! printf '%s\0' "${files[@]}" |
    xargs -0 -n 2 -P "$(nproc)" clang-tidy -p "$folder" --quiet >"$out" 2>/dev/null; then
    cat "$out"
    exit 1
fi
