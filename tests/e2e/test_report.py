"""The start-up report and the adapter list, compared with what ip, ethtool and the resolver file say."""

import ipaddress
import json
import os
import pathlib
import re
import shutil
import sys

import cases
import frames

ZERO = "0.0.0.0"
NETWORK_HEADING = "-------------------------  Network Information  -------------------------"
ADAPTERS_HEADING = "--------------------------  Detected Adapters  --------------------------"


class Report:
    """The text of one report, taken apart."""

    def __init__(self, guest):
        self.guest = guest
        self.text = guest.text()
        order = ("Running in ", "Begin VNXTest64UD, version: ", "DosDevices are defined", NETWORK_HEADING,
                 ADAPTERS_HEADING)
        assert re.match(".*".join(map(re.escape, order)), self.text, re.S), self.text
        self.network, self.adapters_part = self.text[self.text.index(NETWORK_HEADING):].split(ADAPTERS_HEADING)
        self.gateway = re.search(r"^  Default gateway:  (\S+)  \((.*)\)$", self.network, re.M).groups()
        # The lines of every adapter, by its connection name, in order.
        blocks = re.split(r"^Connection          = ", self.adapters_part, flags=re.M)[1:]
        self.adapters = {block.split("\n")[0]: dict(re.findall(r"^ *(\S[^=\n]*?) *= (.*)$", block, re.M))
                         for block in blocks}

    def routes(self):
        """(destination, mask, gateway, interface address, metric) of every row."""
        header = "  Network Address          Netmask  Gateway Address        Interface  Metric\n"
        rows = self.network.split(header)[1].split("\n\n")[0].splitlines()
        # Fixed columns: the interface is empty when it has no address.
        return [(*(line[begin:begin + 16].strip() for begin in (1, 18, 35, 52)), int(line[69:])) for line in rows]

    def name_servers(self):
        return re.search(r"^  DNS Servers[ .]+: (.*(?:\n {32}.*)*)", self.network, re.M)[1].split("\n" + 32 * " ")


