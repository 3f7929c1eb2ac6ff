# shellcheck shell=bash
# Sourced by run.sh and test.sh: makes sure that Debian packages are installed.

# need PACKAGE...: installs those that are missing; ends the script with a message when that is not possible.
need() {
    local missing=() package
    for package in "$@"; do
        if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing, and only root can install them: ${missing[*]}" >&2
            exit 3
        fi
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}"
    if ! { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update &&
           "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
               "${missing[@]}" >/dev/null; }; then
        echo "These packages could not be installed: ${missing[*]}" >&2
        exit 3
    fi
}

# What the programs are built from.
# shellcheck disable=SC2034 # used where this is sourced
build_packages=(g++ cmake ninja-build qtbase5-dev libqt5websockets5-dev libqt5serialport5-dev qttools5-dev
                qttools5-dev-tools qttranslations5-l10n libcli11-dev libncurses-dev libsystemd-dev mold nlohmann-json3-dev
                zlib1g-dev python3)
