"""Menus, keys and the right button: what can be chosen when, what is checked, and what acts on the document."""

import os
import subprocess
import time

from cases import DesktopCase

SHORTEST = 0.2  # seconds in which a key has done its work


class Menus(DesktopCase):
    def check(self, state, start, start_ping, stop_ping, stop, charted=False, tested=False):
        for menu, labels, enabled in (
                ("f", ["Save", "Exit"], 2 * [True]),
                ("v", ["Ping chart", "Copy chart as picture", "Save chart as...", "Export last ping test...",
                       "Capture to file...", "Follow new lines", "Find previous", "Zoom in", "Zoom out",
                       "Normal size"], [True, charted, charted, tested, True, True, False, True, True, True]),
                ("t", ['Start "Vantor"...', "Start ping test...", "Stop ping test", 'Stop "Vantor"',
                       "Define buffer sizes...", "Define default gateway...", "Re-detect adapters",
                       "Socket-notify mode", "Set debug flags..."], [start, start_ping, stop_ping, stop] + 5 * [start]),
                ("h", ["Netorra Help", "About VNXTest..."], 2 * [True])):
            found = [(label, states[0]) for label, states in self.program.menu_states(menu).items()]
            self.assertEqual(found, list(zip(labels, enabled)), state)

    def ask_to_find(self, text):
        dialog = self.program.dialog("Find")
        dialog.find("text").fill(text)
        self.wait(lambda: dialog.find("push button", "Find").enabled, "it can be found: the button follows when idle")

    def test_four_states(self):
        program = self.program
        self.check("stopped", True, False, False, False)
        program.start_guest()
        self.check("running", False, True, False, True)
        program.start_ping(Count=1000, Delay=50)
        self.check("pinging", False, False, True, True, charted=True)
        program.choose("t", "Stop ping test")
        program.wait_ping_end()
        # A silent target and a long time-out: everything is sent, and it is still being waited.
        program.start_ping("198.18.0.150", Count=1, Delay=0, Timeout=9000)
        self.wait(lambda: program.chart().startswith("Ping chart: Sent 1, Received 0"), "the ping is sent")
        time.sleep(0.5)
        self.check("draining", False, False, True, True, charted=True, tested=True)
        program.stop_guest()
        self.check("stopped", True, False, False, False, charted=True, tested=True)

    def test_right_button_and_menu_key(self):
        program, desktop = self.program, self.desktop
        self.assertEqual({label: state[0] for label, state in program.menu_states("e").items()},
                         {"Copy": False, "Select All": True, "Find...": True, "Find Next": False})
        place = program.frame.find("scroll pane").place
        middle = place.x + place.width // 2, place.y + place.height // 2

        def context_menu():
            return [item for window in program.root.children() if window.role == "window"
                    for item in window.select("menu item")]

        desktop.xdotool("mousemove", *middle)
        for selected in (False, True):
            if selected:
                program.choose("e", "Select All")
                desktop.xdotool("mousemove", *middle)
            for by_mouse in (True, False):
                if by_mouse:
                    desktop.xdotool("mousedown", 3)
                    time.sleep(SHORTEST)
                    self.assertEqual(context_menu(), [], "it waits for the button's release")
                    desktop.xdotool("mouseup", 3)
                else:
                    desktop.keys("Menu")
                items = self.wait(context_menu, "the menu is open")
                self.assertEqual([(item.name, item.enabled) for item in items],
                                 [("Copy", selected), ("Select All", True)])
                if by_mouse:
                    self.assertLess(abs(items[0].place.x - middle[0]) + abs(items[0].place.y - middle[1]), 30)
                desktop.keys("Escape")
                self.wait(lambda: not context_menu(), "the menu is closed")
        self.assertTrue(program.menu_states("e")["Copy"][0], "the right button leaves the selection alone")

    def test_keys(self):
        program, desktop = self.program, self.desktop
        first = program.save(desktop.path / "first.vnt")  # Ctrl+S
        desktop.keys("Escape")  # issues a command that nothing takes
        # Find, Find Next, the three ways to copy.
        desktop.keys("ctrl+f")
        self.ask_to_find("gatewayipaddr")
        desktop.keys("Return")
        time.sleep(SHORTEST)
        desktop.keys("Escape")
        program.wait_no_dialog()
        self.assertTrue(program.menu_states("e")["Find Next"][0])
        for copy in ("ctrl+c", "ctrl+Insert"):
            desktop.keys("F3", copy)
            self.wait(lambda: self.clipboard() == "GatewayIPAddr", f"{copy} has copied what is selected")
        desktop.keys("ctrl+a")
        time.sleep(SHORTEST)
        program.choose("e", "Copy")
        self.wait(lambda: self.clipboard() == first, "all of it is copied")
        # Panes.
        chart = program.frame.find("panel", program.chart())
        desktop.keys("F6")
        self.wait(lambda: chart.focused, "the chart has the focus")
        desktop.keys("shift+F6")
        self.wait(lambda: not chart.focused, "the text has it again")
        # Open refuses, with a line in the document; New starts over.
        desktop.keys("ctrl+o")
        program.enter_path("Open File", desktop.path / "first.vnt")
        program.wait_no_dialog()
        self.assertRegex(program.save_again(desktop.path / "first.vnt", first)[len(first):],
                         r"^\d\d:\d\d:\d\d\.\d{3} document\.cpp\(\d+\): \*\* Assertion Failed \*\*\n$")
        # And it is the terminal program's, but for the program's own name, and unless the host changed in between.
        def same():
            desktop.keys("ctrl+n")
            self.wait(lambda: program.frame.name == "Untitled - VNXTest", "there is a new document")
            again = program.save(desktop.path / "second.vnt")
            (desktop.path / "second.vnt").unlink()
            told = subprocess.run([os.environ["VNXTEST_CLI"], "report", "--library", "sim"], env=desktop.env,
                                  capture_output=True, text=True).stdout
            # What it has given its rights up for it cannot try out.
            nonlocal both
            both = [[line[13:] for line in text.splitlines() if "vnxtest" not in line and "PromiscuousMode" not in line]
                    for text in (again, told)]
            return both[0] == both[1]
        both = []
        self.wait(same, lambda: f"the same report: {both}", 30)

    def test_a_prompt_that_goes_and_what_the_status_bar_and_the_open_dialog_say(self):
        program, desktop = self.program, self.desktop
        self.assertIn(": Library: built-in sim", program.status())
        desktop.keys("ctrl+f")
        self.ask_to_find("nowhere to be found")
        for again in ("Return", "Return"):
            desktop.keys(again)
            self.wait(lambda: 'Cannot find "nowhere to be found"' in program.status(), "it is said")
        self.wait(lambda: "Cannot find" not in program.status(), "it is no more said", 30)
        desktop.keys("Return")
        self.wait(lambda: "Cannot find" in program.status(), "it is said again")
        self.ask_to_find("gateway")
        desktop.keys("Return")
        self.wait(lambda: "Cannot find" not in program.status(), "found: it is no more said at once", 8)
        desktop.keys("Escape")
        program.wait_no_dialog()
        desktop.keys("ctrl+o")
        program.dialog("Open File").find("combo box", "VNXTest Reports (*.vnt)")
        desktop.keys("Escape")
        program.wait_no_dialog()

    def test_smallest_window(self):
        window = self.desktop.xdotool("search", "--onlyvisible", "--name", "Untitled - VNXTest").split()[-1]
        self.desktop.xdotool("windowsize", window, 100, 100)
        self.wait(lambda: self.program.frame.place.width < 900, "it is smaller")
        time.sleep(SHORTEST)
        place = self.program.frame.place
        self.assertTrue(480 <= place.width < 500 and 320 <= place.height < 360, place)
        self.assertIsNotNone(self.program.chart(), "the chart is still there")

    def clipboard(self):
        """What another program finds on the clipboard."""
        script = "import gi; gi.require_version('Gtk', '3.0'); from gi.repository import Gtk, Gdk; " \
                 "print(Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).wait_for_text(), end='')"
        return subprocess.run(["/usr/bin/python3", "-c", script], env=self.desktop.env, capture_output=True, text=True,
                              check=True, timeout=20).stdout


