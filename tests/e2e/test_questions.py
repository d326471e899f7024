"""What is asked before a start, by the circumstances: of the host's forwarding and gateway, the guest's address and subnet."""

import re

from cases import HOST_IP, PEER_IP, NetworkCase

# What tells each question when it ends the start, of which A and B are about the gateway, C and D about the subnet; and
# what is said when it does not.
WORDS = {"A": "packets will not be routed properly and some tests may fail.",
         "B": "virtual subnets which are known to be using the same physical adapter.",
         "C": "Even though IP Routing is enabled", "D": "is a true router that knows how to route packets",
         "H": "already used by this system", "G": "already used by a gateway", "R": "is reserved"}
PROCEEDING = {**dict.fromkeys("AB", "Your default gateway is undefined!"),
              **dict.fromkeys("CD", "Your guest IP is in a different subnet!"),
              "H": "Your guest IP is your own!", "G": "Your guest IP is that of a gateway!",
              "R": "Your guest IP cannot be a workstation's!"}
INSIDE, OUTSIDE, LOOPBACK = "10.77.0.100", "10.9.9.9", "127.0.0.9"


class Questions(NetworkCase):
    def assert_asked(self, forwarding, gateway, guest_ip, asked, *extra):
        """The first question ends the start; with --proceed all are gone through in this order."""
        self.host.write("net/ipv4/ip_forward", int(forwarding))
        options = [*self.arguments(["run"], guest_ip=guest_ip, gateway=PEER_IP if gateway else None), "--duration", 0.05, *extra]
        guest = self.run_program(*options, namespace=self.host)
        said = " ".join(guest.errors().split())
        self.assertEqual((guest.status, [letter for letter, words in WORDS.items() if words in said]),
                         (2 if asked else 0, list(asked[:1])), guest.story())
        guest = self.run_program(*options, "--proceed", namespace=self.host)
        self.assertEqual((guest.status, re.findall(r"warning: (.*) Proceeding, as --proceed says\.", guest.errors())),
                         (0, [PROCEEDING[letter] for letter in asked]), guest.story())

    def test_by_the_circumstances(self):
        self.host.ip("address", "add", "10.5.0.1/24", "dev", "adapter")
        self.cable("other", "other_far", "10.6.0.1", "10.6.0.2")
        for forwarding, gateway, guest_ip, asked in (
                (False, False, INSIDE, "A"), (False, False, OUTSIDE, "AB"), (False, True, INSIDE, ""), (False, True, OUTSIDE, "D"),
                (True, False, INSIDE, ""), (True, False, OUTSIDE, "C"), (True, True, INSIDE, ""), (True, True, OUTSIDE, "D"),
                # Whether it is to pass itself off as its host, or has an address that no guest can have, comes last.
                (True, False, HOST_IP, "H"), (False, False, HOST_IP, "AH"), (False, True, PEER_IP, "G"),
                (False, True, LOOPBACK, "DR"), (False, True, "10.77.0.255", "R"),  # everybody's address of the subnet
                (False, True, "10.5.0.1", "DH"), (False, True, "10.6.0.1", "DH"),  # the adapter's second, another's
                (False, True, "10.5.0.255", "DR"), (False, True, "10.6.0.255", "D")):  # of no subnet of this adapter
            with self.subTest(forwarding=forwarding, gateway=gateway, guest_ip=guest_ip):
                self.assert_asked(forwarding, gateway, guest_ip, asked)
        for second, forwarding, asked in (("10.77.0.112", False, ""), (OUTSIDE, False, "D"), (OUTSIDE, True, "C")):
            self.assert_asked(forwarding, not forwarding, INSIDE, asked, "--adapter2", HOST_IP, "--guest-ip2", second)