class Host(cases.NetworkCase):
    """Its cable has a /24 with two addresses, and a secondary /24; the peer answers."""

    def setUp(self):
        super().setUp()
        for secondary in ("10.77.0.3/24", "10.77.5.1/24"):
            self.host.ip("address", "add", secondary, "dev", "adapter")
        self.peer_mac = self.peer.mac_of("far").upper().replace(":", "-")

    def report(self, **options):
        guest = self.run_program("report", namespace=self.host, **options)
        self.assertEqual(guest.status, 0, guest.story())
        return Report(guest)

    def json_of(self, *arguments):
        return json.loads(self.host.ip("-j", *arguments).stdout or "[]")

    def resolver_file(self, text):
        """What /etc/resolv.conf is in the host's namespace."""
        folder = pathlib.Path("/etc/netns") / self.host.name
        had_parent = folder.parent.exists()
        folder.mkdir(parents=True)
        self.addCleanup(lambda: (shutil.rmtree(folder), had_parent or any(folder.parent.iterdir()) or folder.parent.rmdir()))
        (folder / "resolv.conf").write_text(text, encoding="utf-8")

    def assert_routes(self, report):
        """Every row against `ip route`, in its order."""
        addresses = {link["ifname"]: link["addr_info"][0]["local"] for link in self.json_of("-4", "address")
                     if link["addr_info"]}
        expected = []
        for route in self.json_of("-4", "-d", "route", "show", "table", "main"):
            prefix = ipaddress.ip_network("0.0.0.0/0" if route["dst"] == "default" else route["dst"])
            for hop in route.get("nexthops", [route]):
                expected.append((str(prefix.network_address), str(prefix.netmask), hop.get("gateway", ZERO),
                                 addresses.get(hop.get("dev"), "") if route["type"] == "unicast" else "",
                                 route.get("metric", 0)))
        expected.sort(key=lambda row: int(ipaddress.ip_address(row[0])))  # stable
        self.assertEqual(report.routes(), expected)

    def assert_adapter(self, fields, name):
        """One adapter's lines against ip and ethtool."""
        link = self.json_of("-d", "link", "show", "dev", name)[0]
        rows = self.json_of("-4", "address", "show", "dev", name)
        info = next((one for row in rows for one in row.get("addr_info", ()) if one), {"local": ZERO, "prefixlen": 0})
        address = ipaddress.ip_interface("{local}/{prefixlen}".format(**info))
        speed = re.search(r"Speed: (\d+)Mb/s", self.host.run("ethtool", name).stdout)  # a gigabit or more, here
        features = dict(re.findall(r"^\s*([\w-]+): (.*)$", self.host.run("ethtool", "-k", name).stdout, re.M))
        words = {"on": "ENABLED", "on [fixed]": "ENABLED", "off": "no", "off [requested on]": "no"}  # else absent
        expected = {
            "PhysAddr": link["address"].upper().replace(":", "-"),
            "dwIndex": f"0x{link['ifindex']:08X}",
            "MaxPacketLen": str(link["mtu"] + 14),
            "MediaConnected?": "Yes" if {"UP", "LOWER_UP"} <= set(link["flags"])
                               else "No                   ** CABLE UNPLUGGED **",
            "IPAddr": str(address.ip),
            "IPAddrMask": str(address.netmask),
            "LinkSpeed": f"{int(speed[1]) / 1000:.1f} Gbps" if speed else "0.0 Mbps (unknown)",
            "LSO v2 (IPv4)": words.get(features["tx-tcp-segmentation"], "no?"),
            "LSO v2 (IPv6)": words.get(features["tx-tcp6-segmentation"], "no?"),
        }
        sends = "ENABLED" if features.get("tx-checksum-ip-generic", "").startswith("on") else "no"
        self.assertEqual(fields.get("V4Transmit", "TCP no, UDP no, IP no"), f"TCP {sends}, UDP {sends}, IP no")
        self.assertEqual({key: fields[key] for key in expected}, expected)

    def test_routes_addresses_and_resolver(self):
        for command in ("link add spare type veth peer name spare2", "address add 172.16.1.1/16 dev spare",
                        "link add mute up type veth peer name mute2", "link add br0 up type bridge",
                        "route add default via 10.77.0.9 metric 5", "route add default via 10.77.0.2 metric 700",
                        "route add 192.168.0.0/16 metric 4294967290 nexthop via 10.77.0.2 nexthop via 10.77.5.9",
                        "route add 192.168.0.0/24 via 10.77.0.2", "route add 10.66.0.0/16 dev mute",
                        "route add unreachable 10.67.0.0/16", "route add unreachable default metric 999999"):
            self.host.ip(*command.split())
        self.resolver_file("# made for this test\n;nameserver 1.1.1.1\nsearch example.net\nnameserver\t10.77.0.53  # first\r\n"
                           "  nameserver 10.0.0.3\nnameserver10.0.0.4\nnameserver\nnameserver not.an.address\n"
                           "nameserver 300.1.1.1\noptions nameserver 10.0.0.5\nnameserver 2001:db8::53\nnameserver 10.77.0.54")
        for forwarding, word in ((0, "no"), (1, "yes")):
            self.host.write("net/ipv4/ip_forward", forwarding)
            report = self.report()
            self.assertIn(f"  IP Routing Enabled. . . . . : {word}\n", report.network)
        self.assertIn(f"  Host Name . . . . . . . . . : {os.uname().nodename}\n", report.network)
        self.assertEqual(report.name_servers(), ["10.77.0.53", "2001:db8::53", "10.77.0.54"])
        self.assert_routes(report)
        # The last default route wins, not the one with the lowest metric; and that gateway answers.
        self.assertEqual(report.gateway, ("10.77.0.2", self.peer_mac))
        self.need_program("ethtool")
        links = [link["ifname"] for link in self.json_of("link") if link["link_type"] == "ether"]
        self.assertEqual(list(report.adapters), links)
        for name in links:
            self.assert_adapter(report.adapters[name], name)
        self.assertEqual(report.adapters["adapter"]["GatewayIPAddr"], "10.77.0.9")  # its own best one
        self.assertIn("** WrenPackOpenAdapter(NPF_spare) failed; rc=100: Network is down", report.text)

    def test_silent_gateway(self):
        self.host.ip("route", "add", "default", "via", "10.77.0.2", "metric", "5")
        self.host.ip("route", "add", "default", "via", "10.77.0.9", "metric", "700")

        def talk(station, _):
            """ARP on the wire that answers nothing: a reply of somebody else, a request, a cut one."""
            for operation, sender, length in ((2, "10.77.0.2", 42), (1, "10.77.0.9", 42), (2, "10.77.0.9", 40)):
                arp = frames.arp(operation, station.mac, sender, frames.BROADCAST, "10.77.0.1")
                station.send(frames.ethernet(frames.BROADCAST, station.mac, frames.ARP, arp)[:length])

        self.listen(on_frame=talk)
        self.assertEqual(self.report(timeout=10.0).gateway, ("10.77.0.9", "unresponsive"))

    def test_one_after_the_other(self):
        """A local resolver, DHCP, segmentation offload and a pulled cable."""
        self.resolver_file("nameserver 127.0.0.53\noptions edns0 trust-ad\n")
        for command, told in (("route add 10.9.0.0/16 via 10.77.0.2", "unknown"),
                              ("route add default via 10.77.0.2 proto dhcp", "Yes"),
                              ("route change default via 10.77.0.2", "unknown"),
                              ("address change 10.77.0.1/24 dev adapter valid_lft 600 preferred_lft 600", "Yes")):
            self.host.ip(*command.split())
            self.assertEqual(self.report().adapters["adapter"]["DHCP Enabled?"], told, command)
        self.need_program("ethtool")
        self.host.run("ethtool", "-K", "adapter", "tso", "on", check=True)
        report = self.report(environment={"VNXTEST_TRACE": "1"})
        self.assertNotIn("** InitGlobals: WARNING", report.guest.errors(), "asked from the adapter's own address")
        self.assertIn("Large Segment Offload (LSO) is enabled on your default adapter", report.text)
        self.assertRegex(", ".join(report.name_servers()), r"^127\.0\.0\.53(, \S+ \(asked by 127\.0\.0\.53\))*$")
        self.host.run("ethtool", "-K", "adapter", "tso", "off", check=True)
        self.assertNotIn("WARNING:  *", self.report().text)
        self.peer.ip("link", "set", "far", "down")
        report = self.report(environment={"VNXTEST_TRACE": "1"})
        self.assertIn("is not connected to the network", report.text)
        self.assertIn("** InitGlobals: WARNING: default adapter gateway unresponsive!", report.guest.errors())

    def test_ordinary_user(self):
        self.host.ip("route", "add", "default", "via", "10.77.0.2")
        ordinary = {"prefix": cases.as_ordinary_user(), "timeout": 10.0, "executable": self.installed()}
        report = self.report(**ordinary)
        for text in ("Running in Normal User mode on ", "Your default adapter \"adapter\" could not be opened",
                     "** WrenPackOpenAdapter(NPF_adapter) failed; rc=1: Operation not permitted"):
            self.assertIn(text, report.text)
        # Nobody may try it out for this user; what others did shows.
        self.assertEqual(report.adapters["adapter"]["PromiscuousMode?"], "unknown")
        self.host.ip("link", "set", "dev", "adapter", "promisc", "on")
        report = self.report(**ordinary)
        self.assertEqual(report.adapters["adapter"]["PromiscuousMode?"], "Yes")
        # The kernel is asked instead of the wire: the gateway is found all the same.
        self.assertEqual(report.gateway, ("10.77.0.2", self.peer_mac))
        self.assert_routes(report)

    @cases.timeout(240)
    def test_without_the_kernels_files(self):
        """Neither /proc nor /sys: everything that is told without them is told, and nothing is taken for "no"."""
        self.host.ip("route", "add", "default", "via", "10.77.0.2")
        self.host.write("net/ipv4/ip_forward", 1)
        there = self.report()
        bare = ("unshare", "--mount", "sh", "-c", 'for each in /proc /sys; do mount -t tmpfs none $each || exit 9; done; exec "$@"', "sh")
        facts = re.compile(r"(?m)^Begin .*|^\d\d:.*")
        self.assertEqual(facts.sub("", self.report(prefix=bare).text), facts.sub("", there.text))
        self.assertIn("  IP Routing Enabled. . . . . : yes\n", there.text)
        self.assertEqual(self.run_program("adapters", namespace=self.host, prefix=bare).status, 0)
        for library in ("pcap", "tun"):
            guest = self.start("run", "--library", library, "--adapter", cases.HOST_IP, "--guest-ip", cases.GUEST_IP, "--no-report",
                               "--proceed", namespace=self.host, prefix=bare).wait_up()
            # Without /proc the threads whose rights are given up are found by trying every number, for seconds.
            self.assert_pinged(self.peer if library == "pcap" else self.host, cases.GUEST_IP, 2)
            self.assertEqual(guest.stop(timeout=60)[0], 0, guest.story())
        done = self.run_program("ping", cases.PEER_IP, "--count", 2, "--delay", 1, "--adapter", cases.HOST_IP, "--guest-ip",
                                cases.GUEST_IP, "--proceed", "--no-report", namespace=self.host, prefix=bare)
        self.assertEqual(done.status, 0, done.story())
        # What needs a file of the kernel is refused with a sentence: here it is all that is there.
        missing = self.run_program("run", "--library", "/sys/no-such-library.so", namespace=self.host, prefix=bare)
        self.assert_refused(missing, "The interface library cannot be used")

    def test_names_from_elsewhere_forge_nothing(self):
        """Of the host, of adapters and their aliases, of a resolver's scope: shown, and never followed."""
        trick = "\x1b[31m\x7f\u202e\u009b"
        shown = r"\x1b[31m\x7f\u202e\x9b"
        name = f"e\x1b[2J\u202e"
        self.host.ip("link", "set", "dev", "adapter", "down")
        self.host.ip("link", "set", "dev", "adapter", "name", name)
        self.host.ip("link", "set", "dev", name, "up", "alias", f"alias\nforged = Yes{trick}")
        self.resolver_file(f"nameserver fe80::1%{trick}\n")
        rename = ("import os, socket, sys; "
                  f"socket.sethostname('host\\nforged' + {trick!r}); os.execv(sys.argv[1], sys.argv[1:])")
        commands = [self.run_program(*command, namespace=self.host,
                                     prefix=("unshare", "--uts", sys.executable, "-c", rename))
                    for command in (("report",), ("adapters",), ("adapters", "--json"),
                                    ("run", "--adapter", name, "--guest-ip", "10.77.0.100", "--duration", "1", "--proceed"),
                                    ("run", "--adapter", "no\x1bsuch"))]
        for guest in commands:
            said = "\n".join(guest.lines()) + guest.errors()
            self.assertNotRegex(said, "[^\\n -~\u00a0-\u2027\u2030-\u2065]", guest.story())
            self.assertNotRegex(said, r"(?m)^(\S+ )?forged", guest.story())
        report = commands[0].text()
        for line in (f"  Host Name . . . . . . . . . : host\\x0aforged{shown}", f"  DNS Servers . . . . . . . . : fe80::1%{shown}",
                     r"Connection          = e\x1b[2J\u202e", r"AdapterName         = NPF_e\x1b[2J\u202e",
                     rf"Description         = veth, alias\x0aforged = Yes{shown}", r"e\x1b[2J\u202e"):
            self.assertIn(line + "\n", report)
        self.assertIn(rf'mode on "host\x0aforged{shown}" (Linux', report)
        self.assertNotIn("WrenPackOpenAdapter", report, "it is opened by its true name")
        self.assertEqual([guest.status for guest in commands], [0, 0, 0, 0, 2], commands[3].errors())
        entry = json.loads("\n".join(commands[2].lines()))["adapters"][0]
        self.assertEqual((entry["name"], entry["description"]), (r"e\x1b[2J\u202e", rf"veth, alias\x0aforged = Yes{shown}"))
        # The name as it is shown chooses the adapter, too.
        again = self.run_program("run", "--adapter", entry["name"], "--guest-ip", "10.77.0.100", "--duration", "1", "--proceed",
                                 namespace=self.host)
        self.assertEqual(again.status, 0, again.story())

    @cases.timeout(180)
    def test_no_adapters_and_large_tables(self):
        self.host.ip("link", "del", "adapter")
        part = self.report().adapters_part
        self.assertIn("No usable adapters of the packet library were found.", part)
        self.assertRegex(part, r"\A\n*(ERROR:  \*.*\n+)+\Z")
        adapters, addresses, routes = 200, 2000, 5000
        lines = [f"link add a{i} type veth peer name a{i + 1}" for i in range(0, adapters, 2)]
        lines += [f"link set a{i} up" for i in range(adapters)]
        lines += [f"address add 10.{i % adapters}.{i // adapters}.1/24 dev a{i % adapters}" for i in range(addresses)]
        lines += [f"route add {ipaddress.ip_address(0xAC100000 + 16 * i)}/28 via 10.{i % adapters}.1.2 metric {i}"
                  for i in range(routes)]
        batch = self.scratch() / "batch"
        batch.write_text("\n".join(lines) + "\n", encoding="ascii")
        self.host.ip("-batch", batch)
        report = self.report(timeout=15.0)  # far above what it takes; serial waiting shows
        self.assertEqual(len(report.adapters), adapters)
        self.assert_routes(report)
