from report import report


def step(crc):
    for _ in range(8):
        crc = crc >> 1 ^ 0xA001 if crc & 1 else crc >> 1
    return crc


STEPS = [step(byte) for byte in range(256)]


def modbus_crc16(block):
    crc = 0xFFFF
    for byte in block:
        crc = crc >> 8 ^ STEPS[(crc ^ byte) & 0xFF]
    return crc


def work():
    block = bytearray(range(256)) * 4096
    total = 0
    for i in range(1, 4):
        block[0] = i
        total = (total * 31 + modbus_crc16(block)) % 65521
    return total


report(work)
