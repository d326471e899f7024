"""The parameters dialog as it helps: the list of adapters to choose from, and what follows from what is typed."""

import os
import unittest

from test_dialogs import USE_TWO, DialogCase

# A host with an adapter that has no address, beside the simulated one.
PLAIN_HOST = ("unshare", "-n", "sh", "-c", 'ip link add plain0 address 02:11:22:33:44:55 type veth peer name plain1 '
              'address 02:11:22:33:44:66 && ip link set plain1 up && exec "$0" "$@"')


@unittest.skipUnless(os.geteuid() == 0, "needs a network namespace")
class AdapterPicker(DialogCase):
    arguments = None

    def setUp(self):
        super().setUp()
        self.program = self.start("--library", "sim", prefix=PLAIN_HOST)
        self.open_parameters()

    def adapter(self, index=1):
        """What the fields of the host adapter hold, and which of the two can be typed into."""
        ip = [self.entry("Host adapter IP", index, field) for field in range(1, 5)]
        mac = self.entry("Host adapter MAC", index)
        return ".".join(field.text for field in ip), mac.text, ip[0].enabled, mac.enabled

    def choose(self, name, by_keys=False):
        """Chooses the adapter from the list that is open. Returns its line there."""
        picker = self.program.dialog("Host Adapters")
        rows = picker.select("table cell")
        at = next(at for at, row in enumerate(rows) if row.name.startswith(name))
        line = rows[at].name
        self.desktop.keys("Home", *at * ["Down"]) if by_keys else rows[at].click()
        self.desktop.keys("Return")
        self.box = self.program.dialog("VNXTest64UD Parameters")
        return line

    def test_adapters_are_chosen_from_a_list(self):
        sim = ("198.18.0.1", "", True, False)
        self.wait(lambda: self.adapter() == sim, "the simulated adapter at first")
        self.entry("Host adapter IP", field=3).click()
        self.desktop.keys("F4")
        told = self.choose("plain0", by_keys=True)
        for part in ("02-11-22-33-44-55", "not connected"):
            self.assertIn(part, told)
        mac = self.entry("Host adapter MAC")
        self.wait(lambda: self.adapter() == ("...", "02-11-22-33-44-55", False, True) and mac.focused, self.adapter)
        self.desktop.keys("alt+Down")
        self.program.dialog("Host Adapters")
        self.desktop.keys("Escape")
        self.box = self.program.dialog("VNXTest64UD Parameters")
        self.assertTrue(mac.focused)
        self.program.press(self.box, "List of host adapters for interface 1")
        told = self.choose("simulated LAN")
        for part in ("198.18.0.1 ", "02-56-4E-12-00-01", "connected, default", "exists only inside this program"):
            self.assertIn(part, told)
        self.wait(lambda: self.adapter() == sim, self.adapter)
        # The second interface has a list of its own, and leaves the first one alone.
        self.box.find("check box", USE_TWO).click()
        button = self.box.find("push button", "List of host adapters for interface 2")
        self.wait(lambda: button.enabled, "interface 2 is open")
        button.click()
        row = next(row for row in self.program.dialog("Host Adapters").select("table cell") if row.name.startswith("simulated"))
        place = row.settled_place()
        self.desktop.keys("Right")
        self.wait(lambda: row.place.x < place.x, "the rest of the line comes into view")
        self.desktop.keys("Return")
        self.wait(lambda: self.adapter(2) == sim, "the default adapter is proposed")
        button.click()
        self.choose("plain1")
        self.wait(lambda: self.adapter(2) == ("...", "02-11-22-33-44-66", False, True), lambda: self.adapter(2))
        self.assertEqual(self.adapter(), sim)

    def test_guest_mac_follows_the_guest_ip_until_it_is_the_users(self):
        mac, last = self.entry("Guest MAC"), self.entry("Guest IP", field=4)
        own = mac.text
        for field, ending in (("77", "4D"), ("", "4D"), ("254", "FE")):
            last.fill(field)
            self.wait(lambda: mac.text == own[:-2] + ending, f"{mac.text} follows {field}")
        mac.fill("02-00-5E-80-00-04")
        last.fill("9")
        self.wait(lambda: last.text == "9", "it is typed")
        self.assertEqual(mac.text, "02-00-5E-80-00-04")
        mac.fill(own[:-2] + "09")
        last.fill("10")
        self.wait(lambda: mac.text == own[:-2] + "0A", "it is the one of the address again")

    def test_labels_are_disabled_with_what_they_name(self):
        labels = self.box.select("label", "MAC Address:")
        self.wait(lambda: [label.enabled for label in labels] == [True, False, False, False], "the labels of its entries")
        self.put("Host adapter IP", "...")
        self.wait(lambda: [label.enabled for label in labels] == [True, True, False, False], "the adapter's MAC is open")
        self.box.find("check box", USE_TWO).click()
        self.wait(lambda: [label.enabled for label in labels] == [True, True, True, False], "interface 2 is open")


class SmallScreen(DialogCase):
    screen = "480x320"

    def in_view(self, control):
        """Within the dialog, which is within the screen."""
        outer, inner = self.box.place, control.place
        return (outer.x >= 0 and outer.y >= 0 and outer.x <= inner.x and inner.x + inner.width <= outer.x + outer.width <= 480
                and outer.y <= inner.y and inner.y + inner.height <= outer.y + outer.height <= 320)

    def test_dialog_scrolls_to_what_has_the_focus(self):
        # By keys, which it takes from the start: the release of Return is the first.
        self.desktop.keys("alt+t", "Return")
        self.box = self.program.dialog("VNXTest64UD Parameters")
        self.wait(lambda: self.entry("Guest IP").focused, "the first entry has the focus")
        for label in ("OK", "Cancel", "Help"):
            self.wait(lambda: self.in_view(self.box.find("push button", label)), f"{label} is in view")
        self.box.find("check box", USE_TWO)
        self.desktop.keys("alt+c")  # of an entry that is disabled
        self.desktop.keys("alt+w")
        last = self.entry("Host adapter IP", 2)
        self.wait(lambda: last.enabled, "interface 2 is open")
        self.assertFalse(self.in_view(last))
        self.desktop.keys("alt+e")
        self.wait(lambda: last.focused and self.in_view(last), "it has been scrolled into view")
        mac = self.entry("Guest MAC", 2)
        self.desktop.keys("alt+c")
        self.wait(lambda: mac.focused and self.in_view(mac), "its letter is no other's")
        # More information than the screen holds scrolls, too.
        self.desktop.keys("alt+i")
        self.desktop.type("10")
        self.desktop.keys("Return")
        self.box = self.program.dialog("Subnets Warning")
        more = self.box.find("toggle button", "More information")
        self.wait(lambda: more.focused or self.desktop.keys("Tab"), "the keyboard leads to it")
        self.desktop.keys("space")
        self.wait(lambda: self.box.select("toggle button", "Less information"), "there is more information")
        for label in ("Proceed", "Cancel"):
            self.wait(lambda: self.in_view(self.box.find("push button", label)), f"{label} is in view")
        self.desktop.keys("alt+p")
        self.program.wait_no_dialog()
        self.program.wait_enabled("Start ping test...")


class UsualScreen(DialogCase):
    screen = "800x600"

    def test_dialog_needs_no_scrolling(self):
        self.open_parameters()
        outer = self.box.place
        self.assertLessEqual(outer.x + outer.width, 800)
        self.assertEqual(self.box.select("scroll bar"), [])
