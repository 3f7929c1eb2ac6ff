"""Loading a large program; how long the controller takes to start and what it holds while nothing happens."""
import pathlib
import time

from processes import arkivon, figures, median, mosquitto
from roundtrip import make_program
from table import Section

OBJECT_BYTES = 5 * 1024 * 1024
ROOM = """
device dvPanel{n} = {panel}:1:0
integer nVolume{n} = 20
integer nSource{n}
char sReply{n}[128]
struct State{n} {{ integer level  char label[16] }}
State{n} states{n}[8]

function integer Clamp{n}(integer value, integer top)
{{
    stack_var integer result
    result = value
    if (result > top) {{ result = top }} else if (result < {n} % 5) {{ result = {n} % 5 }}
    while (result % 2 = 1 and result > 3) {{ result = result - 2 }}
    return result
}}

routine Reply{n}(char text[])
{{
    stack_var integer found
    found = find_string(text, "$0D", 1)
    switch (found) {{
    case 0: {{ sReply{n} = "sReply{n}, text" }}
    case 1: {{ sReply{n} = '' }}
    default: {{ nSource{n} = atoi(left_string(text, found - 1)) }}
    }}
    states{n}[1].level = nSource{n} + nVolume{n} * 2
    states{n}[1].label = "'Room {n}: ', itoa(nVolume{n}), ' dB'"
}}

button_event [dvPanel{n}, {{1, 2, 3, 4}}]
{{
    push:
    {{
        nVolume{n} = Clamp{n}(nVolume{n} + button.input.channel, 100)
        on [dvPanel{n}, button.input.channel]
        send_level dvPanel{n}, 1, nVolume{n}
        send_command dvPanel{n}, "'text-Volume ', itoa(nVolume{n})"
    }}
    release: {{ off [dvPanel{n}, button.input.channel] }}
    hold [5, repeat]: {{ nVolume{n} = Clamp{n}(nVolume{n} + 1, 100) }}
}}

data_event [dvPanel{n}]
{{
    online: {{ send_level dvPanel{n}, 1, nVolume{n} }}
    string: {{ call Reply{n}(data.text) }}
}}
"""


def large_program(rooms):
    return "program 'large'\n" + "".join(ROOM.format(n=n, panel=10001 + n) for n in range(rooms))


def write_large(binaries, folder):
    """A program whose object file has about OBJECT_BYTES; a small one tells how many rooms that takes."""
    source, target = folder / "large.src", folder / "large.pobj"
    trial = 50
    source.write_text(large_program(trial), encoding="ascii")
    trial_bytes = int(figures([binaries / "load_bench", source, target])["bytes"])
    source.write_text(large_program(OBJECT_BYTES * trial // trial_bytes), encoding="ascii")
    return source, target


def start_figures(server):
    with server:
        time.sleep(0.5)  # what it does right after its start belongs to its idle memory
        return {"start_ms": server.start_ms, "idle_mb": server.memory_mb("VmRSS"), "peak_mb": server.memory_mb("VmHWM")}


def measure(binaries, directory, is_quick):
    folder = pathlib.Path(directory)
    small = make_program(binaries, directory)
    source, large = write_large(binaries, folder)
    section = Section(
        "Loading and idling (load and start: ms, median; start: until the first connection is taken)",
        ["what", "object MB", "compile", "load", "start", "idle MB", "peak MB"],
    )
    compiled = [figures([binaries / "load_bench", source, large]) for _ in range(1 if is_quick else 3)]
    large_mb = f"{int(compiled[0]['bytes']) / 2**20:.2f}"
    section.row("large program by itself", large_mb, f"{median(compiled, 'compile_ms'):.0f}",
                f"{median(compiled, 'load_ms'):.0f}", "", "", "")
    runs = {"arkivon, small program": [], "arkivon, large program": [], "mosquitto": []}
    for _ in range(1 if is_quick else 5):
        runs["arkivon, small program"].append(start_figures(arkivon(binaries, directory, small, "127.71.0.11")))
        runs["arkivon, large program"].append(start_figures(arkivon(binaries, directory, large, "127.71.0.12")))
        runs["mosquitto"].append(start_figures(mosquitto(directory, "127.71.2.11", 18831)))
    sizes = [f"{small.stat().st_size / 2**20:.2f}", large_mb, ""]
    for (name, rows), size in zip(runs.items(), sizes):
        section.row(name, size, "", "", *(f"{median(rows, figure):.1f}" for figure in ("start_ms", "idle_mb", "peak_mb")))
    return section
