"""What the test cases stand on: skipping by name, the usual network, and the program in it."""

import contextlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import unittest

import wire
from lab import guest as guest_module
from lab import network

HOST_IP, PEER_IP, GUEST_IP = "10.77.0.1", "10.77.0.2", "10.77.0.100"
GUEST_MAC = "02:77:00:00:00:64"


# The last line of a ping test on standard error.
VERDICT = re.compile(r"^vnxtest-cli: \S+( \[\S+\])?: \d+ pings sent, .*\.\n\Z", re.M)
# Before a command: it runs as a user without any right.
ORDINARY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all"]


def timeout(seconds):
    """The whole case takes at most this long; the test runner ends it then."""

    def mark(method):
        method.case_timeout = seconds
        return method

    return mark


def alone(method):
    """The case measures time: nothing else is to run beside it."""
    method.case_alone = True
    return method


class Case(unittest.TestCase):
    longMessage = True
    maxDiff = None
    label = "terminal"
    case_timeout = 90

    def need_program(self, name):
        if shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin") is None:
            self.skipTest(f"needs the program {name}")

    def scratch(self):
        folder = tempfile.TemporaryDirectory(prefix="vnxe2e-")
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o777)
        return pathlib.Path(folder.name)

    def start(self, *arguments, **options):
        guest = guest_module.Guest(arguments, **options)
        self.addCleanup(guest.kill)
        return guest

    def run_program(self, *arguments, timeout=60.0, **options):
        guest = self.start(*arguments, **options)
        guest.status = guest.wait_end(timeout)
        return guest

    @contextlib.contextmanager
    def running(self, *arguments, **options):
        """A guest that is up and reading. It is stopped afterwards, and must have ended well."""
        guest = self.run_guest(*arguments, **options)
        yield guest
        self.assertEqual(guest.stop()[0], 0, guest.story())

    @staticmethod
    def interface_in(results):
        """What the results file says of the first interface."""
        return json.loads(results.read_text(encoding="utf-8"))["interfaces"][0]

    def installed(self, folder=None, *, helper=True, rights=False):
        """A copy of the program, its helper beside it, where any user can run it: the tree may lie in a private folder."""
        folder = folder or self.scratch()
        for name in ("vnxtest-cli", "vnxtest-open")[:1 + helper]:
            shutil.copy(pathlib.Path(guest_module.program()).with_name(name), folder)
            os.chmod(folder / name, 0o755)
        if rights:
            self.do_or_skip("setcap", "cap_net_raw,cap_net_admin+ep", folder / "vnxtest-open")
        return folder / "vnxtest-cli"

    def do_or_skip(self, *command):
        """What not every machine lets even root do."""
        self.need_program(command[0])
        done = subprocess.run(command, capture_output=True, text=True)
        if done.returncode != 0:
            self.skipTest(f"{' '.join(map(str, command))} does not work here: {done.stderr.strip()}")

    @staticmethod
    def complaints(guest):
        """Standard error without the verdict."""
        return VERDICT.sub("", guest.errors())

    def assert_refused(self, guest, *wanted):
        """Exit status 2, and every wanted text explained on standard error."""
        self.assertEqual(guest.status, 2, guest.story())
        self.assertTrue(guest.errors().startswith("vnxtest-cli: "), guest.story())
        for text in wanted:
            self.assertRegex(guest.errors(), text, guest.story())


