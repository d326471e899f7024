"""The program's main job from the first window to the saved report, by keys and mouse."""

import os
import re
import subprocess

from lab.desktop import DesktopCase


def check_report(case, text, target):
    """The document of one finished ping test: in order, complete, every line stamped."""
    lines = text.splitlines()
    for line in lines:
        case.assertRegex(line, r"^\d\d:\d\d:\d\d\.\d{3}( .*)?$")
    told = [line[13:] for line in lines]
    marks = ["*** Interface ", "** START PING TEST **", f" ping  -c 3  -i 100  -s 32  -w 500  {target}",
             f" Sending ping #1 bytes=32 to {target}...", f" Reply to ping #3 received from {target}:",
             f" Ping statistics for {target}:", "     3 Pings Sent", "     3 Replies Received (Minimum =",
             "     0 Pings Lost (0%)", " Ping test successful.", "** END PING TEST **",
             "*** Statistics for Interface "]
    at = -1
    for mark in marks:
        found = next((index for index, line in enumerate(told) if index > at and line.startswith(mark)), None)
        case.assertIsNotNone(found, f"{mark!r} behind line {at}")
        at = found


class MainJob(DesktopCase):
    def test_simulated_lan(self):
        program, saved = self.program, self.desktop.path / "report.vnt"
        program.start_guest()
        program.start_ping("198.18.0.2", Count=3, Delay=100)
        program.wait_ping_end()
        self.assertIn("Sent 3, Received 3, Loss 0%", program.chart())
        program.choose("t", 'Stop "Vantor"')
        self.wait(lambda: program.menu_states("t")['Start "Vantor"...'][0], "the guest is stopped")
        text = program.save(saved)
        check_report(self, text, "198.18.0.2")
        self.assertIn("Simulated adapter", text)
        self.wait(lambda: program.frame.name == "report.vnt - VNXTest", "the title names the file")
        program.choose("f", "Exit")
        self.assertEqual(program.wait_end(), 0)
        self.assertEqual(program.complaints(), "")

    def test_stopping_a_test_keeps_its_figures(self):
        program = self.program
        program.start_guest()
        program.start_ping("198.18.0.2", Count=500, Delay=50)
        self.wait(lambda: "Sent" in (program.chart() or ""), "the chart shows the test")
        self.wait(lambda: int(re.search(r"Sent (\d+)", program.chart())[1]) >= 3, "three pings are sent")
        program.choose("t", "Stop ping test")
        program.wait_ping_end()
        sent = int(re.search(r"Sent (\d+), Received (\d+)", program.chart())[1])
        text = program.save(self.desktop.path / "stopped.txt")
        self.assertRegex(text, rf" +{sent} Pings Sent\n")


class RealWire(DesktopCase):
    """The same over a veth pair, to the kernel in a network namespace of its own."""

    namespace = "vnxui-peer"
    arguments = ("--library", "pcap")

    def setUp(self):
        if os.geteuid() != 0:
            self.skipTest("needs root, for a network namespace")
        commands = [f"ip netns add {self.namespace}",
                    f"ip link add vnxui0 type veth peer name vnxui1 netns {self.namespace}",
                    "ip addr add 10.86.0.1/24 dev vnxui0", "ip link set vnxui0 up",
                    f"ip -n {self.namespace} addr add 10.86.0.2/24 dev vnxui1",
                    f"ip -n {self.namespace} link set vnxui1 up"]
        self.addCleanup(subprocess.run, ["ip", "netns", "del", self.namespace], capture_output=True)
        for command in commands:
            made = subprocess.run(command.split(), capture_output=True, text=True)
            if made.returncode != 0:
                self.skipTest(f"{command}: {made.stderr.strip()}")
        super().setUp()

    def test_veth(self):
        program = self.program
        program.choose("t", 'Start "Vantor"...')
        dialog = program.dialog("VNXTest64UD Parameters")
        dialog.find("radio button", "Tap").click()
        for field, number in enumerate((10, 86, 0, 111), 1):
            dialog.find("text", f"Guest IP address of interface 1, field {field} of 4").fill(str(number))
        dialog.find("text", "Guest MAC address of interface 1").fill("")
        adapter = dialog.find("text", "Host adapter IP address of interface 1, field 1 of 4")
        if not adapter.enabled:
            dialog.find("text", "Host adapter MAC address of interface 1").fill("")
        for field, number in enumerate((10, 86, 0, 1), 1):
            dialog.find("text", f"Host adapter IP address of interface 1, field {field} of 4").fill(str(number))
        self.desktop.keys("Return")
        # Whether there is a gateway depends on the machine: the questions are answered as they come.
        self.wait(lambda: "VNXTest64UD Parameters" not in [window.name for window in program.dialogs()],
                  "the dialog is closed")
        for question in program.dialogs():
            program.press(question, "Proceed")
        program.wait_no_dialog()
        program.start_ping("10.86.0.2", Count=3, Delay=100)
        program.wait_ping_end()
        program.choose("t", 'Stop "Vantor"')
        check_report(self, program.save(self.desktop.path / "wire.vnt"), "10.86.0.2")
        program.choose("f", "Exit")
        self.assertEqual(program.wait_end(), 0)
