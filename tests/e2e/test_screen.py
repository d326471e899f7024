"""What a person sees: the program with both outputs on one terminal."""

import fcntl
import os
import pty
import re
import termios
import threading

from cases import VERDICT, ping_statistics
from lab.guest import STAMP
from test_terminal import ECHO_HOST, SILENT, TerminalCase

LIVE = re.compile(rb"\d+ sent, \d+ lost, latest \d+\.\d{3} ms, median \d+\.\d{3} ms, \d+ s left")


class Screen:
    """A terminal, read as the program writes."""

    def __init__(self, case):
        self.keys, self.side = pty.openpty()
        fcntl.ioctl(self.side, termios.TIOCSWINSZ, b"\x18\x00\x78\x00" + bytes(4))  # 24 lines of 120
        self.raw = b""
        self._changed = threading.Condition()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        case.addCleanup(os.close, self.keys)

    def _read(self):
        while True:
            try:
                piece = os.read(self.keys, 4096)
            except OSError:
                return  # the program has ended
            with self._changed:
                self.raw += piece
                self._changed.notify_all()

    def wait_for(self, pattern):
        with self._changed:
            assert self._changed.wait_for(lambda: re.search(pattern, self.raw), 20), self.raw

    def lines(self):
        """What stands there in the end, without colours; a line is overwritten from its beginning."""
        self._reader.join(20)
        lines = []
        for written in re.sub(rb"\x1b\[\d+m", b"", self.raw).decode("utf-8").replace("\r\n", "\n").split("\n"):
            line = ""
            for part in written.split("\r"):
                line = part + line[len(part):]
            lines.append(line.rstrip(" "))
        return lines


class OnOneTerminal(TerminalCase):
    def begin_on(self, screen, *arguments, environment=(), **options):
        def take_terminal():
            os.setsid()
            fcntl.ioctl(2, termios.TIOCSCTTY, 0)

        guest = self.start("--library", "sim", *arguments, output=screen.side, errors=screen.side, prepare=take_terminal,
                           environment={"XDG_CONFIG_HOME": str(self.folder), "TERM": "xterm", **dict(environment)}, **options)
        os.close(screen.side)
        return guest

    def test_a_live_line_leaves_nothing_behind(self):
        for target, status, colour, environment in ((ECHO_HOST, 0, b"\x1b[32m", {}), (SILENT, 1, b"\x1b[31m", {}),
                                                    (ECHO_HOST, 0, b"", {"NO_COLOR": "1"})):
            with self.subTest(target=target, colour=colour):
                screen = Screen(self)
                guest = self.begin_on(screen, "ping", target, "--no-report", "--count", 25, "--delay", 40, "--timeout", 100,
                                      environment=environment)
                self.assertEqual(guest.wait_end(), status, screen.raw)
                lines = screen.lines()
                self.assertRegex(screen.raw, LIVE if status == 0 else rb"\d+ sent, [1-9]\d* lost, \d+ s left")
                self.assertEqual([line for line in lines[:-2] if not STAMP.match(line)], [], "only whole lines of the document")
                self.assertRegex(lines[-2] + "\n", VERDICT)
                self.assertEqual(lines[-1], "")
                self.assertIn(colour + b"vnxtest-cli: ", screen.raw)
                self.assertEqual(b"\x1b" in screen.raw, colour != b"")
                document = "".join(STAMP.sub("", line) + "\n" for line in lines[:-2])
                self.assertEqual(ping_statistics(document)["sent"], 25)

    def test_a_key_asks_how_it_stands(self):
        screen = Screen(self)
        guest = self.begin_on(screen, "ping", ECHO_HOST, "--no-report", "--count", 1000, "--delay", 100)
        screen.wait_for(rb"Reply to ping #3 ")
        os.write(screen.keys, b"\x1c")  # Ctrl+\
        screen.wait_for(rb"vnxtest-cli: so far \d+ pings sent, \d+ answered, 0 timed out\. Round trips: ")
        asked = screen.raw.count(b"Sending ping")
        screen.wait_for(rb"Reply to ping #%d " % (asked + 3))  # none is open
        self.assertEqual(guest.stop()[0], 0)
        self.assertRegex("\n".join(screen.lines()), r"vnxtest-cli: so far (.*\n)*.*vnxtest-cli: interrupted after \d+ pings")
        screen = Screen(self)
        guest = self.begin_on(screen, "run", "--no-report")
        screen.wait_for(rb"enabled/up")
        os.write(screen.keys, b"\x1c")
        screen.wait_for(rb"vnxtest-cli: so far the guest answered 0 pings, ")
        self.assertEqual(guest.stop()[0], 0)
        self.assertRegex(screen.lines()[-2], "^vnxtest-cli: the guest answered 0 pings, ")

    def test_quiet(self):
        for arguments, said in ((("ping", ECHO_HOST, "--count", 2, "--delay", 1), VERDICT),
                                (("run", "--duration", 0.1), "^vnxtest-cli: the guest answered 0 pings, .*\n\\Z")):
            for output in ((), ("--output", self.document)):
                guest = self.begin(*arguments, "-q", *output)
                self.assertEqual((guest.wait_end(), guest.lines()), (0, []), guest.story())
                self.assertRegex(guest.errors(), said)
                self.assertEqual(guest.errors().count("\n"), 1)
            self.assertRegex(self.document.read_text("utf-8"), r"(?s)Detected Adapters.*enabled/up.*closed\.\.\.")
        guest = self.begin("ping", ECHO_HOST, "-q", "--size", 65507)
        self.assertEqual((guest.wait_end(), guest.lines()), (2, []))
        self.assertIn("vnetx32_write failed;", guest.errors())
        self.go("report", "-q", status=2, note="--quiet has no effect with the command report")
