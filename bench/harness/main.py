"""Measures the asked-for sections and prints them. Ends with 0 when all bars hold, 1 when one is missed or fails."""
import pathlib
import sys
import tempfile

import history
import language
import loading
import roundtrip
import scene
import sockets
import transfer
import web
from processes import Failed

SECTIONS = {"language": language, "roundtrip": roundtrip, "sockets": sockets, "loading": loading, "transfer": transfer,
            "web": web, "history": history, "scene": scene}
USAGE_STATUS = 2


def main(arguments):
    names = [name for name in arguments[1:] if name != "--quick"]
    unknown = [name for name in names if name not in SECTIONS]
    if not arguments or unknown:
        print(f"run.sh: unknown section {', '.join(unknown)}; there are {', '.join(SECTIONS)}", file=sys.stderr)
        return USAGE_STATUS
    all_hold = True
    with tempfile.TemporaryDirectory(prefix="arkivon-bench-") as directory:
        for name in names or SECTIONS:
            try:
                section = SECTIONS[name].measure(pathlib.Path(arguments[0]), directory, "--quick" in arguments)
            except Failed as error:
                print(f"\n{name} could not be measured: {error}")
                all_hold = False
                continue
            section.print()
            all_hold = all_hold and section.holds()
    return 0 if all_hold else 1


sys.exit(main(sys.argv[1:]))
