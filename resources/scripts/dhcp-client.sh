#!/bin/sh
# Runs in front of the network scripts: the interface, and how the DHCP client on it is stopped and started.
# Environment: INTERFACE, eth0 when it is not set.
set -eu
PATH=$PATH:/usr/sbin:/sbin
interface=${INTERFACE:-eth0}
pid_file=/run/dhclient.$interface.pid

fail() {
    echo "$*" >&2
    exit 1
}

stop_dhcp_client() {
    if command -v dhclient >/dev/null; then
        for file in "$pid_file" /run/dhclient.pid; do
            [ ! -f "$file" ] || dhclient -x -pf "$file" "$interface" >/dev/null 2>&1 || true
        done
    fi
    if [ -f "/run/udhcpc.$interface.pid" ]; then
        kill "$(cat "/run/udhcpc.$interface.pid")" 2>/dev/null || true
    fi
    if command -v dhcpcd >/dev/null; then
        dhcpcd --exit "$interface" >/dev/null 2>&1 || true
    fi
}

start_dhcp_client() {
    if command -v dhclient >/dev/null; then
        dhclient -nw -pf "$pid_file" "$interface"
    elif command -v udhcpc >/dev/null; then
        udhcpc --background --pidfile "/run/udhcpc.$interface.pid" --interface "$interface" >/dev/null
    elif command -v dhcpcd >/dev/null; then
        dhcpcd --background "$interface"
    else
        fail "There is no DHCP client: install isc-dhcp-client, udhcpc or dhcpcd5."
    fi
}
