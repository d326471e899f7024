"""Stopping: within one read time-out in normal mode, at once in socket-notify mode, always complete."""

import signal
import subprocess
import time

from lab.cases import GUEST_IP, PEER_IP, NetworkCase, alone
from lab.network import die_with_parent
from lab.statistics import interface_statistics, ping_statistics

READ_TIMEOUT = 0.25
# The way from the signal to the program's end beside the waiting itself, on a busy machine.
AROUND = 0.15


class Stop(NetworkCase):
    @alone
    def test_a_stop_in_normal_mode_takes_at_most_the_read_time_out(self):
        for mode in ("tap", "tun"):
            for wait in (0.0, 0.06, 0.12, 0.18):  # at different moments of the time-out
                with self.subTest(mode=mode, wait=wait):
                    guest = self.run_guest(mode)
                    time.sleep(wait)
                    status, seconds = guest.stop()
                    self.assertEqual(status, 0, guest.story())
                    self.assertLess(seconds, READ_TIMEOUT + AROUND)
                    self.assertIsNotNone(interface_statistics(guest.text()))
                    self.assert_nothing_left(guest)

    @alone
    def test_a_stop_in_socket_notify_mode_is_at_once(self):
        for mode in ("tap", "tun"):
            for _ in range(3):
                with self.subTest(mode=mode):
                    guest = self.run_guest(mode, "--socket-notify")
                    status, seconds = guest.stop(signal.SIGTERM)
                    self.assertEqual(status, 0, guest.story())
                    self.assertLess(seconds, AROUND)
                    self.assertIsNotNone(interface_statistics(guest.text()))
                    self.assertNotIn("vnetx32_read failed", guest.text())
                    self.assert_nothing_left(guest)

    def test_a_stop_under_a_flood(self):
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                guest = self.run_guest("tap", *extra, "--output", self.scratch() / "document")
                flood = self.start_flood()
                time.sleep(0.5)
                status, seconds = guest.stop()
                flood.terminate()
                flood.wait()
                self.assertEqual(status, 0, guest.errors())
                self.assertLess(seconds, 3)

    def start_flood(self):
        flood = subprocess.Popen(self.peer.command("ping", "-M", "dont", "-q", "-f", "-l", "64", GUEST_IP),
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=die_with_parent)
        self.addCleanup(flood.wait)
        self.addCleanup(flood.kill)
        return flood

    @alone
    def test_a_stop_during_the_delay_counts_what_was_sent(self):
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                guest = self.start(*self.arguments(["ping", PEER_IP]), "--count", 100, "--delay", 10000, *extra,
                                   namespace=self.host)
                guest.wait_for(" Reply to ping #1 ")
                status, seconds = guest.stop()
                self.assertLess(seconds, READ_TIMEOUT + AROUND)
                figures = ping_statistics(guest.text())
                self.assertEqual((figures["sent"], figures["received"], figures["lost"]), (1, 1, 0), guest.story())
                self.assertIn(status, (0, 2))
                self.assertIsNotNone(interface_statistics(guest.text()))

    def test_the_duration_of_a_run(self):
        started = time.monotonic()
        guest = self.run_program(*self.arguments(["run"]), "--duration", 1, namespace=self.host)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertGreater(time.monotonic() - started, 0.9)
        self.assertLess(time.monotonic() - started, 5)

    def test_starts_and_stops_in_a_row(self):
        """Nothing of one run is in the way of the next."""
        for number in range(8):
            guest = self.run_guest("tun" if number % 2 else "tap", *(["--socket-notify"] if number % 4 > 1 else []))
            self.assert_pinged(self.peer, GUEST_IP, 1)
            self.assertEqual(guest.stop()[0], 0, guest.story())
            self.assert_nothing_left(guest)
