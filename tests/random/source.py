"""The source form of the control language as a tree of plain tuples: ("kind", fields …).

Serves the reference interpreter, reference.py. It takes right programs; what is wrong with a wrong one the compiler tells.
Names are upper case in the tree, except those of functions, which messages repeat as they were written.
"""
import re
from types import SimpleNamespace

NUMBER_TYPES = ("INTEGER", "SINTEGER", "LONG", "SLONG", "CHAR", "WIDECHAR", "DOUBLE", "FLOAT")
STORAGE = ("VOLATILE", "NON_VOLATILE", "PERSISTENT")
TOKEN = re.compile(r"""(?P<space>[ \t\r]+|//[^\n]*|/\*.*?\*/|\(\*.*?\*\)) | (?P<line>\n)
    | (?P<number>0[xX][0-9a-fA-F]+|\$[0-9a-fA-F]+|\d+(\.\d+)?([eE][-+]?\d+)?) | (?P<text>'(?:[^']|'')*')
    | (?P<name>[A-Za-z_]\w*) | (?P<op>\.\.|\+\+|--|<<|>>|<=|>=|<>|!=|==|&&|\|\||\^\^|[-+*/%]=|.)""", re.X | re.S)
WORD_OPERATORS = {"MOD": "%", "LSHIFT": "<<", "RSHIFT": ">>", "BAND": "&", "BXOR": "^", "BOR": "|", "AND": "and",
                  "XOR": "xor", "OR": "or", "&&": "and", "^^": "xor", "||": "or", "==": "=", "!=": "<>"}
PRECEDENCE = [("or",), ("xor",), ("and",), ("=", "<>"), ("<", "<=", ">", ">="), ("|",), ("^",), ("&",), ("<<", ">>"),
              ("+", "-"), ("*", "/", "%")]  # loosest first
COMPARISONS = {operator for row in PRECEDENCE[:5] for operator in row}


def tokens_of(text):
    tokens, new_line = [], True
    for match in TOKEN.finditer(text):
        kind, word = match.lastgroup, match.group()
        if kind == "line":
            new_line = True
        elif kind != "space":
            tokens.append(SimpleNamespace(kind=kind, text=word, word=word.upper(), new_line=new_line))
            new_line = False
    tokens.append(SimpleNamespace(kind="end", text="", word="", new_line=True))
    return tokens


