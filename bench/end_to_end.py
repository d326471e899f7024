#!/usr/bin/env python3
"""The whole program over a veth pair, beside the kernel's own echo, ping -f and fping.

Machines drift: contestants are measured in turn, within each round, and a figure is the ratio of the
medians over all rounds. Prints every ratio next to the one kept in docs/performance.md; --update keeps the
new ones. Needs root.
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
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT))
sys.dont_write_bytecode = True

from lab import guest as lab_guest  # noqa: E402
from lab import network  # noqa: E402

HOST, PEER, TAP_GUEST, TUN_GUEST, LOOP = "10.77.0.1", "10.77.0.2", "10.77.0.100", "10.77.0.101", "10.77.0.102"
TAP_MAC, TUN_MAC, LOOP_MAC = "02:77:00:00:00:64", "02:77:00:00:00:65", "02:77:00:00:00:66"
GRACE = 1.0
SKIPPED = 77

DOCUMENT = ROOT / "docs" / "performance.md"
BLOCK = re.compile(r"(<!-- ratios: kept by bench/end_to_end.py -->\n```json\n)(.*?)(```)", re.DOTALL)


def stamp_of(line):
    """Milliseconds of the day of a line's time stamp."""
    hours, minutes, seconds = line[:12].split(":")
    return (int(hours) * 60 + int(minutes)) * 60_000 + round(float(seconds) * 1000)


class Lost(Exception):
    """A measurement that lost an echo or a ping: its time does not count."""


def measured(once):
    """The seconds of `once`. A run that loses a reply is reported and repeated: on a busy machine
    that happens, to a kernel, too. Three times in a row is a fault."""
    for attempt in range(3):
        try:
            return once()
        except Lost as loss:
            print(f"  lost some ({loss}), {'once more' if attempt < 2 else 'given up'}")
    raise SystemExit(1)


