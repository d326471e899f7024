"""The dialogs: every refusal once and in order, what may be typed while, what is kept and what is not."""

import pathlib
import time

from lab import DesktopCase

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
ENABLE = " Enable debugging messages:"


class DialogCase(DesktopCase):
    def open(self, label, title, menu="t"):
        self.box = self.program.choose_dialog(menu, label, title)
        return self.box

    def open_parameters(self):
        return self.open('Start "Vantor"...', "VNXTest64UD Parameters")

    def ok(self):
        self.desktop.keys("Return")
        self.program.wait_no_dialog()

    def cancel(self):
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def ip(self, name, index=1, field=1):
        return self.box.find("text", f"{name} IP address of interface {index}, field {field} of 4")

    def mac(self, name, index=1):
        return self.box.find("text", f"{name} MAC address of interface {index}")

    def set_ip(self, name, address, index=1):
        for field, part in enumerate(address.split("."), 1):
            self.ip(name, index, field).fill(part)

    def refused(self, message, focus):
        """OK brings up the balloon and puts the focus on the control; Escape closes the balloon and nothing else."""
        self.desktop.keys("Return")
        self.assertEqual(self.program.balloon(), message)
        self.wait(lambda: focus.focused, f"the focus is on {focus.name}")
        self.desktop.keys("Escape")
        time.sleep(0.2)
        self.assertEqual(self.program.dialogs()[-1].name, self.box.name)

    def out_of_range(self, entry, text, least, most):
        entry.fill(text)
        self.desktop.keys("Return")
        told = "Enter an integer." if text == "" else f"Enter an integer between {least} and {most}."
        self.assertTrue(self.program.dialog("VNXTest64UD").select("label", told), (entry.name, text))
        self.desktop.keys("Return")
        self.wait(lambda: entry.focused, f"the focus is on {entry.name}")


