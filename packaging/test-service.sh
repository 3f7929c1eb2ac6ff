#!/usr/bin/env bash
# Builds the package, installs it into a fresh Debian 12 in a temporary folder, starts that system's own systemd in
# namespaces of its own, and sees the service through uploads, crashes, reboots and a hanging program. As root; takes
# minutes and some 500 MB.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
    echo "Only root can make another system in a folder." >&2
    exit 3
fi
if [ -z "${ARKIVON_TEST_SERVICE_NAMESPACE:-}" ]; then # mounts of its own: they go with the script
    exec unshare --mount --propagation private env ARKIVON_TEST_SERVICE_NAMESPACE=1 "$0" "$@"
fi
. tools/setup.sh
. packaging/fresh-system.sh
need debootstrap util-linux iproute2 procps

package=$(packaging/build-deb.sh | tail -n 1)
root=$(mktemp -d)
chmod 755 "$root" # the root of a system is open to its users
init=
clean_up() {
    set +e
    [ -z "$init" ] || { kill -KILL "$init" && wait "$init"; } 2>/dev/null
    umount -l "$root/proc" 2>/dev/null
    rm -rf --one-file-system "$root"
}
trap clean_up EXIT

step "a fresh system with the package"
make_system "$root" "$package" systemd systemd-sysv dbus iproute2 procps
quietly "$root" apt-get -qq install -y --no-install-recommends /tmp/arkivon.deb
umount "$root/proc"
# What has no place in a namespace.
quietly "$root" systemctl mask systemd-udevd systemd-modules-load systemd-sysctl sys-kernel-config.mount \
    sys-kernel-debug.mount sys-kernel-tracing.mount dev-hugepages.mount dev-mqueue.mount console-getty
mkdir -p "$root/etc/systemd/system/arkivon.service.d" # the test does not wait for a minute
printf '[Service]\nWatchdogSec=4\n' >"$root/etc/systemd/system/arkivon.service.d/test.conf"
cat >"$root/root/room.src" <<'ROOM'
device dvPanel = 10001:1:0

button_event [dvPanel, 1] { push: { on [5001:9:0, 1] } }
button_event [dvPanel, 2] { push: { while (1) { } } }
ROOM

step "its systemd"
# shellcheck disable=SC2016 # for the inner shell
unshare --mount --pid --uts --ipc --net --cgroup --fork --kill-child sh -ec '
    cd "$1"
    ip link set lo up
    mount --bind . .
    cd "$1"
    mount -t proc proc proc
    mount -t sysfs sysfs sys
    mount -t tmpfs tmpfs run
    if [ -e /sys/fs/cgroup/cgroup.controllers ]; then
        mount -t cgroup2 cgroup2 sys/fs/cgroup
    else
        mount -t tmpfs -o mode=755 tmpfs sys/fs/cgroup
        for group in systemd unified devices pids memory; do mkdir "sys/fs/cgroup/$group"; done
        mount -t cgroup -o none,name=systemd systemd sys/fs/cgroup/systemd
        mount -t cgroup2 cgroup2 sys/fs/cgroup/unified
        for group in devices pids memory; do mount -t cgroup -o "$group" cgroup "sys/fs/cgroup/$group"; done
    fi
    mount -t tmpfs -o mode=755 tmpfs dev
    for node in null:3 zero:5 full:7 random:8 urandom:9; do mknod -m 666 "dev/${node%:*}" c 1 "${node#*:}"; done
    mkdir dev/pts dev/shm
    mount -t devpts devpts dev/pts
    exec env container=namespace chroot . /sbin/init' sh "$root" </dev/null >/dev/null 2>&1 &
init=$!

inside() {
    nsenter -t "$(pgrep -P "$init")" -m -p -u -i -n -C chroot "$root" env PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        timeout 30 "$@"
}
property() { inside systemctl show -p "$1" --value arkivon; }

# await PROPERTY VALUE: of the service; fails after 30 s.
await() {
    local attempt value=
    for attempt in $(seq 150); do
        value=$(property "$1" 2>/dev/null || true)
        [ "$value" != "$2" ] || return 0
        sleep 0.2
    done
    inside journalctl --no-pager -u arkivon | tail -n 20
    fail "$1 of the service is \"$value\" and not \"$2\" (attempt $attempt)"
}

await StatusText "No program, system 1"
await ActiveState active

step "a program; it runs without rights"
inside arkc build /root/room.src
inside arkctl upload /root/room.pobj
await NRestarts 1
await StatusText "Program program.pobj, system 1"
inside arkctl panel 10001 press 1
inside arkctl monitor --since 1m --no-follow --type on | grep "On relay: 1"
rights=$(inside grep -E '^(CapEff|NoNewPrivs|Seccomp):' "/proc/$(property MainPID)/status" | tr -s '\t\n' ' ')
echo "$rights"
[ "$rights" = "CapEff: 0000000000000400 NoNewPrivs: 1 Seccomp: 2 " ] || fail "the rights of the service"
inside bash -c 'exec 3<>/dev/tcp/127.0.0.1/80; printf "GET /none HTTP/1.0\r\n\r\n" >&3; head -n 1 <&3' |
    grep 'HTTP/1.1 404' || fail "no web server on port 80"

step "a crash, a reboot, a program that hangs: it is started again"
inside kill -SEGV "$(property MainPID)"
await NRestarts 2
await StatusText "Program program.pobj, system 1"
inside arkctl reboot
await NRestarts 3
await StatusText "Program program.pobj, system 1"
inside arkctl panel 10001 push 2
await NRestarts 4
await StatusText "Program program.pobj, system 1"

step "the end"
inside systemctl stop arkivon
await ActiveState inactive
await Result success

step "all passed"