class Parser:
    def __init__(self, text):
        self.tokens = tokens_of(text)
        self.at = 0
        self.depth = 0  # of brackets, inside which a line end does not count
        self.program = SimpleNamespace(types={"DEVCHAN": [("DEVICE", "DEVICE", []), ("CHANNEL", "INTEGER", [])],
                                              "DEVLEV": [("DEVICE", "DEVICE", []), ("LEVEL", "INTEGER", [])]},
                                       globals=[], functions={}, routines={}, exclusives=[], combinations=[], levels=[],
                                       handlers=[], start=None, mainline=None)

    # Tokens

    @property
    def token(self):
        return self.tokens[self.at]

    def peek(self, *words, ahead=0):
        return self.tokens[min(self.at + ahead, len(self.tokens) - 1)].word in words

    def take(self, *words):
        if words and not self.peek(*words):
            raise SyntaxError(f"{' or '.join(words)} expected, found {self.token.text!r} (token {self.at})")
        self.at += 1
        return self.tokens[self.at - 1]

    def accept(self, *words):
        return self.take() if self.peek(*words) else None

    def listed(self, end, item):
        """Items between commas up to the end mark, which is taken."""
        items = []
        self.depth += 1
        while not self.peek(end):
            items.append(item())
            if not self.accept(","):
                break
        self.depth -= 1
        self.take(end)
        return items

    # Declarations

    def parse(self):
        while self.token.kind != "end":
            self.declaration()
        return self.program

    def declaration(self):
        program, word = self.program, self.take().word
        if word == ";":
            return
        if word == "PROGRAM":
            self.take()
        elif word == "STRUCT":
            name = self.take().word
            self.take("{")
            members = []
            while not self.accept("}"):
                kind = self.take().word
                members += [(name_, kind, sizes) for name_, sizes in self.names()]
                self.accept(";")
            program.types[name] = members
        elif word in ("FUNCTION", "ROUTINE"):
            result = None
            if word == "FUNCTION" and not self.peek("(", ahead=1):
                result = (self.take().word, bool(self.sizes()))
            name = self.take().word
            self.take("(")
            parameters = self.listed(")", lambda: (self.take().word, self.take().word, self.sizes()))
            table = program.functions if word == "FUNCTION" else program.routines
            table[name] = SimpleNamespace(name=name, parameters=parameters, result=result, body=self.block())
        elif word == "EXCLUSIVE":
            self.take("[")
            device = self.unary()
            self.take(",")
            first = self.unary()
            channels = (first, self.unary()) if self.accept("..") else first
            self.take("]")
            program.exclusives.append((device, channels))
        elif word == "COMBINE":
            self.take("(")
            program.combinations.append(self.listed(")", self.expression))
        elif word == "LEVEL":
            program.levels.append((self.items(), self.take().word))
        elif word == "START":
            program.start = self.block()
        elif word == "MAINLINE":
            program.mainline = self.block()
        elif word.endswith("_EVENT"):
            self.handler(word)
        else:
            self.at -= 1
            program.globals += self.variables()

    def variables(self):
        """(name, type, sizes, initial value, words before the type) of one line of definitions."""
        words = []
        while self.peek("CONST", "STACK_VAR", "LOCAL_VAR", *STORAGE):
            words.append(self.take().word)
        is_type = self.peek("DEVICE", *NUMBER_TYPES, *self.program.types) and self.tokens[self.at + 1].kind == "name"
        kind = self.take().word if is_type else None
        found = []
        for name, sizes in self.names():
            value = self.expression() if self.accept("=") else None
            found.append((name, kind or ("CHAR" if sizes else "INTEGER"), sizes, value, words))
            while self.accept(","):
                name, sizes = self.take().word, self.sizes()
                value = self.expression() if self.accept("=") else None
                found.append((name, kind or ("CHAR" if sizes else "INTEGER"), sizes, value, words))
        return found

    def names(self):
        return [(self.take().word, self.sizes())]

    def sizes(self):
        sizes = []
        while not self.token.new_line and self.accept("["):
            sizes.append(None if self.peek("]") else self.nested(self.expression))
            self.take("]")
        return sizes

    def handler(self, word):
        triggers = []
        while True:
            triggers.append(self.items())
            if not self.accept(","):
                break
        if word in ("LEVEL_EVENT", "TIMELINE_EVENT"):
            parts = [("ANY", None, self.block())]
        else:
            parts = []
            self.take("{")
            while not self.accept("}"):
                part, hold = self.take().word, None
                if self.accept("["):
                    hold = (self.expression(), bool(self.accept(",") and self.take("REPEAT")))
                    self.take("]")
                self.take(":")
                parts.append((part, hold, self.block()))
        self.program.handlers.append((word, triggers, parts))

    # Statements

    def block(self):
        self.take("{")
        depth, self.depth = self.depth, 0
        statements = []
        while not self.accept("}"):
            if not self.accept(";"):
                statements.append(self.statement())
        self.depth = depth
        return ("block", statements)

    def body(self):
        return self.block() if self.peek("{") else ("block", [self.statement()])

    def statement(self):
        word = self.token.word
        parse = getattr(self, "statement_" + word.lower(), None) if self.token.kind == "name" else None
        if parse and not self.peek("=", ".", "(", "+=", "-=", ahead=1) or parse and word in ("IF", "WHILE", "FOR",
                                                                                           "SWITCH"):
            self.take()
            return parse()
        if self.peek("{"):
            return self.block()
        is_type = self.peek("DEVICE", *NUMBER_TYPES, *self.program.types)
        if self.peek("STACK_VAR", "LOCAL_VAR", *STORAGE) or (is_type and self.tokens[self.at + 1].kind == "name"):
            return ("define", self.variables())
        return self.simple_statement()

    def simple_statement(self):
        """An assignment, a step or a call."""
        target = self.unary()
        operator = self.token.word
        if self.accept("="):
            return ("assign", target, self.expression())
        if operator in ("+=", "-=", "*=", "/=", "%="):
            self.take()
            return ("assign", target, ("calc", operator[0], target, self.expression()))
        return target

    def statement_if(self):
        self.take("(")
        condition = self.nested(self.expression)
        self.take(")")
        then = self.body()
        self.accept(";") if self.peek("ELSE", ahead=1) else None
        return ("if", condition, then, self.body() if self.accept("ELSE") else None)

    def statement_while(self):
        self.take("(")
        condition = self.nested(self.expression)
        self.take(")")
        return ("while", condition, self.body())

    def statement_for(self):
        self.take("(")
        self.depth += 1
        first = [] if self.peek(";") else [self.simple_statement()]
        while self.accept(","):
            first.append(self.simple_statement())
        self.take(";")
        condition = self.expression()
        self.take(";")
        steps = self.listed(")", self.simple_statement)
        self.depth -= 1
        return ("for", first, condition, steps, self.body())

    def statement_switch(self):
        self.take("(")
        value = self.nested(self.expression)
        self.take(")")
        self.take("{")
        cases = []
        while not self.accept("}"):
            label = None if self.take("CASE", "DEFAULT").word == "DEFAULT" else self.unary()
            self.take(":")
            body = []
            while not self.peek("CASE", "DEFAULT", "}"):
                body.append(self.statement())
            cases.append((label, ("block", body)))
        return ("switch", value, cases)

    def statement_select(self):
        self.take("{")
        branches = []
        while self.accept("ACTIVE"):
            self.take("(")
            condition = self.nested(self.expression)
            self.take(")")
            self.take(":")
            body = []
            while not self.peek("ACTIVE", "}"):
                body.append(self.statement())
            branches.append((condition, ("block", body)))
        self.take("}")
        return ("select", branches)

    def statement_break(self):
        return ("break",)

    def statement_continue(self):
        return ("continue",)

    def statement_return(self):
        ends = self.token.new_line or self.peek("}", ";")
        return ("return", None if ends else self.expression())

    def statement_call(self):
        name = self.take().text
        self.take("(")
        return ("routine", name, self.listed(")", self.expression))

    def statement_wait(self):
        time = self.expression()
        name = self.text_of(self.take()) if self.token.kind == "text" else ""
        captured = []
        if self.accept("CAPTURE"):
            self.take("(")
            captured = self.listed(")", lambda: self.take().word)
        return ("wait", time, name, captured, self.body())

    def statement_cancel_wait(self):
        return ("cancel_wait", self.text_of(self.take()))

    def statement_cancel_all_wait(self):
        return ("cancel_all_wait",)

    def statement_on(self):
        return ("channels", "on", self.items())

    def statement_off(self):
        return ("channels", "off", self.items())

    def statement_to(self):
        return ("channels", "to", self.items())

    def statement_pulse(self):
        return ("channels", "pulse", self.items())

    def statement_send_string(self):
        return ("send", "string") + self.operands()

    def statement_send_command(self):
        return ("send", "command") + self.operands()

    def statement_send_level(self):
        return ("send_level",) + self.operands()

    def statement_create_level(self):
        device, level, variable = self.operands()
        return ("create_level", device, level, variable[1])

    def statement_create_buffer(self):
        device, variable = self.operands()
        return ("create_buffer", device, variable[1])

    def statement_clear_buffer(self):
        return ("clear_buffer", self.take().word)

    def operands(self):
        operands = [self.expression()]
        while self.accept(","):
            operands.append(self.expression())
        return tuple(operands)

    # Expressions

    def nested(self, parse):
        self.depth += 1
        result = parse()
        self.depth -= 1
        return result

    def items(self):
        """[device, channel] and the like."""
        self.take("[")
        return self.listed("]", self.expression)

    def expression(self, level=0):
        if level == len(PRECEDENCE):
            return self.unary()
        left = self.expression(level + 1)
        while self.depth or not self.token.new_line:
            operator = WORD_OPERATORS.get(self.token.word, self.token.word)
            if operator not in PRECEDENCE[level] or self.token.kind == "text":
                break
            self.take()
            right = self.expression(level + 1)
            left = ("compare" if operator in COMPARISONS else "calc", operator, left, right)
        return left

    def unary(self):
        for words, kind in ((("-",), "minus"), (("NOT", "!"), "not"), (("~", "BNOT"), "bnot")):
            if self.accept(*words):
                return (kind, self.unary())
        if self.peek("++", "--"):
            sign = self.take().text[0]
            return ("step", sign, "before", self.unary())
        value = self.primary()
        while value[0] != "list" and (self.depth or not self.token.new_line):
            if self.accept("["):
                value = ("element", value, self.nested(self.expression))
                self.take("]")
            elif self.accept("."):
                value = ("member", value, self.take().word)
            elif self.peek("++", "--"):
                value = ("step", self.take().text[0], "after", value)
            else:
                break
        return value

    def primary(self):
        token = self.take()
        if token.kind == "number":
            number = self.number(token)
            if self.peek(":") and self.tokens[self.at + 1].kind == "number":
                self.take(":")
                port = self.number(self.take())
                self.take(":")
                return ("device", number, port, self.number(self.take()))
            return ("number", number)
        if token.kind == "text":
            return ("text", self.text_of(token).encode())
        if token.text == '"':
            return ("bytes", self.listed('"', self.expression))
        if token.text == "{":
            return ("list", self.listed("}", self.expression))
        if token.text == "[":
            self.at -= 1
            return ("state", self.items())
        if token.text == "(":
            value = self.nested(self.expression)
            self.take(")")
            if self.peek(":") and self.peek("(", ahead=1):
                parts = [value]
                while self.accept(":"):
                    self.take("(")
                    parts.append(self.nested(self.expression))
                    self.take(")")
                return ("address", parts)
            return value
        if token.kind == "name":
            if self.peek("(") and not self.token.new_line:
                self.take("(")
                return ("call", token.text, self.listed(")", self.expression))
            return ("variable", token.word)
        raise SyntaxError(f"an expression expected, found {token.text!r} (token {self.at})")

    @staticmethod
    def number(token):
        if token.text.startswith("$"):
            return float(int(token.text[1:], 16))
        return float(int(token.text, 16)) if token.text[:2].lower() == "0x" else float(token.text)

    @staticmethod
    def text_of(token):
        return token.text[1:-1].replace("''", "'")


def parse(text):
    # Types are known in the whole program: first their names.
    parser = Parser(text)
    for at, token in enumerate(parser.tokens[:-1]):
        if token.word == "STRUCT":
            parser.program.types.setdefault(parser.tokens[at + 1].word, [])
    return parser.parse()
