"""Frames that a stranger on the wire has forged: they cost their sender something, and nobody else."""

import json
import signal
import time

import frames
from cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, interface_statistics
from lab.network import why_no_tun_device


def request(source, source_mac, destination_mac=GUEST_MAC):
    return frames.build_echo(frames.Echo(source_mac, destination_mac, source, GUEST_IP, 0, 64, frames.ECHO_REQUEST, 7, 7,
                                         b"forged"))


def mac(number):
    return f"02:aa:00:00:{number >> 8:02x}:{number & 255:02x}"


class Strangers(NetworkCase):
    def run_with_results(self, mode, *extra, **options):
        self.results = self.scratch() / "results.json"
        return self.run_guest(mode, "--json", self.results, *extra, **options)

    def told(self, guest):
        """What the guest reports of its interface, once it is stopped."""
        self.assertEqual(guest.stop()[0], 0, guest.story())
        return json.loads(self.results.read_text(encoding="utf-8"))["interfaces"][0]

    def test_senders_that_do_not_answer_hold_nobody(self):
        """700 requests from silent addresses: each gets its reply at once, and whoever else pings loses none."""
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                self.assert_pinged(self.peer, GUEST_IP, 3, "-i", "0.05")
                forged = [(f"10.77.0.{3 + number % 90}", mac(number)) for number in range(700)]
                for source, source_mac in forged:
                    station.send(request(source, source_mac))
                self.assert_pinged(self.peer, GUEST_IP, 20, "-i", "0.05", "-W", "1")
                replies = [(echo.destination, echo.destination_mac) for echo in station.echoes(frames.ECHO_REPLY)
                           if echo.data == b"forged"]
                self.assertEqual(replies, forged, "each to where its own frame came from")
                asked = [arp.target_ip for arp in map(frames.parse_arp, station.heard()) if arp and arp.source_mac == GUEST_MAC
                         and arp.operation == 1]
                self.assertEqual(set(asked) - {PEER_IP}, set(), "without a question")
                told = self.told(guest)
                self.assertEqual(told["answered"]["echo"], 723)
                self.end_station(station)

    def test_questions_that_strangers_bring_about_are_few(self):
        """The sender cannot be read from the frame, or the gateway does not answer."""
        self.host.ip("route", "add", "default", "via", "10.77.0.9")  # nobody has it
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                self.assert_pinged(self.peer, GUEST_IP, 3, "-i", "0.05")
                for number in range(2000):
                    if mode == "tap":  # a group is nobody's sender
                        station.send(request(f"10.77.0.{3 + number % 90}", "03:aa:00:00:00:01"))
                    else:
                        station.send(request(f"172.16.{number >> 8}.{number & 255 or 1}", mac(number)))
                started = time.monotonic()
                self.assert_pinged(self.peer, GUEST_IP, 20, "-i", "0.05", "-W", "1")
                asked = [arp.target_ip for arp in map(frames.parse_arp, station.heard()) if arp and arp.source_mac == GUEST_MAC
                         and arp.operation == 1 and arp.target_ip != PEER_IP]
                self.assertGreater(len(asked), 0)
                self.assertLessEqual(len(asked), 64 * (time.monotonic() - started + 2))
                if mode == "tun":
                    self.assertEqual(set(asked), {"10.77.0.9"})
                    self.assertGreaterEqual(self.told(guest)["statistics"]["ignored"], 1900, "dropped and counted")
                else:
                    self.assertEqual(guest.stop()[0], 0, guest.story())
                self.end_station(station)

    def test_what_was_not_read_is_told(self):
        """A reader that is away for a while: what its driver's buffer did not hold stands in the results and in a note."""
        for library in ("pcap", "tun", "sim"):
            if library == "tun" and why_no_tun_device():
                continue
            with self.subTest(library=library):
                options = dict(gateway=None) if library != "pcap" else {}
                if library == "sim":
                    options |= dict(adapter="198.18.0.1", guest_ip="198.18.0.111")
                guest = self.run_with_results("tun", "--proceed", "--driver-buffer", 64, library=library, **options)
                if library != "sim":
                    namespace = self.peer if library == "pcap" else self.host
                    self.assert_pinged(namespace, GUEST_IP, 2, "-i", "0.05")
                    guest.send_signal(signal.SIGSTOP)
                    namespace.run("ping", "-M", "dont", "-q", "-f", "-c", 2000, "-l", 2000, "-s", 1000, "-W", 0.1, GUEST_IP)
                    guest.send_signal(signal.SIGCONT)
                    self.assert_pinged(namespace, GUEST_IP, 2, "-i", "0.05")
                told = self.told(guest)
                dropped = told["droppedByDriver"]
                self.assertIn(dropped, range(1000, 2000) if library != "sim" else [0], guest.story())
                note = f"note: {dropped} frames for interface 1 were dropped unread, for the driver's buffer of 64K was full."
                self.assertEqual((note in guest.errors(), "--driver-buffer 256." in guest.errors()), (dropped > 0,) * 2)

    def test_a_forged_sender_does_not_turn_the_guests_own_pings_aside(self):
        responder = self.respond(mac="02:77:00:00:00:50")
        forged = request(responder.address, "02:66:66:66:66:66")
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen(on_frame=lambda own, frame: frames.parse_echo(frame) and own.send(forged))
                guest = self.ping(responder.address, mode, "--count", 20, "--delay", 20)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertEqual({echo.destination_mac for echo in station.echoes(frames.ECHO_REQUEST)}, {responder.mac})
                self.end_station(station)

    def test_replies_to_nobody_stay_away(self):
        """To groups, to addresses that no host has, to the guest itself: ignored, counted, and not answered."""
        impossible = ("255.255.255.255", "10.77.0.255", "10.77.0.0", "224.0.0.1", "239.1.2.3", "127.0.0.1", "0.0.0.0", "0.1.2.3",
                      GUEST_IP)
        nobody = (frames.BROADCAST, "01:00:5e:00:00:01", frames.NO_MAC, GUEST_MAC)
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                for source in impossible:
                    for destination in (GUEST_MAC, frames.BROADCAST):
                        station.send(request(source, station.mac, destination))
                for sender in nobody:
                    asked = frames.arp(1, sender, "10.77.0.9", frames.NO_MAC, GUEST_IP)
                    reverse = frames.arp(3, sender, "0.0.0.0", GUEST_MAC, "0.0.0.0")
                    station.send(frames.ethernet(frames.BROADCAST, station.mac, frames.ARP, asked))
                    station.send(frames.ethernet(frames.BROADCAST, station.mac, frames.RARP, reverse))
                self.assert_pinged(self.peer, GUEST_IP, 3, "-i", "0.05")
                written = [frame for frame in station.heard() if frame[6:12] == frames.mac_bytes(GUEST_MAC)]
                told = self.told(guest)
                self.assertEqual({frame[:6].hex(":") for frame in written}, {station.mac}, "nothing but the kernel's")
                arps = told["answered"]["arp"] if mode == "tap" else interface_statistics(guest.text())[
                    "Internally Handled ARP Packets"]
                self.assertEqual(told["answered"]["echo"], 3)
                self.assertEqual(len(written), 3 + arps)
                self.assertEqual(told["statistics"]["ignored"], 2 * len(impossible) + 2 * len(nobody))
                self.end_station(station)
