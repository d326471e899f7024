#!/usr/bin/env python3
"""Shows every window of the program in many looks: take_looks.py FOLDER [LOOK...].

For each look (a size of the screen, a scale, a theme, Wayland) the real program is driven through all of its
windows, by the keyboard alone, and one PNG of the whole screen is written for each. They are for a person to look
at: is anything cut off, unreadable, out of line? VNXTEST_WINDOW names the program.
"""

import argparse
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent))
sys.dont_write_bytecode = True

from lab.desktop import Desktop, Program, missing, wait  # noqa: E402

# The screen, and what is set for the toolkit. "plain" first: it is what the others are compared with.
LOOKS = {
    "plain": ("1280x1000", {}),
    "800x600": ("800x600", {}),
    "480x320": ("480x320", {}),
    "large-letters": ("800x600", {"GDK_DPI_SCALE": "1.5", "GTK_THEME": "Adwaita:dark"}),
    "scale-2": ("2560x1920", {"GDK_SCALE": "2"}),
    "dark": ("1280x1000", {"GTK_THEME": "Adwaita:dark"}),
    "contrast": ("1280x1000", {"GTK_THEME": "HighContrast"}),
    "contrast-inverse": ("1280x1000", {"GTK_THEME": "HighContrastInverse"}),
    "wayland": ("1280x1000", {}),
}


class Viewer:
    def __init__(self, desktop, folder):
        self.desktop, self.folder, self.taken = desktop, folder, 0
        self.program = Program(desktop, "--library", "sim:delay=12,jitter=9,loss=6,late=4,seed=5")

    def take(self, name, pause=0.5):
        time.sleep(pause)  # for what slides or fades in
        self.taken += 1
        self.desktop.screenshot(self.folder / f"{self.taken:02}-{name}.png")

    def choose(self, mnemonic, label):
        """Chooses a command by the arrow keys."""
        menu = self.program.open_menu(mnemonic)
        item = menu.find(None, label)
        wait(lambda: item.selected or self.desktop.keys("Down"), f"{label} is selected")
        self.desktop.keys("Return")

    def dialog(self, title):
        return self.program.dialog(title)

    def close(self):
        self.desktop.keys("Escape")
        self.program.wait_no_dialog()

    def plain_dialog(self, name, mnemonic, label, title):
        self.choose(mnemonic, label)
        self.dialog(title)
        self.take(name)
        self.close()

    def run(self):
        self.take("report")
        for mnemonic, name in Program.MENUS.items():
            self.program.open_menu(mnemonic)
            self.take(f"menu-{name.lower()}")
            self.desktop.keys("Escape")
        for name, mnemonic, label, title in (
                ("buffer-sizes", "t", "Define buffer sizes...", "Define Buffer Sizes..."),
                ("debug-flags", "t", "Set debug flags...", "Set Debug Flags"),
                ("about", "h", "About VNXTest...", "About VNXTest64UD"),
                ("find", "e", "Find...", "Find"),
                ("capture", "v", "Capture to file...", "Capture to file")):
            self.plain_dialog(name, mnemonic, label, title)
        self.gateway()
        self.parameters()
        self.ping()
        self.export()
        self.plain_dialog("save-prompt", "f", "Exit", "VNXTest64UD")
        self.book()

    def replace(self, control, text):
        wait(lambda: control.focused, f"{control.name} has the focus")
        self.desktop.keys("ctrl+a")
        self.desktop.type(text)

    def gateway(self):
        self.choose("t", "Define default gateway...")
        dialog = self.dialog("Define Default Gateway")
        self.take("gateway")
        self.desktop.keys("End")
        self.replace(dialog.find("text", "IP address of the default gateway, field 4 of 4"), "150")
        self.desktop.keys("Return")
        self.dialog("VNXTest64UD")
        self.take("gateway-silent")
        self.desktop.keys("F1")
        self.take("gateway-silent-help")
        self.desktop.keys("Escape", "Escape")
        self.dialog("Define Default Gateway")
        self.close()

    def parameters(self):
        title = "VNXTest64UD Parameters"
        self.choose("t", 'Start "Vantor"...')
        dialog = self.dialog(title)
        self.take("parameters")
        self.desktop.keys("F1")
        self.take("parameters-help")
        self.desktop.keys("Escape", "alt+w")
        wait(lambda: dialog.find("text", "Guest IP address of interface 2, field 1 of 4").enabled, "it is open")
        self.desktop.keys("alt+e")
        self.take("parameters-two")
        self.desktop.keys("F4")
        self.dialog("Host Adapters")
        self.take("adapters")
        self.desktop.keys("Return")
        dialog = self.dialog(title)
        self.desktop.keys("alt+p", "End")
        self.replace(dialog.find("text", "Host adapter IP address of interface 1, field 4 of 4"), "77")
        self.desktop.keys("Return")
        self.take("parameters-refused")
        self.desktop.keys("Escape", "End")
        self.replace(dialog.find("text", "Host adapter IP address of interface 1, field 4 of 4"), "1")
        self.desktop.keys("alt+i")
        self.replace(dialog.find("text", "Guest IP address of interface 1, field 1 of 4"), "10")
        self.desktop.keys("alt+w", "Return")
        question = self.dialog("Subnets Warning")
        self.take("proceed")
        more = question.find("toggle button", "More information")
        wait(lambda: more.focused or self.desktop.keys("Tab"), "the keyboard leads to more information")
        self.desktop.keys("space")
        self.take("proceed-more")
        self.desktop.keys("Escape")
        dialog = self.dialog(title)
        self.desktop.keys("alt+i")
        self.replace(dialog.find("text", "Guest IP address of interface 1, field 1 of 4"), "198")
        self.desktop.keys("Return")
        self.program.wait_no_dialog()

    def ping(self):
        self.choose("t", "Start ping test...")
        dialog = self.dialog("Ping who?")
        self.take("ping-who")
        for key, name, value in (("alt+t", "To", ""), ("alt+s", "Size", "7")):
            self.desktop.keys(key)
            control = dialog.find("text", name)
            self.replace(control, value) if value else self.desktop.keys("ctrl+a", "BackSpace")
        self.desktop.keys("Return")
        wait(lambda: len(self.program.dialogs()) == 2, "it is out of range")
        self.take("out-of-range")
        self.desktop.keys("Return")
        wait(lambda: len(self.program.dialogs()) == 1, "the message is closed")
        self.replace(dialog.find("text", "Size"), "64")
        self.desktop.keys("Return")
        self.program.balloon()
        self.take("ping-refused")
        self.desktop.keys("Escape")
        for key, name, value in (("alt+t", "To", "198.18.0.2"), ("alt+u", "Count", "300"),
                                 ("alt+m", "Timeout in milliseconds", "40"), ("alt+d", "Delay in milliseconds", "25")):
            self.desktop.keys(key)
            self.replace(dialog.find("text", name), value)
        self.desktop.keys("Return")
        self.program.wait_no_dialog()
        time.sleep(2)
        self.desktop.keys("Prior")
        self.take("pinging")
        self.program.wait_ping_end()
        self.desktop.keys("F6", "Home", "ctrl+Right")
        self.take("chart-read-out")
        self.desktop.keys("Menu")
        self.take("menu-chart")
        self.desktop.keys("Escape", "plus", "plus", "plus", "l")
        self.take("chart-zoomed")
        self.desktop.keys("shift+F6", "Menu")
        self.take("menu-report")
        self.desktop.keys("Escape")

    def book(self):
        self.choose("h", "Netorra Help")
        wait(lambda: any(window.active for window in self.program.dialogs()), "the help book is open")
        self.take("help-book", 1)

    def export(self):
        self.choose("v", "Export last ping test...")
        self.dialog("Export last ping test")
        self.take("export")
        self.program.enter_path("Export last ping test", "/proc/test.json")
        self.dialog("VNXTest64UD")
        self.take("not-exported")
        self.desktop.keys("Return")
        self.program.wait_no_dialog()


