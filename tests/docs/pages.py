"""Holds the pages to their word: links lead somewhere, code blocks say what they are, and command lines name only
commands and options that the programs have.

    pages.py ROOT PROGRAM...     the source folder; the built programs
"""
import functools
import json
import pathlib
import re
import shlex
import subprocess
import sys

KINDS = {"arkivon", "c++", "cmake", "console", "html", "ini", "json", "nft", "python", "sh", "systemd", "text"}
WORDS_THAT_START_A_COMMAND = {"sudo", "exec", "env", "time", "timeout"}


class Help:
    """What --help of a program, or of one of its commands, offers."""

    def __init__(self, command):
        run = subprocess.run([*command, "--help"], capture_output=True, text=True, timeout=20, check=False)
        self.text = run.stdout
        self.command = command
        options = re.findall(r"^ +(-{1,2}[\w-]+(?:, ?-{1,2}[\w-]+)*)( (?! )\S+|:\S+)?", self.text, re.M)
        self.options = {}
        for names, value in options:
            for name in re.split(", ?", names):
                self.options[name] = bool(value)
        listed = re.search(r"^Commands:\n((?: +.*\n)+)", self.text, re.M)
        self.commands = re.findall(r"^  ([a-z][\w-]*) ", listed[1], re.M) if listed else []
        self.positionals = "Arguments:" in self.text


@functools.lru_cache(None)
def help_of(*command):
    return Help(command)


def problem_of_call(path, words):
    """Walks the words of a command line down the commands of a program; what is wrong, or None."""
    level = help_of(path)
    options = dict(level.options)
    words = list(words)
    while words:
        word = words.pop(0)
        if word == "--":
            return None
        if re.match(r"-{1,2}[a-zA-Z]", word):
            name, _, value = word.partition("=")
            if name not in options:
                return f"no option {name}"
            if options[name] and not value and words:
                words.pop(0)
        elif word in level.commands:
            level = help_of(*level.command, word)
            options.update(level.options)
        elif level.commands and not level.positionals:
            return f"no command {word}"
        elif "ACTION" in level.text and re.fullmatch("[a-z]+", word) and not re.search(rf"\b{word}\b", level.text):
            return f"no action {word}"
    return None


def commands_in(line):
    """The simple commands of a shell line, as lists of words, without comments, redirections and variables in front."""
    lexer = shlex.shlex(line, posix=True, punctuation_chars="();<>|&")
    lexer.whitespace_split = True
    command = []
    for word in lexer:
        if set(word) <= set("();|&"):
            yield command
            command = []
        else:
            command.append(word)
    yield command


def strip_redirections(words):
    kept, skip = [], False
    for word in words:
        if skip:
            skip = False
        elif word in {">", ">>", "<"}:
            skip = True
        else:
            kept.append(word)
    while kept and (kept[0] in WORDS_THAT_START_A_COMMAND or re.match(r"\w+=", kept[0])):
        kept.pop(0)
    return kept


