"""The dialogs: every refusal once, what may be typed while, and what is kept."""

import time

from lab.desktop import DesktopCase
from lab.program import Program

INVALID_IP = "IP Address. The IP Address you entered is invalid. Please enter a valid IP address."
INVALID_MAC = "MAC Address. The hardware address you entered is invalid. Please enter a valid hardware address"
NO_ADAPTER = ("IP Address. You must identify which host adapter should be used by specifying either its IP address "
              "or MAC address.")
NO_SUCH_IP = "IP Address. No such host adapter exists with this IP address."
NO_SUCH_MAC = "MAC Address. No such host adapter exists with this MAC address."


class Parameters(DesktopCase):
    def open(self):
        self.program.choose("t", 'Start "Vantor"...')
        self.box = self.program.dialog("VNXTest64UD Parameters")

    def field(self, name, number=1, index=1):
        return self.box.find("text", f"{name} IP address of interface {index}, field {number} of 4")

    def mac(self, name, index=1):
        return self.box.find("text", f"{name} MAC address of interface {index}")

    def set_ip(self, name, text, index=1):
        for number, part in enumerate(text.split("."), 1):
            self.field(name, number, index).fill(part)

    def refused(self, message, focus):
        self.desktop.keys("Return")
        self.assertEqual(self.program.balloon(), message)
        self.wait(lambda: focus.focused, "the focus is on the offending control")
        self.assertIn("VNXTest64UD Parameters", [window.name for window in self.program.dialogs()])
        self.desktop.keys("Escape")  # closes the balloon, and nothing else
        time.sleep(0.3)

    def test_every_refusal_of_interface_1_and_what_is_stored(self):
        self.open()
        self.set_ip("Guest", "198.18.0.")
        self.refused(INVALID_IP, self.field("Guest"))
        self.set_ip("Guest", "198.18.0.55")
        for mac in ("03-00-5E-80-00-04", "00-00-5E-80-00-04", "02-00-5E-80"):
            self.mac("Guest").fill(mac)
            self.refused(INVALID_MAC, self.mac("Guest"))
        self.mac("Guest").fill("")  # is generated
        self.set_ip("Host adapter", "198.18.0.77")
        self.refused(NO_SUCH_IP, self.field("Host adapter"))
        self.set_ip("Host adapter", "...")
        self.refused(NO_ADAPTER, self.field("Host adapter"))
        self.mac("Host adapter").fill("02-11-22-33-44-55")
        self.refused(NO_SUCH_MAC, self.mac("Host adapter"))
        self.assertNotIn("Interface1_strInterface_IPAddr", self.program.profile(), "nothing is stored before OK")

        self.mac("Host adapter").fill("02-56-4E-12-00-01")
        self.desktop.keys("Return")
        self.program.wait_no_dialog()
        profile = self.program.profile()
        self.assertEqual(profile["Interface1_strInterface_IPAddr"], "198.18.0.55")
        self.assertEqual(profile["Interface1_strAdapter_IPAddr"], "")
        self.assertEqual(profile["Interface1_strAdapter_MACAddr"], "02-56-4E-12-00-01")
        self.assertEqual(profile["Interface1_strInterface_MACAddr"], "02-00-5E-92-00-37")
        self.assertEqual([profile[f"Interface2_str{name}Addr"] for name in
                          ("Interface_IP", "Interface_MAC", "Adapter_IP", "Adapter_MAC")], [""] * 4)

    def test_refusals_of_interface_2(self):
        self.open()
        use = self.box.find("check box", "Use two virtual interfaces for this test")
        self.assertFalse(self.field("Guest", 1, 2).enabled)
        use.click()
        self.wait(lambda: self.field("Guest", 1, 2).enabled, "interface 2 is open")
        self.assertFalse(self.mac("Host adapter", 2).enabled, "its adapter is named by IP")
        self.set_ip("Guest", "198.18.0.", 2)
        self.refused(INVALID_IP, self.field("Guest", 1, 2))
        self.set_ip("Guest", "198.18.0.222", 2)
        self.mac("Guest", 2).fill("01-00-5E-80-00-04")
        self.refused(INVALID_MAC, self.mac("Guest", 2))
        self.mac("Guest", 2).fill("02-00-5E-80-00-04")
        self.set_ip("Host adapter", "1.2.3.4", 2)
        self.refused(NO_SUCH_IP, self.field("Host adapter", 1, 2))
        # A blank guest address is let pass when there is a guest MAC: the adapter is judged next.
        self.set_ip("Guest", "...", 2)
        self.refused(NO_SUCH_IP, self.field("Host adapter", 1, 2))
        use.click()
        self.wait(lambda: not self.field("Host adapter", 1, 2).enabled, "interface 2 is closed")

    def test_naming_the_adapter_one_way_closes_the_other(self):
        self.open()
        self.assertFalse(self.mac("Host adapter").enabled)
        self.set_ip("Host adapter", "...")
        self.wait(lambda: self.mac("Host adapter").enabled, "a blank address opens the MAC entry")
        self.mac("Host adapter").fill("0256")
        self.wait(lambda: not self.field("Host adapter").enabled, "a MAC address closes the IP entry")
        self.assertEqual(self.mac("Host adapter").text, "02-56")
        self.mac("Host adapter").fill("")
        self.wait(lambda: self.field("Host adapter").enabled, "an empty one opens it")
        self.field("Host adapter").fill("9")
        self.wait(lambda: not self.mac("Host adapter").enabled, "one field is enough")
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()
        self.assertNotIn("Interface1_bTAPMode", self.program.profile(), "Cancel stores nothing")

    def test_proceed_question(self):
        self.open()
        self.set_ip("Guest", "10.9.9.9")
        for answer in ("Return", "Escape"):  # Cancel is the default
            self.desktop.keys("Return")
            question = self.program.dialog("Subnets Warning")
            self.assertTrue(question.select("label", "Your guest IP is in a different subnet!"))
            self.assertTrue(question.select("label", "Do you wish to proceed anyway?"))
            self.desktop.keys(answer)
            self.box = self.program.dialog("VNXTest64UD Parameters")
            self.assertEqual(self.field("Guest").text, "10", "with the values just entered")
        self.desktop.keys("Return")
        self.program.press(self.program.dialog("Subnets Warning"), "Proceed")
        self.program.wait_no_dialog()
        self.wait(lambda: self.program.menu_states("t")['Stop "Vantor"'][0], "the guest runs")

    def test_two_interfaces_and_the_mnemonics(self):
        self.open()
        self.desktop.keys("alt+w")
        self.wait(lambda: self.field("Guest", 1, 2).enabled, "Alt+W uses the second interface")
        self.desktop.keys("alt+t")
        self.assertTrue(self.box.select("radio button", "Tap")[0].checked)
        self.desktop.keys("Return")
        self.program.wait_no_dialog()
        self.program.choose("t", "Start ping test...")
        box = self.program.dialog("Ping who?")
        radio = box.find("radio button", "Interface2")
        self.assertTrue(radio.enabled)
        self.desktop.keys("alt+2")
        self.wait(lambda: radio.checked, "Alt+2 chooses the second interface")
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()


    def test_tab_order(self):
        self.open()
        self.box.find("radio button", "Tun").click()
        seen = []
        for _ in range(8):
            focused = [control for control in self.box.all() if control.focused and control.role != "frame"]
            seen.append(focused[-1].name if focused else "")
            self.desktop.keys("Tab")
            time.sleep(0.15)
        self.assertEqual(seen, ["Tun", "Guest IP address of interface 1, field 1 of 4",
                                "Guest MAC address of interface 1",
                                "Host adapter IP address of interface 1, field 1 of 4",
                                "Use two virtual interfaces for this test", "Help", "Cancel", "OK"])
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()


