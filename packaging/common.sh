# SPDX-License-Identifier: GPL-3.0-or-later
# Shared by install, install-dependencies and uninstall; sourced, never run.
# shellcheck shell=bash

fail() {
    printf 'Error: %s\n' "$*" >&2
    exit 1
}

# What the comment at the top of the running script says is its help.
show_help() {
    local line
    while IFS= read -r line; do
        case $line in
            '#!'* | '# SPDX'* | '# shellcheck'*) ;;
            '#'*)
                line=${line#\#}
                printf '%s\n' "${line# }"
                ;;
            *) break ;;
        esac
    done <"$0"
}

for argument in "$@"; do
    case $argument in -h | --help)
        show_help
        exit 0
        ;;
    esac
done

# Ends with an error where the programs in the folder $1 cannot start, which names what is missing: a
# library, or a version of one.
require_start() {
    local name missing
    missing=$(for name in vistrel vistrel-convert vistrel-fetch vistrel-render vistrel-share WebView2Loader.dll; do
        LC_ALL=C ldd "$1/$name" 2>&1 || true
    done | sed -nE 's/^\s*(\S+) => not found.*/\1/p; s/.*: version `(\S+)'"'"' not found.*/\1/p' | sort -u)
    [ -z "$missing" ] ||
        fail "Vistrel cannot start: there is no ${missing//$'\n'/, }.$(other_release "$1")"
}

# A sentence about the release that the package in the folder $1 is for, where another one runs.
other_release() {
    local made_for running
    read -r _ made_for <"$1/runtime_packages"
    running=$(. /etc/os-release && printf '%s' "$PRETTY_NAME")
    [ "$made_for" = "$running" ] || printf ' This package is for %s, and here runs %s.' "$made_for" "$running"
}
