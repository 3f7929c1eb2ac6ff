#!/usr/bin/env python3
"""An include may only point down the list of floors. Prints every one that does not; exit status 1 then."""
import pathlib
import re
import sys

FLOORS = [
    {"base", "cli"}, {"model"}, {"program"}, {"interp"}, {"events"}, {"library", "io"}, {"runtime"}, {"devices", "inspect"},
    {"net", "compiler"}, {"admin", "web"}, {"app", "tools"}, {"manpages"},
]
LEVEL = {name: level for level, names in enumerate(FLOORS) for name in names}
INCLUDE = re.compile(r'^\s*#include "([a-z]+)/[^"]*"')


def offences(source):
    for path in sorted(source.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        floor = path.relative_to(source).parts[0]
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            found = INCLUDE.match(line)
            target = found.group(1) if found else None
            if target in LEVEL and target != floor and LEVEL[target] >= LEVEL[floor]:
                yield f"{path}:{number}: {floor} includes {target}, which does not stand below it"


def main():
    source = pathlib.Path(__file__).resolve().parent.parent / "src"
    unknown = [path.name for path in source.iterdir() if path.is_dir() and path.name not in LEVEL]
    found = [f"src/{name}: a folder without a floor" for name in unknown] + list(offences(source))
    print("\n".join(found) or "floors: every include points down")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
