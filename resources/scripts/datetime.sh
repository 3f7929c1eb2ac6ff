#!/bin/sh
# Sets the system's date and time from its one argument and writes them to the hardware clock.
set -eu
PATH=$PATH:/usr/sbin:/sbin
date -s "$1" >/dev/null
if ! hwclock -w 2>/dev/null; then
    echo "The date is set; there is no hardware clock to keep it." >&2
fi
