"""Peers that mean harm, or have lost their minds, against a real controller: it stays small, and the room goes on.

    hostile_peers.py ARKIVON ARKC [--seconds N] [--only WORD]

The attacks run beside each other, each on a controller of its own. Every one is bounded by what it sends, not by time.
With --seconds they are repeated for that long: a soak.
"""
import argparse
import contextlib
import multiprocessing
import os
import pathlib
import pty
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import time
import tty

PROGRAM = """
device dvPanel = 10001:1:0
device dvBusy = 10002:1:0
device dvNew = 10003:1:0
integer n
button_event [dvPanel, 1] { push: { on [dvPanel, 7] } release: { wait 2 { off [dvPanel, 7] } } }
button_event [dvBusy, 1] { push: { while (1) { n = n + 1 } } }
button_event [dvNew, 1] { push: { n = 0; while (n < 100) { n = n + 1 } } }
data_event [dvNew] { online: { n = 0; while (n < 20000) { n = n + 1 } } }
"""

MEGABYTE = 1024 * 1024
PATIENCE = 30
LINK_PORT = 6139


def frame(code, body=b""):
    payload = bytes([code]) + body
    return b"VQ" + struct.pack(">I", len(payload)) + payload + bytes([sum(payload) & 255, 0xAC])


def push(number, channel, message_id, code=0x2A):
    return frame(code, struct.pack(">I", message_id) + b"%d:%d:0" % (number, channel))


def handshake(number, kind=1):
    return frame(0x1F, b"%d:%d:hostile:1" % (kind, number))


class Peer:
    """A connection from one of the addresses of this machine."""

    def __init__(self, room, source, port=LINK_PORT):
        self.socket = socket.socket()
        self.socket.settimeout(PATIENCE)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.socket.bind((room.near(source), 0))
        self.socket.connect((room.address, port))
        self.received = b""
        self.beats = port == LINK_PORT

    def send(self, data):
        self.socket.sendall(data)

    def await_bytes(self, wanted):
        """Reads until the bytes have come; what came before them."""
        deadline = time.monotonic() + PATIENCE
        while wanted not in self.received:
            if time.monotonic() > deadline:
                sys.exit(f"{wanted!r} never came, but {self.received[-300:]!r}")
            if not select.select([self.socket], [], [], 1)[0]:
                if self.beats:
                    self.socket.send(frame(0x15))
                continue
            more = self.socket.recv(65536)
            if not more:
                sys.exit(f"{wanted!r} never came: the connection was closed behind {self.received[-300:]!r}")
            self.received += more
        before, self.received = self.received.split(wanted, 1)
        return before

    def pour(self, data, times):
        """Sends until the other side takes no more, or closes; how many bytes went."""
        self.socket.setblocking(False)
        sent = 0
        for _ in range(times):
            rest = memoryview(data)
            while rest:
                if not select.select([], [self.socket], [], 1)[1]:
                    return sent
                try:
                    count = self.socket.send(rest)
                except (ConnectionError, BrokenPipeError):
                    return sent
                sent += count
                rest = rest[count:]
        return sent


