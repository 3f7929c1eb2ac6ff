"""Values of the control language: what a variable, an element, an argument or a result holds, and the copy rule."""
import math
import struct

UNSIGNED = {"INTEGER": 32, "LONG": 64, "CHAR": 8, "WIDECHAR": 16}
SIGNED = {"SINTEGER": 32, "SLONG": 64}
NUMBERS = {*UNSIGNED, *SIGNED, "DOUBLE", "FLOAT"}


def whole(x):
    """A number as a signed integer of 64 bits: 1e-10 away from zero, then cut off."""
    if math.isnan(x):
        return 0
    x += 1e-10 if x > 0 else -1e-10
    return int(max(-2.0**63, x)) if x < 2.0**63 else 2**63 - 1


def wrapped(n, bits, signed):
    n &= (1 << bits) - 1
    return n - (1 << bits) if signed and n >> (bits - 1) else n


def in_range(kind, x):
    """A number as its type holds it."""
    if kind == "LONG" and x >= 2.0**63:
        return min(float(int(x)), 2.0**64) if math.isfinite(x) else 2.0**64
    if kind in UNSIGNED:
        return float(wrapped(whole(x), UNSIGNED[kind], False))
    if kind in SIGNED:
        return float(wrapped(whole(x), SIGNED[kind], True))
    if kind == "FLOAT":
        try:
            return struct.unpack("f", struct.pack("f", x))[0]
        except OverflowError:
            return math.copysign(math.inf, x)
    return x


class Value:
    name = ""          # of a variable or parameter; empty: an element, a member, something computed
    storage = "VOLATILE"
    local = False
    constant = False

    def like(self, other):
        self.name, self.storage, self.local, self.constant = other.name, other.storage, other.local, other.constant
        return self


class Number(Value):
    def __init__(self, kind, x=0.0):
        self.kind = kind
        self.x = in_range(kind, x)

    def copy(self):
        return Number(self.kind, self.x).like(self)


class Array(Value):
    """Elements from index 1 on; some may be missing inside the bounds, some may stand behind the length."""

    def __init__(self, kind, size=0):
        self.kind = kind
        self.size = size     # as declared; 0: not bounded
        self.length = 0
        self.items = {}

    @property
    def capacity(self):
        return self.size or self.length

    def copy(self):
        array = Array(self.kind, self.size or self.length).like(self)
        array.length = self.length
        array.items = {index: item.copy() for index, item in self.items.items()}
        return array

    def first(self):
        return self.items.get(1)

    def is_matrix(self):
        return isinstance(self.first(), Array)

    def store(self, index, value):
        """Puts a value at an index; into the row, when a row stands there."""
        there = self.items.get(index)
        if isinstance(there, Array) and not isinstance(value, Array):
            there.store(index, value)
            there.length = there.length or 1
        elif there is None and self.is_matrix() and not isinstance(value, Array):
            row = self.first().copy()
            row.store(1, value)
            row.length = row.length or 1
            self.items[index] = row
        else:
            self.items[index] = value

    def set_length(self, length):
        self.length = max(0, length)
        if self.length == 0 and any(isinstance(item, Number) for item in self.items.values()):
            self.items = {}  # an emptied array counts like one that was never filled

    def bytes(self):
        numbers = (self.items.get(i) for i in range(1, self.length + 1))
        return bytes(whole(n.x) & 255 for n in numbers if isinstance(n, Number))


class Struct(Value):
    def __init__(self, kind, members):
        self.kind = kind
        self.members = members  # name: value, in order

    def copy(self):
        return type(self)(self.kind, {name: value.copy() for name, value in self.members.items()}).like(self)


class Device(Struct):
    def __init__(self, kind="DEVICE", members=None, address=(0, 1, 0)):
        parts = dict(zip(("NUMBER", "PORT", "SYSTEM"), (Number("INTEGER", float(part)) for part in address)))
        super().__init__(kind, members or parts)

    @property
    def address(self):
        return tuple(wrapped(whole(part.x), 32, True) for part in self.members.values())

    def set(self, address):
        for part, number in zip(self.members.values(), address):
            part.x = in_range("INTEGER", float(number))


