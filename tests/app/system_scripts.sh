#!/bin/bash
# The controller applies its network settings to an interface of its own: in a network namespace with a DHCP server at
# the other end of the cable. Nothing of the machine's own network or clock is touched.
# Usage: system_scripts.sh ARKIVON ARKCTL. Status 77: what it takes is not here, or we are not root.
# shellcheck disable=SC2016 # conditions are evaluated again and again
set -euo pipefail
PATH=$PATH:/usr/sbin:/sbin
controller=$(realpath "$1")
tool=$(realpath "$2")

if [ "${3:-}" != inside ]; then
    for program in unshare nsenter ip dnsmasq dhclient socat; do
        command -v "$program" >/dev/null || { echo "skipped: no $program"; exit 77; }
    done
    unshare --net --mount true 2>/dev/null || { echo "skipped: no namespaces for us"; exit 77; }
    exec unshare --net --mount --pid --fork --kill-child bash "$0" "$controller" "$tool" inside
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mount -t proc proc /proc
mount -t tmpfs tmpfs /run
[ ! -d /var/lib/dhcp ] || mount -t tmpfs tmpfs /var/lib/dhcp
echo "nameserver 192.0.2.1" >"$scratch/resolv.conf"
mount --bind "$scratch/resolv.conf" /etc/resolv.conf

# The other end of the cable: a namespace of its own with the DHCP server.
ip link set lo up
ip link add eth0 type veth peer name lan0
unshare --net sleep 300 &
other=$!
until [ "$(readlink /proc/$other/ns/net)" != "$(readlink /proc/self/ns/net)" ]; do :; done
ip link set lan0 netns "$other"
nsenter --target "$other" --net ip address add 10.77.0.1/24 dev lan0
nsenter --target "$other" --net ip link set lan0 up
nsenter --target "$other" --net dnsmasq --no-daemon --conf-file=/dev/null --port=0 --interface=lan0 --bind-interfaces \
    --dhcp-range=10.77.0.50,10.77.0.60,1h --dhcp-option=option:router,10.77.0.1 --dhcp-leasefile="$scratch/leases" \
    >"$scratch/dnsmasq.log" 2>&1 &

data=$scratch/data
mkdir "$data"
log=$scratch/log

fail() {
    echo "FAILED: $*"
    echo "-- addresses"; ip -4 address show dev eth0; ip route
    echo "-- controller"; cat "$log"
    exit 1
}

# settings LINE…: the controller's settings file.
settings() {
    { echo "[General]"; printf '%s\n' "$@"; } >"$data/settings.ini"
}

# start OPTION…: runs the controller until the condition in $until holds, at most 30 s; then ends it.
run_until() {
    local condition=$1
    shift
    : >"$log" # the one before is not ours
    "$controller" --data-dir "$data" --monitor "$@" >"$log" 2>&1 &
    local pid=$! tries=0
    until eval "$condition"; do
        tries=$((tries + 1))
        [ $tries -lt 300 ] || fail "never true: $condition"
        sleep 0.1
    done
    kill -TERM "$pid" 2>/dev/null || true # it may have ended because a tool wanted it
    wait "$pid" || fail "ended with $?"
}

addresses() { ip -o -4 address show dev eth0 | awk '{ print $4 }' | xargs; }
route() { ip route show default | awk '{ print $3, $5 }'; }
started='grep -q "Network started" "$log"'

echo "nothing stored: the system's own network stays"
ip address add 10.77.0.9/24 dev eth0
ip link set eth0 up
settings
run_until "$started"
[ "$(addresses)" = 10.77.0.9/24 ] || fail "changed without being asked"

static=(networkSet=true dhcp=false ip=10.77.0.20 mask=255.255.254.0 gateway=10.77.0.1 dns=10.77.0.3)
echo "told not to: nothing"
settings "${static[@]}"
run_until 'grep -q "System changes are off" "$log"' --no-system-changes
[ "$(addresses)" = 10.77.0.9/24 ] || fail "changed in spite of --no-system-changes"

echo "a static address in the same network takes the place of the former one"
run_until '[ "$(cat /etc/resolv.conf)" = "nameserver 10.77.0.3" ]'
[ "$(addresses)" = 10.77.0.20/23 ] || fail "addresses: $(addresses)"
[ "$(route)" = "10.77.0.1 eth0" ] || fail "route: $(route)"

echo "a gateway out of reach, a wrong netmask, a wrong address: the former one stays, with a message"
for wrong in gateway=172.20.0.1 mask=255.255.255.255 mask=255.255.255 ip=10.77.0.300 ip=fe80::1; do
    settings "${static[@]}" "ip=10.77.0.99" "$wrong"
    run_until 'grep -q "The network stays as it was: ." "$log"'
    [ "$(addresses)" = 10.77.0.20/23 ] || fail "$wrong: addresses: $(addresses)"
done

