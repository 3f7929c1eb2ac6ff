"""A large file to the controller and back, beside rsync between the same two directories."""
import filecmp
import os
import pathlib
import statistics
import subprocess
import time

from processes import CLIENT_SECONDS, Failed, Server, arkivon
from roundtrip import make_program
from table import Section

FILE_BYTES = 100_000_000
SHARE = 0.5  # of rsync's speed; it compares no digest block by block, and waits for no disk


def rsync_server(directory, address, port):
    folder = pathlib.Path(directory) / "rsync"
    folder.mkdir()
    settings = pathlib.Path(directory) / "rsyncd.conf"
    settings.write_text(
        f"use chroot = no\naddress = {address}\nport = {port}\nlog file = /dev/null\nuid = {os.getuid()}\n"
        f"gid = {os.getgid()}\n[data]\npath = {folder}\nread only = no\n",
        encoding="utf-8",
    )
    return Server(["rsync", "--daemon", "--no-detach", "--config", settings], address, port)


def megabytes_per_second(command):
    """Of the whole command, from its start to its end."""
    began = time.monotonic()
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=CLIENT_SECONDS,
                          check=False)
    if done.returncode != 0:
        raise Failed(f"{command[0]} ended with status {done.returncode}: {done.stderr.strip()}")
    return FILE_BYTES / 1e6 / (time.monotonic() - began)


def commands(binaries, address, port, source, back):
    """The upload and the download of each."""
    tool = [binaries / "arkctl", "--host", address]
    module = f"rsync://{address}:{port}/data/{source.name}"
    return {
        "arkivon": ([*tool, "upload", source], [*tool, "download", "source", "-o", back]),
        "rsync": (["rsync", "--whole-file", source, module], ["rsync", "--whole-file", module, back]),
    }


def measure(binaries, directory, is_quick):
    folder = pathlib.Path(directory)
    address, port = "127.71.0.21", 18873
    source, back = folder / "large.src", folder / "back.src"
    source.write_bytes(os.urandom(FILE_BYTES))
    speeds = {}
    with arkivon(binaries, directory, make_program(binaries, directory), address), \
            rsync_server(directory, address, port):
        stored = {"arkivon": folder / f"data-{address}" / "source.src", "rsync": folder / "rsync" / source.name}
        for _ in range(1 if is_quick else 7):
            for name, (upload, download) in commands(binaries, address, port, source, back).items():
                for file in (stored[name], back):  # else rsync would see that there is nothing to do
                    file.unlink(missing_ok=True)
                speeds.setdefault((name, "upload"), []).append(megabytes_per_second(upload))
                speeds.setdefault((name, "download"), []).append(megabytes_per_second(download))
                if not filecmp.cmp(source, back, shallow=False):
                    raise Failed(f"{name}: another file came back")
    section = Section("A file of 100 MB over loopback (MB/s of the whole command, median)",
                      ["direction", "arkivon", "rsync", "ours/theirs"])
    for direction in ("upload", "download"):
        ours, theirs = (statistics.median(speeds[name, direction]) for name in ("arkivon", "rsync"))
        section.row(direction, f"{ours:.0f}", f"{theirs:.0f}", f"{ours / theirs:.2f}")
        section.verdict(ours >= SHARE * theirs, f"{direction}: at least half of rsync's speed ({ours / theirs:.2f})")
    return section
