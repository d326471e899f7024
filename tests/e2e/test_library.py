"""The contract of the interface library, as a program finds it that binds the shared library: requests, refusals, and the
simulated LAN behind it."""

import ctypes
import errno
import os
import shutil
import socket
import struct

import frames
from cases import Case

HOST, GATEWAY, SILENT, ADAPTER = "198.18.0.2", "198.18.0.254", "198.18.0.150", "198.18.0.1"
FIRST, SECOND, AWAY = "198.18.0.111", "198.18.0.222", "10.7.7.7"
TUNSETDEBUG, TUNSETIFF, OLD_TUNSETIFF, SET_DRIVER_BUFFER, SET_BUFFER, SET_TIMEOUT = (
    0x800454C9, 0x800454CA, 0x54CA, 0x800454DC, 0x800454DD, 0x800454DE)
SET_FLAGS, SET_ADDRESS, GET_ADDRESS, SET_GUEST, SET_MASK, SET_MTU, SET_MAC, GET_MAC, GET_ARP = (
    0x8914, 0x8916, 0x8917, 0x8918, 0x891C, 0x8922, 0x8924, 0x8927, 0x8954)
UP, DEBUG, TUN, TAP, NO_PI = 1, 4, 1, 2, 0x1000
DEBUG_CHANGES, DEBUG_OTHER_WRITTEN = 0x80000000, 0x40


def station_mac(number):
    return f"02-56-4E-12-00-{number:02X}"


def guest_mac(ip):
    _, b, c, d = socket.inet_aton(ip)
    return f"02-00-5E-{b | 0x80:02X}-{c:02X}-{d:02X}"


def text(mac):
    return mac.hex("-").upper()


class Library:
    def __init__(self, path):
        self._library = ctypes.CDLL(path, use_errno=True)

    def __getattr__(self, operation):
        """An operation of the contract: what it gives, or the negative errno."""
        def call(*arguments):
            ctypes.set_errno(0)
            result = getattr(self._library, "vnetx32_" + operation)(*arguments)
            return -ctypes.get_errno() if result < 0 else result
        return call

    def request(self, handle, code, value=b"", name=b""):
        """An interface request: what it gives, and the value area then."""
        record = ctypes.create_string_buffer(struct.pack("=16s16s", name, value), 32)
        return self.ioctl(handle, ctypes.c_uint32(code), record), record.raw[16:]


class Guest:
    def __init__(self, library, ip=FIRST, tap=False, up=True):
        self.library, self.ip, self.mac, self.tap = library, ip, guest_mac(ip), tap
        self.buffer = ctypes.create_string_buffer(65535)
        self.handle = library.open(ADAPTER.encode(), 2)
        record = ctypes.create_string_buffer(struct.pack("=16sH14x", b"", (TAP if tap else TUN) | NO_PI), 32)
        assert library.ioctl(self.handle, ctypes.c_uint32(TUNSETIFF), record) == 0
        self.name = record.raw[:16]
        assert (self.set(SET_GUEST, ip), self.set(SET_TIMEOUT, 20), self.set(SET_FLAGS, UP if up else 0)) == (0, 0, 0)

    def request(self, code, value=b""):
        return self.library.request(self.handle, code, value, self.name)

    def set(self, code, value):
        return self.request(code, struct.pack("=HH4s", 2, 0, socket.inet_aton(value)) if isinstance(value, str)
                            else struct.pack("=I", value))[0]

    def set_mac(self, mac, family=1):
        return self.request(SET_MAC, struct.pack("=H", family) + frames.mac_bytes(mac))[0]

    def statistics(self):
        record = ctypes.create_string_buffer(struct.pack("=I", 136), 136)
        assert self.library.get_stats(self.handle, record) == 0
        values = struct.unpack("=4I15q", record.raw)
        return {"most": values[3], "written": values[9], "ignored": values[13]}

    def ask_mac(self, ip):
        record = ctypes.create_string_buffer(struct.pack("=H4s10xH14xI", 2, socket.inet_aton(ip), 0, 4), 36)
        return text(record.raw[18:24]) if self.library.ioctl(self.handle, ctypes.c_uint32(GET_ARP), record) == 0 else None

    def read(self):
        length = self.library.read(self.handle, self.buffer, 65535)
        assert length >= 0, os.strerror(-length)
        return self.buffer.raw[:length]

    def write(self, frame):
        return self.library.write(self.handle, frame, len(frame))

    def send(self, packet, to):
        """An IP packet to its next hop."""
        if not self.tap:
            return self.write(packet)
        return self.write(frames.ethernet(self.ask_mac(to) or station_mac(254), self.mac, frames.IPV4, packet))

    def ping(self, to, sequence=1, data=b"abcde"):
        return self.send(frames.ipv4(self.ip, to, frames.icmp(8, 0x1234, sequence, data), flags=frames.DONT_FRAGMENT), to)

    def packet(self):
        """The next IP packet, or nothing. A TAP guest answers the questions that come before it."""
        while frame := self.read():
            if not self.tap:
                return frame
            if frame[12:14] == b"\x08\x00":
                return frame[14:]
            question = frames.parse_arp(frame)
            if (question.operation, question.target_ip) == (1, self.ip):
                self.write(self.arp(2, question.sender_mac, question.sender_ip))
        return b""

    def arp(self, operation, target_mac, target_ip, to=None):
        return frames.ethernet(to or target_mac, self.mac, frames.ARP, frames.arp(operation, self.mac, self.ip, target_mac, target_ip))


