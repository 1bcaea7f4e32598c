# shellcheck shell=bash
# What the scripts of this folder share. Sourced, never run:
#     . "$(dirname "$(readlink -f "$0")")/lib.sh"

ROOT=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
# shellcheck disable=SC2034 # used by those who source this
CACHE=${VEXA_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/vexafilter}

note() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
die() { note "$*"; exit 1; }

# The packages of some groups of packages.txt, a line each.
packages_of() {
    local group name groups=" $* "
    while read -r group name; do
        [[ $groups != *" $group "* ]] || printf '%s\n' "$name"
    done < <(sed 's/#.*//' "$ROOT/scripts/packages.txt")
}

# The Debian mirror that this machine uses.
debian_mirror() {
    local found
    found=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/* 2>/dev/null | sed 's/#.*//' |
        grep -oEm1 'https?://[^ ]+/debian/?( |$)' || true)
    [[ -n $found ]] || die "the package sources of this machine name no Debian mirror."
    printf '%s' "${found% }"
}

# Runs a command as root: as it is where we are root already, else through sudo.
as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo -- "$@"
    else
        die "this needs root: run it as root or install sudo."
    fi
}

# Runs a command up to three times, with a pause between, since downloads fail now and then.
retry() {
    local try
    for try in 1 2 3; do
        "$@" && return
        ((try == 3)) || { note "try $try of 3 failed, trying again."; sleep $((try * 5)); }
    done
    return 1
}

# Runs a command quietly; what it printed appears only when it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    ((status == 0)) || cat "$log" >&2
    rm -f "$log"
    return "$status"
}

# Builds targets of a preset (see CMakePresets.json), or all of it, configuring where that is due.
build_preset() {
    local preset=$1 folder=$ROOT/build/$1 jobs=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
    shift
    (($#)) || set -- all
    mkdir -p "$folder"
    (
        flock 9
        if [[ ! -f $folder/build.ninja || $ROOT/CMakePresets.json -nt $folder/build.ninja ]]; then
            note "configuring and building the $preset build ..."
            quietly cmake -S "$ROOT" --preset "$preset" || die "the $preset build cannot be configured."
        fi
        quietly cmake --build "$folder" -j "$jobs" --target "$@" ||
            die "the $preset build failed: see the messages above."
    ) 9>"$folder/.lock"
}
