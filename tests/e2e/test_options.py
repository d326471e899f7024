"""Options, profile values and libraries that are wrong: each is named, and the exit status is 2."""

import os
import random
import sys

from lab.cases import Case, as_ordinary_user, program_for_everybody

SIM = ("--library", "sim", "--mode", "tap", "--adapter", "198.18.0.1", "--guest-ip", "198.18.0.100",
       "--gateway", "198.18.0.254", "--no-report")
PING = ("ping", "198.18.0.2", *SIM, "--count", "1", "--delay", "0")

# Arguments, and what standard error has to name.
WRONG = (
    ((), r"(?i)command"),
    (("dance",), r"report, adapters, run or ping"),
    (("--frobnicate", "run"), r"--frobnicate"),
    (("ping", *SIM), r"(?i)target"),
    (("ping", "", *SIM), r"(?i)target"),
    (("ping", "no.such.host.invalid", *SIM), r"no\.such\.host\.invalid|valid IP address or name"),
    (("ping", "1.2.3.4.5", *SIM), r"valid IP address or name"),
    ((*PING, "--size", "7"), r"--size"),
    ((*PING, "--size", "65508"), r"--size.*65507"),
    ((*PING, "--size", "-1"), r"--size"),
    ((*PING, "--size", "12x"), r"--size"),
    ((*PING, "--size", "99999999999999999999"), r"--size"),
    ((*PING, "--timeout", "10001"), r"--timeout"),
    ((*PING, "--timeout", ""), r"--timeout"),
    ((*PING, "--from", "3"), r"--from"),
    (("ping", "198.18.0.2", *SIM, "--count", "65536"), r"--count"),
    (("ping", "198.18.0.2", *SIM, "--count", "0"), r"--count"),
    (("ping", "198.18.0.2", *SIM, "--delay", "1e3"), r"--delay"),
    ((*PING, "--guest-mac", "02:00:00:00:00"), r"--guest-mac"),
    ((*PING, "--gateway", "198.18.0"), r"--gateway"),
    ((*PING, "--gateway", "256.1.1.1"), r"--gateway"),
    ((*PING, "--mode2", "bridge"), r"--mode2"),
    ((*PING, "--debug=sometimes"), r"--debug"),
    ((*PING, "--driver-buffer", "63"), r"--driver-buffer"),
    ((*PING, "--dll-buffer", "1025"), r"--dll-buffer"),
    ((*PING, "--duration", "-1"), r"--duration"),
    ((*PING, "--mode", "tun"), r"--mode"),  # twice
    (("report", "--count", "3"), r"--count"),
    (("run", *SIM, "--size", "8"), r"--size"),
    (("ping", "198.18.0.2", "--library", "sim:loss=101"), r"loss"),
    (("ping", "198.18.0.2", "--library", "sim:luck=1"), r"luck"),
    (("ping", "198.18.0.2", "--library", "sim:loss"), r"loss"),
    (("ping", "198.18.0.2", "--library", ""), r"--library"),
    (("report", "--library", "/no/such/library.so"), r"/no/such/library\.so"),
)


class WrongOptions(Case):
    def test_each_is_named(self):
        for arguments, wanted in WRONG:
            with self.subTest(arguments=arguments):
                guest = self.run_program(*arguments)
                self.assert_refused(guest, wanted)
                self.assertNotIn("terminate called", guest.errors())
                self.assertNotIn("enabled/up", guest.text())

    def test_random_arguments_never_crash(self):
        chance = random.Random(5)
        words = ("run", "ping", "report", "--count", "--size", "--library", "sim", "sim:", "sim:loss=", "sim:,,=", "-1",
                 "0", "99999999999", "\u00fc\u4e16", "\udcff\udcfe", "", "--", "-", "--json", "--debug=", "--duration", "0.05",
                 "--adapter", "198.18.0.1", "%s%n", "a" * 5000, "--help", "--mode", "tap", "=", "--guest-ip=")
        for _ in range(150):
            arguments = [os.fsencode(chance.choice(words)) for _ in range(chance.randint(1, 7))]
            arguments = [os.fsdecode(word) for word in arguments]
            guest = self.run_program(*arguments, "--duration", "0.05", "--no-report", timeout=20)
            self.assertIn(guest.status, (0, 1, 2), f"{arguments}\n{guest.story()}")

    def test_help_and_version(self):
        for option in ("--help", "--version"):
            guest = self.run_program(option)
            self.assertEqual(guest.status, 0, guest.story())
            self.assertEqual(guest.errors(), "")
            self.assertTrue(guest.lines())
        help_text = "\n".join(self.run_program("--help").lines())
        for option in ("--library", "--adapter", "--adapter2", "--guest-ip", "--guest-mac", "--mode", "--count", "--size",
                       "--timeout", "--delay", "--from", "--gateway", "--driver-buffer", "--dll-buffer",
                       "--socket-notify", "--debug", "--duration", "--proceed", "--no-report", "--output", "--json",
                       "--version", "--help", "report", "adapters", "run", "ping"):
            self.assertIn(option, help_text)

    def test_addresses_that_are_none(self):
        for option, values in (("--guest-ip", ("1.2.3", "1.2.3.400", "hello")),
                               ("--adapter", ("198.18.0.77", "no such adapter", "..."))):
            for value in values:
                with self.subTest(option=option, value=value):
                    arguments = list(PING)
                    arguments[arguments.index(option) + 1] = value
                    self.assert_refused(self.run_program(*arguments))

    def test_a_library_that_does_not_keep_the_contract(self):
        """A real shared object without the exports: the first missing one is named."""
        libc = next(line.split()[-1] for line in open(f"/proc/{os.getpid()}/maps", encoding="ascii")
                    if "/libc.so" in line or "/libc-" in line)
        guest = self.run_program("report", "--library", libc)
        self.assert_refused(guest, "vnetx32_open")
        guest = self.run_program("report", "--library", sys.executable if os.path.isfile(sys.executable) else "/bin/sh")
        self.assert_refused(guest)


