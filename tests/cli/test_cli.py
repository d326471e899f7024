"""End-to-end tests of vnxtest-cli on the simulated LAN: no rights, no network.

python3 test_cli.py PATH-OF-VNXTEST-CLI [unittest arguments]
"""
import json
import os
import pty
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = None
ECHO_HOST = "198.18.0.2"
SILENT_HOST = "198.18.0.150"
STAMP = re.compile(r"^\d\d:\d\d:\d\d\.\d\d\d( |$)")
REASONS = ["Unknown packet", "Too tiny", "Fragmented", "Bad IP hdr version", "Bad IP hdr length", "Not ICMP",
           "Not ping", "Bad ICMP code", "Bad IP hdr checksum", "Bad ICMP checksum", "Not reply for us",
           "Not ping for us"]
RECORD = ["length", "kernelBufferSize", "ioBufferSize", "maximumBytesReceived", "writeCalls", "writeIos",
          "readCalls", "readIos", "packetsRead", "packetsWritten", "bytesRead", "bytesWritten", "internalArps",
          "ignored", "fromOurself", "toZeroMacRead", "toZeroMacWritten", "fromZeroMacRead", "fromZeroMacWritten"]
# Sanitizers slow the program down; the bounds on time are about hanging, not about speed.
SLACK = 5.0


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="vnxtest-cli-")
        os.chmod(self.folder, 0o755)
        self.environment = dict(os.environ, XDG_CONFIG_HOME=self.folder)
        self.profile = os.path.join(self.folder, "VNXTest64UD", "VNXTest64UD.conf")

    def tearDown(self):
        shutil.rmtree(self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def start(self, *arguments, library="sim", **options):
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "env": self.environment, **options}
        return subprocess.Popen([PROGRAM, "--library", library, *arguments], text=True, encoding="utf-8", **options)

    def run_cli(self, *arguments, status=0, **options):
        """Runs to the end and returns (standard output, standard error)."""
        process = self.start(*arguments, **options)
        try:
            out, err = process.communicate(timeout=60)
        except subprocess.TimeoutExpired:
            process.kill()
            raise
        self.assertEqual(process.returncode, status, f"{arguments}\n{out}\n{err}")
        if status == 2:
            self.assertTrue(err.startswith("vnxtest-cli: "), err)
        return out, err

    def wait_for(self, process, text):
        """Reads standard output until a line holds `text`; returns what was read."""
        lines = ""
        while text not in lines:
            line = process.stdout.readline()
            self.assertTrue(line, f"ended before {text!r}:\n{lines}")
            lines += line
        return lines

    def use_profile(self, **values):
        os.makedirs(os.path.dirname(self.profile), exist_ok=True)
        with open(self.profile, "w", encoding="utf-8") as file:
            file.write("[Settings]\n" + "".join(f"{name}={value}\n" for name, value in values.items()))

    def results(self, name="results.json"):
        """The results file, with every field that its description names and no other."""
        results = json.loads(self.read(name))
        self.assertEqual(list(results), ["version", "program", "library", "command", "exitStatus", "problem", "ping",
                                         "interfaces"])
        self.assertEqual(results["version"], 1)
        for interface in results["interfaces"]:
            self.assertEqual(list(interface), ["interface", "name", "mode", "guestIp", "guestMac", "adapterIp",
                                               "adapterMac", "answered", "ignored", "statistics"])
            self.assertEqual(list(interface["answered"]), ["echo", "arp", "rarp"])
            self.assertEqual(list(interface["ignored"]), REASONS)
            if interface["statistics"] is not None:
                self.assertEqual(list(interface["statistics"]), RECORD)
                self.assertEqual(interface["statistics"]["length"], 136)
        if results["ping"] is not None:
            ping = results["ping"]
            self.assertEqual(list(ping), ["complete", "writeFailed", "target", "targetIp", "size", "count",
                                          "timeoutMs", "delayMs", "statistics", "pings"])
            for number, one in enumerate(ping["pings"], 1):
                self.assertEqual(list(one), ["number", "sequence", "sentMs", "replies", "timeMs", "timedOut",
                                             "lateMs"])
                self.assertEqual(one["number"], number)
                self.assertEqual(one["timeMs"] is None, one["replies"] == 0)
            self.check_sums(ping)
        return results

    def check_sums(self, ping):
        pings, statistics = ping["pings"], ping["statistics"]
        times = [one["timeMs"] for one in pings if one["replies"]]
        self.assertEqual(statistics["sent"], len(pings))
        self.assertEqual(statistics["received"], len(times))
        self.assertEqual(statistics["lost"], len(pings) - len(times))
        self.assertEqual(statistics["timeouts"], sum(one["timedOut"] for one in pings))
        self.assertEqual(statistics["duplicates"], sum(max(one["replies"] - 1, 0) for one in pings))
        self.assertEqual(statistics["minimumMs"], min(times, default=0))
        self.assertEqual(statistics["maximumMs"], max(times, default=0))
        self.assertEqual(statistics["averageMs"], sum(times) // len(times) if times else 0)


class Ping(Case):
    def test_works_at_once_from_an_empty_profile(self):
        out, err = self.run_cli("ping", ECHO_HOST, "--delay", "10")
        self.assertEqual(err, "")
        for line in out.splitlines():
            self.assertRegex(line, STAMP)
            self.assertEqual(line, line.rstrip())
        text = "\n".join(line[13:] for line in out.splitlines())
        self.assertIn("VNXTest64UD, version:", text)
        self.assertIn("\n\n** START PING TEST **\n\n ping  -c 3  -i 10  -s 32  -w 500  198.18.0.2\n\n"
                      " Sending ping #1 bytes=32 to 198.18.0.2...\n", text)
        self.assertRegex(text, r"\n Ping statistics for 198\.18\.0\.2:\n\n     3 Pings Sent\n"
                               r"     3 Replies Received \(Minimum = \d+ms, Maximum = \d+ms, Average = \d+ms\)\n"
                               r"     0 Pings Timeouts\n     0 Duplicate Replies\n     0 Pings Lost \(0%\)\n\n"
                               r" Ping test successful\.\n\n\*\* END PING TEST \*\*\n")
        self.assertRegex(text, r"\*\* Interface \S+ closed\.\.\.")
        self.assertFalse(os.path.exists(self.profile), "nothing is stored unasked")

    def test_lost_pings_are_status_1(self):
        out, err = self.run_cli("ping", SILENT_HOST, "--no-report", "--count", "2", "--timeout", "20", "--delay",
                                "0", "--json", self.path("results.json"), status=1)
        self.assertIn(" Ping test has FAILED.\n", out)
        self.assertEqual(err, "")
        results = self.results()
        self.assertEqual((results["exitStatus"], results["problem"]), (1, None))
        self.assertEqual(results["ping"]["statistics"]["lossPercent"], 100)
        self.assertTrue(all(one["timedOut"] for one in results["ping"]["pings"]))

    def test_results_agree_with_the_document(self):
        out, _ = self.run_cli("ping", ECHO_HOST, "--no-report", "--count", "300", "--timeout", "40", "--delay", "1",
                              "--mode", "tap", "--json", self.path("results.json"), status=1,
                              library="sim:loss=10,dup=10,late=10,delay=2,jitter=3,seed=7")
        results = self.results()
        statistics = results["ping"]["statistics"]
        for figure, words in (("sent", "Pings Sent"), ("received", "Replies Received"),
                              ("timeouts", "Pings Timeouts"), ("duplicates", "Duplicate Replies"),
                              ("lost", "Pings Lost")):
            self.assertEqual(int(re.search(rf" +(\d+) {words}", out)[1]), statistics[figure])
            self.assertGreater(statistics[figure], 0, figure)
        self.assertEqual(out.count(" has timed out."), statistics["timeouts"])
        self.assertEqual(len(re.findall(r" Reply(?: #\d+)? to ping", out)),
                         statistics["received"] + statistics["duplicates"])
        late = [one for one in results["ping"]["pings"] if one["lateMs"]]
        self.assertGreater(len(late), 0)
        for one in late:
            self.assertEqual(one["lateMs"], one["timeMs"] - 40)
        sent = [one["sentMs"] for one in results["ping"]["pings"]]
        self.assertEqual(sent, sorted(sent))
        sequences = [one["sequence"] for one in results["ping"]["pings"]]
        self.assertEqual([(s - sequences[0]) % 65536 for s in sequences], list(range(300)))
        interface = results["interfaces"][0]
        self.assertEqual((interface["interface"], interface["mode"]), (1, "tap"))
        self.assertGreaterEqual(interface["statistics"]["packetsWritten"], 300)

    def test_many_pings_at_once(self):
        out, _ = self.run_cli("ping", ECHO_HOST, "--no-report", "--count", "5000", "--delay", "0", "--timeout",
                              "5000", "--size", "8")
        self.assertEqual(out.count(" Sending ping #"), 5000)
        self.assertEqual(out.count(" Reply to ping #"), 5000)
        for line in out.splitlines():
            self.assertRegex(line, STAMP)

    def test_two_interfaces(self):
        out, _ = self.run_cli("ping", ECHO_HOST, "--no-report", "--from", "2", "--count", "1", "--delay", "0",
                              "--json", self.path("results.json"))
        interfaces = self.results()["interfaces"]
        self.assertEqual([(i["interface"], i["mode"], i["guestIp"]) for i in interfaces],
                         [(1, "tun", "198.18.0.111"), (2, "tap", "198.18.0.222")])
        self.assertEqual(interfaces[1]["adapterIp"], "198.18.0.1")
        self.assertGreater(interfaces[1]["statistics"]["packetsWritten"], 0)
        self.assertEqual(len(re.findall(r"\*\* Interface \S+ closed", out)), 2)

    def test_a_packet_too_large_is_explained(self):
        out, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--size", "65507", "--count", "1", "--json",
                                self.path("results.json"), status=2)
        self.assertIn("***  Ping #1 failed; abort  ***", out)
        self.assertIn("vnetx32_write failed;", err)
        self.assertIn("--size 1472", err)
        results = self.results()
        self.assertEqual(results["exitStatus"], 2)
        self.assertTrue(results["ping"]["writeFailed"])
        self.assertIn("--size", results["problem"])
        self.run_cli("ping", ECHO_HOST, "--no-report", "--size", "1472", "--count", "1", "--delay", "0")

    def test_duration_ends_an_endless_test(self):
        start = time.monotonic()
        out, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--count", "0", "--delay", "5", "--duration", "0.5")
        self.assertLess(time.monotonic() - start, 0.5 + SLACK)
        self.assertGreater(out.count(" Sending ping #"), 5)
        self.assertIn("** END PING TEST **", out)
        self.assertEqual(err, "")

    def test_interrupt_still_prints_the_statistics(self):
        process = self.start("ping", ECHO_HOST, "--no-report", "--count", "1000", "--delay", "100", "--json",
                             self.path("results.json"))
        out = self.wait_for(process, "Reply to ping #2")
        process.send_signal(signal.SIGINT)
        rest, err = process.communicate(timeout=10)
        self.assertEqual(process.returncode, 0, err)
        self.assertIn(" Pings Lost (0%)", rest)
        self.assertIn("** END PING TEST **", rest)
        self.assertRegex(rest, r"\*\* Interface \S+ closed")
        self.assertRegex(err, r"interrupted after \d+ pings")
        self.assertEqual(self.results()["ping"]["statistics"]["sent"], (out + rest).count(" Sending ping #"))


