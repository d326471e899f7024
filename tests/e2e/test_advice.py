"""The advice: each finding by its real cause, and none in a clean run."""

import json
import re
import time

import frames
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, interface_statistics, timeout
from lab import network
from lab.network import why_no_tun_device


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
            told = "vnxtest-cli: advice: {seen} {means} {action}\n".format(**finding)
            self.assertIn(re.sub(r"\d+ pings", "# pings", told), re.sub(r"\d+ pings", "# pings", guest.errors()))  # the figure grows
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
            for mode in ("tap", "tun"):  # the guest sees the tag, or the library keeps the frame
                self.assert_advice(self.run_while(lambda: ask_tagged(address), mode), *wanted)

    def test_what_comes_in_the_place_of_replies(self):
        """Replies with Don't-Fragment, somebody else's, and a router's errors."""
        def answer(reply, number):
            return [(0, reply._replace(flags=frames.DONT_FRAGMENT))] if number % 2 else [(0, reply._replace(identifier=1)), (0, reply)]

        responder = self.respond(answer)
        for mode in ("tap", "tun"):
            guest = self.ping(responder.address, mode, "--count", 4, "--delay", 1, "--timeout", 3000, "--json", self.results)
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

    def unanswered(self, target, *wanted, **options):
        """A ping test of which nothing comes back, and why."""
        guest = self.ping(target, "tap", "--count", 2, "--delay", 1, "--timeout", 100, "--proceed", "--json", self.results, **options)
        self.assertEqual(guest.status, 1, guest.story())
        return self.assert_advice(guest, *wanted)

    def test_addresses_that_cannot_work(self):
        self.unanswered(HOST_IP, "target-on-this-host")
        self.unanswered("10.9.9.9", "no-gateway", gateway=None)
        self.peer.ip("route", "add", "10.9.9.0/24", "dev", "lo")  # it answers ARP for such a guest, and replies elsewhere
        found, = self.unanswered(PEER_IP, "guest-outside-subnet", guest_ip="10.9.9.9")
        self.assertEqual(found["evidence"], {"guestIp": "10.9.9.9", "adapterIp": HOST_IP, "mask": "255.255.255.0"})
        for arguments, wanted in ((self.arguments(["run"], guest_ip="10.77.0.255"), "guest-address-reserved"),
                                  ([*self.arguments(["run"]), "--adapter2", HOST_IP, "--guest-ip2", GUEST_IP], "guests-alike")):
            guest = self.run_program(*arguments, "--proceed", "--duration", 0.3, "--json", self.results, namespace=self.host)
            self.assertEqual(guest.status, 0, guest.story())
            self.assert_advice(guest, wanted)

    def test_a_host_that_does_not_forward(self):
        """What the advice says helps."""
        if why_no_tun_device():
            self.skipTest(why_no_tun_device())
        self.host.write("net/ipv4/ip_forward", 0)
        self.unanswered(PEER_IP, "host-does-not-forward", library="tun", gateway=None)
        self.host.write("net/ipv4/ip_forward", 1)
        self.unanswered(PEER_IP, "host-does-not-answer-arp", library="tun", gateway=None)
        self.host.write("net/ipv4/conf/all/proxy_arp", 1)
        for state in ("down", "up"):  # with it go the replies that wait there for an answer
            self.peer.ip("link", "set", "far", state)
        guest = self.ping(PEER_IP, "tap", "--count", 3, "--timeout", 5000, "--json", self.results, library="tun", gateway=None)
        self.assertEqual(guest.status, 0, guest.story())
        self.assert_advice(guest)

    def test_an_adapter_to_which_nothing_comes(self):
        """One that hands on frames for its own MAC address only, as hypervisors do it. The guest's own do not count."""
        station = self.listen()
        self.host.ip("address", "flush", "dev", "adapter")
        self.host.ip("link", "add", "link", "adapter", "name", "virtual", "address", "52:54:00:00:00:01", "type", "macvlan", "mode",
                     "private")
        self.host.ip("address", "add", HOST_IP + "/24", "dev", "virtual")
        self.host.ip("link", "set", "virtual", "up")
        for mode in ("tap", "tun"):
            guest = self.start(*self.arguments(["ping", PEER_IP], mode), "--count", 2, "--delay", 1, "--timeout", 100, "--json",
                               self.results, namespace=self.host)
            guest.wait_for("Sending ping #1 ")
            station.send(frames.ethernet(frames.BROADCAST, GUEST_MAC, 0x88B5, bytes(46)))
            self.assertEqual(guest.wait_end(), 1, guest.story())
            self.assertEqual(interface_statistics(guest.text())["Packets From Ourself"], 1, guest.story())
            found = {finding["id"]: finding["evidence"] for finding in advice_in(self.results)}
            self.assertEqual(found.get("no-frames"), {"framesRead": 0, "adapter": "virtual", "refusesPromiscuous": False,
                                                      "ofVirtualMachine": True}, guest.story())

    def await_advice(self, guest):
        """What is told while it runs."""
        deadline = time.monotonic() + 30
        while "advice: " not in guest.errors():
            self.assertTrue(time.monotonic() < deadline and not guest.has_ended(), guest.story())
            time.sleep(0.1)

    def test_what_is_told_at_once(self):
        """When nothing is answered for five seconds, in a ping test and to others; each once."""
        guest = self.start(*self.arguments(["ping", HOST_IP], "tap"), "--count", 1000, "--delay", 100, "--json", self.results,
                           namespace=self.host)
        self.await_advice(guest)
        self.assertEqual(guest.stop()[0], 1, guest.story())
        self.assert_advice(guest, "target-on-this-host")
        guest = self.run_guest("tap", "--json", self.results)
        self.peer.run("ping", "-n", "-c", 1, "-W", "0.2", GUEST_IP)
        self.await_advice(guest)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        self.assert_advice(guest, "dont-fragment-requests")

    def test_a_switch_that_takes_no_large_packets(self):
        """Between host and peer, one port of it with the usual MTU: what exceeds that is gone without a word."""
        self.host.ip("link", "set", "adapter", "mtu", 9000)
        self.peer.ip("link", "set", "far", "mtu", 9000)
        self.peer.ip("address", "flush", "dev", "far")
        self.peer.ip("link", "add", "switch", "type", "bridge")
        station = network.Namespace("station")
        self.addCleanup(station.remove)
        network.cable(self.peer, "port", "10.78.0.1", station, "end", PEER_IP)
        self.peer.ip("address", "flush", "dev", "port")
        for link in ("far", "port"):
            self.peer.ip("link", "set", link, "master", "switch")
        self.peer.ip("link", "set", "switch", "up")
        guest = self.ping(PEER_IP, "tap", "--count", 2, "--delay", 1, "--timeout", 200, "--size", 4000, "--json", self.results)
        found, = self.assert_advice(guest, "large-pings-lost")
        self.assertEqual(found["evidence"], {"target": PEER_IP, "size": 4000})
        guest = self.ping(PEER_IP, "tap", "--count", 2, "--delay", 1, "--timeout", 5000, "--size", 1472, "--json", self.results)
        self.assertEqual(guest.status, 0, guest.story())
        self.assert_advice(guest)

    def test_how_a_test_went(self):
        """Late replies, and two patterns of loss."""
        def late(reply, number):
            return [(0.25, reply)]

        def burst(reply, number):
            return [] if 11 <= number <= 18 else [(0, reply)]

        def now_and_then(reply, number):
            return [] if number % 7 == 0 else [(0, reply)]

        for number, (answers, count, limit, wanted) in enumerate((
                (late, 4, 100, ["late-replies"]), (late, 4, 5000, []), (burst, 40, 3000, ["loss-in-bursts"]),
                (now_and_then, 40, 3000, ["steady-loss"]))):
            responder = self.respond(answers, f"10.77.0.{50 + number}")
            guest = self.ping(responder.address, "tap", "--count", count, "--delay", 5, "--timeout", limit, "--json", self.results)
            for finding in self.assert_advice(guest, *wanted):
                self.assertIn(finding["evidence"].get("lost", 0), (0, 5, 8))

    @timeout(180)
    def test_clean_runs_give_none(self):
        """Every library and mode, pings both ways: nothing to be said."""
        kinds = [("pcap", mode, self.peer, PEER_IP, PEER_IP) for mode in ("tap", "tun")]
        kinds += [("tun", mode, self.host, HOST_IP, None) for mode in ("tap", "tun") if not why_no_tun_device()]
        for library, mode, namespace, target, gateway in kinds:
            for extra in ((), ("--socket-notify",)):
                with self.subTest(library=library, mode=mode, extra=extra):
                    options = dict(library=library, gateway=gateway)
                    guest = self.run_guest(mode, "--proceed", "--json", self.results, *extra, **options)
                    for size in (1, 56, 1472):
                        self.assert_pinged(namespace, GUEST_IP, 5, "-s", size)
                    self.assertEqual(guest.stop()[0], 0, guest.story())
                    self.assert_advice(guest)
                    guest = self.ping(target, mode, "--count", 30, "--delay", 2, "--timeout", 5000, "--proceed", "--json", self.results,
                                      *extra, **options)
                    self.assertEqual(guest.status, 0, guest.story())
                    self.assert_advice(guest)
        for mode in ("tap", "tun"):
            guest = self.run_program("ping", "198.18.0.2", "--library", "sim", "--mode", mode, "--no-report", "--count", 30, "--delay", 1,
                                     "--json", self.results)
            self.assertEqual(guest.status, 0, guest.story())
            self.assert_advice(guest)
