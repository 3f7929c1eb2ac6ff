#!/usr/bin/env bash
# Builds the controller and starts it with the example room. Further arguments go to the controller.
set -euo pipefail
cd "$(dirname "$0")"

if ! command -v dpkg-query >/dev/null; then
    echo "This script installs what it needs from Debian packages, and this is no Debian system." >&2
    exit 3
fi
. tools/setup.sh
need "${build_packages[@]}"

cmake --preset release >/dev/null
cmake --build --preset release --target arkivon arkc arkctl arkhost

room=build/boardroom
mkdir -p "$room"
build/release/bin/arkc build examples/boardroom/boardroom.src -o "$room/program.pobj"

cat <<'HINTS'

The room is running. In another terminal:
    build/release/bin/arkctl monitor                  watch what it does
    build/release/bin/arkctl panel 10001 push 1       push a button of the panel
Control-C ends it.

HINTS
exec build/release/bin/arkivon --data-dir "$room" --monitor --no-system-changes "$@"
