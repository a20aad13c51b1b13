#!/usr/bin/env python3
"""Holds the table of docs/troubleshooting.md against the lines that the service's sources write.

Every line that goes to syslog or to standard output has its row: level, position for a software error, words. A line
without a row, a row without a line and a row in twice are errors.

Usage: log_lines.py SOURCE_FOLDER
"""

import ast
import re
import sys
from collections import Counter
from pathlib import Path

# What the service is made of.
FOLDERS = ("components/PoeDriver", "platform/host")
DOCUMENT = "docs/troubleshooting.md"

TOKEN = re.compile(r'"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|//[^\n]*|/\*.*?\*/', re.S)
CALL = re.compile(r"\b(syslog|SOFTWARE_ERROR|TRACE|puts)\(")
UNKNOWN_WRITER = re.compile(r"\b(v?printf|v?fprintf|dprintf|perror|fputs|vsyslog|std::c(?:out|err|log))\b")
LEVELS = {"LOG_CRIT": "CRIT", "LOG_ERR": "ERR", "LOG_INFO": "INFO", "LOG_DEBUG": "DEBUG"}
NO_POSITION = "-"


class Unreadable(Exception):
    """A source that this test cannot follow: mend the test."""


def without_comments(text):
    text = text.replace("\\\n", "  ")
    return TOKEN.sub(lambda match: " " if match.group().startswith("/") else match.group(), text)


def arguments(text, start):
    """The arguments of the call whose opening parenthesis is before `start`."""
    parts, depth, begin, at = [], 0, start, start
    while True:
        literal = TOKEN.match(text, at)
        if literal:
            at = literal.end()
            continue
        character = text[at]
        if character in "([{":
            depth += 1
        elif character in ")]}" and depth:
            depth -= 1
        elif character in ",)" and not depth:
            parts.append(text[begin:at].strip())
            begin = at + 1
            if character == ")":
                return parts
        at += 1


def words(expression, where):
    """The text of string literals side by side, without the blanks and the line end at its end."""
    literals = re.findall(r'"(?:\\.|[^"\\])*"', expression)
    if not literals or re.sub(r'"(?:\\.|[^"\\])*"|\s', "", expression):
        raise Unreadable(f"{where}: the words of this line are no literal: {expression}")
    return "".join(ast.literal_eval(literal) for literal in literals).rstrip()


class Sources:
    def __init__(self, root):
        self.texts = {}
        for folder in FOLDERS:
            for path in sorted((root / folder).rglob("*")):
                if path.suffix in (".cpp", ".h"):
                    self.texts[path.relative_to(root)] = without_comments(path.read_text())
        everything = "\n".join(self.texts.values())
        self.everything = everything
        self.paths = dict(re.findall(r'constexpr char (\w+)\[\] = ("[^"]*");', everything))
        self.positions = {}
        for space, body in re.findall(r"namespace (\w+Line) \{(.*?)\}", everything, re.S):
            for name, number in re.findall(r"constexpr int (\w+) = (\d+);", body):
                self.positions[f"{space}::{name}"] = number
        self.used = set()

    def lines(self):
        """(level, position, words) of every line that is written, and where."""
        for path, text in self.texts.items():
            unknown = UNKNOWN_WRITER.search(text)
            if unknown:
                raise Unreadable(f"{path}: {unknown.group()} writes a line that this test does not know")
            for call in CALL.finditer(text):
                if text[: call.start()].endswith("#define "):
                    continue
                where = f"{path}:{text.count(chr(10), 0, call.start()) + 1}"
                given = arguments(text, call.end())
                yield from self.of_call(call, given, text, where)
        unused = set(self.positions) - self.used
        if unused:
            raise Unreadable(f"no line carries the position {', '.join(sorted(unused))}")

    def of_call(self, call, given, text, where):
        name = call.group(1)
        if name == "puts":
            yield ("stdout", NO_POSITION, words(given[0], where)), where
        elif name == "SOFTWARE_ERROR":
            source = Path(ast.literal_eval(self.paths.get(given[0], given[0]))).name
            for number in self.numbers(given[1], call, text, where):
                yield ("ERR", f"{source} {number}", words(given[2], where)), where
        elif given[1] != "__VA_ARGS__":  # the macros themselves
            if given[0] not in LEVELS:
                raise Unreadable(f"{where}: unknown level {given[0]}")
            yield (LEVELS[given[0]], NO_POSITION, words(given[1], where)), where

    def numbers(self, expression, call, text, where):
        """The positions a software error is reported with: its own, or those that its function is called with."""
        if expression.isdigit():
            return [expression]
        names = [expression]
        if expression not in self.positions:
            functions = re.findall(rf"\b(\w+)\(int {re.escape(expression)}\b", text[: call.start()])
            if not functions:
                raise Unreadable(f"{where}: unknown position {expression}")
            names = re.findall(rf"\b{functions[-1]}\((\w+Line::\w+)", self.everything)
        self.used.update(names)
        return [self.positions[name] for name in names]


def rows(document):
    for number, line in enumerate(document.read_text().splitlines(), 1):
        cells = [cell.strip() for cell in line.split("|")]
        if len(cells) == 8 and cells[1] != "Level" and cells[1].strip("-"):
            if not re.fullmatch(r"`[^`]+`", cells[3]) or "" in cells[4:7]:
                raise Unreadable(f"{DOCUMENT}:{number}: a row has its words in `...` and all six cells filled")
            yield (cells[1], cells[2], cells[3][1:-1]), f"{DOCUMENT}:{number}"


def described(line):
    level, position, text = line
    return f"{level} | {position} | `{text}`"


def main():
    root = Path(sys.argv[1])
    try:
        written = dict(Sources(root).lines())
        in_table = list(rows(root / DOCUMENT))
    except Unreadable as error:
        sys.exit(str(error))
    table = dict(in_table)
    faults = [f"{where}: no row in {DOCUMENT}: {described(line)}" for line, where in written.items() if line not in table]
    faults += [f"{where}: no source writes this: {described(line)}" for line, where in table.items() if line not in written]
    often = [line for line, count in Counter(line for line, _ in in_table).items() if count > 1]
    faults += [f"{table[line]}: a second row of: {described(line)}" for line in often]
    if faults:
        sys.exit("\n".join(faults))
    print(f"{len(written)} lines, each with its row")


main()
