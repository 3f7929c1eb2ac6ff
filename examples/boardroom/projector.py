#!/usr/bin/env python3
"""A simulated projector on a serial line: projector.py FILE makes FILE a name of the line's other end.

Lines end with a carriage return; projector.src lists them.
"""
import asyncio
import os
import sys
import tty

LAMP_HOURS = 1200


def say(text):
    print("projector  " + text, flush=True)


class Projector:
    def __init__(self):
        self.is_on = False
        self.input = 1

    def answer(self, line):
        """The reply to a line; none where the device says nothing."""
        word, _, argument = line.partition(" ")
        if argument == "?" and word in ("POWR", "LAMP"):
            return f"POWR={int(self.is_on)}" if word == "POWR" else f"LAMP={LAMP_HOURS}"
        if word == "POWR" and argument in ("0", "1"):
            self.is_on = argument == "1"
            say("is on" if self.is_on else "is off")
        elif word == "INPT" and argument in ("1", "2", "3", "4"):
            self.input = int(argument)
            say(f"shows input {argument}")
        else:
            say(f"does not understand {line!r}")
        return None


async def serve(name):
    ours, theirs = os.openpty()  # theirs stays open: the controller may come and go
    tty.setraw(theirs)
    if os.path.islink(name):
        os.unlink(name)
    os.symlink(os.ttyname(theirs), name)
    projector = Projector()
    received = bytearray()

    def read():
        received.extend(os.read(ours, 4096))
        while b"\r" in received:
            line, _, rest = received.partition(b"\r")
            received[:] = rest
            reply = projector.answer(line.decode("latin-1").strip())
            if reply:
                os.write(ours, reply.encode() + b"\r")

    asyncio.get_running_loop().add_reader(ours, read)
    say(f"is at {name}")
    await asyncio.Event().wait()


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    try:
        asyncio.run(serve(sys.argv[1]))
    except KeyboardInterrupt:
        pass
