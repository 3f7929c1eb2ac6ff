"""The web server beside nginx and lighttpd with two workers each: small files, large files, many connections."""
import os
import pathlib
import re
import subprocess

from processes import Failed, Server, median
from table import Section

PORT = 18080
SMALL_BYTES = 1000
LARGE_BYTES = 10_000_000
MANY = 500
SMALL_FACTOR = 0.5
LARGE_FACTOR = 0.8
UNITS = {"B": 1e-6, "KB": 1024e-6, "MB": 1.048576, "GB": 1073.741824}  # wrk counts in powers of two
MS = {"us": 1e-3, "ms": 1, "s": 1e3, "m": 6e4}

NGINX = """
daemon off;
worker_processes 2;
user {user};
pid {folder}/nginx.pid;
error_log /dev/null;
events {{ worker_connections 4096; }}
http {{
    access_log off;
    sendfile on;
    tcp_nopush on;
    keepalive_requests 1000000000;
    types {{ text/html html; }}
    client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/fastcgi;
    uwsgi_temp_path {folder}/uwsgi; scgi_temp_path {folder}/scgi;
    server {{ listen {address}:{port} backlog=1024; root {root}; }}
}}
"""
LIGHTTPD = """
server.document-root = "{root}"
server.bind = "{address}"
server.port = {port}
server.max-worker = 2
server.max-keep-alive-requests = 1000000000
server.max-connections = 2048
server.max-fds = 8192
mimetype.assign = ( ".html" => "text/html" )
"""


class Tree(Server):
    """A server that works in child processes too."""

    def processes(self):
        found = [self._process.pid]
        for pid in found:
            for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
                found += [int(child) for child in (task / "children").read_text(encoding="ascii").split()]
        return found

    def memory_mb(self, field):
        """All processes together. What they share counts once: the proportional size where it is the current one."""
        total = 0
        for pid in self.processes():
            text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
            total += int(re.search(field + r":\s+(\d+)", text).group(1)) / 1024
        return total

    def cpu_seconds(self):
        total = 0
        for pid in self.processes():
            fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
            total += int(fields[11]) + int(fields[12])
        return total / os.sysconf("SC_CLK_TCK")


def write_site(folder):
    root = folder / "data" / "web"
    root.mkdir(parents=True)
    (root / "small.html").write_bytes(b"<html>" + b"x" * (SMALL_BYTES - 13) + b"</html>")
    (root / "large.bin").write_bytes(os.urandom(LARGE_BYTES))
    return root


def servers(binaries, folder):
    """One of each kind, each on a loopback address of its own, over the same files."""
    root = write_site(folder)
    addresses = [f"127.71.8.{number}" for number in range(1, 4)]
    settings = {"folder": folder, "root": root, "port": PORT, "user": "root" if os.geteuid() == 0 else "nobody"}
    (folder / "nginx.conf").write_text(NGINX.format(address=addresses[1], **settings), encoding="ascii")
    (folder / "lighttpd.conf").write_text(LIGHTTPD.format(address=addresses[2], **settings), encoding="ascii")
    ours = [binaries / "arkivon", "--bind", addresses[0], "--data-dir", folder / "data", "--no-system-changes",
            "--http-port", PORT]
    return {
        "arkivon": Tree(ours, addresses[0], PORT),
        "nginx": Tree(["nginx", "-e", "/dev/null", "-p", folder, "-c", folder / "nginx.conf"], addresses[1], PORT),
        # In a session of its own: when it is told to end, it ends its whole process group.
        "lighttpd": Tree(["setsid", "lighttpd", "-D", "-f", folder / "lighttpd.conf"], addresses[2], PORT),
    }


def number(text, pattern, units=None):
    """The first figure of wrk's report that fits; in a base unit where it has one. 0 when there is none."""
    found = re.search(pattern, text)
    if not found:
        return 0
    return float(found.group(1)) * (units[found.group(2)] if units else 1)


