#!/bin/sh
# Brings the interface up and starts the DHCP client on it anew. Runs behind dhcp-client.sh.
# shellcheck disable=SC2154 # the interface is set there
ip link set "$interface" up
stop_dhcp_client
ip -4 address flush dev "$interface" permanent # a fixed one; what DHCP gave stays until it is renewed
start_dhcp_client