class Checker:
    def __init__(self, root, programs):
        self.root = root
        self.programs = {pathlib.Path(program).name: program for program in programs}
        self.presets = {one["name"] for one in json.loads((root / "CMakePresets.json").read_text())["configurePresets"]}
        self.problems = []

    def check_line(self, where, line):
        try:
            calls = [strip_redirections(words) for words in commands_in(line)]
        except ValueError as error:
            self.problems.append(f"{where}: {error}: {line}")
            return
        for words in filter(None, calls):
            name = pathlib.PurePath(words[0]).name
            problem = None
            if name in self.programs:
                problem = problem_of_call(self.programs[name], words[1:])
            elif "/" in words[0] and not words[0].startswith(("/", "build/")) and not (self.root / words[0]).exists():
                problem = "no such file"
            for at, word in enumerate(words):
                preset = word.partition("=")[2] if word.startswith("--preset=") else (
                    words[at + 1] if word == "--preset" and at + 1 < len(words) else None)
                if preset and preset not in self.presets:
                    problem = f"no preset {preset}"
            if problem:
                self.problems.append(f"{where}: {problem}: {line.strip()}")

    def check_link(self, page, where, target):
        if re.match(r"[a-z]+:", target):
            return
        path, _, anchor = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        if not file.exists():
            self.problems.append(f"{where}: no such file: {target}")
        elif anchor and file.suffix == ".md" and anchor not in anchors_of(file):
            self.problems.append(f"{where}: no such heading: {target}")

    def check_page(self, page):
        kind, before, in_list, in_comment = None, "", False, False
        for number, line in enumerate(page.read_text(encoding="utf-8").split("\n"), 1):
            where = f"{page.relative_to(self.root)}:{number}"
            if in_comment:
                in_comment = "-->" not in line
                continue
            if line.startswith("```"):
                if kind is None:
                    kind = line[3:].strip()
                    if kind.split(" ")[0] not in KINDS:
                        self.problems.append(f"{where}: a block of no known kind: {kind!r}")
                else:
                    kind = None
            elif kind is not None:
                if kind.split(" ")[0] == "sh" and not line.endswith("\\"):
                    self.check_line(where, line)
                elif kind == "console" and line.startswith("$ "):
                    self.check_line(where, line[2:])
            elif line.startswith("<!--"):
                in_comment = "-->" not in line
            else:
                in_list = bool(re.match(r" *[-*] ", line)) or in_list and (line.startswith(" ") or not line)
                if line.startswith("    ") and not before and not in_list:
                    self.problems.append(f"{where}: indented code; use a fence")
                prose = re.sub(r"`([^`]*)`", lambda code: self.check_code(where, code[1]), line)
                for target in re.findall(r"\]\(([^)\s]+)\)", prose) + re.findall(r'(?:src|href)="([^"]+)"', prose):
                    self.check_link(page, where, target)
            before = line
        if kind is not None:
            self.problems.append(f"{page.relative_to(self.root)}: the last block has no end")

    def check_frames(self, page):
        """Link frames in hexadecimal must have the length and the checksum that they claim."""
        number = re.compile(r"(?:[0-9a-f]{2}(?: |\n *))+", re.I)
        for start in re.finditer(r"56 51 ", page.read_text(encoding="utf-8")):
            data = bytes.fromhex(number.match(start.string, start.start())[0])
            length = int.from_bytes(data[2:6], "big")
            whole = data[:length + 8]
            if len(whole) < 10 or len(whole) < length + 8:
                continue                                # a form like 00000001, or one that is explained in part
            if whole[-1] != 0xAC or whole[-2] != sum(whole[6:-2]) & 255:
                line = start.string.count("\n", 0, start.start()) + 1
                self.problems.append(f"{page.relative_to(self.root)}:{line}: the frame has a wrong sum or end")

    def check_messages(self, page):
        """What the table under Troubleshooting quotes must be a text of some program."""
        sources = "".join(file.read_text(encoding="utf-8") for file in self.root.glob("src/**/*.cpp")).replace('\\"', '"')
        table = page.read_text(encoding="utf-8").split("## Troubleshooting", 1)[1].split("\n## ", 1)[0]
        for row in re.findall(r"^\| ([^|]*) \|", table, re.M):
            for quoted in re.findall(r"`([^`]* [^`]*)`", row):
                # What the system adds, such as a reason behind a colon, stands in no source.
                fixed = [part for part in re.split(r"…|\d+|: [A-Z][a-z ]+$|^arkctl: ", quoted) if len(part) > 6]
                if quoted.split()[0] not in self.programs and not all(part in sources for part in fixed):
                    self.problems.append(f"{page.relative_to(self.root)}: no program says: {quoted}")

    def check_code(self, where, code):
        words = code.split()
        if len(words) > 1 and words[0] in self.programs and "…" not in code:
            self.check_line(where, code)
        elif re.fullmatch(r"(src|tests|docs|tools|bench|examples|resources)/[\w./*-]+", code):
            if not any(self.root.glob(code.rstrip("/").removesuffix(".*") + ("*" if code.endswith(".*") else ""))):
                self.problems.append(f"{where}: no such file: {code}")
        return ""


@functools.lru_cache(None)
def anchors_of(file):
    """The headings as links name them: lower case, blanks as dashes, without punctuation and marks; twins are counted."""
    anchors, text = set(), re.sub(r"^```.*?^```", "", file.read_text(encoding="utf-8"), flags=re.M | re.S)
    for heading in re.findall(r"^#+ +(.*)$", text, re.M):
        name = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        twin, count = name, 0
        while twin in anchors:
            count += 1
            twin = f"{name}-{count}"
        anchors.add(twin)
    return anchors


def self_test(checker):
    """The check must find what it is there for."""
    wrong = ["arkctl frobnicate", "arkctl panel 10001 press 1 --colour", "arkc build room.src --output", "arkc --fast",
             "arkctl panel 10001 poke 3", "arkivon --data-dri x room.pobj", "cmake --preset fast", "tests/nothing.sh"]
    for line in wrong:
        before = len(checker.problems)
        checker.check_line("self-test", line)
        if (len(checker.problems) == before) != (line == "arkc build room.src --output"):
            sys.exit(f"pages.py does not judge this right: {line}")
        del checker.problems[before:]


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    checker = Checker(root, sys.argv[2:])
    self_test(checker)
    pages = [root / "README.md", root / "CONTRIBUTING.md", root / "bench/README.md",
             *root.glob("docs/**/*.md"), *root.glob("examples/**/*.md")]
    for page in sorted(pages):
        checker.check_page(page)
        checker.check_frames(page)
    checker.check_messages(root / "docs/operating.md")
    index = (root / "docs/README.md")
    if index.exists():
        listed = re.findall(r"\]\(([^)#\s]+)", index.read_text(encoding="utf-8"))
        for page in sorted(root.glob("docs/**/*.md")):
            if page != index and not any((index.parent / target).resolve() == page for target in listed):
                checker.problems.append(f"docs/README.md: does not list {page.relative_to(root)}")
    print("\n".join(checker.problems) or f"{len(pages)} pages are right.")
    return 1 if checker.problems else 0


sys.exit(main())
