"""The world changes under a running guest: its adapter, its gateway, the clock."""

import json
import pathlib
import time

import frames
from cases import GUEST_IP, HOST_IP, PEER_IP, NetworkCase, ping_statistics

FAKETIME = next(pathlib.Path("/usr/lib").glob("*/faketime/libfaketimeMT.so.1"), None)


class Changes(NetworkCase):
    def test_the_adapter_gets_other_addresses(self):
        """The guest has its own and is not disturbed, but it says what it has noticed."""
        for mode, extra in (("tap", ()), ("tun", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                guest = self.run_guest(mode, *extra)
                mac = self.host.mac_of("adapter")
                for change in (["link", "set", "adapter", "address", "02:aa:00:00:00:01"],
                               ["address", "del", HOST_IP + "/24", "dev", "adapter"],
                               ["address", "add", "10.77.0.7/24", "dev", "adapter"],
                               ["link", "set", "adapter", "mtu", 1000], ["link", "set", "adapter", "mtu", 9000]):
                    self.host.ip(*change)
                    time.sleep(0.6)
                    self.assert_pinged(self.peer, GUEST_IP, 3)
                for change in ("MAC address was [0-9A-F-]{17} and is 02-AA-00-00-00-01", "IP address was none and is 10.77.0.7",
                               "MTU was 1000 and is 9000"):
                    guest.wait_for(f"Interface vnx0: the adapter's {change} now; the guest goes on as it was started")
                self.assertEqual(guest.stop()[0], 0, guest.story())
                self.host.ip("link", "set", "adapter", "address", mac, "mtu", 1500)
                self.host.ip("address", "flush", "dev", "adapter")
                self.host.ip("address", "add", HOST_IP + "/24", "dev", "adapter")

    def test_the_carrier_is_lost_and_comes_back(self):
        """As with a cable that is pulled: it is told, what is sent meanwhile is lost, and the test goes on."""
        for mode, extra in (("tap", ()), ("tun", ()), ("tap", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                guest = self.start(*self.arguments(["ping", PEER_IP], mode), "--count", 150, "--delay", 10, "--timeout",
                                   200, *extra, namespace=self.host)
                guest.wait_for(" Reply to ping #20 ")
                self.peer.ip("link", "set", "far", "down")
                time.sleep(0.5)
                self.peer.ip("link", "set", "far", "up")
                self.assertEqual(guest.wait_end(), 1, guest.story())
                text, figures = guest.text(), ping_statistics(guest.text())
                self.assertEqual(figures["sent"], 150, guest.story())
                self.assertTrue(10 <= figures["lost"] <= 100, figures)
                self.assertIn(" Reply to ping #150 ", text)
                for change in ("present and is lost", "lost and is present"):
                    self.assertEqual(text.count(f"the adapter's carrier was {change} now; the guest goes on"), 1, text)
                self.assertNotIn("failed", text)

    def test_the_adapter_gets_another_name(self):
        with self.running() as guest:
            self.host.ip("link", "set", "adapter", "name", "renamed")
            guest.wait_for("the adapter's name was adapter and is renamed now; the guest goes on as it was started")
            self.assert_pinged(self.peer, GUEST_IP, 3)

    def test_another_gateway(self):
        """In TUN mode the guest follows the host's routes, also while it runs."""
        self.respond(address="10.77.0.51")
        heard = self.listen()
        self.host.ip("route", "add", "default", "via", PEER_IP)
        guest = self.start(*self.arguments(["ping", "192.0.2.9"], "tun", gateway=None), "--count", 60, "--delay", 50,
                           "--timeout", 50, namespace=self.host)
        guest.wait_for("Sending ping #10 ")
        self.host.ip("route", "replace", "default", "via", "10.77.0.51")
        self.assertIn(guest.wait_end(), (0, 1), guest.story())
        questions = [frames.parse_arp(frame) for frame in heard.heard()]
        asked = [question.target_ip for question in questions if question and question.sender_ip == GUEST_IP]
        self.assertEqual(list(dict.fromkeys(asked)), [PEER_IP, "10.77.0.51"])

    def test_the_clock_jumps(self):
        """A day back and a day on: the stamps follow, what is measured and waited for does not."""
        if not FAKETIME:
            self.skipTest("needs libfaketime")
        clock = self.scratch() / "clock"
        clock.write_text("+0")
        results = self.scratch() / "results.json"
        environment = {"LD_PRELOAD": str(FAKETIME), "FAKETIME_DONT_FAKE_MONOTONIC": "1", "FAKETIME_NO_CACHE": "1",
                       "FAKETIME_TIMESTAMP_FILE": str(clock)}
        started = time.monotonic()
        guest = self.start("--library", "sim:delay=25", "ping", "198.18.0.2", "--count", 20, "--delay", 50,
                           "--no-report", "--json", results, "--no-sandbox",  # the clock is read from a file
                           environment=environment)
        for number, jump in ((5, "-1d"), (10, "+1d"), (15, "-3h")):
            guest.wait_for(f"Sending ping #{number} ")
            clock.write_text(jump)
        self.assertEqual(guest.wait_end(), 0, guest.story())
        self.assertLess(time.monotonic() - started, 8)
        self.assertRegex(guest.text(), r"20 Replies Received \(Minimum = \d{1,2}ms, Maximum = \d{2,3}ms")
        pings = json.loads(results.read_text("utf-8"))["ping"]["pings"]
        self.assertTrue(all(24e6 < one["rttNs"] < 999e6 for one in pings), pings)
        self.assertEqual(len({one["sentAt"][:10] for one in pings}), 3, "the days")
        self.assertGreater(len({line[:2] for line in guest.lines()}), 1, "the clock did jump")
