"""What the receive ring hands on: frames as they were on the wire, the guest's and nobody else's."""

import time

import frames
from cases import GUEST_MAC, HOST_IP, NetworkCase, interface_statistics

OTHER_READ_WITH_CONTENTS = "0x40004000"


class Frames(NetworkCase):
    def test_a_tag_is_put_back(self):
        """The kernel takes VLAN tags out of the frame; the guest sees it as it was sent."""
        with self.running("tap", "--debug=" + OTHER_READ_WITH_CONTENTS) as guest:
            station = self.listen()
            for ether_type, tag in ((0x8100, "81 00"), (0x88A8, "88 A8")):
                station.send(frames.ethernet(GUEST_MAC, station.mac, ether_type, bytes((0x60, 0x07, 0x86, 0xDD)) + bytes(46)))
                guest.wait_for(rf"64 bytes read, .* > {GUEST_MAC.replace(':', '-').upper()}, type 0x{ether_type:04X}")
                guest.wait_for(rf"0000  02 77 00 00 00 64 ([0-9A-F]{{2}} ){{6}}{tag} 60 07")

    def test_nothing_of_what_the_host_sends_or_others_get(self):
        """What this host sends to everybody is on the wire, but not for the guest."""
        with self.running() as guest:
            station = self.listen()
            self.host.run("arping", "-q", "-c", 3, "-w", 3, "-I", "adapter", "10.77.0.99")
            station.send(frames.ethernet("02:00:00:00:00:77", station.mac, 0x86DD, bytes(46)))
            time.sleep(0.3)
        self.assertEqual(interface_statistics(guest.text())["Total Packets Read"], 0, guest.story())
        sent = [frames.parse_arp(frame) for frame in station.heard()]
        self.assertIn(HOST_IP, [question.sender_ip for question in sent if question], "the host did send")
