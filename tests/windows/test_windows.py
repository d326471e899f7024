#!/usr/bin/env python3
"""The Windows programs under Wine: test_windows.py CLASS. Exit status 77: skipped, the reason is printed.

VNXTEST_PROGRAMS is the folder of the programs, VNXTEST_PACKAGES that of the installer, VNXTEST_WINE_PREFIX an
initialized Wine prefix that is the tests' own (script/windows makes one). VNXTEST_SCREENSHOTS: a folder for
screenshots of the window.
"""

import contextlib
import json
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE = pathlib.Path(os.environ["VNXTEST_SOURCE"])
PROGRAMS = pathlib.Path(os.environ["VNXTEST_PROGRAMS"])
PACKAGES = pathlib.Path(os.environ["VNXTEST_PACKAGES"])
PREFIX = pathlib.Path(os.environ["VNXTEST_WINE_PREFIX"])
sys.path.insert(0, str(SOURCE))
from lab import network  # noqa: E402

WINE = str(SOURCE / "cmake/windows/wine")
KEY = r"HKCU\Software\Corvane Software Works\VNXTest64UD\Settings"
SIM_KEY = KEY.replace("Settings", "SimulatedLan")  # of guests on the simulated LAN
CLASS_KEY = r"HKLM\SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}"
SIM = ("--library", "sim", "--no-report")


def end_wine(prefix=PREFIX):
    """Ends what still runs in the prefix: its first program decides for all whether there is a display."""
    for option in ("-k", "-w"):
        subprocess.run(["wineserver", option], env=dict(os.environ, WINEPREFIX=str(prefix)), capture_output=True)


class WineCase(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="vnxtest-windows-")))

    def wine(self, *command, environment=None, timeout=120, status=0):
        """Runs it; what it wrote to standard output and to standard error, with Unix line ends."""
        # Into files: services that Wine starts hold a pipe open for seconds.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            run = subprocess.run([WINE, *map(str, command)], stdout=out, stderr=err, timeout=timeout,
                                 env=dict(os.environ, DISPLAY="", **(environment or {})))
            texts = []
            for file in (out, err):
                file.seek(0)
                texts.append(file.read().decode("utf-8", "replace").replace("\r\n", "\n"))
        out, err = texts
        self.assertEqual(run.returncode, status, f"{command}\n{out}\n{err}")
        return out, err

    def cli(self, *arguments, folder=PROGRAMS, **options):
        return self.wine(folder / "vnxtest-cli.exe", *arguments, **options)

    def values(self, key=KEY):
        """The values of a registry key as reg query prints them: name to (kind, data)."""
        found = re.findall(r"^    (\S+)    (REG_\w+)    ?(.*)$", self.wine("reg", "query", key)[0], re.M)
        return {name: (kind, data) for name, kind, data in found}

    def set(self, name, kind, data, key=KEY):
        self.wine("reg", "add", key, "/v", name, "/t", kind, "/d", data, "/f")

    def forget_settings(self):
        for key in (KEY, SIM_KEY):
            subprocess.run([WINE, "reg", "delete", key, "/f"], env=dict(os.environ, DISPLAY=""), stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL)

    def install_beside(self, library):
        """A program folder with a package's library in it."""
        shutil.copy(PROGRAMS / "vnxtest-cli.exe", self.folder)
        if library:
            shutil.copy(PROGRAMS / library, self.folder / "Vnetx64UD.dll")
        return {"folder": self.folder}


class Console(WineCase):
    def test_report_tells_of_this_windows(self):
        out, _ = self.cli("report", "--library", "sim", "--output", self.folder / "report.vnt")
        self.assertRegex(out, r'Running in (Elevated \(Administrator\)|Normal User) mode on ".+" \(Microsoft Windows.* '
                              r"\d+\.\d+\.\d+\) .*\(MP=\d+\)")
        self.assertRegex(out, r'Using WinPCap wpcap\.dll, version "\d')
        self.assertIn("relevant DosDevices are defined", out)
        saved = (self.folder / "report.vnt").read_bytes()
        self.assertEqual(saved.count(b"\n"), saved.count(b"\r\n"))
        self.assertEqual(saved.decode().replace("\r\n", "\n"), out)

    def test_an_interrupt_stops_a_ping_test(self):
        process, terminal = pty.fork()
        if process == 0:
            os.environ["DISPLAY"] = ""
            os.execv(WINE, [WINE, str(PROGRAMS / "vnxtest-cli.exe"), "ping", "198.18.0.2", *SIM, "--count", "1000"])
        self.addCleanup(end_wine)
        self.addCleanup(os.close, terminal)
        shown, interrupted, deadline = b"", False, time.monotonic() + 120
        while b"interrupted after" not in shown:
            self.assertLess(time.monotonic(), deadline, shown[-500:])
            if select.select([terminal], [], [], 1)[0]:
                shown += os.read(terminal, 65536)
            if not interrupted and b"Reply to ping #2" in shown:
                os.write(terminal, b"\x03")
                interrupted = True
        with contextlib.suppress(OSError):  # the terminal's end
            while os.read(terminal, 65536):
                pass
        self.assertIn(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), (0, 1))  # 1: one was under way

    def test_says_what_is_missing(self):
        self.assertIn("Windows has none", self.cli("run", "--library", "tun", status=2)[1])


