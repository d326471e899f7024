"""Where a TAP guest sends what is not on its wire: three stations on a switch, one of them the gateway."""

from lab import frames
from lab.cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase
from lab.network import Lab, why_no_namespaces
from lab.statistics import ping_statistics


class Gateway(NetworkCase):
    def setUp(self):
        missing = why_no_namespaces()
        if missing:
            self.skipTest(missing)
        self.lab = Lab()
        self.addCleanup(self.lab.close)
        self.host = self.lab.namespace("host")
        self.peer = self.lab.namespace("peer")
        self.router = self.lab.namespace("router")
        switch = self.lab.namespace("switch")
        remote = self.lab.namespace("remote")
        switch.ip("link", "add", "bridge", "type", "bridge")
        switch.ip("link", "set", "bridge", "up")
        for number, (namespace, name, address) in enumerate((
                (self.host, "adapter", HOST_IP), (self.peer, "far", PEER_IP), (self.router, "far", "10.77.0.254"))):
            self.lab.veth(namespace, name, switch, f"port{number}", address + "/24")
            switch.ip("link", "set", f"port{number}", "master", "bridge")
        self.lab.veth(self.router, "out", remote, "far", "10.88.0.1/24", "10.88.0.2/24")
        self.router.write("net/ipv4/ip_forward", 1)
        remote.ip("route", "add", "default", "via", "10.88.0.1")
        self.router_mac = self.router.mac_of("far")
        self.links_before = self.host.links()

    def test_off_subnet_goes_to_the_gateway(self):
        heard = self.listen(self.router, "far")
        guest = self.ping("10.88.0.2", "tap", "--count", 3, "--delay", 50, gateway="10.77.0.254")
        self.assertEqual(guest.status, 0, guest.story())
        self.assertEqual(guest.text().count("received from 10.88.0.2: bytes=32"), 3)
        self.assertIn("TTL=63", guest.text())
        requests = heard.echoes(frames.ECHO_REQUEST)
        self.assertEqual([(echo.destination_mac, echo.destination) for echo in requests],
                         [(self.router_mac, "10.88.0.2")] * 3)
        self.assert_frames_sound(heard, at_least=3)

    def test_on_subnet_goes_to_the_target_itself(self):
        heard = self.listen(self.peer, "far")
        guest = self.ping(PEER_IP, "tap", "--count", 3, "--delay", 50, gateway="10.77.0.254")
        self.assertEqual(guest.status, 0, guest.story())
        self.assertEqual({echo.destination_mac for echo in heard.echoes(frames.ECHO_REQUEST)},
                         {self.peer.mac_of("far")})

    def test_an_unknown_neighbour_goes_to_the_gateway(self):
        heard = self.listen(self.router, "far")
        guest = self.ping("10.77.0.99", "tap", "--count", 1, "--delay", 0, "--timeout", 200, gateway="10.77.0.254")
        self.assertEqual(guest.status, 1, guest.story())
        self.assertEqual({echo.destination_mac for echo in heard.echoes(frames.ECHO_REQUEST)}, {self.router_mac})

    def test_the_gateway_of_the_routing_table(self):
        """The last default route's next hop is asked by ARP at the start; then there is no question."""
        self.host.ip("route", "add", "default", "via", "10.77.0.254")
        guest = self.ping("10.88.0.2", "tap", "--count", 2, "--delay", 50, gateway=None)
        self.assertEqual(guest.status, 0, guest.story())

    def test_a_guest_of_another_subnet(self):
        """Answered by "Proceed": the guest of 10.66.0.0 is reached through a route of the peer's."""
        self.peer.ip("route", "add", "10.66.0.5", "dev", "far")
        options = self.arguments(["run"], "tap", guest_ip="10.66.0.5", gateway="10.77.0.254")
        refused = self.run_program(*options, namespace=self.host)
        self.assert_refused(refused, "Your guest IP is in a different subnet!", "--proceed")
        self.assertNotIn("enabled/up", refused.text())
        guest = self.start(*options, "--proceed", namespace=self.host).wait_up()
        self.assert_pinged(self.peer, "10.66.0.5", 3, "-i", "0.05", "-I", PEER_IP)
        self.assertEqual(guest.stop()[0], 0, guest.story())


class NoGateway(NetworkCase):
    def test_the_questions_before_the_start(self):
        for guest_ip, forwarding, gateway, title, text in (
                (GUEST_IP, 0, None, "Undefined Gateway", "Without IP Forwarding packets will not be routed properly"),
                ("10.66.0.5", 1, None, "Subnets Warning", "Even though IP Routing is enabled"),
                ("10.66.0.5", 0, PEER_IP, "Subnets Warning", "is a true router")):
            with self.subTest(guest_ip=guest_ip, forwarding=forwarding, gateway=gateway):
                self.host.write("net/ipv4/ip_forward", forwarding)
                options = self.arguments(["run"], "tap", guest_ip=guest_ip, gateway=gateway)
                guest = self.run_program(*options, "--duration", 1, namespace=self.host)
                self.assert_refused(guest, title, "--proceed")
                self.assertIn(text, " ".join(guest.errors().split()))
                self.assertNotIn("enabled/up", guest.text())
                guest = self.run_program(*options, "--duration", 1, "--proceed", namespace=self.host)
                self.assertEqual(guest.status, 0, guest.story())
                self.assertIn("enabled/up", guest.text())
        self.host.write("net/ipv4/ip_forward", 1)
        guest = self.run_program(*self.arguments(["run"], "tap", gateway=None), "--duration", 1, namespace=self.host)
        self.assertEqual(guest.status, 0, "forwarding and the right subnet: no question\n" + guest.story())

    def test_off_subnet_goes_to_the_adapter(self):
        """With no gateway to ask, the adapter's own MAC is the only one there is."""
        heard = self.listen()
        guest = self.ping("10.88.0.2", "tap", "--count", 2, "--delay", 20, "--timeout", 200, "--proceed", gateway=None)
        self.assertEqual(guest.status, 1, guest.story())
        self.assertEqual(ping_statistics(guest.text())["lost"], 2)
        self.assertNotIn("Assertion Failed", guest.text())
        self.assertEqual([(echo.source_mac, echo.destination_mac) for echo in heard.echoes(frames.ECHO_REQUEST)],
                         [(GUEST_MAC, self.host.mac_of("adapter"))] * 2)
