from report import report


def sort(count):
    items = [0] * (count + 1)
    seed = 1
    for i in range(1, count + 1):
        seed = (seed * 1103 + 12345) % 65536
        items[i] = seed
    for i in range(2, count + 1):
        key = items[i]
        j = i - 1
        while j > 0:
            if items[j] <= key:
                break
            items[j + 1] = items[j]
            j -= 1
        items[j + 1] = key
    total = 0
    for i in range(1, count + 1):
        total = (total * 31 + items[i]) % 65521
    return total


report(lambda: sort(5000))