def on_drive(path):
    """The path as a Windows program takes it: one that begins with a slash is an option there."""
    return "Z:" + str(path).replace("/", "\\")


def frame_comments(path):
    """What a capture says of its frames."""
    return subprocess.run(["tshark", "-r", str(path), "-T", "fields", "-e", "frame.comment"], capture_output=True, text=True,
                          check=True).stdout.splitlines()


class Capture(WineCase):
    def test_file_and_pipe_can_be_read_here(self):
        # Names with letters that no code page has together.
        file, results = self.folder / "\u03a9 \u65e5 \u00e4.pcapng", self.folder / "results \u03a9\u65e5.json"
        options = ("ping", "198.18.0.2", *SIM, "--count", 3, "--delay", 10, "--quiet")
        self.cli(*options, "--capture", on_drive(file), "--json", on_drive(results))
        piped = self.folder / "piped.pcapng"
        with open(piped, "wb") as to:
            writer = subprocess.Popen([WINE, PROGRAMS / "vnxtest-cli.exe", *map(str, options), "--capture", "-"],
                                      env=dict(os.environ, DISPLAY=""), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            subprocess.run(["cat"], stdin=writer.stdout, stdout=to, check=True)
        self.assertEqual(writer.wait(60), 0)
        for capture in (file, piped):
            comments = frame_comments(capture)
            self.assertEqual(len(comments), 6, comments)
            self.assertRegex(comments[5], r"^reply to ping #3 of 198\.18\.0\.2, \S+ (us|ms)")
        round_trips = [ping["rttNs"] for ping in json.loads(results.read_text(encoding="utf-8"))["ping"]["pings"]]
        self.assertTrue(any(nanoseconds % 1_000_000 for nanoseconds in round_trips), round_trips)


class PackageLibrary(WineCase):
    def test_is_found_beside_the_program_and_bound_by_name(self):
        for choice in ("Vnetx64UD.dll", "auto"):
            out, _ = self.cli("report", "--library", choice, **self.install_beside("Vnetx64UD.dll"))
            # Its version resource is read, SpecialBuild and all.
            self.assertRegex(out, r'Using Vnetx64UD\.dll, version: "[\d.]+" \(.*\\Vnetx64UD\.dll\) Release build \.\.\.')

    def test_that_is_absent_is_told_without_the_report_too(self):
        results = self.folder / "results.json"

        def why_not(*command, **options):
            _, err = self.cli(*command, "--no-report", "--json", on_drive(results), **options)
            return json.loads(results.read_text(encoding="utf-8"))["whyNotThePackage"], " ".join(err.split())
        told, err = why_not("run", "--library", "auto", "--guest-ip", "10.9.9.9", "--adapter", "10.9.9.1", status=2,
                            **self.install_beside(None))
        self.assertRegex(told, r"^Vnetx64UD\.dll was not found in .*, takes its place\.$")
        self.assertIn("warning: " + told, err)
        self.assertIsNone(why_not("ping", "198.18.0.2", "--count", 1, "--library", "sim")[0])

    def test_that_is_not_used_is_told_in_a_banner(self):
        def banner(word, **options):
            out, _ = self.cli("report", "--library", "auto", **options)
            return " ".join(" ".join(re.findall(rf"^\S+ {word}:  \*(.*)\*$", out, re.M)).split())
        text = banner("WARNING", **self.install_beside(None))
        for name in ("WrenPack64UD.dll", "Vnetx64UD.dll"):
            self.assertIn(name + " was not found in ", text)
        # A library of another kind under the name of the package's: what it lacks is told, all of it.
        shutil.copy(PROGRAMS / "Vnetx64UD.dll", self.folder / "WrenPack64UD.dll")
        text = banner("ERROR", folder=self.folder)
        self.assertIn("lacks these exports: WrenPackGetAdaptersList, WrenPackOpenAdapter, WrenPackCloseAdapter.", text)


class Settings(WineCase):
    def setUp(self):
        super().setUp()
        self.forget_settings()
        self.addCleanup(self.forget_settings)

    def test_values_of_the_registry_are_honoured_and_saved_with_their_kinds(self):
        for name, kind, data in (("Interface1_bTAPMode", "REG_DWORD", 7), ("NumPings", "REG_DWORD", 2),
                                 ("Interface1_strAdapter_IPAddr", "REG_SZ", "198.18.0.1"),
                                 ("Interface1_strInterface_IPAddr", "REG_SZ", "198.18.0.110"),
                                 ("PingDelay", "REG_SZ", "no number")):
            self.set(name, kind, data, SIM_KEY)
        self.set("Interface1_strInterface_IPAddr", "REG_SZ", "192.0.2.7")  # the user's own
        out, _ = self.cli("ping", "198.18.0.2", *SIM, "--save", "--timeout", 400)
        self.assertIn("(ip=198.18.0.110, mac=", out)
        self.assertIn("ping  -c 2  -i 1000  -s 32  -w 400  198.18.0.2", out)
        self.assertEqual(self.values(), {"Interface1_strInterface_IPAddr": ("REG_SZ", "192.0.2.7")})
        values = self.values(SIM_KEY)
        self.assertEqual(values["Interface1_bTAPMode"], ("REG_DWORD", "0x1"))
        self.assertEqual(values["Interface1_strInterface_IPAddr"], ("REG_SZ", "198.18.0.110"))
        self.assertEqual(values["WhoPingIPAddr"], ("REG_DWORD", "0x20012c6"))  # first octet in the lowest byte
        self.assertEqual(values["WhoPingName"], ("REG_SZ", "198.18.0.2"))
        self.assertEqual(values["PingTimeout"], ("REG_DWORD", "0x190"))


class OffloadSettings(WineCase):
    def test_class_key_of_the_adapter_is_read(self):
        adapter = r"AdapterName         = NPF_(\S+)\n(?:.*\n)*?.*LSO v1 \(IPv4\)       = (.*)\n.*= (.*)\n.*= (.*)\n.*= (.*)\n"

        def flags():
            out, _ = self.cli("report", "--library", "sim")
            return {name: tuple(words) for name, *words in re.findall(adapter, out)}
        before = flags()
        instance = next(name for name in before if name.startswith("{"))
        self.assertEqual(before[instance], ("no?",) * 4)
        other, own = CLASS_KEY + r"\0007", CLASS_KEY + r"\0008"
        self.set("NetCfgInstanceId", "REG_SZ", instance.lower() + "x", other)
        self.set("*LsoV1Ipv6", "REG_SZ", "1", other)
        self.set("NetCfgInstanceId", "REG_SZ", instance, own)
        for name, kind, data in (("*LsoV2Ipv4", "REG_SZ", "1"), ("*LsoV2Ipv6", "REG_DWORD", 1),
                                 ("*LsoV1Ipv4", "REG_SZ", "12")):  # too long: counts as absent
            self.set(name, kind, data, own)
        after = flags()
        for key in (other, own):
            self.wine("reg", "delete", key, "/f")
        self.assertEqual(after.pop(instance), ("no?", "no?", "ENABLED", "no"))
        self.assertTrue(all(words == ("no?",) * 4 for words in after.values()), after)


class Window(WineCase):
    """The window on a display of its own, driven by keys. Its text is read by saving it."""

    def setUp(self):
        super().setUp()
        if not os.environ.get("DISPLAY") or shutil.which("xdotool") is None:
            self.skipTest("needs a display with a window manager, and xdotool")
        end_wine()
        self.addCleanup(self.forget_settings)
        self.shots = 0
        # Of the replies the fourth and the fifth have the Don't-Fragment bit.
        self.program = subprocess.Popen([WINE, PROGRAMS / "VNXTest64UD.exe", "--library", "sim:df=50,seed=1"],
                                        stderr=subprocess.DEVNULL)
        self.addCleanup(end_wine)
        self.addCleanup(lambda: (self.program.kill(), self.program.wait()))
        self.dialog("Untitled - VNXTest", 120)
        self.text = ""

    def wait(self, condition, what, seconds):
        deadline = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > deadline:
                self.shoot()
                self.fail(f"not within {seconds} s: {what}")
            time.sleep(0.2)

    def shoot(self):
        self.shots += 1
        if "VNXTEST_SCREENSHOTS" in os.environ:
            subprocess.run(["import", "-window", "root", f"{os.environ['VNXTEST_SCREENSHOTS']}/{self.shots}.png"])

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], capture_output=True, text=True).stdout

    def keys(self, *keys):
        for key in keys:
            self.xdotool("key", "--clearmodifiers", key)
            time.sleep(0.1)

    def titles(self):
        shown = self.xdotool("search", "--onlyvisible", "--name", ".").split()
        return {self.xdotool("getwindowname", window).strip() for window in shown}

    def dialog(self, title, seconds=30):
        def has_the_keys():
            return self.xdotool("getactivewindow", "getwindowname").strip() == title
        self.wait(has_the_keys, f"{title!r} is shown and has the keys", seconds)
        time.sleep(0.7)
        self.shoot()

    def gone(self, title):
        self.wait(lambda: title not in self.titles(), f"{title!r} is gone", 30)
        time.sleep(0.5)

    def command(self, *keys, title=None):
        """Opens a menu and chooses by the keys given; the dialog that follows."""
        self.keys(keys[0])
        time.sleep(0.7)
        self.keys(*keys[1:])
        if title:
            self.dialog(title)

    def enter_path(self, title, path):
        self.dialog(title)
        self.keys("Home", "shift+End")
        self.xdotool("type", "--delay", "8", "--", on_drive(path))
        self.keys("Return")
        self.gone(title)

    def saved_text(self, *wanted):
        """Saves the report until it holds all that is wanted."""
        path = self.folder / "report.vnt"

        def save():
            self.keys("ctrl+s")
            time.sleep(1)
            if not self.text:
                self.enter_path("Save As", path)
            self.text = path.read_text(encoding="utf-8") if path.exists() else ""
            return all(piece in self.text for piece in wanted)
        self.wait(save, f"the text has {wanted}", 90)

    def test_main_job(self):
        self.command("alt+f", "x", title="VNXTest64UD")  # whether to save
        self.keys("Escape")
        self.gone("VNXTest64UD")
        self.saved_text("Detected Adapters", "simulated LAN")
        self.command("alt+h", "a", title="About VNXTest64UD")
        self.keys("Return")
        self.gone("About VNXTest64UD")
        for downs, title in ((4, "Define Buffer Sizes..."), (5, "Define Default Gateway"), (8, "Set Debug Flags")):
            self.command("alt+t", *["Down"] * downs, "Return", title=title)
            self.keys("Escape")
            self.gone(title)
        self.command("alt+v", "f")
        self.enter_path("Capture to file", self.folder / "guest.pcapng")
        self.command("alt+t", "Return", title="VNXTest64UD Parameters")
        self.keys("F1")  # a balloon; Escape closes it and nothing else
        time.sleep(1)
        self.keys("Escape")
        self.xdotool("type", "--delay", "50", "--", "10.9.9.9")
        for answer in ("Escape", "alt+p"):  # Cancel leads back to the parameters
            self.dialog("VNXTest64UD Parameters")
            self.keys("Return")
            self.gone("VNXTest64UD Parameters")
            self.dialog("Subnets Warning")
            self.keys(answer)
            self.gone("Subnets Warning")
        self.saved_text("*** Interface sim0 enabled/up")
        self.command("alt+t", "Down", "Return", title="Ping who?")
        self.keys("ctrl+a")
        self.xdotool("type", "--delay", "8", "--", "198.18.0.2")
        self.keys("Return")
        self.gone("Ping who?")
        self.saved_text("3 Replies Received", "Ping test successful.", "** END PING TEST **")
        self.command("alt+t", "Down", "Return", title="Ping who?")
        self.keys("Return")
        self.gone("Ping who?")
        self.saved_text("2 Pings Lost (67%)")
        self.command("alt+m", title="Advice - Netorra Help")  # "More" of the bar with the advice
        self.keys("alt+F4")
        self.gone("Advice - Netorra Help")
        self.dialog("report.vnt - VNXTest")
        self.command("alt+t", "Down", "Down", "Down", "Return")
        self.saved_text("** Interface sim0 closed")
        self.assertIn("ignored: Fragmented (Don't-Fragment is set)", frame_comments(self.folder / "guest.pcapng"))
        self.command("alt+f", "x")
        self.assertEqual(self.program.wait(30), 0)
        values = self.values(SIM_KEY)
        self.assertEqual(values["Interface1_strInterface_IPAddr"], ("REG_SZ", "10.9.9.9"))
        self.assertEqual(values["WhoPingName"], ("REG_SZ", "198.18.0.2"))
        self.assertEqual(values["NumPings"], ("REG_DWORD", "0x3"))


