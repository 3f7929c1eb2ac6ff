import hashlib

from report import report


def work():
    block = bytearray(range(256)) * 4096
    total = 0
    for i in range(1, 51):
        block[0] = i
        digest = hashlib.md5(block).digest()
        total = (total * 31 + digest[0] * 256 + digest[15]) % 65521
    return total


report(work)