class Parameters(DialogCase):
    def test_refusals_in_their_order(self):
        before = self.program.profile()
        self.open_parameters()
        two = self.box.find("check box", "Use two virtual interfaces for this test")
        for index in (1, 2):
            if index == 2:
                self.assertFalse(self.ip("Guest", 2).enabled)
                two.click()
                self.wait(lambda: self.ip("Guest", 2).enabled, "interface 2 is open")
                self.assertFalse(self.mac("Host adapter", 2).enabled, "its adapter is named by IP address")
            self.set_ip("Guest", "198.18.0.", index)
            self.refused(INVALID_IP, self.ip("Guest", index))
            self.set_ip("Guest", f"198.18.0.{index}1", index)
            for wrong in ("03-00-5E-80-00-04", "00-00-5E-80-00-04", "02-00-5E-80"):
                self.mac("Guest", index).fill(wrong)
                self.refused(INVALID_MAC, self.mac("Guest", index))
            self.mac("Guest", index).fill(f"02-00-5E-80-00-0{index}")
            self.set_ip("Host adapter", "198.18.0.77", index)
            self.refused(NO_SUCH_IP, self.ip("Host adapter", index))
            self.set_ip("Host adapter", "...", index)
            self.refused(NO_ADAPTER, self.ip("Host adapter", index))
            self.mac("Host adapter", index).fill("02-11-22-33-44-55")
            self.refused(NO_SUCH_MAC, self.mac("Host adapter", index))
            self.mac("Host adapter", index).fill("02-56-4E-12-00-01" if index == 1 else "02")
        # Without a guest address interface 2 passes as long as it has a MAC address: the adapter is judged next.
        self.set_ip("Guest", "...", 2)
        self.refused(NO_SUCH_MAC, self.mac("Host adapter", 2))
        self.assertEqual(self.program.profile(), before, "nothing is stored before OK")
        # Of an unused interface nothing is stored but its mode.
        two.click()
        self.wait(lambda: not self.mac("Host adapter", 2).enabled, "interface 2 is closed")
        self.mac("Guest").fill("")  # is generated
        self.ok()
        stored = self.program.profile()
        self.assertEqual([stored[f"Interface{index}_str{name}Addr"] for index in (1, 2) for name in
                          ("Interface_IP", "Interface_MAC", "Adapter_IP", "Adapter_MAC")],
                         ["198.18.0.11", "02-00-5E-92-00-0B", "", "02-56-4E-12-00-01", "", "", "", ""])

    def test_adapter_is_named_one_way_and_cancel_stores_nothing(self):
        before = self.program.profile()
        self.open_parameters()
        self.assertFalse(self.mac("Host adapter").enabled)
        self.set_ip("Host adapter", "...")
        self.wait(lambda: self.mac("Host adapter").enabled, "a blank address opens the MAC entry")
        self.mac("Host adapter").fill("0256")
        self.wait(lambda: not self.ip("Host adapter").enabled, "a MAC address closes the IP entry")
        self.assertEqual(self.mac("Host adapter").text, "02-56")
        self.mac("Host adapter").fill("")
        self.wait(lambda: self.ip("Host adapter").enabled, "an empty one opens it")
        self.ip("Host adapter").fill("9")
        self.wait(lambda: not self.mac("Host adapter").enabled, "one field is enough")
        self.cancel()
        self.assertEqual(self.program.profile(), before)
        self.open_parameters()
        self.assertEqual([self.ip("Host adapter", 1, field).text for field in range(1, 5)], ["198", "18", "0", "1"])

    def test_proceed_question_and_two_interfaces(self):
        self.open_parameters()
        self.set_ip("Guest", "10.9.9.9")
        self.box.find("check box", "Use two virtual interfaces for this test").click()
        for answer in ("Return", "Escape"):  # Cancel is the default
            self.desktop.keys("Return")
            question = self.program.dialog("Subnets Warning")
            self.assertTrue(question.select("label", "Your guest IP is in a different subnet!"))
            self.assertTrue(question.select("label", "Do you wish to proceed anyway?"))
            self.desktop.keys(answer)
            self.box = self.program.dialog("VNXTest64UD Parameters")
            self.assertEqual(self.ip("Guest").text, "10", "with the values just entered")
        self.desktop.keys("Return")
        question = self.program.dialog("Subnets Warning")
        more = question.find("toggle button", "More information").place
        self.desktop.click_at(more.x + more.height // 2, more.y + more.height // 2)
        question.find("toggle button", "Less information")
        self.assertTrue([label for label in question.select("label") if "your tests are likely to fail." in label.name])
        self.program.press(question, "Proceed")
        self.program.wait_no_dialog()
        self.wait(lambda: self.program.menu_states("t")['Stop "Vantor"'][0], "the guest runs")
        self.open("Start ping test...", "Ping who?")
        second = self.box.find("radio button", "Interface2")
        self.desktop.keys("alt+2")
        self.wait(lambda: second.checked, "there is a choice now")
        self.cancel()
        self.program.stop_guest()
        text = self.program.save(self.desktop.path / "two.vnt")
        self.assertEqual(text.count("*** Interface "), 2)
        self.assertEqual(text.count(" closed... (ip="), 2)


class Others(DialogCase):
    def test_ping_who(self):
        program = self.program
        program.start_guest()
        before = program.profile()
        self.open("Start ping test...", "Ping who?")
        for radio in ("Interface1", "Interface2"):
            self.assertFalse(self.box.find("radio button", radio).enabled)
        self.assertEqual([self.box.find("text", name).text for name in ENTRIES], ["32", "3", "500", "1000"])
        self.box.find("text", "To").fill("")
        for entry in ENTRIES:  # all are wrong; they are told of one by one, in this order
            self.box.find("text", entry).fill("x")
        for (name, (least, most)), good in zip(ENTRIES.items(), (65507, 1, 0, 10000)):
            entry = self.box.find("text", name)
            for wrong in ("", least - 1, most + 1):
                self.out_of_range(entry, wrong, least, most)
            entry.fill(good)
        target = self.box.find("text", "To")
        self.refused("Ping Who. Please enter a valid IP address or name.", target)
        target.fill("no-such-host.invalid")
        self.desktop.keys("Return")
        self.assertRegex(program.balloon(), r"(?s)^Ping Who\. \S.+\nPlease enter a valid IP address or name\.$")
        self.desktop.keys("Escape")  # the balloon
        self.cancel()
        self.assertEqual(program.profile(), before)

    def test_buffer_sizes(self):
        program = self.program
        names = {"Driver buffer size in K bytes": (64, 16384, "1024"), "DLL buffer size in K bytes": (16, 1024, "64")}
        self.open("Define buffer sizes...", "Define Buffer Sizes...")
        for name, (least, most, initial) in names.items():
            entry = self.box.find("text", name)
            self.assertEqual(entry.text, initial)
            for wrong in (least - 1, most + 1):
                self.out_of_range(entry, wrong, least, most)
            entry.fill(most)
        self.ok()
        self.open("Define buffer sizes...", "Define Buffer Sizes...")
        self.assertEqual([self.box.find("text", name).text for name in names], ["16384", "1024"])
        self.box.find("text", next(iter(names))).fill("4096")
        self.cancel()
        # What was confirmed is what an interface is opened with; what was cancelled is not.
        program.start_guest()
        program.stop_guest()
        text = program.save(self.desktop.path / "sizes.txt")
        self.assertIn("Size of Kernel Capture Buffer:   16384K", text)
        self.assertIn("Size of DLL I/O Buffer:           1024K", text)

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
        # A gateway that is known by no hardware address counts as undefined.
        forwarding = pathlib.Path("/proc/sys/net/ipv4/ip_forward").read_text().strip() == "1"
        self.open_parameters()
        self.desktop.keys("Return")
        if forwarding:
            program.wait_no_dialog()
            program.stop_guest()
        else:
            program.dialog("Undefined Gateway")
            self.desktop.keys("Escape")
            program.dialog("VNXTest64UD Parameters")
            self.cancel()
        self.open("Define default gateway...", "Define Default Gateway")
        self.assertEqual(self.box.find("text", name.format(4)).text, "150")
        self.box.find("text", name.format(4)).fill("254")  # answers
        self.ok()
        program.start_guest()

    def test_debug_flags_keep_marks_and_foreign_bits(self):
        path = self.desktop.path / "config/VNXTest64UD/VNXTest64UD.conf"
        before = self.program.profile()
        self.open("Set debug flags...", "Set Debug Flags")
        boxes = [self.box.find("check box", f" {name}") for name in TRACE]
        enable = self.box.find("check box", ENABLE)
        self.assertEqual([box.checked for box in boxes], [True, True, True, False, False, False])
        self.assertFalse(any(box.enabled for box in boxes))
        enable.click()
        self.wait(lambda: all(box.enabled for box in boxes), "the boxes are open")
        boxes[0].click()
        boxes[4].click()
        enable.click()
        self.wait(lambda: not any(box.enabled for box in boxes), "the boxes are closed, their marks kept")
        self.assertEqual([box.checked for box in boxes], [False, True, True, False, True, False])
        self.cancel()
        self.assertEqual(self.program.profile(), before)
        self.assertTrue(self.program.exit())
        path.parent.mkdir(exist_ok=True)
        path.write_text(f"[Settings]\nDebugFlags={0x12345}\nDebugMode=1\n")
        self.program = self.start("--library", "sim")
        self.open("Set debug flags...", "Set Debug Flags")
        self.box.find("check box", " Packet contents").click()
        self.ok()
        # Of 0x12345 the bit 0x40 belongs to a box and stays checked; all others are nobody's.
        self.assertEqual(int(self.program.profile()["DebugFlags"]) & 0xFFFFFFFF, 0x40012345)

    def test_every_setting_survives_a_restart(self):
        def move(title, x, y):
            window = self.desktop.xdotool("search", "--onlyvisible", "--name", title).split()[-1]
            self.desktop.xdotool("windowmove", "--sync", window, x, y)
            time.sleep(0.4)

        def about(place=None):
            self.open("About VNXTest...", "About VNXTest64UD", "h")
            self.assertTrue(self.box.select("label", "Vnetx for Windows Testing Program -- Version 3.9.0.6222-UD"))
            if place:
                move("About VNXTest64UD", *place)
            found = self.box.place
            self.cancel()
            return found

        def shown():
            """All that the profile keeps, as the program shows it."""
            states = [program.menu_states("t")[label][1] for label in ("Socket-notify mode", "Set debug flags...")]
            states.append(program.chart() is None)
            self.open("Set debug flags...", "Set Debug Flags")
            states += [self.box.find("check box", f" {name}").checked for name in TRACE]
            self.cancel()
            self.open_parameters()
            states.append(self.box.find("radio button", "Tap").checked)
            states += [self.ip(name, 1, field).text for name in ("Guest", "Host adapter") for field in range(1, 5)]
            states += [self.mac("Guest").text, self.mac("Host adapter").text]
            self.ok()
            self.open("Start ping test...", "Ping who?")
            states += [self.box.find("text", entry).text for entry in ("To", *ENTRIES)]
            self.cancel()
            return states

        program = self.program
        program.choose("t", "Socket-notify mode")
        self.wait(lambda: program.profile().get("SocketNotifyMode") == "1", "it is stored at once")
        program.choose("v", "Ping chart")
        self.open("Set debug flags...", "Set Debug Flags")
        self.box.find("check box", ENABLE).click()
        self.box.find("check box", " Packet contents").click()
        self.ok()
        self.open_parameters()
        self.box.find("radio button", "Tap").click()
        self.set_ip("Guest", "198.18.0.55")
        self.mac("Guest").fill("02005E800004")  # separators come by themselves
        self.set_ip("Host adapter", "...")
        self.mac("Host adapter").fill("02-56-4E-12-00-01")
        self.ok()
        program.start_ping("198.18.0.3", Size=33, Count=1, Timeout=1500, Delay=7)
        program.wait_ping_end()
        program.stop_guest()
        told = [True, True, True, True, True, True, False, False, True,
                True, "198", "18", "0", "55", "", "", "", "", "02-00-5E-80-00-04", "02-56-4E-12-00-01",
                "198.18.0.3", "33", "1", "1500", "7"]
        self.assertEqual(shown(), told)
        program.stop_guest()
        place = about((40, 60))
        move("Untitled - VNXTest", 200, 90)
        frame = program.frame.place
        self.assertTrue(program.exit())
        program = self.program = self.start("--library", "sim")
        for before, after in ((frame, program.frame.place), (place, about())):
            self.assertLessEqual(abs(before.x - after.x) + abs(before.y - after.y), 12)
        self.assertEqual(shown(), told)
