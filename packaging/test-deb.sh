#!/usr/bin/env bash
# Builds the package and installs it into a fresh Debian 12 in a temporary folder, runs the controller there, removes
# and purges the package, and looks for what is left. As root; takes minutes and some 500 MB.
set -euo pipefail
cd "$(dirname "$0")/.."

. tools/setup.sh
. packaging/fresh-system.sh
with_own_mounts "$@"
need debootstrap util-linux iproute2 lintian

package=$(packaging/build-deb.sh | tail -n 1)

lintian --fail-on error,warning "$package" 2>/dev/null || fail "lintian"

new_root
trap 'umount -l "$root/proc" 2>/dev/null; rm -rf --one-file-system "$root"' EXIT

inside() { in_system "$root" "$@"; }

# What a package can leave behind: everything but the records of apt and dpkg, and copies of the user table.
files() {
    local path others=()
    for path in /proc /run /tmp /var/log /var/cache /var/lib/apt /var/lib/dpkg; do
        others+=(-path "$path" -prune -o)
    done
    inside find / -xdev "${others[@]}" -not -path '/etc/passwd*' -not -path '/etc/group*' \
        -not -path '/etc/*shadow*' -not -path '/etc/sub*id*' -print | sort
}

step "a fresh system, with all that the package depends on"
make_system "$root" "$package" man-db bash-completion systemd
files >"$root/tmp/before"

step "install"
quietly "$root" apt-get -qq install -y --no-install-recommends /tmp/arkivon.deb
inside id arkivon
inside systemctl is-enabled arkivon
inside systemd-analyze verify --man=no /lib/systemd/system/arkivon.service || fail "the unit"
for program in arkivon arkc arkctl arkhost; do
    inside $program --version
done

step "compile an example, run it as the service would, ask it"
inside sh -ec 'cp -R /usr/share/doc/arkivon/examples/boardroom /tmp/room
               arkc build /tmp/room/boardroom.src -o /var/lib/arkivon/program.pobj'
mkdir "$root/var/lib/arkivon/web"
cp "$root/tmp/room/web/index.html" "$root/var/lib/arkivon/web/"
inside chown -R arkivon:arkivon /var/lib/arkivon
cat >"$root/tmp/run.sh" <<'RUN'
set -eu
setpriv --reuid=arkivon --regid=arkivon --init-groups --inh-caps=-all,+net_bind_service \
    --ambient-caps=-all,+net_bind_service --bounding-set=-all,+net_bind_service --no-new-privs \
    /usr/bin/arkivon --data-dir /var/lib/arkivon --monitor >/tmp/controller.log 2>&1 &
controller=$!
trap 'kill -KILL $controller 2>/dev/null || true' EXIT
for attempt in $(seq 50); do
    ! arkctl info >/tmp/info 2>/dev/null || break
    [ "$attempt" -lt 50 ] || { cat /tmp/controller.log; exit 1; }
    sleep 0.2
done
cat /tmp/info
arkctl panel 10001 press 1
bash -c 'exec 3<>/dev/tcp/127.0.0.1/80; printf "GET /index.html HTTP/1.0\r\n\r\n" >&3; head -n 1 <&3'
kill -TERM $controller
wait $controller
RUN
# shellcheck disable=SC2016 # for the inner shell
unshare --net sh -ec 'ip link set lo up; exec chroot "$1" env LC_ALL=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin \
    timeout 60 sh /tmp/run.sh' sh "$root" || fail "the controller"

step "documents"
for file in operating.md examples/boardroom/boardroom.src copyright changelog.gz; do
    [ -s "$root/usr/share/doc/arkivon/$file" ] || fail "$file is missing"
done
for page in "$root"/usr/share/man/man[18]/ark*; do
    inside man --warnings -E UTF-8 -l "${page#"$root"}" 2>&1 >/dev/null | (! grep .) || fail "$page"
done
for program in arkivon arkc arkctl arkhost; do
    ls "$root/usr/share/man/man"[18]"/$program."[18].gz >/dev/null || fail "no page of $program"
    # shellcheck disable=SC2016 # for the inner shell
    inside bash -c '. "/usr/share/bash-completion/completions/$1" && complete -p "$1"' bash "$program" ||
        fail "no completion of $program"
    [ -s "$root/usr/share/zsh/vendor-completions/_$program" ] || fail "no completion of $program in zsh"
    [ -s "$root/usr/share/fish/vendor_completions.d/$program.fish" ] || fail "no completion of $program in fish"
done

step "remove"
inside apt-get -qq remove -y arkivon 2>&1 | tail -n 1
[ -s "$root/var/lib/arkivon/program.pobj" ] || fail "remove has taken the room's data"
[ ! -e "$root/usr/bin/arkivon" ] || fail "a program is left"
step "install again, and purge"
quietly "$root" apt-get -qq install -y --no-install-recommends /tmp/arkivon.deb
inside apt-get -qq purge -y arkivon 2>&1 | tail -n 1
files >"$root/tmp/after"
diff "$root/tmp/before" "$root/tmp/after" || fail "the lines with > are left"

step "all passed"