class FullReport(DesktopCase):
    arguments = None
    END = "** The report is full, what follows is left out. Save it and start a new one (Ctrl+N).\n"

    def test_is_told_saved_and_started_anew(self):
        (self.desktop.path / "config/VNXTest64UD").mkdir()
        (self.desktop.path / "config/VNXTest64UD/VNXTest64UD.conf").write_text("[Settings]\nReportLimit=1\n")
        program = self.program = self.start("--library", "sim")
        program.start_guest()
        self.assertEqual(program.frame.select("push button", "New report"), [])
        program.start_ping(Count=20000, Size=8, Delay=0, Timeout=10000)
        self.wait(lambda: "The report is full" in program.status(), "it is full", 60)
        program.wait_ping_end()
        program.press(program.frame, "Save")
        path = self.desktop.path / "full.vnt"
        program.enter_path("Save As", path)
        self.wait(path.exists, "it is saved")
        text = path.read_text()
        self.assertTrue(text.endswith(self.END) and 0 <= 2**20 + len(self.END) - len(text) < 200, text[-300:])
        program.stop_guest()  # its lines are left out, so there is nothing to be asked for
        program.press(program.frame, "New report")
        self.wait(lambda: "The report is full" not in program.status(), "there is a new one")
        self.assertEqual(program.frame.select("push button", "New report"), [])
        self.assertIn("Simulated adapter", program.save(self.desktop.path / "new.vnt"))
