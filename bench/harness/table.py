"""The printed table: rows of texts in columns as wide as they need to be, and the verdicts below."""


class Section:
    """One part of the table. Owns its rows and verdicts; print() shows both."""

    def __init__(self, title, columns):
        self._title = title
        self._rows = [columns]
        self._verdicts = []

    def row(self, *cells):
        self._rows.append([str(cell) for cell in cells])

    def verdict(self, holds, text):
        self._verdicts.append((holds, text))

    def holds(self):
        return all(holds for holds, _ in self._verdicts)

    def print(self):
        widths = [max(len(row[at]) for row in self._rows) for at in range(len(self._rows[0]))]
        print(f"\n{self._title}")
        for number, row in enumerate(self._rows):
            first = row[0].ljust(widths[0])
            rest = (cell.rjust(width) for cell, width in zip(row[1:], widths[1:]))
            print("  " + "  ".join([first, *rest]))
            if number == 0:
                print("  " + "  ".join("-" * width for width in widths))
        for holds, text in self._verdicts:
            print(f"  {'holds' if holds else 'MISSED'}: {text}", flush=True)
