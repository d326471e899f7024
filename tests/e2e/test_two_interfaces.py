"""Two interfaces at once, one TUN and one TAP, on two adapters; and what the failure of one does."""

import time

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase
from lab.statistics import interface_statistics, ping_statistics

SECOND_HOST, SECOND_PEER, SECOND_GUEST = "10.78.0.1", "10.78.0.2", "10.78.0.100"
SECOND_MAC = "02:77:00:00:01:64"


class TwoInterfaces(NetworkCase):
    def setUp(self):
        super().setUp()
        self.lab.veth(self.host, "adapter2", self.peer, "far2", SECOND_HOST + "/24", SECOND_PEER + "/24")
        self.links_before = self.host.links()

    def both(self, command, *extra):
        return self.arguments(command, "tun") + [
            "--mode2", "tap", "--adapter2", SECOND_HOST, "--guest-ip2", SECOND_GUEST, "--guest-mac2", SECOND_MAC,
            *extra]

    def assert_one_statistics_each(self, guest, interfaces=2):
        self.assertEqual(guest.text().count("*** Statistics for Interface "), interfaces, guest.story())

    def test_both_answer(self):
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                first, second = self.listen(interface="far"), self.listen(interface="far2")
                guest = self.start(*self.both(["run"], *extra), namespace=self.host).wait_up(2)
                self.assert_pinged(self.peer, GUEST_IP, 10, "-i", "0.02")
                self.assert_pinged(self.peer, SECOND_GUEST, 10, "-i", "0.02")
                self.assertEqual(guest.stop()[0], 0, guest.story())
                self.assert_one_statistics_each(guest)
                self.assertEqual({echo.source_mac for echo in first.echoes(frames.ECHO_REPLY)}, {GUEST_MAC})
                self.assertEqual({echo.source_mac for echo in second.echoes(frames.ECHO_REPLY)}, {SECOND_MAC})
                self.assert_frames_sound(first, GUEST_MAC, at_least=10)
                self.assert_frames_sound(second, SECOND_MAC, at_least=10)
                self.assert_nothing_left(guest)

    def test_a_test_from_each(self):
        for number, target in ((1, PEER_IP), (2, SECOND_PEER)):
            with self.subTest(interface=number):
                arguments = self.both(["ping", target], "--from", number, "--count", 3, "--delay", 20)
                guest = self.run_program(*arguments, namespace=self.host)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual(ping_statistics(guest.text())["received"], 3)
                self.assert_one_statistics_each(guest)

    def test_one_that_fails_later_stops_the_other(self):
        """Its adapter goes away while both run."""
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                guest = self.start(*self.both(["run"], *extra), namespace=self.host).wait_up(2)
                self.assert_pinged(self.peer, GUEST_IP, 3, "-i", "0.02")
                self.peer.ip("link", "del", "far2")
                started = time.monotonic()
                status = guest.wait_end(15)
                self.assertLess(time.monotonic() - started, 5)
                self.assertEqual(status, 2, guest.story())
                self.assertTrue(guest.errors().strip(), "explained on standard error")
                text = guest.text()
                self.assertEqual(text.count("vnetx32_read failed; errno="), 1, guest.story())
                self.assert_one_statistics_each(guest)
                self.assertEqual(text.count("** Interface "), 2 + text.count("*** Interface "), guest.story())
                self.lab.veth(self.host, "adapter2", self.peer, "far2", SECOND_HOST + "/24", SECOND_PEER + "/24")

    def test_one_that_cannot_be_opened_stops_the_other(self):
        """Its adapter is down at the start: the other one is closed, with its statistics."""
        self.host.ip("link", "set", "adapter2", "down")
        guest = self.run_program(*self.both(["run"]), namespace=self.host, timeout=15)
        self.assert_refused(guest)
        self.assertRegex(guest.text(), r"\*\* CreateInterface\(.*\): .* failed; errno=\d+: ", guest.story())
        self.assert_one_statistics_each(guest, 1)
        self.assert_nothing_left(guest)

    def test_statistics_are_each_ones_own(self):
        guest = self.start(*self.both(["run"]), namespace=self.host).wait_up(2)
        self.assert_pinged(self.peer, SECOND_GUEST, 7, "-i", "0.02")
        guest.stop()
        text = guest.text()
        names = [line.split("Interface ")[1].rstrip(":") for line in text.splitlines()
                 if line.startswith("*** Statistics for Interface ")]
        self.assertEqual(len(set(names)), 2, names)
        written = sorted(interface_statistics(text, name)["Total Packets Written"] for name in names)
        self.assertEqual(written[0], 0, text)
        self.assertGreaterEqual(written[1], 8, text)
