#!/usr/bin/env python3
"""A simulated amplifier on UDP. Its datagrams are listed in ../amplifier.src."""
import asyncio
import random

import device

RANGES = {"POWER": range(2), "SOURCE": range(1, 4), "VOLUME": range(101), "MUTE": range(2)}


class Amplifier(asyncio.DatagramProtocol):
    """Its knobs, and a network that loses datagrams when asked to."""

    def __init__(self, options):
        self.options = options
        self.say = device.printer("amplifier")
        self.dice = random.Random(options.seed)
        self.datagrams_to_lose = options.lose_first
        self.values = {"POWER": 0, "SOURCE": 1, "VOLUME": 20, "MUTE": 0}
        self.transport = None
        self.controller = None

    def connection_made(self, transport):
        self.transport = transport

    def is_lost(self):
        if self.datagrams_to_lose > 0:
            self.datagrams_to_lose -= 1
            return True
        return self.dice.random() < self.options.lose

    def send(self, text):
        if self.is_lost():
            self.say(f"(lost: {text})")
        elif self.controller:
            self.transport.sendto(text.encode(), self.controller)

    def datagram_received(self, data, sender):
        text = data.decode("latin-1")
        if self.is_lost():
            self.say(f"(lost: {text})")
            return
        self.controller = sender
        number, _, command = text.partition(" ")
        answer = self.answer(command)
        if command != "STATUS?":
            self.say(f"{command} -> {answer}")
        self.send(f"{number} {answer}")

    def answer(self, command):
        if command == "STATUS?":
            return " ".join(f"{name}={value}" for name, value in self.values.items())
        name, _, digits = command.partition(" ")
        if name not in RANGES or not digits.isdecimal() or int(digits) not in RANGES[name]:
            return "ERR"
        self.values[name] = int(digits)
        return f"{name}={digits}"

    def touch(self):
        """Someone turns the knob: the amplifier tells it without being asked."""
        self.values["VOLUME"] = min(self.values["VOLUME"] + 5, 100)
        self.say(f"someone turns the volume to {self.values['VOLUME']}")
        self.send(f"VOLUME={self.values['VOLUME']}")


async def serve(options):
    loop = asyncio.get_running_loop()
    transport, amplifier = await loop.create_datagram_endpoint(lambda: Amplifier(options),
                                                               local_addr=(options.bind, options.port))
    amplifier.say(device.place(options))
    await device.run_until_ended(amplifier.touch)
    transport.close()


def main():
    parser = device.options("A simulated amplifier.", 7002)
    parser.add_argument("--lose", type=float, default=0, metavar="SHARE", help="lose this share of all datagrams")
    parser.add_argument("--lose-first", type=int, default=0, metavar="N", help="lose the first N datagrams")
    parser.add_argument("--seed", type=int, help="lose the same ones each time")
    device.run(serve(parser.parse_args()))


if __name__ == "__main__":
    main()
