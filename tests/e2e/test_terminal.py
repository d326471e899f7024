"""The program in a terminal, on the simulated LAN: no rights, no network; what it prints, saves, stores and refuses."""

import contextlib
import datetime
import fcntl
import itertools
import json
import math
import os
import pty
import re
import select
import signal
import socket
import statistics
import termios
import time
import unittest

from cases import VERDICT, Case, as_ordinary_user, interface_statistics, ping_statistics
from lab.guest import STAMP

ECHO_HOST, SILENT, GATEWAY = "198.18.0.2", "198.18.0.150", "198.18.0.254"
# The fields of the results file, object by object, in their order.
FIELDS = ("version program library whyNotThePackage command exitStatus problem ping interfaces advice startedAt endedAt capture",
          "complete writeFailed target targetIp size count timeoutMs delayMs statistics pings startedAt endedAt roundTripNs",
          "sent received timeouts duplicates lost lossPercent minimumMs maximumMs averageMs",
          "number sequence sentMs replies timeMs timedOut lateMs rttNs sentAt", "min mean median p95 p99 max standardDeviation jitter",
          "interface name mode guestIp guestMac adapterIp adapterMac answered ignored droppedByDriver statistics", "echo arp rarp",
          "Unknown packet|Too tiny|Fragmented|Bad IP hdr version|Bad IP hdr length|Not ICMP|Not ping|Bad ICMP code|"
          "Bad IP hdr checksum|Bad ICMP checksum|Not reply for us|Not ping for us".replace("|", " "),
          "length kernelBufferSize ioBufferSize maximumBytesReceived writeCalls writeIos readCalls readIos packetsRead "
          "packetsWritten bytesRead bytesWritten internalArps ignored fromOurself toZeroMacRead toZeroMacWritten "
          "fromZeroMacRead fromZeroMacWritten", "id severity interface seen means action page evidence")
DATE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d\d:\d\d\Z")
# Sanitizers slow the program down; the bounds on time are about hanging, not about speed.
SLACK = 5.0


