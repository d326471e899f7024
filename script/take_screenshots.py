#!/usr/bin/env python3
"""Takes the pictures of the documentation: take_screenshots.py FOLDER [--scale N] [--theme NAME].

Starts the real program on the simulated LAN, brings up each window by keys and mouse, and writes one PNG a
window. VNXTEST_WINDOW names the program.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent))
sys.dont_write_bytecode = True

from lab.desktop import Desktop, Program, missing, wait  # noqa: E402


# A computer with two adapters, whichever this one is.
HOST = ("unshare", "-n", "sh", "-c", "ip link set lo up && "
        "ip link add eth0 address 02:00:00:12:34:56 type veth peer name office && "
        "ip address add 192.168.0.20/24 dev eth0 && ip link set eth0 up && "
        "ip link set office address 02:00:00:65:43:21 up && "
        'ip route add default via 192.168.0.1 && exec "$0" "$@"')
# Network delays that a reader knows from a LAN; the same ones each time.
GOOD = "sim:delay=12,jitter=9,seed=5"
BAD = "sim:delay=12,jitter=9,loss=5,late=3,lateby=70,seed=5"
ADVISED = "sim:df=100"

# The window manager frames the toolkit's own windows: as GTK frames the others.
MANAGER = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc"><theme><name>Pictures</name><titleLayout>LC</titleLayout>
<font place="ActiveWindow"><name>sans</name><size>10</size><weight>bold</weight></font></theme></openbox_config>
"""
FRAMES = """border.width: 1
border.color: #b6b0a8
window.handle.width: 0
padding.width: 10
padding.height: 11
window.client.padding.width: 0
window.client.padding.height: 0
window.active.title.bg: flat gradient vertical
window.active.title.bg.color: #e0deda
window.active.title.bg.colorTo: #d9d5d0
window.active.label.bg: parentrelative
window.active.label.text.color: #2e3436
window.active.button.*.bg: parentrelative
window.active.button.*.image.color: #2e3436
window.label.text.justify: center
"""


