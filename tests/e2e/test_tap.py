"""TAP mode on a real wire: a kernel in another namespace resolves the guest and pings it."""

import socket
import time

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, alone, timeout
from lab.statistics import interface_statistics


class TapGuest(NetworkCase):
    def test_arping_resolves_the_guest(self):
        self.need_program("arping")
        heard = self.listen()
        guest = self.run_guest("tap")
        done = self.peer.run("arping", "-c", 3, "-I", "far", GUEST_IP)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("Received 3 response(s)", done.stdout)
        self.assertIn(f"[{GUEST_MAC.upper()}]", done.stdout)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        text = guest.text()
        self.assertEqual(text.count("::HandleTapARPPacket: WRITING ARP response...\n"), 3, text)
        self.assert_frames_sound(heard, at_least=3)
        self.assert_nothing_left(guest)

    def test_kernel_pings_the_guest(self):
        heard = self.listen()
        guest = self.run_guest("tap")
        self.assert_pinged(self.peer, GUEST_IP, 50, "-i", "0.02")
        self.assert_pinged(self.peer, GUEST_IP, 5, "-i", "0.02", "-s", "1472")
        self.assert_pinged(self.peer, GUEST_IP, 5, "-i", "0.02", "-s", "1")
        self.assertEqual(guest.stop()[0], 0, guest.story())
        text = guest.text()
        self.assertEqual(text.count(f"** Someone is PINGing Vant!\n** Sending PING reply to {PEER_IP}\n"), 60)
        self.assertEqual(len(heard.echoes(frames.ECHO_REPLY)), 60)
        self.assert_frames_sound(heard, at_least=61)
        counters = interface_statistics(text)
        self.assertEqual(counters["Total Packets Written"], 60 + text.count("WRITING ARP response"))
        self.assertGreaterEqual(counters["Total Packets Read"], counters["Total Packets Written"])
        self.assertEqual(counters["Packets To All Zeroes MAC Written"], 0)
        self.assertEqual(counters["Packets From All Zeroes MAC Written"], 0)
        self.assert_nothing_left(guest)

    @alone
    @timeout(180)
    def test_flood_loses_nothing(self):
        guest = self.run_guest("tap", "--output", self.scratch() / "document")
        # More outstanding than this, and ping's own receive buffer loses some, even from a kernel.
        for outstanding in (1, 64, 128):
            done = self.peer.run("ping", "-M", "dont", "-q", "-f", "-c", 20000, "-l", outstanding, GUEST_IP)
            self.assertIn("20000 packets transmitted, 20000 received, 0% packet loss", done.stdout, done.stderr)
        self.assertEqual(guest.stop()[0], 0, guest.story())

    def test_rarp_request_is_answered(self):
        station = self.listen()
        guest = self.run_guest("tap")
        request = frames.arp(3, station.mac, "0.0.0.0", GUEST_MAC, "0.0.0.0")
        for padding in (b"", bytes(18)):  # as it is, and padded to the Ethernet minimum
            station.send(frames.ethernet(frames.BROADCAST, station.mac, frames.RARP, request) + padding)
        station.send(frames.ethernet(GUEST_MAC, station.mac, frames.RARP, request))

        def answers():
            return [frame for frame in station.heard() if frame[12:14] == b"\x80\x35"]

        self.assertIsNotNone(station.wait_for(lambda frame: len(answers()) >= 3), guest.story())
        self.assertEqual(len(answers()), 3)
        for frame in answers():
            self.assertEqual(frame[42:], bytes(len(frame) - 42), "nothing but padding behind the 42 bytes")
            reply = frames.parse_arp(frame)
            self.assertEqual(reply, frames.Arp(frames.RARP, station.mac, GUEST_MAC, 4, GUEST_MAC, GUEST_IP,
                                               GUEST_MAC, GUEST_IP))
        guest.stop()
        self.assertEqual(guest.text().count("::HandleTapRARPPacket: WRITING RARP response...\n"), 3)
        self.assert_frames_sound(station, at_least=3)

    def test_requests_for_others_get_no_answer(self):
        station = self.listen()
        guest = self.run_guest("tap", "--debug")

        def ask(ether_type, operation, target_mac, target_ip, destination=frames.BROADCAST, cut=None, **fields):
            request = bytearray(frames.arp(operation, station.mac, PEER_IP, target_mac, target_ip))
            for offset, value in fields.items():
                request[int(offset[1:])] = value
            station.send(frames.ethernet(destination, station.mac, ether_type, bytes(request))[:cut])

        ask(frames.ARP, 1, frames.NO_MAC, "10.77.0.101")  # another address
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, destination="02:77:00:00:00:65")  # to another station
        ask(frames.ARP, 2, frames.NO_MAC, GUEST_IP)  # a reply
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, o1=6)  # another hardware type
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, o2=0x86)  # another protocol
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, o4=8)  # another address length
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, cut=41)  # one byte short
        ask(frames.RARP, 3, "02:77:00:00:00:65", "0.0.0.0")  # another station
        ask(frames.RARP, 1, GUEST_MAC, "0.0.0.0")  # not the reverse request
        time.sleep(0.3)
        self.assertEqual([frame for frame in station.heard() if self.is_answer(frame)], [])
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP)  # and it is still there
        self.assertIsNotNone(station.wait_for(self.is_answer), guest.story())
        guest.stop()
        self.assertEqual(guest.text().count("WRITING"), 1)

    @staticmethod
    def is_answer(frame):
        arp = frames.parse_arp(frame)
        return arp is not None and GUEST_MAC in (arp.source_mac, arp.sender_mac)

    def test_a_mac_is_derived_when_none_is_given(self):
        self.need_program("arping")
        guest = self.run_guest("tap", guest_mac=None)
        mac = guest.text().split("mac=")[1].split(")")[0]
        self.assertRegex(mac, r"^[0-9A-Fa-f]{2}([:-][0-9A-Fa-f]{2}){5}$")
        first = int(mac[:2], 16)
        self.assertEqual(first & 3, 2, "one station's own, locally administered")
        done = self.peer.run("arping", "-c", 1, "-I", "far", GUEST_IP)
        self.assertIn(f"[{mac.replace('-', ':').upper()}]", done.stdout, guest.story())
        self.assertEqual(guest.stop()[0], 0)

    def test_an_adapter_is_found_by_its_mac_and_by_its_name(self):
        for adapter in (self.host.mac_of("adapter"), "adapter"):
            with self.subTest(adapter=adapter):
                guest = self.run_guest("tap", adapter=adapter)
                self.assert_pinged(self.peer, GUEST_IP, 3, "-i", "0.05")
                self.assertEqual(guest.stop()[0], 0, guest.story())

    def test_the_guest_is_not_the_host(self):
        """What is for the adapter's own addresses is left to the kernel that has them."""
        guest = self.run_guest("tap", "--debug")
        self.assert_pinged(self.peer, HOST_IP, 3, "-i", "0.05")
        with self.peer.entered():
            sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        with sender:
            sender.sendto(b"hello", (HOST_IP, 9))
        guest.stop()
        self.assertNotIn("PING reply", guest.text())
        self.assertNotIn("Not ICMP", guest.text(), "the capture is filtered to the guest's own MAC")
