#!/usr/bin/env python3
"""Takes the pictures of the Windows program under Wine: take_windows_screenshots.py FOLDER.

Starts the program on the simulated LAN, brings up each window by keys and mouse, and writes one PNG a window,
under the names that take_screenshots.py gives to the same windows on GTK. Not among them are two questions: Wine
cuts the labels in their task dialogs off. VNXTEST_WINDOW names the program, VNXTEST_WINE_PREFIX a fresh prefix in
which Wine draws the captions (script/windows makes one).
"""

import argparse
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).parent.parent
sys.path.insert(0, str(ROOT))
sys.dont_write_bytecode = True

from lab.desktop import Desktop, wait  # noqa: E402

# A computer with two adapters, whichever this one is.
HOST = ("unshare", "-n", "-u", "sh", "-c", "hostname workstation && ip link set lo up && "
        "ip link add eth0 address 02:00:00:12:34:56 type veth peer name office && "
        "ip address add 192.168.0.20/24 dev eth0 && ip link set eth0 up && ip link set office address 02:00:00:65:43:21 up && "
        'ip route add default via 192.168.0.1 && exec "$0" "$@"')
GOOD = "sim:delay=12,jitter=9,seed=5"
BAD = "sim:delay=12,jitter=9,loss=5,late=3,lateby=240,seed=5"
ADVISED = "sim:df=100"

WINE = str(ROOT / "cmake/windows/wine")
FRAME = "VNXTest"
SIM = "198.18.0.2"  # a station of the simulated LAN


