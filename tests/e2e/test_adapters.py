"""Adapters that share a MAC address: a bridge, a bond and a VLAN over their ports."""

import errno
import json
import re
import subprocess
import time

import cases
from lab.guest import without_stamps


class SharedAddress(cases.NetworkCase):
    """The cable's near end is renamed and put below something else, which takes its address over."""

    def setUp(self):
        super().setUp()
        self.host.ip("link", "set", "dev", "adapter", "down")
        self.host.ip("address", "flush", "dev", "adapter")
        self.host.ip("link", "set", "dev", "adapter", "name", "eth0")
        self.mac = self.host.mac_of("eth0").upper().replace(":", "-")

    def address(self, name):
        self.host.ip("address", "add", "10.77.0.1/24", "dev", name)
        for link in ("eth0", name):
            self.host.ip("link", "set", "dev", link, "up")
        self.host.ip("route", "add", "default", "via", "10.77.0.2")
        deadline = time.monotonic() + 10
        while "LOWER_UP" not in self.host.ip("link", "show", "dev", name).stdout:
            self.assertLess(time.monotonic(), deadline, "the carrier comes")
            time.sleep(0.05)

    def adapters(self):
        """Name, address and state of each, as the table and the JSON have them, which must agree."""
        table = self.run_program("adapters", namespace=self.host)
        self.assertEqual(table.status, 0, table.story())
        rows = [re.split(r"  +", line)[:4] for line in table.lines()[1:]]
        listed = json.loads("\n".join(self.run_program("adapters", "--json", namespace=self.host).lines()))["adapters"]
        self.assertEqual([row[0] for row in rows], [entry["name"] for entry in listed])
        self.assertEqual({entry["mac"] for entry in listed}, {self.mac})
        return ([(name, ip, state) for name, ip, _, state in rows],
                [(entry["name"], entry["default"], entry["portOf"]) for entry in listed])

    def assert_guest_runs_on(self, name, *options, pinged=True):
        guest = self.start("run", "--library", "pcap", "--proceed", *options, namespace=self.host).wait_up()
        self.assertRegex(guest.text(), rf"Connection          = {re.escape(name)}\n(?:\w.*\n){{4}}Default Adapter\?    = Yes\n")
        self.assertIn("*** Interface vnx0 enabled/up... (ip=10.77.0.111, ", guest.text())
        # In promiscuous mode is what was opened (and a port, always, for its bridge).
        details = self.host.ip("-d", "link", "show", "dev", name).stdout
        self.assertNotIn("promiscuity 0", details)
        if pinged:
            self.assert_pinged(self.peer, "10.77.0.111", 2)
        self.assertEqual(guest.stop()[0], 0, guest.story())

    def assert_stands_for_its_port(self, name):
        self.host.ip("link", "set", "dev", "eth0", "master", name)
        self.address(name)
        rows, listed = self.adapters()
        self.assertEqual(rows, [(name, "10.77.0.1", "connected, default"), ("eth0", "-", f"port of {name}")])
        self.assertEqual(listed, [(name, True, None), ("eth0", False, name)])
        self.assert_guest_runs_on(name)

    def test_bridge_over_its_port(self):
        self.host.ip("link", "add", "br0", "type", "bridge", "forward_delay", "0")
        self.assert_stands_for_its_port("br0")
        # Its MAC address means the bridge; its port cannot be named.
        self.assert_guest_runs_on("br0", "--adapter", self.mac)
        refused = self.run_program("run", "--library", "pcap", "--adapter", "eth0", namespace=self.host)
        self.assert_refused(refused, r"--adapter eth0: .*that is the address of br0, too\. Choose br0")
        # Without an address anywhere the bridge is still the one that is meant.
        self.host.ip("address", "flush", "dev", "br0")
        self.assertEqual(self.adapters()[0], [("br0", "-", "connected"), ("eth0", "-", "port of br0")])

    def test_bond_over_its_port(self):
        made = self.host.ip("link", "add", "bond0", "type", "bond", check=False)
        if made.returncode != 0:
            self.skipTest(f"this kernel has no bonds: {made.stderr.strip()}")
        self.assert_stands_for_its_port("bond0")

    def test_upper_adapter_with_the_default_route(self):
        """A VLAN; where the kernel has none, a MACVLAN that takes the address of the adapter below it over."""
        vlan = self.host.ip("link", "add", "link", "eth0", "name", "eth0.7", "type", "vlan", "id", "7", check=False)
        if vlan.returncode != 0:
            self.host.ip("link", "add", "link", "eth0", "name", "eth0.7", "type", "macvlan", "mode", "passthru")
        elif self.peer.ip("link", "add", "link", "far", "name", "far.7", "type", "vlan", "id", "7", check=False):
            self.peer.ip("address", "flush", "dev", "far")
            self.peer.ip("address", "add", "10.77.0.2/24", "dev", "far.7")
            self.peer.ip("link", "set", "dev", "far.7", "up")
        self.address("eth0.7")
        self.host.ip("address", "add", "10.88.0.1/24", "dev", "eth0")
        rows, listed = self.adapters()
        self.assertEqual(rows, [("eth0.7", "10.77.0.1", "connected, default"), ("eth0", "10.88.0.1", "connected")])
        self.assertEqual(listed, [("eth0.7", True, None), ("eth0", False, None)])
        self.assert_guest_runs_on("eth0.7")
        self.assert_guest_runs_on("eth0.7", "--adapter", self.mac)
        # The default route decides, and without one the number.
        self.host.ip("route", "change", "default", "via", "10.88.0.2")
        self.assertEqual(self.adapters()[1], [("eth0", True, None), ("eth0.7", False, None)])
        self.assert_guest_runs_on("eth0", "--adapter", "eth0.7", pinged=False)


class ManyAdapters(cases.NetworkCase):
    PAIRS = 60

    def test_more_than_a_process_may_have_files(self):
        """All are opened although the shell allows fewer files; those that are down are told of, each with that reason."""
        batch = []
        for number in range(self.PAIRS):
            batch += [f"link add up{number} type veth peer name down{number}", f"link set up{number} up"]
        made = subprocess.run(["ip", "-n", self.host.name, "-batch", "-"], input="\n".join(batch), text=True, capture_output=True)
        self.assertEqual(made.returncode, 0, made.stderr)
        report = self.run_program("report", namespace=self.host, prefix=["prlimit", "--nofile=50:4096"])
        text = without_stamps(report.lines())
        self.assertEqual(len(re.findall(r"^Connection          = (?:up|down)\d+$", text, re.M)), 2 * self.PAIRS)
        failed = re.findall(r"^\*\* WrenPackOpenAdapter\(NPF_(\w+?)\d+\) failed; rc=(\d+): ", text, re.M)
        self.assertEqual(failed, [("down", str(errno.ENETDOWN))] * self.PAIRS, text[-3000:])
