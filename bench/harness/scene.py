"""What a push costs whose handler changes ten buttons, beside one that changes one."""
from processes import arkivon
from roundtrip import compare, COMPARED, make_program
from table import Section


def measure(binaries, directory, is_quick):
    section = Section("Scene: push to last feedback, one and ten feedbacks a push, one core (us)", COMPARED)
    programs = {name: make_program(binaries, directory, source) for name, source in
                {"1 feedback": "roundtrip", "10 feedbacks": "scene"}.items()}

    def kinds(octet, core):
        return {name: arkivon(binaries, directory, program, f"127.71.{number}.{octet}", core)
                for number, (name, program) in enumerate(programs.items())}

    return compare(section, binaries, is_quick, kinds)
