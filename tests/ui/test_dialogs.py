"""The dialogs: every refusal once and in order, what may be typed while, what is kept and what is not."""

import os
import pathlib
import socket
import time
import unittest

from cases import DesktopCase

INVALID_IP = "IP Address. The IP Address you entered is invalid. Please enter a valid IP address."
INVALID_MAC = "MAC Address. The hardware address you entered is invalid. Please enter a valid hardware address"
NO_ADAPTER = ("IP Address. You must identify which host adapter should be used by specifying either its IP address "
              "or MAC address.")
NO_SUCH_IP = "IP Address. No such host adapter exists with this IP address."
NO_SUCH_MAC = "MAC Address. No such host adapter exists with this MAC address."
ENTRIES = {"Size": (8, 65507), "Count": (1, 65535), "Timeout in milliseconds": (0, 10000),
           "Delay in milliseconds": (0, 10000)}
TRACE = ("Old/New values", "ARP packets read", "ARP packets written", "Other packets read", "Other packets written",
         "Packet contents")
USE_TWO = "Use two virtual interfaces for this test"
ENABLE = " Enable debugging messages:"


class DialogCase(DesktopCase):
    def open(self, label, title, menu="t"):
        self.box = self.program.choose_dialog(menu, label, title)

    def open_parameters(self):
        self.open('Start "Vantor"...', "VNXTest64UD Parameters")

    def ok(self):
        self.desktop.keys("Return")
        self.program.wait_no_dialog()

    def cancel(self):
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def entry(self, name, index=1, field=1):
        """Of a name like "Guest IP" or "Host adapter MAC"."""
        part = f", field {field} of 4" if name.endswith("IP") else ""
        return self.box.find("text", f"{name} address of interface {index}{part}")

    def put(self, name, text, index=1):
        for field, part in enumerate(text.split("."), 1):
            self.entry(name, index, field).fill(part)

    def refused(self, message, focus):
        """OK brings up the balloon and puts the focus on the control; Escape closes the balloon and nothing else."""
        self.desktop.keys("Return")
        self.assertEqual(self.program.balloon(), message)
        self.wait(lambda: focus.focused, f"the focus is on {focus.name}")
        self.desktop.keys("Escape")
        time.sleep(0.2)
        self.assertEqual(self.program.dialogs()[-1].name, self.box.name)

    def out_of_range(self, ranges):
        """The dialog's numbers are judged one by one, in this order; then each is at its greatest."""
        entries = [self.box.find("text", name) for name in ranges]
        for entry, (_, most) in zip(entries, ranges.values()):
            entry.fill(most + 1)
        for entry, (least, most) in zip(entries, ranges.values()):
            self.desktop.keys("Return")
            told = self.program.dialog("VNXTest64UD").find("label").name
            self.assertEqual(told, f"Enter an integer between {least} and {most}.", entry.name)
            self.desktop.keys("Return")
            self.wait(lambda: entry.focused, f"the focus is on {entry.name}")
            entry.fill(most)

    def trace_packet_contents(self):
        self.open("Set debug flags...", "Set Debug Flags")
        for name in (ENABLE, " Packet contents"):
            self.box.find("check box", name).click()
        self.ok()

    def numbers(self, names):
        return [self.box.find("text", name).text for name in names]


