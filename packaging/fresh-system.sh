# shellcheck shell=bash
# Sourced by the tests of the package: a fresh Debian 12 in a folder, and the package to test in it.

step() { echo "== $*"; }
fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# with_own_mounts ARGUMENT...: the script begins anew with mounts that go when it ends.
with_own_mounts() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "Only root can make another system in a folder." >&2
        exit 3
    fi
    [ -n "${ARKIVON_OWN_MOUNTS:-}" ] ||
        exec unshare --mount --propagation private env ARKIVON_OWN_MOUNTS=1 "packaging/${0##*/}" "$@"
}

# new_root: an empty folder in $root. The root of a system is open to its users.
new_root() {
    root=$(mktemp -d)
    chmod 755 "$root"
}

# in_system ROOT COMMAND...: runs it in the system of that folder.
in_system() {
    local root=$1
    shift
    chroot "$root" env LC_ALL=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive "$@"
}

# quietly ROOT COMMAND...: the same; what it prints is shown only when it fails, which ends the test.
quietly() {
    in_system "$@" >"$1.log" 2>&1 || { tail -n 20 "$1.log"; fail "${*:2}"; }
    rm "$1.log"
}

# make_system ROOT PACKAGE-FILE PACKAGE...: Debian comes from where this machine's apt gets it. The package file is
# in the system's /tmp then, and what it depends on is installed, as are the packages. Services are not started.
make_system() {
    local root=$1 file=$2 mirror proxy=
    shift 2
    # shellcheck disable=SC2016 # apt's own notation
    mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Created-By: Packages' |
        sed -n 's/ bookworm$//p' | head -n 1)
    [ -n "$mirror" ] || fail "this machine's apt knows no source of bookworm"
    eval "$(apt-config shell proxy Acquire::http::Proxy)"
    [ -z "$proxy" ] || export http_proxy=$proxy
    debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" 2>&1 ||
        { tail -n 20 "$root.log"; fail "debootstrap"; }
    rm "$root.log"
    echo "deb $mirror bookworm main" >"$root/etc/apt/sources.list"
    [ -z "$proxy" ] || echo "Acquire::http::Proxy \"$proxy\";" >"$root/etc/apt/apt.conf.d/90proxy"
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod +x "$root/usr/sbin/policy-rc.d"
    mount -t proc proc "$root/proc"
    cp "$file" "$root/tmp/arkivon.deb"
    quietly "$root" apt-get -qq update
    quietly "$root" apt-get -qq install -y --no-install-recommends "$@"
    quietly "$root" apt-get -qq satisfy -y --no-install-recommends "$(dpkg-deb -f "$file" Depends)"
}
