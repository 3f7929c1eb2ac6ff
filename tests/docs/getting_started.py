"""Does what docs/getting-started.md tells its reader, on a loopback address of its own, and compares what comes.

    getting_started.py PAGE PROGRAM...

Blocks `arkivon file=NAME` are saved; blocks `console` have commands behind "$ " and below each what it prints; with
`terminal=NAME` the command goes on, and later blocks `text terminal=NAME` show what it prints then. `fails`: the status is
not 0. In what is printed "…" stands for anything; lines may come between those that stand on the page.
"""
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import threading

PATIENCE_SECONDS = 30


def blocks_of(page):
    for found in re.finditer(r"^```(\S.*)\n((?:.*\n)*?)```$", page, re.M):
        yield found[1].split(), found[2].splitlines()


def pattern_of(line):
    """Of a line as the page has it; the port of the web pages is the test's own."""
    text = ".*".join(re.escape(part) for part in line.split("…"))
    return re.compile(re.sub(r"^(Web\\ pages\\ on\\ port\\ )\d+$", r"\1\\d+", text))


class Terminal:
    """A command that goes on while the page does. Its lines are read by a thread, which ends with the command.
    Ends: with the test, by SIGTERM to the command's own process group."""

    def __init__(self, words, environment, folder):
        self.lines, self.seen, self.news = [], 0, threading.Condition()
        self.process = subprocess.Popen(words, env=environment, cwd=folder, text=True, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            with self.news:
                self.lines.append(line.rstrip("\n"))
                self.news.notify_all()

    def await_line(self, line):
        wanted = pattern_of(line)
        with self.news:
            def has_come():
                for at in range(self.seen, len(self.lines)):
                    if wanted.fullmatch(self.lines[at]):
                        self.seen = at + 1
                        return True
                return False
            if not self.news.wait_for(has_come, PATIENCE_SECONDS):
                raise AssertionError(f"never came: {line}\nbut:\n" + "\n".join(self.lines[self.seen:]))

    def end(self):
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGTERM)
        self.process.wait(PATIENCE_SECONDS)


class Reader:
    """Who follows the page. Owns: the terminals."""

    def __init__(self, programs, folder):
        self.programs = {pathlib.Path(program).name: str(pathlib.Path(program).resolve()) for program in programs}
        self.folder = pathlib.Path(folder)
        number = os.getpid()
        self.address = f"127.{128 + number % 64}.{number // 64 % 256}.1"
        self.environment = {**os.environ, "TMPDIR": folder, "LC_ALL": "C.UTF-8"}
        self.terminals = {}

    def words_of(self, line):
        """The command as the page has it, kept to an address and a port of its own."""
        words = shlex.split(line)
        name, words[0] = words[0], self.programs[words[0]]
        if name == "arkctl" and "--host" not in words:
            words[1:1] = ["--host", self.address]
        if name == "arkhost":
            words += ["--bind", self.address]
            words[words.index("--http-port") + 1] = "0"
        return words

    def follow(self, info, lines):
        options = dict(part.split("=", 1) for part in info[1:] if "=" in part)
        if info[0] == "arkivon" and "file" in options:
            (self.folder / options["file"]).write_text("\n".join(lines) + "\n", encoding="utf-8")
        elif info[0] == "text" and "terminal" in options:
            for line in lines:
                self.terminals[options["terminal"]].await_line(line)
        elif info[0] == "console":
            self.type_in(lines, options.get("terminal"), "fails" in info)

    def type_in(self, lines, terminal, shall_fail):
        commands = []
        for line in lines:
            if line.startswith("$ "):
                commands.append((line[2:], []))
            else:
                commands[-1][1].append(line)
        for command, expected in commands:
            words = self.words_of(command)
            if terminal:
                self.terminals[terminal] = Terminal(words, self.environment, self.folder)
                for line in expected:
                    self.terminals[terminal].await_line(line)
            else:
                self.run(command, words, expected, shall_fail)

    def run(self, command, words, expected, shall_fail):
        done = subprocess.run(words, env=self.environment, cwd=self.folder, text=True, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=PATIENCE_SECONDS, check=False)
        if (done.returncode != 0) != shall_fail:
            raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
        printed = done.stdout.splitlines()
        if len(printed) != len(expected) or not all(
                pattern_of(wanted).fullmatch(line) for wanted, line in zip(expected, printed)):
            raise AssertionError(f"{command} printed:\n{done.stdout}\nnot:\n" + "\n".join(expected))


def main():
    page = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")
    steps = 0
    with tempfile.TemporaryDirectory() as folder:
        reader = Reader(sys.argv[2:], folder)
        try:
            for info, lines in blocks_of(page):
                reader.follow(info, lines)
                steps += info[0] == "console"
        except AssertionError as difference:
            sys.exit(str(difference))
        finally:
            for terminal in reader.terminals.values():
                terminal.end()
    if steps < 5:
        sys.exit("the page has lost its steps")
    print(f"{steps} steps of the page came out as it says.")


main()
