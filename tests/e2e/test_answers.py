"""The guest answers on a real wire: ARP, RARP and ping, for the kernel of another namespace and for raw stations."""

import os
import socket
import time

import frames
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, alone, interface_statistics, timeout
from lab.network import why_no_tun_device

TUN_IP, TUN_MAC = "10.77.0.101", "02:77:00:00:00:65"
ARP_WRITTEN = "::HandleTapARPPacket: WRITING ARP response...\n"


class Guests(NetworkCase):
    def test_the_kernel_finds_and_pings_them(self):
        """A TAP and a TUN guest at one adapter, which do not disturb each other and leave the host's own alone."""
        self.need_program("arping")
        shared = os.environ.get("VNXTEST_SHARED_OBJECT")
        for library in filter(None, ("pcap", shared)):  # the built-in one, and the same one bound by name
            with self.subTest(library=library):
                heard = self.listen()
                guests = ((self.run_guest("tap", "--debug", library=library), GUEST_IP, GUEST_MAC),
                          (self.run_guest("tun", "--socket-notify", library=library, guest_ip=TUN_IP, guest_mac=TUN_MAC),
                           TUN_IP, TUN_MAC))
                self.assert_pinged(self.peer, HOST_IP, 3)
                with self.peer.entered(), socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
                    sender.sendto(b"hello", (HOST_IP, 9))
                for _, address, mac in guests:
                    done = self.peer.run("arping", "-c", 3, "-I", "far", address)
                    self.assertIn("Received 3 response(s)", done.stdout)
                    self.assertIn(f"[{mac.upper()}]", done.stdout)
                    for count, size in ((50, 56), (5, 1472), (5, 1)):
                        self.assert_pinged(self.peer, address, count, "-s", size)
                for guest, address, mac in guests:
                    self.assertEqual(guest.stop()[0], 0, guest.story())
                    text, counters = guest.text(), interface_statistics(guest.text())
                    self.assertEqual(
                        text.count(f"** Someone is PINGing Vant!\n** Sending PING reply to {PEER_IP}\n"), 60, guest.story())
                    self.assertNotIn("Not ICMP", text, "the capture is filtered to the guest's own MAC")
                    arps = text.count(ARP_WRITTEN) if mac == GUEST_MAC else counters["Internally Handled ARP Packets"]
                    self.assertGreaterEqual(arps, 3)
                    if mac == GUEST_MAC:
                        self.assertEqual(counters["Total Packets Written"], 60 + arps)
                    self.assert_frames_sound(heard, mac, at_least=63)
                self.assert_nothing_left(guests[0][0])

    @alone
    @timeout(1800)
    def test_a_flood_loses_nothing_and_the_program_does_not_grow(self):
        """VNXTEST_STRESS_FRAMES is how many; script/stress takes ten million."""
        echoes = int(os.environ.get("VNXTEST_STRESS_FRAMES", "240000")) // 12
        with open(os.devnull, "wb") as nowhere:
            for mode in ("tap", "tun"):
                guest = self.start(*self.arguments(["run"], mode), namespace=self.host, output=nowhere)
                answers = any(self.peer.run("ping", "-M", "dont", "-c", 1, "-W", 1, GUEST_IP).returncode == 0 for _ in range(20))
                self.assertTrue(answers, guest.errors())
                sizes = []
                # More outstanding than this, and ping's own receive buffer loses some, even from a kernel.
                for outstanding in (1, 64, 128):
                    done = self.peer.run("ping", "-M", "dont", "-n", "-q", "-f", "-c", echoes, "-l", outstanding, GUEST_IP,
                                         timeout=600)
                    self.assertIn(f"{echoes} packets transmitted, {echoes} received, 0% packet loss", done.stdout, done.stderr)
                    sizes.append(guest.memory())
                print(f"{mode}: {sizes} KiB resident after each third")
                # The text that waits for its writer finds its largest size in time: a few hundred KiB, once.
                self.assertLess(sizes[2] - sizes[0], 4096)
                self.assertEqual(guest.stop()[0], 0, guest.errors())

    def test_arp_and_rarp(self):
        station = self.listen()
        guest = self.run_guest("tap", "--debug")

        def ask(ether_type, operation, target_mac, target_ip, destination=frames.BROADCAST, length=60, spoilt=None, sender=None):
            request = bytearray(frames.arp(operation, sender or station.mac, PEER_IP, target_mac, target_ip) + bytes(18))
            if spoilt is not None:
                request[spoilt] = 9
            station.send(frames.ethernet(destination, station.mac, ether_type, bytes(request))[:length])

        def answers():
            return station.heard_from(GUEST_MAC)

        ask(frames.ARP, 1, frames.NO_MAC, TUN_IP)  # another address
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, TUN_MAC)  # to another station
        ask(frames.ARP, 2, frames.NO_MAC, GUEST_IP)  # a reply
        for offset in (1, 3, 4, 5):  # the types of both addresses, and their lengths
            ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, spoilt=offset)
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, length=41)  # one byte short
        ask(frames.RARP, 3, TUN_MAC, "0.0.0.0")  # another station
        ask(frames.RARP, 1, GUEST_MAC, "0.0.0.0")  # not the reverse request
        time.sleep(0.3)
        self.assertEqual(answers(), [])
        ask(frames.ARP, 1, frames.NO_MAC, GUEST_IP, length=42)  # and it is still there
        relayed = "02:00:00:00:00:77"  # who asks is not who sends the frame
        for destination, length, sender in ((frames.BROADCAST, 42, None), (frames.BROADCAST, 60, None), (GUEST_MAC, 60, relayed)):
            ask(frames.RARP, 3, GUEST_MAC, "0.0.0.0", destination, length, sender=sender)
        time.sleep(0.3)
        guest.stop()
        reply = frames.Arp(frames.ARP, station.mac, GUEST_MAC, 2, GUEST_MAC, GUEST_IP, station.mac, PEER_IP)
        reverse = frames.Arp(frames.RARP, station.mac, GUEST_MAC, 4, GUEST_MAC, GUEST_IP, GUEST_MAC, GUEST_IP)
        self.assertEqual([frames.parse_arp(frame) for frame in answers()],
                         [reply, reverse, reverse, reverse._replace(destination_mac=relayed)])
        self.assertEqual([frame[42:].strip(b"\0") for frame in answers()], [b""] * 4, "nothing but padding behind")
        self.assertEqual(guest.text().count("::HandleTapRARPPacket: WRITING RARP response...\n"), 3)
        self.assertEqual(guest.text().count("WRITING"), 4)
        self.assert_frames_sound(station, at_least=4)

    def test_the_kernels_own_device(self):
        """Host and guest on one machine, no wire at all: they ping each other, and the device goes away again."""
        if why_no_tun_device():
            self.skipTest(why_no_tun_device())
        routes = self.host.ip("route").stdout
        for mode, extra in (("tun", ()), ("tap", ("--socket-notify",))):
            with self.subTest(mode=mode, extra=extra):
                guest = self.run_guest(mode, "--proceed", *extra, library="tun", gateway=None)
                device = guest.text().split("*** Interface ")[1].split()[0]
                self.assertRegex(self.host.ip("link", "show", "dev", device).stdout,
                                 rf" mtu 1500 .* qlen {2**20 // (1500 if mode == 'tun' else 1514)}\n", "as the buffer's size says")
                self.assert_pinged(self.host, GUEST_IP, 20)
                added = [line for line in self.host.ip("route").stdout.splitlines() if line not in routes]
                self.assertRegex("\n".join(added), rf"\A{GUEST_IP} dev {device} .*\Z", "one, and to the guest alone")
                self.assertEqual(guest.stop()[0], 0, guest.story())
                self.assertEqual(guest.text().count("** Sending PING reply to "), 20)
                self.assertEqual(self.host.ip("route").stdout, routes)
                guest = self.run_guest(mode, "--proceed", *extra, library="tun", gateway=None)
                # The adapter lends its address only; what becomes of it is told, and the guest goes on.
                for before, now in (("up", "down"), ("down", "up")):
                    self.host.ip("link", "set", "adapter", now)
                    guest.wait_for(f"Interface {device}: the adapter's state was {before} and is {now} now; the guest goes on")
                    self.assert_pinged(self.host, GUEST_IP, 3)
                self.host.ip("link", "del", device)
                self.assertEqual(guest.wait_end(10), 2, guest.story())
                self.assertIn("vnetx32_read failed; errno=19: No such device", guest.errors())
                guest = self.ping(HOST_IP, mode, "--count", 2000, "--delay", 0, "--size", 8, "--timeout", 2000, "--proceed",
                                  *extra, library="tun", gateway=None)
                self.assertEqual((guest.status, guest.text().count(" Reply to ping #")), (0, 2000), guest.story())
                self.assert_nothing_left(guest)