class GuestOnAWire(WineCase):
    """The built-in pcap library on Wine's wpcap.dll, and a kernel at the other end of the cable."""

    def setUp(self):
        super().setUp()
        if why := network.why_no_namespaces():
            self.skipTest(why)
        self.here, self.there = network.Namespace("windows"), network.Namespace("far")
        self.addCleanup(self.here.remove)
        self.addCleanup(self.there.remove)
        network.cable(self.here, "veth0", "10.77.0.2", self.there, "veth1", "10.77.0.1")
        # Adapters are asked of services of Wine: a prefix of its own, started in the namespace.
        self.prefix = self.folder / "prefix"
        self.environment = dict(os.environ, VNXTEST_WINE_PREFIX=str(self.prefix), DISPLAY="")
        self.addCleanup(end_wine, self.prefix)
        self.start("wineboot", "--init").wait(120)

    def start(self, *command):
        return subprocess.Popen(self.here.command(WINE, *command), env=self.environment, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL)

    def test_kernel_pings_the_guest(self):
        # The last through a library of the package's name, which the folder of its program holds.
        folder = self.install_beside("Vnetx64UD.dll")["folder"]
        for program, *options in ((PROGRAMS, "--mode", "tap"), (PROGRAMS, "--mode", "tun"),
                                  (PROGRAMS, "--mode", "tap", "--socket-notify"), (folder, "--mode", "tap")):
            with self.subTest(program=program, options=options):
                guest = self.start(program / "vnxtest-cli.exe", "run", "--library",
                                   "auto" if program == folder else "pcap", "--adapter", "10.77.0.2",
                                   "--guest-ip", "10.77.0.99", "--no-report", "--proceed", "--duration", "6", *options)
                line = b"x"
                while line and b"enabled/up" not in line:
                    line = guest.stdout.readline()
                time.sleep(1)  # the line is written just before it is
                # Wine has no SendARP: the guest learns where its peer is when it is asked for by ARP.
                self.there.ip("neighbour", "flush", "all")
                ping = self.there.run("ping", "-M", "dont", "-c", "5", "-i", "0.3", "10.77.0.99")
                rest = guest.communicate(timeout=60)[0].decode()
                self.assertIn(" 0% packet loss", ping.stdout, rest)
                self.assertIn("** Someone is PINGing Vant!", rest)
                self.assertRegex(rest, r"\*\* Interface vnx\d+ closed")
        # And the other way round.
        guest = self.start(folder / "vnxtest-cli.exe", "ping", "10.77.0.1", "--library", "auto", "--adapter", "10.77.0.2",
                           "--guest-ip", "10.77.0.99", "--mode", "tun", "--no-report", "--proceed")
        self.assertIn("3 Replies Received", guest.communicate(timeout=60)[0].decode())


