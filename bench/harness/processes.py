"""Starting what is measured, reading its figures, ending it again."""
import os
import pathlib
import socket
import statistics
import subprocess
import time

BENCH = pathlib.Path(__file__).resolve().parent.parent
CLIENT_SECONDS = 120


class Failed(Exception):
    """A measured program did not do what it must; the text says which and why."""


def figures(command, **options):
    """Runs a program that prints "name value" lines; returns them as a dictionary of texts."""
    name = pathlib.Path(command[0]).name
    try:
        done = subprocess.run(
            [str(part) for part in command], capture_output=True, text=True, timeout=CLIENT_SECONDS, **options
        )
    except subprocess.TimeoutExpired as error:
        raise Failed(f"{name} did not end within {CLIENT_SECONDS} s") from error
    if done.returncode != 0:
        raise Failed(f"{name} ended with status {done.returncode}: {done.stderr.strip()}")
    return dict(line.split(" ", 1) for line in done.stdout.splitlines() if " " in line)


def median(rows, name):
    """The median of one figure over several runs; 0 when no run has it."""
    values = [float(row[name]) for row in rows if name in row]
    return statistics.median(values) if values else 0


class Server:
    """One server process, on a loopback address and port of its own. Ends with the "with" block."""

    def __init__(self, command, address, port, ready_text=None, cores=None):
        self.address = address
        self.port = port
        prefix = ["taskset", "-c", cores] if cores else []
        self._command = prefix + [str(part) for part in command]
        self._ready_text = ready_text
        self.start_ms = 0

    def __enter__(self):
        began = time.monotonic()
        self._process = subprocess.Popen(self._command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            self._wait_until_served(began + 30)
        except BaseException:
            self.__exit__()
            raise
        self.start_ms = (time.monotonic() - began) * 1000
        return self

    def __exit__(self, *_):
        self._process.terminate()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()

    def memory_mb(self, field):
        """VmRSS: what it holds now; VmHWM: the most it ever held."""
        # taskset becomes the server: the process is the same.
        text = pathlib.Path(f"/proc/{self._process.pid}/status").read_text(encoding="ascii")
        return int(text.split(field + ":")[1].split()[0]) / 1024

    def cpu_seconds(self):
        """User and system time of all its threads so far."""
        text = pathlib.Path(f"/proc/{self._process.pid}/stat").read_text(encoding="ascii")
        fields = text.rsplit(")", 1)[1].split()  # the name in front may hold anything
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def _wait_until_served(self, until):
        while time.monotonic() < until:
            if self._process.poll() is not None:
                raise Failed(f"{self._command} ended with status {self._process.returncode} at its start")
            try:
                with socket.create_connection((self.address, self.port), 1):
                    return
            except ConnectionRefusedError:
                time.sleep(0.001)
        raise Failed(f"{self._command} does not serve {self.address}:{self.port}")


def arkivon(binaries, directory, program, address, cores=None, port=6139, options=()):
    """The controller with its data in a directory of its own. port: of its own or of its program; it is up when that is."""
    data = pathlib.Path(directory) / ("data-" + address)
    data.mkdir(exist_ok=True)
    command = [binaries / "arkivon", "--bind", address, "--data-dir", data, "--no-system-changes", *options, program]
    return Server(command, address, port, cores=cores)


def mosquitto(directory, address, port, cores=None):
    """The broker, set up as fast as it goes: nothing stored, nothing logged, small packets sent at once."""
    settings = pathlib.Path(directory) / f"mosquitto-{address}.conf"
    settings.write_text(
        f"listener {port} {address}\nallow_anonymous true\npersistence false\nset_tcp_nodelay true\n"
        "max_queued_messages 0\nlog_dest none\n",
        encoding="ascii",
    )
    return Server(["mosquitto", "-c", settings], address, port, cores=cores)


def compile_program(binaries, source, target):
    """Writes the object file of a source. A compiler that reports errors ends the measurement."""
    done = subprocess.run(
        [str(binaries / "arkc"), "build", str(source), "-o", str(target)],
        capture_output=True, text=True, timeout=CLIENT_SECONDS, check=False,
    )
    if done.returncode != 0:
        raise Failed(f"arkc build {source}: {done.stdout}{done.stderr}")


def pick_core():
    """One core for a pair that must share it."""
    return str(min(os.sched_getaffinity(0)))
