#!/usr/bin/env bash
# inside.sh BIN: what run.sh runs in the lab's machine.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
modprobe -a gpio-sim rc-loopback ir-nec-decoder ir-rc5-decoder ir-rc6-decoder ir-sony-decoder
udevadm settle
"$bin/LabTest"

echo "== the package's rule"
addgroup --system --quiet gpio
mkdir -p /run/udev/rules.d
cp "$here/../../packaging/60-arkivon.rules" /run/udev/rules.d/
udevadm control --reload
mkdir -p /sys/kernel/config/gpio-sim/relays/bank0
echo 8 >/sys/kernel/config/gpio-sim/relays/bank0/num_lines
echo relays >/sys/kernel/config/gpio-sim/relays/bank0/label
echo 1 >/sys/kernel/config/gpio-sim/relays/live
udevadm settle
owner=$(stat -c %G:%a "/dev/$(cat /sys/kernel/config/gpio-sim/relays/bank0/chip_name)")
[ "$owner" = gpio:660 ] || fail "the GPIO chip belongs to $owner"
owner=$(stat -c %G:%a /dev/lirc0)
[ "$owner" = video:660 ] || fail "the infrared device belongs to $owner"
