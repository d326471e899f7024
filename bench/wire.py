"""What the end-to-end comparison measures: the guest, the kernel, the minimal loops, ping and fping, over a veth pair
between two network namespaces. Each function measures one of them once and returns seconds. Needs root.
"""

import contextlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

from lab import guest as lab_guest  # noqa: E402
from lab import network  # noqa: E402

HOST, PEER, TAP_GUEST, TUN_GUEST = "10.77.0.1", "10.77.0.2", "10.77.0.100", "10.77.0.101"
TAP_MAC, TUN_MAC = "02:77:00:00:00:64", "02:77:00:00:00:65"
# The minimal loops: program, IP address, MAC address.
BLOCKING_LOOP = ("blocking_responder", "10.77.0.102", "02:77:00:00:00:66")
BARE_LOOP = ("ring_responder", "10.77.0.103", "02:77:00:00:00:67")
GRACE = 1.0


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


class Wire:
    def __init__(self, programs):
        self.programs = programs
        network.remove_leftovers()
        self.host, self.peer = (network.Namespace(label) for label in ("host", "peer"))
        network.cable(self.host, "adapter", HOST, self.peer, "far", PEER)
        self.scratch = tempfile.TemporaryDirectory(prefix="vnxe2e-")
        self.host_mac = self.host.mac_of("adapter")
        for _, ip, mac in (BLOCKING_LOOP, BARE_LOOP):  # they do not speak ARP
            self.peer.ip("neigh", "replace", ip, "lladdr", mac, "nud", "permanent", "dev", "far")

    def close(self):
        self.host.remove()
        self.peer.remove()
        self.scratch.cleanup()

    # The answering side -------------------------------------------------------------------------

    def start_guest(self, mode, ip, mac, *extra, library="pcap"):
        """A guest that answers; its document goes to a file, as a flood's does."""
        log = open(os.path.join(self.scratch.name, f"{mode}-{ip}.txt"), "wb")
        guest = lab_guest.Guest(
            ["run", "--library", library, "--mode", mode, "--adapter", HOST, "--guest-ip", ip, "--guest-mac", mac,
             "--gateway", PEER, "--no-report", *extra], namespace=self.host, output=log)
        for _ in range(50):
            if self.peer.run("ping", "-M", "dont", "-c", "1", "-W", "1", ip).returncode == 0:
                return guest, log
            time.sleep(0.1)
        raise SystemExit(f"the guest does not answer\n{guest.errors()}")

    @contextlib.contextmanager
    def loop(self, program, ip, mac):
        """A minimal loop runs meanwhile, and only then: its socket costs the others something."""
        process = subprocess.Popen(self.host.command(self.programs / program, "adapter", ip, mac), stdout=subprocess.PIPE,
                                   text=True, preexec_fn=network.die_with_parent)
        try:
            if process.stdout.readline() != "ready\n":
                raise SystemExit(f"{program} did not start")
            self.flood(ip, mac, 2000, 16)  # not counted: the first frames pay for its memory
            yield
        finally:
            process.kill()
            process.wait()
            process.stdout.close()

    def route_to_guests(self):
        """The host passes on what comes for a guest of the `tun` library, and answers ARP for it."""
        self.host.write("net/ipv4/ip_forward", 1)
        self.host.write("net/ipv4/conf/all/proxy_arp", 1)

    # The pinging side -----------------------------------------------------------------------------------

    def flood_by_ping(self, target, count, outstanding=1):
        """Seconds of one `ping -f`; all must come back."""
        done = self.peer.run("ping", "-M", "dont", "-q", "-f", "-c", count, "-l", outstanding, target, timeout=120)
        match = re.search(r"(\d+) packets transmitted, (\d+) received,.* time (\d+)ms", done.stdout)
        if not match or match[1] != match[2]:
            raise Lost(f"ping -f of {target}: {done.stdout.splitlines()[-2:]}{done.stderr}")
        return int(match[3]) / 1000

    def flood(self, target, mac, count, outstanding, *others):
        """Seconds of one flood in batches, in turn of `others`, too (IP and MAC addresses); all must come back."""
        done = self.peer.run(self.programs / "echo_flood", "far", PEER, target, mac, count, outstanding, *others, timeout=120)
        fields = done.stdout.split()
        if done.returncode != 0:
            raise SystemExit(f"echo_flood: {done.stderr}")
        if fields[0] != fields[1]:
            raise Lost(f"flood of {target}, {outstanding} outstanding: {fields[1]} of {fields[0]}")
        return float(fields[2])

    def loop_by_ping(self, loop, count):
        with self.loop(*loop):
            return self.flood_by_ping(loop[1], count)

    def flood_loop(self, loop, count, outstanding):
        with self.loop(*loop):
            return self.flood(loop[1], loop[2], count, outstanding)

    # The guest as the pinging side, and others in its place ------------------------------------------------

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


def cpu_ticks(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return int(fields[11]) + int(fields[12])
