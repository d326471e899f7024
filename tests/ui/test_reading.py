"""Reading while lines come, and what assistive software gets of the report."""

from cases import DesktopCase
from lab.desktop import pyatspi


class Reading(DesktopCase):
    def setUp(self):
        super().setUp()
        self.report = self.program.frame.find("text", "Report")
        self.asked = self.report.accessible.queryText()

    def last_line_shown(self):
        """Whether the last line, which is empty, is within the report's place."""
        end = self.asked.getCharacterExtents(self.asked.characterCount - 1, pyatspi.DESKTOP_COORDS)
        place = self.report.place
        return place.y <= end[1] and end[1] + end[3] <= place.y + place.height

    def button(self):
        return self.program.frame.select("push button", "New lines below")

    def test_scrolling_up_pauses_following(self):
        program, desktop = self.program, self.desktop
        program.start_guest()
        program.start_ping(Count=100, Delay=10)
        program.wait_ping_end()
        self.assertTrue(self.last_line_shown())
        program.start_ping(Count=2000, Delay=40)
        place = self.report.place

        def by_bar():  # above its thumb; it takes clicks once it has come into view, after the pointer
            for y in (80, 60, 40):
                desktop.click_at(place.x + place.width - 3, place.y + y)
        for up, back in ((lambda: desktop.xdotool("click", 4), lambda: self.button()[0].click()),
                         (lambda: desktop.keys("Prior"), lambda: desktop.keys("End")),
                         (by_bar, lambda: desktop.keys("ctrl+End"))):
            desktop.xdotool("mousemove", place.x + 200, place.y + 60)
            up()
            self.wait(self.button, "there are new lines below")
            self.assertFalse(self.last_line_shown())
            back()
            self.wait(lambda: not self.button() and self.last_line_shown(), "it follows again")
        program.choose("t", "Stop ping test")
        program.wait_ping_end()

    def test_zoom_and_find(self):
        program, desktop = self.program, self.desktop

        def height():
            return self.asked.getCharacterExtents(0, pyatspi.DESKTOP_COORDS)[3]
        usual = height()
        for key, fits in (("ctrl+plus", lambda: height() > usual), ("ctrl+0", lambda: height() == usual),
                          ("ctrl+minus", lambda: height() < usual), ("ctrl+equal", lambda: height() == usual)):
            desktop.keys(key)
            self.wait(fits, f"{key} changes the letters")
            self.wait(self.last_line_shown, "the end stays in view", 10)

        def selected():
            return self.asked.getText(*self.asked.getSelection(0)) if self.asked.getNSelections() else ""
        desktop.keys("ctrl+Home", "ctrl+f")
        dialog = program.dialog("Find")
        dialog.find("check box", "Match case").click()
        dialog.find("check box", "Whole word").click()
        dialog.find("text").fill("physaddr")
        self.wait(lambda: dialog.find("push button", "Find").enabled, "it can be found")
        self.wait(lambda: desktop.keys("Return") or 'Cannot find "physaddr"' in program.status(), "no such word")
        dialog.find("check box", "Match case").click()
        self.wait(lambda: "Cannot find" not in program.status(), "another search: it is no more said", 4)
        dialog.find("text").fill("Simulated")
        self.wait(lambda: dialog.find("push button", "Find").enabled, "it can be found: the button follows when idle")
        desktop.keys("Return")
        self.wait(lambda: selected().lower() == "simulated", "it is found")
        first = self.asked.getSelection(0)
        desktop.keys("Escape")
        program.wait_no_dialog()

        def wraps(there, back, to):  # it is said for some seconds, which a busy machine may miss
            desktop.keys(there)
            said = f"Search wrapped to the {to}" in program.status()
            return said or desktop.keys(back)
        self.wait(lambda: wraps("shift+F3", "F3", "end"), "it is said")
        self.assertGreater(self.asked.getSelection(0)[0], first[0])
        self.wait(lambda: wraps("F3", "shift+F3", "beginning"), "it is said")
        self.assertEqual(self.asked.getSelection(0), first)
        desktop.keys("Home")
        self.wait(lambda: "wrapped" not in program.status(), "who goes elsewhere is told no more", 4)


class ScreenReader(DesktopCase):
    def test_the_report_is_a_text(self):
        from gi.repository import GLib  # it comes with pyatspi

        program, desktop = self.program, self.desktop
        report = program.frame.find("text", "Report")
        text = report.accessible.queryText()
        states = report.accessible.getState()
        for state in (pyatspi.STATE_MULTI_LINE, pyatspi.STATE_READ_ONLY, pyatspi.STATE_FOCUSED):
            self.assertTrue(states.contains(state), state)
        saved = program.save(desktop.path / "report.vnt")
        self.assertEqual(text.getText(0, -1), saved)
        self.assertEqual(text.characterCount, len(saved))
        self.assertEqual(text.caretOffset, len(saved))
        second = saved.index("\n") + 1
        end = saved.index("\n", second) + 1
        self.assertEqual(text.getTextAtOffset(second + 3, pyatspi.TEXT_BOUNDARY_LINE_START),
                         (saved[second:end], second, end))
        word = saved.index(" ") + 1
        self.assertEqual(text.getTextAtOffset(2, pyatspi.TEXT_BOUNDARY_WORD_START), (saved[:word], 0, word))
        self.assertTrue(text.addSelection(word, second))
        self.assertEqual(text.getSelection(0), (word, second))

        told = []
        names = ("object:text-changed:insert", "object:text-caret-moved", "object:announcement")
        pyatspi.Registry.registerEventListener(lambda event: told.append((str(event.type), event.detail1, event.any_data)),
                                               *names)

        def heard(name, fits):
            GLib.MainContext.default().iteration(False)
            return [event for event in told if event[0].startswith(name) and fits(event)]
        desktop.keys("ctrl+Home")
        self.wait(lambda: heard(names[1], lambda event: event[1] == 0), "the caret is told")
        desktop.keys("ctrl+End")
        program.start_guest()
        added = self.wait(lambda: heard(names[0], lambda event: "Interface" in event[2]), "what is added is told")
        self.assertGreaterEqual(added[0][1], len(saved))
        self.wait(lambda: heard(names[2], lambda event: event[2]), lambda: f"it is announced: {told}")
        self.assertLess(len(heard(names[2], lambda event: True)), 10, "politely: not line by line")
