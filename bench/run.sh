#!/bin/sh
# Builds the release preset and prints one table: this runtime beside its peers, measured in the same run.
# Usage: bench/run.sh [--quick] [language] [roundtrip] [loading]     (no name: all three)
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/release

missing=
for tool in lua5.4 mosquitto taskset cmake ninja; do
    # Daemons stand in /usr/sbin, which is not on everybody's path.
    PATH=$PATH:/usr/sbin command -v "$tool" >/dev/null || missing="$missing $tool"
done
[ -x /usr/bin/python3 ] || missing="$missing python3"
if [ -n "$missing" ]; then
    echo "bench/run.sh: missing:$missing" >&2
    echo "On Debian: apt-get install lua5.4 python3 mosquitto util-linux cmake ninja-build" >&2
    [ -x "$root/tools/setup.sh" ] && echo "tools/setup.sh installs what the build itself needs." >&2
    exit 2
fi

(cd "$root" && cmake --preset release >/dev/null && cmake --build --preset release --target arkivon arkc bench >&2)
# -B: leaves no compiled files in the source tree.
PATH=$PATH:/usr/sbin exec /usr/bin/python3 -B "$root/bench/harness/main.py" "$build/bin" "$@"
