#!/bin/sh
# Sees whether a DHCP server has an address for the interface, and takes none. Runs behind dhcp-client.sh.
# shellcheck disable=SC2154 # the interface is set there
case $(ip link show dev "$interface") in
*LOWER_UP*) ;;
*) exit 0 ;; # no cable: nothing can be seen, and nobody is cut off
esac
if command -v dhclient >/dev/null; then
    scratch=$(mktemp -d)
    clean_up() {
        [ ! -s "$scratch/pid" ] || kill "$(cat "$scratch/pid")" 2>/dev/null || true
        rm -rf "$scratch"
    }
    trap clean_up EXIT
    trap 'exit 1' TERM INT HUP
    echo "timeout 8;" >"$scratch/conf"
    dhclient -1 -cf "$scratch/conf" -lf "$scratch/leases" -pf "$scratch/pid" -sf /bin/true "$interface" \
        >/dev/null 2>&1 || fail "no DHCP server answers"
elif command -v udhcpc >/dev/null; then
    udhcpc -n -q -t 3 -T 2 -s /bin/true -i "$interface" >/dev/null 2>&1 || fail "no DHCP server answers"
fi