class Parameters(DialogCase):
    def test_refusals_and_what_closes_which_entry(self):
        before = self.program.profile()
        self.open_parameters()
        by_ip, by_mac, not_yet = [True, False], [False, True], [True, True]  # which way the adapter can be named
        for index in (1, 2):
            self.assertEqual(self.entry("Guest IP", index).enabled, index == 1)
            if index == 2:
                self.box.find("check box", USE_TWO).click()
                self.wait(lambda: self.entry("Guest IP", 2).enabled, "interface 2 is open")
            ip, mac = self.entry("Host adapter IP", index), self.entry("Host adapter MAC", index)
            for name, text, ways, message in (
                    ("Guest IP", "198.18.0.", by_ip, INVALID_IP), ("Guest IP", f"198.18.0.{index}1", by_ip, None),
                    ("Guest MAC", ("03" if index == 1 else "00") + "-00-5E-80-00-04", by_ip, INVALID_MAC),
                    ("Guest MAC", "", by_ip, None),
                    ("Host adapter IP", "198.18.0.77", by_ip, NO_SUCH_IP),
                    ("Host adapter IP", "...", not_yet, NO_ADAPTER),
                    ("Host adapter MAC", "02-11-22-33-44-55", by_mac, NO_SUCH_MAC),
                    ("Host adapter MAC", "", not_yet, None), ("Host adapter MAC", "02-56-4E-12-00-01", by_mac, None)):
                self.put(name, text, index)
                self.wait(lambda: [ip.enabled, mac.enabled] == ways, f"after {name} {text}: {ways}")
                if message:
                    self.refused(message, self.entry(name, index))
        self.cancel()
        self.assertEqual(self.program.profile(), before, "nothing is stored before OK")
        self.open_parameters()
        self.assertEqual(self.entry("Host adapter IP").text, "198")

    def test_proceed_question_and_two_interfaces(self):
        self.open_parameters()
        self.put("Guest IP", "10.9.9.9")
        self.box.find("check box", USE_TWO).click()
        for answer in ("Return", "Escape"):  # Cancel is the default
            self.desktop.keys("Return")
            question = self.program.dialog("Subnets Warning")
            self.wait(lambda: question.find("push button", "Cancel").focused, "Cancel has the focus")
            for text in ("Your guest IP is in a different subnet!", "Do you wish to proceed anyway?"):
                question.find("label", text)
            self.desktop.keys(answer)
            self.box = self.program.dialog("VNXTest64UD Parameters")
            self.assertEqual(self.entry("Guest IP").text, "10", "with the values just entered")
        self.desktop.keys("Return")
        question = self.program.dialog("Subnets Warning")
        more = question.find("toggle button", "More information")
        self.desktop.keys("Tab", "Tab")
        self.wait(lambda: more.focused, "the keyboard leads to more information")
        self.desktop.keys("space")
        self.wait(lambda: "your tests are likely to fail." in str([label.name for label in question.select("label")]),
                  "there is more information")
        self.desktop.keys("alt+p")
        self.program.wait_no_dialog()
        self.program.wait_enabled('Stop "Vantor"')
        self.open("Start ping test...", "Ping who?")
        second = self.box.find("radio button", "Interface2")
        self.desktop.keys("alt+2")
        self.wait(lambda: second.checked, "there is a choice now")
        self.cancel()
        self.program.stop_guest()
        text = self.program.save(self.desktop.path / "two.vnt")
        self.assertEqual((text.count("*** Interface "), text.count(" closed... (ip=")), (2, 2))


