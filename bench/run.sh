#!/bin/bash
# Builds the release preset and prints one table: this runtime beside its peers, measured in the same run.
# Usage: bench/run.sh [--quick] [language] [roundtrip] [sockets] [loading] [transfer] [web] [history] [scene]
# Without a name it runs all.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
PATH=$PATH:/usr/sbin # where daemons stand, which is not on everybody's path

source "$root/tools/setup.sh"
need "${build_packages[@]}" lua5.4 mosquitto rsync util-linux nginx-light lighttpd wrk
command -v node >/dev/null || need nodejs

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target arkivon arkc arkctl bench >&2
# -B: leaves no compiled files in the source tree.
exec /usr/bin/python3 -B "$root/bench/harness/main.py" "$root/build/release/bin" "$@"
