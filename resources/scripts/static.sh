#!/bin/sh
# Gives the interface a fixed address. Runs behind dhcp-client.sh.
# Arguments: address, netmask, gateway, name server; the last two may be empty.
# Everything that can be wrong is found before the old address goes.
# shellcheck disable=SC2154 # the interface is set there
address=$1
netmask=$2
gateway=$3
name_server=$4

# The length of the prefix that a dotted netmask means.
prefix_length() {
    rest=$1.
    length=0
    is_over=no
    count=0
    while [ -n "$rest" ]; do
        case ${rest%%.*} in
        255) bits=8 ;;
        254) bits=7 ;;
        252) bits=6 ;;
        248) bits=5 ;;
        240) bits=4 ;;
        224) bits=3 ;;
        192) bits=2 ;;
        128) bits=1 ;;
        0) bits=0 ;;
        *) return 1 ;;
        esac
        rest=${rest#*.}
        [ $is_over = no ] || [ $bits -eq 0 ] || return 1
        [ $bits -eq 8 ] || is_over=yes
        length=$((length + bits))
        count=$((count + 1))
    done
    [ $count -eq 4 ] && [ $length -gt 0 ] && echo $length
}

use_address() {
    ip -4 address replace "$address/$prefix" broadcast + dev "$interface" || return 1
    if [ -n "$gateway" ] && [ "$gateway" != 0.0.0.0 ]; then
        ip -4 route replace default via "$gateway" dev "$interface"
    fi
}

addresses() {
    ip -o -4 address show dev "$interface" | awk '{ print $4 }'
}

prefix=$(prefix_length "$netmask") || fail "This is no netmask: $netmask"
former=$(addresses)
ip link set "$interface" up
if ! use_address; then
    echo "$former" | grep -qxF "$address/$prefix" || ip -4 address delete "$address/$prefix" dev "$interface" || true
    fail "The interface $interface keeps its former address."
fi
stop_dhcp_client
for other in $(addresses); do
    [ "$other" = "$address/$prefix" ] || ip -4 address delete "$other" dev "$interface" 2>/dev/null || true
done
use_address # an address in the same network as a former one has gone with it
if [ -n "$name_server" ]; then
    echo "nameserver $name_server" >/etc/resolv.conf
fi
