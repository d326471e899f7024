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

def ping_statistics(text):
    """The figures of the one statistics block in `text`, as numbers; None when there is none."""
    blocks = list(PING_BLOCK.finditer(text))
    if not blocks:
        return None
    assert len(blocks) == 1, "more than one statistics block"
    figures = blocks[0].groupdict()
    return {name: value if name in ("target", "verdict") else int(value) for name, value in figures.items()}


def interface_statistics(text, name=".+"):
    """The counters of an interface's statistics block, by their names; None when there is none or it is not whole."""
    block = re.search(rf"^\*\*\* Statistics for Interface {name}:\n\n((?:.*K\n){{3}})\n((?: *\d+  .*\n){{6}})\n((?: *\d+  .*\n){{9}})",
                      text, re.MULTILINE)
    return block and {line: int(number) for number, line in re.findall(r"(\d+)  (.*)", block[2] + block[3])}