class NetworkCase(Case):
    """Two namespaces and a cable: `host`, where the program runs, and `peer`, a kernel to talk to."""

    label = "e2e"

    def setUp(self):
        missing = network.why_no_namespaces()
        if missing:
            self.skipTest(missing)
        network.remove_leftovers()
        self.host, self.peer = (network.Namespace(label) for label in ("host", "peer"))
        for namespace in (self.host, self.peer):
            self.addCleanup(namespace.remove)
        self.cable("adapter", "far", HOST_IP, PEER_IP)
        self.links_before = self.host.links()

    def cable(self, near, far, host_ip, peer_ip):
        network.cable(self.host, near, host_ip, self.peer, far, peer_ip)

    def arguments(self, command, mode="tap", *, library="pcap", adapter=HOST_IP, guest_ip=GUEST_IP,
                  guest_mac=GUEST_MAC, gateway=PEER_IP):
        """The usual options. The gateway is the peer, so that no pre-start question comes up."""
        result = [*command, "--library", library, "--mode", mode, "--adapter", adapter, "--guest-ip", guest_ip,
                  "--no-report"]
        for option, value in (("--guest-mac", guest_mac), ("--gateway", gateway)):
            result += [option, value] if value else []
        return result

    def run_guest(self, mode="tap", *extra, **options):
        """`vnxtest-cli run`, up and reading."""
        return self.start(*self.arguments(["run"], mode, **options), *extra, namespace=self.host).wait_up()

    def ping(self, target=PEER_IP, mode="tap", *extra, timeout=60.0, **options):
        """`vnxtest-cli ping` from start to end."""
        return self.run_program(*self.arguments(["ping", target], mode, **options), *extra, namespace=self.host,
                                timeout=timeout)

    def listen(self, namespace=None, interface="far", on_frame=None):
        station = wire.Station(namespace or self.peer, interface, on_frame)
        self.addCleanup(self.end_station, station)
        return station

    def respond(self, answers=None, address="10.77.0.50", **options):
        """A second, raw host on the peer's wire."""
        responder = wire.EchoResponder(self.peer, "far", address, answers, **options)
        self.addCleanup(self.end_station, responder)
        return responder

    def end_station(self, station):
        station.close()
        self.assertIsNone(station.fault)

    def assert_frames_sound(self, station, source_mac=GUEST_MAC, at_least=1):
        self.need_program("tshark")
        count, faults = wire.faults_by_tshark(station.heard(), source_mac, self.scratch() / "frames.pcap")
        self.assertEqual(faults, [])
        self.assertGreaterEqual(count, at_least, "frames of the guest")

    def assert_nothing_left(self, guest):
        """Every interface that came up, or began to, was closed, and the host is as it was."""
        text = guest.text()
        self.assertLessEqual(text.count(" enabled/up..."), text.count(" closed... (ip="), guest.story())
        self.assertEqual(self.host.links(), self.links_before)
        details = self.host.ip("-d", "link", "show", "dev", "adapter", check=False).stdout
        if details:
            self.assertIn("promiscuity 0", details)

    def assert_pinged(self, namespace, address, count, *options, pause=0):
        """A kernel's own ping: each answered once. It sends some at once, for it waits no longer for its last reply than
        for its interval (with a deadline it would wait, and send more than were asked for); but not more at once than
        the kernel keeps while it asks for the guest's MAC address. Before each of these parts is a pause (seconds)."""
        while count > 0:
            part = min(count, 3)
            time.sleep(pause)
            done = namespace.run("ping", "-M", "dont", "-n", "-c", part, "-l", part, "-i", 10, *options, address)
            answered = [int(number) for number in re.findall(r"icmp_seq=(\d+) ", done.stdout)]
            self.assertEqual(sorted(answered), list(range(1, part + 1)), done.stdout + done.stderr)
            count -= part


def ping_statistics(text):
    """The figures of the one statistics block in `text`; None when there is none."""
    block = r"^ Ping statistics for .+:\n((?:.*\n){7}) Ping test .*\.\n\n\*\* END PING TEST \*\*\n"
    blocks = re.findall(block, text, re.M)
    assert len(blocks) < 2, "more than one statistics block"
    names = "sent received minimum maximum average timeouts duplicates lost percent".split()
    return dict(zip(names, map(int, re.findall(r"\d+", blocks[0])), strict=True)) if blocks else None


def interface_statistics(text, name=".+"):
    """The counters of an interface's statistics block, by their names; None when there is none or it is not whole."""
    block = re.search(rf"^\*\*\* Statistics for Interface {name}:\n\n((?:.*K\n){{3}})\n((?: *\d+  .*\n){{6}})\n((?: *\d+  .*\n){{9}})",
                      text, re.MULTILINE)
    return block and {line: int(number) for number, line in re.findall(r"(\d+)  (.*)", block[2] + block[3])}


def as_ordinary_user():
    """The words before a command that run it as a user without any privilege."""
    if os.geteuid() != 0:
        return []
    return ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all", "--bounding-set=-all",
            "--no-new-privs", "--pdeathsig=KILL"]
