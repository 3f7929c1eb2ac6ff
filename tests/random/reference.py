#!/usr/bin/env python3
"""A second definition of the control language: what a program must do, written for reading instead of for speed.

Plays a program in the source form with its script, the lines "//! …", in virtual time and gives the lines that the
runtime must give too. What is not defined here (panels' answers, files, sockets) raises NotDefined.

    reference.py PROGRAM.src
"""
import calendar
import sys
from datetime import datetime, timedelta

import source
from built_ins import Builtins
from values import Array, Device, Number, Struct, Values, number_of, text_value, whole, wrapped

SYSTEM_CONSTANTS = {
    "FIRST_VIRTUAL_DEVICE": 32768, "FIRST_LOCAL_PORT": 2, "TRUE": 1, "FALSE": 0, "TIMELINE_RELATIVE": 1,
    "TIMELINE_ABSOLUTE": 0, "TIMELINE_ONCE": 0, "TIMELINE_REPEAT": 1, "IP_TCP": 1, "IP_UDP": 2, "IP_UDP_2WAY": 3,
    "DO_PUSH_TIMED_INFINITE": 65535, "LOG_ERROR": 1, "LOG_WARNING": 2, "LOG_INFO": 3, "LOG_DEBUG": 4,
    "PUSH_CHANNEL": 0, "RELEASE_CHANNEL": 0, "GET_PULSE_TIME": 5, "GET_TIMER": 0}
SYSTEM_TYPES = {"TRUE": "CHAR", "FALSE": "CHAR", "IP_TCP": "CHAR", "IP_UDP": "CHAR", "IP_UDP_2WAY": "CHAR", "GET_TIMER": "LONG"}
ACTIONS = {0: "off", 1: "on", 2: "pulse", 3: "to"}
MOST_STEPS = 200_000


class NotDefined(Exception):
    """The program does something that the reference does not know."""


class NoIndex(Exception):
    pass


class Break(Exception):
    pass


class Continue(Exception):
    pass


class Return(Exception):
    def __init__(self, value):
        super().__init__()
        self.value = value


def same_number(a, b):
    """Equality of numbers: to about one part in 1e12, the numbers taken one further from zero."""
    a, b = a + 1, b + 1
    return abs(a - b) * 1e12 <= min(abs(a), abs(b))


def is_zero(x):
    return same_number(x, 0)


def truth_of_text(data):
    return data[:1] not in (b"", b"\0")


class Clock:
    """Virtual milliseconds and what falls due; of jobs due together the one that was made first runs first."""

    def __init__(self):
        self.now = 0
        self.jobs = {}  # ticket: [due, period or 0, job]
        self.tickets = 0

    def add(self, delay, job, period=0):
        self.tickets += 1
        self.jobs[self.tickets] = [self.now + delay, period, job]
        return self.tickets

    def every(self, period, job):
        return self.add(period, job, period)

    def advance(self, ms):
        end = self.now + ms
        while True:
            due, ticket = min(((entry[0], ticket) for ticket, entry in self.jobs.items()), default=(end + 1, 0))
            if due > end:
                break
            self.now = due
            entry = self.jobs[ticket]
            if entry[1]:
                entry[0] += entry[1]
            else:
                del self.jobs[ticket]
            entry[2]()
        self.now = end