class Bench:
    def __init__(self, programs, rounds):
        self.programs = programs
        self.rounds = rounds
        network.remove_leftovers()
        self.host, self.peer = (network.Namespace(label) for label in ("host", "peer"))
        network.cable(self.host, "adapter", HOST, self.peer, "far", PEER)
        self.scratch = tempfile.TemporaryDirectory(prefix="vnxe2e-")
        self.running = []
        self.host_mac = self.host.mac_of("adapter")
        # The minimal loop does not speak ARP.
        self.peer.ip("neigh", "replace", LOOP, "lladdr", LOOP_MAC, "nud", "permanent", "dev", "far")

    def close(self):
        for process in self.running:
            process.kill()
            process.wait()
        self.host.remove()
        self.peer.remove()
        self.scratch.cleanup()

    # The answering side -------------------------------------------------------------------------

    def start_guest(self, mode, ip, mac, *extra):
        """A guest that answers; its document goes to a file, as a flood's does."""
        log = open(os.path.join(self.scratch.name, f"{mode}.txt"), "wb")
        guest = lab_guest.Guest(
            ["run", "--library", "pcap", "--mode", mode, "--adapter", HOST, "--guest-ip", ip, "--guest-mac", mac,
             "--gateway", PEER, "--no-report", *extra], namespace=self.host, output=log)
        for _ in range(50):
            if self.peer.run("ping", "-M", "dont", "-c", "1", "-W", "1", ip).returncode == 0:
                return guest, log
            time.sleep(0.1)
        raise SystemExit(f"the guest does not answer\n{guest.errors()}")

    def start_loop(self):
        process = subprocess.Popen(
            self.host.command(self.programs / "blocking_responder", "adapter", LOOP, LOOP_MAC),
            stdout=subprocess.PIPE, text=True, preexec_fn=network.die_with_parent)
        self.running.append(process)
        if process.stdout.readline() != "ready\n":
            raise SystemExit("the blocking responder did not start")
        return process

    # The pinging side -----------------------------------------------------------------------------------

    def flood_by_ping(self, target, count, outstanding=1):
        """Seconds of one `ping -f`; all must come back."""
        done = self.peer.run("ping", "-M", "dont", "-q", "-f", "-c", count, "-l", outstanding, target, timeout=120)
        match = re.search(r"(\d+) packets transmitted, (\d+) received,.* time (\d+)ms", done.stdout)
        if not match or match[1] != match[2]:
            raise Lost(f"ping -f of {target}: {done.stdout.splitlines()[-2:]}{done.stderr}")
        return int(match[3]) / 1000

    def flood(self, target, mac, count, outstanding):
        """Seconds of one flood in batches; all must come back."""
        done = self.peer.run(self.programs / "echo_flood", "far", PEER, target, mac, count, outstanding, timeout=120)
        fields = done.stdout.split()
        if done.returncode != 0:
            raise SystemExit(f"echo_flood: {done.stderr}")
        if fields[0] != fields[1]:
            raise Lost(f"flood of {target}, {outstanding} outstanding: {fields[1]} of {fields[0]}")
        return float(fields[2])

    def many_pings(self, mode, count):
        """Seconds of the guest's own test, from its first line to its statistics, without the grace."""
        path = os.path.join(self.scratch.name, "many.txt")
        with open(path, "wb") as log:
            guest = lab_guest.Guest(
                ["ping", PEER, "--library", "pcap", "--mode", mode, "--adapter", HOST, "--guest-ip", TAP_GUEST,
                 "--guest-mac", TAP_MAC, "--gateway", PEER, "--no-report", "--count", count, "--delay", 0, "--size", 8,
                 "--timeout", 2000], namespace=self.host, output=log)
            status = guest.wait_end(120)
        with open(path, encoding="utf-8") as log:
            lines = log.readlines()
        if status == 1:
            raise Lost(next(line.strip() for line in lines if "Pings Lost" in line))
        if status != 0:
            raise SystemExit(f"the guest's test of {count} pings: status {status}\n{guest.errors()}{''.join(lines[-40:])}")
        first = next(line for line in lines if " Sending ping #1 " in line)
        last = next(line for line in lines if "Ping statistics for" in line)
        return (stamp_of(last) - stamp_of(first)) / 1000 - GRACE

    def many_by_ping(self, count):
        started = time.monotonic()
        done = self.host.run("ping", "-f", "-q", "-s", 8, "-c", count, PEER, timeout=120)
        if f"{count} received" not in done.stdout:
            raise Lost(f"ping -f -q: {done.stdout.splitlines()[-2:]}{done.stderr}")
        match = re.search(r" time (\d+)ms", done.stdout)
        return int(match[1]) / 1000 if match else time.monotonic() - started

    def many_by_fping(self, count):
        started = time.monotonic()
        done = self.host.run("fping", "-q", "-b", 8, "-c", count, "-t", 2000, "-p", 0, "-i", 0, PEER, timeout=120)
        seconds = time.monotonic() - started
        if f"{count}/{count}/0%" not in done.stderr:
            raise Lost(f"fping: {done.stderr.strip()}")
        return seconds

    # The comparison -------------------------------------------------------------------------------

    def interleave(self, title, contestants):
        """Runs every contestant once a round, in turn; the medians by name, printed."""
        seconds = {name: [] for name in contestants}
        names = list(contestants)
        for number in range(self.rounds):
            for name in names[number % len(names):] + names[:number % len(names)]:
                seconds[name].append(measured(contestants[name]))
        print(f"\n{title}: median seconds of {self.rounds} rounds (least to most)")
        for name, values in seconds.items():
            print(f"  {name:28} {statistics.median(values):8.3f}   ({min(values):.3f} to {max(values):.3f})")
        return {name: statistics.median(values) for name, values in seconds.items()}

    def answering(self):
        ratios = {}
        tap, tap_log = self.start_guest("tap", TAP_GUEST, TAP_MAC)
        tun, tun_log = self.start_guest("tun", TUN_GUEST, TUN_MAC)
        ticks = {guest: cpu_ticks(guest.pid) for guest in (tap, tun)}
        time.sleep(3)
        hertz = os.sysconf("SC_CLK_TCK")
        for name, guest in (("tap", tap), ("tun", tun)):
            share = (cpu_ticks(guest.pid) - ticks[guest]) / hertz / 3
            print(f"idle {name} guest: {share:.2%} of a processor")
        tun_status = tun.stop()[0]
        self.settle()
        loop = self.start_loop()
        count = 50000
        medians = self.interleave(f"{count} echoes, one outstanding (ping -f)", {
            "kernel": lambda: self.flood_by_ping(HOST, count),
            "guest, TAP": lambda: self.flood_by_ping(TAP_GUEST, count),
            "minimal blocking loop": lambda: self.flood_by_ping(LOOP, count),
        })
        loop.kill()
        ratios["echo, 1 outstanding: TAP guest / kernel"] = medians["guest, TAP"] / medians["kernel"]
        ratios["echo, 1 outstanding: TAP guest / blocking loop"] = medians["guest, TAP"] / medians["minimal blocking loop"]
        for outstanding in (64, 256):
            count = 200000
            medians = self.interleave(f"{count} echoes, {outstanding} outstanding", {
                "kernel": lambda: self.flood(HOST, self.host_mac, count, outstanding),
                "guest, TAP": lambda: self.flood(TAP_GUEST, TAP_MAC, count, outstanding),
            })
            ratios[f"echo, {outstanding} outstanding: TAP guest / kernel"] = medians["guest, TAP"] / medians["kernel"]
        tap_status = tap.stop()[0]
        tap_log.close()
        tun_log.close()
        tun, tun_log = self.start_guest("tun", TUN_GUEST, TUN_MAC)
        count = 50000
        medians = self.interleave(f"{count} echoes, one outstanding (ping -f), TUN", {
            "kernel": lambda: self.flood_by_ping(HOST, count),
            "guest, TUN": lambda: self.flood_by_ping(TUN_GUEST, count),
        })
        ratios["echo, 1 outstanding: TUN guest / kernel"] = medians["guest, TUN"] / medians["kernel"]
        for outstanding in (64, 256):
            count = 200000
            medians = self.interleave(f"{count} echoes, {outstanding} outstanding, TUN", {
                "kernel": lambda: self.flood(HOST, self.host_mac, count, outstanding),
                "guest, TUN": lambda: self.flood(TUN_GUEST, TUN_MAC, count, outstanding),
            })
            ratios[f"echo, {outstanding} outstanding: TUN guest / kernel"] = medians["guest, TUN"] / medians["kernel"]
        tun_status = tun_status or tun.stop()[0]
        tun_log.close()
        if tap_status or tun_status:
            raise SystemExit("a guest did not end well")
        return ratios

    def capturing(self):
        """What a capture costs a guest, each time with a guest and a file of its own, and what the file lacks."""
        count, outstanding, lacking = 200000, 64, []

        def flood(*extra):
            guest, log = self.start_guest("tap", TAP_GUEST, TAP_MAC, *extra)
            try:
                self.flood(TAP_GUEST, TAP_MAC, count // 10, outstanding)
                seconds = self.flood(TAP_GUEST, TAP_MAC, count, outstanding)
                if guest.stop()[0]:
                    raise SystemExit(f"the guest did not end well\n{guest.errors()}")
                missing = re.search(r"(\d+) frames are missing in the capture", guest.errors())
                lacking.extend([int(missing[1])] if missing else [])
                return seconds
            finally:
                guest.kill()
                log.close()

        file = os.path.join(self.scratch.name, "bench.pcapng")
        medians = self.interleave(f"{count} echoes, {outstanding} outstanding, captured or not", {
            "guest, TAP": flood,
            "guest, TAP, captured": lambda: flood("--capture", file),
        })
        print(f"  captures that lack frames: {len(lacking)}, {sum(lacking)} frames")
        return {"echo, 64 outstanding: TAP guest captured / not": medians["guest, TAP, captured"] / medians["guest, TAP"]}

    def settle(self):
        """One flood that is not counted, so that the first contestant does not pay for warm-up."""
        measured(lambda: self.flood_by_ping(HOST, 5000))
        measured(lambda: self.flood_by_ping(TAP_GUEST, 5000))

    def pinging(self):
        count = 65535
        contestants = {
            "guest, TAP": lambda: self.many_pings("tap", count),
            "guest, TUN": lambda: self.many_pings("tun", count),
            "ping -f -q": lambda: self.many_by_ping(count),
        }
        if shutil.which("fping"):
            contestants["fping"] = lambda: self.many_by_fping(count)
        medians = self.interleave(f"{count} pings of 8 bytes, no delay", contestants)
        ratios = {f"pings: {mode} guest / {other}": medians[f"guest, {mode}"] / medians[other]
                  for mode in ("TAP", "TUN") for other in ("ping -f -q", "fping") if other in medians}
        return ratios

    def outstanding(self):
        """What a ping costs in processor time, by how many are outstanding."""
        done = subprocess.run([self.programs / "bench_ping_test", f"--benchmark_repetitions={self.rounds}",
                               "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2",
                               "--benchmark_format=json"], capture_output=True, text=True, check=True)
        medians = {run["run_name"].split("/")[1]: run["real_time"] / 65.535 for run in json.loads(done.stdout)["benchmarks"]
                   if run.get("aggregate_name") == "median"}
        print("\nprocessor time of a ping: " +
              ", ".join(f"{cost:.2f} us with {count} outstanding" for count, cost in medians.items()))
        return {"pings: cost of one with 65535 outstanding / with 64": medians["65535"] / medians["64"]}


def cpu_ticks(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])