class Run(Case):
    def test_ends_on_request_in_time(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for mode in ((), ("--socket-notify",)):
                process = self.start("run", "--no-report", "--json", self.path("results.json"), *mode)
                self.wait_for(process, "enabled/up")
                start = time.monotonic()
                process.send_signal(number)
                out, err = process.communicate(timeout=10)
                self.assertLess(time.monotonic() - start, SLACK)
                self.assertEqual((process.returncode, err), (0, ""))
                self.assertRegex(out, r"\*\* Interface \S+ closed")
                results = self.results()
                self.assertEqual((results["command"], results["ping"]), ("run", None))
                self.assertEqual(len(results["interfaces"]), 1)

    def test_duration(self):
        out, err = self.run_cli("run", "--no-report", "--duration", "0.2", "--socket-notify")
        self.assertIn("*** Statistics for Interface", out)
        self.assertEqual(err, "")

    def test_a_second_interrupt_ends_at_once(self):
        for _ in range(20):
            process = self.start("run", "--no-report", "--output", self.path("document.txt"))
            self.wait_for(process, "enabled/up")
            process.send_signal(signal.SIGINT)
            time.sleep(0.02)  # within the read time-out of 250 ms
            process.send_signal(signal.SIGINT)
            _, err = process.communicate(timeout=10)
            if "second interrupt" in err:
                self.assertEqual(process.returncode, 2)
                self.assertEqual(os.listdir(self.folder), [], "the unfinished file is gone")
                return
            os.remove(self.path("document.txt"))
        self.fail("the first interrupt was always faster")

    def test_a_starter_that_ignores_hangups_is_heeded(self):
        process = self.start("run", "--no-report", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        self.wait_for(process, "enabled/up")
        process.send_signal(signal.SIGHUP)
        time.sleep(0.5)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        process.communicate(timeout=10)
        self.assertEqual(process.returncode, 0)


class Output(Case):
    def ping(self, *arguments, **options):
        return self.run_cli("ping", ECHO_HOST, "--count", "2", "--delay", "0", *arguments, **options)

    def test_the_saved_document_is_what_was_shown(self):
        for name in ("document.txt", "Dokument \u00fc.txt"):
            out, _ = self.ping("--output", self.path(name))
            self.assertEqual(self.read(name), out)
            self.assertEqual(os.listdir(self.folder), [name])
            os.remove(self.path(name))

    def test_what_cannot_be_saved_is_said_first(self):
        for option in ("--output", "--json"):
            out, err = self.ping(option, self.path("no/such/folder/file"), status=2)
            self.assertEqual(out, "")
            self.assertIn("no/such/folder/file", err)

    def test_a_full_disk(self):
        for option in ("--output", "--json"):
            _, err = self.ping(option, "/dev/full", status=2)
            self.assertIn("No space left on device", err)
        with open("/dev/full", "w") as full:
            _, err = self.ping("--output", self.path("document.txt"), "--json", self.path("results.json"), stdout=full,
                               status=2)
        self.assertIn("Standard output cannot be written", err)
        self.assertIn("closed...", self.read("document.txt"), "everything was closed in order, and saved")
        self.assertIn("Standard output", self.results()["problem"])

    def test_a_reader_that_goes_away(self):
        process = self.start("ping", ECHO_HOST, "--count", "100000"[:5], "--delay", "1")
        process.stdout.readline()
        process.stdout.close()
        err = process.stderr.read()
        process.stderr.close()
        self.assertEqual(process.wait(timeout=20), 2, err)
        self.assertIn("Broken pipe", err)

    def test_closed_standard_streams(self):
        for stream in (0, 1, 2):
            process = self.start("ping", ECHO_HOST, "--count", "1", "--delay", "0", "--no-report", "--output",
                                 self.path("document.txt"), preexec_fn=lambda s=stream: os.close(s))
            process.communicate(timeout=20)
            self.assertEqual(process.returncode, 2 if stream == 1 else 0)
            self.assertIn("** START PING TEST **" if stream != 1 else "closed...", self.read("document.txt"))

    def test_a_failed_run_keeps_no_half_results(self):
        self.run_cli("ping", ECHO_HOST, "--no-report", "--guest-ip", "10.0.0.1", "--json", self.path("results.json"),
                     status=2)
        results = self.results()
        self.assertEqual((results["exitStatus"], results["interfaces"], results["ping"]), (2, [], None))
        self.assertIn("--proceed", results["problem"])

    def test_no_progress_unless_somebody_looks(self):
        arguments = ("ping", ECHO_HOST, "--no-report", "--count", "20", "--delay", "50")
        self.assertEqual(self.run_cli(*arguments)[1], "")
        terminal, other_side = pty.openpty()
        process = self.start(*arguments, stdout=subprocess.DEVNULL, stderr=other_side)
        os.close(other_side)
        shown = b""
        while select.select([terminal], [], [], 20)[0]:
            try:
                shown += os.read(terminal, 4096)
            except OSError:
                break  # the program has ended
        os.close(terminal)
        self.assertEqual(process.wait(timeout=20), 0)
        self.assertRegex(shown, rb"\r\d+ pings sent")


class Profile(Case):
    def test_save_stores_and_the_next_run_uses(self):
        self.run_cli("ping", ECHO_HOST, "--no-report", "--save", "--count", "2", "--delay", "0", "--timeout", "300",
                     "--guest-ip", "198.18.0.177", "--mode", "tap", "--debug=0x80000000")
        with open(self.profile, encoding="utf-8") as file:
            stored = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
        self.assertEqual(stored["Interface1_bTAPMode"], "1")
        self.assertEqual(stored["Interface1_strInterface_IPAddr"], "198.18.0.177")
        self.assertEqual(stored["Interface1_strAdapter_IPAddr"], "198.18.0.1")
        self.assertEqual(stored["Interface2_strInterface_IPAddr"], "", "as the window stores an unused interface")
        self.assertEqual((stored["NumPings"], stored["PingTimeout"], stored["WhoPingName"]), ("2", "300", ECHO_HOST))
        self.assertEqual((stored["DebugMode"], stored["DebugFlags"]), ("1", "2147483648"))
        out, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--no-debug", "--json", self.path("results.json"))
        self.assertIn(" ping  -c 2  -i 0  -s 32  -w 300 ", out)
        self.assertEqual(err, "")
        interface = self.results()["interfaces"][0]
        self.assertEqual((interface["guestIp"], interface["mode"]), ("198.18.0.177", "tap"))

    def test_a_real_adapter_in_the_profile_does_not_break_the_simulated_lan(self):
        self.use_profile(Interface1_strAdapter_IPAddr="192.0.2.200", Interface1_strInterface_IPAddr="192.0.2.201",
                         Interface1_strInterface_MACAddr="02-00-5E-00-00-01")
        with open(self.profile, encoding="utf-8") as file:
            before = file.read()
        _, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--count", "1", "--delay", "0", "--json",
                              self.path("results.json"))
        self.assertIn("left out", err)
        self.assertEqual(self.results()["interfaces"][0]["guestIp"], "198.18.0.111")
        with open(self.profile, encoding="utf-8") as file:
            self.assertEqual(file.read(), before)

    def test_damaged_and_wild_values(self):
        self.use_profile(PingDataSize="99999", NumPings="0", PingTimeout="soon", PingDelay="4294967295")
        with open(self.profile, "ab") as file:
            file.write(b"\xff\xfe rubbish\n")
        out, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--delay", "0")
        self.assertIn(" ping  -c 3  -i 0  -s 32  -w 500 ", out)
        for word in ("is damaged", "PingDataSize", "NumPings", "PingTimeout"):
            self.assertIn(word, err)

    def test_a_profile_that_cannot_be_written(self):
        with open(self.path("VNXTest64UD"), "w", encoding="utf-8") as file:
            file.write("in the way")
        out, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--delay", "0", "--save", status=2)
        self.assertIn("** Assertion Failed **", out)
        self.assertIn(" Ping test successful.", out)
        self.assertIn("VNXTest64UD", err)
        self.run_cli("ping", ECHO_HOST, "--no-report", "--delay", "0")


class Refusals(Case):
    def refused(self, *arguments, **options):
        out, err = self.run_cli(*arguments, status=2, **options)
        return out, err

    def test_usage(self):
        for arguments in ((), ("bogus",), ("ping",), ("ping", ECHO_HOST, "--size", "7"), ("run", "--bogus")):
            out, err = self.refused(*arguments)
            self.assertEqual(out, "")
            self.assertIn("--help", err)

    def test_help_and_version(self):
        for argument in ("--help", "--version"):
            out, err = self.run_cli(argument)
            self.assertIn("VNXTest64UD", out)
            self.assertEqual(err, "")

    def test_library(self):
        for library in ("nosuch", "sim:loss=200", "/no/such/library.so"):
            self.assertIn("library", self.refused("ping", ECHO_HOST, library=library)[1])

    def test_target(self):
        _, err = self.refused("ping", "no.such.host.invalid", "--no-report")
        self.assertIn("Please enter a valid IP address or name.", err)

    def test_adapter(self):
        _, err = self.refused("ping", ECHO_HOST, "--no-report", "--adapter", "nosuch0")
        self.assertIn("198.18.0.1", err, "lists what there is")
        _, err = self.refused("ping", ECHO_HOST, "--no-report", "--guest-mac", "03-00-5E-80-00-04")
        self.assertIn("--guest-mac", err)

    def test_warnings(self):
        arguments = ("ping", ECHO_HOST, "--no-report", "--guest-ip", "10.77.0.1", "--count", "1", "--delay", "0",
                     "--timeout", "50")
        out, err = self.refused(*arguments)
        self.assertEqual(out, "")
        self.assertIn("Subnets Warning: Your guest IP is in a different subnet!", err)
        self.assertIn("--proceed", err)
        process = self.start(*arguments, "--proceed")
        out, err = process.communicate(timeout=30)
        self.assertIn("** START PING TEST **", out)
        self.assertIn("warning: Your guest IP is in a different subnet!", err)

    def test_a_silent_gateway_is_said_and_used(self):
        _, err = self.run_cli("ping", ECHO_HOST, "--no-report", "--count", "1", "--delay", "0", "--gateway",
                              SILENT_HOST, "--proceed")
        self.assertIn(f"the gateway {SILENT_HOST} does not answer", err)
        _, err = self.run_cli("ping", "203.0.112.9", "--no-report", "--count", "1", "--delay", "0", "--gateway",
                              "198.18.0.254", "--mode", "tap")
        self.assertEqual(err, "")

    def test_missing_privilege_names_the_command(self):
        adapters = json.loads(self.run_cli("adapters", "--json", library="pcap")[0])["adapters"]
        usable = [a["name"] for a in adapters if a["ip"] and a["connected"]]
        if not usable:
            self.skipTest("no connected adapter with an address")
        as_nobody = {}
        if os.geteuid() == 0:
            os.chmod(self.folder, 0o777)
            as_nobody["preexec_fn"] = lambda: (os.setgroups([]), os.setgid(65534), os.setuid(65534))
            if subprocess.run([PROGRAM, "--version"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False, **as_nobody).returncode != 0:
                self.skipTest("an ordinary user cannot reach the program here")
        _, err = self.refused("ping", ECHO_HOST, "--no-report", "--proceed", "--adapter", usable[0], library="pcap",
                              **as_nobody)
        self.assertIn("sudo setcap cap_net_raw+ep " + os.path.realpath(PROGRAM), err)


class Adapters(Case):
    def test_table_and_json_agree(self):
        table, err = self.run_cli("adapters")
        self.assertEqual(err, "")
        listed = json.loads(self.run_cli("adapters", "--json")[0])
        self.assertEqual(listed["version"], 1)
        self.assertEqual(len(table.splitlines()), len(listed["adapters"]) + 1)
        for adapter in listed["adapters"]:
            self.assertIn(adapter["mac"], table)
        default = [a for a in listed["adapters"] if a["default"]]
        self.assertEqual([(a["ip"], a["mask"]) for a in default], [("198.18.0.1", "255.255.255.0")])
        self.run_cli("adapters", "--json", self.path("adapters.json"))
        self.assertEqual(json.loads(self.read("adapters.json")), listed)

    def test_report(self):
        out, err = self.run_cli("report")
        self.assertIn("Network Information", out)
        self.assertIn("Detected Adapters", out)
        self.assertEqual(err, "")
        self.assertFalse(os.path.exists(self.profile))


if __name__ == "__main__":
    PROGRAM = os.path.abspath(sys.argv.pop(1))
    unittest.main()
