from report import report


def work():
    total = 0
    for _ in range(200):
        text = ""
        i = 0
        while len(text) < 20000:
            i += 1
            text += f"CH{i % 100},"
        total = (total * 31 + len(text) + i) % 65521
    return total


report(work)
