"""The save prompt with its loop, failed saves, file names, and closing while the guest runs."""

import pathlib
import time

from lab.desktop import DesktopCase

PROMPT = "Do you want to save changes to Untitled?"


class Saving(DesktopCase):
    def prompt(self):
        dialog = self.program.dialog("VNXTest64UD")
        self.assertTrue(dialog.select("label", PROMPT), dialog.select("label"))
        return dialog

    def test_prompt_loop(self):
        program, desktop = self.program, self.desktop
        # Cancel is the default: Enter and Escape both keep the program open.
        for key in ("Return", "Escape"):
            program.choose("f", "Exit")
            self.prompt()
            desktop.keys(key)
            program.wait_no_dialog()
            self.assertIsNone(program.process.poll())
        # A cancelled file dialog brings the question back.
        program.choose("f", "Exit")
        program.press(self.prompt(), "Save")
        program.dialog("Save As")
        desktop.keys("Escape")
        self.prompt()
        # So does a failed save, which says why and loses nothing.
        program.press(self.prompt(), "Save")
        program.dialog("Save As")
        desktop.keys("ctrl+a")
        desktop.type("/proc/report.vnt")
        time.sleep(0.3)
        desktop.keys("Return")
        message = self.wait(lambda: [label.name for window in program.dialogs() for label in window.select("label")
                                     if "could not be saved" in label.name], "the failure is told")
        self.assertIn("/proc/", message[0])
        desktop.keys("Return")
        time.sleep(0.5)
        # At last it is saved, and the program ends.
        program.press(self.prompt(), "Save")
        program.dialog("Save As")
        path = desktop.path / "kept.vnt"
        desktop.keys("ctrl+a")
        desktop.type(str(path))
        time.sleep(0.3)
        desktop.keys("Return")
        self.assertEqual(program.wait_end(), 0)
        self.assertIn("Simulated adapter", path.read_text(encoding="utf-8"))

    def test_dont_save(self):
        program = self.program
        program.choose("f", "Exit")
        program.press(self.prompt(), "Don't Save")
        self.assertEqual(program.wait_end(), 0)

    def test_names_and_second_save(self):
        program, desktop = self.program, self.desktop
        folder = desktop.path
        desktop.keys("ctrl+s")
        program.dialog("Save As")
        program.enter_path(folder / "plain")
        self.wait((folder / "plain.vnt").exists, "a name without an extension gets the program's")
        first = (folder / "plain.vnt").read_text(encoding="utf-8")
        program.start_guest()
        desktop.keys("ctrl+s")  # to the path it has, no dialog
        self.wait(lambda: len((folder / "plain.vnt").read_text(encoding="utf-8")) > len(first), "it is saved again")
        self.assertTrue((folder / "plain.vnt").read_text(encoding="utf-8").startswith(first))
        self.assertEqual([path.name for path in folder.glob("plain*")], ["plain.vnt"], "no temporary file is left")
        program.choose("t", 'Stop "Vantor"')

    def test_close_while_pinging(self):
        program = self.program
        program.start_guest()
        program.start_ping("198.18.0.2", Count=60000, Delay=5)
        self.wait(lambda: "Sent" in program.chart(), "it pings")
        self.desktop.keys("alt+F4")
        program.press(self.prompt(), "Don't Save")
        self.assertEqual(program.wait_end(10), 0)
        self.assertEqual(program.complaints(), "")

    def test_saving_while_pinging_prompts_once(self):
        program, path = self.program, self.desktop.path / "running.vnt"
        program.start_guest()
        program.start_ping("198.18.0.2", Count=60000, Delay=1)
        self.desktop.keys("alt+F4")
        program.press(self.prompt(), "Save")
        program.dialog("Save As")
        self.desktop.keys("ctrl+a")
        self.desktop.type(str(path))
        time.sleep(0.3)
        self.desktop.keys("Return")
        self.assertEqual(program.wait_end(10), 0)
        numbers = [int(line.split("#")[1].split()[0]) for line in path.read_text().splitlines()
                   if " Sending ping #" in line]
        self.assertEqual(numbers, list(range(1, len(numbers) + 1)))
        self.assertGreater(len(numbers), 10)


class Failing(DesktopCase):
    arguments = ("--library", "no-such-library.so")

    def setUp(self):
        # The program never gets as far as its window.
        from lab import desktop as lab
        reason = lab.missing()
        if reason:
            self.skipTest(reason)
        self.desktop = lab.Desktop()
        self.desktop.__enter__()
        self.addCleanup(self.desktop.__exit__)

    def test_library_that_cannot_be_used(self):
        import os
        log = open(self.desktop.path / "log", "w")
        self.addCleanup(log.close)
        process = self.desktop.start(os.environ["VNXTEST_WINDOW"], *self.arguments, stdout=log, stderr=log)
        window = self.wait(lambda: self.desktop.xdotool("search", "--onlyvisible", "--name", "VNXTest64UD").split()
                           if pathlib.Path(f"/proc/{process.pid}").exists() and self.found() else None,
                           "a message says so")
        self.assertTrue(window)
        time.sleep(0.5)
        self.desktop.keys("Return")
        self.assertNotEqual(process.wait(10), 0)

    def found(self):
        try:
            return bool(self.desktop.xdotool("search", "--onlyvisible", "--name", "VNXTest64UD"))
        except Exception:
            return False
