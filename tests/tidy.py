#!/usr/bin/env python3
"""Runs clang-tidy over the sources, most recently changed first, for a bounded time.

Usage: tidy.py BUILD_DIRECTORY SECONDS
A source that passed is not checked again until it, a header that it includes or the rules have changed. Sources that
the time did not suffice for are counted, not failed. Exit status 1 when something was found.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
FINDING = re.compile(r"(warning|error):")


def with_headers(path, seen):
    if path in seen or not path.is_file():
        return
    seen.add(path)
    for name in INCLUDE.findall(path.read_text(encoding="utf-8")):
        with_headers(ROOT / "src" / name, seen)
        with_headers(path.parent / name, seen)


def state_of(path):
    files = set()
    with_headers(path, files)
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for each in sorted(files):
        digest.update(each.read_bytes())
    return digest.hexdigest()


def check(path, build, stamps, end):
    """The findings in one source, or None when there was no time left for it."""
    stamp = stamps / str(path.relative_to(ROOT)).replace("/", "_")
    state = state_of(path)
    if stamp.is_file() and stamp.read_text() == state:
        return []
    left = end - time.monotonic()
    if left <= 0:
        return None
    try:
        run = subprocess.run(["clang-tidy", "-quiet", "-p", str(build), str(path)], capture_output=True, text=True,
                             check=False, timeout=left)
    except subprocess.TimeoutExpired:
        return None
    findings = [line for line in run.stdout.splitlines() if FINDING.search(line)]
    if run.returncode != 0 and not findings:
        findings = [f"{path}: clang-tidy failed: {run.stderr.strip()[-400:]}"]
    if not findings:
        stamp.write_text(state)
    return findings


def main():
    build, seconds = pathlib.Path(sys.argv[1]).resolve(), float(sys.argv[2])
    stamps = build / "tidy"
    stamps.mkdir(parents=True, exist_ok=True)
    commands = json.loads((build / "compile_commands.json").read_text())
    sources = {pathlib.Path(entry["file"]) for entry in commands}
    sources = [path for path in sources if (ROOT / "src") in path.parents and path.is_file()]
    sources.sort(key=lambda path: path.stat().st_mtime, reverse=True)
    end = time.monotonic() + seconds
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda path: check(path, build, stamps, end), sources))
    findings = sorted({line for result in results for line in result or []})
    print("\n".join(findings))
    print(f"clang-tidy: {len(sources)} sources, {len(findings)} findings, {results.count(None)} not reached in time")
    return 1 if findings else 0


sys.exit(main())
