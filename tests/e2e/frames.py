"""Ethernet, ARP, IPv4 and ICMP as bytes: built and taken apart by a second hand, apart from the program."""

import collections
import socket
import struct

IPV4, ARP, RARP = 0x0800, 0x0806, 0x8035
ECHO_REPLY, ECHO_REQUEST = 0, 8
DONT_FRAGMENT = 0x4000
BROADCAST = "ff:ff:ff:ff:ff:ff"
NO_MAC = "00:00:00:00:00:00"


def mac_bytes(text):
    return bytes.fromhex(text.replace(":", "").replace("-", ""))


def checksum(data):
    """RFC 1071."""
    data += bytes(len(data) % 2)
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def ethernet(destination, source, ether_type, payload):
    return mac_bytes(destination) + mac_bytes(source) + struct.pack("!H", ether_type) + payload


def arp(operation, sender_mac, sender_ip, target_mac, target_ip):
    return (struct.pack("!HHBBH", 1, IPV4, 6, 4, operation) + mac_bytes(sender_mac) + socket.inet_aton(sender_ip)
            + mac_bytes(target_mac) + socket.inet_aton(target_ip))


def ipv4(source, destination, payload, *, protocol=1, flags=0, ttl=64, first_byte=0x45, total_length=None,
         header_checksum=None):
    length = 20 + len(payload) if total_length is None else total_length
    header = bytearray(struct.pack("!BBHHHBBH", first_byte, 0, length, 0, flags, ttl, protocol, 0)
                       + socket.inet_aton(source) + socket.inet_aton(destination))
    struct.pack_into("!H", header, 10, checksum(bytes(header)) if header_checksum is None else header_checksum)
    return bytes(header) + payload


def icmp(kind, identifier, sequence, data=b"", *, code=0, message_checksum=None):
    value = message_checksum
    if value is None:
        value = checksum(struct.pack("!BBHHH", kind, code, 0, identifier, sequence) + data)
    return struct.pack("!BBHHH", kind, code, value, identifier, sequence) + data


# An ICMP echo message with what carried it.
Echo = collections.namedtuple(
    "Echo", "source_mac destination_mac source destination flags ttl kind identifier sequence data")


def build_echo(echo):
    """The Ethernet frame that carries it."""
    packet = ipv4(echo.source, echo.destination, icmp(echo.kind, echo.identifier & 0xFFFF, echo.sequence & 0xFFFF, echo.data),
                  flags=echo.flags, ttl=echo.ttl)
    return ethernet(echo.destination_mac, echo.source_mac, IPV4, packet)


def parse_echo(frame):
    """The echo message of an Ethernet frame, or None. Checksums are tshark's affair."""
    packet = frame[14:]
    if len(packet) < 28 or frame[12:15] != b"\x08\x00\x45" or packet[9] != 1 or packet[20] not in (0, 8):
        return None
    total, _, flags, ttl = struct.unpack_from("!HHHB", packet, 2)
    return Echo(frame[6:12].hex(":"), frame[:6].hex(":"), socket.inet_ntoa(packet[12:16]),
                socket.inet_ntoa(packet[16:20]), flags, ttl, packet[20], *struct.unpack_from("!HH", packet, 24),
                packet[28:total])


# An ARP or RARP message with what carried it.
Arp = collections.namedtuple(
    "Arp", "ether_type destination_mac source_mac operation sender_mac sender_ip target_mac target_ip")


def parse_arp(frame):
    ether_type = int.from_bytes(frame[12:14], "big")
    if len(frame) < 42 or ether_type not in (ARP, RARP):
        return None
    return Arp(ether_type, frame[:6].hex(":"), frame[6:12].hex(":"), int.from_bytes(frame[20:22], "big"),
               frame[22:28].hex(":"), socket.inet_ntoa(frame[28:32]), frame[32:38].hex(":"),
               socket.inet_ntoa(frame[38:42]))


def is_probe(frame):
    """Whether it asks for an address that its sender is about to take (RFC 5227)."""
    arp = parse_arp(frame)
    return bool(arp) and (arp.ether_type, arp.operation, arp.sender_ip) == (ARP, 1, "0.0.0.0")
