#!/usr/bin/env bash
# inside.sh BIN [CLASS [TEST]]: what run.sh runs in the lab's machine.
set -euo pipefail
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
fail() {
    echo "FAILED: $*" >&2
    exit 1
}
modprobe -a gpio-sim rc-loopback ir-nec-decoder ir-rc5-decoder ir-rc6-decoder ir-sony-decoder cdc-acm libcomposite
modprobe dummy_hcd num=2
modprobe usbserial vendor=0x0525 product=0xa4a6
mount -t tracefs tracefs /sys/kernel/tracing
udevadm settle
"$bin/LabTest" "${@:2}"

echo "== the package's rule"
addgroup --system --quiet gpio
mkdir -p /run/udev/rules.d
cp "$here/../../packaging/60-arkivon.rules" /run/udev/rules.d/
udevadm control --reload
mkdir -p /sys/kernel/config/gpio-sim/relays/bank0
echo 8 >/sys/kernel/config/gpio-sim/relays/bank0/num_lines
echo relays >/sys/kernel/config/gpio-sim/relays/bank0/label
echo 1 >/sys/kernel/config/gpio-sim/relays/live
chip=/dev/$(cat /sys/kernel/config/gpio-sim/relays/bank0/chip_name)
for _ in $(seq 100); do # settle may be through before udev has heard of the chip
    udevadm settle
    owner=$(stat -c %G:%a "$chip")
    [ "$owner" != gpio:660 ] || break
    sleep 0.1
done
[ "$owner" = gpio:660 ] || fail "the GPIO chip belongs to $owner"
owner=$(stat -c %G:%a /dev/lirc0)
[ "$owner" = video:660 ] || fail "the infrared device belongs to $owner"
