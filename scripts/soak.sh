#!/usr/bin/env bash
# soak.sh NAME SECONDS: one long run; fails on a finding. NAME is a file of scripts/soaks/, which documents itself.
. "$(dirname "$0")/lib.sh"
cd "$ROOT" || exit 2
if [ $# -ne 2 ] || [ ! -x "scripts/soaks/$1" ] || ! [[ $2 =~ ^[0-9]+$ ]]; then
    say "usage: scripts/soak.sh NAME SECONDS, where NAME is one of:"
    for soak in scripts/soaks/*; do say "  $(sed -n '2s/^# //p' "$soak")"; done
    exit 2
fi
need_packages
exec "scripts/soaks/$1" "$2"