def kept_ratios():
    match = BLOCK.search(DOCUMENT.read_text(encoding="utf-8")) if DOCUMENT.exists() else None
    return json.loads(match[2]) if match else {}


def keep_ratios(ratios):
    text = DOCUMENT.read_text(encoding="utf-8")
    kept = kept_ratios() | {name: round(value, 2) for name, value in ratios.items()}
    block = json.dumps(kept, indent=2)
    DOCUMENT.write_text(BLOCK.sub(lambda match: f"{match[1]}{block}\n{match[3]}", text), encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", required=True, type=pathlib.Path, help="the release build's vnxtest-cli")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--only", choices=("answering", "capturing", "pinging", "outstanding"))
    parser.add_argument("--update", action="store_true", help="keep the new ratios in docs/performance.md")
    options = parser.parse_args()
    missing = network.why_no_namespaces()
    if missing:
        print(f"SKIPPED the end-to-end comparison: {missing}")
        return SKIPPED
    os.environ["VNXTEST_CLI"] = str(options.program.resolve())
    bench = Bench(options.program.resolve().parent, options.rounds)
    try:
        ratios = {}
        for name in ("answering", "capturing", "pinging", "outstanding"):
            if options.only in (None, name):
                ratios |= getattr(bench, name)()
    finally:
        bench.close()
    kept = kept_ratios()
    print("\nRatios of medians (time; less than 1 is faster)        now    kept")
    for name, value in ratios.items():
        before = f"{kept[name]:6.2f}  {(value / kept[name] - 1):+.0%}" if name in kept else "     -"
        print(f"  {name:50} {value:6.2f}  {before}")
    if options.update:
        keep_ratios(ratios)
        print(f"kept in {DOCUMENT.relative_to(ROOT)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
