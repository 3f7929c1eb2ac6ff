"""What the simulated devices share: their options, what they print, and how they end."""
import argparse
import asyncio
import os
import signal


def options(description, port):
    """A parser with the options that every device has; each adds its faults."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--bind", default="127.0.0.1", metavar="ADDRESS", help="address to listen on (%(default)s)")
    parser.add_argument("--port", type=int, default=port, help="port to listen on (%(default)s)")
    return parser


def printer(name):
    """A function that prints a line with the device's name in front, at once."""
    return lambda text: print(f"{name:<10} {text}", flush=True)


def place(options):
    """Where the device is, and how to put a hand on it."""
    return f"listens on {options.bind}:{options.port}; kill -USR1 {os.getpid()} is a hand at the device"


async def run_until_ended(touch):
    """Waits for SIGTERM or Control-C. SIGUSR1 stands for a hand at the device itself: touch is called."""
    ended = asyncio.Event()
    loop = asyncio.get_running_loop()
    for number in (signal.SIGTERM, signal.SIGINT):
        loop.add_signal_handler(number, ended.set)
    loop.add_signal_handler(signal.SIGUSR1, touch)
    await ended.wait()


async def serve_tcp(device, options):
    """A TCP device until it is ended; device.converse(reader, writer) serves a connection."""
    async def serve(reader, writer):
        try:
            await device.converse(reader, writer)
        except (asyncio.IncompleteReadError, asyncio.LimitOverrunError, ConnectionError):
            device.say("connection lost")
        except asyncio.CancelledError:
            pass                        # the device itself ends
        finally:
            writer.close()

    server = await asyncio.start_server(serve, options.bind, options.port)
    device.say(place(options))
    await run_until_ended(device.touch)
    server.close()


def run(main):
    """Runs the device; a port that is taken is a line, not a traceback."""
    try:
        asyncio.run(main)
    except OSError as error:
        raise SystemExit(f"{error}") from None
