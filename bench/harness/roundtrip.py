"""A push and the feedback that it brings, beside a bare echo and a message broker at quality of service 1."""
import pathlib
import shutil

from processes import BENCH, arkivon, compile_program, figures, median, mosquitto, pick_core, Server
from table import Section

MOST_PANELS = 1000
ECHO_FACTOR = 2.5
BURST_MS = 500
COMPARED = ["panels", "controller", "p50", "p99", "per s", "cpu us", "lost", "peak MB"]
PROTOCOLS = {"echo": "echo", "mosquitto": "mqtt"}  # all others: "link"


def make_program(binaries, directory, name="roundtrip"):
    """The program with its list of panels."""
    folder = pathlib.Path(directory)
    shutil.copy(BENCH / f"{name}.src", folder)
    panels = ", ".join(f"{10001 + number}:1:0" for number in range(MOST_PANELS))
    (folder / "panels.src").write_text(f"device dvPanels[] = {{{panels}}}\n", encoding="ascii")
    compile_program(binaries, folder / f"{name}.src", folder / f"{name}.pobj")
    return folder / f"{name}.pobj"


def servers(binaries, directory, program, last_octet, cores=None):
    """One of each kind, on loopback addresses that no other run of them uses."""
    addresses = [f"127.71.{number}.{last_octet}" for number in range(3)]
    return {
        "arkivon": arkivon(binaries, directory, program, addresses[0], cores),
        "echo": Server([binaries / "echo_server", addresses[1], "18832"], addresses[1], 18832, cores=cores),
        "mosquitto": mosquitto(directory, addresses[2], 18831, cores),
    }


def load(binaries, name, server, clients, run_ms, rounds, cores=None):
    """The client's figures, and "cpu_us": what a round trip cost the server, which hardly depends on other load."""
    prefix = ["taskset", "-c", cores] if cores else []
    before = server.cpu_seconds()
    row = figures(
        [*prefix, binaries / "panel_load", PROTOCOLS.get(name, "link"), server.address, server.port, clients, run_ms, rounds]
    )
    row["cpu_us"] = (server.cpu_seconds() - before) * 1e6 / max(int(row["answers"]), 1)
    return row


def alternating(binaries, running, clients, repetitions, run_ms, cores=None):
    """The kinds take turns, so that a disturbance meets all of them."""
    runs = {name: [] for name in running}
    for _ in range(repetitions):
        for name, server in running.items():
            runs[name].append(load(binaries, name, server, clients, run_ms, 5, cores))
    return runs


def add_rows(section, label, runs, memory):
    ours = median(runs["arkivon"], "per_second")
    for name, rows in runs.items():
        rate = median(rows, "per_second")
        lost = sum(int(row["lost"]) + int(row["burst_lost"]) for row in rows)
        extra = sum(int(row["extra"]) + int(row["burst_extra"]) for row in rows)
        section.row(
            label, name, f"{median(rows, 'p50_us'):.0f}", f"{median(rows, 'p99_us'):.0f}", f"{rate:.0f}",
            f"{median(rows, 'cpu_us'):.1f}", f"{ours / rate:.2f}" if rate else "-", f"{median(rows, 'burst_p50_ms'):.1f}",
            f"{max(float(row['burst_worst_ms']) for row in rows):.1f}", lost, extra, f"{memory[name]:.1f}",
        )


def with_all(kinds, work):
    """Starts the servers, gives them to work, takes their peak memory, ends them."""
    running = {}
    try:
        for name, server in kinds.items():
            running[name] = server.__enter__()
        result = work(running)
        return result, {name: server.memory_mb("VmHWM") for name, server in running.items()}
    finally:
        for server in running.values():
            server.__exit__()


def measure(binaries, directory, is_quick):
    repetitions = 1 if is_quick else 5
    run_ms = 500 if is_quick else 2000
    section = Section(
        "Event round trip: push to feedback (us; ours/theirs: round trips a second; burst: all push at once, ms)",
        ["panels", "server", "p50", "p99", "per s", "cpu us", "ours/theirs", "burst", "worst", "lost", "extra", "peak MB"],
    )
    program = make_program(binaries, directory)
    lost = 0

    core = pick_core()
    runs, memory = with_all(
        servers(binaries, directory, program, 1, core),
        lambda running: alternating(binaries, running, 1, repetitions, run_ms, core),
    )
    add_rows(section, "1, one core", runs, memory)
    factor = median(runs["arkivon"], "p50_us") / median(runs["echo"], "p50_us")
    section.verdict(factor <= ECHO_FACTOR, f"1 panel: p50 within {ECHO_FACTOR} times the echo's ({factor:.2f})")

    for number, panels in enumerate([50, 200, MOST_PANELS]):
        runs, memory = with_all(
            servers(binaries, directory, program, 2 + number),
            lambda running, count=panels: alternating(binaries, running, count, repetitions, run_ms),
        )
        add_rows(section, panels, runs, memory)
        ratio = median(runs["arkivon"], "per_second") / median(runs["mosquitto"], "per_second")
        section.verdict(ratio > 1, f"{panels} panels: more round trips a second than mosquitto ({ratio:.2f} times)")
        lost += sum(int(row["lost"]) + int(row["burst_lost"]) for row in runs["arkivon"])
        worst = max(float(row["burst_worst_ms"]) for row in runs["arkivon"])
    section.verdict(worst <= BURST_MS, f"{MOST_PANELS} panels at once: all served within {BURST_MS} ms ({worst:.0f} ms)")
    section.verdict(lost == 0, f"no event lost ({lost})")
    return section


def compare(section, binaries, is_quick, kinds):
    """Rows of controllers that differ in one thing. kinds: gives them by name, for a last octet and the one core."""
    repetitions = 1 if is_quick else 7
    run_ms = 500 if is_quick else 2000
    core = pick_core()
    for number, panels in enumerate([1, 50]):
        runs, memory = with_all(
            kinds(11 + number, core),
            lambda running, count=panels: alternating(binaries, running, count, repetitions, run_ms, core),
        )
        for name, rows in runs.items():
            section.row(
                panels, name, f"{median(rows, 'p50_us'):.1f}", f"{median(rows, 'p99_us'):.0f}",
                f"{median(rows, 'per_second'):.0f}", f"{median(rows, 'cpu_us'):.1f}",
                sum(int(row["lost"]) for row in rows), f"{memory[name]:.1f}",
            )
    return section
