#!/usr/bin/env bash
# Builds the package, installs it into a fresh Debian 12 in a temporary folder, starts that system's own systemd in
# namespaces of its own, and sees the service through uploads, crashes, reboots and a hanging program. As root; takes
# minutes and some 500 MB.
set -euo pipefail
cd "$(dirname "$0")/.."

. tools/setup.sh
. packaging/fresh-system.sh
. packaging/booted-system.sh
with_own_mounts "$@"
need debootstrap util-linux iproute2 procps

package=$(packaging/build-deb.sh | tail -n 1)
new_root
trap shut_down EXIT

step "a fresh system with the package"
make_system "$root" "$package" systemd systemd-sysv dbus iproute2 procps
quietly "$root" apt-get -qq install -y --no-install-recommends /tmp/arkivon.deb
mkdir -p "$root/etc/systemd/system/arkivon.service.d" # the test does not wait for a minute
printf '[Service]\nWatchdogSec=4\n' >"$root/etc/systemd/system/arkivon.service.d/test.conf"
cat >"$root/root/room.src" <<'ROOM'
device dvPanel = 10001:1:0

button_event [dvPanel, 1] { push: { on [5001:9:0, 1] } }
button_event [dvPanel, 2] { push: { while (1) { } } }
ROOM

step "its systemd"
boot
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
