#!/usr/bin/env python3
"""A simulated Modbus TCP device for lights and blinds.

    coils      0 to 3    lamps: front, rear, screen wall, stairs
    registers  0, 1      dimmers in percent: front, rear
               2         the blinds' wanted position, 0 open to 100 closed
               3         the blinds' position, which moves there; it can only be read
"""
import asyncio
import struct

import device

COILS = 4
REGISTERS = 4
HIGHEST = 100
BLIND_WANTED, BLIND_POSITION = 2, 3
NO_FUNCTION, NO_ADDRESS, NO_VALUE, DEVICE_FAILED, BUSY = 1, 2, 3, 4, 6
LAMPS = ("front", "rear", "screen wall", "stairs")


class Refused(Exception):
    """An exception answer; its argument is the code."""


class House:
    """Coils and registers, and what hangs on them."""

    def __init__(self, options):
        self.options = options
        self.say = device.printer("house")
        self.coils = [0] * COILS
        self.registers = [0] * REGISTERS
        self.busy_answers = options.busy
        self.requests_until_drop = options.drop_after

    def check(self, first, count, size):
        if count < 1 or first + count > size:
            raise Refused(NO_ADDRESS)

    def set_coils(self, first, values):
        self.check(first, len(values), COILS)
        for number, value in enumerate(values, first):
            if self.coils[number] != value:
                self.say(f"lamp {LAMPS[number]} {'on' if value else 'off'}")
            self.coils[number] = value

    def set_registers(self, first, values):
        self.check(first, len(values), BLIND_POSITION)
        if any(value > HIGHEST for value in values):
            raise Refused(NO_VALUE)
        if self.options.jam and first <= BLIND_WANTED < first + len(values):
            self.say("the blinds are jammed")
            raise Refused(DEVICE_FAILED)
        for number, value in enumerate(values, first):
            if self.registers[number] != value:
                self.say(f"register {number} = {value}")
            self.registers[number] = value

    def touch(self):
        """Someone uses the switch on the wall."""
        self.say("someone uses the switch on the wall")
        self.set_coils(0, [1 - self.coils[0]])

    async def move_blinds(self):
        while True:
            await asyncio.sleep(self.options.travel / 10)
            way = self.registers[BLIND_WANTED] - self.registers[BLIND_POSITION]
            if way:
                self.registers[BLIND_POSITION] += max(-10, min(10, way))
                if self.registers[BLIND_WANTED] == self.registers[BLIND_POSITION]:
                    self.say(f"blinds at {self.registers[BLIND_POSITION]}")

    def answer(self, function, data):
        """The answer to a request, both without unit and function."""
        if function not in (1, 3, 5, 6, 15, 16):
            raise Refused(NO_FUNCTION)
        first, second = struct.unpack_from(">HH", data)
        if self.busy_answers > 0:
            self.busy_answers -= 1
            raise Refused(BUSY)
        if function == 1:
            self.check(first, second, COILS)
            return bytes([1, sum(coil << bit for bit, coil in enumerate(self.coils[first:first + second]))])
        if function == 3:
            self.check(first, second, REGISTERS)
            return struct.pack(f">B{second}H", 2 * second, *self.registers[first:first + second])
        if function == 5:
            self.set_coils(first, [1 if second == 0xFF00 else 0])
        elif function == 6:
            self.set_registers(first, [second])
        elif function == 15:
            self.check(first, second, COILS)
            self.set_coils(first, [data[5] >> bit & 1 for bit in range(second)])
        else:
            self.check(first, second, REGISTERS)
            self.set_registers(first, list(struct.unpack_from(f">{second}H", data, 5)))
        return data[:4]

    def frame(self, unit, function, data):
        try:
            return bytes([unit, function]) + self.answer(function, data)
        except Refused as refused:
            self.say(f"refuses function {function}, exception {refused.args[0]}")
            return bytes([unit, function | 0x80, refused.args[0]])
        except (struct.error, IndexError):
            return bytes([unit, function | 0x80, NO_VALUE])

    async def converse(self, reader, writer):
        """One connection: frames of transaction, protocol, length, unit, function and data."""
        self.say("connected")
        while self.requests_until_drop != 0:
            transaction, protocol, length = struct.unpack(">HHH", await reader.readexactly(6))
            if protocol != 0 or not 2 <= length <= 254:
                self.say("not Modbus")
                return
            body = await reader.readexactly(length)
            answer = self.frame(body[0], body[1], body[2:])
            writer.write(struct.pack(">HHH", transaction, 0, len(answer)) + answer)
            if self.requests_until_drop:
                self.requests_until_drop -= 1
        self.requests_until_drop = None
        self.say("drops the connection")


async def serve(options):
    house = House(options)
    blinds = asyncio.create_task(house.move_blinds())
    await device.serve_tcp(house, options)
    blinds.cancel()


def main():
    parser = device.options("Simulated lights and blinds on Modbus TCP.", 7003)
    parser.add_argument("--busy", type=int, default=0, metavar="N", help="refuse the first N requests, exception 6")
    parser.add_argument("--drop-after", type=int, metavar="N", help="drop the connection after N answers, once")
    parser.add_argument("--travel", type=float, default=1, metavar="SECONDS", help="how long the blinds take (%(default)s)")
    parser.add_argument("--jam", action="store_true", help="the blinds are jammed: exception 4")
    device.run(serve(parser.parse_args()))


if __name__ == "__main__":
    main()