def compose(desktop):
    """A compositor of Wayland over the whole display; keys that are sent to the display go to its windows."""
    desktop.env.update(GDK_BACKEND="wayland", WAYLAND_DISPLAY="wayland-looks")
    width, height = desktop.size.split("x")
    desktop.start("weston", "--backend=x11-backend.so", "--use-pixman", f"--width={width}", f"--height={height}",
                  "--no-config", "--idle-time=0", "--socket=wayland-looks")
    wait((desktop.path / "run/wayland-looks").exists, "the compositor runs")
    time.sleep(1)


def look_at(look, folder):
    screen, settings = LOOKS[look]
    folder.mkdir(parents=True, exist_ok=True)
    for old in folder.glob("*.png"):
        old.unlink()
    with Desktop(screen, look=settings) as desktop:
        if look == "wayland":
            compose(desktop)
        viewer = None
        try:
            viewer = Viewer(desktop, folder)
            viewer.run()
        except BaseException:
            desktop.screenshot(folder / "failed.png")
            raise
        finally:
            if viewer is not None:
                viewer.program.kill()
                print(f"{look}: {viewer.taken} pictures", *desktop.noise(), sep="\n  ", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("looks", nargs="*", metavar="LOOK", choices=[[], *LOOKS], help=f"of {', '.join(LOOKS)}")
    options = parser.parse_args()
    reason = missing()
    if reason:
        sys.exit(f"no pictures: {reason}")
    if len(options.looks) == 1:
        return look_at(options.looks[0], options.folder / options.looks[0])
    # The library of assistive software knows one bus in its life: a process for each.
    results = [subprocess.run([sys.executable, "-B", __file__, options.folder, look], check=False).returncode
               for look in options.looks or LOOKS]
    return sys.exit(any(results))


if __name__ == "__main__":
    main()
