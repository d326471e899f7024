"""The texts of a ping test and of an interface's statistics, taken apart and put together."""

import re

PING_BLOCK = re.compile(
    r"^ Ping statistics for (?P<target>.+):\n\n"
    r" (?P<sent> *\d+) Pings Sent\n"
    r" (?P<received> *\d+) Replies Received \(Minimum = (?P<minimum>\d+)ms, Maximum = (?P<maximum>\d+)ms, "
    r"Average = (?P<average>\d+)ms\)\n"
    r" (?P<timeouts> *\d+) Pings Timeouts\n"
    r" (?P<duplicates> *\d+) Duplicate Replies\n"
    r" (?P<lost> *\d+) Pings Lost \((?P<percent>\d+)%\)\n\n"
    r" Ping test (?P<verdict>has FAILED|successful)\.\n\n"
    r"\*\* END PING TEST \*\*\n", re.MULTILINE)

# The order and the letter of the interface statistics.
INTERFACE_LINES = (
    "Total Write Calls", "Total Write I/Os", "Packets To All Zeroes MAC Written",
    "Packets From All Zeroes MAC Written", "Total Packets Written", "Total Bytes Written", None,
    "Total Read Calls", "Total Read I/Os", "Internally Handled ARP Packets", "Packets From Ourself",
    "Total Ignored Packets", "Packets To All Zeroes MAC Read", "Packets From All Zeroes MAC Read",
    "Total Packets Read", "Total Bytes Read",
)


def ping_statistics(text):
    """The figures of the one statistics block in `text`, as numbers; None when there is none."""
    blocks = list(PING_BLOCK.finditer(text))
    if not blocks:
        return None
    if len(blocks) > 1:
        raise AssertionError("more than one statistics block")
    figures = blocks[0].groupdict()
    for name in ("sent", "received", "timeouts", "duplicates", "lost"):
        if len(figures[name]) < 5:
            raise AssertionError(f"{name} is not five wide: {figures[name]!r}")
    words = ("target", "verdict")
    return {name: value if name in words else int(value) for name, value in figures.items()}


def interface_statistics(text, name=None):
    """The counters of an interface's statistics block, by their names."""
    pattern = rf"^\*\*\* Statistics for Interface {re.escape(name) if name else '.+'}:\n\n"
    pattern += (r"Size of Kernel Capture Buffer:   (?P<kernel> *\d+)K\n"
                r"Size of DLL I/O Buffer:          (?P<dll> *\d+)K\n"
                r"Maximum DLL I/O Bytes Received:  (?P<maximum> *\d+)K\n\n")
    for line in INTERFACE_LINES:
        pattern += r"\n" if line is None else rf"( *\d+)  {re.escape(line)}\n"
    match = re.search(pattern, text, re.MULTILINE)
    if not match:
        return None
    counters = match.groups()[3:]
    result = dict(zip((line for line in INTERFACE_LINES if line), map(int, counters)))
    return result | {key: int(match[key]) for key in ("kernel", "dll", "maximum")}
