"""A display of its own with a window manager and an accessibility bus, and the real program on it.

The program is driven as its users drive it: keys and mouse buttons through the display server (xdotool).
What it shows is read through the accessibility bus, so that a test sees labels, states and texts.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

TOOLS = ("Xvfb", "openbox", "xdotool", "xprop", "dbus-daemon", "import")


def missing():
    """What a desktop cannot be made without, as a sentence; None when everything is there."""
    absent = [tool for tool in TOOLS if shutil.which(tool) is None]
    try:
        import pyatspi  # noqa: F401
    except ImportError:
        absent.append("python3-pyatspi")
    return f"not installed: {', '.join(absent)}" if absent else None


class Desktop:
    """The display; as a context manager it ends everything that was started on it."""

    def __init__(self, size="1280x1000", scale=None, theme=None):
        self.size, self.scale, self.theme = size, scale, theme
        self.processes = []

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="vnxtest-ui-")
        self.path = pathlib.Path(self.folder.name)
        reader, writer = os.pipe()
        self.start("Xvfb", "-displayfd", str(writer), "-screen", "0", f"{self.size}x24", "-nolisten", "tcp",
                   pass_fds=(writer,), env=os.environ)
        os.close(writer)
        with os.fdopen(reader) as display:
            number = display.readline().strip()
        if not number:
            raise RuntimeError("Xvfb gave no display")
        self.env = dict(os.environ, DISPLAY=f":{number}", HOME=str(self.path), LANG="C.UTF-8", LC_ALL="C.UTF-8",
                        XDG_CONFIG_HOME=str(self.path / "config"), XDG_DATA_HOME=str(self.path / "data"),
                        XDG_CACHE_HOME=str(self.path / "cache"), XDG_RUNTIME_DIR=str(self.path / "run"),
                        GDK_BACKEND="x11", GTK_MODULES="gail:atk-bridge", NO_AT_BRIDGE="0", GTK_USE_PORTAL="0")
        for name in ("WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"):
            self.env.pop(name, None)
        if self.scale:
            self.env["GDK_DPI_SCALE"] = str(self.scale)
        if self.theme:
            self.env["GTK_THEME"] = self.theme
        (self.path / "run").mkdir(mode=0o700)
        (self.path / "config").mkdir()
        bus = self.start("dbus-daemon", "--session", "--nofork", "--print-address=1", stdout=subprocess.PIPE)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        os.environ.update({key: self.env[key] for key in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")})
        self.start_window_manager()
        return self

    def start_window_manager(self):
        """Starts it, again if it ended at once, and waits until it manages the display."""
        manager = None

        def manages():
            nonlocal manager
            if manager is None or manager.poll() is not None:
                manager = self.start("openbox", "--sm-disable")
            shown = subprocess.run(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], env=self.env, capture_output=True,
                                   text=True)
            return "window id" in shown.stdout

        self.wait(manages, "the window manager manages the display")

    def __exit__(self, *_):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM)
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
            if process.stdout:
                process.stdout.close()
        self.folder.cleanup()

    def start(self, *command, env=None, **options):
        options.setdefault("stdout", subprocess.DEVNULL)
        options.setdefault("stderr", subprocess.DEVNULL)
        process = subprocess.Popen(command, env=env or self.env, **options)
        self.processes.append(process)
        return process

    @staticmethod
    def wait(condition, what, seconds=15):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            value = condition()
            if value:
                return value
            time.sleep(0.05)
        raise AssertionError(f"not within {seconds} s: {what}")

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.env, check=True, capture_output=True,
                              text=True).stdout

    def keys(self, *keys):
        for key in keys:
            self.xdotool("key", "--clearmodifiers", key)
            time.sleep(0.04)

    def type(self, text):
        if text:
            self.xdotool("type", "--delay", "12", "--", text)
        time.sleep(0.05)

    def click_at(self, x, y, button=1):
        self.xdotool("mousemove", x, y)
        time.sleep(0.05)
        self.xdotool("click", button)
        time.sleep(0.1)

    def screenshot(self, path, window=None):
        subprocess.run(["import", "-window", window or "root", str(path)], env=self.env, check=True)
        return path


class DesktopCase(unittest.TestCase):
    """A case with a display and the program on it."""

    desktop_options = {}
    arguments = ("--library", "sim")

    def setUp(self):
        reason = missing()
        if reason:
            self.skipTest(reason)
        if "VNXTEST_WINDOW" not in os.environ:
            self.skipTest("VNXTEST_WINDOW does not name the program")
        from lab.program import Program
        self.desktop = Desktop(**self.desktop_options)
        self.desktop.__enter__()
        self.addCleanup(self.desktop.__exit__)
        self.program = Program(self.desktop, *self.arguments)
        self.addCleanup(self.program.kill)
        # What the screen shows at the end, for whoever looks into a failure.
        pictures = os.environ.get("VNXTEST_UI_PICTURES")
        if pictures:
            self.addCleanup(lambda: self.desktop.screenshot(pathlib.Path(pictures) / f"{self.id()}.png"))

    def wait(self, condition, what, seconds=15):
        return Desktop.wait(condition, what, seconds)
