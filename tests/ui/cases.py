"""What the cases of the window stand on: a display of their own, and the real program on it."""

import os
import unittest

from lab.desktop import Desktop, Program, missing, wait


class DesktopCase(unittest.TestCase):
    """A case with a display and, unless `arguments` is None, the program on it."""

    label = "ui"
    case_timeout = 300
    arguments = ("--library", "sim")
    screen = "1280x1000"

    def setUp(self):
        reason = missing() or (None if "VNXTEST_WINDOW" in os.environ else "VNXTEST_WINDOW does not name the program")
        if reason:
            self.skipTest(reason)
        self.desktop = Desktop(self.screen).__enter__()
        self.addCleanup(self.desktop.__exit__)
        self.addCleanup(lambda: self.assertEqual(self.desktop.noise(), [], "the toolkit complains of the program"))
        if self.arguments is not None:
            self.program = self.start(*self.arguments)

    def start(self, *arguments, prefix=()):
        program = Program(self.desktop, *arguments, prefix=prefix)
        self.addCleanup(program.kill)
        return program

    wait = staticmethod(wait)
