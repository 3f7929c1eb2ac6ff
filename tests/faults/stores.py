"""Tries to make a controller lose what it keeps: system calls that fail, power cuts, kills.

    stores.py calls|cuts|kills|folder BIN CALLS_LIBRARY PANEL [--all] [--seconds N] [--seed N]

BIN is the folder of the programs, CALLS_LIBRARY what SystemCalls.cpp becomes, PANEL the example panel.py. What must be loaded
before that library stands in PRELOAD_FIRST.

calls: every system call of a short script, on files of the data folder, fails in turn: once, and from then on. No crash,
each file old or new, always a line, and a tool's command that fails. --all tries each, otherwise a few of each kind.
Connections that cannot be accepted and memory that is refused too: without memory the controller may end, with a line.
cuts: the same script is written down call by call and played again: after each call the disk images are made that a power
cut may leave, with what was not synced missing, there, or half there. Each must hold what the panel had been told.
folder: a second controller with the same folder, and who may read it.
kills: a controller is killed again and again while a panel pushes. --seconds says how long.
"""
import argparse
import errno
import importlib.util
import itertools
import os
import pathlib
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zipfile

PROGRAM = """
device dvPanel = 10001:1:0
persistent integer nCount = 0
non_volatile char sText[300] = 'none'
button_event [dvPanel, 1]
{
    push: { nCount = nCount + 1;  sText = "sText, itoa(nCount), ' '";  save_var('key', nCount);  send_level dvPanel, 1, nCount }
}
"""
KEPT = ("persistent", "nonvolatile", "vars_storage.ini", "settings.ini", "source.src", "web/index.html")
ERRORS = {"create": errno.EMFILE, "accept": errno.EMFILE, "open": errno.EMFILE, "write": errno.ENOSPC,
          "fallocate64": errno.ENOSPC, "mkdir": errno.ENOSPC}                                     # all others: EIO
HARMLESS = ("unlink", "link", "mkdir", "syncfs", "read", "open", "renameat2", "accept")     # of which not every one is told
PATIENCE = 60


def check(holds, *what):
    if not holds:
        raise AssertionError(" ".join(str(word) for word in what))


def count_in(store):
    """The value of nCount in a store file; None when the file is not there. Whatever is no whole store raises."""
    if store is None:
        return None
    count, at, found = struct.unpack_from(">I", store)[0], 4, None
    for _ in range(count):
        size = struct.unpack_from(">I", store, at)[0]
        name, at = store[at + 4:at + 4 + size].decode("utf-16-be"), at + 4 + size
        size = struct.unpack_from(">I", store, at)[0]
        record, at = store[at + 4:at + 4 + size], at + 4 + size
        check(len(record) == size, "a record is cut")
        if name == "NCOUNT":
            found = int(struct.unpack(">d", record[-8:])[0])
    check(at == len(store), "bytes behind the store")
    return found


