#!/usr/bin/env python3
"""Runs clang-tidy over the sources, most recently changed first, for a bounded time.

Usage: tidy.py [--jobs N] BUILD_DIRECTORY SECONDS [FOLDER...]
  --jobs N   how many run side by side; otherwise as many as there are processors
  FOLDER     only sources below it: src/cli

A source that passed is not checked again until it, a header that it includes or the rules have changed. Sources that
the time did not suffice for are counted, not failed. Exit status 1 when something was found.

Most of the time goes into the headers of Qt and the standard library: each check looks at all that a source includes.
So sources that are compiled alike are checked a handful at a time, as one unit that includes them. Those whose names
do not go together, such as two functions main(), are parted.
"""
import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
RULES = ROOT / ".clang-tidy"
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
FINDING = re.compile(r"^(?P<file>.+?):\d+:\d+: (?:warning|error|fatal error): ", re.MULTILINE)
MOST_IN_UNIT = 8


def with_headers(path, seen):
    if path in seen or not path.is_file():
        return
    seen.add(path)
    for name in INCLUDE.findall(path.read_text(encoding="utf-8")):
        with_headers(ROOT / "src" / name, seen)
        with_headers(path.parent / name, seen)


class Source:
    def __init__(self, path, flags, stamps):
        self.path = path
        self.flags = flags
        self.files = set()  # with all its headers
        with_headers(path, self.files)
        self.stamp = stamps / str(path.relative_to(ROOT)).replace("/", "_")
        self.state = self.state_of_files()

    def state_of_files(self):
        digest = hashlib.sha256(RULES.read_bytes())
        for each in sorted(self.files):
            digest.update(each.read_bytes())
        return digest.hexdigest()

    def has_passed(self):
        return self.stamp.is_file() and self.stamp.read_text() == self.state


def flags_of(entry):
    words = shlex.split(entry["command"])[1:]
    at = words.index("-o")
    del words[at:at + 2]
    return tuple(word for word in words if word not in ("-c", entry["file"]))


def sources_of(build, folders):
    """Those that have not passed, the newest first, and how many there are in all."""
    stamps = build / "tidy"
    stamps.mkdir(parents=True, exist_ok=True)
    entries = {pathlib.Path(entry["file"]): entry for entry in json.loads((build / "compile_commands.json").read_text())}
    paths = [path for path in entries if path.is_file() and any(folder in path.parents for folder in folders)]
    paths.sort(key=lambda path: path.stat().st_mtime, reverse=True)
    sources = [Source(path, flags_of(entries[path]), stamps) for path in paths]
    return [source for source in sources if not source.has_passed()], len(sources)


def units_of(sources):
    """Sources that are compiled alike, a handful each."""
    alike = collections.defaultdict(list)
    units = []
    for source in sources:
        unit = alike[source.flags]
        if not unit:
            units.append(unit)
        unit.append(source)
        if len(unit) == MOST_IN_UNIT:
            alike[source.flags] = []
    return units


class Unit:
    """Sources that are checked together.

    check() gives their findings; late are those that there was no time for.
    """

    def __init__(self, sources, build, end):
        self.sources = sources
        self.build = build
        self.end = end
        self.path = build / "tidy" / f"unit_{sources[0].stamp.name}"
        self.late = []

    def run(self, *command):
        left = max(self.end - time.monotonic(), 0)
        return subprocess.run(command, capture_output=True, text=True, check=False, timeout=left, cwd=self.build)

    def write(self, sources):
        self.path.write_text("".join(f'#include "{source.path}" // NOLINT\n' for source in sources))

    def check(self):
        findings = []
        waiting = self.sources
        try:
            while waiting:
                now, later = self.part(waiting)
                findings += self.findings_in(now)
                waiting = later
        except subprocess.TimeoutExpired:
            self.late = waiting
        finally:
            self.path.unlink(missing_ok=True)
        return findings

    def part(self, sources):
        """Those that compile together, and the rest."""
        later = []
        while len(sources) > 1 and (wrong := self.wrong_in(sources)):
            later += wrong
            sources = [source for source in sources if source not in wrong]
        return sources, later

    def wrong_in(self, sources):
        """Those that the compiler complains about; never the first, so that something is left."""
        self.write(sources)
        run = self.run("clang++", *sources[0].flags, "-w", "-ferror-limit=0", "-fsyntax-only", str(self.path))
        if run.returncode == 0:
            return []
        names = {match["file"] for match in FINDING.finditer(run.stderr)}
        return [source for source in sources[1:] if str(source.path) in names] or sources[1:]

    def findings_in(self, sources):
        self.write(sources)
        run = self.run("clang-tidy", "-quiet", f"--config-file={RULES}", r"-header-filter=src/.*\.(h|cpp)$",
                       str(self.path), "--", *sources[0].flags)
        matches = list(FINDING.finditer(run.stdout))
        if run.returncode != 0 and not matches:
            names = " ".join(str(source.path) for source in sources)
            return [f"{names}: clang-tidy failed: {run.stderr.strip()[-400:]}"]
        wrong = {pathlib.Path(match["file"]) for match in matches}
        for source in sources:
            if not wrong & source.files and source.state == source.state_of_files():  # nobody has changed it meanwhile
                source.stamp.write_text(source.state)
        return [line for line in run.stdout.splitlines() if FINDING.match(line)]


def main():
    parser = argparse.ArgumentParser(description="Runs clang-tidy, most recently changed sources first.")
    parser.add_argument("build", type=pathlib.Path, help="a build directory, built")
    parser.add_argument("seconds", type=float, help="how long it may take")
    parser.add_argument("folders", nargs="*", default=["src"], metavar="FOLDER", help="only sources below these (src)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many run side by side")
    arguments = parser.parse_args()
    end = time.monotonic() + arguments.seconds
    build = arguments.build.resolve()
    sources, count = sources_of(build, [ROOT / folder for folder in arguments.folders])
    units = [Unit(unit, build, end) for unit in units_of(sources)]
    findings = set()
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        for found in pool.map(Unit.check, units):
            if set(found) - findings:
                print("\n".join(sorted(set(found) - findings)), flush=True)
            findings |= set(found)
    late = sum(len(unit.late) for unit in units)
    print(f"clang-tidy: {count} sources, {len(findings)} findings, {late} not reached in time")
    return 1 if findings else 0


sys.exit(main())
