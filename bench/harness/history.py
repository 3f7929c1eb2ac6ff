"""What a push costs a controller that keeps its monitor lines, beside one that keeps none."""
from processes import arkivon, median, pick_core
from roundtrip import alternating, make_program, with_all
from table import Section

LINES = "5000"


def measure(binaries, directory, is_quick):
    repetitions = 1 if is_quick else 7
    run_ms = 500 if is_quick else 2000
    section = Section(
        f"Monitor history: push to feedback without and with --monitor-history {LINES}, one core (us)",
        ["panels", "controller", "p50", "p99", "per s", "cpu us", "lost", "peak MB"],
    )
    program = make_program(binaries, directory)
    core = pick_core()
    for number, panels in enumerate([1, 50]):
        kinds = {
            "arkivon": arkivon(binaries, directory, program, f"127.71.0.{11 + number}", core),
            "arkivon history": arkivon(binaries, directory, program, f"127.71.1.{11 + number}", core,
                                       options=["--monitor-history", LINES]),
        }
        runs, memory = with_all(
            kinds, lambda running, count=panels: alternating(binaries, running, count, repetitions, run_ms, core)
        )
        for name, rows in runs.items():
            section.row(
                panels, name, f"{median(rows, 'p50_us'):.1f}", f"{median(rows, 'p99_us'):.0f}",
                f"{median(rows, 'per_second'):.0f}", f"{median(rows, 'cpu_us'):.1f}",
                sum(int(row["lost"]) for row in rows), f"{memory[name]:.1f}",
            )
    return section
