from report import report


def fib(n):
    if n < 2:
        return n
    return fib(n - 1) + fib(n - 2)


report(lambda: fib(32))
