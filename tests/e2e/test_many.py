"""Many pings without a pause, to the kernel over veth: all sent, none lost, the text whole, the cost linear."""

import time

from lab.cases import PEER_IP, NetworkCase, alone, before_others, timeout
from lab.guest import STAMP
from lab.statistics import ping_statistics

GRACE = 1.0


class ManyPings(NetworkCase):
    def pings(self, count, mode, *extra, statuses=(0,)):
        """Runs the test with the document in a file; returns its text without stamps, and the seconds."""
        path = self.scratch() / "document"
        with open(path, "wb") as file:
            started = time.monotonic()
            guest = self.start(*self.arguments(["ping", PEER_IP], mode), "--count", count, "--delay", 0, "--size", 8,
                               "--timeout", 2000, *extra, namespace=self.host, output=file, prefix=before_others())
            status = guest.wait_end(120)
            seconds = time.monotonic() - started
        text = "".join(STAMP.sub("", line) for line in path.read_text(encoding="utf-8").splitlines(keepends=True))
        self.assertIn(status, statuses, guest.errors() + text[-2000:])
        return text, seconds

    def assert_complete(self, text, count):
        figures = ping_statistics(text)
        self.assertEqual((figures["sent"], figures["received"], figures["timeouts"], figures["duplicates"],
                          figures["lost"]), (count, count, 0, 0, 0))
        self.assertLess(figures["maximum"], 2000, "a reply is not earlier than its request")
        sending = [int(line.split("#")[1].split()[0]) for line in text.splitlines()
                   if line.startswith(" Sending ping #")]
        self.assertEqual(sending, list(range(1, count + 1)), "every line, in order")
        replies = [int(line.split("#")[1].split()[0]) for line in text.splitlines()
                   if line.startswith(" Reply to ping #")]
        self.assertEqual(sorted(replies), list(range(1, count + 1)))
        self.assertNotIn("Assertion Failed", text)

    @alone
    @timeout(300)
    def test_the_most_pings_of_one_test(self):
        for mode, extra in (("tap", ()), ("tun", ()), ("tap", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                text, _ = self.pings(65535, mode, *extra)
                self.assert_complete(text, 65535)

    @alone
    @timeout(300)
    def test_the_cost_is_linear(self):
        """Eight times the pings in at most twice eight times the time; a rescan of the list takes 64 times."""
        few, many = 8000, 64000
        pairs = []
        for _ in range(3):
            costs = []
            for count in (few, many):
                _, seconds = self.pings(count, "tap", statuses=(0, 1))  # what is lost is the other case's affair
                costs.append((seconds - GRACE) / count)
            pairs.append(costs[1] / costs[0])
        self.assertLess(sorted(pairs)[1], 2.0, pairs)
