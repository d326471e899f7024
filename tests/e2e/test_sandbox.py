"""The filter of system calls: in every mode the guest does all its work under it, and nothing else can be done."""

import itertools
import os
import pathlib
import re
import signal
import threading
import time

from cases import GUEST_IP, PEER_IP, Case, NetworkCase, timeout
from lab.network import why_no_tun_device

SIMULATED = ["--library", "sim", "--no-report", "--proceed"]
OPTIONS = [(), ("--socket-notify",), ("--debug",), ("--output", "DOCUMENT", "--json", "RESULTS"), ("--save",),
           ("--socket-notify", "--debug", "--save", "--json", "RESULTS")]


signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGSYS})  # as a starter may have it


class Sandbox:
    def wait_filtered(self, guest):
        """Until the kernel says of every thread that it is under a filter, whose signal it takes, and can have no more rights."""
        deadline = time.monotonic() + 10
        while True:
            found = set()
            for status in pathlib.Path(f"/proc/{guest.pid}/task").glob("*/status"):
                try:
                    text = status.read_text(encoding="ascii")
                    blocked = int(re.search("SigBlk:\t(.*)", text)[1], 16) >> signal.SIGSYS - 1 & 1
                    found.add((*re.findall(r"^(?:NoNewPrivs|Seccomp):\t(.*)$", text, re.M), blocked))
                except (FileNotFoundError, ProcessLookupError):
                    pass  # a thread that has ended meanwhile
            if found == {("1", "2", 0)}:
                return guest
            self.assertLess(time.monotonic(), deadline, f"{found}\n{guest.story()}")
            time.sleep(0.05)

    def with_files(self, options):
        folder = self.scratch()
        return [folder / option.lower() if option.isupper() else option for option in options]

    def both_at_work(self, ping, run, options, *answers, **where):
        """A ping test, unless there is nobody to ping, and a guest, whom others may ping then."""
        if ping:
            patience = [] if "--timeout" in options else ["--timeout", 5000]
            tested = self.run_program(*ping, *options, "--count", 5, "--delay", 20, *patience, **where)
            self.assertEqual((tested.status, self.complaints(tested)), (0, ""), tested.story())
        guest = self.wait_filtered(self.start(*run, *options, **where).wait_up())
        for namespace in answers:
            self.assert_pinged(namespace, GUEST_IP, 3)
        self.assert_ends_well(guest)
        return guest

    def assert_ends_well(self, guest):
        self.assertEqual((guest.stop()[0], guest.errors()), (0, ""), guest.story())
        self.assertIn("*** Statistics", guest.text())


class Simulated(Sandbox, Case):
    @timeout(180)
    def test_every_option_on_the_simulated_lan(self):
        for mode, options in itertools.product(("tun", "tap"), OPTIONS):
            with self.subTest(mode=mode, options=options):
                self.both_at_work(["ping", "198.18.0.2"], ["run"], [*SIMULATED, "--mode", mode, *self.with_files(options)])

    def test_a_pipe_as_output_and_a_second_interrupt(self):
        fifo = self.scratch() / "document"
        os.mkfifo(fifo)
        read = []
        reader = threading.Thread(target=lambda: read.append(fifo.read_text(encoding="utf-8")))
        reader.start()
        self.assert_ends_well(self.wait_filtered(self.start("run", *SIMULATED, "--output", fifo).wait_up()))
        reader.join()
        self.assertIn("*** Statistics", read[0])
        for options in OPTIONS:
            guest = self.wait_filtered(self.start("run", *SIMULATED, *self.with_files(options)).wait_up())
            guest.send_signal(signal.SIGTERM)
            guest.send_signal(signal.SIGINT)
            self.assertIn(guest.wait_end(), (0, 2), guest.story())  # ended in order before the second one, or at once
            self.assertNotIn("is not allowed", guest.errors())

    def test_signals_that_somebody_sends(self):
        guest = self.wait_filtered(self.start("run", *SIMULATED).wait_up())
        for _ in range(3):
            guest.send_signal(signal.SIGRTMAX - 1)  # that by which its threads were asked to give up their rights
        time.sleep(0.2)
        self.assert_ends_well(guest)
        guest = self.wait_filtered(self.start("run", *SIMULATED).wait_up())
        guest.send_signal(signal.SIGSYS)
        self.assertEqual((guest.wait_end(10), guest.errors()), (-signal.SIGSYS, ""), guest.story())


class OnAWire(Sandbox, NetworkCase):
    @timeout(300)
    def test_every_option_on_a_wire(self):
        ordinary = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=+net_raw",
                    "--ambient-caps=+net_raw"]
        copy = self.installed()
        for library, mode, prefix in (("pcap", "tap", []), ("pcap", "tun", []), ("pcap", "tun", ordinary), ("tun", "tap", []),
                                      ("tun", "tun", [])):
            if library == "tun" and why_no_tun_device():
                continue
            pinging, pinged = (self.arguments(["ping", PEER_IP], mode), self.peer) if library == "pcap" else (None, self.host)
            for options in OPTIONS:
                with self.subTest(library=library, mode=mode, prefix=prefix, options=options):
                    self.assert_nothing_left(self.both_at_work(
                        pinging, self.arguments(["run"], mode, library=library), self.with_files(options), pinged,
                        namespace=self.host, prefix=prefix, executable=copy))

    def test_what_a_guest_was_not_written_for_ends_it(self):
        if "VNXTEST_SANITIZED" in os.environ:
            self.skipTest("there is no filter in a build with a sanitizer")
        intruder = os.environ.get("VNXTEST_INTRUDER") or self.skipTest("the intruder was not built")
        library = os.environ.get("VNXTEST_SHARED_OBJECT") or self.skipTest("the shared library was not built")
        ping = ["ping", PEER_IP, "--count", 1000]
        for arguments, status in (([*SIMULATED, "run"], 2), (self.arguments(["run"]), 2), (self.arguments(ping), 2),
                                  ([*self.arguments(["run"]), "--no-sandbox"], 42),
                                  # Code from a file cannot be foreseen: it is kept from nothing.
                                  (self.arguments(["run"], library=library), 42)):
            with self.subTest(arguments=arguments):
                guest = self.start(*arguments, namespace=self.host, prefix=["env", f"LD_PRELOAD={intruder}"])
                self.wait_filtered(guest.wait_up()).send_signal(signal.SIGUSR2)
                self.assertEqual(guest.wait_end(10), status, guest.story())
                ended = "vnxtest-cli: Ended: the system call execve (59) is not allowed to a running guest"
                self.assertEqual(guest.errors().startswith(ended), status == 2, guest.story())
                self.assertIn("promiscuity 0", self.host.ip("-d", "link", "show", "dev", "adapter").stdout)

    def test_the_adapter_vanishes(self):
        for mode, options in (("tap", ()), ("tun", ("--socket-notify", "--debug"))):
            for change in (("link", "set", "adapter", "down"), ("link", "del", "adapter")):
                with self.subTest(change=change, mode=mode, options=options):
                    guest = self.wait_filtered(self.run_guest(mode, *options))
                    self.host.ip(*change)
                    self.assertEqual(guest.wait_end(10), 2, guest.story())
                    self.assertIn("The guest has stopped because an interface failed", guest.errors())
                    self.assertRegex(guest.errors(), r"vnetx32_read failed; errno=\d+: ")
                    self.assertRegex(guest.text(), r"(?s)\*\*\* Statistics for Interface.* closed\.\.\. \(ip=")
                    self.host.ip("link", "set", "adapter", "up", check=False)
            self.cable("adapter", "far", "10.77.0.1", "10.77.0.2")
