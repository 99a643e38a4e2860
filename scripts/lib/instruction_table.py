"""Prints what callgrind counted while one function ran, for each call of it.

instruction_table.py FUNCTION TITLE HEAD=FILE...: each file gives one column of a table, or two. It is written with
--compress-strings=no and --compress-pos=no.
"""
import re
import sys
from collections import defaultdict

OWN_STEPS = "FileStream, as it is repeated"
LIBRARY = "the library's portable units"
RUNTIME = "the C++ runtime"
SYSTEM = "the C library, without the kernel"
GROUPS = (OWN_STEPS, LIBRARY, RUNTIME, SYSTEM)
EVENTS = {
    "allocations": re.compile(r"operator new(\[\])?$"),
    "mutexes taken": re.compile(r"(__)?pthread_mutex_(try)?lock$"),
    "system calls": re.compile(
        r"_*(libc_)?(read|writev?|lseek(64)?|open(64)?|close|fstat(64)?|time)(_syscall|_nocancel)?$"),
}
SHOWN = 24


def short_name(function):
    """The qualified name, without result, template arguments and parameters."""
    text = re.sub(r"\[(abi:\w+|clone [^]]*)\]|@.*", "", function).replace("(anonymous namespace)::", "")
    text = re.sub(r"operator(<<?|>>?|\(\))", lambda match: "operator" + " " * len(match[1]), text)
    name, depth = "", 0
    for letter in text:
        if letter in "(<":
            depth += 1
            if letter == "(":
                break
        elif letter == ">":
            depth -= 1
        elif depth == 0:
            name += letter
    words = name.split()
    return name.strip() if "operator" in name else words[-1] if words else function


class Profile:
    """Instructions and calls of one file, by functions. A function is a pair of object and name."""

    def __init__(self, path):
        self.program = ""
        self.own = defaultdict(int)
        self.calls = defaultdict(lambda: [0, 0])  # of (caller, callee): count, instructions
        with open(path, encoding="utf-8") as lines:
            self.read(lines)
        self.inclusive = defaultdict(int, self.own)
        for (caller, _), (_, cost) in self.calls.items():
            self.inclusive[caller] += cost

    def read(self, lines):
        library = function = callee = None
        callee_library = count = None
        for line in lines:
            key, _, value = line.rstrip("\n").partition("=")
            if line.startswith("cmd:"):
                self.program = line.split()[1].split("/")[-1]
            elif key == "ob":
                library = value
            elif key == "fn":
                function = (library, value)
            elif key == "cob":
                callee_library = value
            elif key == "cfn":
                callee = (callee_library or library, value)
                callee_library = None
            elif key == "calls":
                count = int(value.split()[0])
            elif line[:1].isdigit() or line[:1] in "+-*":
                cost = int(line.split()[1]) if len(line.split()) > 1 else 0
                if count is None:
                    self.own[function] += cost
                else:
                    edge = self.calls[function, callee]
                    edge[0] += count
                    edge[1] += cost
                    count = None

    def reached_from(self, functions):
        """The functions, and all that they call while counting is on."""
        reached, waiting = set(), list(functions)
        while waiting:
            function = waiting.pop()
            if function not in reached:
                reached.add(function)
                waiting += [callee for (caller, callee), (_, cost) in self.calls.items() if caller == function and cost]
        return reached

    def group(self, function):
        library, name = function
        if library.split("/")[-1] != self.program:
            return RUNTIME if re.search(r"libstdc\+\+|libgcc", library) else SYSTEM
        short = short_name(name)
        if short.startswith("sd::clip::"):
            return LIBRARY
        # The runtime's templates are compiled into the program. One of them only calls the sink.
        return RUNTIME if re.match(r"(std|__gnu_cxx)::", short) and "Portable" not in name else OWN_STEPS


class Column:
    """What a table shows of one profile, not yet divided by the count of calls."""

    def __init__(self, head, path, counted):
        self.head = head
        profile = Profile(path)
        self.count = sum(count for (_, callee), (count, _) in profile.calls.items() if short_name(callee[1]) == counted)
        if self.count == 0:
            sys.exit(f"{path}: {counted} is not called")
        self.groups = defaultdict(int)
        for function, cost in profile.own.items():
            self.groups[profile.group(function)] += cost
        reached = profile.reached_from(function for function in list(profile.own) if short_name(function[1]) == counted)
        ours = {function for function in reached if profile.group(function) in (LIBRARY, OWN_STEPS)}
        self.functions = defaultdict(lambda: [0, 0])  # the library's: calls, instructions with those of what they call
        self.ways_out = defaultdict(lambda: [0, 0])  # what the library calls of others
        self.events = defaultdict(int)
        for function in ours:
            self.functions[short_name(function[1])][1] += profile.inclusive[function]
        for (caller, callee), (count, cost) in profile.calls.items():
            name = short_name(callee[1])
            if callee in ours:
                self.functions[name][0] += count
            elif caller in ours:
                self.ways_out[name][0] += count
                self.ways_out[name][1] += cost
            for event, pattern in EVENTS.items():
                if pattern.match(name):
                    self.events[event] += count


def print_row(title, texts):
    print(f"{title:<56}" + "".join(f"{text:>10}" for text in texts))


def print_totals(title, columns):
    print_row(f"Instructions for each {title}", [column.head for column in columns])
    for group in GROUPS:
        print_row("  " + group, [f"{column.groups[group] / column.count:.1f}" for column in columns])
    print_row("  all", [f"{sum(column.groups.values()) / column.count:.1f}" for column in columns])
    for event in EVENTS:
        print_row(event, [f"{column.events[event] / column.count:.2f}" for column in columns])


def print_functions(title, columns, kind):
    tables = [getattr(column, kind) for column in columns]
    print_row(title, [text for column in columns for text in ("calls", column.head)])
    names = set().union(*tables)
    for name in sorted(names, key=lambda name: (-max(table[name][1] for table in tables), name))[:SHOWN]:
        print_row("  " + name[:53], [f"{number / column.count:.{digits}f}" for column, table in zip(columns, tables)
                                     for number, digits in zip(table[name], (2, 1))])


def main():
    counted, title = sys.argv[1:3]
    columns = [Column(*argument.split("=", 1), counted) for argument in sys.argv[3:]]
    print_totals(title, columns)
    print()
    print_functions("The library's functions, with all that they call", columns, "functions")
    print()
    print_functions("What these call of the C++ runtime and the C library", columns, "ways_out")
    print()


main()
