"""The system refuses a thread, each one of a run in turn: what was started is stopped, and the cause is told."""

import itertools
import os
import re

from cases import ping_statistics, timeout
from test_terminal import ECHO_HOST, TerminalCase

TWO = ("--adapter2", "198.18.0.1", "--guest-ip2", "198.18.0.222", "--socket-notify")
RUN = ("run", "--no-report", "--duration", 0.2)
PING = ("ping", ECHO_HOST, "--no-report", "--count", 2, "--delay", 1)
CAUSE = "errno=11: Resource temporarily unavailable"


class Threads(TerminalCase):
    def setUp(self):
        super().setUp()
        self.module = (os.environ.get("VNXTEST_FAIL_THREAD")
                       or self.skipTest("needs the module that refuses threads, which a sanitizer does not bear"))

    def go_without(self, command, first, last):
        """Runs with thread number `first` to `last` refused. None when it needs no such thread."""
        mark = self.folder / "mark"
        mark.unlink(missing_ok=True)
        guest = self.start("--library", "sim", *command, environment={
            "LD_PRELOAD": self.module, "FAIL_THREAD": str(first), "FAIL_THREAD_LAST": str(last), "FAIL_THREAD_MARK": str(mark),
            "XDG_CONFIG_HOME": str(self.folder)})
        guest.status = guest.wait_end(20)
        return guest if mark.stat().st_size else None

    def assert_told(self, guest):
        text = guest.text()
        self.assertRegex(guest.errors(), "(?s)^vnxtest-cli: .*" + CAUSE, guest.story())
        if re.search(r"pthread_create failed; " + CAUSE, guest.errors()):
            return  # none for interrupts or for the document: that is all that was begun
        self.assertRegex(guest.errors(), "^vnxtest-cli: The (guest|ping test) ", guest.story())
        self.assertRegex(text, rf"(?m)^\*\* .*{CAUSE}$", guest.story())
        self.assertEqual(text.count(" enabled/up..."), text.count(" closed... (ip="), guest.story())

    @timeout(500)
    def test_one_thread_is_refused_or_all_from_some_moment_on(self):
        """But for the watcher of a ping test, which is tried again, standard error's, which is done without when a test's
        verdict is all there is to write, and the one that closes packet sockets, which else its caller does, each one
        ends the run."""
        for command, all_others in itertools.product((RUN, (*RUN, *TWO), PING, (*PING, *TWO)), (False, True)):
            told = 0
            for number in range(1, 100):
                with self.subTest(command=command, number=number, all_others=all_others):
                    guest = self.go_without(command, number, 10**6 if all_others else number)
                    if guest is None:
                        break
                    self.assertIn(guest.status, (0, 2), guest.story())
                    if guest.status == 0:
                        self.assertIn("2 pings sent, none lost" if command[0] == "ping" else "", guest.errors())
                        self.assertIn(" closed... (ip=", guest.text(), guest.story())
                    else:
                        told += 1
                        self.assert_told(guest)
                        self.assertEqual("ulimit -u" in guest.errors(), "cannot go on: " in guest.errors(), guest.story())
                    if "wait thread" in guest.errors() or (guest.status == 0 and command[0] == "ping"):
                        # If nobody watched, what is owed at the end is there.
                        self.assertEqual(ping_statistics(guest.text())["received"], 2, guest.story())
                    if "wait thread" in guest.errors():
                        self.assertTrue(re.search(r"could not be started; .*\n.*(\n.*)*\*\* END PING TEST", guest.text()))
            spared = (1 if all_others else 2) if command[0] == "ping" else 0
            closing = {0} if all_others else {0, 1}  # none without the right to packet sockets
            self.assertIn(number - 1 - spared - told, closing)
            # Interrupts and the document; an interface's monitor thread, a test's sender and watcher.
            self.assertGreaterEqual(number - 1, 5 if command[0] == "ping" else 3)