class Interpreter(Builtins, Values):
    """One run of a program: from its load to the next."""

    def __init__(self, program, clock, stores, channel_state):
        Values.__init__(self, program.types)
        self.program, self.clock, self.stores = program, clock, stores
        self.lines = []
        self.steps = 0
        self.globals = {}
        self.scope = None        # the local variables in sight, in the order of their definition
        self.kept = {}           # values of local_var, by definition and name
        self.in_loop = False
        self.wait_names = {}     # names that unnamed waits got, by statement
        self.waits = {}          # pending: name -> [ticks, captured, locals, body, order]
        self.wait_count = 0
        self.timelines = {}      # id -> Timeline
        self.levels = []         # (address, level, variable)
        self.levels_quiet = False
        self.combinations = []
        self.buffers = {}        # address -> variable
        self.overflowed = set()
        self.held = None         # [device, channel, ticks, ticket] of the button that is down
        self.held_by_to = []     # (device, channel) of panels
        self.pulse_ms = 500
        self.tenths = 0
        self.event = None        # (kind, address, number) that is being handled
        self.channel_state = channel_state
        self.load()

    # Load

    def load(self):
        for name, x in SYSTEM_CONSTANTS.items():
            self.declare(name, Number(SYSTEM_TYPES.get(name, "INTEGER"), float(x)), ["CONST"])
        for name, text in (("NULL_STR", ""), ("LANGUAGE_VERSION", "1.62"), ("DATE", " " * 8), ("TIME", " " * 8),
                           ("DAY", " " * 3)):
            self.declare(name, text_value(text.encode()), ["CONST"])
        for name in ("PUSH_DEVCHAN", "RELEASE_DEVCHAN"):
            self.declare(name, self.make("DEVCHAN"), ["CONST"])
        self.declare("DYNAMIC_VIRTUAL_DEVICE", Device(address=(36864, 1, 0)), ["CONST"])
        self.system = set(self.globals)
        self.types = {name: [(member, kind, [size and int(self.constant(size)) for size in sizes])
                             for member, kind, sizes in members] for name, members in self.program.types.items()}
        self.tick_second()
        waiting = list(self.program.globals)
        for _ in range(len(waiting) + 1):  # initial values may name constants that stand further down
            waiting = [variable for variable in waiting if not self.try_declare(variable)]
        if waiting:
            raise NotDefined(f"initial value of {waiting[0][0]}")
        for group in self.program.combinations:
            self.combine([device for item in group for device in self.devices_of(item)])
        for items, variable in self.program.levels:
            device, (level,) = self.channels_of(items)[0][0], self.channels_of(items)[0][1:]
            self.levels.append((device, level, variable))
        self.groups = []
        for device, channels in self.program.exclusives:
            is_range = isinstance(channels[0], tuple)
            numbers = [whole(self.numeric(e)) for e in channels] if is_range else sorted(self.numbers_in(channels))
            self.groups.append((self.evaluate(device).address, is_range, numbers))
        for name, value in self.globals.items():
            if name in self.stores.get(value.storage, {}):
                self.restore(value, self.stores[value.storage][name])
        self.begin = self.clock.now
        self.ticking = set()
        self.tick(100, self.tick_tenth)
        self.tick(1000, self.tick_second)
        self.tick(100, self.tick_waits)
        self.run_body(self.program.start)

    def tick(self, period, job):
        """Runs a job again and again, in step with the load. The rules leave open which of two jobs due together comes
        first: it is the one that was needed first."""
        if job.__name__ not in self.ticking:
            self.ticking.add(job.__name__)
            self.clock.add(period - (self.clock.now - self.begin) % period, job, period)

    def try_declare(self, variable):
        name, kind, sizes, initial, words = variable
        try:
            sizes = [None if size is None else whole(self.constant(size)) for size in sizes]
            initial = initial and self.constant_value(initial)
        except KeyError:
            return False
        value = self.make(kind, sizes)
        self.fill_first_rows(value)
        if initial is not None:
            self.initialise(value, initial)
        self.declare(name, value, words + (["CONST"] if kind == "DEVICE" and not words else []))
        return True

    def declare(self, name, value, words):
        value.name = name
        value.constant = "CONST" in words
        value.storage = next((word for word in words if word in source.STORAGE), "VOLATILE")
        self.globals[name] = value

    def fill_first_rows(self, value):
        """A matrix of the top level begins with its first row."""
        if isinstance(value, Array) and value.is_matrix():
            value.length = 1
            self.fill_first_rows(value.first())
        elif isinstance(value, Struct):
            for member in value.members.values():
                self.fill_first_rows(member)

    def initialise(self, value, initial):
        if isinstance(initial, Array) and isinstance(value, Array):
            for index in range(1, initial.length + 1):
                item = self.element(value, index) if value.size else None
                if item is None:
                    item = self.cleared(value.first().copy()) if value.first() else self.make(value.kind)
                    value.items[index] = item
                self.initialise(item, initial.items[index])
            value.length = initial.length
        elif isinstance(initial, Array) and isinstance(value, Struct) and not isinstance(value, Device):
            for (name, _, _), item in zip(self.types[value.kind], initial.items.values()):
                self.initialise(value.members[name], item)
        else:
            self.assign(value, initial)

    def constant(self, expression):
        number = number_of(self.constant_value(expression))
        if number is None:
            raise KeyError(expression)
        return number

    def constant_value(self, expression):
        """Constants are worked out before anything runs. KeyError: not one, or not yet."""
        if expression[0] == "list":
            return self.list_value([self.constant_value(item) for item in expression[1]])
        if expression[0] == "variable" and not self.globals[expression[1]].constant:
            raise KeyError(expression[1])
        if expression[0] in ("call", "step", "element", "member", "state"):
            raise KeyError(expression[0])
        for field in expression[1:]:
            for part in field if isinstance(field, list) else [field]:
                if isinstance(part, tuple):
                    self.constant_value(part)
        return self.evaluate(expression)

    @staticmethod
    def list_value(values):
        array = Array("DOUBLE", len(values))
        array.length = len(values)
        array.items = dict(enumerate(values, 1))
        return array

    def restore(self, value, record):
        """A stored value into a variable; what a record lacks stays."""
        if isinstance(value, Number):
            value.x = record.x
        elif isinstance(value, Device):
            value.set(record.address)
        elif isinstance(value, Array):
            value.size, value.length = record.size, record.length
            for index, item in record.items.items():
                value.items.pop(index, None) if isinstance(item, Array) else None
                value.store(index, item.copy())
        else:
            for name, member in record.members.items():
                value.members[name] = member.copy()

    def save(self, value):
        if value.storage != "VOLATILE" and value.name and not value.local:
            self.stores.setdefault(value.storage, {})[value.name] = self.record_of(value)

    def record_of(self, value):
        """What a store keeps of a value: of an array the elements up to its length."""
        record = value.copy()
        if isinstance(value, Array):
            record.size = value.size
            record.items = {i: self.record_of(self.element(record, i)) for i in range(1, value.length + 1)}
        elif isinstance(value, Struct) and not isinstance(value, Device):
            record.members = {name: self.record_of(member) for name, member in value.members.items()}
        return record

    # Messages

    def error(self, text):
        self.lines.append("error: " + text)

    def warning(self, text):
        self.lines.append("warning: " + text)

    # Names and places

    def find(self, name):
        if self.scope is not None and name in self.scope:
            return self.scope[name]
        return self.globals.get(name)

    def walk(self, expression, element):
        """(what holds it, the stored value) that a variable, an element or a member names: base first, then index. What
        is not there is None; NoIndex: an index is no number, and what stands behind it is not looked at."""
        if expression[0] == "element":
            _, array = self.walk(expression[1], element)
            index = self.numeric(expression[2])
            if index is None:
                raise NoIndex
            return array, element(array, whole(index)) if isinstance(array, Array) else None
        if expression[0] == "member":
            _, base = self.walk(expression[1], element)
            return base, base.members.get(expression[2]) if isinstance(base, Struct) else None
        return None, self.find(expression[1]) if expression[0] == "variable" else None

    def place(self, expression):
        """The stored value for writing, or None."""
        try:
            return self.walk(expression, self.element)[1]
        except NoIndex:
            return None

    def stored(self, expression):
        """The same for reading: a number that was never written is not made."""
        try:
            return self.walk(expression, self.peek)[1]
        except NoIndex:
            return None

    def set_number(self, target, x):
        super().set_number(target, x)
        if target.name and not self.levels_quiet:
            variable = self.globals.get(target.name)
            if not isinstance(variable, Number) or variable.constant:
                return
            for device, level, name in list(self.levels):
                if name == target.name and level:
                    for address in self.expanded(device):
                        self.say("level", address, level, wrapped(whole(x), 32, True))

    # Expressions

    def evaluate(self, e):
        """A value of its own, or None."""
        kind = e[0]
        if kind in ("variable", "element", "member"):
            if kind == "variable" and self.find(e[1]) is None:
                raise NotDefined("name " + e[1])
            value = self.stored(e)
            return None if value is None else value.copy()
        if kind == "value":
            return e[1]
        if kind == "text":
            return text_value(e[1])
        if kind in ("bytes", "list"):
            if kind == "list":
                try:
                    return self.constant_value(e)
                except KeyError:
                    pass
            return text_value(bytes(whole(x) & 255 for x in self.flattened(e[1])))
        if kind == "device":
            return Device(address=[int(part) for part in e[1:]])
        if kind == "address":
            parts = [self.numeric(part) for part in e[1]]
            return Device(address=[default if part is None else whole(part) for part, default in zip(parts, (0, 1, 0))])
        if kind == "call":
            value = self.call(e[1], e[2])
            if value is None:
                self.warning(f"Function {e[1]} has no return value")
                value = Number("DOUBLE")
            return value
        return Number("DOUBLE", self.number(e))

    def flattened(self, expressions):
        numbers = []
        for expression in expressions:
            value = self.evaluate(expression)
            if isinstance(value, Number):
                numbers.append(value.x)
            elif isinstance(value, Array):
                items = (value.items.get(i) for i in range(1, value.length + 1))
                numbers += [item.x for item in items if isinstance(item, Number)]
        return numbers

    def numeric(self, e):
        """The number that an expression counts as; None: it is no number."""
        if e[0] in ("variable", "element", "member"):
            return number_of(self.stored(e))
        if e[0] == "text":
            return float(wrapped(e[1][0], 8, True)) if e[1] else 0.0
        if e[0] in ("bytes", "list"):
            numbers = self.flattened(e[1])
            return (float(wrapped(whole(numbers[0]), 8, False)) if e[0] == "bytes" else numbers[0]) if numbers else 0.0
        if e[0] in ("device", "address", "call", "value"):
            return number_of(self.evaluate(e))
        return self.number(e)

    def number(self, e):
        kind = e[0]
        if kind == "number":
            return e[1]
        if kind == "minus":
            x = self.numeric(e[1])
            if x is None:
                self.error("Wrong unary minus expression")
                return 0.0
            return 0.0 - x
        if kind == "bnot":
            x = self.numeric(e[1])
            if x is None:
                self.error("Wrong bnot expression")
                return 0.0
            return float(~whole(x))
        if kind == "not":
            return float(whole(self.numeric(e[1]) or 0.0) == 0)
        if kind == "step":
            return self.step(e, self.find(e[3][1]))
        if kind == "state":
            return float(self.state_of(e[1]))
        if kind == "compare":
            return float(self.compared(e[1], e[2], e[3]))
        if kind == "calc":
            left = self.numeric(e[2])
            right = self.numeric(e[3]) if left is not None else None
            if right is None:
                self.error("Wrong expression")
                return 0.0
            return self.calculated(e[1], left, right)
        raise NotDefined(kind)

    def calculated(self, operator, left, right):
        if operator in "+-*":
            with_floats = {"+": float.__add__, "-": float.__sub__, "*": float.__mul__}
            return with_floats[operator](left, right)
        if operator == "/":
            if is_zero(right):
                self.error("Divided by 0")
                return 0.0
            return left / right
        a, b = whole(left), whole(right)
        if operator == "%":
            if b == 0:
                self.error("Divided by 0")
                return 0.0
            return float(abs(a) % abs(b) * (-1 if a < 0 else 1))
        if operator == "&":
            return float(a & b)
        if operator == "|":
            return float(a | b)
        if operator == "^":
            return float(a ^ b)
        count = b & 255
        if operator == ">>":
            return float(a >> min(count, 63))
        return float(wrapped(a << count, 64, True)) if count < 64 else 0.0

    def step(self, e, variable):
        before = variable.x
        self.set_number(variable, before + (1 if e[1] == "+" else -1))
        self.save(variable)
        return variable.x if e[2] == "before" else before

    def compared(self, operator, left_side, right_side):
        left, right = self.evaluate(left_side), self.evaluate(right_side)
        if isinstance(left, Array) and isinstance(right, Array) and left.kind in ("CHAR", "WIDECHAR"):
            a, b = left.bytes(), right.bytes()
            if operator in ("and", "or", "xor"):
                a, b = truth_of_text(a), truth_of_text(b)
            elif operator in ("<", "<=", ">", ">="):
                a, b = a.split(b"\0")[0], b.split(b"\0")[0]
            equal = a == b
        else:
            a, b = number_of(left) or 0.0, number_of(right) or 0.0
            equal = same_number(a, b)
            if operator in ("and", "or", "xor"):
                a, b = not is_zero(a), not is_zero(b)
        return {"=": equal, "<>": not equal, "<": a < b, ">": a > b, "<=": a < b or equal, ">=": a > b or equal,
                "and": a and b, "or": a or b, "xor": a != b}[operator]

    def holds(self, condition, message):
        """Whether a condition holds; None, after the message, when it is no number."""
        x = self.numeric(condition)
        if x is None:
            self.error(message)
            return None
        return whole(x) != 0

    # Calls

    def call(self, name, arguments):
        function = self.program.functions.get(name.upper())
        if function is None:
            return self.call_builtin(name.upper(), arguments)
        value = self.call_body(function, arguments)
        if value is None or function.result is None:
            return value
        kind, is_array = function.result
        if value.kind == kind:
            return value  # also an array for a number, and a number for an array
        result = Array(kind) if is_array else self.make(kind)
        self.assign(result, value)
        return result

    def call_body(self, callable_, arguments):
        self.count_step()
        scope = {}
        for (kind, name, sizes), argument in zip(callable_.parameters, arguments):
            parameter = self.make(kind, [size and whole(self.numeric(size)) for size in sizes])
            self.assign(parameter, self.source_of(argument))
            parameter.name = name
            parameter.local = True
            scope[name] = parameter
        outer, self.scope = self.scope, scope
        try:
            self.execute(callable_.body)
        except Return as result:
            return result.value
        except (Break, Continue):
            pass
        finally:
            self.scope = outer
        return None

    def source_of(self, e):
        """What an assignment copies from: a stored value itself, else a fresh one."""
        return self.stored(e) if e[0] in ("variable", "element", "member") else self.evaluate(e)

    # Statements

    def count_step(self):
        self.steps += 1
        if self.steps > MOST_STEPS:
            raise NotDefined("a program that runs for long")

    def execute(self, statement):
        self.count_step()
        getattr(self, "execute_" + statement[0])(*statement[1:], **({"key": id(statement)} if statement[0] in
                                                                    ("define", "wait") else {}))

    def run_body(self, body, scope=None):
        """The body of a handler, wait or block of the top level, with the local variables that it sees."""
        if body is None:
            return
        outer, self.scope = self.scope, scope
        try:
            self.execute(body)
        except (Break, Continue, Return):
            pass
        finally:
            self.scope = outer

    def execute_block(self, statements):
        outer = self.scope
        if self.scope is None:
            self.scope = {}
        scope, known = self.scope, set(self.scope)
        try:
            for statement in statements:
                self.execute(statement)
        finally:
            for name in set(scope) - known:
                del scope[name]
            self.scope = outer

    def execute_define(self, variables, key):
        for name, kind, sizes, initial, words in variables:
            numbers = [size and self.numeric(size) for size in sizes]
            if any(number is not None and abs(number - whole(number)) >= 1e-7 for number in numbers):
                self.error("Wrong array index")
                self.error("Wrong array defination")
                continue
            value = self.make(kind, [None if number is None else whole(number) for number in numbers])
            if "STACK_VAR" not in words:
                value = self.kept.setdefault((key, name), value)
            value.name = name
            value.local = True
            self.scope[name] = value
            if initial is not None:
                self.execute_assign(("variable", name), initial)

    def execute_assign(self, target, value):
        if target[0] == "state":
            self.assign_channels(target[1], value)
        elif target[0] == "element":
            try:
                array, item = self.walk(target, self.element)
            except NoIndex:
                return
            new = self.source_of(value)  # also for an element that is not there
            if item is not None:
                self.assign(item, new)
                self.save_around(target, array)
        else:
            place = self.place(target)
            if place is None:
                return
            self.assign(place, self.source_of(value))
            if target[0] == "variable":
                self.save(place)

    def save_around(self, target, array):
        """After an element has changed: its array, and the variable that all of it stands in."""
        self.save(array)
        while target[0] == "element":
            target = target[1]
        if target[0] == "variable" and self.find(target[1]) is not array:
            self.save(self.find(target[1]))

    def execute_step(self, sign, order, operand):
        try:
            array, variable = self.walk(operand, self.element)
        except NoIndex:
            return
        if isinstance(variable, Number):
            self.set_number(variable, variable.x + (1 if sign == "+" else -1))
            self.save(variable)
            if isinstance(array, Array):
                self.save_around(operand, array)

    def execute_call(self, name, arguments):
        self.call(name, arguments)

    def execute_routine(self, name, arguments):
        self.call_body(self.program.routines[name.upper()], arguments)

    def execute_if(self, condition, then, otherwise):
        holds = self.holds(condition, "Wrong if condition")
        branch = {True: then, False: otherwise, None: None}[holds]
        if branch:
            self.execute(branch)

    def execute_while(self, condition, body):
        self.in_loop = True
        try:
            while self.holds(condition, "Wrong while condition"):
                try:
                    self.execute(body)
                except Continue:
                    pass
        except Break:
            pass
        finally:
            self.in_loop = False

    def execute_for(self, first, condition, steps, body):
        self.in_loop = True
        try:
            for statement in first:
                self.execute(statement)
            while self.holds(condition, "Wrong for condition"):
                try:
                    self.execute(body)
                except Continue:
                    pass
                for statement in steps:
                    self.execute(statement)
        except Break:
            pass
        finally:
            self.in_loop = False

    def execute_switch(self, value, cases):
        value = self.evaluate(value) if cases else None
        if value is None:
            return
        chosen = next((body for label, body in cases if label and self.matches(value, self.constant_value(label))), None)
        chosen = chosen or next((body for label, body in cases if label is None), None)
        try:
            if chosen:
                self.execute(chosen)
        except Break:
            pass

    @staticmethod
    def matches(value, label):
        if isinstance(value, Number):
            if isinstance(label, Number):
                return same_number(value.x, label.x)
            text = label.bytes().decode()
            return len(text) == 1 and same_number(value.x, ord(text))
        if isinstance(value, Array):
            wanted = bytes([whole(label.x) & 255]) if isinstance(label, Number) else label.bytes()
            return value.bytes() == wanted
        return False

    def execute_select(self, branches):
        for condition, body in branches:
            holds = self.holds(condition, "Wrong active condition")
            if holds:
                self.execute(body)
            if holds is not False:
                return

    def execute_break(self):
        raise Break

    def execute_continue(self):
        raise Continue

    def execute_return(self, value):
        raise Return(value and self.evaluate(value))

    # Waits

    def execute_wait(self, time, name, captured, body, key):
        name = self.wait_names.get(key, name)
        if not name or self.in_loop and captured:
            self.wait_count += 1
            name = self.wait_names[key] = f"{{{self.wait_count:09}"  # behind all names of people, in order
        ticks = self.numeric(time)
        if ticks is None:
            self.error("Wrong wait time expression")
            return
        if whole(ticks) < 0 or name in self.waits:
            return
        self.wait_count += 1
        self.waits[name] = [whole(ticks), [self.globals[variable].copy() for variable in captured],
                            [value.copy() for value in (self.scope or {}).values()], body, self.wait_count]

    def execute_cancel_wait(self, name):
        self.waits.pop(name, None)

    def execute_cancel_all_wait(self):
        self.waits.clear()

    def tick_waits(self):
        # Of what is due together, named waits come in the order of their names, then the others as they were issued.
        def order(entry):
            return (entry[0].startswith("{"), entry[1][4] if entry[0].startswith("{") else entry[0])
        ended = []
        for name, wait in sorted(self.waits.items(), key=order):
            if self.waits.get(name) is not wait:
                continue
            wait[0] -= 1
            if wait[0] >= 1:
                continue
            _, captured, local, body, _ = wait
            ended.append((name, wait))
            real = {copy.name: self.globals[copy.name] for copy in captured}
            for copy in captured:
                copy.local = True  # never stored in place of the real one
            self.globals.update({copy.name: copy for copy in captured})
            self.run_body(body, {copy.name: copy for copy in local})
            self.globals.update(real)
        for name, wait in ended:
            if self.waits.get(name) is wait:
                del self.waits[name]

    # Timelines

    def tick_timelines(self):
        for id_, timeline in sorted(self.timelines.items()):
            if self.timelines.get(id_) is not timeline or not timeline.running:
                continue
            for i, time in enumerate(timeline.times):
                if timeline.fired[i] or self.timelines.get(id_) is not timeline:
                    continue
                timeline.counters[i] += 10
                if timeline.counters[i] >= time:
                    counted = timeline.counters[i]
                    timeline.fired[i] = True
                    timeline.counters[i] -= time
                    record = self.record("TIMELINE", ID=("INTEGER", id_), SEQUENCE=("INTEGER", i + 1),
                                         TIME=("LONG", counted), RELATIVE=("INTEGER", int(timeline.relative)),
                                         REPETITION=("LONG", timeline.repetition))
                    self.dispatch(("timeline", (0, 1, 0), id_), record)
            if all(timeline.fired):
                timeline.fired = [False] * len(timeline.times)
                timeline.repetition += 1
                if not timeline.repeat and self.timelines.get(id_) is timeline:
                    del self.timelines[id_]

    def tick_tenth(self):
        self.tenths += 1
        self.globals["GET_TIMER"].x = float(self.tenths)

    def tick_second(self):
        now = datetime(2024, 1, 1, 12) + timedelta(milliseconds=self.clock.now)
        for name, text in (("DATE", now.strftime("%m/%d/%y")), ("TIME", now.strftime("%H:%M:%S")),
                           ("DAY", calendar.day_abbr[now.weekday()].upper())):
            self.assign(self.globals[name], text_value(text.encode()))

    # Devices

    @staticmethod
    def written(address):
        return "%d:%d:%d" % address

    def say(self, *words):
        self.lines.append(" ".join(self.written(word) if isinstance(word, tuple) else
                                   ",".join(map(str, word)) if isinstance(word, list) else str(word) for word in words))

    def expanded(self, address):
        if not 32768 <= address[0] < 36864:
            return [address]
        return [other for group in self.combinations if address in group for other in group if other != address]

    def combine(self, addresses):
        group = []
        for address in addresses:
            group.insert(0 if 32768 <= address[0] < 36864 else len(group), address)
        self.combinations.append(group)

    def devices_in(self, value):
        if isinstance(value, Device):
            return [value.address]
        if isinstance(value, Array):
            items = (self.element(value, i) for i in range(1, value.length + 1))
            return [item.address for item in items if isinstance(item, Device)]
        return []

    def devices_of(self, expression):
        return self.devices_in(self.evaluate(expression))

    def numbers_in(self, expression):
        """Channels, levels or their values: a number, or those of an array or list, whole."""
        if expression[0] == "list":
            return [whole(x) for x in self.flattened(expression[1])]
        value = self.evaluate(expression)
        if isinstance(value, Number):
            return [whole(value.x)]
        if isinstance(value, Array):
            items = (self.peek(value, i) for i in range(1, value.length + 1))
            return [whole(item.x) for item in items if isinstance(item, Number)]
        return []

    def channels_of(self, items):
        """[(address, channel …)]: of devices and channels each with each, of devchans each with its own."""
        if len(items) == 2:
            devices = self.devices_of(items[0])
            numbers = self.numbers_in(items[1])
            return [(device, *numbers) for device in devices] if numbers else []
        value = self.evaluate(items[0])
        values = [self.element(value, i) for i in range(1, value.length + 1)] if isinstance(value, Array) else [value]
        pairs = []
        for pair in values:
            number = isinstance(pair, Struct) and (pair.members.get("CHANNEL") or pair.members.get("LEVEL"))
            if number and isinstance(pair.members.get("DEVICE"), Device):
                pairs.append((pair.members["DEVICE"].address, whole(number.x)))
        return pairs

    def state_of(self, items):
        found = self.channels_of(items)
        if len(found) != 1 or len(found[0]) != 2 or not self.expanded(found[0][0]):
            return False
        return bool(self.channel_state)

    def group_holds(self, group, number, channel):
        address, is_range, channels = group
        return (any(other[0] == number for other in self.expanded(address))
                and (channels[0] <= channel <= channels[1] if is_range else channel in channels))

    def switch_in_group(self, address, action, channel):
        """Of a channel of the controller's own in a group the others go off; whether it is in one."""
        for group in self.groups:
            if address[1] != group[0][1] or not self.group_holds(group, address[0], channel):
                continue
            channels = range(group[2][0], group[2][1] + 1) if group[1] else group[2]
            for other in channels:
                if action != "off" and other != channel:
                    self.say("off", address, other)
            self.say("off" if action == "off" else "on", address, channel)
            return True
        return False

    def feedback(self, number, channel, status):
        groups = [group for group in self.groups if self.group_holds(group, number, channel)]
        for _, is_range, channels in groups:
            self.say("feedback", number, channel, status, *(("in", "%d..%d" % tuple(channels)) if is_range else
                                                            ("of", channels)))
        if not groups:
            self.say("feedback", number, channel, status, "in", "0..0")

    def execute_channels(self, action, items):
        for address, *channels in self.channels_of(items):
            for channel in (wrapped(number, 32, True) for number in channels):
                if address[0] == 5001:
                    if self.switch_in_group(address, action, channel):
                        return
                    self.say(action, address, channel)
                    continue
                for panel, _, _ in self.expanded(address):
                    self.feedback(panel, channel, int(action != "off"))
                    if action == "pulse":
                        self.clock.add(self.pulse_ms, lambda p=panel, c=channel: self.feedback(p, c, 0))
                    elif action == "to":
                        self.held_by_to.append((panel, channel))

    def assign_channels(self, items, value):
        found = self.channels_of(items)
        values = self.numbers_in(value)
        position = 0
        for address, *channels in found:
            at = position if len(items) == 1 else 0
            position += 1
            given = [values[at + i] if at + i < len(values) else 0 for i in range(len(channels))]
            if address[0] == 5001:
                for channel, status in zip(channels, given):
                    if self.switch_in_group(address, "on" if status else "off", channel):
                        return
                    code = wrapped(status, 32, True)
                    self.say(ACTIONS.get(code, code), address, wrapped(channel, 32, True))
                continue
            for panel, _, _ in self.expanded(address):
                grouped = False
                for channel, status in zip(channels, given):
                    if any(self.group_holds(group, panel, channel) for group in self.groups):
                        self.feedback(panel, channel, status)
                        grouped = True
                if not grouped:
                    self.say("feedbacks", panel, channels, "=", given)

    def payload(self, expression):
        value = self.evaluate(expression)
        if isinstance(value, Number):
            return bytes([whole(value.x) & 255])
        return value.bytes() if isinstance(value, Array) else b""

    def execute_send(self, what, device, payload):
        for one in self.devices_of(device):
            for address in self.expanded(one):
                data = self.payload(payload)
                text = data.decode("latin-1")
                self.lines.append(text if what == "string" and address[0] == 1 else f"{what} {self.written(address)} {text}")
                if what == "command":
                    self.data_event("command", address, data)

    def execute_send_level(self, device, *values):
        if len(values) == 1:
            pair = self.evaluate(device)
            if not isinstance(pair, Struct) or "LEVEL" not in pair.members:
                return
            x = self.numeric(values[0])
            if x is None:
                self.error("Wrong level value expression")
                return
            for address in self.expanded(pair.members["DEVICE"].address):
                self.say("level", address, wrapped(whole(pair.members["LEVEL"].x), 32, True), wrapped(whole(x), 32, True))
            return
        for one in self.devices_of(device):
            for address in self.expanded(one):
                codes, numbers = self.numbers_in(values[0]), self.numbers_in(values[1])
                if not codes:
                    self.error("Wrong level code expression")
                elif not numbers:
                    self.error("Wrong level value expression")
                else:
                    self.say("levels", address, codes, "=", numbers)

    def execute_create_level(self, device, level, variable):
        for one in self.devices_of(device):
            for address in self.expanded(one):
                code = self.numeric(level)
                if code is None:
                    self.error("Wrong level code expression")
                    return
                self.levels.append((address, whole(code), variable))

    def execute_create_buffer(self, device, variable):
        for one in self.devices_of(device):
            for address in self.expanded(one):
                self.buffers[address] = variable

    def execute_clear_buffer(self, name):
        variable = self.find(name)
        if isinstance(variable, Array):
            variable.set_length(0)

    # Events

    def record(self, name, **members):
        values = {member: value if not isinstance(value, tuple) else Number(value[0], float(value[1]))
                  for member, value in members.items()}
        record = Struct(name, values)
        record.name = name
        return record

    def pair(self, kind, member, number, address):
        pair = self.make(kind)
        pair.members[member].x = float(number)
        pair.members["DEVICE"].set(address)
        return pair

    def dispatch(self, event, record):
        kind, address, number = event
        outer = self.event, [self.globals[name] for name in ("PUSH_CHANNEL", "PUSH_DEVCHAN", "RELEASE_CHANNEL",
                                                             "RELEASE_DEVCHAN")]
        outer_values = [value.copy() for value in outer[1]]
        for prefix, wanted in (("PUSH", "push"), ("RELEASE", "release")):
            given = (number, address) if kind == wanted else (0, (0, 1, 0))
            self.globals[prefix + "_CHANNEL"].x = float(given[0])
            pair = self.globals[prefix + "_DEVCHAN"]
            pair.members["CHANNEL"].x = float(given[0])
            pair.members["DEVICE"].set(given[1])
        if kind == "offline" and self.held and self.held[0] == address[0]:
            self.stop_hold()
        self.event = event
        for word, triggers, parts in self.program.handlers:
            self.handle(word, triggers, parts, event, record)
        nested = outer[0] is not None
        self.event = outer[0]
        if nested:
            for value, before in zip(outer[1], outer_values):
                if isinstance(value, Number):
                    value.x = before.x
                else:
                    value.members = before.members

    def handle(self, word, triggers, parts, event, record):
        kind, address, number = event
        expected = {"push": "BUTTON_EVENT", "release": "BUTTON_EVENT", "hold": "BUTTON_EVENT", "level": "LEVEL_EVENT",
                    "timeline": "TIMELINE_EVENT"}.get(kind, "DATA_EVENT")
        if word != expected:
            return
        names = {"error": "ONERROR", "level": "ANY", "timeline": "ANY"}
        for name, hold, body in parts:
            if name != names.get(kind, kind.upper()) or not self.matches_event(word, triggers, address, number):
                continue
            if hold:
                time = whole(self.constant(hold[0]))
                if time < 1:
                    self.error("Wrong hold time")
                    return
                if self.held[2] % time if hold[1] else self.held[2] != time:
                    continue
            self.run_body(body, {record.name: record})

    def matches_event(self, word, triggers, address, number):
        for items in triggers:
            if word == "TIMELINE_EVENT":
                if number in self.numbers_in(items[0]):
                    return True
            elif word == "DATA_EVENT":
                for device in self.devices_of(items[0]):
                    if device == address:
                        return True
            else:
                for device, *numbers in self.channels_of(items):
                    known = {device[0], *(other[0] for other in self.expanded(device))}
                    if address[0] in known and any(n in (0, number) for n in numbers):
                        return True
        return False

    def stop_hold(self):
        if self.held:
            self.clock.jobs.pop(self.held[3], None)
        self.held = None

    def release_held_by_to(self):
        held, self.held_by_to = self.held_by_to, []
        for device, channel in held:
            self.feedback(device, channel, 0)

    def button_event(self, kind, device, channel, ticks=0):
        address = (device, 1, 0)
        record = self.record("BUTTON", INPUT=self.pair("DEVCHAN", "CHANNEL", channel, address), HOLDTIME=("LONG", ticks),
                             SOURCEDEV=Device(address=address))
        self.dispatch((kind, address, channel), record)

    def push(self, device, channel):
        self.release_held_by_to()
        self.stop_hold()
        self.held = [device, channel, 0, self.clock.every(100, self.tick_hold)]
        self.button_event("push", device, channel)

    def release(self, device, channel):
        self.release_held_by_to()
        self.stop_hold()
        self.button_event("release", device, channel)

    def tick_hold(self):
        self.held[2] += 1
        self.button_event("hold", *self.held[:3])

    def level(self, device, level, value):
        self.levels_quiet = True
        for address, code, name in list(self.levels):
            variable = self.globals.get(name)
            if code == level and address[0] == device and isinstance(variable, Number) and not variable.constant:
                self.set_number(variable, float(value))
        self.levels_quiet = False
        record = self.record("LEVEL", INPUT=self.pair("DEVLEV", "LEVEL", level, (0, 1, 0)),
                             SOURCEDEV=Device(address=(device, 1, 0)), VALUE=("DOUBLE", value))
        self.dispatch(("level", (device, 1, 0), level), record)

    def data_event(self, kind, address, data=b"", number=0):
        record = self.record("DATA", DEVICE=Device(address=address), TEXT=text_value(data), NUMBER=("LONG", number),
                             SOURCEIP=text_value(b""), SOURCEPORT=("LONG", 0))
        record.members["TEXT"].size = record.members["SOURCEIP"].size = 0
        if kind == "string" and address in self.buffers:
            self.fill_buffer(self.globals.get(self.buffers[address]), data)
        self.dispatch((kind, address, number), record)

    def fill_buffer(self, buffer, data):
        if not isinstance(buffer, Array):
            return
        most = buffer.size or 65536
        if buffer.length == 0:
            self.overflowed.discard(buffer.name)
        held = buffer.bytes() + data
        if len(held) > most and buffer.name not in self.overflowed:
            self.overflowed.add(buffer.name)
            self.warning(f"Buffer {buffer.name} overflowed")
        held = held[-most:]
        buffer.items.update({i: Number("CHAR", float(byte)) for i, byte in enumerate(held, 1)})
        buffer.length = len(held)

    def happen(self, line):
        what, *words = line.split(" ")
        if what in ("push", "release", "level"):
            getattr(self, what)(*map(int, words))
        elif what == "tick":
            self.clock.advance(int(words[0]))
        elif what == "mainline":
            for statement in self.program.mainline[1] if self.program.mainline else []:
                self.run_body(statement)
        elif what == "state":
            self.channel_state = int(words[0])
        else:
            address = tuple(map(int, words[0].split(":")))
            text = " ".join(words[1:])
            if what == "error":
                self.data_event("error", address, number=int(text))
            else:
                self.data_event(what, address, text.replace("\\r", "\r").encode("latin-1"))


