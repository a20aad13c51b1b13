"""Finds the changes that the mutation test makes to a source, one at a time, with clang's syntax tree."""

import re
from dataclasses import dataclass

from clang.cindex import CursorKind, Index

# What may stand in the place of an operator.
OPERATORS = {
    "==": ["!="],
    "!=": ["=="],
    "<": ["<=", ">"],
    "<=": ["<", ">"],
    ">": [">=", "<"],
    ">=": [">", "<"],
    "&&": ["||"],
    "||": ["&&"],
    "+": ["-"],
    "-": ["+"],
    "*": ["/"],
    "/": ["*"],
    "%": ["/"],
    "<<": [">>"],
    ">>": ["<<"],
    "&": ["|"],
    "|": ["&"],
    "=": [],
    "+=": ["-="],
    "-=": ["+="],
    "&=": ["|="],
    "|=": ["&="],
    "++": ["--"],
    "--": ["++"],
}
COMPARISONS = {"==", "!=", "<", "<=", ">", ">=", "&&", "||", "!"}
MASKS = {"&", "|", "<<", ">>", "&=", "|=", "~"}
JUMPS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
LOG_CALLS = {"syslog", "SOFTWARE_ERROR", "TRACE"}


@dataclass(frozen=True)
class Mutant:
    file: str  # below the project's folder
    start: int  # offsets of what is replaced
    end: int
    new: str
    kind: str  # comparison, constant, mask, arithmetic, order, call, argument, log, text
    function: str
    old: str
    line: int

    def key(self):
        """The same as long as its function and the text around it are, in whatever file and line they are."""
        squeeze = lambda text: re.sub(r"\s+", " ", text).strip()
        return f"{self.function} {self.kind}: {squeeze(self.old)} -> {squeeze(self.new)}"

    def name(self):
        return f"{self.file} {self.key()}"


