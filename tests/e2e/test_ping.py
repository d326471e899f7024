"""The guest pings a kernel's host: the text to the letter, the exit statuses, the files it writes."""

import json
import re

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase
from lab.guest import STAMP, stamp_of
from lab.statistics import interface_statistics, ping_statistics

SUCCESS = (
    r"\n\*\* START PING TEST \*\*\n"
    r"\n ping  -c 3  -i 100  -s 32  -w 500  {target}\n"
    r"\n Sending ping #1 bytes=32 to {target}\.\.\.\n"
    r" Reply to ping #1 received from {target}: bytes=32 time=(<1|\d+)ms TTL=64\n"
    r" Sending ping #2 bytes=32 to {target}\.\.\.\n"
    r" Reply to ping #2 received from {target}: bytes=32 time=(<1|\d+)ms TTL=64\n"
    r" Sending ping #3 bytes=32 to {target}\.\.\.\n"
    r" Reply to ping #3 received from {target}: bytes=32 time=(<1|\d+)ms TTL=64\n"
    r"\n Ping statistics for {target}:\n"
    r"\n     3 Pings Sent\n"
    r"     3 Replies Received \(Minimum = \d+ms, Maximum = \d+ms, Average = \d+ms\)\n"
    r"     0 Pings Timeouts\n"
    r"     0 Duplicate Replies\n"
    r"     0 Pings Lost \(0%\)\n"
    r"\n Ping test successful\.\n"
    r"\n\*\* END PING TEST \*\*\n\n")


class GuestPings(NetworkCase):
    def test_success_to_the_letter(self):
        for mode in ("tap", "tun"):
            for extra in ((), ("--socket-notify",)):
                with self.subTest(mode=mode, extra=extra):
                    guest = self.ping(PEER_IP, mode, "--count", 3, "--delay", 100, *extra)
                    self.assertEqual(guest.status, 0, guest.story())
                    self.assertRegex(guest.text(), SUCCESS.format(target=re.escape(PEER_IP)))
                    for line in guest.lines():
                        self.assertRegex(line, STAMP, "every line bears its time")
                        self.assertEqual(line, line.rstrip(), "no trailing blanks")
                    self.assertIsNotNone(interface_statistics(guest.text()), guest.text())
                    self.assert_nothing_left(guest)

    def test_the_requests_on_the_wire(self):
        responder = self.respond()
        guest = self.ping(responder.address, "tap", "--count", 3, "--delay", 20, "--size", 40)
        self.assertEqual(guest.status, 0, guest.story())
        requests = responder.station.echoes(frames.ECHO_REQUEST)
        self.assertEqual(len(requests), 3)
        for number, echo in enumerate(requests):
            self.assertEqual((echo.source, echo.destination, echo.source_mac, echo.destination_mac),
                             (GUEST_IP, responder.address, GUEST_MAC, responder.station.mac))
            self.assertEqual((echo.flags, echo.ttl), (frames.DONT_FRAGMENT, 64))
            self.assertEqual(echo.data, b"abcdefghijklmnopqrstuvwxyz0123456789abcd")
            self.assertEqual(echo.identifier, requests[0].identifier)
            self.assertEqual(echo.sequence, (requests[0].sequence + number) & 0xFFFF)
        self.assertLess(requests[0].identifier, 0x8000)
        self.assert_frames_sound(responder.station, at_least=3)

    def test_a_silent_target(self):
        """Time-out lines on time, FAILED, exit status 1: for one who hears and does not answer."""
        silent = self.respond(lambda echo, number: [])
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                guest = self.ping(silent.address, mode, "--count", 3, "--delay", 1000, "--timeout", 500)
                self.assertEqual(guest.status, 1, guest.story())
                lines = guest.lines()
                for number in (1, 2, 3):
                    sent = next(line for line in lines if f" Sending ping #{number} " in line)
                    out = next(line for line in lines if f" Ping #{number} has timed out." in line)
                    self.assertGreaterEqual(stamp_of(out) - stamp_of(sent), 499)
                    self.assertLess(stamp_of(out) - stamp_of(sent), 700)
                text = guest.text()
                self.assertIn("\n     3 Pings Sent\n"
                              "     0 Replies Received (Minimum = 0ms, Maximum = 0ms, Average = 0ms)\n"
                              "     3 Pings Timeouts\n"
                              "     0 Duplicate Replies\n"
                              "     3 Pings Lost (100%)\n"
                              "\n Ping test has FAILED.\n"
                              "\n** END PING TEST **\n", text)
                self.assertTrue(text.rstrip("\n").splitlines()[-1].startswith("** Interface "), text)

    def test_an_address_that_nobody_has(self):
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                guest = self.ping("10.77.0.99", mode, "--count", 2, "--delay", 50, "--timeout", 300)
                self.assertEqual(guest.status, 1, guest.story())
                figures = ping_statistics(guest.text())
                self.assertEqual((figures["sent"], figures["timeouts"], figures["lost"]), (2, 2, 2), guest.story())

    def test_files_and_report(self):
        folder = self.scratch()
        guest = self.ping(PEER_IP, "tap", "--count", 3, "--delay", 20, "--size", 56,
                          "--output", folder / "document.txt", "--json", folder / "results.json")
        self.assertEqual(guest.status, 0, guest.story())
        document = (folder / "document.txt").read_text(encoding="utf-8").replace("\r\n", "\n")
        self.assertEqual(document, "".join(line + "\n" for line in guest.lines()))
        results = json.loads((folder / "results.json").read_text(encoding="utf-8"))
        self.assertEqual((results["exitStatus"], results["problem"]), (0, None))
        figures, told = ping_statistics(guest.text()), results["ping"]["statistics"]
        for name, key in (("sent", "sent"), ("received", "received"), ("timeouts", "timeouts"),
                          ("duplicates", "duplicates"), ("lost", "lost"), ("percent", "lossPercent"),
                          ("minimum", "minimumMs"), ("maximum", "maximumMs"), ("average", "averageMs")):
            self.assertEqual(told[key], figures[name], key)
        self.assertEqual([(ping["number"], ping["replies"], ping["timedOut"]) for ping in results["ping"]["pings"]],
                         [(1, 1, False), (2, 1, False), (3, 1, False)])
        counters, told = interface_statistics(guest.text()), results["interfaces"][0]["statistics"]
        for name, key in (("Total Packets Read", "packetsRead"), ("Total Packets Written", "packetsWritten"),
                          ("Total Bytes Written", "bytesWritten"), ("Total Read Calls", "readCalls")):
            self.assertEqual(told[key], counters[name], key)

    def test_the_report_comes_first(self):
        arguments = [word for word in self.arguments(["ping", PEER_IP]) if word != "--no-report"]
        guest = self.run_program(*arguments, "--count", 1, "--delay", 0, namespace=self.host)
        self.assertEqual(guest.status, 0, guest.story())
        before = guest.text().split("** START PING TEST **")[0]
        self.assertIn("adapter", before)
        self.assertGreater(len(before.splitlines()), 20)
