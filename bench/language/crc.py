from report import report


def crc_of(block, count):
    crc = 0xFFFF
    for i in range(1, count + 1):
        crc = crc ^ block[i]
        for _ in range(8):
            if crc & 1:
                crc = (crc >> 1) ^ 0xA001
            else:
                crc = crc >> 1
    return crc


def work():
    block = bytearray(4097)
    total = 0
    for i in range(1, 4097):
        block[i] = (i * 7) % 251
    for number in range(1, 161):
        block[1] = number
        total = (total * 31 + crc_of(block, 4096)) % 65521
    return total


report(work)
