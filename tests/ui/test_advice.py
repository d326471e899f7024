"""The bar that says why: what it shows, its page of the help book, and that what was put away stays away."""

from cases import DesktopCase


class Advice(DesktopCase):
    arguments = ("--library", "sim:df=100")  # every reply has the Don't-Fragment bit

    def advice(self):
        return next((panel.name for panel in self.program.frame.select("panel") if panel.name.startswith("Advice")), None)

    def test_more_and_dismiss(self):
        program = self.program
        program.start_guest()
        self.assertIsNone(self.advice())
        program.start_ping(Count=2, Delay=0, Timeout=100)
        told = self.wait(self.advice, "the bar is shown")
        self.assertIn("Don't-Fragment", told)
        program.wait_ping_end()
        self.desktop.keys("shift+F1")
        program.frame.find("push button", "Dismiss").click()
        self.assertTrue(program.balloon().startswith("Advice. "), "it says what it is for")
        self.desktop.keys("Escape")
        program.frame.find("push button", "More").click()
        self.wait(lambda: any(window.name == "Advice - Netorra Help" and window.active for window in program.root.children()),
                  "its page is shown")
        self.desktop.keys("alt+F4")
        program.wait_active()
        # In a small window it leaves room for the report.
        bar = program.frame.find("panel", told)
        window = self.desktop.xdotool("search", "--onlyvisible", "--name", "Untitled - VNXTest").split()[-1]
        self.desktop.xdotool("windowsize", window, 480, 320)
        self.wait(lambda: bar.place.width < 480 and bar.place.height < 80, lambda: f"it is small: {bar.place}")
        self.desktop.xdotool("windowsize", window, 980, 760)
        self.wait(lambda: bar.place.width > 800, "it is large again")
        program.frame.find("push button", "Dismiss").click()
        self.wait(lambda: self.advice() is None, "the bar is gone")
        self.assertNotIn("Don't-Fragment", program.save(self.desktop.path / "report.vnt"))
        # It does not come back in this run, and does in the next.
        program.start_ping(Count=2, Delay=0, Timeout=100)
        program.wait_ping_end()
        program.stop_guest()
        self.assertIsNone(self.advice())
        program.start_guest()
        program.start_ping(Count=2, Delay=0, Timeout=100)
        self.wait(self.advice, "the next run says it again")
