#!/usr/bin/env python3
"""Draws floors.svg and push.svg beside itself; with --check it only compares. Both follow the reader's light or dark."""
import pathlib
import sys
from html import escape

HERE = pathlib.Path(__file__).parent
STYLE = """
  svg { color-scheme: light dark; }
  .page { fill: #ffffff; }  .box { fill: #eef3f8; stroke: #6b7f93; }  .accent { fill: #dcebdd; stroke: #5c8a61; }
  text { fill: #1d2733; font: 14px 'DejaVu Sans', Verdana, sans-serif; }
  .name { font-weight: bold; }  .small { font-size: 12px; fill: #4b5a69; }  .mono { font: 12px 'DejaVu Sans Mono', monospace; }
  .line { stroke: #6b7f93; fill: none; }  .dashed { stroke-dasharray: 5 4; }  .head { fill: #6b7f93; }
  @media (prefers-color-scheme: dark) {
    .page { fill: #14191f; }  .box { fill: #222c36; stroke: #7f93a7; }  .accent { fill: #22352a; stroke: #79a880; }
    text { fill: #e4eaf0; }  .small { fill: #aab7c4; }  .line { stroke: #7f93a7; }  .head { fill: #7f93a7; }
  }
"""

# Highest first; floors of one row know nothing of each other. The last field: what the row lets others implement.
FLOORS = [
    ([("manpages", "writes man pages and completions when the programs are built")], ""),
    ([("app", "start-up; ties all together"), ("tools", "arkc, arkctl, arkhost")], ""),
    ([("web", "the web server"), ("admin", "settings, files, console port")], ""),
    ([("net", "panels, controllers, sockets"), ("compiler", "source to object file and back")], "LinkHooks, FileTransfers"),
    ([("devices", "device manager, ports, infrared files"), ("inspect", "trace and values, for people")], "PanelLink, ControllerLink"),
    ([("runtime", "one program that runs; the object file")], ""),
    ([("library", "built-ins"), ("io", "threads, descriptors, buffers")], ""),
    ([("events", "handlers, dispatcher, button status")], ""),
    ([("interp", "what runs: state, statements, waits, timelines")], "EventRaiser"),
    ([("program", "what a program declares: symbols, types, groups")], "DeviceActions, SocketActions"),
    ([("model", "values, arrays, structures, stores")], "ProgramContext"),
    ([("base", "numbers, names, clock"), ("cli", "help and man pages")], ""),
]

LANES = ["panel", "I/O thread", "main thread"]
# (from, to, text) an arrow; (lane, None, text) what happens there
PUSH = [
    (0, 1, "2A push"),
    (1, 2, "PanelEvent, priority 200"),
    (2, None, "Dispatcher::press"),
    (2, None, "let go of what TO holds; hold timer"),
    (2, None, "handlers by kind and device"),
    (2, None, "the body runs, prepared code"),
    (2, None, "ON → groups → DeviceManager"),
    (2, None, "status store; panel by index"),
    (2, 0, "21 confirmed and 1B feedback, one write to the socket"),
    (0, 1, "21 confirmed"),
    (1, None, "the pending frame is dropped"),
]


def text(x, y, words, kind="", anchor="start"):
    return f'<text x="{x}" y="{y}" class="{kind}" text-anchor="{anchor}">{escape(words)}</text>'


def drawing(width, height, title, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" '
            f'role="img" aria-label="{escape(title)}">\n<title>{escape(title)}</title>\n<style>{STYLE}</style>\n'
            '<defs><marker id="head" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" markerHeight="8" '
            'orient="auto"><path class="head" d="M0 0L8 4L0 8z"/></marker></defs>\n'
            f'<rect class="page" width="{width}" height="{height}"/>\n' + "\n".join(parts) + "\n</svg>\n")


def floors():
    parts, row, left, wide = [], 46, 20, 560
    for at, (names, interfaces) in enumerate(FLOORS):
        y, each = 20 + at * row, (wide - 10 * (len(names) - 1)) / len(names)
        for index, (name, what) in enumerate(names):
            x = left + index * (each + 10)
            parts.append(f'<rect class="box" x="{x}" y="{y}" width="{each}" height="38" rx="4"/>')
            parts.append(text(x + 12, y + 24, name, "name"))
            parts.append(text(x + 92, y + 24, what, "small"))
        if interfaces:
            parts.append(f'<path class="line dashed" d="M{left + wide + 100} {y - 8}V{y + 19}H{left + wide + 6}" '
                         'marker-end="url(#head)"/>')
            parts.append(text(left + wide + 108, y + 12, interfaces, "mono"))
    end = 20 + len(FLOORS) * row
    parts.append(text(left, end + 14, "An include points down.", "small"))
    parts.append(text(left + wide + 20, end + 14, "Dashed: declared here, implemented above.", "small"))
    return drawing(900, end + 30, "The floors of the source tree, highest first", parts)


def push():
    parts, xs, step = [], [95, 320, 600], 36
    end = 80 + len(PUSH) * step
    for x, name in zip(xs, LANES):
        parts.append(f'<rect class="accent" x="{x - 75}" y="16" width="150" height="32" rx="4"/>')
        parts.append(text(x, 37, name, "name", "middle"))
        parts.append(f'<path class="line dashed" d="M{x} 48V{end}"/>')
    for at, (start, target, words) in enumerate(PUSH):
        y = 84 + at * step
        if target is None:
            parts.append(f'<rect class="box" x="{xs[start] - 130}" y="{y - 16}" width="260" height="26" rx="4"/>')
            parts.append(text(xs[start], y + 2, words, "small", "middle"))
        else:
            inset = 4 if xs[target] > xs[start] else -4
            parts.append(f'<path class="line" d="M{xs[start] + inset} {y}H{xs[target] - inset}" marker-end="url(#head)"/>')
            parts.append(text((xs[start] + xs[target]) / 2, y - 7, words, "small", "middle"))
    return drawing(750, end + 20, "The life of a push, from the panel to its feedback", parts)


def main():
    wrong = 0
    if "--check" in sys.argv:
        sys.path.insert(0, str(HERE.parent.parent / "tests"))
        import floors as checked
        if [{name for name, _ in names} for names, _ in reversed(FLOORS)] != checked.FLOORS:
            print("floors.svg has other floors than tests/floors.py")
            wrong = 1
    for name, content in (("floors.svg", floors()), ("push.svg", push())):
        path = HERE / name
        if "--check" not in sys.argv:
            path.write_text(content, encoding="utf-8")
        elif not path.exists() or path.read_text(encoding="utf-8") != content:
            print(f"{path} is not what {pathlib.Path(__file__).name} draws")
            wrong = 1
    return wrong


if __name__ == "__main__":
    sys.exit(main())
