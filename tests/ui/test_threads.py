"""The system refuses the window a thread: a box says what was not done and why, and the window goes on."""

import os
import signal

from cases import DesktopCase

CAUSE = "could not be started; errno=11: Resource temporarily unavailable"


class Threads(DesktopCase):
    arguments = None

    def start_without(self, first, last):
        """The window; from each refuse_threads() on, thread number `first` to `last` is refused."""
        module = os.environ.get("VNXTEST_FAIL_THREAD")
        if not module:
            self.skipTest("needs the module that refuses threads, which a sanitizer does not bear")
        self.program = self.start("--library", "sim", prefix=(
            "env", f"LD_PRELOAD={module}", f"FAIL_THREAD={first}", f"FAIL_THREAD_LAST={last}", "FAIL_THREAD_ON_SIGNAL=1",
            f"FAIL_THREAD_MARK={self.desktop.path / 'mark'}"))

    def refuse_threads(self):
        os.kill(self.program.process.pid, signal.SIGUSR2)

    def told(self, what, where):
        """The box is there; Return closes it."""
        box = self.program.dialog("VNXTest64UD")
        self.assertRegex(box.find("label").name, rf"^{what}\n\n\*\* {where} {CAUSE}$")
        self.desktop.keys("Return")
        self.program.wait_no_dialog()

    def ask_to_ping(self):
        """The threads of it are the target's look-up, the one that sends and the one that waits."""
        self.program.start_guest()
        dialog = self.program.choose_dialog("t", "Start ping test...", "Ping who?")
        for name, value in (("To", "198.18.0.2"), ("Count", 2), ("Delay in milliseconds", 1)):
            dialog.find("text", name).fill(value)
        self.refuse_threads()
        self.desktop.keys("Return")

    def assert_pinged(self):
        self.program.wait_ping_end()
        self.assertIn("Sent 2, Received 2, Lost 0 (0%)", self.program.chart())
        self.program.stop_guest()

    def test_guest_that_cannot_be_started(self):
        self.start_without(1, 1)
        self.program.choose_dialog("t", 'Start "Vantor"...', "VNXTest64UD Parameters")
        self.refuse_threads()
        self.desktop.keys("Return")
        self.told("The guest could not be started.", r"OnStartGuest\(198\.18\.0\.1\): the monitor thread")
        self.program.start_guest()
        self.program.stop_guest()

    def test_ping_test_that_cannot_be_started(self):
        self.start_without(2, 2)
        self.ask_to_ping()
        self.told("The ping test could not be started.", "OnTestStartPing: the ping test's send thread")
        self.program.start_ping(Count=2, Delay=1)
        self.assert_pinged()

    def test_ping_test_that_cannot_be_watched(self):
        self.start_without(3, 10**6)
        self.ask_to_ping()
        self.told("The ping test could not be watched while it ran.", "PingThread: the ping test's wait thread")
        self.assert_pinged()  # what is owed at the end is there
