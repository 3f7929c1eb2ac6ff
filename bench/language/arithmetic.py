from report import report


def work():
    total = 0
    mean = 0.0
    for i in range(1, 6000001):
        total = (total * 31 + i * 7) % 65521
        mean = mean + (total - mean) / 8
    return total * 65536 + int(mean)


report(work)
