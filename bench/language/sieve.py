from report import report


def sieve(top):
    flags = [0] * (top + 1)
    total = 0
    for i in range(2, top + 1):
        flags[i] = 1
    for i in range(2, top + 1):
        if flags[i] == 1:
            total = (total + i) % 1000003
            multiple = i + i
            while multiple <= top:
                flags[multiple] = 0
                multiple = multiple + i
    return total


report(lambda: sieve(2000000))