class Photographer:
    def __init__(self, desktop, folder):
        self.desktop, self.folder = desktop, folder
        self.frame = None

    def active(self):
        """The title of the window that has the keys."""
        told = subprocess.run(["xdotool", "getactivewindow", "getwindowname"], env=self.desktop.env, capture_output=True,
                              text=True)
        return told.stdout.strip()

    def told(self, *what):
        return subprocess.run(["xwininfo", *what], env=self.desktop.env, capture_output=True, text=True).stdout

    def place(self, window):
        """Left, top, right and bottom of a window on the screen."""
        left, top, width, height = (int(number) for number in re.findall(
            r"(?:Absolute upper-left [XY]|Width|Height):\s+(-?\d+)", self.told("-id", window)))
        return left, top, left + width, top + height

    def popups(self):
        """Places of the balloons and menus that are shown: Wine's windows that the window manager does not frame."""
        found = []
        for window in re.findall(r'^ +(0x\w+) .*"vnxtest64ud.exe"', self.told("-root", "-children"), re.M):
            told = self.told("-id", window)
            if "Override Redirect State: yes" in told and "Map State: IsViewable" in told:
                found.append(self.place(window))
        return [place for place in found if place[0] >= 0 and place[1] >= 0]

    def wait_active(self, title):
        wait(lambda: self.active() == title, lambda: f'"{title}" has the keys, which "{self.active()}" has')
        time.sleep(0.5)  # Wine paints it

    def command(self, menu, *keys, title=None):
        """Opens a menu and chooses by the keys given; waits for the window that follows."""
        shown = False
        for _ in range(6):  # a program that is just shown may not take a key yet
            self.desktop.keys(menu)
            with contextlib.suppress(AssertionError):
                shown = wait(self.popups, "the menu", 10)
                break
        if not shown:
            sys.exit(f"no menu by {menu}")
        self.desktop.keys(*keys)
        if title:
            self.wait_active(title)

    def test_command(self, downs, title=None):
        self.command("alt+t", *["Down"] * downs, "Return", title=title)

    def close(self, title, *keys):
        """Closes what is active by keys; waits for the window of this title."""
        self.desktop.keys(*(keys or ("Escape",)))
        self.wait_active(title)

    def untitled(self):
        return f"Untitled - {FRAME}"

    def take(self, name, pause=0.6, of_frame=False):
        """The active window with its balloon or menu: nothing of it cut off, and nothing of the screen beside it."""
        self.desktop.xdotool("mousemove", 1278, 958)  # so that nothing lights up under the pointer
        time.sleep(pause)
        window = self.frame if of_frame else self.desktop.xdotool("getactivewindow").strip()
        places = [self.place(window), *self.popups()]
        left, top = min(place[0] for place in places), min(place[1] for place in places)
        right, bottom = max(place[2] for place in places), max(place[3] for place in places)
        width, height = map(int, self.desktop.size.split("x"))
        frame = self.place(self.frame)
        alone = (left, top, right, bottom) == self.place(window)
        inside = frame[0] <= left and frame[1] <= top and right <= frame[2] and bottom <= frame[3]
        if right > width or bottom > height or not (alone or inside):
            sys.exit(f"{name}: {places} do not stand whole on the screen, or beside the frame at {frame}")
        full = self.desktop.screenshot(self.desktop.path / "full.png")
        # Beside a balloon that stands out of its window there is nothing.
        parts = [word for x, y, to_x, to_y in places for word in (
            "(", str(full), "-crop", f"{to_x - x}x{to_y - y}+{x}+{y}", ")")]
        subprocess.run(["convert", "-size", f"{width}x{height}", "-background", "none", "canvas:none", *parts, "-layers", "flatten", "-crop",
                        f"{right - left}x{bottom - top}+{left}+{top}", "+repage", "-strip", "+dither", "-colors", "128",
                        f"png8:{self.folder / name}.png"], check=True)
        print(name, flush=True)

    def install(self):
        """The program where an installer puts it, since the report names the folder."""
        folder = pathlib.Path(os.environ["VNXTEST_WINE_PREFIX"]) / "drive_c/Program Files/VNXTest64UD"
        folder.mkdir(exist_ok=True)
        program = pathlib.Path(os.environ["VNXTEST_WINDOW"])
        for file in (program, program.with_name("vnxtest.htb")):
            shutil.copy(file, folder)
        return str(folder / program.name)

    def start(self, library):
        self.desktop.env["VNXTEST_WINE_PREFIX"] = os.environ["VNXTEST_WINE_PREFIX"]
        host = HOST if os.geteuid() == 0 else ()
        self.desktop.start(*host, WINE, self.install(), "--library", library)
        self.wait_active(self.untitled())
        self.frame = self.desktop.xdotool("getactivewindow").strip()
        self.desktop.xdotool("windowmove", self.frame, 40, 40, "windowsize", self.frame, 960, 640)
        wait(lambda: self.place(self.frame) == (40, 40, 1000, 680), "the window's place")
        # Wine shows the first window of a program as inactive until another one of it was.
        self.command("alt+h", "a", title="About VNXTest64UD")

    def end(self):
        for option in ("-k", "-w"):
            subprocess.run(["wineserver", option], check=False,
                           env=dict(os.environ, WINEPREFIX=os.environ["VNXTEST_WINE_PREFIX"]))

    def type_over(self, *texts):
        """One entry after the other, from the one with the focus."""
        for text in texts:
            self.desktop.keys("ctrl+a")
            self.desktop.type(str(text))
            self.desktop.keys("Tab")

    def wait_ping_end(self):
        """Until the status bar, which counts, and the chart have been the same for longer than replies are waited for."""
        left, _, right, bottom = self.place(self.frame)
        last, since = b"", time.monotonic()

        def still():
            nonlocal last, since
            shot = subprocess.run(["import", "-window", "root", "-crop", f"{right - left}x150+{left}+{bottom - 150}", "rgb:-"],
                                  env=self.desktop.env, capture_output=True, check=True).stdout
            if shot != last:
                last, since = shot, time.monotonic()
            return time.monotonic() - since > 3
        wait(still, "the end of the ping test", 120)

    def start_ping(self, size, count, timeout, delay):
        self.test_command(1, title="Ping who?")
        self.type_over(SIM, size, count, timeout, delay)
        self.close(self.untitled(), "Return")

    def saved_text(self):
        path = self.desktop.path / "report.vnt"
        self.desktop.keys("ctrl+s")
        self.wait_active("Save As")
        self.desktop.keys("Home", "shift+End")
        self.desktop.type("Z:" + str(path).replace("/", "\\"))
        self.close(f"report.vnt - {FRAME}", "Return")
        return path.read_text(encoding="utf-8")

    def success(self):
        self.start(GOOD)
        self.take("about")
        self.close(self.untitled(), "Return")
        self.desktop.keys("ctrl+Home")
        self.take("report")
        self.desktop.keys("ctrl+End")
        for name, downs, title in (("buffer-sizes", 4, "Define Buffer Sizes..."), ("debug-flags", 8, "Set Debug Flags"),
                                   ("default-gateway", 5, "Define Default Gateway")):
            self.test_command(downs, title)
            self.take(name)
            self.close(self.untitled())
        self.parameters()
        self.test_command(1, title="Ping who?")
        self.type_over(SIM)
        self.take("ping-who")
        self.close(self.untitled())
        self.start_ping(64, 60, 500, 60)
        time.sleep(2.5)
        self.take("pinging", 0.1)
        self.wait_ping_end()
        self.take("ping-test")
        for name, keys in (("test-menu", ("alt+t", "Down")), ("view-menu", ("alt+v",))):
            self.command(*keys)
            self.take(name)
            self.desktop.keys("Escape", "Escape")
        self.find()
        self.keys_page()
        self.command("alt+f", "x", title="VNXTest64UD")
        self.take("save-prompt")
        self.close(self.untitled())
        text = self.saved_text()
        if "Ping test successful." not in text or " late)" in text:
            sys.exit("the machine is too busy: replies of the ping test that is to succeed were late")

    def parameters(self):
        title = "VNXTest64UD Parameters"
        self.test_command(0, title)
        self.take("parameters")
        self.desktop.keys("alt+p")
        self.close("Host Adapters", "F4")
        self.take("adapters")
        self.close(title)
        self.desktop.keys("alt+m", "F1")
        wait(self.popups, "the balloon")
        self.take("whats-this")
        self.desktop.keys("Escape")
        wait(lambda: not self.popups(), "no balloon")
        self.desktop.keys("alt+p")
        self.desktop.type("198.18.0.77")
        self.desktop.keys("Return")
        wait(self.popups, "the balloon")
        self.take("parameters-refused")
        self.desktop.keys("alt+p")
        self.desktop.type("198.18.0.1")
        self.close(self.untitled(), "Return")
        time.sleep(1)

    def find(self):
        self.desktop.keys("ctrl+Home", "ctrl+f")
        self.wait_active("Find")
        self.desktop.type("Reply")
        self.desktop.keys("alt+w", "alt+c", "Return")
        self.take("find", of_frame=True)
        self.close(self.untitled())
        self.desktop.keys("ctrl+End")

    def keys_page(self):
        """The page of the help book that lists all keys."""
        self.command("alt+h", "h")
        wait(lambda: self.active().endswith("Netorra Help"), "the book")
        left, top, _, _ = self.place(self.desktop.xdotool("getactivewindow").strip())
        self.desktop.click_at(left + 95, top + 60)  # "Index"
        self.desktop.click_at(left + 170, top + 92)
        self.desktop.type("Keys")
        self.desktop.keys("Return")
        self.take("keys", 2)
        self.close(self.untitled(), "alt+F4")

    def failure(self):
        self.start(BAD)
        self.close(self.untitled(), "Return")
        self.test_command(0, "VNXTest64UD Parameters")
        self.close(self.untitled(), "Return")
        time.sleep(1)
        self.start_ping(64, 200, 200, 30)
        time.sleep(2)
        self.desktop.keys("Prior", "Prior")  # following pauses
        self.take("new-lines", 0.3)
        self.desktop.keys("ctrl+End")
        self.wait_ping_end()
        self.take("ping-failed")
        self.desktop.keys("F6", "plus", "plus", "plus", "ctrl+Right")
        self.take("chart-zoomed")

    def advice(self):
        self.start(ADVISED)
        self.close(self.untitled(), "Return")
        self.test_command(0, "VNXTest64UD Parameters")
        self.close(self.untitled(), "Return")
        time.sleep(1)
        self.start_ping(64, 3, 200, 300)
        self.wait_ping_end()
        self.take("advice")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    folder = parser.parse_args().folder
    folder.mkdir(parents=True, exist_ok=True)
    with Desktop("1280x960") as desktop:
        photographer = Photographer(desktop, folder)
        photographer.end()  # what runs in the prefix decides whether there is a display
        for pictures in (photographer.success, photographer.failure, photographer.advice):
            try:
                pictures()
            except BaseException:
                desktop.screenshot(folder / "failed.png")
                raise
            finally:
                photographer.end()


if __name__ == "__main__":
    main()