def shown(value):
    """A value as the runtime's player writes it."""
    if isinstance(value, Number):
        return format(value.x, ".17g")
    if isinstance(value, Array):
        # Elements that were never used read as 0.
        return "{%s}" % ", ".join(shown(value.items.get(i) or Number("DOUBLE")) for i in range(1, value.length + 1))
    if isinstance(value, Device):
        return "%d:%d:%d" % value.address
    return "(%s)" % ", ".join(f"{name}={shown(member)}" for name, member in value.members.items())


def printable(line):
    return "".join(c if " " <= c <= "~" and c != "\\" else f"\\x{ord(c):x}" for c in line)


def play(text):
    """The lines of a program and its script, and its variables at the end."""
    clock, stores, lines = Clock(), {}, []

    def loaded(state=0):
        clock.jobs.clear()
        # Nodes of the tree have a state of their own in each run.
        run = Interpreter(source.parse(text), clock, stores, state)
        lines.extend(run.lines)
        run.lines = lines
        return run

    run = loaded()
    for line in text.split("\n"):
        if line.startswith("//! "):
            what = line[4:]
            lines.append("! " + what)
            if what == "reload":
                run = loaded(run.channel_state)
            else:
                run.happen(what)
    for name in sorted(set(run.globals) - run.system):
        if not run.globals[name].constant:
            lines.append(f"{name} = {shown(run.globals[name])}")
    return [printable(line) for line in lines]


if __name__ == "__main__":
    sys.setrecursionlimit(20_000)
    with open(sys.argv[1], encoding="utf-8") as file:
        print("\n".join(play(file.read())))
