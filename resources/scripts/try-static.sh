#!/bin/sh
# Sees whether the interface can have a fixed address: nobody else has it, and its gateway answers. What was there
# before is there afterwards. Runs behind dhcp-client.sh.
# Arguments: address, prefix, gateway, which may be empty.
# shellcheck disable=SC2154 # the interface is set there
address=$1
prefix=$2
gateway=$3

# answers ADDRESS TENTHS: who has the address says so, by ARP.
answers() {
    ip neigh delete "$1" dev "$interface" 2>/dev/null || true # what was known may be old
    ip neigh add "$1" dev "$interface" use 2>/dev/null || return 2
    left=$2
    while [ "$left" -gt 0 ]; do
        case $(ip neigh show to "$1" dev "$interface") in
        *REACHABLE*) return 0 ;;
        *FAILED*) return 1 ;;
        esac
        sleep 0.1
        left=$((left - 1))
    done
    return 1
}

added=no
clean_up() {
    [ $added = no ] || ip -4 address delete "$address/$prefix" dev "$interface" 2>/dev/null || true
}
trap clean_up EXIT
trap 'exit 1' TERM INT HUP

case $(ip link show dev "$interface") in
*LOWER_UP*) ;;
*) exit 0 ;; # no cable: nothing can be seen, and nobody is cut off
esac
own=$(ip -o -4 address show dev "$interface" | awk '{ print $4 }')
case " $(echo "$own" | tr '\n' ' ')" in
*" $address/"*) ;;
*)
    if answers "$address" 10; then
        fail "another device has the address $address"
    fi
    ;;
esac
if [ -n "$gateway" ]; then
    if ! echo "$own" | grep -qxF "$address/$prefix"; then
        ip -4 address add "$address/$prefix" dev "$interface" noprefixroute
        added=yes
    fi
    seen=0
    answers "$gateway" 40 || seen=$?
    [ $seen -ne 1 ] || fail "the gateway $gateway does not answer"
fi