def load(server, path, connections, seconds):
    """One run of wrk: requests and megabytes a second, latencies in ms, errors, and what a request cost the server."""
    before = server.cpu_seconds()
    command = ["wrk", "-t2", f"-c{connections}", f"-d{seconds}s", "--latency", f"http://{server.address}:{PORT}/{path}"]
    done = subprocess.run(command, capture_output=True, text=True, timeout=seconds + 60, check=False)
    if done.returncode != 0:
        raise Failed(f"wrk ended with status {done.returncode}: {done.stdout}{done.stderr}")
    report = done.stdout
    errors = re.search(r"Socket errors: connect (\d+), read (\d+), write (\d+), timeout (\d+)", report)
    requests = max(number(report, r"(\d+) requests in"), 1)
    return {
        "per_second": number(report, r"Requests/sec:\s+([\d.]+)"),
        "mb_per_second": number(report, r"Transfer/sec:\s+([\d.]+)(\w+)", UNITS),
        "p50": number(report, r"50%\s+([\d.]+)(\w+)", MS),
        "p99": number(report, r"99%\s+([\d.]+)(\w+)", MS),
        "errors": sum(map(int, errors.groups())) if errors else 0,
        "refused": number(report, r"Non-2xx or 3xx responses: (\d+)"),
        "cpu_us": (server.cpu_seconds() - before) * 1e6 / requests,
    }


def alternating(running, path, connections, repetitions, seconds):
    """The servers take turns, so that a disturbance meets all of them."""
    runs = {name: [] for name in running}
    for _ in range(repetitions):
        for name, server in running.items():
            runs[name].append(load(server, path, connections, seconds))
    return runs


def add_rows(section, label, runs, running, figure):
    """One row for each server; returns ours divided by nginx's."""
    ours = median(runs["arkivon"], figure)
    for name, rows in runs.items():
        section.row(
            label, name, f"{median(rows, 'per_second'):.0f}", f"{median(rows, 'mb_per_second'):.0f}",
            f"{median(rows, 'p50'):.2f}", f"{median(rows, 'p99'):.2f}", f"{median(rows, 'cpu_us'):.1f}",
            f"{ours / median(rows, figure):.2f}", faults(rows), f"{running[name].memory_mb('Pss'):.1f}",
        )
    return ours / median(runs["nginx"], figure)


def faults(rows):
    return int(sum(row["errors"] + row["refused"] for row in rows))


def measure(binaries, directory, is_quick):
    repetitions = 1 if is_quick else 5
    seconds = 1 if is_quick else 3
    section = Section(
        "Web server (ms; cpu: us of the server for a request; ours/theirs: requests or bytes a second; MB: after the run)",
        ["load", "server", "per s", "MB/s", "p50", "p99", "cpu us", "ours/theirs", "errors", "MB"],
    )
    kinds = servers(binaries, pathlib.Path(directory) / "web")
    running = {}
    try:
        for name, server in kinds.items():
            running[name] = server.__enter__()
        small = alternating(running, "small.html", 64, repetitions, seconds)
        ratio = add_rows(section, "1 kB, 64 connections", small, running, "per_second")
        section.verdict(ratio >= SMALL_FACTOR, f"small files: {SMALL_FACTOR} of nginx's requests a second ({ratio:.2f})")
        large = alternating(running, "large.bin", 8, repetitions, seconds)
        ratio = add_rows(section, "10 MB, 8 connections", large, running, "mb_per_second")
        section.verdict(ratio >= LARGE_FACTOR, f"large files: {LARGE_FACTOR} of nginx's throughput ({ratio:.2f})")
        many = alternating(running, "small.html", MANY, repetitions, seconds)
        add_rows(section, f"1 kB, {MANY} connections", many, running, "per_second")
        section.verdict(faults(many["arkivon"]) == 0, f"{MANY} connections without an error ({faults(many['arkivon'])})")
    finally:
        for server in running.values():
            server.__exit__()
    return section
