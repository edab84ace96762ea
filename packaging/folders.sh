# SPDX-License-Identifier: GPL-3.0-or-later
# Where Vistrel goes, for install and uninstall; sourced, never run.
# shellcheck shell=bash disable=SC2034

# Also keeps every path below absolute.
[[ "${HOME:-}" == /* ]] || fail "HOME is not set, so there is no place to install to."

# Not below the data folder: Vistrel's own data there outlives the program.
program="$HOME/.local/opt/vistrel"
links="$HOME/.local/bin"
data="${XDG_DATA_HOME:-}"
[[ "$data" == /* ]] || data="$HOME/.local/share"
config="${XDG_CONFIG_HOME:-}"
[[ "$config" == /* ]] || config="$HOME/.config"
commands=(vistrel vistrel-convert vistrel-fetch vistrel-make-scene vistrel-render vistrel-share)

# Takes away what an installation has put into the desktop's folders.
remove_from_desktop() {
    local file folder
    [ -d "$program/share" ] || return 0
    while IFS= read -r file; do
        rm -f "$data/$file"
        remove_empty "$(dirname "$data/$file")" "$data"
    done < <(cd "$program/share" && find . -type f)
}

# Removes the folder $1 and those above it, up to $2 itself, as far as nothing is in them.
remove_empty() {
    local folder=$1
    while [ "$folder" != "$2" ] && rmdir "$folder" 2>/dev/null; do
        folder=$(dirname "$folder")
    done
}

# Takes away the program's files but those that the user has replaced, such as another build of
# ONNX Runtime.
remove_program_files() {
    local checksum name
    [ -f "$program/manifest" ] || return 0
    while read -r checksum name; do
        [ -e "$program/$name" ] || continue
        if is_file "$checksum" "$program/$name"; then
            rm -f "$program/$name"
            remove_empty "$(dirname "$program/$name")" "$program"
        fi
    done <"$program/manifest"
}

# Whether $2 has the checksum $1.
is_file() { [ "$(sha256sum <"$2")" = "$1  -" ]; }

tell_desktop() {
    # A cache that is older than its folder is not read.
    [ ! -d "$data/icons/hicolor" ] || touch "$data/icons/hicolor"
    if [ -d "$data/mime/packages" ] && command -v update-mime-database >/dev/null; then
        update-mime-database "$data/mime"
    fi
    # A session whose bus has never seen the folder of services would not start the program.
    if [ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ] && command -v gdbus >/dev/null; then
        gdbus call --session --timeout 5 --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
            --method org.freedesktop.DBus.ReloadConfig >/dev/null 2>&1 || true
    fi
}
