"""Ethernet, ARP, IPv4 and ICMP as bytes: built and taken apart by a second hand, apart from the program."""

import dataclasses
import socket
import struct

IPV4, ARP, RARP = 0x0800, 0x0806, 0x8035
ECHO_REPLY, ECHO_REQUEST = 0, 8
DONT_FRAGMENT = 0x4000
BROADCAST = "ff:ff:ff:ff:ff:ff"
NO_MAC = "00:00:00:00:00:00"


def mac_bytes(text):
    return bytes.fromhex(text.replace(":", "").replace("-", ""))


def mac_text(data):
    return data.hex(":")


def checksum(data):
    """RFC 1071."""
    if len(data) % 2:
        data += b"\0"
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def ethernet(destination, source, ether_type, payload):
    return mac_bytes(destination) + mac_bytes(source) + struct.pack("!H", ether_type) + payload


def arp(operation, sender_mac, sender_ip, target_mac, target_ip):
    return (struct.pack("!HHBBH", 1, IPV4, 6, 4, operation) + mac_bytes(sender_mac) + socket.inet_aton(sender_ip)
            + mac_bytes(target_mac) + socket.inet_aton(target_ip))


def ipv4(source, destination, payload, *, protocol=1, flags=0, ttl=64, identification=0, first_byte=0x45,
         total_length=None, header_checksum=None, options=b""):
    length = total_length if total_length is not None else 20 + len(options) + len(payload)

    def header(value):
        return struct.pack("!BBHHHBBH", first_byte, 0, length & 0xFFFF, identification, flags, ttl, protocol, value) \
            + socket.inet_aton(source) + socket.inet_aton(destination) + options

    return header(checksum(header(0)) if header_checksum is None else header_checksum) + payload


def icmp(kind, identifier, sequence, data=b"", *, code=0, message_checksum=None):
    value = message_checksum
    if value is None:
        value = checksum(struct.pack("!BBHHH", kind, code, 0, identifier, sequence) + data)
    return struct.pack("!BBHHH", kind, code, value, identifier, sequence) + data


@dataclasses.dataclass
class Echo:
    """An ICMP echo message with what carried it."""

    source_mac: str
    destination_mac: str
    source: str
    destination: str
    flags: int
    ttl: int
    kind: int
    identifier: int
    sequence: int
    data: bytes


def parse_echo(frame):
    """The echo message of an Ethernet frame, or None. Checksums are tshark's affair."""
    if len(frame) < 42 or struct.unpack_from("!H", frame, 12)[0] != IPV4:
        return None
    packet = frame[14:]
    if packet[0] != 0x45 or packet[9] != 1 or packet[20] not in (ECHO_REPLY, ECHO_REQUEST):
        return None
    total = struct.unpack_from("!H", packet, 2)[0]
    identifier, sequence = struct.unpack_from("!HH", packet, 24)
    return Echo(mac_text(frame[6:12]), mac_text(frame[0:6]), socket.inet_ntoa(packet[12:16]),
                socket.inet_ntoa(packet[16:20]), struct.unpack_from("!H", packet, 6)[0], packet[8], packet[20],
                identifier, sequence, packet[28:total])


@dataclasses.dataclass
class Arp:
    """An ARP or RARP message with what carried it."""

    ether_type: int
    destination_mac: str
    source_mac: str
    operation: int
    sender_mac: str
    sender_ip: str
    target_mac: str
    target_ip: str


def parse_arp(frame):
    if len(frame) < 42 or struct.unpack_from("!H", frame, 12)[0] not in (ARP, RARP):
        return None
    return Arp(struct.unpack_from("!H", frame, 12)[0], mac_text(frame[0:6]), mac_text(frame[6:12]),
               struct.unpack_from("!H", frame, 20)[0], mac_text(frame[22:28]), socket.inet_ntoa(frame[28:32]),
               mac_text(frame[32:38]), socket.inet_ntoa(frame[38:42]))
