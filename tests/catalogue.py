#!/usr/bin/env python3
"""Every text for operators has its Chinese translation with the same placeholders.

Usage: catalogue.py SOURCE_DIRECTORY CATALOGUE.ts
Prints what is missing or wrong; exit status 1 then, 77 (skipped) without lupdate.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

PLACEHOLDER = re.compile(r"%\d")


def extracted(source):
    """The texts in the sources, as (context, text), and what lupdate could not read."""
    with tempfile.TemporaryDirectory() as directory:
        catalogue = pathlib.Path(directory) / "texts.ts"
        run = subprocess.run(["lupdate", "-silent", "-locations", "none", str(source), "-ts", str(catalogue)],
                             capture_output=True, text=True, check=False)
        return {key: None for key in messages(catalogue)}, run.stderr.splitlines()


def messages(catalogue):
    """(context, text) -> translation, None when it is unfinished."""
    found = {}
    for context in xml.etree.ElementTree.parse(catalogue).getroot().iter("context"):
        for message in context.iter("message"):
            translation = message.find("translation")
            is_done = translation is not None and translation.get("type") is None and translation.text
            key = (context.findtext("name"), message.findtext("source"))
            found[key] = translation.text if is_done else None
    return found


def problems(source, catalogue):
    wanted, complaints = extracted(source)
    yield from (f"lupdate: {line}" for line in complaints)
    have = messages(catalogue)
    for context, text in wanted:
        translation = have.get((context, text))
        if context != "messages":
            yield f"context {context} instead of messages: {text!r}"
        elif translation is None:
            yield f"no translation: {text!r}"
        elif sorted(PLACEHOLDER.findall(text)) != sorted(PLACEHOLDER.findall(translation)):
            yield f"other placeholders: {text!r} and {translation!r}"
    yield from (f"in no source any more: {text!r}" for key, text in
                ((key, key[1]) for key in have) if key not in wanted)


def main():
    if not shutil.which("lupdate"):
        print("catalogue: lupdate is not installed")
        return 77
    found = list(problems(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
    print("\n".join(found) or "catalogue: every text is translated")
    return 1 if found else 0


sys.exit(main())
