"""The ratios of the end-to-end comparison: made from the seconds of interleaved rounds, kept in docs/performance.md for
each machine, and printed beside the kept ones.

A ratio is that of the medians. Beside it stand the quartiles of the rounds' own ratios: contestants of one round are
measured close together, so that these show what the machine's drift leaves.
"""

import json
import pathlib
import re
import statistics

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs" / "performance.md"
BLOCK = re.compile(r"(<!-- ratios: kept by bench/ratios.py -->\n```json\n)(.*?)(```)", re.DOTALL)


def quartiles(values):
    if len(values) < 2:
        return values[0], values[0]
    cuts = statistics.quantiles(values, n=4, method="inclusive")
    return cuts[0], cuts[2]


def ratio(first, second):
    """(lower quartile, ratio of the medians, upper quartile) of two contestants' seconds, round by round."""
    lower, upper = quartiles([a / b for a, b in zip(first, second, strict=True)])
    return lower, statistics.median(first) / statistics.median(second), upper


def kept():
    """By the machine's name, its description and its ratios."""
    match = BLOCK.search(DOCUMENT.read_text(encoding="utf-8"))
    return json.loads(match[2]) if match else {}


def as_text(machines):
    """As JSON, a ratio a line."""
    def ratios_of(entry):
        return ",\n".join(f"      {json.dumps(name)}: {json.dumps(value)}" for name, value in entry["ratios"].items())

    return "{\n" + ",\n".join(
        f"  {json.dumps(name)}: {{\n    \"about\": {json.dumps(entry['about'])},\n    \"ratios\": {{\n{ratios_of(entry)}\n    }}\n  }}"
        for name, entry in machines.items()) + "\n}"


def keep(name, about, ratios):
    """Replaces this machine's ratios by those of `ratios`; its others and other machines' stay."""
    machines = kept()
    old = machines.get(name, {"ratios": {}})["ratios"]
    machines[name] = {"about": about,
                      "ratios": old | {key: [round(part, 2) for part in value] for key, value in ratios.items()}}
    text = DOCUMENT.read_text(encoding="utf-8")
    DOCUMENT.write_text(BLOCK.sub(lambda match: f"{match[1]}{as_text(machines)}\n{match[3]}", text), encoding="utf-8")


def median_of(value):
    """Of a kept ratio: quartiles and median, or the median alone where no more is known."""
    return value[1] if isinstance(value, list) else value


def show(ratios, name):
    """Prints the ratios beside those kept of each machine, this one's first."""
    machines = kept()
    others = {key: machines[key] for key in sorted(machines, key=lambda each: each != name)}
    print("\nRatios of medians (time; less than 1 is faster), with the quartiles of the rounds")
    if name not in machines:
        print("  No ratios of this machine are kept.")
    for number, other in enumerate(others, 1):
        print(f"  kept {number}: {other}{' (this machine)' if other == name else ''}")
    print(f"  {'':52} {'now':>6} {'quartiles':>15} " + " ".join(f"{f'kept {number}':>8}" for number in range(1, len(others) + 1)))
    for key, (lower, middle, upper) in ratios.items():
        beside = [median_of(entry["ratios"][key]) if key in entry["ratios"] else None for entry in others.values()]
        columns = " ".join("       -" if value is None else f"{value:8.2f}" for value in beside)
        change = f"  {middle / beside[0] - 1:+.0%}" if name in machines and beside[0] else ""
        print(f"  {key:52} {middle:6.2f} {f'{lower:.2f} to {upper:.2f}':>15} {columns}{change}")
