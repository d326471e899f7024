"""The advice: each finding by its real cause, and none in a clean run."""

import json

import frames
from cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase


def advice_in(results):
    return json.loads(results.read_text(encoding="utf-8"))["advice"]


class Findings(NetworkCase):
    def setUp(self):
        super().setUp()
        self.results = self.scratch() / "results.json"

    def assert_advice(self, guest, *wanted):
        """Exactly these findings, each told once on standard error as in the file, with its evidence."""
        found = advice_in(self.results)
        self.assertEqual([finding["id"] for finding in found], list(wanted), guest.story())
        self.assertEqual(guest.errors().count("advice: "), len(wanted), guest.story())
        for finding in found:
            self.assertIn("vnxtest-cli: advice: {seen} {means} {action}\n".format(**finding), guest.errors())
            self.assertEqual(finding["page"], "advice.html#" + finding["id"])
            self.assertTrue(finding["evidence"])
        return found

    def run_while(self, what, mode="tap", **options):
        """A guest that runs while `what` happens, until it answers once more."""
        guest = self.run_guest(mode, "--json", self.results, **options)
        what()
        self.assert_pinged(self.peer, GUEST_IP, 1)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        return guest

    def test_requests_that_a_guest_ignores(self):
        station = self.listen()

        def send(source="10.77.0.77", data=b"data", **header):
            packet = frames.ipv4(source, GUEST_IP, frames.icmp(frames.ECHO_REQUEST, 1, 1, data), **header)
            station.send(frames.ethernet(GUEST_MAC, station.mac, frames.IPV4, packet))

        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                # A kernel sets the bit unless it is told not to.
                guest = self.run_while(lambda: self.peer.run("ping", "-n", "-c", 3, "-i", "0.02", "-W", "0.2", GUEST_IP), mode)
                found, = self.assert_advice(guest, "dont-fragment-requests")
                self.assertEqual(found["evidence"], {"count": 3, "senders": [PEER_IP]})
                guest = self.run_while(lambda: [send(data=b""), send(PEER_IP, flags=frames.DONT_FRAGMENT), send()], mode)
                bit, data = self.assert_advice(guest, "dont-fragment-requests", "requests-without-data")
                self.assertEqual((bit["evidence"]["senders"], data["evidence"]),
                                 ([PEER_IP], {"count": 1, "senders": ["10.77.0.77"]}))
