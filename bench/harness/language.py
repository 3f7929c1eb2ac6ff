"""The same algorithms in the control language, Lua and Python; CPU time of the workload alone."""
import statistics

from processes import BENCH, Failed, figures, median
from table import Section

WORKLOADS = ["fib", "arithmetic", "sieve", "sort", "crc", "parse", "build", "dispatch", "structures"]
LIBRARY_WORKLOADS = ["modbus", "md5"]  # one built-in does the work; not in the means, and Lua has no MD5
BUFFER_WORKLOADS = ["parse", "build"]  # where a language without mutable strings copies the whole text each time
LANGUAGES = ["arkivon", "lua", "python"]


def cell(value, digits):
    return "-" if value is None else f"{value:.{digits}f}"


def mean_to_python(ratios):
    return statistics.geometric_mean(ratio for name, ratio in ratios.items() if name in WORKLOADS)


def commands(binaries, workload):
    folder = BENCH / "language"
    programs = {
        "arkivon": [binaries / "language_bench", folder / f"{workload}.src"],
        "lua": ["lua5.4", folder / f"{workload}.lua"],
        "python": ["/usr/bin/python3", "-B", folder / f"{workload}.py"],
    }
    return {name: command for name, command in programs.items() if command[-1].exists()}


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
    for workload in WORKLOADS + LIBRARY_WORKLOADS:
        runs = measured(binaries, workload, 1 if is_quick else 5)
        times = {name: median(rows, "seconds") * 1000 for name, rows in runs.items()}
        peaks = {name: median(rows, "peak_kb") / 1024 for name, rows in runs.items()}
        to_python[workload] = times["arkivon"] / times["python"]
        ratio_to_lua = times["arkivon"] / times["lua"] if "lua" in times else None
        if workload in WORKLOADS:
            to_lua[workload] = ratio_to_lua
        section.row(workload, *(cell(times.get(name), 0) for name in LANGUAGES), cell(ratio_to_lua, 2),
                    cell(to_python[workload], 2), *(cell(peaks.get(name), 1) for name in LANGUAGES))

    over_all = statistics.geometric_mean(to_lua.values())
    without = statistics.geometric_mean(value for name, value in to_lua.items() if name not in BUFFER_WORKLOADS)
    section.row("geometric mean", "", "", "", f"{over_all:.2f}", f"{mean_to_python(to_python):.2f}",
                "", "", "")
    section.row("without parse, build", "", "", "", f"{without:.2f}", "", "", "", "")
    section.verdict(over_all <= 1, f"no slower than Lua in the geometric mean ({over_all:.2f})")
    slower = [f"{name} {ratio:.2f}" for name, ratio in to_python.items() if ratio > 1]
    section.verdict(not slower, "never slower than CPython" + (f" ({', '.join(slower)})" if slower else ""))
    return section
