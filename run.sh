#!/usr/bin/env bash
# Builds the controller and starts an example with all that belongs to it; see examples/README.md.
#
#     ./run.sh                       the boardroom
#     ./run.sh home-theatre          three devices on the network, simulated, and their controller
#     ./run.sh lecture-hall          two controllers that are linked
#     ./run.sh [NAME] OPTION...      further arguments go to the controller, the hall's in the lecture hall
#
# PROJECTOR, AMPLIFIER and HOUSE in the environment are options of the simulated devices:
#
#     AMPLIFIER="--lose 0.3" HOUSE=--jam ./run.sh home-theatre
#
# Control-C ends everything that was started. So does the end of any part of it.
set -euo pipefail
cd "$(dirname "$0")"

example=boardroom
case "${1:-}" in
-h | --help)
    sed -n '3,/^set/ { /^set/d; s/^# \{0,1\}//; p }' "$0"
    exit 0
    ;;
boardroom | home-theatre | lecture-hall)
    example=$1
    shift
    ;;
-* | "") ;;
*)
    echo "There is no example $1: boardroom, home-theatre, lecture-hall." >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null; then
    echo "This script installs what it needs from Debian packages, and this is no Debian system." >&2
    exit 3
fi
. tools/setup.sh
need "${build_packages[@]}"

cmake --preset release >/dev/null
cmake --build --preset release --target arkivon arkc arkctl arkhost pages # the pages are what README.md tells of
bin=build/release/bin

# ---- what is started, and its end

declare -A children=() # process id to name

# in_background NAME COMMAND...: starts a part of the example.
in_background() {
    "${@:2}" </dev/null &
    children[$!]=$1
}