class Room:
    """A controller of its own with a panel that has to be served whatever happens."""

    def __init__(self, arkivon, program, folder, line=None):
        number = os.getpid()                            # of the attack: no other has these addresses
        self.network = f"127.{192 + number % 62}.{number // 62 % 250}"
        self.address = self.near(1)
        self.log = open(f"{folder}/log", "ab")
        data = pathlib.Path(folder, "data")
        data.mkdir()
        if line:
            pathlib.Path(data, "settings.ini").write_text(f"[General]\nportLink={line}\n", encoding="utf-8")
        self.process = subprocess.Popen(
            [arkivon, "--data-dir", data, "--bind", self.address, "--http-port", "8080", "--no-system-changes", program],
            stdout=self.log, stderr=self.log, env={**os.environ, "TMPDIR": folder, "LC_ALL": "C.UTF-8"})
        deadline = time.monotonic() + PATIENCE
        while True:
            try:
                Peer(self, 2).socket.close()
                break
            except OSError:
                if self.process.poll() is not None or time.monotonic() > deadline:
                    sys.exit("The controller does not start: " + pathlib.Path(folder, "log").read_text(errors="replace"))
                time.sleep(0.02)
        self.works()
        self.memory = self.resident()

    def near(self, host):
        return f"{self.network}.{host}"

    def resident(self):
        if self.process.poll() is not None:
            sys.exit(f"The controller has ended with {self.process.returncode}.")
        text = pathlib.Path(f"/proc/{self.process.pid}/status").read_text(encoding="ascii")
        return int(text.split("VmRSS:")[1].split()[0]) * 1024

    def grew_by(self):
        return (self.resident() - self.memory) / MEGABYTE

    def stays_within(self, megabytes, what):
        grown = self.grew_by()
        print(f"  {what}: {grown:+.1f} MB")
        if grown > megabytes:
            sys.exit(f"{what}: the controller has grown by {grown:.0f} MB, more than {megabytes}.")

    def works(self):
        """A push lights the button, a release puts it out by and by: events, feedback and waits."""
        panel = Peer(self, 2)
        panel.send(handshake(10001) + push(10001, 1, 1))
        panel.await_bytes(b"7:1:0-0")
        panel.send(push(10001, 1, 2, 0x2B))
        panel.await_bytes(b"7:0:0-0")
        panel.socket.close()

    def end(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.log.close()


def make_busy(room):
    busy = Peer(room, 3)
    busy.send(handshake(10002) + push(10002, 1, 1))
    busy.await_bytes(frame(0x21, struct.pack(">I", 1)))
    return busy


def flood_while_busy(room):
    """The program hangs in a loop: nothing that peers say may pile up."""
    busy = make_busy(room)
    answer = frame(0x33, b"text:1:1:" + b"x" * 1000)
    status = frame(0x20, b"10002:1:1")
    busy.pour(answer * 100, 1500)
    room.stays_within(40, "150 MB of answers from a panel")
    stranger = Peer(room, 4)
    stranger.pour(status * 2000, 1500)
    room.stays_within(40, "60 MB of answers from a stranger")
    again = Peer(room, 5)
    again.pour(handshake(10003) * 1000, 500)
    room.stays_within(40, "14 MB of introductions of one panel")
    tool = Peer(room, 6)
    tool.send(handshake(100, 2))
    tool.pour(frame(0x18, b"listenstatus?") * 1000 + frame(0x18, b"ir-1") * 1000, 500)
    room.stays_within(40, "20 MB of requests of a tool")
    for _ in range(3000):
        passer_by = Peer(room, 7)
        passer_by.send(handshake(10003))
        passer_by.socket.close()
    room.stays_within(40, "3,000 that come, introduce themselves and go")
    room.process.kill()                                 # its loop has no end
    room.process.wait()


def unfinished_frames(room):
    """Frames that never end, from many who have not introduced themselves and from many who have."""
    begun = b"VQ" + struct.pack(">I", MEGABYTE) + b"\x14" + b"x" * (1000 * 1000)
    for kind in ("strangers", "panels"):
        peers = []
        for number in range(300):
            with contextlib.suppress(OSError):
                peer = Peer(room, 8)
                peers.append(peer)
                if kind == "panels":
                    peer.send(handshake(11000 + number))
                peer.pour(begun, 1)
        room.stays_within(110, f"300 MB of unfinished frames of {kind}")
        for peer in peers:
            peer.socket.close()
    room.works()


def introduce_without_end(room):
    """A panel that has lost its mind must not keep the others waiting."""
    mad = Peer(room, 10)
    for _ in range(3):
        mad.pour(handshake(10003) * 1000, 100)
        room.works()
    room.stays_within(40, "introductions without end")


def push_without_end(room):
    mad = Peer(room, 17)
    mad.send(handshake(10003))
    for first in range(1, 300_000, 100_000):            # of their own id each, else they are one
        mad.pour(b"".join(push(10003, 1, number) for number in range(first, first + 100_000)), 1)
        room.works()
    room.stays_within(40, "pushes without end")


def strangers_are_not_taken(room):
    stranger = Peer(room, 11)
    stranger.send(push(10001, 1, 77) + frame(0x12))     # the answer to the question comes behind
    if frame(0x21, struct.pack(">I", 77)) in stranger.await_bytes(b"KV LITE"):
        sys.exit("The push of a stranger was confirmed.")
    stranger.send(handshake(10001) + push(10001, 1, 78))
    stranger.await_bytes(frame(0x21, struct.pack(">I", 78)))
    stranger.await_bytes(b"7:1:0-0")
    stranger.send(push(10001, 1, 79, 0x2B))
    stranger.await_bytes(b"7:0:0-0")


def hold_the_web(room):
    """500 silent connections of one address: another one has its page all the same."""
    silent = [Peer(room, 12, 8080) for _ in range(500)]
    one_more = Peer(room, 12, 8080)
    one_more.await_bytes(b"503 too many connections")
    for _ in range(20):
        visitor = Peer(room, 13, 8080)
        visitor.send(b"GET /nothing HTTP/1.1\r\nHost: room\r\nConnection: close\r\n\r\n")
        visitor.await_bytes(b"<html>404</html>")
        visitor.socket.close()
    for peer in silent:
        peer.socket.close()


def hurry_the_web(room):
    """500 at a time from one address, each with a connection for each request: nobody is refused."""
    request = b"GET /nothing HTTP/1.1\r\nHost: room\r\nConnection: close\r\n\r\n"
    loop = select.epoll()
    peers = {}

    def begin():
        peer = Peer(room, 14, 8080)
        peer.send(request)
        peers[peer.socket.fileno()] = peer
        loop.register(peer.socket.fileno(), select.EPOLLIN)

    for _ in range(500):
        begin()
    begun, served = 500, 0
    while peers:
        for descriptor, _ in loop.poll(PATIENCE) or sys.exit("Nobody is served any more."):
            peer = peers[descriptor]
            more = peer.socket.recv(65536)
            peer.received += more
            if more:
                continue
            if b"<html>404</html>" not in peer.received:
                sys.exit(f"After {served} pages: {peer.received[:100]!r}")
            served += 1
            loop.unregister(descriptor)
            del peers[descriptor]
            peer.socket.close()
            if begun < 5000:
                begun += 1
                begin()
    print(f"  {served} pages, nobody refused")


def confuse_discovery(room):
    request = frame(0x12)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as mad, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as asker:
        mad.bind((room.near(15), 0))
        asker.bind((room.near(16), 0))
        asker.settimeout(PATIENCE)
        for half in (request[:5], request[:7], b"VQ\0\0\0\x50\x12"):
            mad.sendto(half, (room.address, 6743))
            asker.sendto(request, (room.address, 6743))
            asker.recv(2048)
        while select.select([asker], [], [], 0.2)[0]:   # every socket answers
            asker.recv(2048)
        asker.sendto(request, (room.address, 6743))
        single = 0
        while select.select([asker], [], [], 0.5)[0]:
            single += asker.recv(2048).count(b"VQ")
        asker.sendto(request * 11, (room.address, 6743))
        many = 0
        while select.select([asker], [], [], 0.5)[0]:
            many += asker.recv(2048).count(b"VQ")
    if many > single:
        sys.exit(f"{many} answers to one datagram.")


def noise_on_a_line(room):
    noise = os.urandom(4096) * 16
    os.set_blocking(room.line, False)
    sent = 0
    while sent < 64 * MEGABYTE:
        if not select.select([], [room.line], [], 1)[1]:
            break                                       # nobody reads: the line slows down who talks
        with contextlib.suppress(BlockingIOError):
            sent += os.write(room.line, noise)
    room.stays_within(16, f"{sent / MEGABYTE:.0f} MB of noise on the port link")
    room.works()


def run(attack, arguments, program):
    print(attack.__name__.replace("_", " "))
    with contextlib.ExitStack() as cleanup:
        folder = cleanup.enter_context(tempfile.TemporaryDirectory(dir=program.parent))
        line = None
        if attack is noise_on_a_line:
            master, slave = pty.openpty()
            tty.setraw(slave, termios.TCSANOW)
            cleanup.callback(os.close, master)
            cleanup.callback(os.close, slave)
            line = os.ttyname(slave)
        room = Room(arguments.arkivon, program, folder, line)
        cleanup.callback(room.end)
        if line:
            room.line = master
        attack(room)


ATTACKS = [flood_while_busy, unfinished_frames, introduce_without_end, push_without_end, strangers_are_not_taken,
           hold_the_web, hurry_the_web, confuse_discovery, noise_on_a_line]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("arkivon")
    parser.add_argument("arkc")
    parser.add_argument("--seconds", type=float, default=0)
    parser.add_argument("--only", default="")
    arguments = parser.parse_args()
    until = time.monotonic() + arguments.seconds
    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "room.src").write_text(PROGRAM, encoding="utf-8")
        subprocess.run([arguments.arkc, "build", f"{folder}/room.src"], check=True, timeout=PATIENCE)
        while True:
            attacks = [multiprocessing.Process(target=run, args=(attack, arguments, pathlib.Path(folder, "room.pobj")))
                       for attack in ATTACKS if arguments.only in attack.__name__]
            for attack in attacks:
                attack.start()
            for attack in attacks:
                attack.join()
            if any(attack.exitcode for attack in attacks):
                sys.exit("The room did not go on.")
            if time.monotonic() >= until:
                break
    print("The room went on.")


main()
