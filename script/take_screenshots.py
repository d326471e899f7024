#!/usr/bin/env python3
"""Takes the pictures of the documentation: take_screenshots.py FOLDER [--scale N] [--theme NAME].

Starts the real program on the simulated LAN, brings up each window by keys and mouse, and writes one PNG a
window. VNXTEST_WINDOW names the program.
"""

import argparse
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent))
sys.dont_write_bytecode = True

from lab.desktop import Desktop, Program, missing  # noqa: E402


class Photographer:
    def __init__(self, desktop, folder):
        self.desktop, self.folder = desktop, folder
        self.program = Program(desktop, "--library", "sim:delay=12,jitter=9,loss=6,late=4,seed=5")

    def shoot(self, control, path):
        """The part of the screen that a window and its balloon cover, in few colours: small files."""
        windows = [control] + [window for window in self.program.root.children()
                               if window.role == "window" and window.name and window.showing]
        places = [window.place for window in windows]
        left, top = max(0, min(place.x for place in places)), max(0, min(place.y for place in places))
        right, bottom = max(place.x + place.width for place in places), max(place.y + place.height for place in places)
        full = self.desktop.screenshot(self.desktop.path / "full.png")
        subprocess.run(["convert", str(full), "-crop", f"{right - left}x{bottom - top}+{left}+{top}", "+repage",
                        "-strip", "+dither", "-colors", "128", f"png8:{path}"], check=True)

    def take(self, name, control, pause=0.6):
        # Moves the pointer away, so that no control lights up under it.
        self.desktop.xdotool("mousemove", 2, 2)
        time.sleep(pause)
        self.shoot(control, self.folder / f"{name}.png")
        print(name)

    def dialog(self, name, item, title, menu="t"):
        self.program.choose(menu, item)
        self.take(name, self.program.dialog(title))
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def run(self):
        program, desktop = self.program, self.desktop
        time.sleep(1)
        self.take("report", program.frame)
        self.dialog("buffer-sizes", "Define buffer sizes...", "Define Buffer Sizes...")
        self.dialog("debug-flags", "Set debug flags...", "Set Debug Flags")
        self.dialog("about", "About VNXTest...", "About VNXTest64UD", "h")
        self.dialog("find", "Find...", "Find", "e")
        self.gateway()
        self.parameters()
        self.ping()
        program.open_menu("t")
        self.take("test-menu", program.frame)
        desktop.keys("Escape")
        program.choose("t", 'Stop "Vantor"')
        time.sleep(0.5)
        program.choose("f", "Exit")
        self.take("save-prompt", program.dialog("VNXTest64UD"))
        program.press(program.dialog("VNXTest64UD"), "Don't Save")
        if not program.ended():
            sys.exit(f"the program ended with {program.process.returncode}: {program.complaints()}")

    def gateway(self):
        program, desktop = self.program, self.desktop
        program.choose("t", "Define default gateway...")
        dialog = program.dialog("Define Default Gateway")
        self.take("default-gateway", dialog)
        dialog.find("text", "IP address of the default gateway, field 4 of 4").fill("150")
        desktop.keys("Return")
        self.take("default-gateway-silent", program.dialog("VNXTest64UD", 20))
        desktop.keys("Escape")
        time.sleep(0.5)
        desktop.keys("Escape")
        program.wait_no_dialog()

    def parameters(self):
        program, desktop = self.program, self.desktop
        program.choose("t", 'Start "Vantor"...')
        dialog = program.dialog("VNXTest64UD Parameters")
        self.take("parameters", dialog)
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

    def ping(self):
        program, desktop = self.program, self.desktop
        program.choose("t", "Start ping test...")
        dialog = program.dialog("Ping who?")
        dialog.find("text", "To").fill("198.18.0.2")
        self.take("ping-who", dialog)
        for name, value in (("Size", 64), ("Count", 120), ("Timeout in milliseconds", 40),
                            ("Delay in milliseconds", 25)):
            dialog.find("text", name).fill(str(value))
        desktop.keys("Return")
        program.wait_no_dialog()
        time.sleep(2)
        self.take("pinging", program.frame, 0.1)
        program.wait_ping_end()
        self.take("ping-test", program.frame)


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
    with Desktop("1280x960" if not options.scale else "2200x1600", options.scale, options.theme) as desktop:
        photographer = Photographer(desktop, options.folder)
        try:
            photographer.run()
        except BaseException:
            desktop.screenshot(options.folder / "failed.png")
            raise
        finally:
            photographer.program.kill()


if __name__ == "__main__":
    main()
