#!/bin/sh
# Gives the interface a fixed address. Runs behind dhcp-client.sh. Whatever fails, the former addresses are back.
# Arguments: address, prefix, gateway, name server; the last two may be empty.
# shellcheck disable=SC2154 # the interface is set there
address=$1
prefix=$2
gateway=$3
name_server=$4

use_address() {
    ip -4 address replace "$address/$prefix" broadcast + dev "$interface" || return 1
    if [ -n "$gateway" ]; then
        ip -4 route replace default via "$gateway" dev "$interface"
    fi
}

addresses() {
    ip -o -4 address show dev "$interface" | awk '{ print $4 }'
}

former=$(addresses)
former_route=$(ip -4 route show default dev "$interface" | head -n 1)

give_up() {
    for one in $former; do
        ip -4 address replace "$one" broadcast + dev "$interface" || true
    done
    echo "$former" | grep -qxF "$address/$prefix" || ip -4 address delete "$address/$prefix" dev "$interface" || true
    # shellcheck disable=SC2086 # its words
    [ -z "$former_route" ] || ip -4 route replace $former_route dev "$interface" || true
    fail "The interface $interface keeps its former address."
}

ip link set "$interface" up
use_address || give_up
stop_dhcp_client
for other in $(addresses); do
    [ "$other" = "$address/$prefix" ] || ip -4 address delete "$other" dev "$interface" 2>/dev/null || true
done
use_address || give_up # an address in the same network as a former one has gone with it
addresses | grep -qxF "$address/$prefix" || give_up
if [ -n "$name_server" ]; then
    echo "nameserver $name_server" >/etc/resolv.conf || fail "The name server stays: /etc/resolv.conf cannot be written."
fi