class Profile(Case):
    def profile(self, text):
        folder = self.scratch()
        path = folder / "VNXTest64UD"
        path.mkdir(mode=0o777)
        os.chmod(path, 0o777)
        if text is not None:
            (path / "VNXTest64UD.conf").write_bytes(text)
        return {"XDG_CONFIG_HOME": str(folder)}, path / "VNXTest64UD.conf"

    def test_values_not_given_come_from_the_profile(self):
        environment, _ = self.profile(b"[Settings]\nNumPings=2\nPingDataSize=56\nPingDelay=5\nPingTimeout=333\n")
        guest = self.run_program("ping", "198.18.0.2", *SIM, environment=environment)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertIn(" ping  -c 2  -i 5  -s 56  -w 333  198.18.0.2\n", guest.text())

    def test_save_stores_what_was_used(self):
        environment, path = self.profile(None)
        guest = self.run_program(*PING, "--size", "99", environment=environment)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertFalse(path.exists(), "nothing is stored unless asked")
        guest = self.run_program(*PING, "--size", "99", "--save", environment=environment)
        self.assertEqual(guest.status, 0, guest.story())
        stored = path.read_text(encoding="utf-8")
        for line in ("[Settings]", "PingDataSize=99", "WhoPingName=198.18.0.2", "Interface1_strAdapter_IPAddr=198.18.0.1"):
            self.assertIn(line, stored)

    def test_damaged_profiles(self):
        bad = (b"\x00\xff\xfe garbage \x01" * 50, b"[Settings\nNumPings=3", b"=1\n=2\n[[[", b"[Settings]\nNumPings=hello\n",
               b"[Settings]\nNumPings=99999999999999\nPingDataSize=-4\nPingDelay=\n",
               b"[Settings]\nInterface1_strGuest_MACAddr=zz\nDebugFlags=0xZZ\nSocketNotifyMode=maybe\n",
               b"[Settings]\n" + b"A" * 200000 + b"=1\n", b"\xef\xbb\xbf[Settings]\r\nNumPings=1\r\n")
        for text in bad:
            with self.subTest(text=text[:40]):
                environment, path = self.profile(text)
                guest = self.run_program(*PING, environment=environment)
                self.assertIn(guest.status, (0, 2), guest.story())
                if guest.status == 2:
                    self.assertTrue(guest.errors().strip(), guest.story())
                self.assertEqual(path.read_bytes(), text, "the file is not touched")

    def test_values_out_of_range(self):
        """What an option would refuse is not taken from the profile either: the standard value, and a word."""
        environment, _ = self.profile(b"[Settings]\nPingDataSize=4000000000\nNumPings=1\nPingDelay=0\n")
        guest = self.run_program("ping", "198.18.0.2", *SIM, environment=environment)
        self.assertEqual(guest.status, 0, guest.story())
        self.assertIn("PingDataSize", guest.errors())
        self.assertIn(" bytes=32 to ", guest.text())

    def test_a_profile_that_cannot_be_written(self):
        environment, path = self.profile(None)
        copy = program_for_everybody(self.scratch())
        os.chmod(path.parent, 0o555)
        guest = self.run_program(*PING, "--save", environment=environment, prefix=as_ordinary_user(), executable=copy)
        os.chmod(path.parent, 0o777)
        self.assertIn("Assertion Failed", guest.text(), "a failed write is an assertion line, the test goes on")
        self.assertIn(" Ping test successful.", guest.text())
