from report import report


def work():
    volume = source = power = count = 0

    def power_on():
        nonlocal power
        power = 1

    def power_off():
        nonlocal power
        power = 0

    def louder():
        nonlocal volume
        volume = volume + 1

    def much_louder():
        nonlocal volume
        volume = volume + 5

    def limit_volume():
        nonlocal volume
        volume = volume % 100

    def preset_volume():
        nonlocal volume
        volume = 20

    def source_1():
        nonlocal source
        source = 1

    def source_2():
        nonlocal source
        source = 2

    def source_3():
        nonlocal source
        source = 3

    def next_source():
        nonlocal source
        source = source + 1

    def count_power():
        nonlocal count
        count = count + power

    def count_volume():
        nonlocal count
        count = count + volume

    def count_source():
        nonlocal count
        count = count + source

    def limit_count():
        nonlocal count
        count = count % 65521

    def count_one():
        nonlocal count
        count = count + 1

    def count_two():
        nonlocal count
        count = count + 2

    commands = [
        power_on, power_off, louder, much_louder, limit_volume, preset_volume, source_1, source_2, source_3,
        next_source, count_power, count_volume, count_source, limit_count, count_one, count_two,
    ]
    seed = 1
    for _ in range(3000000):
        seed = (seed * 1103 + 12345) % 65536
        commands[(seed >> 4) % 16]()
    return (count * 1000 + volume + source + power) % 4294967296


report(work)
