"""What cannot work: the message, a hint on standard error, exit status 2, and nothing left open."""

import os
import re
import signal
import time

from lab.cases import GUEST_IP, HOST_IP, PEER_IP, NetworkCase, as_ordinary_user, program_for_everybody


class Failures(NetworkCase):
    def assert_fails(self, guest, *errors, document=None):
        self.assert_refused(guest, *errors)
        if document:
            self.assertRegex(guest.text(), document, guest.story())
        self.assertNotIn("terminate called", guest.errors())
        self.assert_nothing_left(guest)

    def test_an_adapter_that_is_not_there(self):
        for adapter, text in (("10.99.99.99", "No such host adapter exists with this IP address"),
                              ("02:99:99:99:99:99", "No such host adapter exists with this MAC address"),
                              ("nosuch0", "nosuch0")):
            with self.subTest(adapter=adapter):
                self.assert_fails(self.ping(PEER_IP, "tap", adapter=adapter), text)

    def test_a_bad_guest_mac(self):
        # A group address, and one of a maker's: a guest's own is one station's and locally administered.
        for mac in ("03:77:00:00:00:64", "00:77:00:00:00:64"):
            with self.subTest(mac=mac):
                self.assert_fails(self.ping(PEER_IP, "tap", guest_mac=mac), "The hardware address you entered is invalid")
        for mac in ("02:77:00:00:00", "02:77:00:00:00:gg", "hello"):
            with self.subTest(mac=mac):
                self.assert_fails(self.ping(PEER_IP, "tap", guest_mac=mac), "--guest-mac")

    def test_an_adapter_that_is_down(self):
        for mode in ("tap", "tun"):
            with self.subTest(mode=mode):
                self.host.ip("link", "set", "adapter", "down")
                guest = self.ping(PEER_IP, mode, "--proceed")
                self.assert_fails(guest, document=r"\*\* CreateInterface\(.*\): .* failed; errno=\d+: \w+")
                self.host.ip("link", "set", "adapter", "up")

    def test_a_missing_privilege(self):
        folder = self.scratch()
        copy = program_for_everybody(folder)
        for library in ("pcap", "tun"):
            for command in (["run"], ["ping", PEER_IP]):
                with self.subTest(library=library, command=command):
                    options = self.arguments(command, "tap", library=library)
                    guest = self.run_program(*options, "--proceed", namespace=self.host, executable=copy,
                                             prefix=as_ordinary_user())
                    self.assert_fails(guest, r"(?i)cap_net_(raw|admin)|setcap|root",
                                      document=r"\*\* CreateInterface\(10\.77\.0\.1\): .* failed; "
                                               r"errno=(1|13): (Operation not permitted|Permission denied)\n")

    def test_an_adapter_that_vanishes(self):
        for extra in ((), ("--socket-notify",)):
            with self.subTest(extra=extra):
                guest = self.run_guest("tap", *extra)
                self.peer.ip("link", "del", "far")
                started = time.monotonic()
                status = guest.wait_end(15)
                self.assertLess(time.monotonic() - started, 5)
                self.assertEqual(status, 2, guest.story())
                self.assertTrue(guest.errors().strip(), guest.story())
                self.assertRegex(guest.text(), r"\*\*\* MonitorThread: interface \S+ vnetx32_read failed; errno=\d+: ")
                self.assertIn("*** Statistics for Interface", guest.text())
                self.lab.veth(self.host, "adapter", self.peer, "far", HOST_IP + "/24", PEER_IP + "/24")

    def test_an_adapter_that_vanishes_during_a_test(self):
        guest = self.start(*self.arguments(["ping", PEER_IP]), "--count", 1000, "--delay", 10, namespace=self.host)
        guest.wait_for(" Reply to ping #5 ")
        self.peer.ip("link", "del", "far")
        self.assertEqual(guest.wait_end(15), 2, guest.story())
        self.assertIn("** END PING TEST **", guest.text())
        self.assertIn("*** Statistics for Interface", guest.text())

    def test_a_file_that_cannot_be_written(self):
        for option in ("--output", "--json"):
            with self.subTest(option=option):
                guest = self.ping(PEER_IP, "tap", "--count", 1, "--delay", 0, option, "/nonexistent/folder/file")
                self.assert_refused(guest, "/nonexistent/folder/file", "No such file or directory")
        guest = self.ping(PEER_IP, "tap", "--count", 1, "--delay", 0, "--output", "/dev/full")
        self.assert_refused(guest, "/dev/full", "No space left on device")

    def test_a_closed_standard_output(self):
        """The reader of the document goes away: an end, not a hang."""
        read, write = os.pipe()
        guest = self.start(*self.arguments(["ping", PEER_IP]), "--count", 200, "--delay", 10, namespace=self.host,
                           output=os.fdopen(write, "wb"))
        guest._file.close()
        time.sleep(0.3)
        os.close(read)
        status = guest.wait_end(30)
        self.assertIn(status, (0, 2, -signal.SIGPIPE), guest.errors())

    def test_two_guests_at_one_adapter(self):
        """They do not disturb each other; one address for both is the user's own affair."""
        first = self.run_guest("tap")
        second = self.run_guest("tun", guest_ip="10.77.0.101", guest_mac="02:77:00:00:00:65")
        self.assert_pinged(self.peer, GUEST_IP, 5, "-i", "0.02")
        self.assert_pinged(self.peer, "10.77.0.101", 5, "-i", "0.02")
        self.assertEqual(first.stop()[0], 0)
        self.assertEqual(second.stop()[0], 0)
        self.assertEqual(len(re.findall("Someone is PINGing", first.text())), 5)
        self.assertEqual(len(re.findall("Someone is PINGing", second.text())), 5)
