"""The built-in functions that the reference interpreter knows. A call gives a value, or None: no result."""
import base64
import hashlib
import math
import re
import struct
from datetime import date
from types import SimpleNamespace

from values import NUMBERS, SIGNED, UNSIGNED, Array, Device, Number, Struct, number_of, text_value, whole, wrapped

WIDTHS = {"CHAR": 1, "WIDECHAR": 2, "INTEGER": 4, "SINTEGER": 4, "LONG": 8, "SLONG": 8}

CALCULATED = ("call", "calc", "compare", "minus", "not", "bnot", "step")   # arguments that may do something


def int32(x):
    """The integer rule."""
    return wrapped(whole(x), 32, True)


def cut_off(x):
    return int(x) if math.isfinite(x) else 0


class Builtins:
    def call_builtin(self, name, arguments):
        function = getattr(self, "builtin_" + name.lower(), None)
        if function is None:
            from reference import NotDefined
            raise NotDefined("the function " + name)
        return function(*(("value", self.evaluate(each)) if each[0] in CALCULATED else each for each in arguments))

    # Arguments

    def bytes_of(self, argument):
        """A text: bytes of an array, one of a number."""
        value = argument and self.evaluate(argument)
        if isinstance(value, Number):
            return bytes([whole(value.x) & 255])
        return value.bytes() if isinstance(value, Array) else b""

    def string(self, argument, message):
        value = self.evaluate(argument)
        if isinstance(value, Array):
            return value.bytes()
        self.error(message)
        return None

    def checked(self, argument, message):
        x = self.numeric(argument)
        if x is None:
            self.error(message)
        return x

    def array_variable(self, argument):
        place = self.place(argument) if argument[0] in ("variable", "element", "member") else None
        return place if isinstance(place, Array) else None

    @staticmethod
    def double(x):
        return Number("DOUBLE", float(x))

    # Strings

    def builtin_length_string(self, s):
        value = self.evaluate(s)
        return self.double(value.length) if isinstance(value, Array) else None

    def builtin_length_array(self, a):
        value = self.evaluate(a)
        if isinstance(value, Array):
            return self.double(value.length)
        self.error("Wrong length_array function argument")
        return None

    def builtin_max_length_array(self, a):
        value = self.evaluate(a)
        return self.double(value.size) if isinstance(value, Array) else None

    builtin_max_length_string = builtin_max_length_array

    def builtin_set_length_array(self, a, length):
        x = self.numeric(length)
        variable = self.array_variable(a)
        if variable is not None and x is not None:
            variable.set_length(min(max(cut_off(x), 0), variable.size or 2**24))

    builtin_set_length_string = builtin_set_length_array

    def part(self, s, count, message, from_left):
        data = self.string(s, message)
        if data is None:
            return None
        x = self.checked(count, message)
        if x is None:
            return None
        count = int32(x)
        if count < 0:
            return text_value(b"")
        return text_value(data if count >= len(data) else data[:count] if from_left else data[len(data) - count:])

    def builtin_left_string(self, s, count):
        return self.part(s, count, "Wrong argument of left_string function", True)

    def builtin_right_string(self, s, count):
        return self.part(s, count, "the argument of right_string function is error", False)

    def builtin_mid_string(self, s, start, count=None):
        message = "Wrong argument of mid_string function"
        data = self.string(s, message)
        x = None if data is None else self.checked(start, message)
        if x is None:
            return None
        first = int32(x)
        number = self.checked(count, message) if count else len(data) + 1 - first
        if number is None:
            return None
        number = int32(number)
        offset = max(first, 1) - 1
        return text_value(data[offset:] if number < 0 else data[offset:offset + number])

    def sought(self, s, sought, start, message):
        """(bytes, bytes looked for, offset where to begin), or None."""
        data = self.string(s, message)
        wanted = None if data is None else self.string(sought, message)
        x = None if wanted is None else 1.0 if start is None else self.checked(start, message)
        return None if x is None else (data, wanted, max(int32(x), 1) - 1)

    def builtin_find_string(self, s, sought, start=None):
        found = self.sought(s, sought, start, "Wrong argument of find_string function")
        if found is None:
            return None
        data, wanted, offset = found
        return self.double(data.find(wanted, offset) + 1)

    def builtin_remove_string(self, s, sought, start=None):
        found = self.sought(s, sought, start, "Wrong argument of remove_string function")
        if found is None:
            return None
        data, wanted, offset = found
        at = data.find(wanted, offset)
        if at < 0 or offset > len(data):
            return text_value(b"")
        end = at + len(wanted)
        variable = self.array_variable(s)
        if variable is not None:
            self.write_back(variable, data[:offset] + data[end:])
        return text_value(data[offset:end])

    @staticmethod
    def write_back(variable, data):
        if variable.length > len(data):
            for i, byte in enumerate(data, 1):
                variable.items[i] = Number(variable.kind, float(byte))
            variable.set_length(len(data))

    def builtin_compare_string(self, a, b):
        a, b = self.evaluate(a), self.evaluate(b)
        if not isinstance(a, Array) or not isinstance(b, Array):
            return self.double(0)
        a, b = a.bytes(), b.bytes()
        return self.double(len(a) == len(b) and all(x == y or 63 in (x, y) for x, y in zip(a, b)))

    def builtin_lower_string(self, s):
        data = self.string(s, "Wrong argument of lower_string function")
        return None if data is None else text_value(self.latin1_case(data, str.lower))

    def builtin_upper_string(self, s):
        data = self.string(s, "Wrong argument of upper_string function")
        return None if data is None else text_value(self.latin1_case(data, str.upper))

    @staticmethod
    def latin1_case(data, change):
        def changed(byte):
            new = change(chr(byte))
            return ord(new) if len(new) == 1 and ord(new) < 256 else byte
        return bytes(map(changed, data))

    def taken(self, s, count, message):
        value = self.evaluate(s)
        if not isinstance(value, Array):
            self.error(message)
            return None
        x = self.checked(count, message)
        if x is None:
            return None
        data = value.bytes()
        count = max(0, min(cut_off(x), len(data)))
        variable = self.array_variable(s)
        if variable is not None and count:
            for i, byte in enumerate(data[count:], 1):
                variable.items[i] = Number(variable.kind, float(byte))
            variable.set_length(len(data) - count)
        return data[:count]

    def builtin_get_buffer_char(self, s):
        data = self.taken(s, ("number", 1.0), "argument of get_buffer_char function is error")
        return text_value(data) if data else None

    def builtin_get_buffer_string(self, s, count):
        data = self.taken(s, count, "argument of get_buffer_string function is error")
        return None if data is None else text_value(data)

    def builtin_format(self, pattern, number):
        value = self.evaluate(pattern)
        if not isinstance(value, Array):
            self.error("Illegal format string")
            return None
        x = self.checked(number, "Wrong data to format")
        if x is None:
            return None
        pattern = value.bytes().decode("latin-1")
        kind = self.evaluate(number)
        kind = kind.kind if kind is not None else None
        if kind not in NUMBERS:
            return text_value(b"")
        conversions = re.findall(r"%(?:%|([-+ #0]*\d*(?:\.\d*)?)(.?))", pattern.replace("%%", ""), re.S)
        letters = "eEfFgGaA" if kind in ("DOUBLE", "FLOAT") else "diouxXc"
        if len(conversions) != 1 or not conversions[0][1] or conversions[0][1] not in letters:
            self.error("Illegal format string")
            return None
        if conversions[0][1] in "aAcuxXodi" and kind not in ("CHAR", "WIDECHAR", "INTEGER", "SINTEGER"):
            from reference import NotDefined
            raise NotDefined("this format")
        n = whole(x)
        if conversions[0][1] in "uxXo":
            n &= 0xFFFFFFFF
        elif kind not in ("DOUBLE", "FLOAT"):
            n = wrapped(n, 32, True)
        text = pattern % (x if letters[0] == "e" else n)
        return text_value(text.encode())

    # Conversion

    def found_number(self, argument, pattern):
        found = re.search(pattern, self.bytes_of(argument).decode("latin-1"), re.A)
        return found and found.group()

    def builtin_atoi(self, text):
        found = int(self.found_number(text, r"[-+]?\d+") or 0)
        return self.double(found if -2**31 <= found < 2**31 else 0)

    builtin_atol = builtin_atoi

    def builtin_atof(self, text):
        return self.double(self.found_number(text, r"[-+]?\d+[.]?\d*") or 0)

    def builtin_itoa(self, number):
        x = self.numeric(number)
        return None if x is None else text_value(str(whole(x)).encode())

    def builtin_ftoa(self, number):
        x = self.checked(number, "Wrong ftoa function argument")
        if x is None:
            return None
        text = "%.6f" % x if 0.0001 <= abs(x) < 1000000 else "%.6E" % x
        return text_value(text.lower().encode() if not math.isfinite(x) else text.encode())

    def builtin_itohex(self, number):
        x = self.checked(number, "Wrong itohex function argument")
        return None if x is None else text_value(b"%X" % (whole(x) & (2**64 - 1)))

    def builtin_hextoi(self, text):
        data = self.string(text, "Wrong hextoi function argument")
        if data is None:
            return None
        valid = re.fullmatch(rb"[0-9a-fA-F]+", data)
        return self.double(int(data, 16) if valid and int(data, 16) < 2**64 else 0)

    def builtin_type_cast(self, value):
        value = self.evaluate(value)
        if value is None:
            return None
        result = Number("DOUBLE")
        self.assign(result, value)
        return result

    def converted(self, argument, kind):
        value = self.evaluate(argument)
        if not isinstance(value, Array):
            return None
        result = Array(kind)
        result.length = result.size = value.length
        result.items = {i: Number(kind, number_of(self.peek(value, i)) or 0.0) for i in range(1, value.length + 1)}
        return result

    def builtin_ch_to_wc(self, s):
        return self.converted(s, "WIDECHAR")

    def builtin_wc_to_ch(self, s):
        return self.converted(s, "CHAR")

    def raw(self, argument, order):
        value = self.evaluate(argument)
        value = value.first() if isinstance(value, Array) else value
        if not isinstance(value, Number):
            return text_value(b"")
        if value.kind in ("DOUBLE", "FLOAT"):
            return text_value(struct.pack(order + ("d" if value.kind == "DOUBLE" else "f"), value.x))
        width = WIDTHS[value.kind]
        n = whole(value.x) if value.x < 2.0**63 else int(value.x)
        return text_value((n & ((1 << 8 * width) - 1)).to_bytes(width, "big" if order == ">" else "little"))

    def builtin_raw_be(self, value):
        return self.raw(value, ">")

    def builtin_raw_le(self, value):
        return self.raw(value, "<")

    def unpacked(self, argument, form):
        value = self.evaluate(argument)
        size = struct.calcsize(form)
        if not isinstance(value, Array) or value.length < size:
            return None
        return self.double(struct.unpack(form, value.bytes()[:size])[0])

    def builtin_array_to_float(self, a):
        return self.unpacked(a, ">f")

    def builtin_array_to_double(self, a):
        return self.unpacked(a, ">d")

    def builtin_float_to_array(self, number):
        x = self.numeric(number)
        return None if x is None else text_value(struct.pack(">f", Number("FLOAT", x).x))

    def builtin_double_to_array(self, number):
        x = self.numeric(number)
        return None if x is None else text_value(struct.pack(">d", x))

    # Mathematics

    def builtin_abs_value(self, x):
        x = self.numeric(x)
        return None if x is None else self.double(abs(x))

    def builtin_max_value(self, a, b):
        a, b = self.numeric(a), self.numeric(b)
        return None if a is None or b is None else self.double(b if a <= b else a)

    def builtin_min_value(self, a, b):
        a, b = self.numeric(a), self.numeric(b)
        return None if a is None or b is None else self.double(a if a <= b else b)

    def computed(self, argument, message, function):
        x = self.checked(argument, message)
        if x is None:
            return None
        try:
            return self.double(function(x))
        except OverflowError:
            return self.double(math.inf)
        except ValueError:
            return self.double(-math.inf if x == 0 else math.nan)

    def builtin_sqrt_value(self, x):
        return self.computed(x, "Wrong sqrt_value function argument", math.sqrt)

    def builtin_power_value(self, base, exponent):
        message = "Wrong power_value function argument"
        a = self.checked(base, message)
        b = None if a is None else self.checked(exponent, message)
        if b is None:
            return None
        try:
            return self.double(math.pow(a, b))
        except OverflowError:
            return self.double(-math.inf if a < 0 and b % 2 == 1 else math.inf)
        except ValueError:
            return self.double(math.inf if a == 0 else math.nan)

    # Date and time

    def date_field(self, text, field):
        found = re.fullmatch(r"(\d\d)/(\d\d)/(\d\d)", self.bytes_of(text).decode("latin-1"), re.A)
        try:
            month, day, year = map(int, found.groups())
            return self.double(field(date(2000 + year, month, day)))
        except (AttributeError, ValueError):
            return self.double(0)

    def builtin_date_to_day(self, text):
        return self.date_field(text, lambda d: d.day)

    def builtin_date_to_month(self, text):
        return self.date_field(text, lambda d: d.month)

    def builtin_date_to_year(self, text):
        return self.date_field(text, lambda d: d.year)

    def builtin_day_of_week(self, text):
        return self.date_field(text, date.isoweekday)

    def time_field(self, name, text, field):
        data = self.string(text, f"argument of {name} function is error")
        found = data is not None and re.fullmatch(rb"(\d\d):(\d\d)(?::(\d\d))?", data)
        if not found:
            return None
        fields = [int(part or 0) for part in found.groups()]
        return self.double(fields[field]) if fields[0] < 24 and fields[1] < 60 and fields[2] < 60 else None

    def builtin_time_to_hour(self, text):
        return self.time_field("time_to_hour", text, 0)

    def builtin_time_to_minute(self, text):
        return self.time_field("time_to_minute", text, 1)

    def builtin_time_to_second(self, text):
        return self.time_field("time_to_second", text, 2)

    # Timelines

    def builtin_timeline_create(self, id_, times, length, relative=None, repeat=None):
        x = self.numeric(id_)
        if x is None or whole(x) < 0:
            self.error("Timeline id of timeline_create function is not valid")
            return None
        count = self.numeric(length)
        if count is None or whole(count) < 1:
            self.error("Array length must greater than 0 when creating timeline")
            return None
        value = self.evaluate(times)
        if not isinstance(value, Array):
            return Number("INTEGER", 3.0)
        items = [self.peek(value, i) for i in range(1, min(whole(count), 2**16) + 1)]
        if not all(isinstance(item, Number) for item in items):
            return Number("INTEGER", 2.0)
        times = [int32(item.x) for item in items]
        relative, repeat = (bool(whole(flag and self.numeric(flag) or 0.0)) for flag in (relative, repeat))
        if whole(x) in self.timelines:
            return Number("INTEGER", 1.0)
        if relative:
            times = [sum(times[:i + 1]) for i in range(len(times))]
        self.tick(10, self.tick_timelines)
        self.timelines[whole(x)] = SimpleNamespace(times=times, relative=relative, repeat=repeat, running=True,
                                                   repetition=0, counters=[0] * len(times), fired=[False] * len(times))
        return Number("INTEGER", 0.0)

    def timeline(self, id_):
        return self.timelines.get(cut_off(self.numeric(id_) or 0.0))

    def set_running(self, id_, running):
        timeline = self.timeline(id_)
        if timeline:
            timeline.running = running
        return Number("INTEGER", float(not timeline))

    def builtin_timeline_pause(self, id_):
        return self.set_running(id_, False)

    def builtin_timeline_restart(self, id_):
        return self.set_running(id_, True)

    def builtin_timeline_active(self, id_):
        return Number("INTEGER", float(bool(self.timeline(id_))))

    def builtin_timeline_kill(self, id_):
        timeline = self.timelines.pop(cut_off(self.numeric(id_) or 0.0), None)
        return Number("INTEGER", float(not timeline))

    # Miscellaneous

    def builtin_modbus_crc16(self, data):
        crc = 0xFFFF
        for byte in self.bytes_of(data):
            crc ^= byte
            for _ in range(8):
                crc = crc >> 1 ^ (0xA001 if crc & 1 else 0)
        return self.double(crc)

    def builtin_md5_value(self, data, form=None):
        digest = hashlib.md5(self.bytes_of(data))
        raw = form and int32(self.numeric(form) or 0.0) == 16
        return text_value(digest.digest() if raw else digest.hexdigest().upper().encode())

    def builtin_array_to_base64(self, data):
        return text_value(base64.b64encode(self.bytes_of(data)))

    def builtin_save_var(self, key, value):
        key = self.bytes_of(key)
        value = self.evaluate(value)
        if key and value is not None:
            self.stores.setdefault("KEYS", {})[key] = self.record_of(value)

    def builtin_load_var(self, key, variable):
        name = self.bytes_of(key)
        record = self.stores.get("KEYS", {}).get(name)
        target = self.place(variable) if variable[0] in ("variable", "element", "member") else None
        if record is None or target is None:
            return
        is_zero = not (record.length or record.size) if isinstance(record, Array) else isinstance(record, Number) and record.x == 0
        if {type(record), type(target)} == {Array, Number} and is_zero:
            from reference import NotDefined
            raise NotDefined("whether eight bytes of zeros are a number or an array")
        if isinstance(record, Array) != isinstance(target, Array) or isinstance(record, Number) != isinstance(target, Number):
            self.warning(f"The stored value of {name.decode('latin-1')} is of another kind and is not read")
            return
        if isinstance(target, Number):
            self.set_number(target, record.x)
        elif isinstance(target, Array):
            length = min(record.length, target.size) if target.size else record.length
            target.length = length
            for i in range(1, length + 1):
                self.assign(self.element(target, i), record.items.get(i))
        else:
            self.restore(target, record)

    def builtin_delete_all_vars(self):
        self.stores.pop("KEYS", None)

    def all_devices(self, arguments):
        return [address for argument in arguments for address in self.devices_of(argument)]

    def builtin_combine_devices(self, *arguments):
        addresses = self.all_devices(arguments)
        if addresses and not any(32768 <= address[0] < 36864 for address in addresses):
            self.error("Combined device must contain virtual device")
        elif addresses:
            self.combine(addresses)

    def builtin_uncombine_devices(self, *arguments):
        addresses = self.all_devices(arguments)
        real = [address for address in addresses if not 32768 <= address[0] < 36864]
        if addresses and len(real) == len(addresses):
            self.error("Uncombined device must contain virtual device")
            return
        for address in real:
            for group in self.combinations:
                if address in group:
                    group.remove(address)
        self.combinations = [group for group in self.combinations if len(group) != 1]

    def builtin_do_push(self, *arguments):
        for argument in arguments:
            for (device, _, _), channel in self.channels_of([argument]):
                self.release_held_by_to()
                self.button_event("push", device, channel)

    def builtin_get_last(self, array):
        value = self.evaluate(array)
        if not self.event or self.event[0] not in ("push", "release", "hold", "level") or not isinstance(value, Array):
            return Number("INTEGER", 0.0)
        _, address, number = self.event
        for i in range(1, value.length + 1):
            item = self.peek(value, i)
            if isinstance(item, Number):
                hit = int32(item.x) == number
            elif isinstance(item, Device):
                hit = item.address == address
            else:
                code = item.members.get("CHANNEL") or item.members.get("LEVEL") if isinstance(item, Struct) else None
                hit = code is not None and whole(code.x) == number and item.members["DEVICE"].address == address
            if hit:
                return Number("INTEGER", float(i))
        return Number("INTEGER", 0.0)

    def builtin_device_id(self, device):
        value = self.evaluate(device)
        return Number("INTEGER", float(value.address[0])) if isinstance(value, Device) else None

    def builtin_set_pulse_time(self, tenths):
        self.pulse_ms = int32(self.numeric(tenths) or 0.0) * 100
        self.set_number(self.globals["GET_PULSE_TIME"], float(self.pulse_ms // 100))

    def builtin_get_master_build(self):
        return Number("INTEGER", 1.0)