def text_value(data):
    array = Array("CHAR", len(data))
    array.length = len(data)
    array.items = {i: Number("CHAR", float(byte)) for i, byte in enumerate(data, 1)}
    return array


def number_of(value):
    """The number of a number, or of the first element of an array; None: it has none."""
    if isinstance(value, Array):
        value = value.first()
    return value.x if isinstance(value, Number) else None


class Values:
    """What needs the program's types: making values, elements on demand, and the copy rule."""

    def __init__(self, types):
        self.types = types  # name: [(member, type, sizes)]

    def make(self, kind, sizes=()):
        if sizes:
            array = Array(kind, sizes[0] or 0)
            if sizes[1:]:
                array.items[1] = self.make(kind, sizes[1:])
            return array
        if kind in NUMBERS:
            return Number(kind)
        if kind == "DEVICE":
            return Device()
        members = {name: self.make(type_, sizes_) for name, type_, sizes_ in self.types[kind]}
        # Lists give the device first, but it is the last member.
        return Struct(kind, dict(reversed(members.items())) if kind in ("DEVCHAN", "DEVLEV") else members)

    def element(self, array, index):
        """The element at an index, made when it is missing inside the bounds; None outside."""
        if index in array.items:
            return array.items[index]
        if index < 1 or index > array.capacity:
            return None
        if array.first() is None:
            item = self.make(array.kind)
        else:
            item = self.cleared(array.first().copy())
        array.items[index] = item
        return item

    def cleared(self, item):
        if isinstance(item, Array):
            item.length = 0
            # Like one that was never filled: numbers are made when they are stored.
            item.items = {index: self.cleared(inner) for index, inner in item.items.items() if not isinstance(inner, Number)}
        elif isinstance(item, Number):
            item.x = 0.0
        elif isinstance(item, Device):
            item.set((0, 1, 0))
        return item

    def peek(self, array, index):
        """The same for reading only, which leaves a missing number missing."""
        first = array.first()
        if index in array.items or index < 1 or index > array.capacity or isinstance(first, (Array, Struct)) \
                or first is None and array.kind not in NUMBERS:
            return self.element(array, index)
        return Number(first.kind if first else array.kind)

    def set_number(self, target, x):
        target.x = in_range(target.kind, x)

    def assign(self, target, source):
        if source is None:
            return
        if isinstance(target, Device):
            if isinstance(source, Device):
                target.set(source.address)
            elif number_of(source) is not None:
                target.set((whole(number_of(source)), 1, 0))
        elif isinstance(target, Number):
            if isinstance(source, Number) or isinstance(source, Array) and source.length and number_of(source) is not None:
                self.set_number(target, number_of(source))
        elif isinstance(target, Array):
            if isinstance(source, Number):
                item = source.copy()
                item.name = ""
                target.store(1, item)
                target.length = 1
            elif isinstance(source, Array):
                self.assign_array(target, source)
        elif isinstance(source, Array):
            for index, (name, _, _) in enumerate(self.types.get(target.kind, []), 1):
                if index <= source.length:
                    self.assign(target.members[name], self.element(source, index))
        elif isinstance(source, Struct) and source.kind == target.kind:
            for name, member in target.members.items():
                self.assign(member, source.members.get(name))

    def assign_array(self, target, source):
        if (target.length == 0 or not target.is_matrix()) and source.length == 1 and source.is_matrix():
            target.length = source.first().length
            self.assign_array(target, source.first())
            return
        inner, inner_source = target, source
        while True:
            length = inner_source.length
            inner.set_length(min(length, inner.size) if inner.size else length)
            if inner.capacity == 0:
                inner.size = inner_source.capacity
            if not (inner.is_matrix() and inner_source.is_matrix()):
                break
            inner, inner_source = inner.first(), inner_source.first()
        for index in range(1, source.length + 1):
            item = self.peek(source, index)
            if isinstance(item, Array):
                if not target.capacity or index <= target.capacity:
                    self.assign(self.element(target, index), item)
            else:
                place = self.element(target, index)
                while isinstance(place, Array):
                    place = self.element(place, 1)
                if place is not None:
                    self.assign(place, item)
