"""Menus: what can be chosen when, what is checked, and the commands that act on the document."""

import os
import subprocess
import time

from lab.desktop import DesktopCase
from lab.program import FOCUSED, Program

ALWAYS_OFF_WHILE_RUNNING = ("Define buffer sizes...", "Define default gateway...", "Re-detect adapters",
                            "Socket-notify mode", "Set debug flags...")


class Menus(DesktopCase):
    def check(self, start, ping, stop_ping, stop):
        states = self.program.menu_states("t")
        enabled = {label: state[0] for label, state in states.items()}
        self.assertEqual((enabled['Start "Vantor"...'], enabled["Start ping test..."], enabled["Stop ping test"],
                          enabled['Stop "Vantor"']), (start, ping, stop_ping, stop))
        for label in ALWAYS_OFF_WHILE_RUNNING:
            self.assertEqual(enabled[label], start, label)
        return states

    def test_four_states(self):
        program = self.program
        self.assertEqual(list(self.check(True, False, False, False)),
                         ['Start "Vantor"...', "Start ping test...", "Stop ping test", 'Stop "Vantor"',
                          "Define buffer sizes...", "Define default gateway...", "Re-detect adapters",
                          "Socket-notify mode", "Set debug flags...", "Show ping chart"])
        program.start_guest()
        self.check(False, True, False, True)
        program.start_ping("198.18.0.2", Count=2, Delay=10, Timeout=10000)
        self.check(False, False, True, True)  # pinging, then draining: the grace behind the last ping
        program.wait_ping_end()
        self.check(False, True, False, True)
        # Draining for long: a silent target and a long time-out.
        program.start_ping("198.18.0.150", Count=1, Delay=0, Timeout=9000)
        self.wait(lambda: program.chart().startswith("Ping chart: Sent 1, Received 0"), "the ping is sent")
        time.sleep(0.5)
        self.check(False, False, True, True)
        program.choose("t", 'Stop "Vantor"')
        self.wait(lambda: program.menu_states("t")['Start "Vantor"...'][0], "the guest is stopped")
        self.check(True, False, False, False)

    def test_edit_menu_and_right_button(self):
        program, desktop = self.program, self.desktop
        states = program.menu_states("e")
        self.assertEqual({label: state[0] for label, state in states.items()},
                         {"Copy": False, "Select All": True, "Find...": True, "Find Next": False})
        view = program.frame.select("scroll pane")[0]
        for selected in (False, True):
            if selected:
                desktop.keys("ctrl+a")
                time.sleep(0.2)
            place = view.place
            desktop.click_at(place.x + place.width // 2, place.y + place.height // 2, button=3)
            menu = self.wait(lambda: [item for item in program.root.select("menu item", "Copy")
                                      if item.place.x > place.x + place.width // 2 - 40], "the menu is open")
            self.assertEqual(menu[0].enabled, selected)
            desktop.keys("Escape")
            time.sleep(0.3)
        self.assertTrue(program.menu_states("e")["Copy"][0], "the right button leaves the selection alone")

    def test_modes_are_checked_and_survive_a_restart(self):
        program = self.program
        self.assertFalse(program.menu_states("t")["Socket-notify mode"][1])
        program.choose("t", "Socket-notify mode")
        self.assertTrue(program.menu_states("t")["Socket-notify mode"][1])
        self.assertEqual(program.profile()["SocketNotifyMode"], "1", "stored at once")
        self.assertIsNotNone(program.chart())
        program.choose("t", "Show ping chart")
        self.wait(lambda: program.chart() is None, "the chart is hidden")
        program.choose("t", "Set debug flags...")
        dialog = program.dialog("Set Debug Flags")
        dialog.find("check box", " Enable debugging messages:").click()
        dialog.find("check box", " Packet contents").click()
        program.press(dialog, "OK")
        program.wait_no_dialog()
        self.assertTrue(program.menu_states("t")["Set debug flags..."][1])
        self.assertEqual(program.profile()["DebugMode"], "1")
        program.kill()

        again = Program(self.desktop, *self.arguments)
        self.addCleanup(again.kill)
        states = again.menu_states("t")
        self.assertTrue(states["Socket-notify mode"][1])
        self.assertTrue(states["Set debug flags..."][1])
        self.assertFalse(states["Show ping chart"][1])
        again.choose("t", "Set debug flags...")
        self.assertTrue(again.dialog("Set Debug Flags").find("check box", " Packet contents").checked)
        self.desktop.keys("Escape")
        again.wait_no_dialog()

    def test_panes_by_keyboard(self):
        program, desktop = self.program, self.desktop
        chart = next(panel for panel in program.frame.select("panel") if panel.name.startswith("Ping chart"))
        desktop.keys("F6")
        self.wait(lambda: chart.has(FOCUSED), "the chart has the focus")
        desktop.keys("shift+F6")
        self.wait(lambda: not chart.has(FOCUSED), "the text has it again")


class Document(DesktopCase):
    def clipboard(self):
        """What is on the clipboard, by way of an entry that it is pasted into."""
        program, desktop = self.program, self.desktop
        desktop.keys("ctrl+f")
        entry = program.dialog("Find").find("text")
        entry.click()
        desktop.keys("ctrl+a", "BackSpace", "ctrl+v")
        time.sleep(0.3)
        text = entry.text
        desktop.keys("Escape")
        program.wait_no_dialog()
        return text

    def test_find_find_next_and_copy(self):
        program, desktop = self.program, self.desktop
        desktop.keys("ctrl+f")
        dialog = program.dialog("Find")
        dialog.find("text").fill("gatewayipaddr")
        desktop.keys("Return")
        time.sleep(0.5)
        desktop.keys("Escape")
        program.wait_no_dialog()
        self.assertTrue(program.menu_states("e")["Find Next"][0])
        self.assertTrue(program.menu_states("e")["Copy"][0], "what was found is selected")
        desktop.keys("ctrl+c")
        self.assertEqual(self.clipboard(), "GatewayIPAddr")
        desktop.keys("F3", "ctrl+Insert")
        self.assertEqual(self.clipboard(), "GatewayIPAddr")

    def test_new_starts_over_and_open_is_refused(self):
        program, desktop = self.program, self.desktop
        first = program.save(self.desktop.path / "first.vnt")
        desktop.keys("ctrl+o")
        program.dialog(None)
        program.enter_path(self.desktop.path / "first.vnt")
        self.wait(lambda: program.frame.name == "first.vnt - VNXTest", "the document stays")
        desktop.keys("ctrl+s")
        path = self.desktop.path / "first.vnt"
        self.wait(lambda: path.read_text() != first, "the document is saved to its path, with a line more")
        added = path.read_text()[len(first):]
        self.assertRegex(added, r"^\d\d:\d\d:\d\d\.\d{3} document\.cpp\(\d+\): \*\* Assertion Failed \*\*\n$")
        desktop.keys("ctrl+n")
        self.wait(lambda: program.frame.name == "Untitled - VNXTest", "there is a new document")
        second = program.save(self.desktop.path / "second.vnt")
        self.assertEqual([line[13:] for line in second.splitlines()], [line[13:] for line in first.splitlines()],
                         "the report is written anew")

    def test_text_equals_the_terminals(self):
        cli = os.environ.get("VNXTEST_CLI")
        if not cli:
            self.skipTest("VNXTEST_CLI does not name the terminal program")
        saved = self.program.save(self.desktop.path / "window.txt")
        told = subprocess.run([cli, "report", "--library", "sim"], env=self.desktop.env, capture_output=True,
                              text=True, check=True).stdout
        keep = lambda text: [line[13:] for line in text.splitlines() if "vnxtest" not in line]  # noqa: E731
        self.assertEqual(keep(saved), keep(told))
