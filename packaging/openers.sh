# SPDX-License-Identifier: GPL-3.0-or-later
# What opens photographs and scenes, for install and uninstall; sourced after folders.sh, never run.
# shellcheck shell=bash disable=SC2154,SC2016
#
# File managers offer Vistrel's window and "Make a 3D scene" once the user's folder of entries is
# indexed. But that folder goes before the system's, so these entries would also open photographs on
# a double click wherever nobody has chosen a program for that. Therefore the programs that open them
# now are written down as those that go on to do so, in the user's defaults.list, which yields to
# every choice of the user. What no other program opens, the window does.

window=org.vistrel.vistrel.desktop
maker=vistrel-make-scene.desktop
openers="$data/applications/defaults.list"
openers_mark="# What Vistrel has found to open photographs, so that its own entry does not."

IFS=: read -ra data_folders <<<"$data:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}"
IFS=: read -ra config_folders <<<"$config:${XDG_CONFIG_DIRS:-/etc/xdg}"

# The files that tell what opens what, the weightiest first.
association_files() {
    local folder file name names desktop=${XDG_CURRENT_DESKTOP:-}
    IFS=: read -ra names <<<"${desktop,,}"
    names=("${names[@]/%/-mimeapps.list}" mimeapps.list)
    for folder in "${config_folders[@]}" "${data_folders[@]/%//applications}"; do
        for name in "${names[@]}" defaults.list; do
            file=$folder/$name
            [ ! -f "$file" ] || printf '%s\0' "$file"
        done
    done
    for folder in "${data_folders[@]}"; do
        file=$folder/applications/mimeinfo.cache
        [ ! -f "$file" ] || printf '%s\0' "$file"
    done
}

# Lines TYPE=ENTRY;ENTRY;... for the types of our entries, the best opener first.
list_openers() {
    association_files | xargs -0r awk -F= -v window="$window" -v maker="$maker" '
        FNR == 1 { section = "" }
        (FILENAME == ARGV[1] || FILENAME == ARGV[2]) && /^MimeType=/ {
            parts = split($2, named, ";")
            for (i = 1; i < parts; ++i) {
                if (!(named[i] in last)) types[++count] = named[i]
                last[named[i]] = last[named[i]] (FILENAME == ARGV[1] ? window ";" : "")
            }
            next
        }
        /^\[/ { section = $0; next }
        {
            parts = split($2, entries, ";")
            for (i = 1; i <= parts; ++i) {
                if (entries[i] == "" || entries[i] == window || entries[i] == maker) continue
                if (section == "[Removed Associations]") removed[$1, entries[i]] = 1
                else if (section == "[Default Applications]") chosen[$1] = chosen[$1] entries[i] ";"
                else others[$1] = others[$1] entries[i] ";"
            }
        }
        END {
            for (t = 1; t <= count; ++t) {
                line = ""
                parts = split(chosen[types[t]] others[types[t]], entries, ";")
                for (i = 1; i < parts; ++i)
                    if (!((types[t], entries[i]) in removed)) line = line entries[i] ";"
                line = line last[types[t]]
                if (line != "") print types[t] "=" line
            }
        }' "$data/applications/$window" "$data/applications/$maker"
}

# Whether a folder of entries has $1, in which a dash may stand for a folder's name.
is_entry() {
    local folder
    for folder in "${data_folders[@]}"; do
        [ ! -f "$folder/applications/$1" ] && [ ! -f "$folder/applications/${1/-//}" ] || return 0
    done
    return 1
}

# Keeps of those lines the entries that are installed.
installed_openers() {
    local type entries entry kept
    while IFS='=' read -r type entries; do
        kept=""
        IFS=\; read -ra entries <<<"$entries"
        for entry in "${entries[@]}"; do
            if [[ ";$kept" != *";$entry;"* ]] && is_entry "$entry"; then kept+="$entry;"; fi
        done
        [ -z "$kept" ] || printf '%s=%s\n' "$type" "$kept"
    done
}

forget_openers() {
    if grep -qsxF "$openers_mark" "$openers"; then rm -f "$openers"; fi
}

# Makes file managers offer our entries, and nothing else of them.
offer_entries() {
    forget_openers
    # One of somebody else's is left alone, and then nothing is indexed.
    [ ! -e "$openers" ] || return 0
    { printf '%s\n[Default Applications]\n' "$openers_mark"; list_openers | installed_openers; } >"$openers.new"
    mv -f "$openers.new" "$openers"
    command -v update-desktop-database >/dev/null || return 0
    update-desktop-database "$data/applications"
}

withdraw_entries() {
    local index="$data/applications/mimeinfo.cache"
    forget_openers
    if [ -e "$index" ] && command -v update-desktop-database >/dev/null; then
        update-desktop-database "$data/applications"
    fi
    # Without an entry the index was derived from nothing.
    if [ -z "$(find "$data/applications" -name '*.desktop' 2>/dev/null | head -n 1)" ]; then rm -f "$index"; fi
    remove_empty "$data/applications" "$data"
}
