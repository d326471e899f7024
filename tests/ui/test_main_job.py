"""The program's main job from the first window to the saved report, also over a real wire and under load."""

import os
import re
import subprocess
import time

from lab import DesktopCase

PINGS = r" Sending ping #(\d+) bytes="
REPLIES = r" Reply to ping #(\d+) received"


def numbers(pattern, text):
    return [int(number) for number in re.findall(pattern, text)]


class MainJob(DesktopCase):
    def check_report(self, text, target):
        """The document of one finished ping test: in order, complete, every line stamped."""
        for line in text.splitlines():
            self.assertRegex(line, r"^\d\d:\d\d:\d\d\.\d{3}( .*)?$")
        marks = ["** START PING TEST **", f" ping  -c 3  -i 100  -s 32  -w 500  {target}",
                 f" Sending ping #1 bytes=32 to {target}...", f" Reply to ping #3 received from {target}:",
                 f" Ping statistics for {target}:", "     3 Pings Sent", "     3 Replies Received (Minimum =",
                 "     0 Pings Lost (0%)", " Ping test successful.", "** END PING TEST **",
                 "*** Statistics for Interface "]
        self.assertRegex(text, "(?s)" + ".*".join("\n[0-9:.]{12} " + re.escape(mark) for mark in marks))

    def job(self, target):
        program = self.program
        program.start_ping(target, Count=3, Delay=100)
        program.wait_ping_end()
        self.assertIn("Sent 3, Received 3, Loss 0%", program.chart())
        program.stop_guest()
        self.check_report(program.save(self.desktop.path / "report.vnt"), target)
        self.wait(lambda: program.frame.name == "report.vnt - VNXTest", "the title names the file")
        program.choose("f", "Exit")  # what is saved is not asked for
        self.assertTrue(program.ended(), program.complaints())

    def test_simulated_lan(self):
        self.program.start_guest()
        self.job("198.18.0.2")

    def test_stopping_a_test_keeps_its_figures(self):
        program = self.program
        program.start_guest()
        program.start_ping(Count=500, Delay=50)
        self.wait(lambda: numbers(r"Sent (\d+)", program.chart() or "") >= [3], "three pings are sent")
        program.choose("t", "Stop ping test")
        program.wait_ping_end()
        sent = numbers(r"Sent (\d+)", program.chart())[0]
        self.assertRegex(program.save(self.desktop.path / "stopped.txt"), rf" +{sent} Pings Sent\n")

    def closing(self, answer):
        """Closes the window while guest and ping test run; there is one question, and nothing is left of it."""
        program = self.program
        program.start_guest()
        program.start_ping(Count=60000, Delay=1)
        self.desktop.keys("alt+F4")
        program.answer(answer)

    def test_closing_without_saving_while_pinging(self):
        self.closing("Don't Save")
        self.assertTrue(self.program.ended(), self.program.complaints())

    def test_closing_with_saving_while_pinging(self):
        self.closing("Save")
        path = self.desktop.path / "running.vnt"
        self.program.enter_path("Save As", path)
        self.assertTrue(self.program.ended(), self.program.complaints())
        sent = numbers(PINGS, path.read_text())
        self.assertEqual(sent, list(range(1, len(sent) + 1)))
        self.assertGreater(len(sent), 10)

    def test_65535_pings_without_delay(self):  # how responsive the window stays meanwhile: bench/window_pings.py
        self.program.start_guest()
        self.program.start_ping(Count=65535, Size=8, Delay=0, Timeout=10000)
        self.program.wait_ping_end()
        self.assertIn("Sent 65535, Received 65535, Loss 0%", self.program.chart())
        text = self.program.save(self.desktop.path / "load.vnt")
        self.assertEqual(numbers(PINGS, text), list(range(1, 65536)))
        self.assertEqual(sorted(numbers(REPLIES, text)), list(range(1, 65536)))


class RealWire(MainJob):
    """The same over a veth pair, to the kernel in a network namespace of its own."""

    namespace = "vnxui-peer"
    arguments = None
    test_simulated_lan = test_65535_pings_without_delay = test_stopping_a_test_keeps_its_figures = None
    test_closing_without_saving_while_pinging = test_closing_with_saving_while_pinging = None

    def test_veth(self):
        if os.geteuid() != 0:
            self.skipTest("needs root, for a network namespace")
        self.addCleanup(subprocess.run, ["ip", "netns", "del", self.namespace], capture_output=True)
        for command in (f"ip netns add {self.namespace}",
                        f"ip link add vnxui0 type veth peer name vnxui1 netns {self.namespace}",
                        "ip addr add 10.86.0.1/24 dev vnxui0", "ip link set vnxui0 up",
                        f"ip -n {self.namespace} addr add 10.86.0.2/24 dev vnxui1",
                        f"ip -n {self.namespace} link set vnxui1 up"):
            made = subprocess.run(command.split(), capture_output=True, text=True)
            if made.returncode != 0:
                self.skipTest(f"{command}: {made.stderr.strip()}")
        program = self.program = self.start("--library", "pcap")
        dialog = program.choose_dialog("t", 'Start "Vantor"...', "VNXTest64UD Parameters")
        dialog.find("radio button", "Tap").click()
        # A guest in a foreign subnet is asked about first; Cancel leads back with the values entered.
        for guest in ("10.87.0.111", "10.86.0.111"):
            for name, address in (("Guest", guest), ("Host adapter", "10.86.0.1")):
                for field, part in enumerate(address.split("."), 1):
                    dialog.find("text", f"{name} IP address of interface 1, field {field} of 4").fill(part)
            dialog.find("text", "Guest MAC address of interface 1").fill("")
            self.desktop.keys("Return")
            self.wait(lambda: dialog not in program.dialogs() and not dialog.showing, "the dialog is closed")
            if guest == "10.87.0.111":
                # Whether there is a gateway depends on the machine.
                title = self.wait(lambda: [window.name for window in program.dialogs()], "the question")[0]
                self.assertIn(title, ("Subnets Warning", "Undefined Gateway"))
                self.desktop.keys("Return")
                dialog = program.dialog("VNXTest64UD Parameters")
        time.sleep(0.5)
        for question in program.dialogs():
            program.press(question, "Proceed")
        program.wait_no_dialog()
        self.job("10.86.0.2")
