"""Very many frames: the program does not grow. VNXTEST_STRESS_FRAMES is how many; script/stress takes ten million."""

import os

from lab.cases import GUEST_IP, NetworkCase, timeout


class Endurance(NetworkCase):
    @timeout(1800)
    def test_many_frames_without_growth(self):
        frames = int(os.environ.get("VNXTEST_STRESS_FRAMES", "100000"))
        with open(os.devnull, "wb") as nowhere:
            guest = self.start(*self.arguments(["run"]), namespace=self.host, output=nowhere)
            self.assertTrue(self.answers(), guest.errors())
            sizes = []
            for echoes in (5000, frames // 2):
                done = self.peer.run("ping", "-M", "dont", "-n", "-q", "-f", "-c", echoes, GUEST_IP, timeout=1700)
                self.assertIn(f"{echoes} packets transmitted", done.stdout)
                sizes.append(guest.memory())
            print(f"{frames} frames: {sizes[0]} KiB resident before, {sizes[1]} KiB after")
            # The text that waits for its writer finds its largest size in time. That is a few hundred KiB, once; with
            # ten million frames this bound is less than half a byte for each.
            self.assertLess(sizes[1] - sizes[0], 4096)
            self.assertEqual(guest.stop()[0], 0, guest.errors())

    def answers(self):
        """Until the guest answers: its own lines are not read here."""
        return any(self.peer.run("ping", "-M", "dont", "-c", 1, "-W", 1, GUEST_IP).returncode == 0 for _ in range(20))
