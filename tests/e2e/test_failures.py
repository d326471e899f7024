"""Two interfaces, one TUN and one TAP, on two adapters; and what fails: the message, the hint, nothing left open."""

import frames
from cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, interface_statistics, ping_statistics

SECOND_HOST, SECOND_PEER, SECOND_GUEST = "10.78.0.1", "10.78.0.2", "10.78.0.100"
SECOND_MAC = "02:77:00:00:01:64"


class TwoInterfaces(NetworkCase):
    def setUp(self):
        super().setUp()
        self.cable("adapter2", "far2", SECOND_HOST, SECOND_PEER)
        self.links_before = self.host.links()

    def both(self, command, *extra):
        return self.arguments(command, "tun") + [
            "--mode2", "tap", "--adapter2", SECOND_HOST, "--guest-ip2", SECOND_GUEST, "--guest-mac2", SECOND_MAC,
            *extra]

    def test_both_answer_and_ping(self):
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                heard = self.listen(interface="far"), self.listen(interface="far2")
                guest = self.start(*self.both(["run"], *extra), namespace=self.host).wait_up(2)
                self.assert_pinged(self.peer, GUEST_IP, 3)
                self.assert_pinged(self.peer, SECOND_GUEST, 10)
                self.assertEqual(guest.stop()[0], 0, guest.story())
                for station, mac, replies in zip(heard, (GUEST_MAC, SECOND_MAC), (3, 10)):
                    self.assertEqual([echo.source_mac for echo in station.echoes(frames.ECHO_REPLY)], [mac] * replies)
                written = sorted(interface_statistics(guest.text(), name)["Total Packets Written"]
                                 for name in ("vnx0", "vnx1"))
                self.assertTrue(3 <= written[0] < 10 <= written[1], "each one's own")
                self.assert_nothing_left(guest)
        for number, target in ((1, PEER_IP), (2, SECOND_PEER)):
            guest = self.run_program(*self.both(["ping", target], "--from", number, "--count", 3, "--delay", 20),
                                     namespace=self.host)
            self.assertEqual((guest.status, ping_statistics(guest.text())["received"]), (0, 3), guest.story())

    def test_one_that_fails_stops_the_other(self):
        """Its adapter goes away while both run, in either way of waiting, or while a test runs."""
        for command in (["run"], ["run", "--socket-notify"], ["ping", PEER_IP, "--count", 1000, "--delay", 10]):
            with self.subTest(command=command):
                guest = self.start(*self.both(command), namespace=self.host).wait_up(2)
                if command[0] == "ping":
                    guest.wait_for(" Reply to ping #5 ")
                self.peer.ip("link", "del", "far2")
                status = guest.wait_end(10)
                self.cable("adapter2", "far2", SECOND_HOST, SECOND_PEER)
                self.assertEqual(status, 2, guest.story())
                text = guest.text()
                self.assertRegex(text, r"\*\*\* MonitorThread: interface \S+ vnetx32_read failed; errno=\d+: ")
                self.assertEqual(text.count("vnetx32_read failed; errno="), 1, guest.story())
                self.assertEqual(text.count("*** Statistics for Interface "), 2, guest.story())
                self.assertEqual(text.count(" closed... (ip="), 2, guest.story())
                self.assertEqual("** END PING TEST **" in text, command[0] == "ping")

    def test_one_that_cannot_be_opened_stops_the_other(self):
        """Its adapter is down at the start: the other one is closed, with its statistics."""
        self.host.ip("link", "set", "adapter2", "down")
        guest = self.run_program(*self.both(["run"]), namespace=self.host, timeout=15)
        self.assert_refused(guest)
        self.assertRegex(guest.text(), r"\*\* CreateInterface\(.*\): .* failed; errno=\d+: \w+", guest.story())
        self.assertEqual(guest.text().count("*** Statistics for Interface "), 1, guest.story())
        self.assert_nothing_left(guest)