# refused NETWORK… WHY: a tool sets a network that does not work; it is told so, and all is as before.
refused() {
    local why=${*: -1} before
    before=$(addresses; route)
    run_until '! "$tool" --host 10.77.0.20 network '"${*:1:$#-1}"' 2>"$scratch/refusal" &&
        grep -q "stays as it was: '"$why"'" "$scratch/refusal"'
    grep -q "The network stays as it was: $why" "$log" || fail "the monitor does not say: $why"
    [ "$(addresses; route)" = "$before" ] || fail "$why: $(addresses) $(route)"
    grep -q "^ip=10.77.0.20$" "$data/settings.ini" || fail "$why: stored"
}

echo "a tool's network is tried before it is stored"
settings "${static[@]}"
nsenter --target "$other" --net ip address add 10.77.0.8/24 dev lan0
refused static 10.77.0.8 255.255.254.0 10.77.0.1 10.77.0.3 "another device has the address 10.77.0.8"
refused static 10.77.0.22 255.255.254.0 10.77.0.99 10.77.0.3 "the gateway 10.77.0.99 does not answer"
refused static 10.70.0.22 255.255.255.0 10.70.0.1 10.77.0.3 "the gateway 10.70.0.1 does not answer"
run_until '"$tool" --host 10.77.0.20 network static 10.70.0.22 255.255.255.0 10.70.0.1 0.0.0.0 --untried 2>/dev/null'
grep -q "^ip=10.70.0.22$" "$data/settings.ini" || fail "not stored: $(cat "$data/settings.ini")"
settings "${static[@]}"
run_until '"$tool" --host 10.77.0.20 network static 10.77.0.23 255.255.254.0 10.77.0.1 10.77.0.3 2>/dev/null'
run_until '[ "$(addresses)" = 10.77.0.23/23 ]' --bind 10.77.0.23

echo "DHCP"
run_until '"$tool" --host 10.77.0.23 network dhcp 2>/dev/null'
grep -q "^dhcp=true$" "$data/settings.ini" || fail "not stored: $(cat "$data/settings.ini")"
settings networkSet=true dhcp=true
run_until '[[ "$(addresses)" == 10.77.0.[56]*/24 ]]'
[ -s /run/dhclient.eth0.pid ] || fail "no DHCP client runs"

echo "back to a static address: the client ends"
client=$(cat /run/dhclient.eth0.pid)
settings networkSet=true dhcp=false ip=10.77.0.21 mask=255.255.255.0 gateway= dns=
run_until '[ "$(addresses)" = 10.77.0.21/24 ]'
[ ! -d "/proc/$client" ] || fail "the DHCP client still runs"
[ "$(cat /etc/resolv.conf)" != "nameserver " ] || fail "an empty name server was written"

# After a start of the machine the card has no route that would tell which one it is: the settings make that route.
echo "an interface of another name is remembered"
ip link set eth0 down
ip link set eth0 name lan7
ip link set lan7 up
ip address add 10.77.0.9/24 dev lan7
ip route add default via 10.77.0.1
settings "${static[@]}" ip=10.77.0.24
run_until '[ "$(ip -o -4 address show dev lan7 | awk "{ print \$4 }")" = 10.77.0.24/23 ]'
ip address flush dev lan7
ip link set lan7 down
run_until '[ "$(ip -o -4 address show dev lan7 | awk "{ print \$4 }")" = 10.77.0.24/23 ]'

echo "an interface that comes later gets its network; the controller is served at it, and found"
ip link set lan7 name away
ip address flush dev away
run_until 'grep -q "Waiting for the address 10.77.0.24" "$log" && { ip link set away down; ip link set away name lan7; } &&
    nsenter --target "$other" --net timeout 20 bash -c "until \"$tool\" --host 10.77.0.24 info >/dev/null && \"$tool\" discover | grep -q ^10.77.0.24; do sleep 0.1; done"' --bind 10.77.0.24
ip link set lan7 down
ip link set lan7 name eth0
ip address flush dev eth0
ip link set eth0 up
settings networkSet=true dhcp=false ip=10.77.0.21 mask=255.255.255.0 gateway= dns=

echo "the date, with a clock of paper"
mkdir "$scratch/paper"
printf '#!/bin/sh\necho "date $*" >>%s/said\n' "$scratch" >"$scratch/paper/date"
printf '#!/bin/sh\necho "hwclock $*" >>%s/said\n' "$scratch" >"$scratch/paper/hwclock"
chmod +x "$scratch"/paper/*
PATH=$scratch/paper:$PATH
run_until '"$tool" datetime "2031-05-06 07:08:09" 2>/dev/null || grep -sq hwclock "$scratch/said"'
[ "$(head -2 "$scratch/said")" = $'date -s 2031-05-06 07:08:09\nhwclock -w' ] || fail "said: $(cat "$scratch/said")"

echo "found by everybody in the network, which has no gateway; announced there too"
ip route del default 2>/dev/null || true
nsenter --target "$other" --net timeout 10 socat -u UDP-RECV:6151 STDOUT >"$scratch/announced" &
run_until 'nsenter --target "$other" --net "$tool" discover | grep -q "^10.77.0.21 " && [ -s "$scratch/announced" ]'
grep -q "staticip_10.77.0.21_" "$scratch/announced" || fail "announced: $(cat "$scratch/announced")"
echo "1 passed, 0 failed"
