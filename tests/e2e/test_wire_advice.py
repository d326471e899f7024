"""The advice that rests on what the library notices of its wire: each finding by its real cause."""

import json
import os
import socket

import frames
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, interface_statistics
from lab.network import why_no_tun_device

SOL_UDP, UDP_SEGMENT = 17, 103
MODES = ("tap", "tun")


def text(mac):
    return mac.replace(":", "-").upper()


class OnTheWire(NetworkCase):
    def setUp(self):
        super().setUp()
        self.results = self.scratch() / "results.json"

    def evidence(self, guest, wanted):
        """That of the finding, which is told once on standard error, too."""
        advice = json.loads(self.results.read_text(encoding="utf-8"))["advice"]
        found = [finding for finding in advice if finding["id"] == wanted]
        self.assertEqual(len(found), 1, guest.story())
        self.assertEqual(guest.errors().count("vnxtest-cli: advice: {seen} {means} {action}\n".format(**found[0])), 1, guest.story())
        return found[0]["evidence"]

    def run_while(self, what, mode="tap"):
        guest = self.run_guest(mode, "--json", self.results)
        what()
        self.assertEqual(guest.stop()[0], 0, guest.story())
        return guest

    def ping_with_results(self, target, mode, *extra, **options):
        return self.start(*self.arguments(["ping", target], mode, **options), "--json", self.results, *extra, namespace=self.host)

    def announce(self, station, mac):
        station.send(frames.ethernet(frames.BROADCAST, mac, frames.ARP, frames.arp(1, mac, GUEST_IP, frames.NO_MAC, GUEST_IP)))
        self.assert_pinged(self.peer, GUEST_IP, 1)

    def test_another_station_has_the_guests_address(self):
        self.peer.ip("address", "add", GUEST_IP + "/24", "dev", "far")
        for mode in MODES:
            with self.subTest(mode=mode):
                guest = self.run_while(lambda: None, mode)
                evidence = self.evidence(guest, "address-in-use")
                self.assertEqual((evidence["mac"], evidence["answeredProbe"]), (text(self.peer.mac_of("far")), True))
                counters = interface_statistics(guest.text())
                self.assertEqual({name: counters[name] for name in counters if "Packets" in name or "Bytes" in name or "I/Os" in name},
                                 dict.fromkeys((name for name in counters if "Calls" not in name), 0), "the probe counts nowhere")
        self.peer.ip("address", "del", GUEST_IP + "/24", "dev", "far")
        station, other = self.listen(), "02:00:00:00:00:77"
        for mode in MODES:
            with self.subTest(mode=mode, later=True):
                evidence = self.evidence(self.run_while(lambda: self.announce(station, other), mode), "address-in-use")
                self.assertEqual((evidence["mac"], evidence["answeredProbe"], evidence["times"]), (text(other), False, 1))

    def test_a_library_that_tells_nothing_of_its_wire(self):
        """As the package's own: a TAP guest hears the other station itself, if not the target's silence."""
        library = os.environ.get("VNXTEST_SHARED_OBJECT") or self.skipTest("the shared library was not built")
        station, other = self.listen(), "02:00:00:00:00:77"
        guest = self.run_guest("tap", "--json", self.results, library=library)
        self.announce(station, other)
        self.announce(station, self.host.mac_of("adapter"))  # the host, which is no other station
        self.assertEqual(guest.stop()[0], 0, guest.story())
        evidence = self.evidence(guest, "address-in-use")
        self.assertEqual((evidence["mac"], evidence["answeredProbe"], evidence["times"]), (text(other), False, 1))

    def test_another_station_has_the_guests_mac(self):
        self.peer.ip("link", "set", "far", "address", GUEST_MAC)

        def speak():
            self.peer.ip("neighbour", "flush", "dev", "far")
            self.assert_pinged(self.peer, HOST_IP, 1)

        for mode in MODES:
            with self.subTest(mode=mode):
                evidence = self.evidence(self.run_while(speak, mode), "mac-in-use")
                self.assertEqual((evidence["mac"], evidence["address"]), (text(GUEST_MAC), PEER_IP))

    def test_nobody_answers_arp(self):
        self.host.ip("route", "add", "default", "via", "10.77.0.9")  # nobody has it, nor the target
        for target, mode, wanted, silent in (("10.77.0.99", "tap", "target-silent", "10.77.0.99"),
                                             ("10.77.0.99", "tun", "target-silent", "10.77.0.99"),
                                             ("192.0.2.9", "tun", "gateway-silent", "10.77.0.9")):
            with self.subTest(target=target, mode=mode):
                guest = self.ping_with_results(target, mode, "--count", 3, "--delay", 10, "--timeout", 300)
                self.assertEqual(guest.wait_end(), 1, guest.story())
                evidence = self.evidence(guest, wanted)
                self.assertEqual((evidence["address"], evidence["answeredBefore"]), (silent, False))
                self.assertGreaterEqual(evidence["questions"], 1)
        guest = self.ping_with_results("192.0.2.9", "tap", "--count", 3, "--delay", 10, "--timeout", 300, "--proceed", gateway=None)
        self.assertEqual(guest.wait_end(), 1, guest.story())
        self.assertEqual(self.evidence(guest, "gateway-silent"), {"address": "10.77.0.9", "target": "192.0.2.9"})

    def test_the_cable_is_pulled(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                guest = self.ping_with_results(PEER_IP, mode, "--count", 5000, "--delay", 20, "--timeout", 200)
                guest.wait_for(" Reply to ping #5 ")
                self.peer.ip("link", "set", "far", "down")
                guest.wait_for("carrier was present and is lost now")
                self.peer.ip("link", "set", "far", "up")
                guest.wait_for("carrier was lost and is present now")
                guest.stop()
                evidence = self.evidence(guest, "no-carrier")
                self.assertEqual((evidence["times"], evidence["lasting"]), (1, False))
                self.assertGreater(evidence["totalMs"], 0)

    def test_the_adapter_goes(self):
        for change, state in ((["set", "adapter", "down"], "down"), (["delete", "adapter"], "gone")):
            with self.subTest(change=change):
                guest = self.run_guest("tap", "--json", self.results)
                self.host.ip("link", *change)
                self.assertEqual(guest.wait_end(), 2, guest.story())
                self.assertEqual(self.evidence(guest, "adapter-down")["state"], state)
                self.host.ip("link", "set", "adapter", "up", check=False)

    def test_the_adapter_behind_which_others_are_goes(self):
        """With tun it is the host's way to them: the guest goes on."""
        if why_no_tun_device():
            self.skipTest(why_no_tun_device())
        guest = self.run_guest("tap", "--proceed", "--json", self.results, library="tun", gateway=None)
        self.host.ip("link", "set", "adapter", "down")
        guest.wait_for("the adapter's state was up and is down now")
        self.assertEqual(guest.stop()[0], 0, guest.story())
        self.assertEqual(self.evidence(guest, "adapter-down")["state"], "down")
        self.assertIn("The guest still reaches this host", guest.errors())

    def test_frames_beyond_the_mtu(self):
        """A cable between namespaces carries the segments of a large send as one frame."""

        def send():
            with self.peer.entered(), socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
                sender.setsockopt(SOL_UDP, UDP_SEGMENT, 1400)
                sender.sendto(bytes(14000), (GUEST_IP, 9))
            self.assert_pinged(self.peer, GUEST_IP, 1)

        for mode in MODES:
            with self.subTest(mode=mode):
                evidence = self.evidence(self.run_while(send, mode), "frames-beyond-mtu")
                self.assertEqual((evidence["frames"], evidence["longest"], evidence["mtu"]), (1, 14042, 1500))

    def test_a_clean_run_says_nothing(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                guest = self.ping_with_results(PEER_IP, mode, "--count", 5, "--delay", 10)
                self.assertEqual(guest.wait_end(), 0, guest.story())
                self.assertEqual(json.loads(self.results.read_text(encoding="utf-8"))["advice"], [], guest.story())