class Others(DialogCase):
    def test_buffer_sizes_and_ping_who(self):
        program, names = self.program, {"Driver buffer size in K bytes": (64, 16384),
                                        "DLL buffer size in K bytes": (16, 1024)}
        self.open("Define buffer sizes...", "Define Buffer Sizes...")
        self.assertEqual(self.numbers(names), ["1024", "64"])
        self.out_of_range(names)
        self.ok()
        self.open("Define buffer sizes...", "Define Buffer Sizes...")
        self.assertEqual(self.numbers(names), ["16384", "1024"])
        self.box.find("text", next(iter(names))).fill("4096")
        self.cancel()
        program.start_guest()
        before = program.profile()
        self.open("Start ping test...", "Ping who?")
        self.assertFalse(self.box.find("radio button", "Interface2").enabled)
        self.assertEqual(self.numbers(ENTRIES), ["32", "3", "500", "1000"])
        target = self.box.find("text", "To")
        target.fill("")
        self.out_of_range(ENTRIES)
        self.refused("Ping Who. Please enter a valid IP address or name.", target)
        target.fill("no-such-host.invalid")
        self.desktop.keys("Return")
        self.assertRegex(program.balloon(), r"(?s)^Ping Who\. \S.+\nPlease enter a valid IP address or name\.$")
        self.desktop.keys("Escape")  # the balloon
        self.cancel()
        self.assertEqual(program.profile(), before)
        # The sizes that were confirmed are what the interface was opened with; what was cancelled is not.
        program.stop_guest()
        self.assertRegex(program.save(self.desktop.path / "sizes.txt"),
                         "(?s)Size of Kernel Capture Buffer:   16384K.*Size of DLL I/O Buffer:           1024K")

    def test_default_gateway(self):
        program, name = self.program, "IP address of the default gateway, field {} of 4"
        self.open("Define default gateway...", "Define Default Gateway")
        fields = [self.box.find("text", name.format(field)) for field in range(1, 5)]
        self.assertEqual([field.text for field in fields], ["198", "18", "0", "254"])
        fields[1].fill("")
        self.refused(INVALID_IP, fields[0])
        fields[1].fill("18")
        fields[3].fill("150")  # silent
        self.desktop.keys("Return")
        program.answer("Let me fix the error.")
        self.wait(lambda: len(program.dialogs()) == 1 and fields[0].focused, "the dialog is still open")
        self.desktop.keys("Return")
        program.answer("Use the entered value.")
        program.wait_no_dialog()
        # A gateway that is known by no hardware address counts as undefined, unless this machine forwards itself.
        self.open_parameters()
        if pathlib.Path("/proc/sys/net/ipv4/ip_forward").read_text().strip() == "0":
            self.desktop.keys("Return")
            program.dialog("Undefined Gateway")
            self.desktop.keys("Escape")
            program.dialog("VNXTest64UD Parameters")
        self.cancel()
        self.open("Define default gateway...", "Define Default Gateway")
        last = self.box.find("text", name.format(4))
        self.assertEqual(last.text, "150")
        self.cancel()
        # It stays, in a new document and when the adapters are looked for once more, and the line says so.
        for _ in range(2):
            self.assertIn("  Default gateway:  198.18.0.150  (unresponsive)\n", self.new_document())
            program.choose("t", "Re-detect adapters")
            found = self.document.count("Connection          = ")
            told = "1 adapter found." if found == 1 else f"{found} adapters found."
            self.wait(lambda: told in program.status(), told)
        self.open("Define default gateway...", "Define Default Gateway")
        self.box.find("text", name.format(4)).fill("254")  # answers
        self.ok()
        self.assertRegex(self.new_document(), r"\n  Default gateway:  198\.18\.0\.254  \((\w\w-){5}\w\w\)\n")
        program.start_guest()

    def new_document(self):
        """The text of a new document, saved."""
        self.desktop.keys("ctrl+n")
        self.program.answer("Don't Save")
        self.program.wait_no_dialog()
        file = self.desktop.path / "new.txt"
        self.document = "\n".join(line[13:] for line in self.program.save(file).splitlines())
        file.unlink()
        self.desktop.keys("ctrl+n")  # untitled again
        self.program.wait_enabled('Start "Vantor"...')
        return self.document