class Photographer:
    def __init__(self, desktop, folder):
        self.desktop, self.folder, self.program = desktop, folder, None
        for name, text in (("config/openbox/rc.xml", MANAGER), (".themes/Pictures/openbox-3/themerc", FRAMES)):
            file = desktop.path / name
            file.parent.mkdir(parents=True)
            file.write_text(text)
        subprocess.run(["openbox", "--reconfigure"], env=desktop.env, check=True)

    def shoot(self, control, path):
        """The part of the screen that a window and its balloon cover, in few colours: small files."""
        windows = [control] + [window for window in self.program.root.children()
                               if window.role == "window" and window.name and window.showing]
        places = [window.place for window in windows]
        left, top = max(0, min(place.x for place in places)), max(0, min(place.y for place in places))
        right, bottom = max(place.x + place.width for place in places), max(place.y + place.height for place in places)
        full = self.desktop.screenshot(self.desktop.path / "full.png")
        # Beside a balloon that stands out of its window there is nothing.
        parts = [word for place in places for word in (
            "(", str(full), "-crop", f"{place.width}x{place.height}+{place.x}+{place.y}", ")")]
        subprocess.run(["convert", "-size", self.desktop.size, "canvas:none", *parts, "-background", "none", "-layers", "flatten",
                        "-crop", f"{right - left}x{bottom - top}+{left}+{top}", "+repage", "-strip", "+dither",
                        "-colors", "250", f"png8:{path}"], check=True)

    def take(self, name, control, pause=0.6):
        # Moves the pointer away, so that no control lights up under it.
        self.desktop.xdotool("mousemove", 2, 2)
        control.settled_place()
        time.sleep(pause)
        self.shoot(control, self.folder / f"{name}.png")
        print(name, flush=True)

    def dialog(self, name, item, title, menu="t"):
        self.program.choose(menu, item)
        self.take(name, self.program.dialog(title))
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def menu(self, name, mnemonic):
        self.program.open_menu(mnemonic)
        self.take(name, self.program.frame)
        self.desktop.keys("Escape")

    def report(self):
        return self.program.frame.find("text", "Report").text

    def with_program(self, library, pictures):
        self.program = Program(self.desktop, "--library", library, prefix=HOST if os.geteuid() == 0 else ())
        time.sleep(1)
        pictures()
        self.program.choose("f", "Exit")
        prompt = self.program.dialog("VNXTest64UD")
        if library == GOOD:
            self.take("save-prompt", prompt)
        self.program.press(prompt, "Don't Save")
        if self.program.process.wait(60) != 0 or self.desktop.noise():
            sys.exit(f"the program ended with {self.program.process.returncode}: {self.program.complaints()}")

    def run(self):
        self.with_program(GOOD, self.success)
        self.with_program(BAD, self.failure)
        self.with_program(ADVISED, self.advice)

    def success(self):
        self.desktop.keys("ctrl+Home")
        self.take("report", self.program.frame)
        self.desktop.keys("ctrl+End")
        self.dialog("buffer-sizes", "Define buffer sizes...", "Define Buffer Sizes...")
        self.dialog("debug-flags", "Set debug flags...", "Set Debug Flags")
        self.dialog("about", "About VNXTest...", "About VNXTest64UD", "h")
        self.gateway()
        self.parameters()
        self.ping_dialog()
        self.program.start_ping("198.18.0.2", Size=64, Count=60, Timeout=500, Delay=60)
        time.sleep(2.5)
        self.take("pinging", self.program.frame, 0.1)
        self.program.wait_ping_end()
        self.take("ping-test", self.program.frame)
        if "Ping test successful." not in self.report():
            sys.exit("the machine is too busy: the ping test that is to succeed has failed")
        self.menu("test-menu", "t")
        self.menu("view-menu", "v")
        self.find()
        self.keys_page()
        self.program.stop_guest()

    def gateway(self):
        program, desktop = self.program, self.desktop
        program.choose("t", "Define default gateway...")
        dialog = program.dialog("Define Default Gateway")
        self.take("default-gateway", dialog)
        dialog.find("text", "IP address of the default gateway, field 4 of 4").fill("150")
        desktop.keys("Return")
        self.take("default-gateway-silent", program.dialog("VNXTest64UD"))
        desktop.keys("Escape")
        program.dialog("Define Default Gateway")
        desktop.keys("Escape")
        program.wait_no_dialog()

    def parameters(self):
        program, desktop = self.program, self.desktop
        program.choose("t", 'Start "Vantor"...')
        dialog = program.dialog("VNXTest64UD Parameters")
        self.take("parameters", dialog)
        program.press(dialog, "List of host adapters for interface 1")
        self.take("adapters", program.dialog("Host Adapters"))
        desktop.keys("Escape")
        dialog = program.dialog("VNXTest64UD Parameters")
        desktop.keys("alt+m", "F1")
        self.take("whats-this", dialog)
        desktop.keys("Escape")
        field = dialog.find("text", "Host adapter IP address of interface 1, field 4 of 4")
        field.fill("77")
        desktop.keys("Return")
        self.take("parameters-refused", dialog)
        field.fill("1")
        dialog.find("text", "Guest IP address of interface 1, field 1 of 4").fill("10")
        desktop.keys("Return")
        proceed = program.dialog("Subnets Warning")
        self.take("proceed", proceed)
        expander = proceed.find("toggle button", "More information").place
        desktop.click_at(expander.x + expander.height // 2, expander.y + expander.height // 2)
        self.take("proceed-more", proceed)
        desktop.keys("Escape")
        dialog = program.dialog("VNXTest64UD Parameters")
        dialog.find("text", "Guest IP address of interface 1, field 1 of 4").fill("198")
        desktop.keys("Return")
        program.wait_no_dialog()
        program.wait_enabled("Start ping test...")

    def ping_dialog(self):
        self.program.choose("t", "Start ping test...")
        dialog = self.program.dialog("Ping who?")
        dialog.find("text", "To").fill("198.18.0.2")
        self.take("ping-who", dialog)
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def find(self):
        program, desktop = self.program, self.desktop
        desktop.keys("ctrl+Home", "ctrl+f")
        dialog = program.dialog("Find")
        dialog.find("check box", "Match case").click()
        dialog.find("check box", "Whole word").click()
        dialog.find("text").fill("Reply")
        desktop.keys("Return")
        self.take("find", program.frame)
        desktop.keys("Escape")
        program.wait_no_dialog()
        desktop.keys("ctrl+End")

    def keys_page(self):
        """The page of the help book that lists all keys."""
        program, desktop = self.program, self.desktop
        program.choose("h", "Netorra Help")
        book = wait(lambda: next((each for each in program.dialogs() if each.name.endswith("Netorra Help")), None),
                    "the book is open")
        book.find("page tab", "Index").click()
        book.find("text").fill("Keys")
        desktop.keys("Return")
        wait(lambda: book.name == "Keys - Netorra Help", "its page is shown")
        self.take("keys", book)
        desktop.keys("alt+F4")
        program.wait_no_dialog()

    def failure(self):
        program, desktop = self.program, self.desktop
        program.start_guest()
        program.start_ping("198.18.0.2", Size=64, Count=200, Timeout=80, Delay=30)
        time.sleep(2)
        desktop.keys("Prior", "Prior")  # following pauses
        wait(lambda: program.frame.select("push button", "New lines below"), "the button")
        self.take("new-lines", program.frame, 0.1)
        desktop.keys("ctrl+End")
        program.wait_ping_end()
        self.take("ping-failed", program.frame)
        desktop.keys("F6", "plus", "plus", "plus", "ctrl+Right")
        self.take("chart-zoomed", program.frame)
        self.take("chart", program.frame.find("panel", program.chart()))
        self.program.stop_guest()

    def advice(self):
        self.program.start_guest()
        self.program.start_ping("198.18.0.2", Count=3, Timeout=200, Delay=300)
        self.program.wait_ping_end()
        self.program.frame.find("push button", "Dismiss")
        self.take("advice", self.program.frame)
        self.program.stop_guest()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--scale")
    parser.add_argument("--theme")
    options = parser.parse_args()
    reason = missing()
    if reason:
        sys.exit(f"no pictures: {reason}")
    options.folder.mkdir(parents=True, exist_ok=True)
    with Desktop("1440x960" if not options.scale else "2200x1600", options.scale, options.theme) as desktop:
        photographer = Photographer(desktop, options.folder)
        try:
            photographer.run()
        except BaseException:
            desktop.screenshot(options.folder / "failed.png")
            raise
        finally:
            if photographer.program:
                photographer.program.kill()


if __name__ == "__main__":
    main()
