from report import report


class Input:
    __slots__ = ("gain", "level", "port")

    def __init__(self, gain, level, port):
        self.gain = gain
        self.level = level
        self.port = port


def work():
    inputs = [Input(i % 7, 0, i) for i in range(65)]
    total = 0
    for _ in range(40000):
        for i in range(1, 65):
            inputs[i].level = (inputs[i].level + inputs[i].gain) % 256
            total = total + inputs[i].level * inputs[i].port
        total = total % 65521
    return total


report(work)
