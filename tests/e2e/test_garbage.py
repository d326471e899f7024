"""Bad frames: each is dropped with its numbered reason. (Frames of any bytes: tests/fuzz.)"""

import time

import frames
from cases import GUEST_IP, GUEST_MAC, PEER_IP, NetworkCase, interface_statistics


def packet(data=b"data", to=GUEST_IP, kind=frames.ECHO_REQUEST, code=0, message_checksum=None, **header):
    message = frames.icmp(kind, 7, 7, data, code=code, message_checksum=message_checksum)
    return frames.ipv4(PEER_IP, to, message, **header)


# In the order of the checks: what fails that one alone.
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
# And what fails it and every later one.
wrong = {}
for reason, change in (("Not ping for us", {"to": "10.77.0.101"}), ("Bad ICMP checksum", {"message_checksum": 0x1234}),
                       ("Bad IP hdr checksum", {"header_checksum": 0x1234}), ("Bad ICMP code", {"code": 1}),
                       ("Not ping", {"kind": 3}), ("Not ICMP", {"protocol": 17}), ("Bad IP hdr length", {"first_byte": 0x46}),
                       ("Bad IP hdr version", {"first_byte": 0x66}), ("Fragmented", {"flags": 0x2000}),
                       ("Too tiny", {"data": b""})):
    wrong |= change
    BAD_PACKETS[reason].append(packet(**wrong))


class Garbage(NetworkCase):
    def test_addresses_that_are_counted_or_left_out(self):
        station, stranger = self.listen(), "02:00:00:00:00:77"
        results = self.scratch() / "results.json"
        guest = self.run_guest("tap", "--json", results)
        for to, source, length in ((GUEST_MAC, stranger, 60), (GUEST_MAC, frames.NO_MAC, 61),
                                   ("01:00:5e:00:00:01", stranger, 1514),  # these are handed on
                                   (stranger, station.mac, 62),  # not for the guest: the kernel leaves it out
                                   (frames.NO_MAC, stranger, 63), (frames.BROADCAST, GUEST_MAC, 64)):
            station.send(frames.ethernet(to, source, 0x86DD, bytes(length - 14)))
        time.sleep(0.3)
        for namespace, name in ((self.host, "adapter"), (self.peer, "far")):
            namespace.ip("link", "set", "dev", name, "mtu", 9000)
        # Longer than a frame could be when the guest was started: never handed on in part.
        station.send(frames.ethernet(GUEST_MAC, stranger, 0x86DD, bytes(4000)))
        time.sleep(0.3)
        self.assertEqual(guest.stop()[0], 0, guest.story())
        counters = interface_statistics(guest.text())
        self.assertEqual([counters[f"Packets {which}"] for which in (
            "From All Zeroes MAC Read", "To All Zeroes MAC Read", "From Ourself")], [1, 1, 1])
        self.assertEqual((counters["Total Packets Read"], counters["Total Bytes Read"], counters["Total Ignored Packets"]),
                         (6, 60 + 61 + 1514 + 63 + 64 + 4014, 2), guest.story())
        self.assertEqual(self.interface_in(results)["ignored"]["Unknown packet"], 3)

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
                if mode == "tun":  # the padding of a short frame is no part of the packet
                    station.send(frames.ethernet(GUEST_MAC, station.mac, frames.IPV4, packet(b"padded") + bytes(12)))
                time.sleep(0.4)
                self.assertEqual([echo.data for echo in station.echoes(frames.ECHO_REPLY)], [b"padded"] * (mode == "tun"))
                self.assert_pinged(self.peer, GUEST_IP, 2)
                self.assertEqual(guest.stop()[0], 0, guest.story())
                wanted = {reason: len(packets) for reason, packets in BAD_PACKETS.items()}
                wanted["Unknown packet"] = 3 if mode == "tap" else 0
                told = self.interface_in(results)
                self.assertEqual(list(told["ignored"].items()), list(wanted.items()), "the counters by reason")
                self.assertEqual(told["answered"]["echo"], 3 if mode == "tun" else 2)
                self.assertNotIn("Assertion Failed", guest.text())
                found = {reason: guest.text().count(f"Packet was ignored ({reason})\n") for reason in wanted}
                self.assertEqual(found, wanted if debug else dict.fromkeys(wanted, 0))