class TerminalCase(Case):
    def setUp(self):
        self.folder = self.scratch()
        self.profile = self.folder / "VNXTest64UD" / "VNXTest64UD.conf"
        self.json, self.document = self.folder / "results.json", self.folder / "Dokument \u00fc.txt"

    def begin(self, *arguments, library="sim", **options):
        return self.start("--library", library, *arguments, environment={"XDG_CONFIG_HOME": str(self.folder)}, **options)

    def go(self, *arguments, status=0, **options):
        """Runs to the end. Unless it is refused, what is on standard error is what `note` asks for, or nothing."""
        note = options.pop("note", "")
        guest = self.begin(*arguments, **options)
        guest.status = guest.wait_end()
        self.assertEqual(guest.status, status, f"{arguments}\n{guest.story()}")
        self.assertRegex(self.complaints(guest), note or ("^vnxtest-cli: " if status == 2 else r"\A\Z"))
        self.assertEqual(len(VERDICT.findall(guest.errors())), arguments[0] == "ping" and status != 2 and "--help" not in arguments, guest.story())
        return guest

    def ping(self, *arguments, target=ECHO_HOST, **options):
        return self.go("ping", target, "--no-report", "--delay", 1, *arguments, **options)

    def results(self):
        """The results file, whose fields are complete and whose sums are right."""
        results = json.loads(self.json.read_text("utf-8"))
        objects = [results]
        for one in objects:
            if isinstance(one, dict):
                self.assertIn(" ".join(one), FIELDS)
                one.pop("evidence", None)  # each finding has its own
            objects += one.values() if isinstance(one, dict) else one if isinstance(one, list) else ()
        if results["ping"]:
            pings = results["ping"]["pings"]
            self.assertEqual([(one["number"], one["timeMs"] is None) for one in pings],
                             [(number, one["replies"] == 0) for number, one in enumerate(pings, 1)])
            times = [one["timeMs"] for one in pings if one["replies"]] or [0]
            lost = sum(one["replies"] == 0 for one in pings)
            self.assertEqual(list(results["ping"]["statistics"].values()), [
                len(pings), len(pings) - lost, sum(one["timedOut"] for one in pings),
                sum(max(one["replies"] - 1, 0) for one in pings), lost, int(100 * lost / (len(pings) or 1) + 0.5), min(times),
                max(times), sum(times) // len(times)])
            self.check_round_trips(results)
        return results

    def check_round_trips(self, results):
        """The figures in nanoseconds, and the dates."""
        pings, figures = results["ping"]["pings"], results["ping"]["roundTripNs"]
        times = [one["rttNs"] for one in pings if one["replies"]]
        self.assertEqual([one["rttNs"] is None for one in pings], [one["replies"] == 0 for one in pings])
        if times:
            jitter = 0.0
            for last, after in itertools.pairwise(times):
                jitter += (abs(after - last) - jitter) / 16
            place = [sorted(times)[math.ceil(len(times) * part / 100) - 1] for part in (95, 99)]
            expected = [min(times), statistics.fmean(times), statistics.median(times), *place, max(times), statistics.pstdev(times),
                        jitter]
            self.assertEqual([name for name, value, wanted in zip(figures, figures.values(), expected) if abs(value - wanted) > 1], [])
        else:
            self.assertIsNone(figures)
        test = results["ping"]
        dates = [results["startedAt"], test["startedAt"], *(one["sentAt"] for one in pings), results["endedAt"]]
        dates[-1:-1] = [test["endedAt"]] if test["complete"] else []
        self.assertEqual([date for date in dates if not DATE.match(date)], [])
        moments = [datetime.datetime.fromisoformat(date) for date in dates]
        self.assertEqual(moments, sorted(moments))
        self.assertLess(abs(time.time() - moments[-1].timestamp()), 30)


class Ping(TerminalCase):
    def test_works_at_once_for_an_ordinary_user(self):
        guest = self.go("ping", ECHO_HOST, "--delay", 10, "--output", self.document,
                        executable=self.installed(self.folder), prefix=as_ordinary_user())
        self.assertEqual([line for line in guest.lines() if not STAMP.match(line) or line != line.rstrip()], [])
        self.assertRegex(guest.text(), r"(?s)VNXTest64UD, version:.*  Network Information  .*  Detected Adapters  .*\n\n"
                         r"\*\* START PING TEST \*\*\n\n ping  -c 3  -i 10  -s 32  -w 500  198\.18\.0\.2\n\n Sending ping #1 "
                         r".*\*\* END PING TEST \*\*\n.*\n\*\* Interface \S+ closed\.\.\.")
        self.assertEqual(ping_statistics(guest.text())["received"], 3)
        self.assertEqual(self.document.read_text("utf-8"), "".join(line + "\n" for line in guest.lines()))
        self.assertEqual({*os.listdir(self.folder)}, {self.document.name, "vnxtest-cli", "vnxtest-open"},
                         "nothing is stored unasked")

    def test_every_fate(self):
        for library, target, extra, figures, text in (
                ("sim", "8.8.8.8", ("--mode", "tap"), (3, 0, 0, 0), "TTL=57"),  # behind the gateway
                ("sim", "localhost", (), (0, 3, 0, 3), r" Sending ping #1 bytes=32 to localhost \[127\.0\.0\.1\]\.\.\.\n"),
                ("sim", ECHO_HOST, ("--from", 2, "--socket-notify"), (3, 0, 0, 0), r"Statistics(.*\n)*\*\*\* Statistics")):
            with self.subTest(library=library, target=target):
                guest = self.ping("--count", 3, "--timeout", 200, "--json", self.json, *extra, target=target,
                                  library=library, status=1 if figures[-1] else 0)
                found = ping_statistics(guest.text())
                self.assertEqual(tuple(found[name] for name in ("received", "timeouts", "duplicates", "lost")), figures)
                self.assertRegex(guest.text(), text)
        told = [(one["interface"], one["mode"], one["guestIp"], one["adapterIp"]) for one in self.results()["interfaces"]]
        self.assertEqual(told, [(1, "tun", "198.18.0.111", "198.18.0.1"), (2, "tap", "198.18.0.222", "198.18.0.1")])

    def test_results_agree_with_the_document_and_repeat(self):
        seen = []
        for seed in (7, 7, 8):
            guest = self.ping("--count", 300, "--timeout", 200, "--mode", "tap", "--json", self.json, status=1, note="advice: ",
                              library=f"sim:loss=10,dup=10,late=5,df=5,corrupt=5,truncate=5,foreign=5,reorder=10,seed={seed}")
            text, results = guest.text(), self.results()
            figures, told = ping_statistics(text), results["ping"]["statistics"]
            for name in ("sent", "received", "timeouts", "duplicates", "lost"):
                self.assertEqual(told[name], figures[name], name)
                self.assertGreater(figures[name], 0)
            self.assertEqual(text.count(" has timed out."), figures["timeouts"])
            self.assertEqual(len(re.findall(r"^ Reply(?: #\d+)? to ping", text, re.M)), told["received"] + told["duplicates"])
            self.assertEqual(results["interfaces"][0]["statistics"]["packetsRead"],
                             interface_statistics(text)["Total Packets Read"])
            pings = results["ping"]["pings"]
            self.assertEqual({one["timeMs"] - one["lateMs"] for one in pings if one["lateMs"]}, {200})
            self.assertEqual([(one["sequence"] - pings[0]["sequence"]) % 65536 for one in pings], list(range(300)))
            seen.append([told["received"], told["duplicates"], told["lost"]])
        self.assertEqual(seen[0], seen[1])
        self.assertNotEqual(seen[0], seen[2])
        text = self.ping("--count", 50, library="sim:reorder=30,seed=4").text()
        order = [int(number) for number in re.findall(r"^ Reply to ping #(\d+) ", text, re.M)]
        overtaken = [number for number, after in zip(order, order[1:]) if after == number - 1]
        self.assertTrue(5 <= len(overtaken) <= 15, f"by the next one: {order}")


class Ends(TerminalCase):
    def test_a_duration(self):
        started = time.monotonic()
        guest = self.ping("--count", 0, "--duration", 0.5)
        self.assertGreater(guest.text().count(" Sending ping #"), 5)
        # Without a delay it goes round the sequence numbers; the list keeps the last round, and the figures all.
        self.go("ping", ECHO_HOST, "--no-report", "--count", 0, "--delay", 0, "--duration", 6, "--json", self.json)
        test = json.loads(self.json.read_text("utf-8"))["ping"]
        sent = test["statistics"]["sent"]
        self.assertEqual((test["statistics"]["received"], test["statistics"]["duplicates"]), (sent, 0))
        self.assertEqual(len(test["pings"]), min(sent, 65536))
        self.assertEqual((test["pings"][0]["number"], test["pings"][-1]["number"]), (sent - len(test["pings"]) + 1, sent))
        self.assertGreater(test["pings"][-1]["sentMs"], 5000)
        guest = self.go("run", "--no-report", "--duration", 0.5, "--socket-notify", library="sim:pinger=20")
        self.assertGreater(guest.text().count(f"** Someone is PINGing Vant!\n** Sending PING reply to {ECHO_HOST}\n"), 3)
        # The test's time-out and its second of grace follow what was sent.
        self.assertTrue(9.0 <= time.monotonic() - started < 9.5 + 6 * SLACK)

    def test_a_signal(self):
        for number, mode in ((signal.SIGINT, ()), (signal.SIGTERM, ("--socket-notify",)), (signal.SIGHUP, ())):
            guest = self.begin("run", "--no-report", "--json", self.json, *mode).wait_up()
            if number == signal.SIGTERM:
                guest.send_signal(number)  # one request that comes twice: to the program, and to its group
            self.assertEqual((guest.stop(number, SLACK)[0], guest.errors()), (0, ""))
            self.assertRegex(guest.text(), r"\*\* Interface \S+ closed")
            results = self.results()
            self.assertEqual((results["command"], results["exitStatus"], results["ping"], len(results["interfaces"])),
                             ("run", 0, None, 1))
        guest = self.begin("ping", ECHO_HOST, "--no-report", "--delay", 100, "--count", 1000, "--json", self.json)
        guest.wait_for("Reply to ping #2")
        self.assertEqual(guest.stop()[0], 0)
        self.assertEqual(ping_statistics(guest.text())["lost"], 0)
        self.assertRegex(guest.errors(), r"interrupted after \d+ pings")
        self.assertEqual(self.results()["ping"]["statistics"]["sent"], guest.text().count(" Sending ping #"))

    def test_a_second_interrupt_ends_at_once(self):
        for _ in range(20):
            self.document.unlink(missing_ok=True)  # of a guest that the first interrupt has ended
            guest = self.begin("run", "--no-report", "--output", self.document).wait_up()
            guest.send_signal(signal.SIGINT)
            time.sleep(0.03)  # within the read time-out of 250 ms, and no repetition of the first
            status, _ = guest.stop()
            if "second interrupt" in guest.errors():
                self.assertEqual(status, 2)
                self.assertEqual(os.listdir(self.folder), [], "the unfinished file is gone")
                return
        self.fail("the first interrupt was always faster")

    @unittest.skipUnless(os.geteuid() == 0, "needs a name server of its own")
    def test_a_name_that_nobody_looks_up(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as silent:
            silent.bind(("127.0.0.77", 53))
            servers = self.folder / "resolv.conf"
            servers.write_text("nameserver 127.0.0.77\noptions timeout:30 attempts:1\n", "ascii")
            guest = self.begin("ping", "nobody.example", "--no-report", "--json", self.json, prefix=[
                "unshare", "-m", "sh", "-c", f'mount --bind {servers} /etc/resolv.conf && exec "$0" "$@"'])
            silent.settimeout(20)
            silent.recv(512)
            status, seconds = guest.stop(signal.SIGTERM)
        self.assertEqual(status, 2, guest.story())
        self.assertIn('Interrupted while the name "nobody.example" was looked up.', guest.errors())
        self.assertLess(seconds, 1 + SLACK)
        self.assertIn("Interrupted", self.results()["problem"])

    @unittest.skipIf("VNXTEST_SANITIZED" in os.environ, "a sanitizer looks at memory through pipes of its own")
    def test_too_few_descriptors(self):
        self.document.write_text("old", "utf-8")
        for extra, note in (((), r"eventfd failed; errno=24: (.*\n)+.*ulimit -n"), (("--output", self.document), "failed; errno=24: ")):
            for command in (("run",), ("ping", ECHO_HOST)):
                guest = self.run_program("--library", "sim", *command, "--no-report", *extra, prefix=["prlimit", "--nofile=4:4"])
                self.assert_refused(guest, note)
                self.assertEqual(guest.errors().count("vnxtest-cli: "), 1, guest.errors())
        self.assertEqual(self.document.read_text("utf-8"), "old")

    def test_a_starter_that_ignores_hangups_is_heeded_and_waiting_costs_nothing(self):
        guest = self.begin("run", "--no-report", prepare=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)).wait_up()
        guest.send_signal(signal.SIGHUP)
        ticks = []
        for _ in range(2):
            with open(f"/proc/{guest.pid}/stat", encoding="ascii") as file:
                ticks.append(sum(map(int, file.read().rsplit(")", 1)[1].split()[11:13])))
            time.sleep(1)
        self.assertLessEqual(ticks[1] - ticks[0], 3, "of 100")
        self.assertEqual(guest.stop(signal.SIGTERM)[0], 0)


class Output(TerminalCase):
    def test_what_cannot_be_saved(self):
        old = self.folder / "old"
        old.write_text("old", "utf-8")
        for option in ("--output", "--json"):
            guest = self.ping(option, "/no/such/file", status=2, note="/no/such/file.*: No such file or directory")
            self.assertEqual(guest.lines(), [], "said first")
            self.ping(option, "/dev/full", status=2, note="/dev/full.*: No space left on device")
            self.ping(option, old, "--count", 50, status=2, prefix=["prlimit", "--fsize=600"], note="errno=27: File too large")
            self.assertEqual((old.read_text("utf-8"), os.listdir(self.folder)), ("old", ["old"]), "nothing half is left")
        with open("/dev/full", "w", encoding="ascii") as full:
            self.ping("--output", self.document, "--json", self.json, status=2, output=full,
                      note="Standard output cannot be written")
            for command in ("report", "adapters"):
                self.go(command, status=2, output=full, note="Standard output cannot be written")
        self.assertIn("closed...", self.document.read_text("utf-8"), "everything was closed in order, and saved")
        self.assertIn("Standard output", self.results()["problem"])

    def test_nobody_reads_and_one_signal_ends_it(self):
        """A reader that has stopped, a full pipe on standard error, a suspended terminal for both."""
        stopped, output = os.pipe()
        full, errors = os.pipe()
        terminal, screen = pty.openpty()
        for end in (stopped, output, full, errors, terminal, screen):
            self.addCleanup(os.close, end)
        os.set_blocking(errors, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(errors, b"x" * 4096)
        os.set_blocking(errors, True)
        termios.tcflow(screen, termios.TCOOFF)
        for number, to, say in ((signal.SIGTERM, output, None), (signal.SIGINT, output, errors),
                                (signal.SIGTERM, screen, screen)):
            guest = self.begin("run", "--no-report", "--debug=all", "--json", self.json, "--output", self.document, output=to,
                               errors=say, library="sim:pinger=1")
            time.sleep(1.5)
            status, seconds = guest.stop(number)
            self.assertEqual(status, 2, guest.story())
            self.assertLess(seconds, 1 + SLACK, guest.story())
            results, document = self.results(), self.document.read_text("utf-8")
            self.assertRegex(results["problem"], r"^Standard output was not read fast enough: \d+ lines of the document are missing")
            answered = results["interfaces"][0]["answered"]["echo"]
            self.assertEqual(answered, document.count("** Someone is PINGing Vant!"))
            self.assertIn("closed...", document.splitlines()[-1], "the file got everything")
            if say is None:
                self.assertIn(results["problem"], guest.errors())
                os.set_blocking(stopped, False)
                seen = b""
                with contextlib.suppress(BlockingIOError):
                    while piece := os.read(stopped, 1 << 16):
                        seen += piece
                self.assertGreater(answered, seen.count(b"** Someone is PINGing Vant!"), "the wire went on being answered")
                os.write(output, b"x" * (1 << 16))

    def test_one_file_serves_one_purpose(self):
        self.document.write_text("old", "utf-8")
        other, link = self.folder / "other", self.folder / "link"
        os.link(self.document, other)
        link.symlink_to("missing")
        for first, second in ((self.document, f"{self.folder}/./{self.document.name}"), (self.document, other),
                              (self.folder / "missing", f"{self.folder}/./missing"), (self.folder / "missing", link)):
            self.ping("--output", first, "--json", second, status=2, note="--output and --json name the same file")
        with open(self.document, "a", encoding="utf-8") as output:
            for option, one in (("--output", self.document), ("--json", other), ("--output", "/dev/stdout"),
                                ("--json", "/dev/stdout")):
                self.ping(option, one, status=2, output=output, note=f"{option} names the file that standard output goes to")
        self.ping("--output", self.document, "--json", "/no/such/file", status=2, note="/no/such/file")
        self.assertEqual(self.document.read_text("utf-8"), "old", "refused before anything is touched")

    def test_the_profile_is_not_written_over(self):
        self.ping("--count", 1, "--save")
        lock, spare = self.profile.parent / ".lock", self.folder / "spare"
        os.link(self.profile, spare)
        stored = self.profile.read_bytes()
        for option, one in itertools.product(("--output", "--json"), (self.profile, lock, spare)):
            self.ping("--save", option, one, status=2, note=f"{option} names the file that the settings are kept in")
        self.assertEqual((self.profile.read_bytes(), lock.read_bytes()), (stored, b""))
        self.profile.unlink()
        spare.unlink()
        self.go("report", "--output", self.profile, status=2, note="the settings are kept in")
        self.assertFalse(self.profile.exists())

    def test_names_of_files_are_bytes(self):
        for name in 2 * (b"gr\xfcn \xff\n", b"a" * 255):  # new, then replaced
            self.ping("--count", 1, "--output", os.fsdecode(os.fsencode(self.folder) + b"/" + name))
            self.assertIn(name, os.listdir(os.fsencode(self.folder)))
        self.ping("--output", self.folder / ("a" * 256), status=2, note="errno=36")

    def test_a_reader_that_goes_away_and_closed_standard_streams(self):
        read, write = os.pipe()
        guest = self.begin("ping", ECHO_HOST, "--count", 65535, "--delay", 1, output=write)
        os.close(write)
        os.read(read, 1)
        os.close(read)
        guest.status = guest.wait_end(20)
        self.assert_refused(guest, "Broken pipe")
        for stream in (0, 1, 2):
            guest = self.begin("ping", ECHO_HOST, "--count", 1, "--no-report", "--output", self.document,
                               prepare=lambda: os.close(stream))
            self.assertEqual(guest.wait_end(20), 2 if stream == 1 else 0)
            self.assertIn("** START PING TEST **" if stream != 1 else "closed...", self.document.read_text("utf-8"))

    def test_no_progress_unless_somebody_looks(self):
        terminal, other_side = pty.openpty()
        guest = self.begin("ping", ECHO_HOST, "--no-report", "--count", 20, "--delay", 50, errors=other_side)
        os.close(other_side)
        shown = b""
        while select.select([terminal], [], [], 20)[0]:
            try:
                shown += os.read(terminal, 4096)
            except OSError:
                break  # the program has ended
        os.close(terminal)
        self.assertEqual(guest.wait_end(20), 0)
        self.assertRegex(shown, rb"\r\d+ sent, 0 lost, latest ")

class Profile(TerminalCase):
    def test_save_stores_and_the_next_run_uses(self):
        self.ping("--save", "--count", 2, "--timeout", 300, "--guest-ip", "198.18.0.177", "--mode", "tap",
                  "--debug=0x80000000")
        stored = dict(line.split("=", 1) for line in self.profile.read_text("utf-8").splitlines() if "=" in line)
        wanted = {"Interface1_bTAPMode": "1", "Interface1_strInterface_IPAddr": "198.18.0.177",
                  "Interface1_strAdapter_IPAddr": "198.18.0.1", "Interface2_strInterface_IPAddr": "", "NumPings": "2",
                  "PingTimeout": "300", "WhoPingName": ECHO_HOST, "DebugMode": "1", "DebugFlags": "2147483648"}
        self.assertEqual(stored | wanted, stored)
        guest = self.ping("--no-debug", "--json", self.json)
        self.assertIn(" ping  -c 2  -i 1  -s 32  -w 300 ", guest.text())
        interface = self.results()["interfaces"][0]
        self.assertEqual((interface["guestIp"], interface["mode"]), ("198.18.0.177", "tap"))

    def test_a_lock_that_is_never_given_back_is_waited_for_once(self):
        self.profile.parent.mkdir()
        with open(self.profile.parent / ".lock", "w", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            started = time.monotonic()
            self.ping("--count", 1, "--save", "--debug=none", status=2, note=r"(?s)flock of .*\.lock failed.*--save: ")
            # Two seconds for the lock, one of the ping test's grace, and the time that a busy machine needs.
            self.assertLess(time.monotonic() - started, 2 + 1 + SLACK)
        self.assertEqual(os.listdir(self.profile.parent), [".lock"])

    def test_what_does_not_fit_is_left_out_and_left_alone(self):
        text = (b"[SimulatedLan]\nInterface1_strAdapter_IPAddr=198.18.0.1\n"
                b"PingDataSize=99999\nNumPings=0\nPingTimeout=soon\nPingDelay=4294967295\n\xff\xfe rubbish\n")
        self.profile.parent.mkdir()
        self.profile.write_bytes(text)
        guest = self.ping("--json", self.json, note="is damaged")
        self.assertIn(" ping  -c 3  -i 1  -s 32  -w 500 ", guest.text())
        self.assertEqual(self.results()["interfaces"][0]["guestIp"], "198.18.0.111")
        for word in ("is damaged", "PingDataSize", "NumPings", "PingTimeout"):
            self.assertIn(word, guest.errors())
        self.assertEqual(self.profile.read_bytes(), text)


class Refusals(TerminalCase):
    def test_each_is_named_and_starts_nothing(self):
        for arguments, wanted in (
                (("ping", ECHO_HOST, "--size", "7"), "--size(.*\n)*.*--help"),
                (("report", "--library", "sim:loss=200"), "loss"),
                (("report", "--library", "/no/such/library.so"), r"/no/such/library\.so"),
                (("ping", "no.such.host.invalid"), r"Please enter a valid IP address or name\."),
                (("ping", ECHO_HOST, "--adapter", "nosuch0"), r"nosuch0(.*\n)*.*198\.18\.0\.1 "),  # lists what there is
                (("run", "--guest-mac", "03-00-5E-80-00-04"), "--guest-mac"),
                (("run", "--guest-ip", "10.77.0.1"), "Subnets Warning: Your guest IP is in a different subnet!(.*\n)*.*--proceed")):
            with self.subTest(arguments=arguments):
                no_report = ["--no-report"] if arguments and arguments[0] != "report" else []
                library = [] if "--library" in arguments else ["--library", "sim"]
                guest = self.run_program(*arguments, *no_report, *library, timeout=20)
                self.assert_refused(guest, wanted)
                self.assertEqual(guest.lines(), [])
        self.go("run", "--no-report", "--guest-ip", "10.0.0.1", "--json", self.json, status=2)
        results = self.results()
        self.assertEqual((results["exitStatus"], results["interfaces"], results["ping"]), (2, [], None))
        self.assertIn("--proceed", results["problem"])
        guest = self.ping("--size", 65507, "--json", self.json, status=2, note="(?s)vnetx32_write failed;.*--size 1472")
        self.assertIn("***  Ping #1 failed; abort  ***\n", guest.text())
        results = self.results()
        self.assertEqual((results["exitStatus"], results["ping"]["writeFailed"]), (2, True))
        self.assertIn("--size 1472", results["problem"])

    def test_what_is_said_and_done_all_the_same(self):
        self.go("run", "--no-report", "--guest-ip", "10.77.0.1", "--duration", 0.1, "--proceed",
                note="warning: Your guest IP is in a different subnet!")
        for proceed, status in (("--proceed", 0), (None, 2)):
            guest = self.ping("--gateway", SILENT, *filter(None, [proceed]), status=status,
                              note=f"the gateway {SILENT} does not answer ARP" + ("" if proceed else "(.*\n)+.*Undefined Gateway"))
            self.assertEqual((guest.errors().count(SILENT), self.complaints(guest).count("vnxtest-cli: ")), (1, 1), guest.errors())
        self.ping("--gateway", GATEWAY)
