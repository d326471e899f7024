#!/usr/bin/env python3
"""`vnxtest-cli report` on a host with very many adapters, and with very many routes, really there in a network namespace:
time, processor time and memory of one of them, up to a tenth and from there to all. Needs root.
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

import machine  # noqa: E402
from lab import network  # noqa: E402

SKIPPED = 77
ADAPTERS, ROUTES = 1_000, 100_000
FEW = 10  # adapters of the host with many routes


def batch(namespace, lines):
    """Commands of ip(8), all or none."""
    done = subprocess.run(["ip", "-n", namespace.name, "-batch", "-"], input="\n".join(lines), text=True, capture_output=True)
    if done.returncode != 0:
        raise SystemExit(f"ip -batch: {done.stderr[-500:]}")


def add_adapters(namespace, first, end):
    """Those numbered from `first` up to `end`, two at a time, as both ends of a cable."""
    for number in range(first, end, 2):
        yield f"link add v{number} type veth peer name v{number + 1}"
        for one in (number, number + 1):
            yield f"link set v{one} up"
            yield f"address add 10.{one // 250}.{one % 250}.1/24 dev v{one}"


def add_routes(first, end):
    for number in range(first, end):
        yield f"route add {100 + (number >> 16)}.{number >> 8 & 255}.{number & 255}.7/32 dev v0"


def report(namespace, program, rounds, said):
    """(seconds, processor seconds, most bytes resident) of a report, medians; `said` are in it, each on a line of its own."""
    found = []
    for _ in range(rounds):
        started = time.monotonic()
        process = subprocess.Popen(namespace.command(program, "report"), stdout=subprocess.PIPE)
        text = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        seconds = time.monotonic() - started
        lines = text.count(said[0])
        if process.returncode != 0 or lines != said[1] or b" failed; rc=" in text:
            raise SystemExit(f"report: status {process.returncode}, {lines} times {said[0]} instead of {said[1]}")
        found.append((seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024))
    return tuple(statistics.median(column) for column in zip(*found))


def compare(title, counts, figures):
    """Prints what one takes up to the first of `counts`, from there to the second, and from there to the third."""
    print(f"\n{title}: report, medians")
    for count, (seconds, processor, memory) in zip(counts, figures):
        print(f"  {count:7,}: {seconds * 1000:7.0f} ms, {processor * 1000:6.0f} ms of a processor, {memory / 2**20:5.1f} MiB")
    for at in range(1, len(counts)):
        units = counts[at] - counts[at - 1]
        seconds, processor, memory = (after - before for before, after in zip(figures[at - 1], figures[at]))
        print(f"  one of those from {counts[at - 1]:,} to {counts[at]:,}: {seconds / units * 1e6:.1f} us, {processor / units * 1e6:.1f} us "
              f"of a processor" + (f", {memory / units:.0f} bytes" if at > 1 else ""))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path, help="the release build's vnxtest-cli")
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    missing = network.why_no_namespaces()
    if missing:
        print(f"SKIPPED a large host: {missing}")
        return SKIPPED
    machine.say(machine.describe())
    program = options.program.resolve()
    network.remove_leftovers()
    for title, most, add, there in (("adapters", ADAPTERS, add_adapters, lambda count: (b"Connection          = v", count)),
                                    ("routes", ROUTES, add_routes, lambda count: (b".7  255.255.255.255", count))):
        namespace = network.Namespace("host")
        try:
            counts, figures, done = [most // 100, most // 10, most], [], 0
            if title == "routes":
                batch(namespace, add_adapters(namespace, 0, FEW))
            for count in counts:
                lines = add(namespace, done, count) if title == "adapters" else add(done, count)
                batch(namespace, lines)
                done = count
                figures.append(report(namespace, program, options.rounds, there(count)))
            compare(title, counts, figures)
        finally:
            namespace.remove()
    return 0


if __name__ == "__main__":
    sys.exit(main())
