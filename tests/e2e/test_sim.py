"""The simulated LAN, as an ordinary user: everything that needs no real wire."""

import json
import signal
import time

from lab.cases import Case, alone, as_ordinary_user, program_for_everybody, timeout
from lab.guest import STAMP
from lab.statistics import interface_statistics, ping_statistics

ADAPTER, ECHO_HOST, GUEST, GATEWAY, SILENT = "198.18.0.1", "198.18.0.2", "198.18.0.100", "198.18.0.254", "198.18.0.150"


class SimulatedLan(Case):
    def setUp(self):
        self.copy = program_for_everybody(self.scratch())

    def arguments(self, command, mode="tap", sim="sim"):
        return [*command, "--library", sim, "--mode", mode, "--adapter", ADAPTER, "--guest-ip", GUEST,
                "--gateway", GATEWAY, "--no-report"]

    def go(self, *arguments, **options):
        return self.start(*arguments, prefix=as_ordinary_user(), executable=self.copy, **options)

    def ping(self, target=ECHO_HOST, mode="tap", sim="sim", *extra, limit=60):
        guest = self.go(*self.arguments(["ping", target], mode, sim), *extra)
        guest.status = guest.wait_end(limit)
        return guest

    def figures(self, guest, sent):
        figures = ping_statistics(guest.text())
        self.assertIsNotNone(figures, guest.story())
        self.assertEqual(figures["sent"], sent)
        self.assertEqual(figures["received"] + figures["lost"], sent)
        self.assertGreaterEqual(figures["timeouts"], figures["lost"])
        self.assertEqual(guest.status, 1 if figures["lost"] else 0, guest.story())
        return figures

    def test_a_ping_test_from_start_to_end(self):
        for mode in ("tap", "tun"):
            for extra in ((), ("--socket-notify",)):
                with self.subTest(mode=mode, extra=extra):
                    guest = self.ping(ECHO_HOST, mode, "sim", "--count", 3, "--delay", 20, *extra)
                    self.assertEqual(self.figures(guest, 3)["received"], 3)
                    self.assertIn(" Ping test successful.\n", guest.text())
                    counters = interface_statistics(guest.text())
                    self.assertGreaterEqual(counters["Total Packets Written"], 3)
                    self.assertEqual(guest.text().count(" enabled/up..."), guest.text().count(" closed... (ip="))

    def test_behind_the_gateway_and_silence(self):
        guest = self.ping("8.8.8.8", "tap", "sim", "--count", 2, "--delay", 10)
        self.assertEqual(self.figures(guest, 2)["received"], 2)
        guest = self.ping(SILENT, "tap", "sim", "--count", 2, "--delay", 10, "--timeout", 200)
        self.assertEqual(self.figures(guest, 2)["timeouts"], 2)
        guest = self.ping("203.0.113.9", "tun", "sim", "--count", 2, "--delay", 10, "--timeout", 200)
        self.assertEqual(self.figures(guest, 2)["lost"], 2)

    def test_a_target_by_its_name(self):
        guest = self.ping("localhost", "tap", "sim", "--count", 1, "--delay", 0, "--timeout", 100)
        self.assertEqual(self.figures(guest, 1)["target"], "localhost [127.0.0.1]")
        self.assertIn(" Sending ping #1 bytes=32 to localhost [127.0.0.1]...\n", guest.text())

    def test_lost(self):
        guest = self.ping(ECHO_HOST, "tap", "sim:loss=100", "--count", 3, "--delay", 20, "--timeout", 200)
        figures = self.figures(guest, 3)
        self.assertEqual((figures["received"], figures["timeouts"], figures["percent"]), (0, 3, 100))

    def test_duplicate(self):
        guest = self.ping(ECHO_HOST, "tap", "sim:dup=100", "--count", 3, "--delay", 20)
        figures = self.figures(guest, 3)
        self.assertEqual((figures["received"], figures["duplicates"]), (3, 3))
        self.assertEqual(guest.text().count(" Reply #2 to ping #"), 3)

    def test_late(self):
        guest = self.ping(ECHO_HOST, "tap", "sim:late=100", "--count", 3, "--delay", 20, "--timeout", 500)
        figures = self.figures(guest, 3)
        self.assertEqual((figures["received"], figures["timeouts"], figures["lost"]), (3, 3, 0))
        self.assertEqual(guest.text().count("ms late)\n"), 3)

    def test_dont_fragment(self):
        guest = self.ping(ECHO_HOST, "tap", "sim:df=100", "--count", 2, "--delay", 20, "--timeout", 200, "--debug")
        self.assertEqual(self.figures(guest, 2)["lost"], 2)
        self.assertEqual(guest.text().count("Packet was ignored (Fragmented)\n"), 2)

    def test_a_mixture_sums_and_repeats(self):
        """The same seed, the same figures; the interface's own count agrees with the test's."""
        mixture = "sim:loss=10,dup=10,late=5,df=5,corrupt=5,truncate=5,foreign=5,reorder=10,seed={}"
        seen = []
        for seed in (7, 7, 8):
            guest = self.ping(ECHO_HOST, "tap", mixture.format(seed), "--count", 300, "--delay", 1, "--timeout", 300)
            figures = self.figures(guest, 300)
            seen.append((figures["received"], figures["duplicates"], figures["lost"]))
            self.assertTrue(0 < figures["lost"] < 200, figures)
        self.assertEqual(seen[0], seen[1])
        self.assertNotEqual(seen[0], seen[2])

    @alone
    @timeout(120)
    def test_the_most_pings(self):
        path = self.scratch() / "document"
        with open(path, "wb") as file:
            guest = self.go(*self.arguments(["ping", ECHO_HOST]), "--count", 65535, "--delay", 0, "--size", 8,
                            "--timeout", 5000, output=file)
            self.assertEqual(guest.wait_end(90), 0, guest.errors())
        text = "".join(STAMP.sub("", line) for line in path.read_text(encoding="utf-8").splitlines(keepends=True))
        figures = ping_statistics(text)
        self.assertEqual((figures["sent"], figures["received"], figures["lost"]), (65535, 65535, 0))
        self.assertEqual(text.count("\n Sending ping #"), 65535)
        self.assertEqual(text.count("\n Reply to ping #"), 65535)

    def test_sizes(self):
        guest = self.ping(ECHO_HOST, "tap", "sim", "--count", 1, "--delay", 0, "--size", 1472)
        self.assertEqual(self.figures(guest, 1)["received"], 1)
        for size in (1473, 65507):
            guest = self.ping(ECHO_HOST, "tap", "sim", "--count", 1, "--delay", 0, "--size", size)
            self.assert_refused(guest)
            self.assertIn("***  Ping #1 failed; abort  ***\n", guest.text())
        guest = self.ping(ECHO_HOST, "tun", "sim:mtu=65535", "--count", 1, "--delay", 0, "--size", 65507)
        self.assertEqual(self.figures(guest, 1)["received"], 1)

    def test_the_guest_is_pinged(self):
        guest = self.go(*self.arguments(["run"], "tap", "sim:pinger=20"), "--duration", 1)
        self.assertEqual(guest.wait_end(), 0, guest.story())
        self.assertGreater(guest.text().count(f"** Someone is PINGing Vant!\n** Sending PING reply to {ECHO_HOST}\n"), 10)

    @alone
    def test_stops(self):
        for extra, bound in (((), 0.25), (("--socket-notify",), 0.0)):
            for number in (signal.SIGINT, signal.SIGTERM):
                with self.subTest(extra=extra, signal=number):
                    guest = self.go(*self.arguments(["run"]), *extra).wait_up()
                    status, seconds = guest.stop(number)
                    self.assertEqual(status, 0, guest.story())
                    self.assertLess(seconds, bound + 0.15)
                    self.assertIsNotNone(interface_statistics(guest.text()))

    def test_two_interfaces(self):
        guest = self.go(*self.arguments(["ping", ECHO_HOST], "tun"), "--mode2", "tap", "--adapter2", ADAPTER,
                        "--guest-ip2", "198.18.0.101", "--from", 2, "--count", 3, "--delay", 20)
        guest.status = guest.wait_end()
        self.assertEqual(self.figures(guest, 3)["received"], 3)
        self.assertEqual(guest.text().count("*** Statistics for Interface "), 2)

    def test_the_results_as_json(self):
        folder = self.scratch()
        guest = self.ping(ECHO_HOST, "tap", "sim:dup=100", "--count", 3, "--delay", 20, "--json", folder / "out.json")
        self.assertEqual(guest.status, 0, guest.story())
        json.loads((folder / "out.json").read_text(encoding="utf-8"))

    def test_it_waits_without_work(self):
        """An idle guest costs next to nothing: clock ticks of one second of waiting."""
        for extra in ((), ("--socket-notify",)):
            guest = self.go(*self.arguments(["run"]), *extra).wait_up()
            before = self.ticks(guest.pid)
            time.sleep(2)
            self.assertLessEqual(self.ticks(guest.pid) - before, 3, "of 200")
            guest.stop()

    @staticmethod
    def ticks(pid):
        with open(f"/proc/{pid}/stat", encoding="ascii") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return int(fields[11]) + int(fields[12])