class PingWho(DesktopCase):
    def test_ranges_target_and_storage(self):
        program, desktop = self.program, self.desktop
        program.start_guest()
        program.choose("t", "Start ping test...")
        box = program.dialog("Ping who?")
        self.assertFalse(box.find("radio button", "Interface1").enabled)
        self.assertFalse(box.find("radio button", "Interface2").enabled)
        entries = {"Size": (8, 65507), "Count": (1, 65535), "Timeout in milliseconds": (0, 10000),
                   "Delay in milliseconds": (0, 10000)}
        good = {"Size": 65507, "Count": 1, "Timeout in milliseconds": 0, "Delay in milliseconds": 10000}
        # In the order of the checks, each with a number below, above, and none at all.
        for name, (least, most) in entries.items():
            for wrong in (least - 1, most + 1, ""):
                box.find("text", name).fill(str(wrong))
                desktop.keys("Return")
                expected = "Enter an integer." if wrong == "" else f"Enter an integer between {least} and {most}."
                message = program.dialog("VNXTest64UD")
                self.assertTrue(message.select("label", expected), (name, wrong, message.select("label")))
                desktop.keys("Return")
                time.sleep(0.4)
                self.assertTrue(box.find("text", name).focused)
            box.find("text", name).fill(str(good[name]))
        box.find("text", "To").fill("")
        desktop.keys("Return")
        self.assertEqual(program.balloon(), "Ping Who. Please enter a valid IP address or name.")
        box.find("text", "To").fill("no-such-host.invalid")
        desktop.keys("Return")
        told = self.wait(lambda: "Please enter" in program.balloon() and program.balloon(), "the balloon", 40)
        self.assertRegex(told, r"(?s)^Ping Who\. .+Please enter a valid IP address or name\.$")
        self.assertNotEqual(told, "Ping Who. Please enter a valid IP address or name.")
        self.assertNotIn("PingDataSize", program.profile())
        box.find("text", "To").fill("198.18.0.3")
        box.find("text", "Size").fill("33")
        desktop.keys("Return")
        program.wait_no_dialog()
        profile = program.profile()
        self.assertEqual([profile[name] for name in ("WhoPingName", "PingDataSize", "NumPings", "PingTimeout",
                                                     "PingDelay")], ["198.18.0.3", "33", "1", "0", "10000"])
        program.choose("t", 'Stop "Vantor"')
        program.kill()

        again = Program(self.desktop, *self.arguments)
        self.addCleanup(again.kill)
        again.start_guest()
        again.choose("t", "Start ping test...")
        box = again.dialog("Ping who?")
        self.assertEqual([box.find("text", name).text for name in ("To", *entries)],
                         ["198.18.0.3", "33", "1", "0", "10000"])


