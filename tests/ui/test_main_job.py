"""The program's main job from the first window to the saved report, also under load. Over a real wire:
test_ordinary_user.py."""

import re

from cases import DesktopCase

PINGS = r" Sending ping #(\d+) bytes="
REPLIES = r" Reply to ping #(\d+) received"


def numbers(pattern, text):
    return [int(number) for number in re.findall(pattern, text)]


class MainJob(DesktopCase):
    def test_from_the_first_window_to_the_saved_report(self):
        """A ping test to the end, its document saved: in order, complete, every line stamped."""
        program, target = self.program, "198.18.0.2"
        program.start_guest()
        program.start_ping(target, Count=3, Delay=100)
        program.wait_ping_end()
        self.assertIn("Sent 3, Received 3, Lost 0 (0%)", program.chart())
        program.stop_guest()
        text = program.save(self.desktop.path / "report.vnt")
        for line in text.splitlines():
            self.assertRegex(line, r"^\d\d:\d\d:\d\d\.\d{3}( .*)?$")
        marks = ["** START PING TEST **", f" ping  -c 3  -i 100  -s 32  -w 500  {target}",
                 f" Sending ping #1 bytes=32 to {target}...", f" Reply to ping #3 received from {target}:",
                 f" Ping statistics for {target}:", "     3 Pings Sent", "     3 Replies Received (Minimum =",
                 "     0 Pings Lost (0%)", " Ping test successful.", "** END PING TEST **",
                 "*** Statistics for Interface "]
        self.assertRegex(text, "(?s)" + ".*".join("\n[0-9:.]{12} " + re.escape(mark) for mark in marks))
        self.wait(lambda: program.frame.name == "report.vnt - VNXTest", "the title names the file")
        program.choose("f", "Exit")  # what is saved is not asked for
        self.assertTrue(program.ended(), program.complaints())

    def close_while_pinging(self, answer):
        self.program.start_ping(Count=60000, Delay=1)
        self.desktop.keys("alt+F4")
        self.program.answer(answer)

    def test_stopping_a_test_and_closing_with_saving_while_pinging(self):
        program, path = self.program, self.desktop.path / "running.vnt"
        program.start_guest()
        program.start_ping(Count=500, Delay=50)
        self.wait(lambda: numbers(r"Sent (\d+)", program.chart() or "") >= [3], "three pings are sent")
        program.choose("t", "Stop ping test")
        program.wait_ping_end()
        stopped = numbers(r"Sent (\d+)", program.chart())[0]
        self.close_while_pinging("Save")
        program.enter_path("Save As", "/proc/report.vnt")
        program.dialog("VNXTest64UD").find(None, name=None)
        self.desktop.keys("Return")  # it could not be saved: the question again
        program.answer("Save")
        program.enter_path("Save As", path)
        self.assertTrue(program.ended(), program.complaints())
        text = path.read_text()
        self.assertEqual(text.count("** END PING TEST **"), 2, "the test was stopped before it was saved")
        self.assertRegex(text, r"(?s)END PING TEST.*\*\*\* Statistics for Interface.*\*\* Interface sim0 closed[^\n]*\n$")
        sent = numbers(PINGS, text)
        self.assertEqual(numbers(r" (\d+) Pings Sent\n", text), [stopped, len(sent) - stopped], "the chart tells the same")
        self.assertEqual(sent, [*range(1, stopped + 1), *range(1, len(sent) - stopped + 1)])
        self.assertGreater(len(sent), stopped + 10)

    def test_closing_without_saving_while_pinging(self):
        self.program.start_guest()
        self.close_while_pinging("Don't Save")
        self.assertTrue(self.program.ended(), self.program.complaints())

    def test_65535_pings_without_delay(self):  # how responsive the window stays meanwhile: bench/window_pings.py
        self.program.start_guest()
        self.program.start_ping(Count=65535, Size=8, Delay=0, Timeout=10000)
        self.program.wait_ping_end()
        self.assertIn("Sent 65535, Received 65535, Lost 0 (0%)", self.program.chart())
        text = self.program.save(self.desktop.path / "load.vnt")
        self.assertEqual(numbers(PINGS, text), list(range(1, 65536)))
        self.assertEqual(sorted(numbers(REPLIES, text)), list(range(1, 65536)))
