"""The same algorithms in the control language, Lua and Python; CPU time of the workload alone."""
import statistics

from processes import BENCH, Failed, figures, median
from table import Section

WORKLOADS = ["fib", "arithmetic", "sieve", "sort", "crc", "parse", "build", "dispatch", "structures"]
BUFFER_WORKLOADS = ["parse", "build"]  # where a language without mutable strings copies the whole text each time


def commands(binaries, workload):
    folder = BENCH / "language"
    return {
        "arkivon": [binaries / "language_bench", folder / f"{workload}.src"],
        "lua": ["lua5.4", folder / f"{workload}.lua"],
        "python": ["/usr/bin/python3", "-B", folder / f"{workload}.py"],
    }


def measured(binaries, workload, repetitions):
    """Alternates the languages, so that a disturbance meets all of them."""
    runs = {name: [] for name in commands(binaries, workload)}
    for _ in range(repetitions):
        for name, command in commands(binaries, workload).items():
            runs[name].append(figures(command))
    results = {run["checksum"] for rows in runs.values() for run in rows}
    if len(results) != 1:
        raise Failed(f"{workload}: the languages disagree: {sorted(results)}")
    return runs


def measure(binaries, _directory, is_quick):
    section = Section(
        "Language workloads (ms of CPU time, median; ratios below 1: ours is faster)",
        ["workload", "arkivon", "lua", "python", "/lua", "/python", "arkivon MB", "lua MB", "python MB"],
    )
    to_lua = {}
    to_python = {}
    for workload in WORKLOADS:
        runs = measured(binaries, workload, 1 if is_quick else 5)
        ours, lua, python = (median(runs[name], "seconds") * 1000 for name in runs)
        peaks = [f"{median(runs[name], 'peak_kb') / 1024:.1f}" for name in runs]
        to_lua[workload] = ours / lua
        to_python[workload] = ours / python
        times = [f"{value:.0f}" for value in (ours, lua, python)]
        section.row(workload, *times, f"{ours / lua:.2f}", f"{ours / python:.2f}", *peaks)

    over_all = statistics.geometric_mean(to_lua.values())
    without = statistics.geometric_mean(value for name, value in to_lua.items() if name not in BUFFER_WORKLOADS)
    section.row("geometric mean", "", "", "", f"{over_all:.2f}", f"{statistics.geometric_mean(to_python.values()):.2f}",
                "", "", "")
    section.row("without parse, build", "", "", "", f"{without:.2f}", "", "", "", "")
    section.verdict(over_all <= 1, f"no slower than Lua in the geometric mean ({over_all:.2f})")
    slower = [f"{name} {ratio:.2f}" for name, ratio in to_python.items() if ratio > 1]
    section.verdict(not slower, "never slower than CPython" + (f" ({', '.join(slower)})" if slower else ""))
    return section
