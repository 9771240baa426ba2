# shellcheck shell=bash
# What the scripts beside this file share; they source it.

REPO=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
export REPO

die() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# Prints the comment at the head of the running script.
show_help() {
    sed -n '2,/^[^#]/{/^#/s/^# \{0,1\}//p}' "$0"
}

heading() {
    printf '\n=== %s\n' "$*"
}

# Refuses all arguments but --help.
no_arguments() {
    case ${1:-} in
        "") ;;
        -h | --help) show_help; exit 0 ;;
        *) die "unknown argument \"$1\"; see --help" ;;
    esac
}

need_packages() {
    "$REPO/scripts/setup-packages" "$@"
}

# configure_preset PRESET: only configures. Compilations are cached where ccache is there.
configure_preset() {
    if [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]] && command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    (cd "$REPO" && cmake --preset "$1" >/dev/null)
}

build_preset() {
    configure_preset "$1"
    (cd "$REPO" && cmake --build --preset "$1")
}
