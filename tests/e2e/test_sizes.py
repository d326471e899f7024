"""What the interface's MTU allows is sent whole; what it does not allow ends the test, named."""

from lab import frames
from lab.cases import PEER_IP, NetworkCase
from lab.statistics import interface_statistics, ping_statistics

PATTERN = b"abcdefghijklmnopqrstuvwxyz0123456789"


class Sizes(NetworkCase):
    def test_a_full_frame_is_sent_whole(self):
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                heard = self.listen()
                guest = self.ping(PEER_IP, mode, "--count", 2, "--delay", 20, "--size", 1472)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual(guest.text().count(f"received from {PEER_IP}: bytes=1472 "), 2)
                for echo in heard.echoes(frames.ECHO_REQUEST):
                    self.assertEqual(echo.data, (PATTERN * 41)[:1472])
                self.assert_frames_sound(heard, at_least=2)

    def test_one_byte_more_is_a_write_failure(self):
        for mode, header in (("tap", 14), ("tun", 0)):
            for size in (1473, 65507):
                with self.subTest(mode=mode, size=size):
                    heard = self.listen()
                    guest = self.ping(PEER_IP, mode, "--count", 3, "--delay", 20, "--size", size)
                    self.assert_refused(guest)
                    text = guest.text()
                    self.assertRegex(
                        text,
                        rf" Sending ping #1 bytes={size} to 10\.77\.0\.2\.\.\.\n"
                        r"\*\* CVNXTestView\([^)]+\)::WritePingIPPacket: vnetx32_write failed;\n"
                        rf"                      dwPacketSize={header + 28 + size}, rc=-?\d+, "
                        r"GetLastError=90 \(0x0000005A\), errno=90: Message too long\n"
                        r"\n\*\*\*  Ping #1 failed; abort  \*\*\*\n\n", text)
                    self.assertIsNone(ping_statistics(text), "the first ping failed: no wait thread, no statistics")
                    self.assertIsNotNone(interface_statistics(text))
                    self.assertEqual(heard.echoes(frames.ECHO_REQUEST), [], "nothing is cut silently")
                    self.assert_nothing_left(guest)

    def test_the_largest_ping_on_the_largest_wire(self):
        self.host.ip("link", "set", "adapter", "mtu", 65535)
        self.peer.ip("link", "set", "far", "mtu", 65535)
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                guest = self.ping(PEER_IP, mode, "--count", 2, "--delay", 20, "--size", 65507)
                if mode == "tap" and guest.status == 2:
                    # The program reads 65,535 bytes at most: a whole frame of this size has 65,549.
                    self.assertIn("errno=90", guest.text(), guest.story())
                    continue
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual(guest.text().count("bytes=65507 time="), 2)

    def test_jumbo_frames(self):
        self.host.ip("link", "set", "adapter", "mtu", 9000)
        self.peer.ip("link", "set", "far", "mtu", 9000)
        heard = self.listen()
        guest = self.ping(PEER_IP, "tap", "--count", 2, "--delay", 20, "--size", 8972)
        self.assertEqual(guest.status, 0, guest.story())
        self.assert_frames_sound(heard, at_least=2)
        guest = self.ping(PEER_IP, "tap", "--count", 2, "--delay", 20, "--size", 8973)
        self.assert_refused(guest)