class Finder:
    def __init__(self, root, file, arguments):
        self.file = file
        self.path = f"{root}/{file}"
        self.bytes = open(self.path, "rb").read()
        unit = Index.create().parse(self.path, args=arguments, options=1)  # 1: keep macro expansions
        errors = [d for d in unit.diagnostics if d.severity >= 3]
        if errors:
            raise RuntimeError(f"{file}: clang cannot read it: {errors[0]}")
        self.unit = unit
        self.mutants = []
        self.context = ""  # shown with the old text, so that the name tells where it is

    def find(self):
        self.functions(self.unit.cursor, "")
        return self.numbered()

    def numbered(self):
        """Two changes of one name are distinguished by a number."""
        seen = {}
        result = []
        for m in sorted(set(self.mutants), key=lambda m: (m.start, m.end, m.new)):
            count = seen[m.name()] = seen.get(m.name(), 0) + 1
            function = m.function if count == 1 else f"{m.function}#{count}"
            result.append(Mutant(m.file, m.start, m.end, m.new, m.kind, function, m.old, m.line))
        return result

    def text(self, start, end):
        return self.bytes[start:end].decode()

    def extent(self, cursor):
        """Where a cursor stands in this file, macro calls whole; nothing when it is elsewhere."""
        start, end = cursor.extent.start, cursor.extent.end
        if start.file is None or end.file is None or start.file.name != self.path or end.file.name != self.path:
            return None
        return (start.offset, end.offset) if end.offset > start.offset else None

    def add(self, start, end, new, kind):
        if self.text(start, end) != new:
            line = self.bytes.count(b"\n", 0, start) + 1
            old = self.text(start, end)
            if len(old) < 12:  # too short to tell where it is: the whole line stands beside it
                begin = self.bytes.rfind(b"\n", 0, start) + 1
                stop = self.bytes.find(b"\n", end)
                before = self.text(begin, start).count(old)
                which = f" ({before + 1})" if before else ""
                old = f"{old}{which} in '{self.text(begin, stop).strip()}'"
            self.mutants.append(Mutant(self.file, start, end, new, kind, self.function, old, line))

    def functions(self, cursor, function):
        for child in cursor.get_children():
            where = self.extent(child)
            if where is None:
                continue
            name = function
            if child.kind in (CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
                              CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE):
                if not child.is_definition():
                    continue
                owner = child.semantic_parent
                is_member = owner is not None and owner.kind in (CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL)
                name = f"{owner.spelling}::{child.spelling}" if is_member else child.spelling
                self.function = name
                self.walk(child)
            elif child.kind in (CursorKind.VAR_DECL, CursorKind.ENUM_DECL):
                self.function = child.spelling
                self.walk(child)
            elif child.kind in (CursorKind.NAMESPACE, CursorKind.STRUCT_DECL, CursorKind.CLASS_DECL,
                                CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL):
                self.functions(child, name)

    def walk(self, cursor):
        where = self.extent(cursor)
        kind = cursor.kind
        if where:
            if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
                self.binary(cursor)
            elif kind == CursorKind.UNARY_OPERATOR:
                self.unary(cursor, where)
            elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL,
                          CursorKind.CXX_BOOL_LITERAL_EXPR):
                self.constant(cursor, where)
            elif kind == CursorKind.STRING_LITERAL:
                self.string(where)
            elif kind in (CursorKind.CALL_EXPR, CursorKind.CXX_UNARY_EXPR, CursorKind.CONSTRUCTOR):
                self.arguments(cursor)
            if kind == CursorKind.COMPOUND_STMT:
                self.statements(cursor)
            if kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR):
                self.condition(cursor)
        for child in cursor.get_children():
            self.walk(child)

    def binary(self, cursor):
        left, right = list(cursor.get_children())[:2]
        a, b = self.extent(left), self.extent(right)
        if not a or not b:
            return
        between = self.text(a[1], b[0])
        found = re.search(r"[-+*/%<>=!&|]+", between)
        if not found or found.group() not in OPERATORS:
            return
        start = a[1] + len(between[:found.start()].encode())
        operator = found.group()
        kind = "comparison" if operator in COMPARISONS else "mask" if operator in MASKS else "arithmetic"
        for new in OPERATORS[operator]:
            self.add(start, start + len(operator), new, kind)

    def unary(self, cursor, where):
        text = self.text(*where)
        if text.startswith("!"):
            self.add(where[0], where[0] + 1, "", "comparison")
        elif text.startswith("~"):
            self.add(where[0], where[0] + 1, "", "mask")
        elif text.endswith("++"):
            self.add(where[1] - 2, where[1], "--", "arithmetic")

    def constant(self, cursor, where):
        text = self.text(*where)
        if text in ("true", "false"):
            self.add(*where, "false" if text == "true" else "true", "constant")
        elif re.fullmatch(r"0[xX][0-9a-fA-F]+[uU]?", text):
            value = int(text.rstrip("uU"), 16)
            self.add(*where, hex(value ^ 1), "mask")
            self.add(*where, hex(value ^ (1 << max(value.bit_length() - 1, 0))), "mask")
            self.add(*where, hex(value << 1), "mask")
        elif re.fullmatch(r"\d+[uU]?", text):
            value = int(text.rstrip("uU"))
            self.add(*where, str(value + 1), "constant")
            if value > 0:
                self.add(*where, str(value - 1), "constant")
        elif re.fullmatch(r"\d+\.\d+", text):
            self.add(*where, str(float(text) * 1.01), "constant")

    def string(self, where):
        """One letter of a text changed: its last, the format letters left alone."""
        text = self.text(*where)
        for found in reversed(list(re.finditer(r"%-?\d*[a-z]|\\\\.|[A-Za-z=]", text))):
            if len(found.group()) == 1:
                at = where[0] + len(text[:found.start()].encode())
                self.add(at, at + 1, "#", "text")
                return

    def arguments(self, cursor):
        arguments = [self.extent(a) for a in cursor.get_arguments()]
        for a, b in zip(arguments, arguments[1:]):
            if a and b and a[1] <= b[0] and self.text(*a) != self.text(*b):
                between = self.text(a[1], b[0])
                self.add(a[0], b[1], self.text(*b) + between + self.text(*a), "argument")

    def condition(self, cursor):
        children = list(cursor.get_children())
        where = self.extent(children[0]) if children else None
        if where and children[0].kind.is_expression():
            self.add(*where, f"!({self.text(*where)})", "comparison")

    def statement(self, cursor):
        """The extent of a statement: with its semicolon, or to its closing brace."""
        where = self.extent(cursor)
        if not where:
            return None
        text = self.text(where[0], min(where[1] + 80, len(self.bytes)))
        length = where[1] - where[0]
        if text[length - 1] in ";}" and not cursor.kind.is_expression():
            return where
        found = re.match(r"\s*;", text[length:])
        return (where[0], where[1] + len(found.group())) if found else None

    def statements(self, cursor):
        """Leaves out each plain call and assignment, and exchanges each two statements one of which calls."""
        movable = []  # (extent, whether it calls); of two that do not call nobody can tell the order
        for child in cursor.get_children():
            where = self.statement(child)
            is_log = bool(where) and self.is_log(where)
            if where and (is_log or child.kind.is_expression()):
                self.drop(where)
            calls = is_log or self.calls(child)
            stays = child.kind in JUMPS or child.kind == CursorKind.DECL_STMT and not calls
            movable.append((None if stays else where, calls))
        for (a, a_calls), (b, b_calls) in zip(movable, movable[1:]):
            if a and b and a[1] <= b[0] and (a_calls or b_calls):
                between = self.text(a[1], b[0])
                self.add(a[0], b[1], self.text(*b) + between + self.text(*a), "order")

    def calls(self, cursor):
        return any(part.kind == CursorKind.CALL_EXPR for part in cursor.walk_preorder())

    def is_log(self, where):
        found = re.match(r"\w+", self.text(*where))
        return bool(found) and found.group() in LOG_CALLS

    def drop(self, where):
        kind = "log" if self.is_log(where) else "call"
        self.add(*where, ";", kind)


def find_mutants(root, file, arguments):
    return Finder(root, file, arguments).find()
