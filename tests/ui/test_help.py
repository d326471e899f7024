"""Each control of the real dialogs is asked what it is for: it answers with its own text, not its neighbour's."""

import time

from test_dialogs import ENABLE, TRACE, USE_TWO, DialogCase

PING = {
    ("radio button", "Interface1"):
        "Interface 1. Select this option to perform the ping test using the first or only defined virtual interface.",
    ("radio button", "Interface2"):
        "Interface 2. Select this option to have the ping test use the second virtual interface instead.",
    ("text", "To"):
        "To. Enter here the name or IP address of the target system the ping test is to communicate with.",
    ("text", "Size"): "Size. Enter here the optional size of each ping packet. The default is 32 bytes.",
    ("text", "Count"): "Count. Enter here how many pings the test should send.",
    ("text", "Timeout in milliseconds"):
        "Timeout. Enter here the maximum amount of time in milliseconds each ping should take before getting a response. "
        "The default is 1000 milliseconds (i.e. one second).",
    ("text", "Delay in milliseconds"):
        "Delay. Enter here the amount of delay in milliseconds between each successive ping. This defines how quickly "
        "each ping is sent out.",
}
PING_ITSELF = ("Ping Test. Use this dialog to define the Ping Test parameters. Performing a ping test verifies proper "
               "Netorra communication.")


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

    def test_ping_dialog_to_the_letter(self):
        self.program.start_guest()
        self.open("Start ping test...", "Ping who?")
        for (role, name), text in PING.items():
            self.assertEqual(self.ask(self.box.find(role, name)), text)
        self.assertEqual(self.ask(self.box.find("label", "From:")), PING["radio button", "Interface1"])
        self.desktop.keys("shift+F1")
        time.sleep(0.15)
        place = self.box.place
        self.desktop.click_at(place.x + place.width - 25, place.y + place.height - 60)  # the dialog itself
        self.assertEqual(self.program.balloon(), PING_ITSELF)

    def test_parameters(self):
        self.open_parameters()
        both = {f"{who} {what} address of interface {index}{field}": f"{who.title()} {what} Address"
                for who in ("Guest", "Host adapter") for index in (1, 2)
                for what, field in (("IP", ", field 3 of 4"), ("MAC", ""))}
        self.titles({("radio button", "Tun"): 2 * ["Tun"], ("radio button", "Tap"): 2 * ["Tap"],
                     ("check box", USE_TWO): ["Use Two Virtual Interfaces"],
                     **{("text", name): [title] for name, title in both.items()}})

    def test_the_other_dialogs(self):
        for label, title, menu, titles in (
                ("Define buffer sizes...", "Define Buffer Sizes...", "t",
                 {("text", "Driver buffer size in K bytes"): ["Driver Buffer Size"],
                  ("text", "DLL buffer size in K bytes"): ["DLL Buffer Size"]}),
                ("Define default gateway...", "Define Default Gateway", "t",
                 {("text", "IP address of the default gateway, field 2 of 4"): ["Gateway IP Address"]}),
                ("Set debug flags...", "Set Debug Flags", "t",
                 {("check box", ENABLE): ["Enable Debugging Messages"],
                  **{("check box", f" {name}"): [" ".join(word[0].upper() + word[1:] for word in name.split())
                                                 .replace("/new", "/New").replace(" values", " Values")]
                     for name in TRACE}}),
                ("About VNXTest...", "About VNXTest64UD", "h",
                 {("label", "Vnetx for Linux Testing Program -- Version 3.9.0.6222-UD"): ["Version"]})):
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
