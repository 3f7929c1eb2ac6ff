#!/usr/bin/env python3
"""Valid programs of the control language at random, each with a script of what happens to it. A seed always gives the
same program. A statement stands on a line of its own, so that lines can be dropped.

    generator.py SEED [wild]        wild: also what the reference interpreter does not know
"""
import random
import sys

NUMBER_TYPES = ("integer", "sinteger", "long", "slong", "char", "widechar", "double", "float")
ODD_NUMBERS = ("0", "1", "2", "3", "7", "-1", "-2.5", "0.4", "2.9999999999", "255", "256", "300", "65536", "4294967296",
               "1e-13", "1e15", "'A'", "''", "true")
TEXTS = ("''", "'A'", "'abc'", "'ABCABC'", "'12,34'", "'VOL=-12dB'", "'10:20:30'", "'02/29/00'", "'3.25V'", "'ff'", "'é'",
         "'%d'", "'%5.2f'", "'a?c'", "'it''s'", "'YWJjZA=='", "'the quick brown fox'")
# Arguments: n number, t text, v text variable, a array variable of numbers, * any number variable
NUMBER_CALLS = {
    "length_string": "t", "length_array": "a", "max_length_string": "v", "max_length_array": "a", "find_string": "ttn",
    "compare_string": "tt", "atoi": "t", "atol": "t", "atof": "t", "hextoi": "t", "type_cast": "*", "array_to_float": "t",
    "abs_value": "n", "max_value": "nn", "min_value": "nn", "sqrt_value": "n", "date_to_day": "t", "date_to_month": "t",
    "date_to_year": "t", "day_of_week": "t", "time_to_hour": "t", "time_to_minute": "t", "time_to_second": "t",
    "modbus_crc16": "t", "get_last": "a", "timeline_active": "i", "timeline_pause": "i", "timeline_restart": "i",
    "timeline_kill": "i", "get_master_build": "", "power_value": "nn"}
TEXT_CALLS = {
    "left_string": "tn", "right_string": "tn", "mid_string": "tnn", "lower_string": "t", "upper_string": "t",
    "remove_string": "vt", "get_buffer_char": "v", "get_buffer_string": "vn", "itoa": "n", "ftoa": "n", "itohex": "n",
    "raw_be": "*", "raw_le": "*", "float_to_array": "n", "double_to_array": "n", "md5_value": "t", "array_to_base64": "t",
    "base64_to_array": "t", "wc_to_ch": "t"}
WILD_CALLS = {
    "file_open": "fn", "file_close": "n", "file_read": "nvn", "file_read_line": "nvn", "file_write": "ntn",
    "file_write_line": "ntn", "file_seek": "nn", "file_copy": "ff", "file_delete": "f", "file_rename": "ff",
    "button_text": "dnn", "button_property": "dnt", "set_button_property": "dntn", "page_property": "dtt",
    "set_page_property": "dttn", "button_state_property": "dnnt", "set_virtual_channel_count": "dn", "exp_value": "n",
    "log_value": "n", "log10_value": "n", "sin_value": "n", "array_to_double": "t", 
    "bss_escape_cmd": "t", "bss_unescape_cmd": "t", "endless": "n"}
DEVICE_PARTS = (".number", ".port", ".channel", ".level")
PANELS = (10001, 10002)
SYSTEM_NAMES = ("const long get_timer = 0", "const integer push_channel = 0", "const integer get_pulse_time = 5",
                "const integer release_channel = 0", "const char false = 0")


