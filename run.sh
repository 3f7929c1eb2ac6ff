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
mkdir -p "$room/web"
cp -R examples/boardroom/web/. "$room/web/"

# is_free PORT: nobody listens on it, at any address.
is_free() {
    python3 -c 'import socket, sys
s = socket.socket()
s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("", int(sys.argv[1])))
s.listen()' "$1" 2>/dev/null
}

# The pages of the web panel, unless an option says where; the panel itself speaks to the program on port 8081.
web_options=()
if [[ " $* " != *" --http-port"* ]]; then
    web_port=8080
    until is_free "$web_port" || [ "$web_port" -eq 8099 ]; do
        web_port=$((web_port == 8080 ? 8082 : web_port + 1))
    done
    [ "$web_port" -eq 8080 ] || echo "Port 8080 is taken: the web panel is on port $web_port this time."
    web_options=(--http-port "$web_port")
fi
is_free 8081 || echo "Port 8081 is taken, is another room running? The web panel will not find this one."

if [ ${#web_options[@]} -gt 0 ]; then
    bind_address=$(sed -n 's/.* --bind[ =]\([^ ]*\).*/\1/p' <<<" $* ")
    echo "The web panel:   http://${bind_address:-localhost}:$web_port/"
    own_address=$(hostname -I 2>/dev/null | cut -d ' ' -f 1)
    [ -n "$bind_address" ] || [ -z "$own_address" ] || echo "from a phone:    http://$own_address:$web_port/"
fi
cat <<'HINTS'

The room is running. In another terminal:
    build/release/bin/arkctl monitor                  watch what it does
    build/release/bin/arkctl panel 10001              be its panel: 1 and Enter switch the room on
Control-C ends it.

HINTS
exec build/release/bin/arkivon --data-dir "$room" --monitor --no-system-changes "${web_options[@]}" "$@"
