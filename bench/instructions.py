#!/usr/bin/env python3
"""Counts the instructions of each part of the program (an echo, a ping, a line, a report), and compares them with
the counts kept in bench/instructions.json: a part that has grown fails. Unlike a time, a count is the same on a busy
machine.

Each part is done by `workload` on one thread, twice with different counts; the difference is the part's own, without
the start. Counted by valgrind: its counts are the same on every machine to some hundredths of a percent, and it needs
no right and no counter of the processor, which many virtual machines do not have. Where it is not installed perf counts
(instructions:u). Without either nothing is counted, and that is said.
"""

import argparse
import json
import pathlib
import platform
import re
import shutil
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

from lab.network import why_no_namespaces  # noqa: E402

KEPT = pathlib.Path(__file__).resolve().with_name("instructions.json")

# Each part with the two counts between which it is measured.
PARTS = {"echo-tap": (2_000, 12_000), "echo-tun": (2_000, 12_000), "echo-wire": (2_000, 12_000), "ping": (2_000, 12_000), "line": (2_000, 22_000),
         "report": (10, 30), "adapter": (100, 1_000), "route": (10_000, 100_000)}
# Done in a network namespace of its own, on a veth pair.
ON_A_WIRE = ("echo-wire",)
WIRE = """set -e
echo 1 > /proc/sys/net/ipv6/conf/default/disable_ipv6 || true
ip link add adapter type veth peer name far
ip address add 10.77.0.1/24 dev adapter
ip link set adapter up
ip link set far up
exec "$@"
"""
# What must not cost more each when there are ten times as many.
GROWING = ("adapter", "route")
MOST_GROWTH = 0.05
# More than the kept count by this much fails: as counted the same way, and with another compiler, another version of
# the libraries or another counter.
SAME, OTHER = 0.02, 0.15


class NotCounted(Exception):
    """The counter does not work here; the text says why."""


def run(command):
    if any(part in command for part in ON_A_WIRE):
        command = ["unshare", "--net", "sh", "-c", WIRE, "sh", *command]
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, command))}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stderr


def by_valgrind(command):
    said = run(["valgrind", "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null", *command])
    return int(re.search(r"I\s+refs:\s+([\d,]+)", said)[1].replace(",", ""))


def by_perf(command):
    said = run(["perf", "stat", "-x", ",", "-e", "instructions:u", "--", *command])
    count = next((line.split(",")[0] for line in said.splitlines() if "instructions" in line), "nothing")
    if not count.isdigit():
        raise NotCounted(f"perf says: instructions {count}")
    return int(count)


COUNTERS = {"valgrind": by_valgrind, "perf": by_perf}


def find_counter(wanted, program):
    """The name of a counter that works here."""
    reasons = []
    for name in [wanted] if wanted else COUNTERS:
        if not shutil.which(name):
            reasons.append(f"{name} is not installed")
            continue
        try:
            COUNTERS[name]([program, "line", "1"])
            return name
        except NotCounted as why:
            reasons.append(str(why))
    raise NotCounted("; ".join(reasons))


def circumstances(counter):
    """What a count depends on besides the sources."""
    compiler = subprocess.run(["c++", "-dumpfullversion"], capture_output=True, text=True).stdout.strip()
    try:
        release = platform.freedesktop_os_release()
        system = f"{release['ID']} {release.get('VERSION_ID', '')}".strip()
    except OSError:
        system = platform.system()
    return {"counter": counter, "compiler": compiler, "system": system, "processor": platform.machine()}


def count_all(counter, program):
    """Instructions of one of each part, and the faults of those that do not stay flat."""
    count, counts, faults = COUNTERS[counter], {}, []
    missing = why_no_namespaces()
    for part, (few, many) in PARTS.items():
        if part in ON_A_WIRE and missing:
            print(f"  {part}: SKIPPED: {missing}")
            continue
        at_few, at_many = (count([program, part, times]) for times in (few, many))
        counts[part] = round((at_many - at_few) / (many - few))
        if part in GROWING:
            before = (at_few - count([program, part, few // 10])) / (few - few // 10)
            growth = counts[part] / before - 1
            print(f"  {part}: {before:.0f} instructions each up to {few:,}, {counts[part]} from there to {many:,}")
            if growth > MOST_GROWTH:
                faults.append(f"{part}: one costs {growth:.0%} more when there are {many:,} instead of {few:,}; its cost must "
                              "not depend on how many there are")
    return counts, faults


def compare(counts, kept, allowed, program):
    """Prints each part beside what is kept; the faults."""
    faults = []
    print(f"  {'instructions of one':20} {'now':>10} {'kept':>10}")
    for part, now in counts.items():
        before = kept.get(part)
        change = f"{now / before - 1:+.1%}" if before else "not kept yet"
        print(f"  {part:20} {now:10,} {before or 0:10,}  {change}")
        if before is None:
            faults.append(f"{part}: no count is kept; keep it with script/instructions --update")
        elif now > before * (1 + allowed):
            faults.append(
                f"{part}: one takes {now:,} instructions instead of {before:,}, {now - before:,} more ({change}; allowed: "
                f"{allowed:.0%}). Where: valgrind --tool=callgrind {program} {part} {PARTS[part][0]}. If it is meant to "
                "cost that, keep the new count with script/instructions --update, and say in the commit what it is for.")
        elif now < before * (1 - allowed):
            print(f"  {part} takes less: keep the new count with script/instructions --update, so that it stays so")
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path, help="the release build's workload")
    parser.add_argument("--counter", choices=COUNTERS, help="count by this one")
    parser.add_argument("--update", action="store_true", help=f"keep the new counts in bench/{KEPT.name}")
    options = parser.parse_args()
    try:
        counter = find_counter(options.counter, options.program)
    except NotCounted as why:
        print(f"SKIPPED: instructions cannot be counted here: {why}")
        return 0
    now = circumstances(counter)
    counts, faults = count_all(counter, options.program)
    kept = json.loads(KEPT.read_text(encoding="utf-8")) if KEPT.exists() else {"counted": {}, "instructions": {}}
    if options.update:
        KEPT.write_text(json.dumps({"counted": now, "instructions": kept["instructions"] | counts}, indent=2) + "\n", encoding="utf-8")
    same = kept["counted"] == now
    if not same:
        print(f"  counted here: {', '.join(now.values())}; kept: {', '.join(kept['counted'].values()) or 'nothing'}")
    growth = compare(counts, kept["instructions"], SAME if same else OTHER, options.program)
    if options.update:
        print(f"kept in bench/{KEPT.name}")
    else:
        faults += growth
    for fault in faults:
        print(f"** {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
