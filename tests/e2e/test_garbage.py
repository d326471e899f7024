"""Bad frames: each is dropped with its numbered reason, and no flood of garbage brings the guest down."""

import json
import random
import time

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, timeout


def packet(data=b"data", to=GUEST_IP, kind=frames.ECHO_REQUEST, code=0, message_checksum=None, **header):
    message = frames.icmp(kind, 7, 7, data, code=code, message_checksum=message_checksum)
    return frames.ipv4(PEER_IP, to, message, **header)


# In the order of the checks.
BAD_PACKETS = {
    "Unknown packet": [],
    "Too tiny": [packet(b""), packet()[:28]],
    "Fragmented": [packet(flags=flags) for flags in (0x4000, 0x2000, 0x8000, 0x0001)],
    "Bad IP hdr version": [packet(first_byte=0x55)],
    "Bad IP hdr length": [packet(first_byte=0x46), packet(first_byte=0x44)],
    "Not ICMP": [packet(protocol=17)],
    "Not ping": [packet(kind=3)],
    "Bad ICMP code": [packet(code=1)],
    "Bad IP hdr checksum": [packet(header_checksum=0x1234)],
    "Bad ICMP checksum": [packet(message_checksum=0x1234)],
    "Not reply for us": [packet(to="10.77.0.101", kind=frames.ECHO_REPLY)],
    "Not ping for us": [packet(to="10.77.0.101")],
}


class Garbage(NetworkCase):
    def test_every_reason_by_its_name(self):
        for mode, debug in (("tap", True), ("tun", True), ("tap", False)):
            with self.subTest(mode=mode, debug=debug):
                station = self.listen()
                results = self.scratch() / "results.json"
                guest = self.run_guest(mode, *(["--debug"] if debug else []), "--json", results)
                # IPv6, VLAN, a length instead of a type; of which a TUN guest's library lets nothing through.
                unknown = [(ether_type, bytes(46)) for ether_type in (0x86DD, 0x8100, 0x0026)]
                for ether_type, bad in unknown + [(frames.IPV4, one) for group in BAD_PACKETS.values() for one in group]:
                    station.send(frames.ethernet(GUEST_MAC, station.mac, ether_type, bad))
                time.sleep(0.4)
                self.assert_pinged(self.peer, GUEST_IP, 2, "-i", "0.05")
                self.assertEqual(guest.stop()[0], 0, guest.story())
                wanted = {reason: len(packets) for reason, packets in BAD_PACKETS.items()}
                wanted["Unknown packet"] = 3 if mode == "tap" else 0
                told = json.loads(results.read_text(encoding="utf-8"))["interfaces"][0]
                self.assertEqual(list(told["ignored"].items()), list(wanted.items()), "the counters by reason")
                self.assertEqual(told["answered"]["echo"], 2)
                found = {reason: guest.text().count(f"Packet was ignored ({reason})\n") for reason in wanted}
                self.assertEqual(found, wanted if debug else dict.fromkeys(wanted, 0))

    @timeout(120)
    def test_a_flood_of_garbage(self):
        for mode, extra in (("tun", ()), ("tap", ("--socket-notify", "--debug"))):
            with self.subTest(mode=mode, extra=extra):
                station = self.listen()
                guest = self.run_guest(mode, *extra, "--output", self.scratch() / "document")
                self.assertGreater(self.send_garbage(station, random.Random(20), seconds=3), 1000)
                # A forged ARP packet is believed, as everywhere; the peer's next question mends that.
                self.peer.ip("neigh", "flush", "dev", "far")
                self.assert_pinged(self.peer, GUEST_IP, 5, "-i", "0.1")
                self.assertEqual(guest.stop(timeout=5)[0], 0, guest.errors())

    @staticmethod
    def send_garbage(station, chance, seconds):
        """Random bytes, and right frames with lengths that lie, changed bytes, cut ends and more behind."""
        seeds = [(frames.IPV4, packet(bytes(64), kind=kind, total_length=total))
                 for kind in (frames.ECHO_REQUEST, frames.ECHO_REPLY) for total in (None, 0, 19, 27, 1500, 65535)]
        seeds += [(frames.ARP, frames.arp(1, station.mac, PEER_IP, frames.NO_MAC, GUEST_IP)),
                  (frames.RARP, frames.arp(3, station.mac, "0.0.0.0", GUEST_MAC, "0.0.0.0")),
                  (0x5555, chance.randbytes(1400))] * 4
        deadline = time.monotonic() + seconds
        sent = 0
        while time.monotonic() < deadline:
            destination = chance.choice((GUEST_MAC, frames.BROADCAST, "01:00:5e:00:00:01"))
            frame = bytearray(frames.ethernet(destination, station.mac, *chance.choice(seeds)))
            for _ in range(chance.randint(0, 4)):
                frame[chance.randrange(12, len(frame))] = chance.randrange(256)
            frame = frame[:chance.randint(14, len(frame))] if chance.random() < 0.3 else frame
            station.send(bytes(frame) + chance.randbytes(chance.choice((0, 0, 14))))
            sent += 1
            if sent % 50 == 0:
                time.sleep(0.001)
        return sent
