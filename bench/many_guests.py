#!/usr/bin/env python3
"""One, two and four guests on one adapter, each a process of its own: the time of as many echoes, spread over them, beside
that of one guest; what they take of processors while nobody pings them; and their memory. Needs root.
"""

import argparse
import os
import pathlib
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

import load  # noqa: E402
import machine  # noqa: E402
import ratios  # noqa: E402
import wire  # noqa: E402
from lab import network  # noqa: E402

SKIPPED = 77
NUMBERS = (1, 2, 4)
ECHOES, OUTSTANDING, IDLE = 200_000, 64, 3.0
ADDRESSES = [(f"10.77.0.{110 + number}", f"02:77:00:00:00:{0x70 + number:02x}") for number in range(max(NUMBERS))]


class Guests:
    def __init__(self, wires, mode, number):
        self.wires, self.number = wires, number
        self.running = [wires.start_guest(mode, ip, mac) for ip, mac in ADDRESSES[:number]]

    def flood(self):
        """Seconds of all echoes, and processor seconds of the guests meanwhile."""
        (ip, mac), *others = ADDRESSES[:self.number]
        before = self.ticks()
        seconds = self.wires.flood(ip, mac, ECHOES, OUTSTANDING, *(text for address in others for text in address))
        return seconds, self.ticks() - before

    def idle(self):
        before = self.ticks()
        time.sleep(IDLE)
        return (self.ticks() - before) / IDLE

    def ticks(self):
        return sum(wire.cpu_ticks(guest.pid) for guest, _ in self.running) / os.sysconf("SC_CLK_TCK")

    def private_bytes(self):
        """Memory that is not shared with the other guests, of each."""
        sums = []
        for guest, _ in self.running:
            lines = pathlib.Path(f"/proc/{guest.pid}/smaps_rollup").read_text(encoding="ascii").splitlines()
            sums.append(sum(int(line.split()[1]) for line in lines if line.startswith(("Private_Clean", "Private_Dirty"))))
        return max(sums) * 1024

    def stop(self):
        for guest, log in self.running:
            status = guest.stop()[0]
            log.close()
            if status:
                raise SystemExit(f"a guest did not end well\n{guest.errors()}")


def measure(wires, mode, rounds):
    seconds, cost, idle, memory = ({number: [] for number in NUMBERS} for _ in range(4))
    during = load.During()
    for _ in range(rounds):
        for number in NUMBERS:
            guests = Guests(wires, mode, number)
            try:
                idle[number].append(guests.idle())
                wire.measured(lambda guests=guests: guests.flood()[0])  # not counted
                taken, spent = wire.measured(guests.flood)
                memory[number].append(guests.private_bytes())
            finally:
                guests.stop()
            seconds[number].append(taken)
            cost[number].append(spent)
    print(f"\n{ECHOES} echoes, {OUTSTANDING} outstanding, spread over guests, {mode.upper()}: medians of {rounds} rounds")
    for number in NUMBERS:
        lower, middle, upper = ratios.ratio(seconds[number], seconds[1])
        print(f"  {number} guests: {statistics.median(seconds[number]):.3f} s, {middle:.2f} times that of one ({lower:.2f} to "
              f"{upper:.2f}), {statistics.median(cost[number]) / ECHOES * 1e6:.2f} us of processors an echo; idle "
              f"{statistics.median(idle[number]) / number:.2%} of a processor each; {statistics.median(memory[number]) / 2**20:.1f} "
              "MiB of its own each")
    load.say(*during.end())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path, help="the release build's vnxtest-cli")
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    missing = network.why_no_namespaces()
    if missing:
        print(f"SKIPPED guests side by side: {missing}")
        return SKIPPED
    machine.say(machine.describe())
    load.say(*load.before())
    os.environ["VNXTEST_CLI"] = str(options.program.resolve())
    wires = wire.Wire(options.program.resolve().parent)
    try:
        for mode in ("tap", "tun"):
            measure(wires, mode, options.rounds)
    finally:
        wires.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
