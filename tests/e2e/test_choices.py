"""What a guest is started with: what is given, what the profile holds, and what is derived from the host's adapters."""

import re

from cases import HOST_IP, NetworkCase

SECOND_IP, OWN_MAC = "10.9.0.7", "02-00-5E-80-00-04"


def generated_mac(ip):
    parts = [int(part) for part in ip.split(".")]
    return f"02-00-5E-{parts[1] | 0x80:02X}-{parts[2]:02X}-{parts[3]:02X}"


class Choices(NetworkCase):
    """Three adapters: the default one, one of another subnet, one without an address."""

    def setUp(self):
        super().setUp()
        self.host.ip("route", "add", "default", "via", "10.77.0.2")
        self.cable("second", "far2", SECOND_IP, "10.9.0.8")
        self.host.ip("link", "add", "bare", "up", "type", "veth", "peer", "name", "bare2")
        self.folder = self.scratch()

    def run_with(self, *options, library="pcap"):
        return self.run_program("run", "--library", library, "--no-report", "--proceed", "--duration", 0.05, *options,
                                "--json", self.folder / "results.json", namespace=self.host,
                                environment={"XDG_CONFIG_HOME": str(self.folder)})

    def assert_chosen(self, options, guest_ip, guest_mac=None, adapter_mac=None, noted=False):
        guest = self.run_with(*options)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertEqual("of the profile is not in the subnet of the adapter" in " ".join(guest.errors().split()), noted)
        told = self.interface_in(self.folder / "results.json")
        self.assertEqual((told["guestIp"], told["guestMac"]), (guest_ip, guest_mac or generated_mac(guest_ip)), options)
        self.assertEqual(told["adapterMac"], (adapter_mac or self.host.mac_of("adapter")).upper().replace(":", "-"), options)

    def refused(self, options, *wanted, **where):
        self.assert_refused(self.run_with(*options, **where), *wanted)

    def test_an_adapter_is_named_in_many_ways(self):
        second, bare = (self.host.mac_of(name) for name in ("second", "bare"))
        for name in (SECOND_IP, "second", "SECOND", "NPF_second", second):  # the guest is of the chosen adapter's subnet
            self.assert_chosen(("--adapter", name), "10.9.0.111", adapter_mac=second)
        self.assert_chosen(("--adapter", "bare", "--save"), "10.77.0.111", adapter_mac=bare)  # bound by its MAC
        for name in ("third", "10.9.0.9", "0.0.0.0", "00-00-00-00-00-01", "sec"):
            self.refused(("--adapter", name), f"--adapter {name}: No such host adapter", "second")
        self.refused(("--adapter", "second"), "the simulated LAN has one adapter only", library="sim")

    def test_what_is_derived(self):
        for address, first, second in ((HOST_IP + "/24", "10.77.0.111", "10.77.0.222"), ("172.16.5.9/16", "172.16.0.111", "172.16.0.222"),
                                       ("10.0.0.201/28", "10.0.0.207", "10.0.0.206")):  # 111 & 15, 222 & 15
            self.host.ip("address", "flush", "dev", "adapter")
            self.host.ip("address", "add", address, "dev", "adapter")
            self.host.ip("route", "replace", "default", "dev", "adapter")
            told = re.findall(r"enabled/up\.\.\. \(ip=(\S+), mac=(\S+)\)", self.run_with("--mode2", "tap").text())
            self.assertEqual(sorted(told), sorted((ip, generated_mac(ip)) for ip in (first, second)))

    def test_what_is_stored(self):
        self.assert_chosen(("--guest-ip", "10.77.0.50", "--save"), "10.77.0.50")
        self.assert_chosen(("--guest-ip", "10.77.0.60"), "10.77.0.60")  # a generated MAC follows the address
        self.assert_chosen(("--adapter", "adapter"), "10.77.0.50")
        second = self.host.mac_of("second")
        self.assert_chosen(("--adapter", "second"), "10.9.0.111", adapter_mac=second, noted=True)
        self.assert_chosen(("--adapter", "second", "--guest-ip", "172.16.0.1"), "172.16.0.1", adapter_mac=second)
        self.assert_chosen(("--guest-mac", OWN_MAC, "--save"), "10.77.0.50", OWN_MAC)
        self.assert_chosen(("--guest-ip", "10.77.0.60"), "10.77.0.60", OWN_MAC)
        # After a run with one interface the second one's texts are stored empty.
        self.refused(("--guest-ip2", "10.77.0.9"), "interface 2: IP Address: You must identify which host adapter", "--adapter2")
        guest = self.run_with("--adapter2", "second")
        self.assertRegex(guest.text(), r"enabled/up\.\.\. \(ip=10\.9\.0\.222, mac=" + generated_mac("10.9.0.222"), guest.story())
        self.host.ip("address", "del", HOST_IP + "/24", "dev", "adapter")
        self.refused((), "No such host adapter exists with this IP address", "--adapter", "second")
