"""Stopping: within one read time-out in normal mode, at once in socket-notify mode, always complete."""

import signal
import subprocess
import time

from cases import GUEST_IP, PEER_IP, NetworkCase, alone, interface_statistics, ping_statistics
from lab.network import die_with_parent

READ_TIMEOUT = 0.25
# The time from the signal to the program's end, besides the read time-out. Closing a packet socket waits
# for the kernel: about 30 ms each (four of them) on an idle machine, ten times that on a busy one.
AROUND = 1.5


class Stop(NetworkCase):
    def assert_stops(self, guest, bound, number=signal.SIGINT):
        status, seconds = guest.stop(number)
        self.assertEqual(status, 0, guest.story())
        self.assertLess(seconds, bound + AROUND)
        self.assertIsNotNone(interface_statistics(guest.text()))
        self.assert_nothing_left(guest)

    @alone
    def test_a_stop_is_prompt_and_nothing_is_in_the_way_of_the_next_run(self):
        for mode in ("tap", "tun"):
            for wait in (0.0, 0.08, 0.16):  # at different moments of the time-out
                with self.subTest(mode=mode, wait=wait):
                    guest = self.run_guest(mode)
                    self.assert_pinged(self.peer, GUEST_IP, 1)
                    time.sleep(wait)
                    self.assert_stops(guest, READ_TIMEOUT)
                    self.assert_stops(self.run_guest(mode, "--socket-notify"), 0.0, signal.SIGTERM)

    @alone
    def test_a_stop_during_the_delay_counts_what_was_sent(self):
        for extra, bound in (((), READ_TIMEOUT), (("--socket-notify",), 0.0)):
            with self.subTest(extra=extra):
                guest = self.start(*self.arguments(["ping", PEER_IP]), "--count", 100, "--delay", 10000, *extra,
                                   namespace=self.host)
                guest.wait_for(" Reply to ping #1 ")
                self.assert_stops(guest, bound)
                figures = ping_statistics(guest.text())
                self.assertEqual((figures["sent"], figures["received"], figures["lost"]), (1, 1, 0), guest.story())

    def test_a_stop_under_a_flood(self):
        flood = subprocess.Popen(self.peer.command("ping", "-M", "dont", "-q", "-f", "-l", "64", GUEST_IP),
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=die_with_parent)
        self.addCleanup(flood.wait)
        self.addCleanup(flood.kill)
        for extra in ((), ("--socket-notify",)):
            guest = self.run_guest("tap", *extra, "--output", self.scratch() / "document")
            time.sleep(0.5)
            self.assert_stops(guest, 3)
