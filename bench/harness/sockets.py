"""A line and its answer over a program's TCP servers, beside a plain server in JavaScript; and panels beside a crowd of
sockets."""
import pathlib
import shutil
import signal
import subprocess

from processes import BENCH, Failed, Server, arkivon, compile_program, figures, median, pick_core
from roundtrip import make_program
from table import Section

FIRST_PORT = {"arkivon": 20000, "node": 21000}
SERVERS = 200  # on a port each, behind the first
CROWD = 500  # of clients, and of connections to the server
CROWD_FACTOR = 2
LINES_PER_SECOND = 2  # of every socket
PEER_ADDRESS, PEER_PORT, CROWD_PORT = "127.71.5.3", 22000, 22001


def make_line_program(binaries, folder):
    shutil.copy(BENCH / "sockets.src", folder)
    devices = ", ".join(f"0:{number}:0" for number in range(1, SERVERS + 1))
    (folder / "servers.src").write_text(
        f"device dvServers[] = {{{devices}}}\nconst integer nFirstPort = {FIRST_PORT['arkivon']}\n", encoding="ascii"
    )
    compile_program(binaries, folder / "sockets.src", folder / "sockets.pobj")
    return folder / "sockets.pobj"


def make_crowd_program(binaries, folder):
    shutil.copy(BENCH / "crowd.src", folder)
    devices = ", ".join(f"0:{number}:0" for number in range(1, CROWD + 1))
    (folder / "clients.src").write_text(
        f"device dvClients[] = {{{devices}}}\nconst char sPeer[] = '{PEER_ADDRESS}'\n"
        f"const integer nPeerPort = {PEER_PORT}\nconst integer nServerPort = {CROWD_PORT}\n",
        encoding="ascii",
    )
    compile_program(binaries, folder / "crowd.src", folder / "crowd.pobj")
    return folder / "crowd.pobj"


def line_load(binaries, name, server, clients, ports, run_ms):
    """The figures of clients on that many ports; 0: all on the first, where every connection gets every answer."""
    port = FIRST_PORT[name] + (1 if ports else 0)
    before = server.cpu_seconds()
    row = figures([binaries / "panel_load", "line", server.address, port, clients, run_ms, 0, max(ports, 1)])
    row["cpu_us"] = (server.cpu_seconds() - before) * 1e6 / max(int(row["answers"]), 1)
    return row


def measure_lines(binaries, directory, program, is_quick, section):
    repetitions, run_ms = (1, 500) if is_quick else (5, 2000)
    script = ["node", BENCH / "line_server.js", "127.71.5.2", FIRST_PORT["node"], SERVERS]
    kinds = {
        "arkivon": arkivon(binaries, directory, program, "127.71.5.1", port=FIRST_PORT["arkivon"]),
        "node": Server(script, "127.71.5.2", FIRST_PORT["node"]),
    }
    with kinds["arkivon"], kinds["node"]:
        for label, clients, ports in (("1", 1, 1), (f"{SERVERS}", SERVERS, SERVERS), ("50 on one port", 50, 0)):
            runs = {name: [] for name in kinds}
            for _ in range(repetitions):  # in turns, so that a disturbance meets both
                for name, server in kinds.items():
                    runs[name].append(line_load(binaries, name, server, clients, ports, run_ms))
            rate = {name: median(rows, "per_second") for name, rows in runs.items()}
            p50 = {name: median(rows, "p50_us") for name, rows in runs.items()}
            for name, rows in runs.items():
                section.row(
                    label, name, f"{p50[name]:.1f}", f"{median(rows, 'p99_us'):.0f}", f"{rate[name]:.0f}",
                    f"{median(rows, 'cpu_us'):.1f}", f"{rate['arkivon'] / rate[name]:.2f}",
                    sum(int(row["lost"]) for row in rows), f"{kinds[name].memory_mb('VmHWM'):.1f}",
                )
            if ports:
                section.verdict(
                    rate["arkivon"] >= rate["node"] and p50["arkivon"] <= p50["node"],
                    f"{label} connections: at least as fast as the server in JavaScript "
                    f"({rate['arkivon'] / rate['node']:.2f} times, p50 {p50['arkivon']:.0f} to {p50['node']:.0f} us)",
                )


class Peers:
    """The other ends of the crowd's sockets. Ends with the "with" block."""

    def __init__(self, lines_per_second):
        command = ["node", BENCH / "line_peers.js", "127.0.0.1", CROWD_PORT, PEER_ADDRESS, PEER_PORT, CROWD, lines_per_second]
        self._command = [str(part) for part in command]

    def __enter__(self):
        self._process = subprocess.Popen(self._command, stdout=subprocess.PIPE, text=True)
        self._expect("listening")
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.communicate(timeout=10)

    def connect(self):
        """When the program's server is there."""
        self._process.send_signal(signal.SIGUSR1)
        self._expect("ready")

    def _expect(self, word):
        if self._process.stdout.readline().strip() != word:
            raise Failed(f"{self._command} does not say {word}")


def push_figures(binaries, directory, program, core, run_ms, lines_per_second):
    """A panel's figures while every socket of the crowd has so many lines a second."""
    with Peers(lines_per_second) as peers:
        with arkivon(binaries, directory, program, "127.71.5.4", core) as server:
            peers.connect()
            return figures(
                ["taskset", "-c", core, binaries / "panel_load", "link", server.address, server.port, 1, run_ms, 0]
            )


def quiet_figures(binaries, directory, program, core, run_ms):
    with arkivon(binaries, directory, program, "127.71.5.5", core) as server:
        return figures(
            ["taskset", "-c", core, binaries / "panel_load", "link", server.address, server.port, 1, run_ms, 0]
        )


def measure_crowd(binaries, directory, is_quick, section):
    repetitions, run_ms = (1, 500) if is_quick else (3, 2000)
    quiet_program = make_program(binaries, directory)
    program = make_crowd_program(binaries, pathlib.Path(directory))
    core = pick_core()
    runs = {"no sockets": [], "idle": [], "busy": []}
    for _ in range(repetitions):
        runs["no sockets"].append(quiet_figures(binaries, directory, quiet_program, core, run_ms))
        runs["idle"].append(push_figures(binaries, directory, program, core, run_ms, 0))
        runs["busy"].append(push_figures(binaries, directory, program, core, run_ms, LINES_PER_SECOND))
    for name, rows in runs.items():
        section.row(
            f"push, {name}", "arkivon", f"{median(rows, 'p50_us'):.1f}", f"{median(rows, 'p99_us'):.0f}",
            f"{median(rows, 'per_second'):.0f}", "", "", sum(int(row["lost"]) for row in rows), "",
        )
    factor = median(runs["busy"], "p50_us") / median(runs["no sockets"], "p50_us")
    section.verdict(
        factor <= CROWD_FACTOR,
        f"{CROWD} clients and {CROWD} connections with {LINES_PER_SECOND} lines a second each: push to feedback within "
        f"{CROWD_FACTOR} times the quiet value ({factor:.2f})",
    )


def measure(binaries, directory, is_quick):
    section = Section(
        "Program sockets: a line and its answer (us); push to feedback with 1,000 sockets",
        ["connections", "server", "p50", "p99", "per s", "cpu us", "ours/theirs", "lost", "peak MB"],
    )
    measure_lines(binaries, directory, make_line_program(binaries, pathlib.Path(directory)), is_quick, section)
    measure_crowd(binaries, directory, is_quick, section)
    return section
