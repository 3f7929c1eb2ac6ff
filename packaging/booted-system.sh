# shellcheck shell=bash
# Sourced by test-service.sh and test-upgrade.sh: the system in the folder $root under its own systemd, in namespaces of
# its own, and questions to the service in it.
# shellcheck disable=SC2154 # root: of new_root

init=

# boot: starts the systemd of $root, which make_system has made with what a systemd needs.
boot() {
    umount "$root/proc"
    # What has no place in a namespace.
    quietly "$root" systemctl mask systemd-udevd systemd-modules-load systemd-sysctl sys-kernel-config.mount \
        sys-kernel-debug.mount sys-kernel-tracing.mount dev-hugepages.mount dev-mqueue.mount console-getty
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
        mount -t devpts -o ptmxmode=666 devpts dev/pts
        ln -s pts/ptmx dev/ptmx
        exec env container=namespace chroot . /sbin/init' sh "$root" </dev/null >/dev/null 2>&1 &
    init=$!
}

# shut_down: for the trap at the end; the folder is removed.
shut_down() {
    set +e
    [ -z "$init" ] || { kill -KILL "$init" && wait "$init"; } 2>/dev/null
    umount -l "$root/proc" 2>/dev/null
    rm -rf --one-file-system "$root" "$root.try"
}

# inside COMMAND...: runs it in the system that has booted.
inside() {
    nsenter -t "$(pgrep -P "$init")" -m -p -u -i -n -C chroot "$root" \
        env LC_ALL=C.UTF-8 TERM=xterm PATH=/usr/sbin:/usr/bin:/sbin:/bin timeout "${SECONDS_INSIDE:-30}" "$@"
}

property() { inside systemctl show -p "$1" --value arkivon; }

# eventually COMMAND...: until it succeeds; fails after 30 s.
eventually() {
    local attempt
    for attempt in $(seq 150); do
        ! "$@" >"$root.try" 2>&1 || return 0
        sleep 0.2
    done
    cat "$root.try"
    inside journalctl --no-pager -u arkivon | tail -n 20
    fail "$* (attempt $attempt)"
}

# await PROPERTY VALUE: of the service.
has() { echo "$1 is \"$(property "$1")\", not \"$2\""; [ "$(property "$1")" = "$2" ]; }
await() { eventually has "$@"; }
