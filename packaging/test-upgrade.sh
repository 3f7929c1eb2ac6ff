#!/usr/bin/env bash
# Upgrades and downgrades the package below a room that runs, in a fresh Debian 12 under its own systemd: with the commands
# of docs/operating.md, cut off in the middle, and with a backup and its way back. As root; takes minutes and some 600 MB.
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

# typed SECTION WORDS: types the command of docs/operating.md that begins so, in the system's folder /srv.
typed() {
    local line
    line=$(sed -n "/^## $1\$/,/^## /{ \|^$2|{ s/  *#.*//; p; q } }" docs/operating.md)
    [ -n "$line" ] || fail "docs/operating.md has no such command: $2"
    echo "\$ $line"
    inside sh -ec "cd /srv; $line" </dev/null >"$root.try" 2>&1 || { cat "$root.try"; fail "$line"; }
}

# room PACKAGE COUNT: that package is installed, and the service runs its program. Nothing of the room is lost. The panel on
# the terminal has connected again by itself and is served: its button counts on from what is stored.
# shellcheck disable=SC2016 # dpkg's own notation
has_state() { inside dpkg-query -W -f '${db:Status-Status} ${Version}\n' arkivon | grep -x "$1"; }
runs() { inside cmp "/proc/$(property MainPID)/exe" "/srv/$1/usr/bin/arkivon"; }
tells() { inside arkctl monitor --since 1h --no-follow --text "$1" | grep "$1"; }
press_on_panel() { printf '1\r' >"$root/srv/keys"; }
room() {
    eventually has_state "installed $(dpkg-deb -f "$root/srv/arkivon_$1_amd64.deb" Version)"
    eventually runs "$1"
    await StatusText "Program program.pobj, system 7"
    eventually tells "Connected with device: arkctl"
    press_on_panel
    eventually tells "On relay: $2"
    grep -qx "$options" "$root/etc/default/arkivon" || fail "the options of the administrator are lost"
    [ "$(property Description)" = "The room of the $1 package" ] || fail "the unit is that of another package"
}

# package_as NAME VERSION: the package again, with all that can differ from version to version.
package_as() {
    local folder=$root/srv/$1
    dpkg-deb -R "$package" "$folder"
    sed -i "s/^Version: .*/Version: $2/" "$folder/DEBIAN/control"
    sed -i "s/^Description=.*/Description=The room of the $1 package/" "$folder/lib/systemd/system/arkivon.service"
    echo "# of the $1 package" | tee -a "$folder/usr/bin/arkivon" >>"$folder/usr/share/arkivon/default"
    dpkg-deb --root-owner-group -Zgzip -z1 --build "$folder" "$root/srv/arkivon_$1_amd64.deb" >/dev/null
}

step "a fresh system with the package of before"
make_system "$root" "$package" systemd systemd-sysv dbus iproute2 procps
rm "$root/usr/sbin/policy-rc.d"
package_as FORMER 2.3.15.008+20200102.030405
package_as NEW "$(dpkg-deb -f "$package" Version)"
boot
eventually inside systemctl is-system-running
inside apt-get -qq install /srv/arkivon_FORMER_amd64.deb </dev/null 2>&1 | tail -n 1

step "its room: a program, settings, options, and a panel on the terminal"
cat >"$root/srv/room.src" <<'ROOM'
device dvPanel = 10001:1:0
persistent integer count

button_event [dvPanel, 1] { push: { count++; on [5001:9:0, count] } }
ROOM
inside arkc build /srv/room.src
inside arkctl upload /srv/room.pobj
await NRestarts 1
inside arkctl sysnum 7
options='ARKIVON_OPTIONS="--monitor-history 400 --http-port 8088"'
echo "$options" >>"$root/etc/default/arkivon"
inside systemctl restart arkivon
await ActiveState active
mkfifo "$root/srv/keys"
SECONDS_INSIDE=900 inside sh -c 'exec script -qfc "arkctl panel 10001" /srv/screen <>/srv/keys' </dev/null >/dev/null 2>&1 &
room FORMER 1

step "a backup, and the upgrade"
typed "Backup and restore" "tar -C / -czf"
typed Upgrading "apt install"
room NEW 2
typed Upgrading "systemctl status"
typed Upgrading "arkctl --version"
grep -F "$(dpkg-deb -f "$package" Version)" "$root.try" || fail "the tools are of another version"
typed Upgrading "arkctl monitor"

step "back to the former version"
typed Upgrading "apt install -y --allow-downgrades"
room FORMER 3

step "an upgrade that is cut off while files are replaced"
cat >"$root/srv/cut-off.sh" <<'CUT'
mkfifo states
dpkg --status-fd 9 -i arkivon_NEW_amd64.deb 9>states &
installer=$!
while read -r state; do
    case $state in *half-installed) kill -KILL $installer && break ;; esac
done <states
! wait $installer
CUT
inside sh -c 'cd /srv; sh cut-off.sh' >/dev/null 2>&1 || fail "dpkg was not cut off"
! has_state "installed .*" || fail "dpkg was cut off too late"
inside systemctl restart arkivon # as when the power comes back
await StatusText "Program program.pobj, system 7"
inside dpkg --configure -a >/dev/null 2>&1 || true
typed Upgrading "apt install"
room NEW 4

step "a downgrade that is cut off before the restart: the room goes on"
inside dpkg --unpack /srv/arkivon_FORMER_amd64.deb >/dev/null 2>&1
has_state "unpacked .*" || fail "the package is in use already"
press_on_panel
eventually tells "On relay: 5"
typed Upgrading "dpkg --configure -a"
room FORMER 6

step "a service that is disabled stays so"
inside systemctl disable --now arkivon 2>/dev/null
typed Upgrading "apt install"
await ActiveState inactive
[ "$(inside systemctl is-enabled arkivon)" = disabled ] || fail "an upgrade has enabled the service"

step "the backup, on a machine that knows nothing of the room"
inside apt-get -qq purge -y arkivon </dev/null 2>&1 | tail -n 1
typed Installing "apt install"
await StatusText "No program, system 1"
for command in "systemctl stop" "find /var/lib/arkivon" "tar -C / -xzf" "systemctl start"; do
    typed "Backup and restore" "$command"
done
room NEW 2

step "all passed"
