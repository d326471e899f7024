#!/usr/bin/env python3
"""The whole program over a veth pair, beside the kernel's own echo, a bare loop on a mapped ring, ping -f and fping.

Machines drift: contestants are measured in turn, within each round, and a figure is the ratio of the medians over all
rounds. Says on which machine it runs and how busy others keep it. Prints every ratio next to those kept in
docs/performance.md; --update keeps the new ones, unless the machine is busy. Needs root.
"""

import argparse
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True

import load  # noqa: E402
import machine  # noqa: E402
import ratios  # noqa: E402
import wire  # noqa: E402
from lab import network  # noqa: E402
from wire import BARE_LOOP, BLOCKING_LOOP, HOST, TAP_GUEST, TAP_MAC, TUN_GUEST, TUN_MAC  # noqa: E402

SKIPPED = 77
ECHOES = {1: 50000, 64: 200000, 256: 200000}  # by how many are outstanding
PINGS = 65535
SUBJECTS = ("answering", "capturing", "pinging", "outstanding", "libraries")
GUESTS = {"TAP": ("tap", TAP_GUEST, TAP_MAC), "TUN": ("tun", TUN_GUEST, TUN_MAC)}


class Comparison:
    def __init__(self, programs, rounds):
        self.wire = wire.Wire(programs)
        self.rounds = rounds
        self.during = None  # what others take meanwhile
        self.busy = []  # why the machine counted as busy while it was measured

    def interleave(self, title, contestants):
        """Runs every contestant once a round, in turn; the seconds by name, with the medians printed."""
        seconds = {name: [] for name in contestants}
        names = list(contestants)
        os.sync()  # what was written before would be brought to the disk meanwhile
        self.during = load.During()
        for number in range(self.rounds):
            for name in names[number % len(names):] + names[:number % len(names)]:
                seconds[name].append(wire.measured(contestants[name]))
        print(f"\n{title}: median seconds of {self.rounds} rounds (quartiles)")
        for name, values in seconds.items():
            lower, upper = ratios.quartiles(values)
            print(f"  {name:28} {statistics.median(values):8.3f}   ({lower:.3f} to {upper:.3f})")
        self.note_load()
        return seconds

    def note_load(self):
        """What others took since the last measurement began."""
        found, busy = self.during.end()
        load.say(found, busy)
        self.busy += busy

    def answering(self):
        self.idle()
        found = {}
        for mode, guest in GUESTS.items():
            running, log = self.wire.start_guest(*guest)
            self.settle(guest[1])
            found |= self.one_outstanding(mode, *guest[1:])
            found |= self.many_outstanding(mode, *guest[1:], 64) | self.many_outstanding(mode, *guest[1:], 256)
            status = running.stop()[0]
            log.close()
            if status:
                raise SystemExit(f"the {mode} guest did not end well\n{running.errors()}")
        return found

    def idle(self):
        """What guests cost that nobody pings."""
        started = {mode: self.wire.start_guest(*guest) for mode, guest in GUESTS.items()}
        ticks = {mode: wire.cpu_ticks(running.pid) for mode, (running, _) in started.items()}
        time.sleep(3)
        for mode, (running, log) in started.items():
            share = (wire.cpu_ticks(running.pid) - ticks[mode]) / os.sysconf("SC_CLK_TCK") / 3
            print(f"idle {mode} guest: {share:.2%} of a processor")
            running.stop()
            log.close()

    def settle(self, guest):
        """Floods that are not counted, so that the first contestant does not pay for warm-up."""
        for target in (HOST, guest):
            wire.measured(lambda target=target: self.wire.flood_by_ping(target, 5000))

    def one_outstanding(self, mode, ip, mac):
        count = ECHOES[1]
        contestants = {
            "kernel": lambda: self.wire.flood_by_ping(HOST, count),
            "guest": lambda: self.wire.flood_by_ping(ip, count),
            "bare loop": lambda: self.wire.loop_by_ping(BARE_LOOP, count),
        }
        if mode == "TAP":
            contestants["blocking loop"] = lambda: self.wire.loop_by_ping(BLOCKING_LOOP, count)
        seconds = self.interleave(f"{count} echoes, one outstanding (ping -f), {mode}", contestants)
        return self.against(f"echo, 1 outstanding: {mode} guest", seconds)

    def many_outstanding(self, mode, ip, mac, outstanding):
        count = ECHOES[outstanding]
        seconds = self.interleave(f"{count} echoes, {outstanding} outstanding, {mode}", {
            "kernel": lambda: self.wire.flood(HOST, self.wire.host_mac, count, outstanding),
            "guest": lambda: self.wire.flood(ip, mac, count, outstanding),
            "bare loop": lambda: self.wire.flood_loop(BARE_LOOP, count, outstanding),
        })
        return self.against(f"echo, {outstanding} outstanding: {mode} guest", seconds)

    @staticmethod
    def against(name, seconds):
        """The ratios of the guest and each of the others, and how far the limit is from the kernel."""
        found = {f"{name} / {other}": ratios.ratio(seconds["guest"], values)
                 for other, values in seconds.items() if other != "guest"}
        if " TAP " in name:
            found[name.replace("TAP guest", "bare loop") + " / kernel"] = ratios.ratio(seconds["bare loop"], seconds["kernel"])
        return found

    def libraries(self):
        """The other libraries beside the built-in `pcap`: the same code bound by name, and the kernel's own device,
        whose frames the host routes. Guests of their own, each only while it is measured."""
        outstanding = 64
        count = ECHOES[outstanding]
        self.wire.route_to_guests()

        def flood(library, mode, ip, mac, frames_to):
            guest, log = self.wire.start_guest(mode, ip, mac, library=library)
            try:
                self.wire.flood(ip, frames_to, count // 10, outstanding)
                return self.wire.flood(ip, frames_to, count, outstanding)
            finally:
                guest.stop()
                log.close()

        bound = self.wire.programs / "Vnetx64UD.so"
        seconds = self.interleave(f"{count} echoes, {outstanding} outstanding, by library", {
            "kernel": lambda: self.wire.flood(HOST, self.wire.host_mac, count, outstanding),
            "pcap, TAP": lambda: flood("pcap", *GUESTS["TAP"], TAP_MAC),
            "bound by name, TAP": lambda: flood(bound, *GUESTS["TAP"], TAP_MAC),
            "tun, TUN": lambda: flood("tun", *GUESTS["TUN"], self.wire.host_mac),
        })
        name = f"echo, {outstanding} outstanding:"
        return {f"{name} bound by name / built in": ratios.ratio(seconds["bound by name, TAP"], seconds["pcap, TAP"]),
                f"{name} tun TUN guest / kernel": ratios.ratio(seconds["tun, TUN"], seconds["kernel"])}

    def capturing(self):
        """What a capture costs a guest, each time with a guest and a file of its own, and what the file lacks."""
        outstanding, lacking = 64, []
        count = ECHOES[outstanding]

        def flood(*extra):
            guest, log = self.wire.start_guest("tap", TAP_GUEST, TAP_MAC, *extra)
            try:
                self.wire.flood(TAP_GUEST, TAP_MAC, count // 10, outstanding)
                seconds = self.wire.flood(TAP_GUEST, TAP_MAC, count, outstanding)
                if guest.stop()[0]:
                    raise SystemExit(f"the guest did not end well\n{guest.errors()}")
                missing = re.search(r"(\d+) frames are missing in the capture", guest.errors())
                lacking.extend([int(missing[1])] if missing else [])
                return seconds
            finally:
                guest.kill()
                log.close()

        file = os.path.join(self.wire.scratch.name, "bench.pcapng")
        seconds = self.interleave(f"{count} echoes, {outstanding} outstanding, captured or not", {
            "guest, TAP": flood,
            "guest, TAP, captured": lambda: flood("--capture", file),
        })
        print(f"  captures that lack frames: {len(lacking)}, {sum(lacking)} frames")
        return {"echo, 64 outstanding: TAP guest captured / not": ratios.ratio(seconds["guest, TAP, captured"],
                                                                             seconds["guest, TAP"])}

    def pinging(self):
        contestants = {
            "guest, TAP": lambda: self.wire.many_pings("tap", PINGS),
            "guest, TUN": lambda: self.wire.many_pings("tun", PINGS),
            "ping -f -q": lambda: self.wire.many_by_ping(PINGS),
        }
        if shutil.which("fping"):
            contestants["fping"] = lambda: self.wire.many_by_fping(PINGS)
        seconds = self.interleave(f"{PINGS} pings of 8 bytes, no delay", contestants)
        return {f"pings: {mode} guest / {other}": ratios.ratio(seconds[f"guest, {mode}"], seconds[other])
                for mode in GUESTS for other in ("ping -f -q", "fping") if other in seconds}

    def outstanding(self):
        """What a ping costs in processor time, by how many are outstanding."""
        self.during = load.During()
        done = subprocess.run([self.wire.programs / "bench_ping_test", f"--benchmark_repetitions={self.rounds}",
                               "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2",
                               "--benchmark_format=json"], capture_output=True, text=True, check=True)
        costs = {"64": [], "65535": []}
        for run in json.loads(done.stdout)["benchmarks"]:
            if run["run_type"] == "iteration":
                costs[run["run_name"].split("/")[1]].append(run["real_time"] / 65.535)
        print("\nprocessor time of a ping: " +
              ", ".join(f"{statistics.median(values):.2f} us with {count} outstanding" for count, values in costs.items()))
        self.note_load()
        return {"pings: cost of one with 65535 outstanding / with 64": ratios.ratio(costs["65535"], costs["64"])}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path, help="the release build's vnxtest-cli")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--only", choices=SUBJECTS)
    parser.add_argument("--update", action="store_true", help="keep the new ratios in docs/performance.md")
    parser.add_argument("--machine", metavar="NAME", help="tells this machine from another of the same description")
    options = parser.parse_args()
    missing = network.why_no_namespaces()
    if missing:
        print(f"SKIPPED the end-to-end comparison: {missing}")
        return SKIPPED
    here = machine.describe()
    machine.say(here)
    name = machine.short(here) + (f", {options.machine}" if options.machine else "")
    found, busy = load.before()
    load.say(found, busy)
    if busy and options.update:
        print("** Nothing was measured: figures of a busy machine are not kept. Without --update they are only printed.")
        return 1
    os.environ["VNXTEST_CLI"] = str(options.program.resolve())
    comparison = Comparison(options.program.resolve().parent, options.rounds)
    figures = {}
    try:
        for subject in [options.only] if options.only else SUBJECTS:
            figures |= getattr(comparison, subject)()
    finally:
        comparison.wire.close()
    ratios.show(figures, name)
    if not options.update:
        return 0
    if comparison.busy:
        print("** Not kept: the machine was busy while it was measured (see above).")
        return 1
    ratios.keep(name, "; ".join(f"{field}: {value}" for field, value in here.items()), figures)
    print(f"kept in {ratios.DOCUMENT.relative_to(ratios.ROOT)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