@unittest.skipUnless(os.geteuid() == 0, "needs a name server of its own")
class SilentNameServer(DialogCase):
    """The program asks a name server that answers when it is told to."""

    arguments = None

    def setUp(self):
        super().setUp()
        self.server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.addCleanup(self.server.close)
        self.server.bind(("127.0.0.78", 53))
        self.server.settimeout(30)
        self.unanswered = []
        servers = self.desktop.path / "resolv.conf"
        servers.write_text("nameserver 127.0.0.78\nsearch .\noptions timeout:30 attempts:1\n", "ascii")
        self.program = self.start("--library", "sim", prefix=[
            "unshare", "-m", "sh", "-c", f'mount --bind {servers} /etc/resolv.conf && exec "$0" "$@"'])
        self.program.start_guest()

    def look_up(self):
        self.desktop.keys("Return")
        self.unanswered.append(self.server.recvfrom(512))
        self.box.find("label", "(looking up...)")
        self.assertEqual(self.buttons(), [False, True])

    def answer_all(self):
        """There is no such name."""
        while self.unanswered:
            query, asker = self.unanswered.pop(0)
            self.server.sendto(query[:2] + b"\x81\x83" + query[4:], asker)
        time.sleep(0.5)

    def buttons(self):
        return [self.box.find("push button", label).enabled for label in ("OK", "Cancel")]

    def test_a_name_that_nobody_looks_up(self):
        self.open("Start ping test...", "Ping who?")
        target = self.box.find("text", "To")
        target.fill("nobody.example")
        for end in (lambda: self.desktop.keys("Escape"), lambda: self.program.press(self.box, "Cancel"),
                    lambda: self.desktop.keys("alt+F4")):
            self.look_up()
            self.desktop.keys("Return")  # nothing more to confirm
            self.desktop.type("x")
            self.assertEqual(target.text, "nobody.example")
            end()
            self.wait(lambda: self.buttons() == [True, True], "the wait is over")
            self.assertEqual([window.name for window in self.program.dialogs()], ["Ping who?"])
            self.assertEqual(self.box.select("label", "(looking up...)"), [])
        last = len(self.unanswered)
        self.look_up()
        mine = self.unanswered.pop(last)
        self.answer_all()  # those who asked have gone
        self.assertEqual(self.buttons(), [False, True])
        self.unanswered.append(mine)
        self.answer_all()
        self.assertRegex(self.program.balloon(), r"(?s)^Ping Who\. \S.+\nPlease enter a valid IP address or name\.$")
        self.desktop.keys("Escape")
        # The dialog is gone, and a test has begun, when the look-up ends.
        self.look_up()
        self.desktop.keys("Escape")
        self.wait(lambda: self.buttons() == [True, True], "the wait is over")
        self.cancel()
        self.program.start_ping("198.18.0.3", Count=2, Delay=0)
        self.program.wait_ping_end()
        self.answer_all()
        self.program.stop_guest()
        self.assertEqual(self.program.save(self.desktop.path / "pings.txt").count(" Sending ping #"), 2)
        self.assertEqual(self.program.complaints(), "")


class Settings(DialogCase):
    def told(self, text, last=False):
        self.box = self.program.dialog("VNXTest64UD")
        label = self.box.find("label").name
        self.assertTrue(label.startswith("The settings could not all be read or stored.\n\n"), label)
        self.assertIn(text, label)
        self.desktop.keys("Return")
        if not last:
            self.program.wait_no_dialog()

    def test_what_cannot_be_stored_or_read_is_told_once(self):
        folder = self.desktop.path / "config/VNXTest64UD"
        (folder / ".lock").unlink(missing_ok=True)
        (folder / ".lock").mkdir(parents=True)
        self.program.choose("t", "Socket-notify mode")
        self.told("/.lock failed; errno=21: Is a directory")
        self.program.choose("t", "Socket-notify mode")
        time.sleep(0.5)
        self.assertEqual(self.program.dialogs(), [])
        (folder / "VNXTest64UD.conf").write_text("[SimulatedLan]\nno equals sign\n")
        self.open_parameters()
        self.desktop.keys("Escape")
        self.told("/VNXTest64UD.conf is damaged (")


    def test_what_cannot_be_stored_at_the_end_is_told(self):
        lock = self.desktop.path / "config/VNXTest64UD/.lock"
        lock.unlink(missing_ok=True)
        lock.mkdir(parents=True)
        self.program.choose("f", "Exit")
        self.program.answer("Don't Save")
        self.told("/.lock failed; errno=21: Is a directory", last=True)
        self.assertEqual(self.program.process.wait(60), 0)


class DebugFlags(DialogCase):
    arguments = None

    def test_debug_flags_keep_marks_and_foreign_bits(self):
        # Of these the bit 0x40 belongs to a box; all others are nobody's.
        folder = self.desktop.path / "config/VNXTest64UD"
        folder.mkdir()
        profile = folder / "VNXTest64UD.conf"
        real = "[Settings]\nInterface1_strAdapter_IPAddr=192.0.2.200\nDebugMode=1\nAbout=40,60,0,0,0\nMainFrame=10,10,900,700,0\n"
        profile.write_text(f"{real}[SimulatedLan]\nDebugFlags={0x12345}\n")
        self.program = self.start("--library", "sim")
        before = self.program.profile()
        self.open("Set debug flags...", "Set Debug Flags")
        boxes = [self.box.find("check box", f" {name}") for name in TRACE]
        enable = self.box.find("check box", ENABLE)
        self.assertEqual([box.checked for box in boxes], [False, False, False, False, True, False])
        self.assertFalse(any(box.enabled for box in boxes))
        enable.click()
        self.wait(lambda: all(box.enabled for box in boxes), "the boxes are open")
        for box in (boxes[0], boxes[4], enable):
            box.click()
        self.wait(lambda: not any(box.enabled for box in boxes), "the boxes are closed, their marks kept")
        self.assertEqual([box.checked for box in boxes], [True] + 5 * [False])
        self.cancel()
        self.assertEqual(self.program.profile(), before)
        self.trace_packet_contents()
        self.assertEqual(int(self.program.profile()["DebugFlags"]) & 0xFFFFFFFF, 0x40012345)
        # The user's settings for real adapters are not offered here, and stay as they were.
        self.open_parameters()
        self.assertEqual([self.entry("Host adapter IP", field=field).text for field in range(1, 5)],
                         ["198", "18", "0", "1"])
        self.ok()
        self.program.wait_enabled("Start ping test...")
        self.assertIn("Interface1_strAdapter_IPAddr=198.18.0.1\n", profile.read_text())
        self.assertTrue(profile.read_text().startswith(real), profile.read_text())


