"""The window of an ordinary user on a real adapter: the helper opens it, the window holds no right.

Root makes the network and the helper's rights; the display, the bus and the window are the user's, so this file runs
itself again as that user.
"""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HERE = pathlib.Path(__file__).resolve()
ORDINARY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all"]
ADAPTER, PEER, GUEST = "10.86.1.1", "10.86.1.2", "10.86.1.111"


class OrdinaryUser(unittest.TestCase):
    label = "ui"
    case_timeout = 300

    def setUp(self):
        from lab import desktop, network
        reason = desktop.missing() or network.why_no_namespaces() or (
            None if "VNXTEST_WINDOW" in os.environ else "VNXTEST_WINDOW does not name the program")
        if reason:
            self.skipTest(reason)
        network.remove_leftovers()
        self.host, self.peer = (network.Namespace(label) for label in ("host", "peer"))
        for namespace in (self.host, self.peer):
            self.addCleanup(namespace.remove)
        network.cable(self.host, "adapter", ADAPTER, self.peer, "far", PEER)

    def test_a_guest_on_a_real_adapter(self):
        with tempfile.TemporaryDirectory(prefix="vnxtest-user-") as name:
            folder = pathlib.Path(name)
            os.chmod(folder, 0o777)
            window = pathlib.Path(os.environ["VNXTEST_WINDOW"])
            for program in (window, window.with_name("vnxtest-open")):
                shutil.copy(program, folder)
                os.chmod(folder / program.name, 0o755)
            shutil.copytree(HERE.parent.parent.parent / "lab", folder / "lab", ignore=shutil.ignore_patterns("__pycache__"))
            shutil.copy(HERE, folder)
            granted = subprocess.run(["setcap", "cap_net_raw,cap_net_admin+ep", folder / "vnxtest-open"], capture_output=True,
                                     text=True)
            if granted.returncode != 0:
                self.skipTest(f"setcap does not work here: {granted.stderr.strip()}")
            done = subprocess.run(
                self.host.command(*ORDINARY, "env", f"VNXTEST_WINDOW={folder / window.name}", f"HOME={folder}", sys.executable,
                                  "-B", folder / HERE.name), cwd=folder, capture_output=True, text=True, timeout=280)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            told = json.loads(done.stdout.splitlines()[-1])
            if os.environ.get("VNXTEST_SCREENSHOTS"):
                shutil.copy(folder / "window.png", os.environ["VNXTEST_SCREENSHOTS"])
            self.assertEqual(told["uid"], 65534)
            self.assertEqual(set(told["rights"]), {"0000000000000000"}, "of every thread, permitted and effective")
            self.assertIn("Sent 3, Received 3, Lost 0 (0%)", told["chart"])


def inside(folder):
    """As the user: the guest is started on the adapter and pings the peer, twice, since the helper is asked each time."""
    from lab.desktop import Desktop, Program, wait
    with Desktop() as desktop:
        program = Program(desktop, "--library", "pcap")
        for _ in range(2):
            dialog = program.choose_dialog("t", 'Start "Vantor"...', "VNXTest64UD Parameters")
            dialog.find("radio button", "Tap").click()
            for name, address in (("Guest", GUEST), ("Host adapter", ADAPTER)):
                for field, part in enumerate(address.split("."), 1):
                    dialog.find("text", f"{name} IP address of interface 1, field {field} of 4").fill(part)
            dialog.find("text", "Guest MAC address of interface 1").fill("")
            desktop.keys("Return")
            wait(lambda: not dialog.showing, "the dialog is closed")
            time.sleep(0.5)
            for question in program.dialogs():  # there is no gateway
                program.press(question, "Proceed")
            program.wait_no_dialog()
            program.start_ping(PEER, Count=3, Delay=100)
            program.wait_ping_end()
            chart = program.chart()
            desktop.screenshot(folder / "window.png")
            rights = [line.split()[1] for status in pathlib.Path(f"/proc/{program.process.pid}/task").glob("*/status")
                      for line in status.read_text().splitlines() if line.startswith(("CapPrm:", "CapEff:"))]
            program.stop_guest()
        print(json.dumps({"uid": os.getuid(), "rights": rights, "chart": chart}))
        program.kill()


if __name__ == "__main__":
    def give_up(*_):
        raise TimeoutError("it hangs here")  # and ends what was started

    signal.signal(signal.SIGALRM, give_up)
    signal.alarm(240)
    inside(HERE.parent)
