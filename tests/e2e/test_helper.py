"""The helper that opens adapters: whom it serves, what it refuses, and what can be done with what it gives."""

import errno
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys

import frames
import helper_client
from helper_client import ARP, GUEST, TAP, TUN, ask, record
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, ORDINARY, timeout
from lab import guest as guest_module
from lab.network import die_with_parent, keep_tun_mode, why_no_tun_device

REFUSED = "may not be opened by this program itself. "
# The helper's reasons, by their numbers.
(NONE, BAD_REQUEST, MAC_UNUSABLE, MAC_OF_HOST, IP_UNUSABLE, IP_OF_HOST, IP_OF_GATEWAY, IP_OUTSIDE_SUBNET,
 NOT_THE_ADAPTERS_ADDRESS) = range(9)
SOCKET = record(GUEST, "adapter", GUEST_MAC, GUEST_IP)
QUESTION = record(ARP, "adapter")
DEVICE = record(TUN, "adapter", ip=GUEST_IP, host_end=HOST_IP, mtu=1500, queue=100, device="vnxtun7")


class Helper(NetworkCase):
    helper = property(lambda _: pathlib.Path(guest_module.program()).with_name("vnxtest-open"))

    def refused(self, program, *wanted, library="pcap", mode="tap", prefix=(), prefix_first=False, **options):
        guest = self.run_program(*self.arguments(["run"], mode, library=library, **options), "--duration", 5,
                                 "--proceed", namespace=self.host, executable=program,
                                 prefix=[*prefix, *ORDINARY] if prefix_first else [*ORDINARY, *prefix])
        self.assert_refused(guest, *wanted)
        self.assert_nothing_left(guest)
        return guest

    def test_what_is_missing_is_said(self):
        self.refused(self.installed(helper=False), REFUSED + "Its helper, .* is missing", "setcap .*vnxtest-open")
        self.refused(self.installed(), REFUSED + "Its helper would do it if it had the rights",
                     "setcap .*vnxtest-open", "or run vnxtest-cli as root")
        self.refused(self.installed(rights=True), REFUSED + "Its helper .* gets no rights here", prefix=["setpriv", "--no-new-privs"])
        self.refused(self.installed(rights=True), REFUSED + "Its helper .* gets no rights here: .* a container without the rights",
                     prefix=["setpriv", "--bounding-set=-net_admin"], prefix_first=True)
        for_group = self.installed(rights=True)
        for_group.with_name("vnxtest-open").chmod(0o750)
        self.refused(for_group, REFUSED + "Its helper .* may be run by members of the group root only", "gpasswd -a .* root")
        root = self.run_program(*self.arguments(["run"], "tap", library="pcap"), "--duration", 5, "--proceed", namespace=self.host,
                                executable=self.installed(helper=False),
                                prefix=["setpriv", "--bounding-set=-net_raw,-net_admin"])
        self.assert_refused(root, "Its helper, .* is missing. Install vnxtest-open as", "Root's needs no rights")
        self.assertNotIn("as root", root.errors())
        broken = self.installed()
        shutil.copy("/bin/true", broken.with_name("vnxtest-open"))
        self.do_or_skip("setcap", "cap_net_raw,cap_net_admin+ep", broken.with_name("vnxtest-open"))
        self.refused(broken, "has ended without an answer")

    def test_the_report_tells_what_the_helper_can_do(self):
        report = {}
        for rights in (True, False):
            done = self.run_program("report", namespace=self.host, prefix=ORDINARY,
                                    executable=self.installed(rights=rights))
            self.assertEqual(done.status, 0, done.story())
            report[rights] = done.text()
        self.assertNotIn("could not be opened", report[True])
        self.assertRegex(report[False], r'(?s)Your default adapter "adapter" could not be opened: .*sudo setcap.*No usable adapters.*setcap')
        self.assertNotIn("Connect a network adapter", report[False])

    def test_the_guest_is_not_the_host(self):
        program = self.installed(rights=True)
        self.host.ip("route", "add", "default", "via", PEER_IP)
        self.host.ip("route", "add", "10.99.0.0/16", "table", "77", "nexthop", "via", "10.77.0.51", "nexthop", "via", "10.77.0.52")
        self.host.ip("nexthop", "add", "id", "1", "via", "10.77.0.53", "dev", "adapter")
        for prefix in ("10.77.0.96/28", "0.0.0.0/0"):  # such a route for everything makes nobody the host
            self.host.ip("route", "add", "local", prefix, "dev", "lo")
        self.refused(program, REFUSED + "The helper has refused it. The guest's MAC address is that of an adapter of this host"
                     ". Choose another MAC address for the guest", guest_mac=self.host.mac_of("adapter"))
        own, nobodys, gateways = "is one of this host's own", "cannot be a station's", "is that of a gateway of this host"
        for why, addresses in ((own + ". Choose another IP address", (HOST_IP, "10.77.0.111")),
                               (nobodys, ("127.0.0.9", "10.77.0.0", "10.77.0.255")),
                               (gateways, (PEER_IP, "10.77.0.51", "10.77.0.52", "10.77.0.53"))):
            for ip in addresses:
                self.refused(program, f"The guest's IP address {why}", guest_ip=ip, gateway=None)
        if not why_no_tun_device():
            keep_tun_mode(self)
            os.chmod("/dev/net/tun", 0o666)
            for ip, why in (("8.8.8.8", "is outside the subnet of the host adapter"), ("127.0.0.9", nobodys), (PEER_IP, gateways),
                            (HOST_IP, own)):
                self.refused(program, f"The guest's IP address {why}", library="tun", mode="tun", guest_ip=ip, guest_mac=None)

    def test_who_may_open_it_himself_is_warned(self):
        mac = self.host.mac_of("adapter")  # of a veth, locally administered
        for options, told in (({"guest_mac": mac}, "Your guest MAC is that of a host adapter!"),
                              ({"guest_ip": HOST_IP}, "Your guest IP is your own!"),
                              ({"guest_ip": PEER_IP}, "Your guest IP is that of a gateway!")):
            with self.subTest(told=told):
                start = [*self.arguments(["run"], **options), "--duration", "0.2"]
                self.assert_refused(self.run_program(*start, namespace=self.host), f"Address Warning: {told}",
                                    "Give --proceed to start all the same")
                proceeding = self.run_program(*start, "--proceed", namespace=self.host)
                self.assertEqual(proceeding.status, 0, proceeding.story())
                self.assertIn(f"warning: {told} Proceeding", proceeding.errors())

    def test_what_it_gives_cannot_be_widened(self):
        """The filter is locked, and holds at another adapter, too."""
        self.cable("other", "other_far", "10.78.0.1", "10.78.0.2")
        station, other = self.listen(), self.listen(interface="other_far")
        folder = self.installed(rights=True).parent
        shutil.copy(helper_client.__file__, folder)
        user = subprocess.Popen(
            self.host.command(*ORDINARY, sys.executable, "-B", folder / "helper_client.py", folder / "vnxtest-open", "adapter",
                              "other", GUEST_MAC, GUEST_IP),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, preexec_fn=die_with_parent)
        self.addCleanup(user.wait)
        self.addCleanup(user.kill)
        self.assertEqual(user.stdout.readline(), "ready\n")
        sent = [frames.ethernet(to, station.mac, 0x86DD, bytes(46))
                for to in (GUEST_MAC, frames.BROADCAST, self.host.mac_of("adapter"), "02:00:00:00:00:99")]
        for frame in sent:
            station.send(frame)
        self.host.run("arping", "-q", "-c", 1, "-w", 1, "-I", "adapter", "10.77.0.99")  # the host's own
        user.stdin.write("\n")
        user.stdin.flush()
        self.assertEqual(user.stdout.readline(), "bound\n")
        for to in (GUEST_MAC, frames.BROADCAST):
            other.send(frames.ethernet(to, other.mac, 0x86DD, bytes(46)))
        user.stdin.write("\n")
        user.stdin.flush()
        told = json.loads(user.stdout.readline())
        self.assertEqual(told["uid"], 65534)
        self.assertEqual(told["itself"], "EPERM")
        self.assertEqual([told[what] for what in ("replace", "detach", "unlock")], ["EPERM"] * 3)
        self.assertEqual(told["heard"], [frame[:14].hex() for frame in sent[:2]])
        self.assertEqual((told["bind"], told["heard_there"]), ("done", []), "it can be bound elsewhere, and hears nothing there")

    def refusal(self, request):
        """The number of the reason why the helper gives nothing for it."""
        with self.host.entered():
            _, why, call, descriptor, _ = ask(self.helper, request)
        if descriptor is not None:
            os.close(descriptor)
        return why if descriptor is not None or why else call

    def test_requests_that_are_not_whole(self):
        for size in range(80):
            self.assertEqual(self.refusal((SOCKET + bytes(16))[:size]), NONE if size == len(SOCKET) else BAD_REQUEST, size)
        for whole, at, changes in (
                (SOCKET, 0, (b"\0",)), (SOCKET, 4, (b"\0", b"\2")), (SOCKET, 6, (b"\0", b"\6")),  # magic, version, kind
                (SOCKET, 7, (b"\1",)), (SOCKET, 31, (b"\1",)),  # reserved
                (SOCKET, 8, (bytes(16), b"a" * 16)), (SOCKET, 23, (b"a",)),  # no name, without an end, something behind it
                (SOCKET, 36, (b"\1",)), (SOCKET, 40, (b"\1",)), (SOCKET, 44, (b"\1",)), (SOCKET, 48, (b"vnxtun0",)),  # a device's
                (QUESTION, 24, (b"\2",)), (QUESTION, 32, (b"\2",)), (DEVICE, 24, (b"\2",)),  # a MAC, an IP, a TUN's MAC
                (DEVICE, 48, (b"eth0\0\0\0",)), (DEVICE, 54, (b"\0", b"%d", b"/../0", b"0123456789")),  # foreign names
                (DEVICE, 40, (b"\x2d\0", b"\xf2\xff")), (DEVICE, 44, (b"\0", b"\xff" * 4))):  # MTU, queue
            for change in changes:
                request = whole[:at] + change + whole[at + len(change):]
                self.assertEqual(self.refusal(request), BAD_REQUEST, f"{at}: {change}")

    def test_whom_a_guest_may_not_stand_for(self):
        self.cable("other", "other_far", "10.78.0.1", "10.78.0.2")
        for route in (("10.88.0.0/16", "via", "10.77.0.254"), ("10.89.0.0/16", "via", "10.78.0.254"),
                      ("local", "10.9.0.0/24", "dev", "lo")):
            self.host.ip("route", "add", *route)
        for why, macs in ((MAC_UNUSABLE, (frames.NO_MAC, frames.BROADCAST, "01:00:5e:00:00:01")),
                          (MAC_OF_HOST, (self.host.mac_of("adapter"), self.host.mac_of("other")))):
            for mac in macs:
                self.assertEqual(self.refusal(record(GUEST, "adapter", mac, GUEST_IP)), why, mac)
        for why, ips in ((NONE, (GUEST_IP, "10.77.1.255", "203.0.113.9", "10.9.1.0")),  # without a route, beyond a local one
                         (IP_UNUSABLE, ("10.77.0.0", "10.77.0.255", "0.0.0.0", "127.0.0.9", "224.0.0.1", "255.255.255.255")),
                         (IP_OF_HOST, (HOST_IP, "10.78.0.1", "10.9.0.255")), (IP_OF_GATEWAY, ("10.77.0.254", "10.78.0.254"))):
            for ip in ips:
                self.assertEqual(self.refusal(record(GUEST, "adapter", GUEST_MAC, ip)), why, ip)
        for kind, mac in ((TUN, frames.NO_MAC), (TAP, GUEST_MAC)):
            for why, ip, host_end in (
                    (IP_OUTSIDE_SUBNET, "8.8.8.8", HOST_IP), (IP_UNUSABLE, "127.0.0.9", HOST_IP), (IP_UNUSABLE, "10.77.0.0", HOST_IP),
                    (IP_OF_HOST, HOST_IP, HOST_IP), (IP_OF_GATEWAY, "10.77.0.254", HOST_IP),
                    (NOT_THE_ADAPTERS_ADDRESS, "10.78.0.9", "10.78.0.1")):
                request = record(kind, "adapter", mac, ip, host_end, 1500, 100, "vnxtun7")
                self.assertEqual(self.refusal(request), why, f"{kind} {ip}")
        self.host.ip("address", "add", "10.79.0.1/31", "dev", "adapter")  # a link of two has none to spare (RFC 3021)
        self.assertEqual(self.refusal(record(GUEST, "adapter", GUEST_MAC, "10.79.0.0")), NONE)

    @timeout(200)
    def test_garbage(self):
        """As root, so that nothing but the check stands between a request and what it asks for."""
        good = [SOCKET, QUESTION, DEVICE]
        generator = random.Random(11)
        answered = {}
        with self.host.entered():
            for request in good:
                error, _, _, descriptor, status = ask(self.helper, request)
                self.assertEqual((error, status), (0, 0))
                os.close(descriptor)
            for round_ in range(400):
                request = bytearray(generator.choice(good))
                for _ in range(generator.randint(1, 3)):
                    request[generator.randrange(len(request))] = generator.randrange(256)
                if round_ % 4 == 0:
                    request = request[:generator.randrange(len(request))] + generator.randbytes(generator.randrange(80))
                error, refusal, call, descriptor, status = ask(self.helper, bytes(request))
                self.assertIn(status, (0, 1), f"{request.hex()}: {error}, {call}")
                self.assertEqual(status == 0, descriptor is not None)
                answered[error] = answered.get(error, 0) + 1
                if descriptor is not None:
                    os.close(descriptor)
        self.assertGreater(answered.get(errno.EINVAL, 0), 200, answered)
        self.assertEqual(self.host.links(), self.links_before)

    def test_by_hand_and_with_strange_descriptors(self):
        if not why_no_tun_device():  # what fails is named: one descriptor for the device, none for the socket behind it
            few = [shutil.which("setpriv"), "--bounding-set=-sys_resource", shutil.which("prlimit")]
            with self.host.entered():
                for most, failing in ((5, "socket"), (6, "")):
                    error, _, call, descriptor, _ = ask(self.helper, DEVICE, [*few, f"--nofile={most}:{most}"])
                    self.assertEqual((error, call), (errno.EMFILE if failing else 0, failing), most)
                    if descriptor is not None:
                        os.close(descriptor)
        done = subprocess.run([self.helper], stdin=subprocess.DEVNULL, capture_output=True, text=True)
        self.assertEqual(done.returncode, 2)
        self.assertIn("start this program; it does nothing by itself", done.stderr)
        done = subprocess.run(["bash", "-c", f'exec 0<&- 1>&- 2>&- 3<>"$0"; {self.helper}', self.scratch() / "file"])
        self.assertEqual(done.returncode, 2)