class Generator:
    def __init__(self, seed, wild=False):
        self.random = random.Random(f"{seed} {wild}")
        self.wild = wild
        self.lines = []
        self.indent = 0
        self.names = 0
        self.variables = []     # (name, type) in sight; a type is a number type, "device" …, or (element type, size)
        self.structs = {}       # name: [(member, type)]
        self.functions = []     # (name, parameter types, result type) that may be called here
        self.routines = []
        self.wipers = []        # (function, array of devices or structures that it makes a number)
        self.depth = 0          # of statements in one another
        self.loops = 0          # around here, which break and continue may leave
        self.rounds = 0
        self.record = None      # the event's variable
        self.may_raise = False  # whether do_push and send_command may stand here
        self.result = None

    # Help

    def some(self, *choices):
        return self.random.choice(choices)

    def chance(self, percent):
        return self.random.randrange(100) < percent

    def name(self, prefix):
        self.names += 1
        return f"{prefix}{self.names}"

    def add(self, line):
        self.lines.append("    " * self.indent + line)

    def open(self, line):
        self.add(line)
        self.indent += 1

    def close(self):
        self.indent -= 1
        self.add("}")

    # Types and places

    def declared(self, name, kind):
        sizes = ""
        while isinstance(kind, tuple):
            sizes += f"[{kind[1] or ''}]"
            kind = kind[0]
        return f"{kind} {name}{sizes}"

    def any_type(self, depth=0):
        kind = self.random.randrange(20)
        if kind < 7:
            return self.some(*NUMBER_TYPES)
        if kind < 11:
            return ("char", self.some(0, 2, 5, 10, 20))
        if kind < 14:
            return (self.some("integer", "char", "sinteger", "double", "widechar"), self.some(2, 3, 5) if depth else
                    self.some(0, 1, 3, 5))
        if kind < 16:
            matrix = self.some("integer", "char", "double")
            for _ in range(self.some(2, 2, 3, 4)):
                matrix = (matrix, self.some(2, 3))
            return matrix
        if kind < 17 and self.structs:
            return self.some(*self.structs)
        if kind < 18 and self.structs and depth < 2:
            return (self.some(*self.structs), self.some(2, 3))
        return self.some("devchan", "devlev", "device" if depth else "devchan", ("devchan", 3), ("device", 3))

    def members(self, kind):
        if kind == "device":
            return [("number", "integer"), ("port", "integer")]
        if kind in ("devchan", "devlev"):
            return [("channel" if kind == "devchan" else "level", "integer"), ("device", "device")]
        return self.structs.get(kind, [])

    def index(self, size):
        kind = self.random.randrange(12)
        if kind < 7:
            return str(self.random.randint(1, size or 4))
        if kind == 7:
            return self.some("0", str((size or 4) + 1), "-1", "9", "2.5", "1.9999999999", "'A'")
        plain = [name for name, type_ in self.variables if type_ in NUMBER_TYPES and name.startswith("i")]
        if kind < 10 and plain:
            return self.some(*plain) + self.some("", "++", "--", " + 1")
        return self.number(3)

    def place(self, wanted):
        """(text, type) of a place whose type is wanted, in a variable found at random; None: there is none."""
        names = self.random.sample(self.variables, len(self.variables))
        for name, kind in names:
            text = name
            while not (wanted(kind) and (not isinstance(kind, tuple) or self.chance(80))):
                if isinstance(kind, tuple):
                    text += f"[{self.index(kind[1])}]"
                    kind = kind[0]
                elif self.members(kind):
                    member, kind = self.some(*self.members(kind))
                    text += "." + member
                else:
                    break
            else:
                return text, kind
        return None

    def number_place(self):
        return self.place(lambda kind: kind in NUMBER_TYPES) or ("gi", "integer")

    def text_place(self):
        return self.place(lambda kind: isinstance(kind, tuple) and kind[0] == "char") or ("gt", ("char", 20))

    # Expressions

    def number(self, depth=0):
        kind = self.random.randrange(24 if depth < 3 else 7)
        if kind < 3:
            return self.some(*ODD_NUMBERS)
        if kind < 7:
            return self.number_place()[0]
        if kind < 10:
            return f"({self.number(depth + 1)} {self.some('+', '-', '*', '/', '%', '&', '|', '^', '<<', '>>')} " \
                   f"{self.number(depth + 1)})"
        if kind < 12:
            return f"({self.number(depth + 1)} {self.comparison()} {self.number(depth + 1)})"
        if kind == 12:
            return f"({self.text(depth + 1)} {self.comparison()} {self.text(depth + 1)})"
        if kind == 13:
            return f"({self.some('-', 'not', '~')} {self.number(depth + 1)})"
        if kind < 17:
            return self.built_in(NUMBER_CALLS, depth + 1)
        if kind == 17 and self.functions:
            found = [function for function in self.functions if function[2] in NUMBER_TYPES]
            if found:
                return self.call(self.some(*found), depth + 1)
        if kind == 18:
            plain = [name for name, type_ in self.variables if type_ in NUMBER_TYPES]
            name = self.some(*plain, "gi")
            return self.some(f"{name}++", f"{name}--", f"(++{name})", f"(--{name})")
        if kind == 19:
            found = self.place(lambda type_: isinstance(type_, tuple) and type_[0] in NUMBER_TYPES)
            if found:
                return found[0]
        if kind == 20:
            return self.some("get_timer", "push_channel", "release_channel", "get_pulse_time", "push_devchan.channel",
                             "true", "date_to_year(date)", "time_to_second(time)")
        if kind == 21 and self.record:
            return self.some(*{"button": ("button.input.channel", "button.holdtime", "button.sourcedev.number",
                                          "button.input.device.port"),
                               "data": ("data.number", "data.device.number", "data.text", "data.text[1]"),
                               "level": ("level.value", "level.input.level", "level.sourcedev.number"),
                               "timeline": ("timeline.id", "timeline.sequence", "timeline.time",
                                            "timeline.repetition")}[self.record])
        if kind == 22:
            return f"[{self.device()}, {self.number(3)}]"
        return self.number_place()[0]

    def comparison(self):
        return self.some("=", "<>", "<", "<=", ">", ">=", "and", "or", "xor")

    def text(self, depth=0):
        kind = self.random.randrange(12 if depth < 3 else 5)
        if kind < 2:
            return self.some(*TEXTS)
        if kind < 5:
            return self.text_place()[0]
        if kind < 8:
            items = [self.some(self.text, self.number)(depth + 1) for _ in range(self.random.randint(1, 3))]
            return '("' + ", ".join(items) + '")'
        if kind < 10:
            return self.built_in(TEXT_CALLS, depth + 1)
        if self.record == "data" and kind == 10:
            return "data.text"
        found = [function for function in self.functions if function[2] == ("char", 0)]
        return self.call(self.some(*found), depth + 1) if found else self.text_place()[0]

    def built_in(self, table, depth):
        name = self.some(*table)
        arguments = [self.argument(letter, depth) for letter in table[name]]
        if name in ("mid_string", "find_string") and self.chance(40):
            arguments.pop()
        return f"{name}({', '.join(arguments)})"

    def argument(self, letter, depth):
        if letter == "n":
            return self.number(depth)
        if letter == "t":
            return self.text(depth)
        if letter == "v":
            return self.text_place()[0]
        if letter == "i":
            return self.some("1", "2", "3")
        if letter == "*":
            return self.some(self.number_place()[0], self.number(depth))
        if letter == "d":
            return self.device()
        if letter == "f":
            return self.some("'random-a.txt'", "'random-b.txt'", "'no/file'")
        found = self.place(lambda kind: isinstance(kind, tuple) and kind[0] in NUMBER_TYPES)
        return found[0] if found else "gt"

    def call(self, function, depth):
        name, parameters, _ = function
        return f"{name}({', '.join(self.value_of(kind, depth) for kind in parameters)})"

    def value_of(self, kind, depth=0):
        """An expression that can be assigned to a type."""
        if kind in NUMBER_TYPES:
            return self.text(depth) if self.chance(8) else self.number(depth)
        if kind == "device":
            return self.device(variables=True)
        if isinstance(kind, tuple) and self.chance(8):
            return self.number(depth)  # makes it one element long, whatever it was
        if isinstance(kind, tuple) and kind[0] == "char" and self.chance(90):
            return self.text(depth)
        same = self.place(lambda other: other == kind)
        if same and self.chance(80):
            return same[0]
        if isinstance(kind, tuple):
            if kind[0] in NUMBER_TYPES:
                other = self.place(lambda other: isinstance(other, tuple) and other[0] in NUMBER_TYPES)
                if other and self.chance(60):
                    return other[0]
                return "{" + ", ".join(self.some("1", "2", "300", "65") for _ in range(self.some(1, 2))) + "}"
            return self.default(kind)
        return self.default(kind)

    def default(self, kind):
        """A constant of a type."""
        if isinstance(kind, tuple):
            return "{%s}" % ", ".join(self.default(kind[0]) for _ in range(self.some(1, 1, 2)))
        if kind in NUMBER_TYPES:
            return self.some("1", "2", "60")
        return {"device": "dvA", "devchan": "{dvA, 3}", "devlev": "{dvB, 2}"}.get(kind) or "{%s}" % ", ".join(
            self.default(member) for _, member in self.structs[kind][:1])

    def device(self, variables=False):
        kind = self.random.randrange(10)
        if kind < 6:
            return self.some("dvA", "dvB", "dvRelay", "vdvRoom")
        if kind < 8 or variables:
            found = self.place(lambda type_: type_ == "device")
            if found:
                return found[0]
        return "dAll" if not variables else "dvA"

    def channels(self):
        kind = self.random.randrange(8)
        if kind == 0:
            return self.some("[dcOne]", "[dcAll]")
        if kind == 1:
            return f"[{self.device()}, {{{self.random.randint(1, 20)}, {self.random.randint(1, 20)}}}]"
        if kind == 2:
            return f"[(10000 + {self.random.randint(1, 2)}):(1):(0), {self.number(2)}]"
        return f"[{self.device()}, {self.random.randint(1, 20) if self.chance(80) else self.number(2)}]"

    # Statements

    def block(self, head, statements=None):
        self.open(head + " {")
        self.body(statements)
        self.close()

    def body(self, statements=None):
        known = len(self.variables)
        self.depth += 1
        if self.depth < 4 and self.chance(40):
            self.define()
        for _ in range(statements or self.random.randint(1, 4)):
            self.statement()
        self.depth -= 1
        del self.variables[known:]

    def define(self):
        for _ in range(self.random.randint(1, 2)):
            kind = self.any_type(1)
            name = self.name("i" if kind in NUMBER_TYPES else "l")
            if self.chance(6) and not any(other.startswith("i_") for other, _ in self.variables):
                name = "gi"  # hides the global
                if sum(other == "gi" for other, _ in self.variables) > 1 or kind not in NUMBER_TYPES:
                    continue
            word = self.some("stack_var ", "stack_var ", "local_var ", "", "local_var persistent ")
            if kind == "device" and word == "":
                word = "local_var "
            initial = ""
            if word == "stack_var " and self.chance(50) and (kind in NUMBER_TYPES or kind == ("char", 20)):
                initial = " = " + self.value_of(kind, 1)
            self.add(word + self.declared(name, kind) + initial)
            self.variables.append((name, kind))

    def statement(self):
        kinds = ["assign"] * 9 + ["step"] * 3 + ["show"] * 4 + ["call"] * 2 + ["change"] * 2 + ["device"] * 2
        if self.depth < 4:
            kinds += ["branch", "branch", "loop", "switch", "select", "wait", "wait"]
        if self.loops:
            kinds += ["leave"]
        if self.result is not None and self.chance(8):
            kinds += ["return"] * 3
        getattr(self, "statement_" + self.some(*kinds))()

    def assignable(self):
        """A place of any type, most of them in variables of several floors."""
        text, kind = self.some(*[entry for entry in self.variables])
        while self.chance(75):
            if isinstance(kind, tuple):
                text += f"[{self.index(kind[1])}]"
                kind = kind[0]
            elif self.members(kind):
                member, kind = self.some(*self.members(kind))
                text += "." + member
            else:
                break
        return text, kind

    def statement_assign(self):
        if self.chance(7):
            self.add(f"{self.deep()} = {self.random.randint(1, 99)}")
            return
        if self.wipers and self.chance(5):
            function, array = self.some(*self.wipers)
            members = [member for member, kind in self.members(dict(self.variables)[array][0]) if kind in NUMBER_TYPES]
            if members:
                self.add(f"{array}[{self.some(1, 2)}].{self.some(*members)} = abs_value({self.call(function, 2)}) % 1000")
                return
        text, kind = self.assignable()
        if kind in NUMBER_TYPES and self.chance(20):
            self.add(f"{text} {self.some('+=', '-=', '*=', '/=', '%=')} {self.number(1)}")
            return
        if text.endswith(DEVICE_PARTS):
            found = [function for function in self.functions if function[2] in NUMBER_TYPES]
            value = self.call(self.some(*found), 2) if found and self.chance(40) else str(self.random.randint(1, 20))
            self.add(f"{text} = abs_value({value}) % 1000")
            return
        self.add(f"{text} = {self.value_of(kind)}")

    def statement_step(self):
        text = self.number_place()[0]
        if not text.endswith(DEVICE_PARTS):
            self.add(text + self.some("++", "--"))

    def deep(self):
        """An element of rows in rows, inside the bounds: rows come into being when they are used."""
        return "gq" + "".join(f"[{self.some(1, 2)}]" for _ in range(4))

    def statement_show(self):
        if self.chance(15):
            self.add(f"send_string dvOut, \"{self.deep()}, {self.deep()}, {self.deep()}\"")
            return
        value = self.some(f"\"'{self.name('s')} ', itoa({self.number(1)})\"", self.text(), self.text())
        self.add(f"send_string dvOut, {value}")

    def statement_call(self):
        if self.wild and self.chance(40):
            self.add(f"{self.number_place()[0]} = {self.built_in(WILD_CALLS, 1)}")
        elif self.routines and self.chance(50):
            self.add("call " + self.call(self.some(*self.routines), 1))
        elif self.functions:
            self.add(self.call(self.some(*self.functions), 1))

    def statement_change(self):
        """What changes a variable or the program, by a built-in."""
        variable = self.text_place()[0]
        plain = self.some(*[name for name, kind in self.variables if kind in NUMBER_TYPES], "gi")
        timeline = f"timeline_create({self.some('1', '2', '3')}, {self.some('aTimes', 'aTimes', variable)}, " \
                   f"{self.some('1', '2', '3', '0')}, {self.some('0', '1')}, {self.some('0', '1')})"
        choices = [f"set_length_string({variable}, {self.number(2)} % 30)", f"clear_buffer {self.some('gt', 'gb')}",
                   f"save_var({self.some(*TEXTS[1:4])}, {self.some(plain, variable, self.number(2))})",
                   f"load_var({self.some(*TEXTS[1:4])}, {self.some(plain, plain, variable, self.number_place()[0])})",
                   timeline, timeline, f"set_pulse_time({self.some('1', '3', '0')})", "create_buffer dvB, gb",
                   f"remove_string({variable}, {self.text(2)}, 1)", f"set_length_array(gm, {self.some('0', '1', '2')})",
                   f"cancel_wait '{self.some('A', 'B')}'", "cancel_all_wait" if self.chance(30) else "gi++"]
        if self.chance(10):
            choices += ["delete_all_vars()", "create_level dvA, 3, gLevel", "combine_devices(vdvRoom, dvA)",
                        "uncombine_devices(vdvRoom, dvB)"]
        if self.may_raise:
            choices += ["do_push(dcOne)", "do_push(dcAll)"]
        self.add(self.some(*choices))

    def statement_device(self):
        kind = self.random.randrange(8)
        if kind < 4:
            self.add(f"{self.some('on', 'off', 'to', 'pulse')} {self.channels()}")
        elif kind == 4:
            self.add(f"{self.channels()} = {self.some(self.number(2), '{1, 0}', '{0, 1, 2}')}")
        elif kind == 5:
            self.add(f"send_level {self.some('dvA', 'dAll')}, {self.some('1', '{1, 2}')}, {self.number(2)}")
        elif kind == 6:
            self.add(f"send_level dlOne, {self.number(2)}")
        elif self.may_raise:
            self.add(f"send_command {self.device()}, {self.text(2)}")
        else:
            self.add(f"send_string {self.device()}, {self.some(self.text, self.number)(2)}")

    def statement_branch(self):
        self.block(f"if ({self.number(1)})")
        if self.chance(50):
            self.block("else")

    def statement_loop(self):
        if self.rounds >= 2:
            return
        loops, self.loops = self.loops, self.loops + 1
        self.rounds += 1
        counter = self.name("n")
        self.open("{")
        self.add(f"stack_var integer {counter} = 0")
        if self.chance(50):
            self.block(f"for ({counter} = 1; {counter} <= {self.some(2, 3)}; {counter}++)")
        else:
            self.open(f"while ({counter}++ < {self.some(2, 3)} and {self.number(2)} >= -100) {{")
            self.body()
            self.close()
        self.close()
        self.rounds -= 1
        self.loops = loops

    def statement_leave(self):
        self.block(f"if ({self.number(2)})", None) if self.chance(50) else None
        self.add(f"if ({self.number(2)}) {{ {self.some('break', 'continue')} }}")

    def statement_switch(self):
        value = self.some(self.number, self.text)(1)
        self.open(f"switch ({value}) {{")
        for label in self.random.sample(("1", "2", "65", "'abc'", "''", "'é'", "255"), self.random.randint(1, 3)):
            self.block(f"case {label}:")
        if self.chance(60):
            self.block("default:")
        self.close()

    def statement_select(self):
        self.open("select {")
        for _ in range(self.random.randint(1, 3)):
            self.block(f"active ({self.number(1)}):")
        self.close()

    def statement_wait(self):
        name = self.some("", "", "'A' ", "'B' ")
        captured = self.some("", "", "capture (gi) ", "capture (gi, gt) ", "capture (gm, gp) ")
        loops, self.loops = self.loops, 0
        result, self.result = self.result, None
        self.block(f"wait {self.some('1', '2', '3', '0', '-1', self.number(3) + ' % 9')} {name}{captured}".rstrip())
        self.loops, self.result = loops, result

    def statement_return(self):
        self.add(f"if ({self.number(2)}) {{ return {self.value_of(self.result)} }}" if self.result else "return")

    # Programs

    def program(self):
        self.add(f"program 'random'")
        for line in ("device dvOut = 1:1:0", "device dvA = 10001:1:0", "device dvB = 10002:1:0",
                     "device dvRelay = 5001:9:0", "device vdvRoom = 33000:1:0", "combine (vdvRoom, dvA, dvB)",
                     "volatile device dAll[3] = {dvA, dvRelay}", "volatile device dvLast", "device dFixed[] = {dvA, dvB}", "devchan dcOne = {dvA, 3}",
                     "devchan dcAll[3] = {{dvA, 4}, {dvB, 2}}", "devlev dlOne = {dvA, 1}", "integer gi = 2",
                     "char gt[20] = 'abc'", "char gb[12]", "integer gm[3][3] = {{1, 2}, {3}}", "persistent integer gp = 1", "integer gq[2][2][2][2]",
                     "integer gLevel", "level [dvA, 2] gLevel", "exclusive [dvA, 11..13]", "exclusive [dvB, {2, 5}]",
                     "exclusive [dvRelay, 1..2]", "integer gDepth", "long aTimes[3] = {30, 100, 170}"):
            self.add(line)
        if self.chance(8):
            self.add(self.some(*SYSTEM_NAMES))
        self.variables += [("gi", "integer"), ("gt", ("char", 20)), ("gb", ("char", 12)), ("gp", "integer"),
                           ("gm", (("integer", 3), 3)), ("gLevel", "integer"), ("dAll", ("device", 3)), ("dvLast", "device"),
                           ("dcOne", "devchan"), ("dcAll", ("devchan", 3)), ("dlOne", "devlev")]
        for _ in range(self.random.randint(0, 3)):
            name = self.name("S")
            members = [(self.name("m"), self.any_type(1)) for _ in range(self.random.randint(1, 4))]
            self.add("struct %s { %s }" % (name, "  ".join(self.declared(*member) for member in members)))
            self.structs[name] = members
        for _ in range(self.random.randint(3, 10)):
            kind = self.any_type()
            name = self.name("i" if kind in NUMBER_TYPES else "g")
            initial = ""
            if kind in NUMBER_TYPES and self.chance(50):
                initial = f" = {self.random.randint(0, 100)}"
            elif isinstance(kind, tuple) and kind[0] in ("integer", "double") and self.chance(60) and kind[1] != 1:
                initial = " = {1, 2}"
            word = self.some("", "", "", "volatile ", "persistent ", "non_volatile ")
            if isinstance(kind, tuple) and kind[0] == "device":
                word = "volatile "
            self.add(word + self.declared(name, kind) + initial)
            self.variables.append((name, kind))
        # Last first: a function calls those that stand below it, and itself down to a depth.
        texts = []
        for _ in range(self.random.randint(2, 4)):
            self.lines, before = [], self.lines
            self.function()
            texts.insert(0, self.lines)
            self.lines = before
        self.lines += [line for text in texts for line in text]
        if self.wild:
            self.add("function Endless(integer n) {")
            self.add("    Endless(n + 1)")
            self.add("}")
            self.functions.append(("endless", ["integer"], None))
        self.handlers()
        self.script()
        return "\n".join(self.lines) + "\n"

    def function(self):
        name = self.name("F")
        parameters = [(self.name("p"), self.parameter_type()) for _ in range(self.random.randint(0, 3))]
        self.variables += parameters
        result = self.some(None, *NUMBER_TYPES, "integer", ("char", 0), ("char", 0))
        head = ", ".join(self.declared(*parameter) for parameter in parameters)
        if result is None:
            self.open(f"routine {name}({head}) {{")
            self.routines_after = (name, [kind for _, kind in parameters], None)
        else:
            self.open(f"function {'char[]' if isinstance(result, tuple) else result} {name}({head}) {{")
        self.result = result or ""
        if self.chance(30):
            # Itself, three deep at most.
            own = (name, [kind for _, kind in parameters], result)
            self.add("gDepth++")
            self.open("if (gDepth < 4) {")
            call = self.call(own, 2)
            self.add(f"call {call}" if result is None else f"{self.some('gt = ', 'gi = ', '')}{call}")
            self.close()
            self.add("gDepth--")
        self.open("{")
        self.body(self.random.randint(2, 4))
        self.close()
        arrays = [other for other, kind in self.variables if isinstance(kind, tuple) and self.members(kind[0])]
        if result in NUMBER_TYPES and arrays and self.chance(25):
            array = self.some(*arrays)
            self.add(f"{array} = {self.number(2)}")
            if array.startswith(("d", "g")):
                self.wipers.append(((name, [kind for _, kind in parameters], result), array))
        if result and self.chance(85):
            self.add(f"return {self.value_of(result)}")
        self.result = None
        self.close()
        if parameters:
            del self.variables[-len(parameters):]
        (self.functions if result else self.routines).append((name, [kind for _, kind in parameters], result))

    def parameter_type(self):
        kind = self.any_type(1)
        if isinstance(kind, tuple) and not isinstance(kind[0], tuple) and self.chance(60):
            return (kind[0], 0)
        return kind

    def handler(self, head, record, may_raise=False):
        self.record, self.may_raise = record, may_raise
        self.result = ""
        self.block(head, self.random.randint(2, 5))
        self.record, self.may_raise, self.result = None, False, None

    def handlers(self):
        self.handler("start", None, True)
        if self.chance(30):
            self.open("mainline {")
            self.handler("", None, True)
            self.close()
        for _ in range(self.random.randint(1, 3)):
            self.open(f"button_event {self.some('[dvA, {1, 3}]', '[vdvRoom, 2]', '[dcAll]', '[dvB, 0]', '[dAll, gi]')} {{")
            for part in self.random.sample(("push:", "release:", "hold [2]:", "hold [1, repeat]:"), self.some(1, 2)):
                self.handler(part, "button")
            self.close()
        self.open(f"data_event {self.some('[dvB]', '[dvA], [dvB]', '[dFixed]', '[vdvRoom]')} {{")
        for part in self.random.sample(("online:", "offline:", "string:", "command:", "onerror:"), self.some(2, 3)):
            self.handler(part, "data", part == "string:")
        self.close()
        if self.chance(60):
            self.handler(f"level_event {self.some('[dvA, 2]', '[dvB, 0]', '[dlOne]')}", "level", True)
        if self.chance(60):
            self.handler(f"timeline_event {self.some('[1]', '[gi]', '[2], [3]')}", "timeline", True)

    def script(self):
        for _ in range(self.random.randint(5, 14)):
            panel = self.some(*PANELS)
            self.lines.append("//! " + self.some(
                f"push {panel} {self.some(1, 2, 3, 4, 5)}", f"push {panel} {self.some(1, 2, 3, 4)}",
                f"release {panel} {self.some(1, 2, 3)}", f"level {panel} {self.some(1, 2, 3)} {self.some(0, 7, 255, 300)}",
                f"tick {self.some(10, 50, 100, 130, 300, 500, 1000)}", f"tick {self.some(100, 200, 1000)}",
                f"string 10002:1:0 {self.some('abc', '12,34', 'the quick brown fox', 'A')}", f"online {panel}:1:0",
                f"offline {panel}:1:0", "error 10002:1:0 6", f"state {self.some(0, 1)}", "reload", "mainline"))


if __name__ == "__main__":
    print(Generator(sys.argv[1], sys.argv[2:] == ["wild"]).program(), end="")
