"""The panel of examples/link-client against a real controller: push, feedback, level, questions, a snapshot, and a
controller that goes away and comes back.

    link_client.py PANEL ARKIVON ARKC
"""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading

PROGRAM = """
device dvPanel = 10001:1:0
device dvRelay = 5001:9:0
integer nVolume
exclusive [dvPanel, 11..12]
exclusive [dvPanel, {21, 25, 23}]
level [dvPanel, 1] nVolume
button_event [dvPanel, 1] { push: { on [dvPanel, 7] } release: { send_command dvPanel, 'page-Main' } }
button_event [dvPanel, {11, 12, 21, 25}] { push: { on [dvPanel, button.input.channel] } }
button_event [dvPanel, 2]
{
    push: { if ([dvPanel, 7]) { send_command dvPanel, 'seven is lit' }  [dvPanel, {8, 9}] = {1, 0} }
}
level_event [dvPanel, 1] { send_level dvPanel, {2, 3}, {level.value + 1, -4} }
"""


class Lines:
    """What a process prints, read by a thread that ends with it."""

    def __init__(self, process):
        self.process, self.lines, self.news = process, [], threading.Condition()
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.process.stdout:
            with self.news:
                self.lines.append(line.strip())
                self.news.notify_all()

    def expect(self, *wanted):
        """These lines come next, in this order, and no others between them."""
        with self.news:
            if not self.news.wait_for(lambda: len(self.lines) >= len(wanted), 30) or self.lines[:len(wanted)] != list(wanted):
                sys.exit(f"expected {wanted}, seen {self.lines}")
            del self.lines[:len(wanted)]

    def expect_somewhere(self, part):
        with self.news:
            if not self.news.wait_for(lambda: any(part in line for line in self.lines), 30):
                sys.exit(f"{part} never came: {self.lines}")
            self.lines.clear()


def main():
    panel_path, arkivon, arkc = sys.argv[1:]
    number = os.getpid()
    address = f"127.{192 + number % 62}.{number // 62 % 256}.1"
    started = []

    def start(*words):
        process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   text=True, env={**os.environ, "TMPDIR": folder, "LC_ALL": "C.UTF-8"})
        started.append(process)
        return process

    def controller():
        process = start(arkivon, "--data-dir", f"{folder}/data", "--bind", address, "--http-port", "0", "--monitor",
                        "--no-system-changes", f"{folder}/room.pobj")
        Lines(process).expect_somewhere("Network started.")
        return process

    with tempfile.TemporaryDirectory() as folder:
        try:
            pathlib.Path(folder, "room.src").write_text(PROGRAM, encoding="utf-8")
            subprocess.run([arkc, "build", f"{folder}/room.src"], check=True, timeout=30)
            panel = start(sys.executable, panel_path, address, "10001")     # nobody is there yet
            shown = Lines(panel)

            def do(text):
                panel.stdin.write(text + "\n")
                panel.stdin.flush()

            running = controller()
            shown.expect("online")
            do("push 1")
            shown.expect("button 7 on")
            do("release 1")
            shown.expect("command page-Main")
            do("push 2")
            shown.expect("command seven is lit", "button 8 on", "button 9 off")
            do("push 11\npush 12\npush 21\npush 25")
            shown.expect("button 11 on", "button 11 off", "button 12 on", "button 21 on", "button 21 off", "button 25 on")
            do("level 1 40")
            shown.expect("level 2 41", "level 3 -4")

            running.send_signal(signal.SIGTERM)
            running.wait(30)
            shown.expect("offline")
            do("push 11")                                                   # must not come late
            running = controller()
            shown.expect("online")
            do("push 1")
            shown.expect("button 7 on")

            second = start(sys.executable, panel_path, address, "10001")    # gets what the first one has
            late = Lines(second)
            late.expect("online", "button 7 on")
            for process in (panel, second):
                process.stdin.close()
                if process.wait(30) != 0:
                    sys.exit("a panel did not end well")
        finally:
            for process in started:
                if process.poll() is None:
                    process.kill()
                    process.wait()
    print("The panel did what it should.")


main()