class Room:
    """A controller with a data folder and an address of its own."""
    numbers = itertools.count(1)

    def __init__(self, options, folder):
        self.options, self.folder = options, pathlib.Path(folder)
        number = os.getpid() * 64 + next(Room.numbers)
        self.address = f"127.{192 + number // 64000 % 32}.{number // 250 % 256}.{number % 250 + 1}"
        self.process, self.panel, self.output = None, None, ""

    def start(self, **calls):
        environment = dict(os.environ, LC_ALL="C.UTF-8", TMPDIR=str(self.folder.parent))
        if calls:
            environment.update({f"CALLS_{name.upper()}": str(value) for name, value in calls.items()},
                               CALLS_FOLDER=str(self.folder), LD_PRELOAD=f"{os.environ.get('PRELOAD_FIRST', '')} {self.options.library}")
        log = open(self.folder.parent / "output", "ab")
        self.process = subprocess.Popen([f"{self.options.bin}/arkivon", "--data-dir", self.folder, "--bind", self.address,
                                         "--monitor", "--no-system-changes"], cwd=self.folder.parent, env=environment,
                                        stdout=log, stderr=subprocess.STDOUT)
        log.close()
        self.panel = None
        for _ in range(PATIENCE * 20):
            if self.process.poll() is not None:
                return False
            try:
                self.panel = Panel(self.options.panel_module, self.address)
                return True
            except OSError:
                time.sleep(0.05)
        raise AssertionError("it does not answer")

    def tool(self, *arguments):
        done = subprocess.run([f"{self.options.bin}/arkctl", "--host", self.address, *arguments], capture_output=True,
                              text=True, timeout=PATIENCE, cwd=self.folder.parent, check=False)
        return done.returncode, done.stdout + done.stderr

    def end(self, number=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(number)
        status = self.process.wait(PATIENCE)
        self.output = (self.folder.parent / "output").read_text(errors="replace")
        return status

    def content(self, name):
        path = self.folder / name
        return path.read_bytes() if path.is_file() else None


class Panel:
    """The example panel, with what it was told last."""

    def __init__(self, module, address):
        room = self

        class Connection(module.Connection):
            def show(self, code, text):
                if code == 0x1D:
                    room.level = int(text.split(":")[1])

        self.level, self.connection = 0, Connection((address, 6139), 10001)
        while not self.connection.is_online:
            self.connection.read()

    def push(self):
        self.connection.send_acked(0x2A, "10001:1:0")
        self.connection.send_acked(0x2B, "10001:1:0")

    def push_and_see(self, patience=PATIENCE):
        """The level that answers a push; None when none comes."""
        before, self.level = self.level, None
        self.connection.socket.settimeout(0.2)
        end = time.monotonic() + patience
        is_pushed = False
        while self.level is None and time.monotonic() < end:
            try:
                if not is_pushed:
                    is_pushed = True
                    self.push()
                self.connection.read()
            except TimeoutError:
                self.connection.tend()
            except OSError:
                break
        self.level = before if self.level is None else self.level
        return self.level if self.level != before else None


def prepare(options, folder):
    """A data folder with something of everything in it, and beside it what the script sends."""
    data = folder / "data"
    (data / "web").mkdir(parents=True)
    (folder / "room.src").write_text(PROGRAM)
    subprocess.run([f"{options.bin}/arkc", "build", folder / "room.src", "-o", data / "program.pobj"], check=True,
                   capture_output=True)
    (data / "source.src").write_text("old source")
    (data / "web" / "index.html").write_text("old page")
    (data / "settings.ini").write_text("[General]\nlanguage=en\nsystemNum=3\n")
    (folder / "new.src").write_text("new source" * 1000)
    with zipfile.ZipFile(folder / "site.zip", "w") as site:
        site.writestr("index.html", "new page")
    room = Room(options, data)
    check(room.start(), "it does not start")
    check(room.panel.push_and_see() == 1 and room.end() == 0, "the first push")
    return data


def script(room):
    """What is tried. What went wrong, in words, as the tools and the panel saw it."""
    problems = []
    if room.panel.push_and_see(2) is None:
        problems.append("no answer to a push")
    for arguments in (("sysnum", "7"), ("upload", "new.src"), ("upload", "site.zip")):
        status, text = room.tool(*arguments)
        if status != 0:
            check(text.strip(), "a command fails without a word", arguments)
            problems.append(text)
    return problems


def run_with(options, base, calls):
    """The script on a copy of a folder, with these calls failing: (room, problems, old and new content)."""
    with tempfile.TemporaryDirectory(prefix="stores-") as folder:
        shutil.copytree(base.parent, folder, dirs_exist_ok=True)
        pathlib.Path(folder, "output").unlink()
        room = Room(options, pathlib.Path(folder, "data"))
        old = {name: room.content(name) for name in KEPT}
        problems = script(room) if room.start(log=f"{folder}/log", **calls) else ["it does not start"]
        status = room.end()
        new = {name: room.content(name) for name in KEPT}
        aside = {name: room.content(name + ".damaged-1") for name in KEPT}
        log = pathlib.Path(folder, "log").read_text().splitlines()
        room.end()
        after = None
        if calls:
            may_end = calls["fail"] == "malloc" and status == -signal.SIGABRT and "Error:Out of memory" in room.output
            check(status in (0, 2) or may_end, "it ended with", status, room.output[-2000:])
            check(room.start(), "it does not start again", room.output[-2000:])
            after = room.panel.push_and_see()
            check(room.end() == 0, "it did not end in order")
        return room.output, problems, old, new, aside, log, after


def try_calls(options, base, scratch):
    _, problems, old, wanted, _, log, _ = run_with(options, base, {})
    check(not problems and all(wanted[name] != old[name] for name in KEPT), "the script itself", problems)
    totals = {}
    for line in log:
        totals[line.split("\t")[0]] = totals.get(line.split("\t")[0], 0) + 1
    totals.pop("send", None)
    trials = [(name, number, rest) for name, total in sorted(totals.items()) for number in range(1, total + 1)
              for rest in (0, 1)]
    memory = random.Random(options.seed)
    trials += [("accept", number, 0) for number in range(1, 5)]
    trials += [("malloc", int(10 ** memory.uniform(2, 5.5)), 0) for _ in range(400 if options.all else 8)]
    if not options.all:
        chosen = random.Random(options.seed)
        trials = [trial for name in (*totals, "accept") for trial in chosen.sample([one for one in trials if one[0] == name], 1)] + [
            trial for trial in trials if trial[0] == "malloc"]
    failures = []

    def one(name, number, rest):
        output, problems, _, new, aside, log, after = run_with(
            options, base, {"fail": name, "number": number, "error": ERRORS.get(name, errno.EIO), "rest": rest}
            if name != "malloc" else {"fail": name, "malloc": number})
        for kept in KEPT:
            # After a store that could not be read and was set aside the others may hold something else, but whole.
            is_restarted = any(aside.values()) and kept in KEPT[:3]
            check(new[kept] in (old[kept], wanted[kept]) or is_restarted, kept, "is neither old nor new:", new[kept])
            check(aside[kept] in (None, old[kept]), kept, "was not kept when it was set aside")
        count_in(new["persistent"])
        count_in(new["nonvolatile"])
        has_failed = any(line.split("\t")[:2] == [name, "-1"] for line in log)
        is_told = problems or any(word in output for word in ("Cannot", "cannot", "Failed"))
        check(not has_failed or is_told or name in HARMLESS, "not a line")
        missing = [kept for kept in KEPT if new[kept] != wanted[kept]]
        check(not missing or is_told, "not a line, and old:", missing)
        check(after is not None, "no program after the next start")

    def worker(queue):
        for trial in queue:
            try:
                one(*trial)
            except (AssertionError, OSError, struct.error, subprocess.SubprocessError) as fault:
                failures.append(f"{trial}: {fault!r}"[:3000])

    queue, lock = iter(trials), threading.Lock()

    def shared():
        while True:
            with lock:
                trial = next(queue, None)
            if trial is None:
                return
            yield trial

    threads = [threading.Thread(target=worker, args=(shared(),)) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    check(not failures, f"{len(failures)} of {len(trials)}:\n" + "\n".join(failures))
    return f"{len(trials)} trials: calls that failed, of {sum(totals.values())}, connections and memory"


class Disk:
    """What is certainly on a disk, and what may be: directory entries in their order, data of files that are not synced."""

    def __init__(self, folder, files):
        self.folder = folder
        self.inodes = {}                        # number: [bytes, bytes that are safe]
        self.names, self.safe = {}, {}          # of the moment; of the last sync of the directory
        self.pending = []                       # the states of the names since, oldest first
        for name, content in files.items():
            self.add(name, content)
        self.safe = dict(self.names)

    def add(self, name, content=b""):
        self.inodes[len(self.inodes)] = [content, content]
        self.names[name] = len(self.inodes) - 1

    def apply(self, call, path, more, data):
        name = os.path.relpath(path, self.folder)
        if call == "create" and more == "new":
            self.add(name)
        elif call == "create" and more == "empty":
            self.inodes[self.names[name]][0] = b""
        elif call == "write":
            inode, at = self.inodes[self.names[name]], int(more)
            inode[0] = inode[0][:at].ljust(at, b"\0") + data + inode[0][at + len(data):]
            return
        elif call == "fsync" and name != ".":
            inode = self.inodes[self.names[name]]
            inode[1] = inode[0]
            return
        elif call == "fsync":
            self.safe, self.pending = dict(self.names), []
            return
        elif call == "rename":
            self.names[os.path.relpath(more, self.folder)] = self.names.pop(name)
        elif call == "link":
            self.names[os.path.relpath(more, self.folder)] = self.names[name]
        elif call == "unlink":
            self.names.pop(name, None)
        else:
            return
        self.pending.append(dict(self.names))

    def images(self):
        """The data that is not synced is missing, half there or there; of the names any beginning of the changes."""
        for names in [self.safe, *self.pending]:
            for share in (0, 1, 2):
                image = {}
                for name, inode in names.items():
                    now, safe = self.inodes[inode]
                    image[name] = safe if share == 0 else now[:len(now) // 2] if share == 1 and now != safe else now
                yield image


def try_cuts(options, base, scratch):
    files = {str(path.relative_to(base)): path.read_bytes() for path in base.rglob("*") if path.is_file()}
    with tempfile.TemporaryDirectory(prefix="stores-") as folder:
        data = pathlib.Path(folder, "data")
        shutil.copytree(base, data)
        room = Room(options, data)
        check(room.start(log=f"{folder}/log"), "it does not start")
        for _ in range(5):
            check(room.panel.push_and_see(), "no answer to a push")
        check(room.tool("sysnum", "7")[0] == 0, "sysnum")
        check(room.panel.push_and_see(), "no answer to a push")
        check(room.end(signal.SIGKILL) == -signal.SIGKILL, "killed")
        log = [line.split("\t") for line in pathlib.Path(folder, "log").read_text().splitlines()]
        disk, told, number, tried, images = Disk(str(data), files), 1, 3, 0, {}
        for call, result, path, more, data_hex in log:
            body = bytes.fromhex(data_hex)
            if call == "send":
                start = body.find(b"1:")
                is_level = b"\x1d" in body and start > 0
                told = max(told, int(body[start + 2:].split(b"\xac")[0][:-1] or 0) if is_level else told)
                number = 7 if b"staticip_" in body or b"dhcp_" in body else number
                continue
            if int(result) >= 0:
                disk.apply(call, path, more, body)
            for image in disk.images():
                tried += 1
                check((count_in(image.get("persistent")) or 0) >= told, "told", told, "kept", count_in(image.get("persistent")),
                      "after", call, path)
                check(f"systemNum={number}".encode() in image["settings.ini"] or number == 3, "the system number is lost")
                count_in(image["nonvolatile"])
                images[tuple(sorted(image.items()))] = (image, told)
        check(told == 7, "the panel was not told", told)
        for image, told in random.Random(options.seed).sample(list(images.values()), len(images) if options.all else 4):
            with tempfile.TemporaryDirectory(prefix="stores-") as place:
                for name, content in image.items():
                    path = pathlib.Path(place, "data", name)
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_bytes(content)
                room = Room(options, pathlib.Path(place, "data"))
                check(room.start(), "an image does not start")
                check(room.panel.push_and_see() > told, "an image has lost a value")
                check(room.end() == 0 and "cannot be read whole" not in room.output, "an image is damaged:", room.output)
                check(not list(pathlib.Path(place, "data").glob("*.unfinished")), "left over")
    return f"{tried} images of a power cut hold what was told, {len(images)} of them different"


def try_kills(options, base, scratch):
    chance, kills, told = random.Random(options.seed), 0, 1
    end = time.monotonic() + options.seconds
    room = Room(options, base)
    while time.monotonic() < end or kills < 3:
        check(room.start(), "it does not start after a kill", room.folder)
        told_at_start = told
        killer = threading.Timer(chance.uniform(0.01, 0.4), room.process.kill)
        killer.start()
        room.panel.level = 0
        while (level := room.panel.push_and_see(5)) is not None:
            check(level > told, "a value was lost: told", told, "then", level)
            told = level
        killer.cancel()
        check(room.end(signal.SIGKILL) == -signal.SIGKILL, "it ended by itself")
        kept = count_in(room.content("persistent"))
        check(kept in (told, told + 1), "kept", kept, "told", told, "before", told_at_start)
        told = kept  # what was kept and could not be told any more counts too
        count_in(room.content("nonvolatile"))
        kills += 1
    check("cannot be read whole" not in room.output, "a store was damaged")
    return f"{kills} kills, {told} values"


def try_folder(options, base, scratch):
    for path in (base, base / "persistent", base / "source.src"):
        path.chmod(path.stat().st_mode | 0o077)
    os.umask(0)
    first, second = Room(options, base), Room(options, base)
    (base / "persistent.unfinished").write_text("of a writer that was killed")
    check(first.start() and first.panel.push_and_see(), "it does not start")
    check(not second.start() and second.end() == 2 and f"process {first.process.pid}," in second.output,
          "a second controller:", second.output)
    check(first.panel.push_and_see() and first.tool("upload", "new.src")[0] == 0, "the first one goes on")
    check(first.end(signal.SIGKILL) and second.start() and second.end() == 0, "the next one after a kill")
    for path in (base, *base.iterdir()):
        check(path.name == "web" or path.stat().st_mode & 0o077 == 0, path, "is open to others")
        check(path.suffix != ".unfinished", path, "is left over")
    return "a folder has one controller, and one reader"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("what", choices=("calls", "cuts", "kills", "folder"))
    parser.add_argument("bin")
    parser.add_argument("library")
    parser.add_argument("panel")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--seconds", type=float, default=3)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    options.library = os.path.abspath(options.library)
    source = importlib.util.spec_from_file_location("panel", options.panel)
    options.panel_module = importlib.util.module_from_spec(source)
    source.loader.exec_module(options.panel_module)
    options.panel_module.say = lambda *words: None
    tries = {"calls": try_calls, "cuts": try_cuts, "kills": try_kills, "folder": try_folder}
    with tempfile.TemporaryDirectory(prefix="stores-") as folder:
        print(tries[options.what](options, prepare(options, pathlib.Path(folder)), pathlib.Path(folder)))


if __name__ == "__main__":
    sys.exit(main())
