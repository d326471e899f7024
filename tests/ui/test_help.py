"""Each control of the real dialogs is asked what it is for: it answers with its own text, not its neighbour's."""

import time

from test_dialogs import ENABLE, ENTRIES, TRACE, USE_TWO, DialogCase

class ControlHelp(DialogCase):
    def ask(self, control):
        """What "What's This?" says of a control, disabled or not."""
        self.desktop.keys("shift+F1")
        time.sleep(0.15)
        control.click()
        told = self.program.balloon()
        self.desktop.keys("Escape")
        self.wait(lambda: not any(window.role == "window" and window.name and window.showing
                                  for window in self.program.root.children()), "the balloon is closed")
        return told

    def titles(self, titles):
        """By role and name: the titles of its controls of that name, in order."""
        for (role, name), expected in titles.items():
            controls = self.box.select(role, name)
            self.assertEqual([self.ask(control).split(". ")[0] for control in controls], expected, name)

    def test_each_control_of_each_dialog(self):
        addresses = {("text", f"{who} {what} address of interface {index}{field}"): [f"{who.title()} {what} Address"]
                     for who in ("Guest", "Host adapter") for index in (1, 2)
                     for what, field in (("IP", ", field 3 of 4"), ("MAC", ""))}
        flags = ("Old/New Values", "ARP Packets Read", "ARP Packets Written", "Other Packets Read", "Other Packets Written",
                 "Packet Contents")
        for label, title, menu, titles in (
                ('Start "Vantor"...', "VNXTest64UD Parameters", "t",
                 {("radio button", "Tun"): 2 * ["Tun"], ("radio button", "Tap"): 2 * ["Tap"],
                  **{("push button", f"List of host adapters for interface {index}"): ["List of Host Adapters"]
                     for index in (1, 2)},
                  ("check box", USE_TWO): ["Use Two Virtual Interfaces"], **addresses}),
                ("Define buffer sizes...", "Define Buffer Sizes...", "t",
                 {("text", f"{which} buffer size in K bytes"): [f"{which} Buffer Size"] for which in ("Driver", "DLL")}),
                ("Define default gateway...", "Define Default Gateway", "t",
                 {("text", "IP address of the default gateway, field 2 of 4"): ["Gateway IP Address"]}),
                ("Set debug flags...", "Set Debug Flags", "t",
                 {("check box", ENABLE): ["Enable Debugging Messages"],
                  **{("check box", f" {name}"): [told] for name, told in zip(TRACE, flags)}}),
                ("About VNXTest...", "About VNXTest64UD", "h",
                 {("label", "Vnetx for Linux Testing Program -- Version 3.9.0.6222-UD"): ["Version"]}),
                ("Start ping test...", "Ping who?", "t",
                 {("radio button", "Interface1"): ["Interface 1"], ("radio button", "Interface2"): ["Interface 2"],
                  ("label", "From:"): ["Interface 1"], **{("text", name): [name.split()[0]] for name in ("To", *ENTRIES)}})):
            if title == "Ping who?":
                self.program.start_guest()
            self.open(label, title, menu)
            self.titles(titles)
            self.cancel()

    def test_links_of_the_about_box_lead_to_the_book(self):
        """As it is built without addresses: no link leads to one."""
        self.open("About VNXTest...", "About VNXTest64UD", "h")
        self.box.find("label", "Support contact:")
        links = [link.name for link in self.box.all() if link.role in ("link", "push button") and link.showing]
        self.assertEqual(sorted(links), ["Close", "Help", "Netorra Help", "OK", "What's This? Help"])
        link = next(self.box.matching(None, "Netorra Help"))
        self.assertTrue(self.ask(link).startswith("Help Book. "))
        link.click()
        self.wait(lambda: any("Help" in window.name and window.role == "frame" for window in self.program.root.children()),
                  "the book is open")