class Small(DesktopCase):
    def test_buffer_sizes(self):
        program, desktop = self.program, self.desktop
        program.choose("t", "Define buffer sizes...")
        box = program.dialog("Define Buffer Sizes...")
        driver = box.find("text", "Driver buffer size in K bytes")
        dll = box.find("text", "DLL buffer size in K bytes")
        self.assertEqual((driver.text, dll.text), ("1024", "64"))
        for entry, least, most, good in ((driver, 64, 16384, 2048), (dll, 16, 1024, 128)):
            for wrong in (least - 1, most + 1):
                entry.fill(str(wrong))
                desktop.keys("Return")
                message = program.dialog("VNXTest64UD")
                self.assertTrue(message.select("label", f"Enter an integer between {least} and {most}."))
                desktop.keys("Return")
                time.sleep(0.4)
            entry.fill(str(good))
        desktop.keys("Return")
        program.wait_no_dialog()
        program.choose("t", "Define buffer sizes...")
        box = program.dialog("Define Buffer Sizes...")
        self.assertEqual(box.find("text", "Driver buffer size in K bytes").text, "2048")
        box.find("text", "Driver buffer size in K bytes").fill("4096")
        desktop.keys("Escape")
        program.wait_no_dialog()
        # What was confirmed is what an interface is opened with; what was cancelled is not.
        program.start_guest()
        program.choose("t", 'Stop "Vantor"')
        self.assertIn("Size of Kernel Capture Buffer:    2048K", program.save(desktop.path / "sizes.txt"))

    def test_debug_flags_keep_foreign_bits(self):
        program, desktop = self.program, self.desktop
        config = desktop.path / "config"
        program.choose("t", "Set debug flags...")
        box = program.dialog("Set Debug Flags")
        trace = ["Old/New values", "ARP packets read", "ARP packets written", "Other packets read",
                 "Other packets written", "Packet contents"]
        boxes = [box.find("check box", f" {name}") for name in trace]
        self.assertEqual([one.checked for one in boxes], [True, True, True, False, False, False])
        self.assertFalse(any(one.enabled for one in boxes))
        enable = box.find("check box", " Enable debugging messages:")
        enable.click()
        self.wait(lambda: all(one.enabled for one in boxes), "the boxes are open")
        boxes[0].click()
        boxes[4].click()
        enable.click()
        self.wait(lambda: not any(one.enabled for one in boxes), "the boxes are closed, their marks kept")
        self.assertEqual([one.checked for one in boxes], [False, True, True, False, True, False])
        program.press(box, "OK")
        program.wait_no_dialog()
        self.assertEqual(int(program.profile()["DebugFlags"]) & 0xFFFFFFFF, 0x000080C0)
        program.kill()

        path = next(path for path in config.rglob("*") if path.is_file() and "DebugFlags=" in path.read_text())
        text = path.read_text()
        path.write_text("".join(f"DebugFlags={0x12345}\n" if line.startswith("DebugFlags=") else line
                                for line in text.splitlines(keepends=True)))
        again = Program(desktop, *self.arguments)
        self.addCleanup(again.kill)
        again.choose("t", "Set debug flags...")
        box = again.dialog("Set Debug Flags")
        box.find("check box", " Enable debugging messages:").click()
        box.find("check box", " Packet contents").click()
        again.press(box, "OK")
        again.wait_no_dialog()
        # Of 0x12345 the bit 0x40 belongs to a box and stays checked; all others are nobody's.
        self.assertEqual(int(again.profile()["DebugFlags"]) & 0xFFFFFFFF, 0x40012345)

    def test_about_box_remembers_its_place(self):
        program, desktop = self.program, self.desktop
        program.choose("h", "About VNXTest...")
        box = program.dialog("About VNXTest64UD")
        self.assertTrue(box.select("label", "Vnetx for Windows Testing Program -- Version 3.9.0.6222-UD"))
        before = box.place
        window = desktop.xdotool("search", "--onlyvisible", "--name", "About VNXTest64UD").split()[-1]
        desktop.xdotool("windowmove", "--sync", window, 40, 60)
        time.sleep(0.5)
        moved = box.place
        self.assertNotEqual((before.x, before.y), (moved.x, moved.y))
        desktop.keys("Escape")
        program.wait_no_dialog()
        program.choose("h", "About VNXTest...")
        time.sleep(0.5)
        again = program.dialog("About VNXTest64UD").place
        self.assertLessEqual(abs(again.x - moved.x) + abs(again.y - moved.y), 8)

    def test_default_gateway(self):
        program, desktop = self.program, self.desktop
        name = "IP address of the default gateway, field {} of 4"

        def open_dialog():
            program.choose("t", "Define default gateway...")
            return program.dialog("Define Default Gateway")

        box = open_dialog()
        self.assertEqual([box.find("text", name.format(field)).text for field in range(1, 5)],
                         ["198", "18", "0", "254"])
        box.find("text", name.format(2)).fill("")
        desktop.keys("Return")
        self.assertEqual(program.balloon(), INVALID_IP)
        box.find("text", name.format(2)).fill("18")
        box.find("text", name.format(4)).fill("150")  # silent
        desktop.keys("Return")
        program.press(program.dialog("VNXTest64UD"), "Let me fix the error.")
        self.wait(lambda: [window.name for window in program.dialogs()] == ["Define Default Gateway"], "it is open")
        time.sleep(0.3)
        desktop.keys("Return")
        program.press(program.dialog("VNXTest64UD"), "Use the entered value.")
        program.wait_no_dialog()
        # A gateway that is known by no hardware address counts as undefined.
        program.choose("t", 'Start "Vantor"...')
        program.dialog("VNXTest64UD Parameters")
        desktop.keys("Return")
        time.sleep(1)
        titles = [window.name for window in program.dialogs()]
        forwarding = open("/proc/sys/net/ipv4/ip_forward").read().strip() == "1"
        self.assertEqual(titles, [] if forwarding else ["Undefined Gateway"])
        if not forwarding:
            desktop.keys("Escape")
            program.dialog("VNXTest64UD Parameters")
            desktop.keys("Escape")
            program.wait_no_dialog()
        else:
            program.choose("t", 'Stop "Vantor"')
        box = open_dialog()
        self.assertEqual(box.find("text", name.format(4)).text, "150")
        box.find("text", name.format(4)).fill("254")  # answers
        desktop.keys("Return")
        program.wait_no_dialog()
        program.start_guest()
