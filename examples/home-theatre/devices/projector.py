#!/usr/bin/env python3
"""A simulated projector on TCP. Lines end with a carriage return; ../projector.src lists them."""
import asyncio

import device

NAMES = {"OFF": "is off", "WARMING": "warms up", "ON": "shows a picture", "COOLING": "cools down"}


class Projector:
    """The lamp, which takes its time, and the faults that were asked for."""

    def __init__(self, options):
        self.options = options
        self.say = device.printer("projector")
        self.power = "OFF"
        self.input = 1
        self.lamp_hours = 1200
        self.busy_answers = options.busy
        self.commands_until_drop = options.drop_after

    def set_power(self, power):
        self.power = power
        self.say(NAMES[power])

    def begin(self, passing, seconds, final):
        """A state that passes: warming up or cooling down."""
        self.set_power(passing)
        asyncio.get_running_loop().call_later(seconds, self.set_power, final)

    def switch(self, wanted):
        if self.power in ("WARMING", "COOLING"):
            return "BUSY"
        if wanted == "ON" and self.power == "OFF":
            self.begin("WARMING", self.options.warm_up, "ON")
        elif wanted == "OFF" and self.power == "ON":
            self.begin("COOLING", self.options.cool_down, "OFF")
        return "OK"

    def touch(self):
        """Someone uses the remote control."""
        self.say("someone pushes the power key")
        self.switch("OFF" if self.power == "ON" else "ON")

    def answer(self, line):
        word, _, argument = line.partition(" ")
        if word == "POWER?":
            return f"POWER={self.power}"
        if word == "INPUT?":
            return f"INPUT={self.input}"
        if word == "LAMP?":
            return f"LAMP={self.lamp_hours}"
        if self.busy_answers > 0:
            self.busy_answers -= 1
            return "BUSY"
        if word == "POWER" and argument in ("ON", "OFF"):
            return self.switch(argument)
        if word == "INPUT" and self.power != "ON":
            return "BUSY"
        if word == "INPUT" and argument in ("1", "2", "3"):
            self.input = int(argument)
            return "OK"
        return "ERR"

    def is_dropped(self):
        """Whether the connection is cut now, as a loose plug would; once."""
        if self.commands_until_drop is None:
            return False
        self.commands_until_drop -= 1
        if self.commands_until_drop >= 0:
            return False
        self.commands_until_drop = None
        self.say("drops the connection")
        return True

    async def converse(self, reader, writer):
        """One connection: the login, then commands and answers."""
        async def read():
            return (await reader.readuntil(b"\r")).decode("latin-1").strip()

        writer.write(b"LOGIN?\r")
        if await read() != f"LOGIN {self.options.password}":
            self.say("wrong password")
            writer.write(b"ERR LOGIN\r")
            return
        writer.write(b"OK LOGIN\r")
        self.say("someone has logged in")
        while True:
            line = await read()
            if self.is_dropped():
                return
            answer = self.answer(line)
            if not line.endswith("?"):
                self.say(f"{line} -> {answer}")
            writer.write(f"{answer}\r".encode())


def main():
    parser = device.options("A simulated projector.", 7001)
    parser.add_argument("--password", default="theatre", help="(%(default)s)")
    parser.add_argument("--warm-up", type=float, default=4, metavar="SECONDS", help="(%(default)s)")
    parser.add_argument("--cool-down", type=float, default=6, metavar="SECONDS", help="(%(default)s)")
    parser.add_argument("--busy", type=int, default=0, metavar="N", help="answer the first N commands with BUSY")
    parser.add_argument("--drop-after", type=int, metavar="N", help="drop the connection after N lines, once")
    options = parser.parse_args()
    device.run(device.serve_tcp(Projector(options), options))


if __name__ == "__main__":
    main()
