# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by the scripts in this folder; sourced, never run.
# shellcheck shell=bash disable=SC2034

set -euo pipefail

# A bare system names no locale, and names of files are to be more than ASCII.
[ -n "${LC_ALL:-}${LC_CTYPE:-}${LANG:-}" ] || export LANG=C.UTF-8

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\n==> %s\n' "$*"; }

fail() {
    printf 'Error: %s\n' "$*" >&2
    exit 1
}

# What the comment at the top of the running script says is its help.
show_help() {
    awk 'NR <= 2 || /^# shellcheck/ { next } !/^#/ { exit } { sub(/^# ?/, ""); print }' "$0"
}

for argument in "$@"; do
    case $argument in -h | --help)
        show_help
        exit 0
        ;;
    esac
done

# Runs a command as root: as it is, or through sudo.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo -- "$@"
    else
        fail "'$*' needs root. Run it as root, or install sudo."
    fi
}

# The system that runs, as its makers call it.
system_name() { (. /etc/os-release && printf '%s\n' "$PRETTY_NAME"); }

# Runs a command that may take long: `patiently WHAT COMMAND...`. After five seconds a line tells
# what goes on and for how long, and again each time that twice as many have passed.
patiently() {
    local what=$1 watcher status=0
    shift
    tell_time "$what" &
    watcher=$!
    "$@" || status=$?
    # Any other signal might come before the watcher has dropped this script's traps, and run these.
    kill -KILL "$watcher" 2>/dev/null || true
    wait "$watcher" 2>/dev/null || true
    return "$status"
}

# It waits by itself: a sleep would outlive it and keep the script's output open. It looks for the
# script every second, since Ctrl-C does not reach what runs in the background.
tell_time() {
    local seconds next=5 start=$SECONDS never
    exec {never}<> <(:)
    while kill -0 "$$" 2>/dev/null; do
        read -rt 1 -u "$never" || true
        seconds=$((SECONDS - start))
        [ "$seconds" -ge "$next" ] || continue
        printf '    %s: %s s\n' "$1" "$seconds" >&2
        next=$((seconds < 60 ? 2 * seconds : seconds + 60))
    done
}
