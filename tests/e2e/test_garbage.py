"""Bad frames: each is dropped with its numbered reason. (Frames of any bytes: tests/fuzz.)"""

import json
import time

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase


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
