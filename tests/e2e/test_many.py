"""Many pings without a pause, to the kernel over veth: all sent, none lost, the text whole, the cost linear."""

import re
import subprocess
import time

from cases import PEER_IP, NetworkCase, alone, ping_statistics, timeout
from lab.guest import without_stamps

GRACE = 1.0
# No loss can be required only of a program that runs: one that waits some milliseconds for a processor
# loses frames in the receive ring, which is no fault of the program.
BEFORE_OTHERS = ["chrt", "--rr", "1"]


class ManyPings(NetworkCase):
    def seconds_of(self, count, mode, *extra):
        """Runs the test with the document in a file, which must be complete; returns the seconds for each ping."""
        path = self.scratch() / "document"
        prefix = BEFORE_OTHERS if subprocess.run([*BEFORE_OTHERS, "true"], capture_output=True).returncode == 0 else []
        with open(path, "wb") as file:
            started = time.monotonic()
            guest = self.start(*self.arguments(["ping", PEER_IP], mode), "--count", count, "--delay", 0, "--size", 8,
                               "--timeout", 2000, *extra, namespace=self.host, output=file, prefix=prefix)
            status = guest.wait_end(120)
            seconds = time.monotonic() - started - GRACE
        text = without_stamps(path.read_text(encoding="utf-8").splitlines())
        self.assertEqual(status, 0, guest.errors() + text[-2000:])
        figures = ping_statistics(text)
        self.assertEqual((figures["received"], figures["timeouts"], figures["duplicates"]), (count, 0, 0))
        self.assertLess(figures["maximum"], 2000, "a reply is not earlier than its request")
        sent, replied = (list(map(int, re.findall(rf"^ {words} ping #(\d+) ", text, re.M))) for words in ("Sending", "Reply to"))
        self.assertEqual(sent, list(range(1, count + 1)), "every line, in order")
        self.assertEqual(sorted(replied), sent)
        return seconds / count

    @alone
    @timeout(400)
    def test_the_most_pings_of_one_test(self):
        """Each with eight times fewer for comparison: a rescan of the list would take eight times the time a ping."""
        ratios = []
        for mode, extra in (("tap", ()), ("tun", ()), ("tap", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                few = self.seconds_of(8000, mode, *extra)
                ratios.append(self.seconds_of(65535, mode, *extra) / few)
        self.assertLess(sorted(ratios)[1], 2.0, ratios)
