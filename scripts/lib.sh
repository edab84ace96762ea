# Shared by the scripts in this folder; sourced, never run.
# shellcheck shell=bash disable=SC2034

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\n==> %s\n' "$*"; }

fail() {
    printf 'Error: %s\n' "$*" >&2
    exit 1
}

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
