"""TUN mode on a real wire: the library speaks Ethernet and ARP for a guest that knows IP only."""

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, alone, timeout
from lab.statistics import interface_statistics, ping_statistics


class TunGuest(NetworkCase):
    def test_the_library_answers_arp(self):
        self.need_program("arping")
        heard = self.listen()
        guest = self.run_guest("tun")
        done = self.peer.run("arping", "-c", 3, "-I", "far", GUEST_IP)
        self.assertIn("Received 3 response(s)", done.stdout, guest.story())
        self.assertIn(f"[{GUEST_MAC.upper()}]", done.stdout)
        self.assertEqual(guest.stop()[0], 0)
        self.assertNotIn("HandleTapARPPacket", guest.text())
        self.assertGreaterEqual(interface_statistics(guest.text())["Internally Handled ARP Packets"], 3)
        self.assert_frames_sound(heard, at_least=3)
        self.assert_nothing_left(guest)

    def test_kernel_pings_the_guest(self):
        heard = self.listen()
        guest = self.run_guest("tun")
        self.assert_pinged(self.peer, GUEST_IP, 50, "-i", "0.02")
        self.assert_pinged(self.peer, GUEST_IP, 5, "-i", "0.02", "-s", "1472")
        self.assertEqual(guest.stop()[0], 0, guest.story())
        self.assertEqual(guest.text().count("** Sending PING reply to " + PEER_IP), 55)
        replies = heard.echoes(frames.ECHO_REPLY)
        self.assertEqual({echo.source_mac for echo in replies}, {GUEST_MAC})
        self.assert_frames_sound(heard, at_least=55)

    @alone
    @timeout(180)
    def test_flood_loses_nothing(self):
        guest = self.run_guest("tun", "--output", self.scratch() / "document")
        # More outstanding than this, and ping's own receive buffer loses some, even from a kernel.
        for outstanding in (1, 64, 128):
            done = self.peer.run("ping", "-M", "dont", "-q", "-f", "-c", 20000, "-l", outstanding, GUEST_IP)
            self.assertIn("20000 packets transmitted, 20000 received, 0% packet loss", done.stdout, done.stderr)
        self.assertEqual(guest.stop()[0], 0, guest.story())

    def test_guest_pings_behind_the_gateway(self):
        """An off-subnet packet goes to the adapter's own gateway."""
        remote = self.lab.namespace("remote")
        self.lab.veth(self.peer, "to-remote", remote, "far", "10.88.0.1/24", "10.88.0.2/24")
        self.peer.write("net/ipv4/ip_forward", 1)
        remote.ip("route", "add", "default", "via", "10.88.0.1")
        self.host.ip("route", "add", "default", "via", PEER_IP)
        heard = self.listen()
        guest = self.ping("10.88.0.2", "tun", "--count", 3, "--delay", 50, gateway=None)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertEqual(ping_statistics(guest.text())["received"], 3)
        self.assertIn("TTL=63", guest.text())
        self.assert_frames_sound(heard, at_least=3)
