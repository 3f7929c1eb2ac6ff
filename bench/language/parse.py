import re

from report import report

NUMBER = re.compile(rb"[-+]?\d+")


def work():
    replies = bytearray()
    count = 0
    while len(replies) < 65500:
        count += 1
        replies += b"LAMP HOURS=%d OK\r" % (count % 5000)
    total = 0
    for _ in range(30):
        buffer = bytearray(replies)
        found = buffer.find(b"\r")
        while found >= 0:
            line = buffer[: found + 1]
            del buffer[: found + 1]
            total = (total * 31 + int(NUMBER.search(line)[0])) % 65521
            found = buffer.find(b"\r")
    return total


report(work)
