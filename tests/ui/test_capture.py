"""View, Capture to file...: the next start is captured, the status bar counts, and what cannot be is said."""

import subprocess

from cases import DesktopCase


class Capture(DesktopCase):
    def ask(self, path):
        self.program.choose("v", "Capture to file...")
        self.program.enter_path("Capture to file", path)

    def checked(self):
        return self.program.menu_states("v")["Capture to file..."][1]

    def wait_status(self, text):
        self.wait(lambda: text in self.program.status(), f"the status bar says {text}")

    def test_one_start(self):
        program, path = self.program, self.desktop.path / "guest.pcapng"
        self.ask("/proc/nowhere.pcapng")
        told = program.dialog("VNXTest64UD")
        self.assertTrue(any("The capture cannot be written." in each.name for each in told.all()))
        self.desktop.keys("Return")
        program.wait_no_dialog()
        self.assertFalse(self.checked())
        for again in (False, True):  # taken back in between
            self.ask(path)
            program.wait_no_dialog()
            self.wait_status("waiting for the guest's start")
            self.assertTrue(self.checked())
            if not again:
                program.choose("v", "Capture to file...")
                self.wait_status("No capture")
                path.unlink(missing_ok=True)
        program.start_guest()
        program.start_ping(Count=3, Delay=0)
        program.wait_ping_end()
        self.wait_status("Capturing: 6 frames")
        program.stop_guest()
        self.wait_status("Captured: 6 frames")
        self.assertFalse(self.checked())
        comments = subprocess.run(["tshark", "-r", str(path), "-T", "fields", "-e", "frame.comment"], text=True,
                                  capture_output=True, check=True).stdout
        self.assertIn("reply to ping #3 of 198.18.0.2", comments)
