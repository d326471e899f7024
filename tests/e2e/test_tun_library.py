"""The kernel's own TUN/TAP device: host and guest on one machine, no wire at all."""

from lab.cases import GUEST_IP, HOST_IP, NetworkCase, alone, before_others
from lab.network import why_no_tun_device
from lab.statistics import ping_statistics


class TunLibrary(NetworkCase):
    def setUp(self):
        super().setUp()
        missing = why_no_tun_device()
        if missing:
            self.skipTest(missing)

    def test_the_host_pings_the_guest(self):
        for mode in ("tun", "tap"):
            for extra in ((), ("--socket-notify",)):
                with self.subTest(mode=mode, extra=extra):
                    guest = self.run_guest(mode, "--proceed", *extra, library="tun", gateway=None)
                    self.assertNotEqual(self.host.links(), self.links_before, "a device of its own")
                    self.assert_pinged(self.host, GUEST_IP, 20, "-i", "0.02")
                    self.assertEqual(guest.stop()[0], 0, guest.story())
                    self.assertEqual(guest.text().count("** Sending PING reply to "), 20)
                    self.assert_nothing_left(guest)

    def test_the_guest_pings_the_host(self):
        for mode in ("tun", "tap"):
            with self.subTest(mode=mode):
                guest = self.ping(HOST_IP, mode, "--count", 5, "--delay", 20, "--proceed", library="tun", gateway=None)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual(ping_statistics(guest.text())["received"], 5)
                self.assert_nothing_left(guest)

    @alone
    def test_many_pings(self):
        document = self.scratch() / "document"
        options = self.arguments(["ping", HOST_IP], "tun", library="tun", gateway=None)
        guest = self.run_program(*options, "--count", 5000, "--delay", 0, "--size", 8, "--proceed", "--output", document,
                                 namespace=self.host, prefix=before_others())
        self.assertEqual(guest.status, 0, guest.story())
        self.assertEqual(ping_statistics(guest.text())["received"], 5000)

    def test_a_stop_is_bounded(self):
        for extra, bound in (((), 0.4), (("--socket-notify",), 0.15)):
            with self.subTest(extra=extra):
                guest = self.run_guest("tun", "--proceed", *extra, library="tun", gateway=None)
                status, seconds = guest.stop()
                self.assertEqual(status, 0, guest.story())
                self.assertLess(seconds, bound + 0.15)
