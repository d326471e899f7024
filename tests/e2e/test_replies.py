"""Late, duplicate, lost and Don't-Fragment replies, made by a second raw host on a real wire."""

import re

from lab import frames
from lab.cases import GUEST_IP, NetworkCase
from lab.statistics import ping_statistics


class Replies(NetworkCase):
    def assert_sums(self, figures, sent):
        self.assertEqual(figures["sent"], sent)
        self.assertEqual(figures["received"] + figures["lost"], sent)
        self.assertGreaterEqual(figures["timeouts"], figures["lost"])
        self.assertLessEqual(figures["minimum"], figures["average"])
        self.assertLessEqual(figures["average"], figures["maximum"])

    def test_every_fate_at_once(self):
        fates = {
            1: lambda: [(0, {})],
            2: lambda: [(0, {}), (0.05, {})],  # once more
            3: lambda: [(0.5, {})],  # 200 ms after the time-out of 300
            0: lambda: [(0, {"flags": frames.DONT_FRAGMENT})],
        }
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                responder = self.respond(lambda echo, number: fates[number % 4]())
                guest = self.ping(responder.address, mode, "--count", 12, "--delay", 30, "--timeout", 300, "--debug")
                self.assertEqual(guest.status, 1, guest.story())
                text = guest.text()
                figures = ping_statistics(text)
                self.assert_sums(figures, 12)
                self.assertEqual({name: figures[name] for name in ("received", "timeouts", "duplicates", "lost", "percent")},
                                 {"received": 9, "timeouts": 6, "duplicates": 3, "lost": 3, "percent": 25}, text)
                for number in range(1, 13):
                    replies = [line for line in text.splitlines() if f" to ping #{number} received" in line]
                    timed_out = f" Ping #{number} has timed out.\n" in text
                    kind = number % 4
                    self.assertEqual(timed_out, kind in (3, 0), f"ping {number}\n{text}")
                    self.assertEqual(len(replies), {1: 1, 2: 2, 3: 1, 0: 0}[kind], f"ping {number}\n{text}")
                    if kind == 2:
                        self.assertTrue(replies[0].startswith(f" Reply to ping #{number} "), replies)
                        self.assertTrue(replies[1].startswith(f" Reply #2 to ping #{number} "), replies)
                    if kind == 3:
                        late = re.search(r" TTL=64 \((\d+)ms late\)$", replies[0])
                        self.assertIsNotNone(late, replies)
                        self.assertTrue(150 <= int(late[1]) <= 400, replies)
                self.assertEqual(text.count("Packet was ignored (Fragmented)\n"), 3, text)
                self.assertIn(" Ping test has FAILED.\n", text)
                responder.close()

    def test_late_and_duplicate_alone_do_not_fail(self):
        responder = self.respond(lambda echo, number: [(0.4, {}), (0.5, {}), (0.6, {})])
        guest = self.ping(responder.address, "tap", "--count", 4, "--delay", 20, "--timeout", 200)
        self.assertEqual(guest.status, 0, guest.story())
        figures = ping_statistics(guest.text())
        self.assert_sums(figures, 4)
        self.assertEqual((figures["received"], figures["timeouts"], figures["duplicates"], figures["lost"]),
                         (4, 4, 8, 0))
        self.assertIn(" Reply #3 to ping #4 ", guest.text())
        # The latest reply is the one whose time counts.
        self.assertGreaterEqual(figures["minimum"], 590)

    def test_a_reply_after_the_grace_is_lost(self):
        responder = self.respond(lambda echo, number: [(2.0, {})])
        guest = self.ping(responder.address, "tap", "--count", 1, "--delay", 0, "--timeout", 200)
        self.assertEqual(guest.status, 1, guest.story())
        self.assertEqual(ping_statistics(guest.text())["lost"], 1)
        self.assertNotIn("Reply", guest.text().split("** START PING TEST **")[1].split("Ping statistics")[0])

    def test_replies_to_nothing_are_passed_over(self):
        """Foreign identifiers and numbers print nothing and count nothing; a foreign source counts."""

        def answer(station, frame):
            arp = frames.parse_arp(frame)
            if arp and arp.operation == 1 and arp.target_ip == "10.77.0.50":
                reply = frames.arp(2, station.mac, "10.77.0.50", arp.sender_mac, arp.sender_ip)
                station.send(frames.ethernet(arp.sender_mac, station.mac, frames.ARP, reply))
            echo = frames.parse_echo(frame)
            if not echo or echo.kind != frames.ECHO_REQUEST:
                return
            for identifier, sequence in ((echo.identifier ^ 1, echo.sequence), (echo.identifier, echo.sequence + 7),
                                         (echo.identifier, echo.sequence - 1000), (echo.identifier, echo.sequence)):
                message = frames.icmp(frames.ECHO_REPLY, identifier & 0xFFFF, sequence & 0xFFFF, echo.data)
                packet = frames.ipv4("192.0.2.33", GUEST_IP, message)
                station.send(frames.ethernet(echo.source_mac, station.mac, frames.IPV4, packet))

        self.listen(on_frame=answer)
        guest = self.ping("10.77.0.50", "tap", "--count", 3, "--delay", 20, "--timeout", 300)
        self.assertEqual(guest.status, 0, guest.story())
        text = guest.text()
        self.assertEqual(text.count(" Reply"), 3, text)
        self.assertEqual(text.count("received from 192.0.2.33: bytes=32"), 3)
        self.assertEqual(ping_statistics(text)["duplicates"], 0)

    def test_replies_out_of_order(self):
        responder = self.respond(lambda echo, number: [(0.2 if number % 2 else 0.0, {})])
        guest = self.ping(responder.address, "tap", "--count", 20, "--delay", 5, "--timeout", 1000)
        self.assertEqual(guest.status, 0, guest.story())
        self.assert_sums(ping_statistics(guest.text()), 20)
