"""Frames that a stranger on the wire has forged: they cost their sender something, and nobody else."""

import json
import os
import random
import re
import signal
import threading
import time

import frames
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, alone, interface_statistics, timeout
from lab.network import why_no_tun_device


def request(source, source_mac, destination_mac=GUEST_MAC):
    return frames.build_echo(frames.Echo(source_mac, destination_mac, source, GUEST_IP, 0, 64, frames.ECHO_REQUEST, 7, 7,
                                         b"forged"))


def mac(number):
    return f"02:aa:00:00:{number >> 8:02x}:{number & 255:02x}"


def asked_for(station, operation=1):
    """The target addresses of the guest's ARP requests, or of its answers."""
    return [arp.target_ip for arp in map(frames.parse_arp, station.heard_from(GUEST_MAC)) if arp and arp.operation == operation]


class Strangers(NetworkCase):
    def run_with_results(self, mode, *extra, **options):
        self.results = self.scratch() / "results.json"
        return self.run_guest(mode, "--json", self.results, *extra, **options)

    def told(self, guest):
        """What the guest reports of its interface, once it is stopped."""
        self.assertEqual(guest.stop()[0], 0, guest.story())
        return self.interface_in(self.results)

    def test_senders_that_do_not_answer_hold_nobody(self):
        """700 requests from silent addresses: each gets its reply at once, and whoever else pings loses none."""
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                self.assert_pinged(self.peer, GUEST_IP, 3)
                forged = [(f"10.77.0.{3 + number % 90}", mac(number)) for number in range(700)]
                for source, source_mac in forged:
                    station.send(request(source, source_mac))
                self.assert_pinged(self.peer, GUEST_IP, 20, pause=0.15)
                replies = [(echo.destination, echo.destination_mac) for echo in station.echoes(frames.ECHO_REPLY)
                           if echo.data == b"forged"]
                self.assertEqual(replies, forged, "each to where its own frame came from")
                self.assertEqual(set(asked_for(station)) - {PEER_IP}, set(), "without a question")
                told = self.told(guest)
                self.assertEqual(told["answered"]["echo"], 723)
                self.end_station(station)

    def test_a_full_send_queue_holds_no_reader(self):
        """Answers beyond what the adapter can send are lost, each with its failure told; everything is read."""
        self.host.run("tc", "qdisc", "add", "dev", "adapter", "root", "tbf", "rate", "1mbit", "burst", "2kb", "limit", "1mb")
        large = frames.build_echo(frames.Echo(mac(1), GUEST_MAC, PEER_IP, GUEST_IP, 0, 64, frames.ECHO_REQUEST, 7, 7, bytes(1400)))
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                for _ in range(1000):  # 11 s of the adapter
                    station.send(large)
                    time.sleep(0.0005)
                time.sleep(0.5)
                told = self.told(guest)
                self.assertGreaterEqual(told["statistics"]["packetsRead"], 1000)
                self.assertEqual(told["droppedByDriver"], 0)
                self.assertTrue(50 <= told["answered"]["echo"] <= 500, told)
                self.assertEqual(guest.text().count("vnetx32_write failed"), 1000 - told["answered"]["echo"])
                self.end_station(station)

    def test_questions_that_strangers_bring_about_are_few(self):
        """The sender cannot be read from the frame, or the gateway does not answer."""
        self.host.ip("route", "add", "default", "via", "10.77.0.9")  # nobody has it
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen()
                guest = self.run_with_results(mode)
                self.assert_pinged(self.peer, GUEST_IP, 3)
                for number in range(2000):
                    if mode == "tap":  # a group is nobody's sender
                        station.send(request(f"10.77.0.{3 + number % 90}", "03:aa:00:00:00:01"))
                    else:
                        station.send(request(f"172.16.{number >> 8}.{number & 255 or 1}", mac(number)))
                started = time.monotonic()
                self.assert_pinged(self.peer, GUEST_IP, 20, pause=0.15)
                asked = [address for address in asked_for(station) if address != PEER_IP]
                self.assertGreater(len(asked), 0)
                self.assertLessEqual(len(asked), 64 * (time.monotonic() - started + 2))
                if mode == "tun":
                    self.assertEqual(set(asked), {"10.77.0.9"})
                    told = self.told(guest)
                    self.assertGreaterEqual(told["statistics"]["ignored"] + told["droppedByDriver"], 1900, "each is counted")
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
                    self.assert_pinged(namespace, GUEST_IP, 2)
                    guest.send_signal(signal.SIGSTOP)
                    namespace.run("ping", "-M", "dont", "-q", "-f", "-c", 2000, "-l", 2000, "-s", 1000, "-W", 0.1, GUEST_IP)
                    guest.send_signal(signal.SIGCONT)
                    self.assert_pinged(namespace, GUEST_IP, 2)
                told = self.told(guest)
                dropped = told["droppedByDriver"]
                self.assertIn(dropped, range(1000, 2000) if library != "sim" else [0], guest.story())
                advice = json.loads(self.results.read_text(encoding="utf-8"))["advice"]
                self.assertEqual([finding["id"] for finding in advice], ["capture-buffer-overflowed"] * (dropped > 0))
                self.assertNotIn("advice:", guest.errors(), "the note says it")
                note = f"note: {dropped} frames for interface 1 were dropped unread, for the driver's buffer of 64K was full."
                self.assertEqual((note in guest.errors(), "--driver-buffer 256." in guest.errors()), (dropped > 0,) * 2)

    def test_a_forged_sender_does_not_turn_the_guests_own_pings_aside(self):
        responder = self.respond(mac="02:77:00:00:00:50")
        forged = request(responder.address, "02:66:66:66:66:66")

        def mislead(station, frame):
            echo = frames.parse_echo(frame)
            if echo and echo.kind == frames.ECHO_REQUEST:
                station.send(forged)

        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                station = self.listen(on_frame=mislead)
                guest = self.ping(responder.address, mode, "--count", 20, "--delay", 20, "--timeout", 5000)
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
                for sender in impossible[:-1]:  # GUEST_IP: who announces it, is answered
                    asked = frames.arp(1, station.mac, sender, frames.NO_MAC, GUEST_IP)
                    station.send(frames.ethernet(frames.BROADCAST, station.mac, frames.ARP, asked))
                self.assert_pinged(self.peer, GUEST_IP, 3)
                self.assertEqual(set(asked_for(station, operation=2)) & set(impossible), {"0.0.0.0"}, "who probes for an address (RFC 5227)")
                written = station.heard_from(GUEST_MAC)
                told = self.told(guest)
                self.assertEqual({frame[:6].hex(":") for frame in written}, {station.mac}, "nothing but the kernel's")
                arps = told["answered"]["arp"] if mode == "tap" else interface_statistics(guest.text())[
                    "Internally Handled ARP Packets"]
                self.assertEqual(told["answered"]["echo"], 3)
                self.assertEqual(len(written), 3 + arps)
                self.assertEqual(told["statistics"]["ignored"], 3 * len(impossible) - 2 + 2 * len(nobody))
                self.end_station(station)

    @alone
    @timeout(240)
    def test_a_flood_of_forged_frames_of_many_kinds(self):
        """A kernel's ping beside it loses no more than when a kernel answers under the same flood; memory stays as it is."""
        guests = [(None, HOST_IP, self.host.mac_of("adapter"))] + [(mode, GUEST_IP, GUEST_MAC) for mode in ("tap", "tun")]
        lost = {}
        for mode, address, destination_mac in guests:
            if mode:
                with open(os.devnull, "wb") as nowhere:
                    self.results = self.scratch() / "results.json"
                    guest = self.start(*self.arguments(["run"], mode), "--json", self.results, namespace=self.host,
                                       output=nowhere)
                answers = any(self.peer.run("ping", "-M", "dont", "-c", 1, "-W", 1, address).returncode == 0 for _ in range(20))
                self.assertTrue(answers, guest.errors())
            with Flood(self.peer, many_kinds(address, destination_mac)) as flood:
                sizes = [guest.memory()] if mode else []
                done = self.peer.run("ping", "-M", "dont", "-n", "-q", "-i", "0.01", "-c", PINGS, "-W", "1", address)
                sizes += [guest.memory()] if mode else []
            received = int(re.search(r"(\d+) received", done.stdout)[1])
            lost[mode] = PINGS - received
            print(f"{mode or 'kernel'}: {flood.sent} frames in {flood.seconds:.1f} s, {lost[mode]} of {PINGS} pings lost, "
                  f"{sizes} KiB resident before and after")
            if mode:
                self.assertLess(sizes[1] - sizes[0], 2048, "KiB")
                self.assertLessEqual(lost[mode], lost[None] + PINGS * 2 // 100, guest.errors())
                told = self.told(guest)
                self.assertGreater(told["statistics"]["packetsRead"], flood.sent // 2, "it was read at all")


PINGS = 300


def many_kinds(address, destination_mac, seed=1):
    """Requests from silent neighbours, from everywhere, and from where nobody can be; ARP; other types; noise."""
    random_one = random.Random(seed)

    def one(kind):
        source_mac = "02:aa:" + random_one.randbytes(4).hex(":")
        neighbour = f"10.77.0.{random_one.randrange(120, 250)}"
        anybody = f"{random_one.randrange(11, 126)}.{random_one.randrange(256)}.{random_one.randrange(256)}.9"
        nobody = random_one.choice(("255.255.255.255", "10.77.0.255", "224.0.0.1", "127.0.0.1", address))
        if kind < 3:
            source = (neighbour, anybody, nobody)[kind]
            return frames.build_echo(frames.Echo(source_mac, destination_mac, source, address, 0, 64, frames.ECHO_REQUEST, 7, 7,
                                                 bytes(32)))
        if kind < 5:
            question = frames.arp(1, source_mac, neighbour, frames.NO_MAC, (address, "10.77.0.99")[kind - 3])
            return frames.ethernet(frames.BROADCAST, source_mac, frames.ARP, question)
        payload = (bytes(60), frames.ipv4(anybody, address, bytes(40), protocol=17), random_one.randbytes(60))[kind - 5]
        return frames.ethernet(destination_mac, source_mac, 0x86DD if kind == 5 else frames.IPV4, payload)

    return [one(number % 8) for number in range(4000)]


class Flood:
    """Sends the frames, over and over, at a rate that a busy machine can keep up."""

    RATE = 10_000

    def __init__(self, namespace, forged):
        self._socket = namespace.packet_socket("far")
        self._frames = forged
        self._ending = threading.Event()
        self._thread = threading.Thread(target=self._send, daemon=True)
        self.sent = 0

    def __enter__(self):
        self._started = time.monotonic()
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._ending.set()
        self._thread.join()
        self._socket.close()
        self.seconds = time.monotonic() - self._started

    def _send(self):
        while not self._ending.is_set():
            due = min(int((time.monotonic() - self._started) * self.RATE), self.sent + 2000)
            while self.sent < due:
                self._socket.send(self._frames[self.sent % len(self._frames)])
                self.sent += 1
            time.sleep(0.002)
