#!/usr/bin/env bash
# inside.sh BIN: what run.sh runs in the lab's machine.
set -euo pipefail
bin=$1
modprobe -a gpio-sim rc-loopback ir-nec-decoder ir-rc5-decoder ir-rc6-decoder ir-sony-decoder
udevadm settle
"$bin/LabTest"
