#!/usr/bin/env python3
"""A touch panel in plain Python: panel.py HOST DEVICE [PORT]. What docs/link.md explains, and no more.

Reads lines "push 5", "release 5", "level 1 40" and prints what the controller shows: "button 5 on", "level 1 40",
"command page-Main", "online", "offline". Ends with its input; a lost connection is made again every second.
"""
import contextlib
import os
import select
import socket
import struct
import sys
import time


def frame(code, body=b""):
    payload = bytes([code]) + body
    return b"VQ" + struct.pack(">I", len(payload)) + payload + bytes([sum(payload) & 255, 0xAC])


def cut_frames(data):
    """The payloads in a piece of the stream, and the rest that waits for more bytes."""
    payloads = []
    while (start := data.find(b"VQ")) >= 0 and len(data) >= start + 6:
        end = start + 6 + struct.unpack_from(">I", data, start + 2)[0]
        is_possible = start + 6 < end <= start + 6 + (1 << 20)
        if is_possible and len(data) < end + 2:
            return payloads, data[start:]
        payload = data[start + 6:end]
        is_whole = is_possible and data[end] == sum(payload) & 255 and data[end + 1] == 0xAC
        payloads += [payload] if is_whole else []
        data = data[end + 2 if is_whole else start + 1:]        # after damage: look for the next "VQ"
    return payloads, data


def say(*words):
    print(*words, flush=True)


class Connection:
    """One connection, from the first byte to the last. Nothing of it is valid in the next one."""

    def __init__(self, target, device):
        self.socket = socket.create_connection(target, timeout=5)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.device, self.data, self.last_id = device, b"", 0
        self.unconfirmed, self.seen, self.buttons, self.is_online = {}, {}, {}, False
        self.heard = self.beaten = time.monotonic()

    def send(self, code, text=""):
        self.socket.sendall(frame(code, text.encode()))

    def send_acked(self, code, text):
        self.last_id = self.last_id % 0xFFFFFFFF + 1
        whole = frame(code, struct.pack(">I", self.last_id) + text.encode())
        self.unconfirmed[self.last_id] = [whole, time.monotonic(), time.monotonic()]
        self.socket.sendall(whole)

    def tend(self):
        """The duties of the clock: a heartbeat every second, repetitions, and whether the controller still lives."""
        now = time.monotonic()
        if now - self.heard > 6:
            raise OSError("silence")
        if now - self.beaten >= 1:
            self.send(0x15)
            self.beaten = now
        for identity, (whole, first, last) in list(self.unconfirmed.items()):
            if now - first > 5:
                del self.unconfirmed[identity]
            elif now - last >= 0.3:
                self.socket.sendall(whole)
                self.unconfirmed[identity][2] = now
        self.seen = {identity: at for identity, at in self.seen.items() if now - at < 6}

    def read(self):
        piece = self.socket.recv(65536)
        if not piece:
            raise OSError("closed")
        self.heard = time.monotonic()
        payloads, self.data = cut_frames(self.data + piece)
        for payload in payloads:
            with contextlib.suppress(ValueError, IndexError, struct.error):     # a message that makes no sense
                self.take(payload[0], payload[1:])

    def take(self, code, body):
        if code == 0x19:                                        # who are you? Type 1: a panel
            self.send(0x1F, f"1:{self.device}:panel.py:1.0")
            self.is_online = True
            say("online")
        elif code == 0x21:
            self.unconfirmed.pop(struct.unpack(">I", body[:4])[0], None)
        elif code == 0x1A:                                      # is this button lit?
            self.send(0x20, f"{self.device}:{body.decode()}:{self.buttons.get(int(body), 0)}")
        elif code == 0x34:
            self.show_snapshot(struct.unpack(f">{len(body) // 4}i", body[:len(body) // 4 * 4])[2:])
        elif code in (0x1B, 0x1C, 0x1D, 0x1E, 0x3A, 0x3B, 0x3E, 0x41, 0x42):
            self.socket.sendall(frame(0x21, body[:4]))          # confirmed also when it came before
            if body[:4] not in self.seen:
                self.show(code, body[4:].decode(errors="replace"))
            self.seen[body[:4]] = time.monotonic()

    def show(self, code, text):
        fields = text.split(":")
        if code == 0x1E:
            say("command", text)
        elif code == 0x1D:
            for level, value in zip(fields[::2], fields[1::2]):
                say("level", level, value)
        elif code == 0x1C:
            self.light(int(fields[0]), int(fields[1]), map(int, fields[2].split(",")))
        elif code == 0x1B and len(fields) == 3:
            first, last = map(int, fields[2].split("-"))
            self.light(int(fields[0]), int(fields[1]), range(first, last + 1))
        elif code == 0x1B:
            for channel, status in zip(fields[::2], fields[1::2]):
                self.light(int(channel), int(status))

    def show_snapshot(self, numbers):
        while len(numbers) >= 4:
            kind, channel, status, count = numbers[:4]
            size = 4 + count if kind == 2 else 5
            group = numbers[4:size] if kind == 2 else range(count, numbers[4] + 1) if kind == 1 else ()
            if kind == 0 and channel == 0:
                say("level", count, numbers[4])
            else:
                self.light(channel, status, group)
            numbers = numbers[size:]

    def light(self, channel, status, group=()):
        for other in group if status else ():                   # a button that goes on puts the others of its group out
            if other != channel and self.buttons.get(other):
                self.buttons[other] = 0
                say("button", other, "off")
        if self.buttons.get(channel) != status:
            self.buttons[channel] = status
            say("button", channel, "on" if status else "off")

    def do(self, line):
        match line.split():
            case ["push", channel]:
                self.send_acked(0x2A, f"{self.device}:{channel}:0")
            case ["release", channel]:
                self.send_acked(0x2B, f"{self.device}:{channel}:0")
            case ["level", level, value]:
                self.send_acked(0x2C, f"{self.device}:0:{level}:{value}")


def main(host, device, port=6139):
    link, typed = None, b""
    while True:
        try:
            link = link or Connection((host, int(port)), device)
            ready = select.select([0, link.socket], [], [], 0.1)[0]
            if link.socket in ready:
                link.read()
            link.tend()
        except OSError:
            if link:
                link.socket.close()
                say("offline")
                link = None
            ready = select.select([0], [], [], 1)[0]
        if 0 in ready:
            piece = os.read(0, 4096)
            if not piece:
                return
            *lines, typed = (typed + piece).split(b"\n")
            for line in lines if link and link.is_online else ():   # what is pushed while nobody listens is gone
                with contextlib.suppress(OSError):                      # the next read sees the loss
                    link.do(line.decode(errors="replace"))


if __name__ == "__main__":
    main(*sys.argv[1:])
