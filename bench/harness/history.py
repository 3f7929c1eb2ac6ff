"""What a push costs a controller that keeps its monitor lines, beside one that keeps none."""
from processes import arkivon
from roundtrip import compare, COMPARED, make_program
from table import Section

LINES = "5000"


def measure(binaries, directory, is_quick):
    section = Section(
        f"Monitor history: push to feedback without and with --monitor-history {LINES}, one core (us)", COMPARED
    )
    program = make_program(binaries, directory)

    def kinds(octet, core):
        options = ["--monitor-history", LINES]
        return {
            "arkivon": arkivon(binaries, directory, program, f"127.71.0.{octet}", core),
            "arkivon history": arkivon(binaries, directory, program, f"127.71.1.{octet}", core, options=options),
        }

    return compare(section, binaries, is_quick, kinds)
