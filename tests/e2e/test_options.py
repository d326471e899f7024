"""The terminal program's command line: every range to its ends, and every refusal with its reason."""

import os
import pathlib
import re
import subprocess

from test_terminal import ECHO_HOST, TerminalCase

BEYOND = "--json /no/such/folder/file"  # refused when the rest has been taken


class Options(TerminalCase):
    def refused(self, line, *reasons):
        """The words of a command line stand between blanks; '' is an empty one, a "_" stands for a blank."""
        words = ["" if word == "''" else word.replace("_", " ") for word in line.split()]
        guest = self.run_program(*words, timeout=20)
        self.assert_refused(guest)
        self.assertEqual(([reason for reason in reasons if reason not in guest.errors()], guest.lines()), ([], []), guest.story())

    def test_ranges(self):
        for option, least, most, beyond in (
                ("--size", "8", "65507", "7 65508"), ("--count", "1", "65535", "0 65536"), ("--timeout", "0", "10000", "10001 -1"),
                ("--delay", "0", "10000", "10001"), ("--from", "1", "2", "0 3"), ("--driver-buffer", "64", "16384", "63 16385"),
                ("--dll-buffer", "16", "1024", "15 1025"), ("--duration", "0.001", "31622400", "0 -1 nan inf 31622401")):
            for value in (least, most):
                self.refused(f"ping x --library sim {option}={value} {BEYOND}", "/no/such/folder")
            for value in ["", *"x 1x _9 +9 99999999999999999999 9_9 1e1 0x9".split(), *beyond.split()]:
                self.refused(f"ping x {option}={value}", option)

    def test_wrong_command_lines(self):
        for reason, lines in (
                ("report, adapters, run or ping", ("",)), ("bogus", ("bogus", "run --bogus")), ("TARGET", ("ping", "ping ''")),
                ("b", ("ping a b",)), ("--count has no effect with the command run", ("run --count 1",)),
                ("has no effect", ("report --adapter eth0", "report --no-report", "adapters --output x")),
                ("--size", ("ping x --size 9 --size 8",)), ("--guest-ip:", ("ping x --guest-ip 10.0.0",)),
                ("--guest-ip2", ("ping x --guest-ip2 10.0.0.256",)), ("--guest-mac", ("ping x --guest-mac 02-00-5E-80-00",)),
                ("--mode", ("ping x --mode tub",)), ("--gateway", ("ping x --gateway router",)),
                ("the value is empty", ("ping x --adapter ''", "--library '' run")), ("--json FILE", ("ping x --json",)),
                ("name a file", ("ping x --json -", "ping x --output -")), ("same file", ("ping x --output f --json f",)),
                ("--debug", ("run --debug=arp", "run --debug=arp-read,", "run --debug=4294967296", "run --debug=0x", "run --debug=-1",
                             "--library ./simple.so run --debug=x"))):
            for line in lines:
                self.refused(line, reason)

    def test_options_of_the_simulated_lan(self):
        for named, allowed, lines in (
                ('"', "name=value", "loss =5 loss=5,"), ('"Loss"', "loss, dup", "Loss=5"), ('"loss"', "twice", "loss=1,dup=2,loss=3"),
                ('"loss"', "from 0 to 100 (percent)", "loss= loss=-1 loss=100.0001 loss=1e1"),
                ('"mtu"', "from 68 to 65535 (bytes)", "mtu=67 mtu=65536 mtu=1500.5"),
                ('"seed"', "whole number", "seed=18446744073709551616 seed=x")):
            for options in lines.split():
                self.refused(f"adapters --library sim:{options}", named, allowed)

    def help(self, *command, columns=80):
        guest = self.run_program(*command, "--help", environment={"COLUMNS": str(columns)})
        self.assertEqual((guest.status, guest.errors()), (0, ""))
        self.assertLessEqual(max(map(len, guest.lines())), columns, guest.story())
        return "\n".join(guest.lines())

    def test_help(self):
        """Of a command what concerns it; no line is wider than the terminal."""
        for columns in (60, 80, 100):
            everything = self.help(columns=columns)
            self.assertRegex(everything, r"\nUsage: vnxtest-cli \[OPTIONS\] COMMAND \[TARGET\]\n")
            self.assertIn("  ping TARGET", everything)
        for command, usage, there, missing in (
                ("ping", "[OPTIONS] TARGET", "--count --adapter --json --library -q,--quiet loss=PERCENT", "report adapters"),
                ("run", "[OPTIONS]", "--adapter --duration --json", "--count TARGET report"),
                ("report", "[OPTIONS]", "--output --library", "--json --adapter --count TARGET loss=PERCENT run"),
                ("adapters", "[OPTIONS]", "--json --library", "--output --adapter --count TARGET loss=PERCENT run")):
            text = self.help(command)
            self.assertIn(f"\nUsage: vnxtest-cli {command} {usage}\n", text)
            entries = re.findall(r"^  (\S+)", text, re.M)
            self.assertEqual(([name for name in there.split() if name not in entries],
                              [name for name in missing.split() if name in entries]), ([], []), text)
            self.assertNotIn("{", text)

    def test_help_and_version_of_the_window(self):
        """On standard output, without a display, and beside one that cannot be used."""
        window = pathlib.Path(os.environ.get("VNXTEST_WINDOW") or "vnxtest")
        if not window.exists():
            self.skipTest("needs the window")
        version = self.go("--version").text()
        for display in ({}, {"DISPLAY": ":4711", "WAYLAND_DISPLAY": "nobody"}):
            for word, wanted in (("--help", r"\AUsage: vnxtest \[(?s:.*)--library=<\S+>"), ("-h", "-V, --version"),
                                 ("--version", re.escape(version)), ("-V", re.escape(version))):
                done = subprocess.run([window, "--library", "sim", word], env={"HOME": str(self.folder), **display}, capture_output=True,
                                      text=True, timeout=20)
                self.assertEqual((done.returncode, done.stderr), (0, ""), word)
                self.assertRegex(done.stdout, wanted)
        with open("/dev/full", "w") as full:
            done = subprocess.run([window, "-V"], env={"HOME": str(self.folder)}, stdout=full, stderr=subprocess.PIPE, text=True, timeout=20)
        self.assertEqual((done.returncode, "No space left" in done.stderr), (2, True), done.stderr)

    def test_nearest(self):
        for line, meant in (("ping x --cuont 3", "--count"), ("ping x --time=3", "--timeout"), ("run --gest-ip 1.2.3.4", "--guest-ip"),
                            ("ping x --no-debgu", "--no-debug"), ("adpters", "adapters"), ("pign x", "ping")):
            self.refused(line, f" Did you mean {meant}?")
        self.refused("ping 198.18.0.2 --cuont 3", 'vnxtest-cli: There is no option "--cuont". Did you mean --count?')
        for line in ("run --bogus", "run --cuont 3", "bogus"):
            self.assertNotIn("Did you mean", self.run_program(*line.split()).errors())

    def test_the_simulated_lan_is_described(self):
        """Every option that it knows is in the help and in the help book."""
        known = re.search("It knows (.*) for example", self.run_program("adapters", "--library", "sim:x=1").errors())[1]
        names = set(re.findall(r"\w+", re.sub(r"\(.*?\)", "", known))) - {"and"}
        self.assertEqual(len(names), 14, names)
        self.assertEqual({*re.findall(r"^  (\w+)=[A-Z]+", self.help("ping"), re.M)}, names)
        book = (pathlib.Path(__file__).parents[2] / "help" / "libraries.html").read_text("utf-8")
        self.assertEqual({*re.findall(r"<tr><td><tt>(\w+)</tt>", book)}, names)

    def test_what_is_said_in_few_words(self):
        for line in ("adapters --json", "--json adapters", "adapters --json -"):
            self.assertEqual(self.go(*line.split()).lines()[0], "{")
        for line, status in (("--help", True), ("ping --help", True), ("-h run", True), ("report -h", True), ("adapters --help", True),
                             ("--version", False), ("-V", False), ("-V ping", False), ("run --version", False), ("-V adapters", False)):
            self.assertEqual("Exit status" in self.go(*line.split()).text(), status)
        for two in (("--mode2", "tap"), ("--socket-notify", "--adapter2", "198.18.0.1")):
            text = self.go("run", "--no-report", "--duration", 0.01, *two).text()
            self.assertEqual(text.count(" enabled/up..."), 2)
        # Debug takes its flags behind an equal sign only.
        for option, flags in (("--debug=arp-read,contents", 0x40008000), ("--debug=0x80008081", 0x80008081),
                              ("--debug=4294967295", 0xFFFFFFFF), ("--debug=all", 0xC000C0C0), ("--debug=none", 0)):
            self.go("run", "--no-report", "--duration", 0.01, "--save", option)
            self.assertIn(f"\nDebugFlags={flags}\n", self.profile.read_text("utf-8"))
        self.assertIn(f"  {ECHO_HOST}\n", self.go("ping", "--debug", ECHO_HOST, "--count", 1, "--no-report").text())
