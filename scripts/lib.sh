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
