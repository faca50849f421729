# shellcheck shell=bash
# What the scripts share. Usage: source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
set -euo pipefail

root_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# missing_packages [SECTION...]: prints those packages of packages.txt that are not installed, one
# a line: what stands before the first section, and the sections named.
missing_packages() {
    local package packages
    mapfile -t packages < <(
        awk -v wanted=" $* " '
            { sub(/#.*/, ""); gsub(/[[:space:]]/, "") }
            /^\[.*\]$/ { skip = !index(wanted, " " substr($0, 2, length($0) - 2) " "); next }
            $0 != "" && !skip' "$root_dir/scripts/packages.txt"
    )
    for package in "${packages[@]}"; do
        if ! grep -qx installed < <(dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null); then
            echo "$package"
        fi
    done
}

# install_packages [SECTION...]: installs what is missing; silent when nothing is.
install_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian system; what scripts/packages.txt lists must be there already." >&2
        return
    fi
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return
    fi

    local as_root=()
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing, and without root or sudo they cannot be installed here:" >&2
            echo "  ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install --yes --no-install-recommends "${missing[@]}"
}

# configure_preset PRESET [CMAKE-ARGUMENTS]
configure_preset() {
    local launcher=""
    if command -v ccache >/dev/null; then
        launcher=ccache
    fi
    (cd "$root_dir" && cmake --preset "$1" -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher" "${@:2}")
}

# build_release [TARGET...]: builds what running needs. A build that has the tests keeps them.
build_release() {
    if [[ ! -e $root_dir/build/release/build.ninja ]]; then
        configure_preset release -DBUILD_TESTING=OFF
    fi
    (cd "$root_dir" && cmake --build --preset release --target "$@")
}

# build_preset PRESET [TARGET...]: configures with the tests and builds, all targets when none is
# named.
build_preset() {
    local targets=()
    if (($# > 1)); then
        targets=(--target "${@:2}")
    fi
    configure_preset "$1" -DBUILD_TESTING=ON
    (cd "$root_dir" && cmake --build --preset "$1" "${targets[@]}")
}