class Restart(DialogCase):
    def move(self, title, moved, x, y):
        """Moves a window, and gives its place once the toolkit knows it, too."""
        window = self.desktop.xdotool("search", "--onlyvisible", "--name", title).split()[-1]
        self.desktop.xdotool("windowmove", "--sync", window, x, y)
        self.wait(lambda: abs(moved.place.x - x) + abs(moved.place.y - y) < 60, "it has moved")
        return moved.settled_place(0.5)

    def open_about(self):
        self.open("About VNXTest...", "About VNXTest64UD", "h")
        self.box.find("label", "Vnetx for Linux Testing Program -- Version 3.9.0.6222-UD")

    def test_every_setting_survives_a_restart(self):
        program = self.program
        program.choose("t", "Socket-notify mode")
        self.wait(lambda: program.profile().get("SocketNotifyMode") == "1", "it is stored at once")
        program.choose("v", "Ping chart")
        self.trace_packet_contents()
        self.open_parameters()
        self.box.find("radio button", "Tap").click()
        self.put("Guest IP", "198.18.0.55")
        self.put("Guest MAC", "02005E800004")  # separators come by themselves
        self.put("Host adapter IP", "...")
        self.put("Host adapter MAC", "02-56-4E-12-00-01")
        self.ok()
        program.start_ping("198.18.0.3", Size=33, Count=1, Timeout=1500, Delay=7)
        program.wait_ping_end()
        program.stop_guest()
        self.open_about()
        places = [self.move("About VNXTest64UD", self.box, 40, 60)]
        self.cancel()
        places.append(self.move("Untitled - VNXTest", program.frame, 200, 90))
        program.choose("f", "Exit")
        program.answer("Don't Save")
        self.assertTrue(program.ended(), program.complaints())
        program = self.program = self.start("--library", "sim")
        self.open_about()
        for before, window in zip(places, (self.box, program.frame)):
            self.wait(lambda: abs(before.x - window.place.x) + abs(before.y - window.place.y) <= 12,
                      lambda: f"{window.name} is where it was: {before}, {window.place}")
        self.cancel()
        menu = program.menu_states("t")
        self.assertTrue(menu["Socket-notify mode"][1] and menu["Set debug flags..."][1] and program.chart() is None)
        self.open("Set debug flags...", "Set Debug Flags")
        self.assertEqual([self.box.find("check box", f" {name}").checked for name in TRACE],
                         [True, True, True, False, False, True])
        self.cancel()
        self.open_parameters()
        self.assertTrue(self.box.find("radio button", "Tap").checked)
        fields = [(name, 1, field) for name in ("Guest IP", "Host adapter IP") for field in range(1, 5)]
        self.assertEqual([self.entry(*field).text for field in (*fields, ("Guest MAC",), ("Host adapter MAC",))],
                         ["198", "18", "0", "55", "", "", "", "", "02-00-5E-80-00-04", "02-56-4E-12-00-01"])
        self.ok()
        self.open("Start ping test...", "Ping who?")
        self.assertEqual(self.numbers(("To", *ENTRIES)), ["198.18.0.3", "33", "1", "1500", "7"])
