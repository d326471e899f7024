"""The save prompt with its loop, failed saves, file names; and starts that fail."""

import os
import resource
import subprocess
import time

from cases import DesktopCase


class Saving(DesktopCase):
    def prompt(self, name="Untitled"):
        self.program.dialog("VNXTest64UD").find("label", f"Do you want to save changes to {name}?")

    def failure(self):
        """The message of a failed save, confirmed."""
        def told():
            return [label.name for window in self.program.dialogs() if window.active for label in window.select("label")
                    if "could not be saved" in label.name]
        text = self.wait(told, "a message")[0]
        self.desktop.keys("Return")
        self.wait(lambda: not told(), "the message is closed")
        return text

    def test_prompt_loop(self):
        program, desktop = self.program, self.desktop
        for key in ("Return", "Escape"):  # Cancel is the default
            program.choose("f", "Exit")
            self.prompt()
            desktop.keys(key)
            program.wait_no_dialog()
            self.assertIsNone(program.process.poll())
        # A cancelled file dialog brings the question back; so does a failed save.
        program.choose("f", "Exit")
        program.answer("Save")
        program.dialog("Save As")
        desktop.keys("Escape")
        self.prompt()
        program.answer("Save")
        program.enter_path("Save As", "/proc/report.vnt")
        self.assertIn("/proc/", self.failure())
        self.prompt()
        program.answer("Save")
        path = desktop.path / "kept.vnt"
        program.enter_path("Save As", path)
        self.assertTrue(program.ended(), program.complaints())
        self.assertIn("Simulated adapter", path.read_text(encoding="utf-8"))

    def test_a_file_that_is_gone_and_one_that_is_none(self):
        program, path = self.program, self.desktop.path / "report.vnt"
        text = program.save(path)
        path.unlink()
        self.desktop.keys("ctrl+s")  # nothing has changed but that
        self.wait(path.exists, "it is written anew")
        self.assertEqual(path.read_text(encoding="utf-8"), text)
        path.unlink()
        os.mkfifo(path)
        self.desktop.keys("ctrl+s")
        self.assertIn("no ordinary file", self.failure())
        program.dialog("Save As")  # another place is asked for
        self.desktop.keys("Escape")
        program.wait_no_dialog()
        self.assertTrue(path.is_fifo())

    def test_the_profile(self):
        program, profile = self.program, self.desktop.path / "config/VNXTest64UD/VNXTest64UD.conf"
        profile.parent.mkdir(exist_ok=True)
        profile.unlink(missing_ok=True)  # what would become the profile is, too
        self.desktop.keys("ctrl+s")
        program.enter_path("Save As", profile)
        self.assertIn("settings are kept. Choose another", self.failure())
        program.wait_no_dialog()
        self.assertFalse(profile.exists())

    def test_names_and_a_disk_that_is_full(self):
        program, path, elsewhere = self.program, self.desktop.path / "report.vnt", self.desktop.path / "elsewhere.txt"
        self.desktop.keys("ctrl+s")
        program.enter_path("Save As", self.desktop.path / "report")  # a name without an extension gets the program's
        self.wait(path.exists, "the report is saved")
        program.wait_no_dialog()
        first = path.read_text(encoding="utf-8")
        program.start_guest()
        first = program.save_again(path, first)  # to the path it has, no dialog
        program.start_ping(Count=3, Delay=0)
        program.wait_ping_end()
        files = set(os.listdir(self.desktop.path))
        resource.prlimit(program.process.pid, resource.RLIMIT_FSIZE, (1000, -1))  # as if the disk were full
        self.desktop.keys("ctrl+s")
        self.assertIn("File too large", self.failure())
        program.dialog("Save As")  # another place is asked for
        self.assertEqual(path.read_text(encoding="utf-8"), first, "the old file is as it was")
        self.assertEqual(set(os.listdir(self.desktop.path)), files)
        resource.prlimit(program.process.pid, resource.RLIMIT_FSIZE, (-1, -1))
        program.enter_path("Save As", elsewhere)
        self.wait(elsewhere.exists, "it is saved elsewhere")
        program.wait_no_dialog()
        text = elsewhere.read_text(encoding="utf-8")
        self.assertTrue(text.startswith(first))
        self.assertEqual(text.count("** END PING TEST **"), 1)
        self.assertEqual(program.frame.name, "elsewhere.txt - VNXTest")
        program.stop_guest()  # adds to it
        program.choose("f", "Exit")
        self.prompt("elsewhere.txt")


class Failing(DesktopCase):
    arguments = None

    def run_program(self, *arguments):
        log = open(self.desktop.path / "program.log", "w")
        self.addCleanup(log.close)
        return self.desktop.start(os.environ["VNXTEST_WINDOW"], *arguments, stdout=log, stderr=log)

    def test_starts_that_cannot_be(self):
        # A report cannot be opened, and so it cannot be named.
        self.assertNotEqual(self.run_program("report.vnt").wait(60), 0)
        self.assertIn("Unexpected parameter", (self.desktop.path / "program.log").read_text())
        process = self.run_program("--library", "no-such-library.so")
        shown = ["xdotool", "getactivewindow", "getwindowname"]
        self.wait(lambda: "VNXTest64UD" in subprocess.run(shown, env=self.desktop.env, capture_output=True, text=True).stdout,
                  "a message")
        time.sleep(0.5)
        self.desktop.keys("Return")
        self.assertNotEqual(process.wait(60), 0)