end_all() {
    trap - EXIT INT TERM
    [ ${#children[@]} -eq 0 ] || kill "${!children[@]}" 2>/dev/null || true
    wait
}

# The end of one part is the end of all, with its status; and a signal is.
wait_for_the_end() {
    local status=0 ended
    wait -n -p ended "${!children[@]}" || status=$?
    echo "The ${children[$ended]} has ended (status $status); so does the rest." >&2
    unset "children[$ended]"
    exit "$status"
}

# prepare SOURCE DIRECTORY: compiles a program, and its web panel where it has one, into a data directory.
prepare() {
    mkdir -p "$2/web"
    "$bin/arkc" build "$1" -o "$2/program.pobj"
    [ ! -d "${1%/*}/web" ] || cp -R examples/web-panel/. "${1%/*}/web/." "$2/web/"
}

# ---- the web panel

# is_free PORT [ADDRESS]: nobody listens on it there; without an address: at any.
is_free() {
    python3 -c 'import errno, socket, sys
port, address = int(sys.argv[1]), sys.argv[2]
s = socket.socket(socket.AF_INET6 if ":" in address else socket.AF_INET)
s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
try:
    s.bind((address, port))
    s.listen()
except OSError as error:
    sys.exit(error.errno == errno.EADDRINUSE)' "$1" "${2:-}"
}

# bind_address OPTION...: what --bind names, the last one.
bind_address() {
    sed -n 's/.* --bind[ =]\([^ ]*\).*/\1/p' <<<" $* "
}

# want_link ADDRESS...: ends here, before anybody is told that the room runs, when a controller runs there already.
want_link() {
    local address
    for address in "${@:-}"; do
        is_free 6139 "$address" || {
            echo "Port 6139${address:+ of $address} is taken: a controller runs here already. End it first." >&2
            [ "$example" = lecture-hall ] || echo "Or: ./run.sh $example --bind 127.0.0.5" >&2
            exit 1
        }
    done
}

# The pages of the web panel, unless an option says where; the panel itself speaks to the program on port 8081.
find_web_port() {
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
}

show_web_address() {
    [ ${#web_options[@]} -gt 0 ] || return 0
    local address own_address
    address=$(bind_address "$@")
    echo "The web panel:   http://${address:-localhost}:$web_port/"
    own_address=$(hostname -I 2>/dev/null | cut -d ' ' -f 1)
    [ -n "$address" ] || [ -z "$own_address" ] || echo "from a phone:    http://$own_address:$web_port/"
}

# ---- the examples

# supervised --data-dir FOLDER OPTION...: a controller that is started again after an upload, and when it hangs.
# Its socket lies beside its data: others may run here.
supervised() {
    mkdir -p "$2/tmp"
    TMPDIR=$PWD/$2/tmp exec "$bin/arkhost" --plain -- "$@"
}

# quiet: without the LEDs, and the sign of life that web panels get every second.
quiet() {
    grep --line-buffered -v '^LED \| is here$' || true
}

run_boardroom() {
    want_link "$(bind_address "$@")"
    prepare examples/boardroom/boardroom.src build/boardroom
    find_web_port "$@"
    show_web_address "$@"
    cat <<'HINTS'

The room is running. In another terminal:
    build/release/bin/arkctl monitor                  watch what it does
    build/release/bin/arkctl panel 10001              be its panel: 1 and Enter switch the room on
    build/release/bin/arkctl ports                    what stands behind its ports: a simulated projector
Control-C ends it.

HINTS
    [ -e build/boardroom/ports.ini ] ||
        printf '[serial1]\ndevice=%s\n' "$PWD/build/boardroom/projector" >build/boardroom/ports.ini
    rm -f build/boardroom/projector
    in_background projector python3 examples/boardroom/projector.py "$PWD/build/boardroom/projector"
    for _ in {1..50}; do # the controller would say that it is missing
        [ ! -e build/boardroom/projector ] || break
        sleep 0.1
    done
    in_background controller supervised --data-dir build/boardroom --monitor --no-system-changes \
        "${web_options[@]}" "$@" > >(quiet)
    wait_for_the_end
}

run_home_theatre() {
    local devices=examples/home-theatre/devices name faults
    want_link "$(bind_address "$@")"
    prepare examples/home-theatre/home-theatre.src build/home-theatre
    find_web_port "$@"
    show_web_address "$@"
    for name in projector amplifier house; do
        faults=${name^^}
        read -ra faults <<<"${!faults:-}"
        in_background "$name" python3 "$devices/$name.py" "${faults[@]}"
    done
    cat <<'HINTS'

The theatre is running; its devices say here what they do. In another terminal:
    build/release/bin/arkctl panel 10001 watch        what the panel shows
    build/release/bin/arkctl panel 10001 press 1      watch a film;  9: off
    build/release/bin/arkctl monitor                  every line to and from the devices
    kill -USR1 NUMBER                                 a hand at a device; the numbers stand below
Control-C ends it.

HINTS
    in_background controller supervised --data-dir build/home-theatre --no-system-changes \
        "${web_options[@]}" "$@" > >(quiet)
    wait_for_the_end
}

# linked DIRECTORY SYSTEM OTHER: writes number and listen list, as `arkctl sysnum` and `arkctl listen add` do, where the
# controller has none yet.
linked() {
    [ -e "$1/settings.ini" ] || printf '[General]\nsystemNum=%s\nlisten=%s\n' "$2" "$3" >"$1/settings.ini"
}

# named NAME: monitor lines with a name in front, without what passes between the two every second.
named() {
    quiet | grep --line-buffered -v 'socket command\|socket data' | sed -u "s/^/$1  /"
}

run_lecture_hall() {
    local hall=127.0.0.21 booth=127.0.0.22
    want_link "$hall" "$booth"
    prepare examples/lecture-hall/hall.src build/lecture-hall/hall
    prepare examples/lecture-hall/booth.src build/lecture-hall/booth
    linked build/lecture-hall/hall 1 "$booth"
    linked build/lecture-hall/booth 2 "$hall"
    cat <<HINTS

Hall and booth are running; their monitor lines follow. In other terminals:
    build/release/bin/arkctl --host $hall panel 10001 watch           the lectern
    build/release/bin/arkctl --host $booth panel 10021 watch           the operator's panel
    build/release/bin/arkctl --host $hall panel 10001 press 1         begin a lecture;  12: the film
    build/release/bin/arkctl --host $hall listen remove $booth     cut the hall's link to the booth
Control-C ends it.

HINTS
    in_background booth supervised --data-dir build/lecture-hall/booth --bind "$booth" --monitor \
        --no-system-changes --http-port 0 > >(named booth)
    in_background hall supervised --data-dir build/lecture-hall/hall --bind "$hall" --monitor \
        --no-system-changes --http-port 0 "$@" > >(named hall)
    wait_for_the_end
}

trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
"run_${example//-/_}" "$@"
