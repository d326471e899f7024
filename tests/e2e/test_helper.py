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
from cases import GUEST_IP, GUEST_MAC, HOST_IP, PEER_IP, NetworkCase, ORDINARY, timeout
from lab import guest as guest_module
from lab.network import die_with_parent, why_no_tun_device

REFUSED = "may not be opened by this program itself. "


class Helper(NetworkCase):
    def folder(self, *, rights=True, helper=True):
        """Program and helper as a package installs them, for every user."""
        self.need_program("setcap")
        folder = self.scratch()
        for name in ("vnxtest-cli", *(["vnxtest-open"] if helper else [])):
            shutil.copy(pathlib.Path(guest_module.program()).with_name(name), folder / name)
            os.chmod(folder / name, 0o755)
        if helper and rights:
            self.grant(folder / "vnxtest-open")
        return folder

    def grant(self, file):
        granted = subprocess.run(["setcap", "cap_net_raw,cap_net_admin+ep", file], capture_output=True, text=True)
        if granted.returncode != 0:
            self.skipTest(f"setcap does not work here: {granted.stderr.strip()}")

    def refused(self, folder, *wanted, library="pcap", mode="tap", prefix=(), prefix_first=False, **options):
        guest = self.run_program(*self.arguments(["run"], mode, library=library, **options), "--duration", 5,
                                 "--proceed", namespace=self.host, executable=str(folder / "vnxtest-cli"),
                                 prefix=[*prefix, *ORDINARY] if prefix_first else [*ORDINARY, *prefix])
        self.assert_refused(guest, *wanted)
        self.assert_nothing_left(guest)
        return guest

    def test_what_is_missing_is_said(self):
        self.refused(self.folder(helper=False), REFUSED + "Its helper, .* is missing", "setcap .*vnxtest-open")
        self.refused(self.folder(rights=False), REFUSED + "Its helper would do it if it had the rights",
                     "setcap .*vnxtest-open", "or run vnxtest-cli as root")
        self.refused(self.folder(), REFUSED + "Its helper .* gets no rights here", prefix=["setpriv", "--no-new-privs"])
        self.refused(self.folder(), REFUSED + "Its helper .* gets no rights here: .* a container without the rights",
                     prefix=["setpriv", "--bounding-set=-net_admin"], prefix_first=True)
        root = self.run_program(*self.arguments(["run"], "tap", library="pcap"), "--duration", 5, "--proceed", namespace=self.host,
                                executable=str(self.folder(helper=False) / "vnxtest-cli"),
                                prefix=["setpriv", "--bounding-set=-net_raw,-net_admin"])
        self.assert_refused(root, "Its helper, .* is missing. Install vnxtest-open as", "Root's needs no rights")
        self.assertNotIn("as root", root.errors())
        broken = self.folder(rights=False)
        shutil.copy("/bin/true", broken / "vnxtest-open")
        self.grant(broken / "vnxtest-open")
        self.refused(broken, "has ended without an answer")

    def test_the_report_tells_what_the_helper_can_do(self):
        report = {}
        for rights in (True, False):
            done = self.run_program("report", namespace=self.host, prefix=ORDINARY,
                                    executable=str(self.folder(rights=rights) / "vnxtest-cli"))
            self.assertEqual(done.status, 0, done.story())
            report[rights] = done.text()
        self.assertNotIn("could not be opened", report[True])
        self.assertRegex(report[False], r'(?s)Your default adapter "adapter" could not be opened: .*sudo setcap.*No usable adapters.*setcap')
        self.assertNotIn("Connect a network adapter", report[False])

    def test_the_guest_is_not_the_host(self):
        folder = self.folder()
        self.host.ip("route", "add", "default", "via", PEER_IP)
        of_adapter = "The guest's MAC address is that of an adapter of this host"
        self.refused(folder, REFUSED + "The helper has refused it. " + of_adapter + ". Choose another MAC address for the guest",
                     guest_mac=self.host.mac_of("adapter"))
        self.refused(folder, "The guest's IP address is one of this host's own. Choose another IP address", guest_ip=HOST_IP)
        self.refused(folder, "The guest's IP address is that of a gateway of this host", guest_ip=PEER_IP, gateway=None)
        self.host.ip("route", "add", "10.99.0.0/16", "table", "77", "nexthop", "via", "10.77.0.51", "nexthop", "via", "10.77.0.52")
        self.host.ip("nexthop", "add", "id", "1", "via", "10.77.0.53", "dev", "adapter")
        for gateway in ("10.77.0.51", "10.77.0.52", "10.77.0.53"):
            self.refused(folder, "The guest's IP address is that of a gateway of this host", guest_ip=gateway)
        for prefix in ("10.77.0.96/28", "0.0.0.0/0"):  # such a route for everything makes nobody the host
            self.host.ip("route", "add", "local", prefix, "dev", "lo")
        self.refused(folder, "The guest's IP address is one of this host's own", guest_ip="10.77.0.111")
        for ip in ("127.0.0.9", "10.77.0.0", "10.77.0.255"):
            self.refused(folder, "The guest's IP address cannot be a station's", guest_ip=ip)
        if not why_no_tun_device():
            self.addCleanup(os.chmod, "/dev/net/tun", os.stat("/dev/net/tun").st_mode & 0o777)
            os.chmod("/dev/net/tun", 0o666)
            for ip, why in (("8.8.8.8", "is outside the subnet of the host adapter"), ("127.0.0.9", "cannot be a station's"),
                            (PEER_IP, "is that of a gateway"), (HOST_IP, "is one of this host's own")):
                self.refused(folder, f"The guest's IP address {why}", library="tun", mode="tun", guest_ip=ip, guest_mac=None)

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
        client = pathlib.Path(helper_client.__file__)
        folder = self.folder()
        shutil.copy(client, folder)
        user = subprocess.Popen(
            self.host.command(*ORDINARY, sys.executable, "-B", folder / client.name, folder / "vnxtest-open", "adapter", "other",
                              GUEST_MAC, GUEST_IP),
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

    @timeout(200)
    def test_garbage(self):
        """As root, so that nothing but the check stands between a request and what it asks for."""
        helper = pathlib.Path(guest_module.program()).with_name("vnxtest-open")
        good = [helper_client.record(helper_client.GUEST, "adapter", GUEST_MAC, GUEST_IP),
                helper_client.record(helper_client.ARP, "adapter"),
                helper_client.record(helper_client.TUN, "adapter", ip=GUEST_IP, host_end=HOST_IP, mtu=1500, queue=100,
                                     device="vnxtun7")]
        generator = random.Random(11)
        answered = {}
        with self.host.entered():
            for request in good:
                error, _, _, descriptor, status = helper_client.ask(helper, request)
                self.assertEqual((error, status), (0, 0))
                os.close(descriptor)
            for round_ in range(400):
                request = bytearray(generator.choice(good))
                for _ in range(generator.randint(1, 3)):
                    request[generator.randrange(len(request))] = generator.randrange(256)
                if round_ % 4 == 0:
                    request = request[:generator.randrange(len(request))] + generator.randbytes(generator.randrange(80))
                error, refusal, call, descriptor, status = helper_client.ask(helper, bytes(request))
                self.assertIn(status, (0, 1), f"{request.hex()}: {error}, {call}")
                self.assertEqual(status == 0, descriptor is not None)
                answered[error] = answered.get(error, 0) + 1
                if descriptor is not None:
                    os.close(descriptor)
        self.assertGreater(answered.get(errno.EINVAL, 0), 200, answered)
        self.assertEqual(self.host.links(), self.links_before)

    def test_by_hand_and_with_strange_descriptors(self):
        helper = pathlib.Path(guest_module.program()).with_name("vnxtest-open")
        if not why_no_tun_device():  # what fails is named: one descriptor for the device, none for the socket behind it
            request = helper_client.record(helper_client.TUN, "adapter", ip=GUEST_IP, host_end=HOST_IP, mtu=1500, queue=100,
                                           device="vnxtun7")
            few = [shutil.which("setpriv"), "--bounding-set=-sys_resource", shutil.which("prlimit")]
            with self.host.entered():
                for most, failing in ((5, "socket"), (6, "")):
                    error, _, call, descriptor, _ = helper_client.ask(helper, request, [*few, f"--nofile={most}:{most}"])
                    self.assertEqual((error, call), (errno.EMFILE if failing else 0, failing), most)
                    if descriptor is not None:
                        os.close(descriptor)
        done = subprocess.run([helper], stdin=subprocess.DEVNULL, capture_output=True, text=True)
        self.assertEqual(done.returncode, 2)
        self.assertIn("start this program; it does nothing by itself", done.stderr)
        done = subprocess.run(["bash", "-c", f'exec 0<&- 1>&- 2>&- 3<>"$0"; {helper}', self.scratch() / "file"])
        self.assertEqual(done.returncode, 2)