def properties(path):
    """The texts of a file's version resource, as its properties show them."""
    data = path.read_bytes()
    texts = data[data.rindex("StringFileInfo".encode("utf-16le")):][:4000].decode("utf-16le", "replace")
    # Each is a header of three words (the last is 1: a text), its name, its value.
    return dict(re.findall("\1([A-Z][A-Za-z]+)\0+([^\0]+)\0", texts))


class Installer(WineCase):
    UNINSTALL = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\VNXTest64UD"
    INSTALLED = PREFIX / "drive_c/Program Files/VNXTest64UD"
    READ = {"README.txt", "licences/THIRD-PARTY.txt", "licences/wxwidgets.txt", "licences/gcc.txt", "licences/nsis.txt"}
    PROGRAMS = {"VNXTest64UD.exe", "vnxtest-cli.exe", "vnxtest.htb"}

    def setUp(self):
        super().setUp()
        self.installer = next(PACKAGES.glob("*-setup.exe"))
        self.version = self.installer.name.split("-")[1]
        self.addCleanup(self.forget_settings)

    def files(self):
        return {path for path in (PREFIX / "drive_c").rglob("*") if "VNXTest64UD" in str(path)}

    def installed(self):
        return {str(path.relative_to(self.INSTALLED)) for path in self.INSTALLED.rglob("*") if path.is_file()}

    def uninstall(self, left=frozenset()):
        self.wine(self.INSTALLED / "uninstall.exe", "/S")
        deadline = time.monotonic() + 60  # the uninstaller goes on as a copy of itself
        while self.files() != left and time.monotonic() < deadline:
            time.sleep(0.5)
        self.assertEqual(self.files(), left)
        self.wine("reg", "query", self.UNINSTALL, status=1)

    def test_installs_and_uninstalls_leaving_nothing(self):
        self.assertEqual(self.files(), set())
        self.wine(self.installer, "/S")
        self.assertLessEqual(self.PROGRAMS | self.READ, self.installed())
        self.assertLessEqual({"VNXTest64UD.lnk", "First steps.lnk"}, {path.name for path in self.files()})
        entry = self.values(self.UNINSTALL)
        self.assertEqual((entry["Publisher"][1], entry["DisplayVersion"][1]), ("Corvane Software Works", self.version))
        self.assertIn("Ping test successful.", self.cli("ping", "198.18.0.2", *SIM, "--count", 1, folder=self.INSTALLED)[0])
        self.uninstall()

    def test_takes_the_place_of_an_older_version(self):
        older = self.folder / "older-setup.exe"
        subprocess.run(["makensis", "-V1", "-XSetCompressor /FINAL zlib", "-DVERSION=1.2.3.4", f"-DOUTFILE={older}",
                        PACKAGES.parent / "packaging/windows/installer.nsi"], check=True)
        folder = r"C:\VNXTest64UD-elsewhere"
        self.INSTALLED = PREFIX / "drive_c/VNXTest64UD-elsewhere"
        self.wine(older, "/S", "/D=" + folder)
        self.assertEqual(self.values(self.UNINSTALL)["DisplayVersion"][1], "1.2.3.4")
        self.cli("ping", "198.18.0.2", *SIM, "--count", 7, "--delay", 0, "--save", folder=self.INSTALLED)
        shutil.copy(PROGRAMS / "Vnetx64UD.dll", self.INSTALLED)  # the user's own
        before = self.installed()
        guest = subprocess.Popen([WINE, self.INSTALLED / "vnxtest-cli.exe", "run", *SIM], stdout=subprocess.PIPE,
                                 stderr=subprocess.DEVNULL, env=dict(os.environ, DISPLAY=""))
        self.assertIn(b"enabled/up", guest.stdout.readline())
        # "_?=": the uninstaller does not go on as a copy of itself, so that its status can be seen.
        for refused in ((self.installer, "/S"), (self.INSTALLED / "uninstall.exe", "/S", "_?=" + folder)):
            self.wine(*refused, status=2)
            self.assertEqual(self.installed(), before)
            self.assertEqual(self.values(self.UNINSTALL)["DisplayVersion"][1], "1.2.3.4")
        self.wine("taskkill", "/f", "/im", "vnxtest-cli.exe")
        guest.communicate(timeout=60)
        self.wine(self.installer, "/S")
        self.assertEqual(self.installed(), before)
        self.assertEqual(self.values(self.UNINSTALL)["DisplayVersion"][1], self.version)
        self.assertEqual(self.values(SIM_KEY)["NumPings"], ("REG_DWORD", "0x7"))
        self.uninstall({self.INSTALLED, self.INSTALLED / "Vnetx64UD.dll"})
        shutil.rmtree(self.INSTALLED)

    def test_zip_holds_the_programs(self):
        listing = subprocess.run([sys.executable, "-m", "zipfile", "-l", next(PACKAGES.glob("*.zip"))],
                                 capture_output=True, text=True, check=True).stdout
        for name in self.PROGRAMS | self.READ:
            self.assertIn("/" + name, listing)

    def test_files_have_their_properties(self):
        for path in (PROGRAMS / "VNXTest64UD.exe", PROGRAMS / "vnxtest-cli.exe", PROGRAMS / "Vnetx64UD.dll", self.installer):
            told = properties(path)
            self.assertLessEqual({"CompanyName": "Corvane Software Works", "ProductName": "VNXTest64UD",
                                  "LegalCopyright": "Copyright (C) Corvane Software Works", "FileVersion": self.version,
                                  "ProductVersion": self.version, "OriginalFilename": path.name}.items(), told.items())
            self.assertTrue(told["FileDescription"] and told["InternalName"], told)


if __name__ == "__main__":
    result = unittest.TextTestRunner(verbosity=2).run(
        unittest.defaultTestLoader.loadTestsFromName(sys.argv[1], sys.modules[__name__]))
    sys.exit(1 if not result.wasSuccessful() else 77 if len(result.skipped) == result.testsRun else 0)
