#!/usr/bin/env python3
"""Plays programs at random on the runtime and on the reference interpreter, and compares their lines.

    random_programs.py DRIVER                       a hundred programs, always the same
    random_programs.py DRIVER --seconds 36000       for hours, from a seed that the date gives
    random_programs.py DRIVER --first 1234 --programs 1 --keep DIR     one again
    random_programs.py DRIVER --reduce PROGRAM.src  the smallest program that fails in the same way

DRIVER is bin/random_programs of a build, best of the sanitizers' one. Every second seed gives a program of which only the
runtime knows everything: it must not crash, and the dump must do the same. Ends with 1 when a program fails.
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import reference
from generator import Generator

BATCH = 20


def run(driver, paths):
    """The driver's lines for each file, and how it ended on the file that it did not survive."""
    played, left, folder = {}, list(paths), tempfile.mkdtemp()
    while left:
        ended = subprocess.run([driver], input="\n".join(map(str, left)).encode(), capture_output=True, cwd=folder,
                               check=False, env={**os.environ, "LC_ALL": "C.UTF-8"})
        name, lines = None, []
        for line in ended.stdout.decode("utf-8", "replace").split("\n"):
            if line.startswith("## "):
                name, lines = line[3:], []
            elif line == "##":
                played[name] = lines
                name = None
            elif name:
                lines.append(line)
        if name is not None or ended.returncode:
            died = name or str(left[0])
            report = ended.stderr.decode("utf-8", "replace").strip()
            played[died] = ["CRASH status %d: %s" % (ended.returncode, report)]
        left = [path for path in left if str(path) not in played]
    for file in Path(folder).iterdir():
        file.unlink()
    Path(folder).rmdir()
    return played


def verdict(source, lines, wild):
    """(kind, text) of what is wrong; None: nothing is."""
    if lines and lines[0].startswith("CRASH"):
        return "crash", "\n".join(lines)
    if lines and lines[0].startswith("does not compile"):
        return "refused", "\n".join(line for line in lines if "error:" in line)
    problem = [line for line in lines if line.startswith("PROBLEM")]
    if problem:
        return "round trip", "\n".join(lines[lines.index(problem[0]):])
    if wild:
        return None
    try:
        expected = reference.play(source)
    except (reference.NotDefined, RecursionError):
        return None
    except Exception as fault:  # pylint: disable=broad-except
        return "reference", repr(fault)
    got = lines
    for at, (one, other) in enumerate(zip(got + ["(end)"], expected + ["(end)"])):
        if one != other:
            return "difference", f"line {at + 1}: runtime '{one}', reference '{other}'; before it:\n  " + "\n  ".join(
                got[max(0, at - 3):at])
    return None


def reduced(driver, source, wild, kind):
    """Drops lines, whole blocks first, while the program still fails in the same way."""
    lines = source.rstrip("\n").split("\n")

    def fails(candidate):
        with tempfile.NamedTemporaryFile("w", suffix=".src", encoding="utf-8") as file:
            text = "\n".join(candidate) + "\n"
            file.write(text)
            file.flush()
            found = verdict(text, run(driver, [file.name])[file.name], wild)
        return found is not None and found[0] == kind

    def depth(line):
        return len(line) - len(line.lstrip(" "))

    def without(at):
        """The lines without the statement at one; of a block without head and end only, as a second way."""
        end = at + 1
        if lines[at].endswith("{"):
            while end < len(lines) and not (depth(lines[end]) == depth(lines[at]) and lines[end].strip() == "}"):
                end += 1
            yield lines[:at] + lines[end + 1:]
            yield lines[:at] + [line[4:] for line in lines[at + 1:end]] + lines[end + 1:]
        else:
            yield lines[:at] + lines[end:]

    before = None
    while before != lines:
        before = lines
        for level in range(0, max(map(depth, lines), default=0) + 1, 4):
            for at in range(len(lines) - 1, -1, -1):
                if at < len(lines) and depth(lines[at]) == level and lines[at].strip() != "}":
                    lines = next((candidate for candidate in without(at) if fails(candidate)), lines)
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("driver")
    parser.add_argument("--first", type=int, help="the first seed")
    parser.add_argument("--programs", type=int, default=120)
    parser.add_argument("--seconds", type=int, help="for that long, instead of a number of programs")
    parser.add_argument("--keep", type=Path, help="a folder for the programs that fail")
    parser.add_argument("--reduce", type=Path, help="reduce this program")
    parser.add_argument("--wild", action="store_true", help="do not ask the reference interpreter about it")
    arguments = parser.parse_args()
    sys.setrecursionlimit(5_000)
    driver = os.path.abspath(arguments.driver)

    if arguments.reduce:
        source = arguments.reduce.read_text(encoding="utf-8")
        path = str(arguments.reduce.resolve())
        found = verdict(source, run(driver, [path])[path], arguments.wild)
        if found is None:
            sys.exit("It does not fail.")
        source = reduced(driver, source, arguments.wild, found[0])
        print(source, end="")
        with tempfile.NamedTemporaryFile("w", suffix=".src", encoding="utf-8") as file:
            file.write(source)
            file.flush()
            print("//", "\n// ".join(str(verdict(source, run(driver, [file.name])[file.name], arguments.wild)[1])
                                     .split("\n")[:12]))
        return

    begin = time.monotonic()
    first = arguments.first if arguments.first is not None else int(time.time()) if arguments.seconds else 1
    failed = tried = 0
    with tempfile.TemporaryDirectory() as folder:
        seed = first
        while (time.monotonic() - begin < arguments.seconds) if arguments.seconds else tried < arguments.programs:
            sources = {}
            for _ in range(BATCH):
                path = Path(folder, f"{seed}.src")
                sources[path] = Generator(seed, wild=seed % 2 == 0).program()
                path.write_text(sources[path], encoding="utf-8")
                seed += 1
                tried += 1
                if not arguments.seconds and tried == arguments.programs:
                    break
            played = run(driver, sources)
            for path, source in sources.items():
                found = verdict(source, played[str(path)], int(path.stem) % 2 == 0)
                if found:
                    failed += 1
                    print(f"seed {path.stem} ({time.monotonic() - begin:.0f} s): {found[0]}: {found[1][:1500]}", flush=True)
                    if arguments.keep:
                        arguments.keep.mkdir(parents=True, exist_ok=True)
                        (arguments.keep / path.name).write_text(source, encoding="utf-8")
                path.unlink()
    print(f"{tried} programs from seed {first} on, {failed} failed, {time.monotonic() - begin:.0f} s")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
