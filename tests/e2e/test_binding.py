"""The binding by name, to a real shared object that exports the contract: the same guest, the same wire."""

import os

from lab import frames
from lab.cases import GUEST_IP, PEER_IP, Case, NetworkCase
from lab.statistics import ping_statistics


def shared_object(case):
    path = os.environ.get("VNXTEST_SHARED_OBJECT")
    if not path or not os.path.exists(path):
        case.skipTest("needs the built-in libraries as a shared object")
    return path


class BoundLibrary(NetworkCase):
    def test_the_same_on_the_wire(self):
        library = shared_object(self)
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                heard = self.listen()
                guest = self.run_guest(mode, library=library)
                self.assert_pinged(self.peer, GUEST_IP, 10, "-i", "0.02")
                self.assertEqual(guest.stop()[0], 0, guest.story())
                self.assertEqual(len(heard.echoes(frames.ECHO_REPLY)), 10)
                guest = self.ping(PEER_IP, mode, "--count", 3, "--delay", 20, library=library)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual(ping_statistics(guest.text())["received"], 3)
                self.assert_frames_sound(heard, at_least=13)
                self.assert_nothing_left(guest)


class BoundReport(Case):
    def test_the_report_names_the_module(self):
        library = shared_object(self)
        guest = self.run_program("report", "--library", library)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertIn(os.path.basename(library), guest.text())
