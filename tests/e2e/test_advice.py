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
            options = bytes(4) if header.get("first_byte") else b""
            packet = frames.ipv4(source, GUEST_IP, options + frames.icmp(frames.ECHO_REQUEST, 1, 1, data), **header)
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

                def send_others():
                    send(header_checksum=1)
                    send(flags=0x2000)
                    send(first_byte=0x46)
                    self.peer.run("ping", "-M", "dont", "-n", "-c", 1, "-W", "0.2", "-s", 2000, GUEST_IP)

                guest = self.run_while(send_others, mode)
                checksums, fragments, _ = self.assert_advice(guest, "bad-checksums", "fragments", "requests-with-ip-options")
                self.assertEqual((checksums["evidence"], fragments["evidence"]),
                                 ({"ipHeader": 1, "icmp": 0, "senders": ["10.77.0.77"]},
                                  {"count": 3, "senders": ["10.77.0.77", PEER_IP]}))

    def test_a_sender_in_a_vlan(self):
        """Its questions for the guest's address come with a tag; those for others are nothing to speak of."""
        station = self.listen()

        def ask_tagged(address):
            question = frames.arp(1, station.mac, "10.77.0.77", frames.NO_MAC, address)
            station.send(frames.ethernet(frames.BROADCAST, station.mac, 0x8100, b"\0\7\x08\x06" + question))

        for address, wanted in (("10.77.0.99", []), (GUEST_IP, ["vlan-tags"])):
            self.assert_advice(self.run_while(lambda: ask_tagged(address)), *wanted)

    def test_what_comes_in_the_place_of_replies(self):
        """Replies with Don't-Fragment, somebody else's, and a router's errors."""
        def answer(reply, number):
            return [(0, reply._replace(flags=frames.DONT_FRAGMENT))] if number % 2 else [(0, reply._replace(identifier=1)), (0, reply)]

        responder = self.respond(answer)
        for mode in ("tap", "tun"):
            guest = self.ping(responder.address, mode, "--count", 4, "--delay", 1, "--json", self.results)
            found = self.assert_advice(guest, "dont-fragment-replies", "foreign-replies")
            self.assertEqual([each["evidence"] for each in found], [{"count": 2, "senders": [responder.address]}] * 2)
        # The peer routes: a link that is too narrow, and nowhere.
        self.peer.write("net/ipv4/ip_forward", 1)
        self.peer.ip("link", "add", "narrow", "mtu", 600, "type", "veth", "peer", "name", "end")
        for link in ("end", "narrow"):
            self.peer.ip("link", "set", link, "up")
        self.peer.ip("route", "add", "10.9.0.0/24", "dev", "narrow")
        self.peer.ip("route", "add", "unreachable", "10.8.0.0/24")
        for target, wanted, detail in (("10.9.0.1", "too-large-for-a-link", {"mtu": 600}),
                                       ("10.8.0.1", "destination-unreachable", {"code": 1})):
            guest = self.ping(target, "tap", "--count", 2, "--delay", 1, "--size", 1000, "--timeout", 100, "--json", self.results)
            found, = self.assert_advice(guest, wanted)
            self.assertEqual(found["evidence"], {"count": 2, "senders": [PEER_IP], **detail})