class Contract(Case):
    def setUp(self):
        if "VNXTEST_SANITIZED" in os.environ:
            self.skipTest("a sanitizer has to be there before Python is")
        self.shared_object = os.environ.get("VNXTEST_SHARED_OBJECT") or self.skipTest("the shared library was not built")
        os.environ["VNETX_LIBRARY"] = "sim"
        self.library = Library(self.shared_object)

    def guest(self, *arguments, **options):
        guest = Guest(self.library, *arguments, **options)
        self.addCleanup(self.library.close, guest.handle)
        return guest

    def both_modes(self):
        for tap in (False, True):
            guest = self.guest(tap=tap)
            yield guest
            self.library.close(guest.handle)

    def test_wrong_requests_are_refused(self):
        library = self.library
        for name, flags, why in ((b"198.18.0.2", 2, errno.ENODEV), (None, 2, errno.EINVAL), (b"198.18.0.1", 0, errno.EINVAL)):
            self.assertEqual(library.open(name, flags), -why)
        for handle in (-1, 12345):
            self.assertEqual([library.request(handle, TUNSETIFF)[0], library.read(handle, b"", 0), library.write(handle, b"", 0)],
                             3 * [-errno.EBADF])
        # Nothing is set without a mode, and there is one mode in a handle's life.
        handle = library.open(b"02:56:4e:12:00:01", 2)
        self.addCleanup(library.close, handle)
        for code, flags, name, why in (
                (SET_FLAGS, UP, b"", errno.ENODEV), (TUNSETIFF, NO_PI | TUN | TAP, b"", errno.EINVAL), (OLD_TUNSETIFF, NO_PI | TAP, b"", 0),
                (TUNSETIFF, NO_PI | TAP, b"", errno.EINVAL), (SET_FLAGS, UP, b"", errno.EADDRNOTAVAIL),  # neither address nor MAC
                (GET_MAC, 0, b"", errno.EADDRNOTAVAIL), (GET_ADDRESS, 0, b"x", errno.ENODEV)):  # another's name
            self.assertEqual(library.request(handle, code, struct.pack("=H", flags), name)[0], -why, f"{code:x}")
        self.assertEqual(library.ioctl(handle, SET_MTU, None), -errno.EINVAL)
        self.assertEqual(library.get_stats(handle, bytes(136)), -errno.EINVAL, "its length was not set")

    def test_what_is_set_holds_and_is_not_changed_under_the_frames(self):
        guest = self.guest(tap=True, up=False)
        for code, value, why in (
                (SET_ADDRESS, 10, errno.EAFNOSUPPORT), (SET_MASK, "255.0.255.0", errno.EINVAL), (SET_MTU, 45, errno.EINVAL),
                (SET_MTU, 1501, errno.EINVAL), (SET_DRIVER_BUFFER, (1 << 30) + 1, errno.EINVAL), (0x8999, 1, errno.EINVAL),
                (SET_BUFFER, (1 << 26) + 1, errno.EINVAL), (SET_TIMEOUT, 0x80000000, errno.EINVAL), (SET_MTU, 1000, 0)):
            self.assertEqual(guest.set(code, value), -why, f"{code:x} {value}")
        self.assertEqual(guest.request(GET_ADDRESS)[1][4:8], socket.inet_aton(ADAPTER), "the adapter's, as none was set")
        self.assertEqual(text(guest.request(GET_MAC)[1][2:8]), guest.mac, "it follows from the address")
        for mac, family, why in (("01-00-00-00-00-77", 1, errno.EADDRNOTAVAIL), (station_mac(0x77), 2, errno.EINVAL),
                                 (station_mac(0x77), 1, 0)):
            self.assertEqual(guest.set_mac(mac, family), -why, mac)
        self.assertEqual(text(guest.request(GET_MAC)[1][2:8]), station_mac(0x77))
        self.assertEqual(guest.write(bytes(60)), -errno.ENETDOWN)
        self.assertEqual(guest.set(SET_FLAGS, UP), 0)
        self.assertEqual((guest.write(bytes(1015)), guest.write(bytes(1014))), (-errno.EMSGSIZE, 1014))
        self.assertEqual((guest.set(SET_MTU, 1000), guest.set_mac(station_mac(0x77))), (-errno.EBUSY, -errno.EBUSY))
        self.assertEqual(guest.set(SET_FLAGS, 0), 0)
        self.assertEqual(self.library.read(guest.handle, ctypes.create_string_buffer(2000), 2000), -errno.ENETDOWN)

    def test_debug_output_follows_the_flags(self):  # to the byte, on a wire: test_capture.py
        told = []
        callback = ctypes.CFUNCTYPE(None, ctypes.c_char_p)(told.append)
        self.library.set_debug_output_func(callback)
        self.addCleanup(self.library.set_debug_output_func, None)
        guest = self.guest()
        guest.set(TUNSETDEBUG, DEBUG_CHANGES | DEBUG_OTHER_WRITTEN)
        for flags, wanted in ((UP, []), (UP | DEBUG, ["VNXSTIMEOUT: old 20, new 21", "47 bytes written"])):
            guest.set(SET_FLAGS, flags)
            told.clear()
            guest.set(SET_TIMEOUT, 21)
            guest.ping(HOST)
            self.assertNotEqual(guest.packet(), b"")
            self.assertEqual(len(told), len(wanted), told)
            for line, words in zip(told, wanted):
                self.assertIn(words, line.decode())
            guest.set(SET_TIMEOUT, 20)

    def test_no_reply_goes_to_nobody_and_everything_else_goes(self):  # what the program itself sends: test_strangers.py
        group = "01-00-5E-00-00-01"
        for guest in self.both_modes():
            def sent(frame):
                before = guest.statistics()
                self.assertEqual(guest.write(frame), len(frame), "what is written counts as written")
                after = guest.statistics()
                self.assertEqual(after["written"] > before["written"], after["ignored"] == before["ignored"])
                return after["written"] > before["written"]

            def echo(kind, to, mac, offset=0):
                packet = frames.ipv4(guest.ip, to, frames.icmp(kind, 1, 1), flags=offset)
                return sent(frames.ethernet(mac, guest.mac, frames.IPV4, packet) if guest.tap else packet)

            for goes, kind, to, mac, offset in (
                    (True, 0, HOST, station_mac(2), 0), (False, 0, "198.18.0.255", station_mac(2), 0), (False, 0, guest.ip, station_mac(2), 0),
                    (True, 8, "198.18.0.255", frames.BROADCAST, 0), (True, 0, "198.18.0.255", frames.BROADCAST, 1)):  # a fragment
                self.assertEqual(echo(kind, to, mac, offset), goes, f"{kind} to {to}")
            if not guest.tap:
                continue
            for goes, asker in ((True, HOST), (True, "0.0.0.0"), (True, guest.ip), (False, "198.18.0.0")):
                self.assertEqual(sent(guest.arp(2, station_mac(2), asker)), goes, f"who probes or announces is answered: {asker}")
            for nobody in (frames.BROADCAST, frames.NO_MAC, group, guest.mac):
                self.assertFalse(echo(0, HOST, nobody))
                for operation in range(1, 5):
                    self.assertEqual(sent(guest.arp(operation, nobody, "0.0.0.0")), operation % 2 == 1, "questions may go to all")

    def assert_answered(self, guest, to, sequence, data=b"abcde"):
        packet = guest.packet()
        self.assertEqual((frames.checksum(packet[:20]), frames.checksum(packet[20:])), (0, 0))
        reply = frames.parse_echo(frames.ethernet(guest.mac, station_mac(2), frames.IPV4, packet))
        ttl = 64 if to.startswith("198.18.0.") else 57
        self.assertEqual(reply[2:], (to, guest.ip, 0, ttl, frames.ECHO_REPLY, 0x1234, sequence, data))

    def test_stations_and_the_world_behind_the_gateway_answer_what_is_sound(self):
        for guest in self.both_modes():
            for sequence, to in enumerate((HOST, "198.18.0.99", GATEWAY, ADAPTER, "192.0.2.9", "10.1.2.3"), 1):
                self.assertGreater(guest.ping(to, sequence), 0)
                self.assert_answered(guest, to, sequence)
            for to in (SILENT, "198.18.0.100", "203.0.113.5", "127.0.0.1"):
                self.assertGreater(guest.ping(to), 0, "a write to nobody succeeds: only the answer is missing")
            sound = frames.ipv4(guest.ip, HOST, frames.icmp(8, 0x1234, 9)) + bytes(4)  # padding is not echoed
            for at, value in ((8, 63), (3, 200), (24, 1), (6, 0x20), (0, 0x46)):
                self.assertGreater(guest.send(sound[:at] + bytes([value]) + sound[at + 1:], HOST), 0)
            self.assertEqual(guest.packet(), b"")
            self.assertGreater(guest.send(sound, HOST), 0)
            self.assert_answered(guest, HOST, 9, b"")
            self.assertIsNone(guest.ask_mac(SILENT))
            self.assertEqual(guest.statistics()["ignored"], 0 if guest.tap else 2, "a TUN guest's library finds no such neighbours")

    def test_a_station_asks_for_the_guests_mac_and_waits_for_the_answer(self):
        guest = self.guest(tap=True)
        for sequence in (1, 2):
            guest.ping(HOST, sequence)
        question = frames.parse_arp(guest.read())
        self.assertEqual(question[:3] + question[3:4] + question[5:], (
            frames.ARP, frames.BROADCAST, station_mac(2).lower().replace("-", ":"), 1, HOST, frames.NO_MAC, guest.ip))
        self.assertEqual(guest.read(), b"", "no reply before the answer, and no second question at once")
        guest.write(guest.arp(2, station_mac(2), HOST))
        for sequence in (1, 2):
            self.assert_answered(guest, HOST, sequence)
        guest.ping(HOST, 3)
        self.assertEqual(guest.read()[12:14], b"\x08\x00", "the station that knows the MAC asks no more")
        guest.write(guest.arp(1, frames.NO_MAC, GATEWAY, to=frames.BROADCAST))
        answer = frames.parse_arp(guest.read())
        self.assertEqual((answer.operation, answer.sender_ip, text(frames.mac_bytes(answer.sender_mac))), (2, GATEWAY, station_mac(254)))

    def test_guests_reach_each_other_and_only_the_gateway_forwards(self):
        for tap in (False, True):
            guest, near, away = self.guest(tap=tap), self.guest(SECOND, tap=not tap), self.guest(AWAY)
            for other in (near, away):
                packet = frames.ipv4(guest.ip, other.ip, frames.icmp(8, 1, 1))
                self.assertGreater(guest.send(packet, other.ip), 0)
                received = other.packet()
                self.assertEqual(received[12:], packet[12:])
            if tap:
                for mac in (station_mac(1), station_mac(5), "02-09-09-09-09-09"):
                    self.assertGreater(guest.write(frames.ethernet(mac, guest.mac, frames.IPV4, packet)), 0)
                self.assertEqual(away.read(), b"")
                guest.write(frames.ethernet(station_mac(254), guest.mac, frames.IPV4, packet))
                self.assertEqual(away.read()[8], 63)
            for each in (guest, near, away):
                self.library.close(each.handle)

    def test_what_nobody_reads_is_bounded(self):
        """A guest that writes and never reads must not eat the memory."""
        copy = shutil.copy(self.shared_object, self.scratch())  # asks the environment once more
        os.environ["VNETX_LIBRARY"] = "sim:mtu=65535"
        self.library = Library(copy)
        guest, size, fitting, count = self.guest(), 60000, (64 << 20) // 60000, 0
        for sequence in range(fitting + 100):
            guest.ping(HOST, sequence, bytes(size))
        while guest.read():
            count += 1
        self.assertTrue(fitting - 50 <= count <= fitting + 10, count)
        self.assertLessEqual(guest.statistics()["most"], 65536, "as much at once as the I/O buffer holds")
