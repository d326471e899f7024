"""The guest pings on a real wire: the requests, every fate of a reply, sizes, where they go. The text to the letter:
tests/guest/test_guest.cpp."""

import json
import re
import signal
import statistics
import time

import frames
from cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, interface_statistics, ping_statistics

GATEWAY_IP, GATEWAY_MAC = "10.77.0.254", "02:77:00:00:00:fe"
BEHIND = "10.88.0.2"
PATTERN = b"abcdefghijklmnopqrstuvwxyz0123456789"


class GuestPings(NetworkCase):
    def test_a_silent_target(self):
        """For one who hears and is silent: the requests to the byte, time-out lines on time, FAILED, exit status 1."""
        silent = self.respond(lambda reply, number: [])
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                before = len(silent.echoes(frames.ECHO_REQUEST))
                guest = self.ping(silent.address, mode, "--count", 3, "--delay", 1000, "--timeout", 500, "--size", 40)
                self.assertEqual(guest.status, 1, guest.story())
                requests = silent.echoes(frames.ECHO_REQUEST)[before:]
                first = requests[0]
                self.assertLess(first.identifier, 0x8000)
                self.assertEqual(requests, [
                    frames.Echo(GUEST_MAC, silent.mac, GUEST_IP, silent.address, frames.DONT_FRAGMENT, 64,
                                frames.ECHO_REQUEST, first.identifier, (first.sequence + number) & 0xFFFF,
                                (PATTERN * 2)[:40]) for number in range(3)])
                for number in (1, 2, 3):
                    sent, out = (float(next(line for line in guest.lines() if text in line)[6:12]) for text in
                                 (f" Sending ping #{number} ", f" Ping #{number} has timed out."))
                    self.assertTrue(0.4985 < (out - sent) % 60 < 1.5, out - sent)  # stamps are whole milliseconds
                self.assertEqual(ping_statistics(guest.text())["timeouts"], 3)
        self.assert_frames_sound(silent, at_least=6)

    def test_every_fate_of_a_reply(self):
        """In turn; all of one test together. The test's time-out is 500 ms, its grace a second."""
        foreign = "192.0.2.33"
        fates = (  # the replies, the lines about them, and whether the ping times out
            (lambda reply: [(0, reply)], (" Reply to ping #{} received from 10.77.0.50: ",), False),
            (lambda reply: [(0, reply), (0.05, reply)], (" Reply to ping #{} ", " Reply #2 to ping #{} "), False),
            (lambda reply: [(0.7, reply), (0.8, reply)], (r" Reply to ping #{} .* TTL=64 \((1[5-9]|[2-8]\d)\dms late\)$",
                                                         " Reply #2 to ping #{} .*ms late"), True),
            (lambda reply: [(0.1, reply)], (" Reply to ping #{} ",), False),  # overtaken
            (lambda reply: [(0, reply._replace(flags=frames.DONT_FRAGMENT))], (), True),
            (lambda reply: [(2.5, reply)], (), True),  # after the grace
            (lambda reply: [(0, reply._replace(identifier=reply.identifier ^ 1)),
                            (0, reply._replace(sequence=reply.sequence - 1000)), (0, reply._replace(source=foreign))],
             (f" Reply to ping #{{}} received from {foreign}: bytes=32 ",), False))
        responder = self.respond(lambda reply, number: fates[(number - 1) % len(fates)][0](reply))
        for mode, extra in (("tap", ()), ("tun", ()), ("tap", ("--socket-notify",)), ("tun", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                guest = self.ping(responder.address, mode, "--count", 14, "--delay", 30, "--timeout", 500, "--debug", *extra)
                self.assertEqual(guest.status, 1, guest.story())
                text = guest.text()
                figures = ping_statistics(text)
                self.assertEqual([figures[name] for name in ("sent", "received", "timeouts", "duplicates", "lost", "percent")],
                                 [14, 10, 6, 4, 4, 29], guest.story())
                self.assertTrue(790 <= figures["maximum"] <= 1500, "the latest reply's time counts")
                for number in range(1, 15):
                    _, wanted, timed_out = fates[(number - 1) % len(fates)]
                    replies = [line for line in text.splitlines() if f" to ping #{number} received" in line]
                    self.assertEqual(len(replies), len(wanted), f"ping {number}\n{guest.story()}")
                    for line, pattern in zip(replies, wanted):
                        self.assertRegex(line, "^" + pattern.format(number))
                    self.assertEqual(f" Ping #{number} has timed out.\n" in text, timed_out, f"ping {number}\n{text}")
                self.assertEqual(text.count("Packet was ignored (Fragmented)\n"), 2, text)
                self.assert_nothing_left(guest)

    def test_times_in_nanoseconds(self):
        """As the kernel's ping has them; and while the program does not run, the kernel's stamp tells when a reply came."""
        results = self.scratch() / "results.json"
        for mode in ("tap", "tun"):
            ours = self.ping(PEER_IP, mode, "--count", 40, "--delay", 20, "--json", results)
            self.assertEqual(ours.status, 0, ours.story())
            theirs = self.host.run("ping", "-n", "-c", 40, "-i", "0.02", PEER_IP).stdout
            median = json.loads(results.read_text("utf-8"))["ping"]["roundTripNs"]["median"]
            expected = statistics.median(float(one) for one in re.findall(r" time=([\d.]+) ms", theirs)) * 1e6
            self.assertTrue(1000 < median < expected + 3e6 and expected < median + 3e6, f"{median} and {expected}")
        slow = self.respond(lambda reply, number: [(0.5, reply)])
        guest = self.start(*self.arguments(["ping", slow.address]), "--count", 1, "--timeout", 5000, "--json", results,
                           namespace=self.host)
        guest.wait_for(" Sending ping #1 ")
        time.sleep(0.15)  # its ticks count from after the writing
        guest.send_signal(signal.SIGSTOP)
        time.sleep(1)
        guest.send_signal(signal.SIGCONT)
        self.assertEqual(guest.wait_end(), 0, guest.story())
        ping = json.loads(results.read_text("utf-8"))["ping"]["pings"][0]
        self.assertTrue(ping["rttNs"] < 900e6 < ping["timeMs"] * 1e6, ping)

    def test_sizes(self):
        """What the interface's MTU allows is sent whole; what it does not allow ends the test, named."""
        for mtu, mode, size, sent in ((1500, "tap", 1472, True), (1500, "tun", 1472, True), (1500, "tap", 1473, False),
                                      (1500, "tun", 65507, False), (9000, "tap", 8972, True), (9000, "tun", 8973, False),
                                      (65535, "tun", 65507, True)):
            with self.subTest(mtu=mtu, mode=mode, size=size):
                self.host.ip("link", "set", "adapter", "mtu", mtu)
                self.peer.ip("link", "set", "far", "mtu", mtu)
                heard = self.listen()
                guest = self.ping(PEER_IP, mode, "--count", 2, "--delay", 20, "--size", size)
                data = [echo.data for echo in heard.echoes(frames.ECHO_REQUEST)]
                self.assertEqual(data, [(PATTERN * 1820)[:size]] * 2 if sent else [], "whole or not at all")
                if sent:
                    self.assertEqual(guest.status, 0, guest.story())
                    self.assert_frames_sound(heard, at_least=2)
                    continue
                self.assert_refused(guest)
                self.assertRegex(
                    guest.text(),
                    rf" Sending ping #1 bytes={size} to 10\.77\.0\.2\.\.\.\n"
                    r"\*\* CVNXTestView\([^)]+\)::WritePingIPPacket: vnetx32_write failed;\n"
                    rf"                      dwPacketSize={(14 if mode == 'tap' else 0) + 28 + size}, rc=-?\d+, "
                    r"GetLastError=90 \(0x0000005A\), errno=90: Message too long\n"
                    r"\n\*\*\*  Ping #1 failed; abort  \*\*\*\n\n")
                self.assertIsNone(ping_statistics(guest.text()), "the first ping failed: no wait thread, no statistics")
                self.assert_nothing_left(guest)
        # The program reads 65,535 bytes at most: a whole frame of 65,549 is ignored, as a reply and as a request.
        guest = self.ping(PEER_IP, "tap", "--count", 2, "--delay", 20, "--size", 65507)
        self.assertEqual((guest.status, interface_statistics(guest.text())["Total Ignored Packets"]), (1, 2), guest.story())
        with self.running():
            self.assertNotEqual(self.peer.run("ping", "-M", "dont", "-c", 1, "-W", 1, "-s", 65507, GUEST_IP).returncode, 0)
            self.assert_pinged(self.peer, GUEST_IP, 2)


class Gateway(NetworkCase):
    def test_where_a_ping_is_sent(self):
        """To the target's own MAC on the adapter's subnet, else to the gateway's, else to the adapter's."""
        gateway = self.respond(address=GATEWAY_IP, mac=GATEWAY_MAC, behind=["10.88."])
        peer_mac, adapter_mac = self.peer.mac_of("far"), self.host.mac_of("adapter")
        for mode, target, given, route, mac, status in (
                ("tap", BEHIND, GATEWAY_IP, False, GATEWAY_MAC, 0),
                ("tap", PEER_IP, GATEWAY_IP, False, peer_mac, 0),
                ("tap", "10.77.0.99", GATEWAY_IP, False, GATEWAY_MAC, 1),  # nobody's
                ("tap", BEHIND, None, False, adapter_mac, 1),
                ("tap", BEHIND, None, True, GATEWAY_MAC, 0),  # asked by ARP at the start; then there is no question
                ("tun", BEHIND, None, True, GATEWAY_MAC, 0),
                ("tun", PEER_IP, None, True, peer_mac, 0),
                ("tun", "255.255.255.255", None, True, frames.BROADCAST, 1),
                ("tun", "10.77.0.255", None, True, frames.BROADCAST, 1),
                ("tun", "239.129.2.3", None, True, "01:00:5e:01:02:03", 1),
                ("tun", "10.77.0.99", None, True, None, 1)):
            with self.subTest(mode=mode, target=target, given=given, route=route):
                if route:
                    self.host.ip("route", "replace", "default", "via", GATEWAY_IP)
                heard = self.listen()
                guest = self.ping(target, mode, "--count", 2, "--delay", 20, "--timeout", 300,
                                  *([] if given or route else ["--proceed"]), gateway=given)
                self.assertEqual(guest.status, status, guest.story())
                self.assertEqual([(echo.destination_mac, echo.destination, echo.source_mac)
                                  for echo in heard.echoes(frames.ECHO_REQUEST)], [(mac, target, GUEST_MAC)] * 2 if mac else [])
                self.assertNotIn("Assertion Failed", guest.text())
        asked = [question for question in map(frames.parse_arp, heard.heard()) if question and question.sender_ip == GUEST_IP]
        self.assertEqual([question.target_ip for question in asked], ["10.77.0.99"] * 2, "one exchange: asked twice")

    def test_a_guest_of_another_subnet(self):
        """Asked about, and with IP forwarding in other words; answered by "proceed" it is reached by a route."""
        for forwarding, gateway, text in ((1, None, "Even though IP Routing is enabled"), (0, PEER_IP, "is a true router")):
            self.host.write("net/ipv4/ip_forward", forwarding)
            options = self.arguments(["run"], guest_ip="10.66.0.5", gateway=gateway)
            self.assert_refused(self.run_program(*options, namespace=self.host), text.replace(" ", r"\s+"), "--proceed")
        self.peer.ip("route", "add", "10.66.0.5", "dev", "far")
        for mode in ("tap", "tun"):
            with self.running(mode, "--proceed", guest_ip="10.66.0.5"):
                self.assert_pinged(self.peer, "10.66.0.5", 3, "-I", PEER_IP)
