"""A display of its own with a window manager and an accessibility bus, and the real program on it.

The program is driven as its users drive it: keys and mouse buttons through the display server. What it shows is
read through the accessibility bus, so that a test sees labels, states and texts.
"""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

try:
    import pyatspi
except ImportError:
    pyatspi = None

HERE = pathlib.Path(__file__).parent
TOOLS = ("Xvfb", "openbox", "xdotool", "xprop", "dbus-daemon", "import")
# Complaints of the toolkit of itself, both of the help book's window, which is the toolkit's own.
TOOLKITS_OWN = (
    # It lays out the list of contents once before the window has its size.
    "gtk_box_gadget_distribute: assertion 'size >= 0' failed in GtkScrollbar",
    # A page that is removed tells screen readers that it is gone, and they ask for its label.
    "gtk_notebook_get_tab_label: assertion 'list != NULL' failed",
)
WINDOW_ROLES = ("frame", "dialog", "alert", "file chooser")


def missing():
    """What is missing for a desktop, as a sentence; None if nothing is."""
    absent = [tool for tool in TOOLS if shutil.which(tool) is None] + ([] if pyatspi else ["python3-pyatspi"])
    return f"not installed: {', '.join(absent)}" if absent else None


def wait(condition, what, seconds=60):
    """What `condition` gives once it is true. As patient as a busy machine may need: what comes costs no more for it."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.03)
    raise AssertionError(f"not within {seconds} s: {what() if callable(what) else what}")


class Desktop:
    """The display; as a context manager it ends everything that was started on it."""

    def __init__(self, size="1280x1000", scale=None, theme=None, look=None):
        """`look`: more of the environment that the toolkit takes its looks from."""
        self.size = size
        self.look = {"GDK_DPI_SCALE": scale or "1", "GTK_THEME": theme or "Adwaita", **(look or {})}
        self.processes = []

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="vnxtest-ui-")
        self.path = pathlib.Path(self.folder.name)
        self.env = os.environ
        number = self.start("Xvfb", "-displayfd", "1", "-screen", "0", f"{self.size}x24", "-nolisten", "tcp",
                            stdout=subprocess.PIPE).stdout.readline().decode().strip()
        self.env = dict(os.environ, **self.look, DISPLAY=f":{number}", HOME=str(self.path), LC_ALL="C.UTF-8",
                        LANG="C.UTF-8", XDG_CONFIG_HOME=str(self.path / "config"),
                        XDG_DATA_HOME=str(self.path / "data"), XDG_CACHE_HOME=str(self.path / "cache"),
                        XDG_RUNTIME_DIR=str(self.path / "run"), GDK_BACKEND="x11", GTK_USE_PORTAL="0",
                        GTK_MODULES="gail:atk-bridge", NO_AT_BRIDGE="0",
                        # Of a program that was built with a sanitizer.
                        LSAN_OPTIONS=f"suppressions={HERE}/lsan.supp:print_suppressions=0",
                        TSAN_OPTIONS="ignore_noninstrumented_modules=1")
        for name in ("WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"):
            self.env.pop(name, None)
        for folder in ("run", "config"):
            (self.path / folder).mkdir(mode=0o700)
        bus = self.start("dbus-daemon", "--session", "--nofork", "--print-address=1", stdout=subprocess.PIPE)
        self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        os.environ.update({key: self.env[key] for key in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")})
        manager = self.start("openbox", "--sm-disable")

        def managed():  # openbox ends at once when the display is not ready for it
            nonlocal manager
            if manager.poll() is not None:
                manager = self.start("openbox", "--sm-disable")
            shown = subprocess.run(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], env=self.env, capture_output=True)
            return b"window id" in shown.stdout
        wait(managed, "the window manager manages the display")
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(5)
            process.kill()
            process.communicate()
        self.folder.cleanup()

    def start(self, *command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL):
        self.processes.append(subprocess.Popen(command, stdout=stdout, stderr=stderr, env=self.env))
        return self.processes[-1]

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.env, check=True, capture_output=True,
                              text=True).stdout

    def keys(self, *keys):
        for key in keys:
            self.xdotool("key", "--clearmodifiers", key)
            time.sleep(0.04)

    def type(self, text):
        if text:
            self.xdotool("type", "--delay", "8", "--", text)
        time.sleep(0.05)

    def click_at(self, x, y):
        self.xdotool("mousemove", x, y)
        time.sleep(0.05)
        self.xdotool("click", 1)
        time.sleep(0.1)

    def noise(self):
        """What the toolkit's libraries complained of on the standard error of the programs."""
        log = self.path / "program.log"
        found = re.findall(r".*-(?:WARNING|CRITICAL|ERROR) \*\*.*",
                           log.read_text(errors="replace") if log.exists() else "")
        return [line for line in found if not line.endswith(TOOLKITS_OWN)]

    def screenshot(self, path):
        subprocess.run(["import", "-window", "root", str(path)], env=self.env, check=True)
        return path


# Names that newer accessibility libraries have for roles, and those that the cases know.
ROLES = {"button": "push button"}


class Control:
    """One accessible object. It may go away at any time; a query then gives nothing."""

    def __init__(self, desktop, accessible):
        self.desktop, self.accessible = desktop, accessible

    def ask(self, question, otherwise):
        try:
            return question(self.accessible)
        except Exception:  # the object is gone
            return otherwise

    role = property(lambda self: ROLES.get(name := self.ask(lambda it: it.getRoleName(), ""), name))
    name = property(lambda self: self.ask(lambda it: it.name, ""))
    active, showing, enabled, checked, focused, selected = (
        property(lambda self, state=f"STATE_{name}": self.ask(
            lambda it: it.getState().contains(getattr(pyatspi, state)), False))
        for name in ("ACTIVE", "SHOWING", "SENSITIVE", "CHECKED", "FOCUSED", "SELECTED"))
    text = property(lambda self: self.accessible.queryText().getText(0, -1))
    place = property(lambda self: self.accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS))

    def settled_place(self, seconds=0.05):
        """Its place once it has stayed there for a while: a bar slides in, a window is put into its place."""
        def settled():
            before = self.place
            time.sleep(seconds)
            return before if self.place == before else None
        return wait(settled, f"{self.name!r} is in its place")

    def click(self):
        place = self.settled_place()
        self.desktop.click_at(place.x + place.width // 2, place.y + place.height // 2)

    def fill(self, text):
        """Puts the focus here and types `text` in place of what is there."""
        self.click()
        if self.text:  # in an empty field of an address this key goes to the field before
            self.desktop.keys("ctrl+a", "BackSpace")
        self.desktop.type(str(text))

    def children(self):
        count = self.ask(lambda it: it.childCount, 0)
        found = (self.ask(lambda it, at=index: it.getChildAtIndex(at), None) for index in range(count))
        return [Control(self.desktop, child) for child in found if child is not None]

    def all(self):
        yield self
        for child in self.children():
            yield from child.all()

    def matching(self, role=None, name=None):
        return (control for control in self.all() if role in (None, control.role) and name in (None, control.name)
                and control.showing)

    def select(self, role=None, name=None):
        return list(self.matching(role, name))

    def find(self, role=None, name=None):
        """The first shown control of this role and name, waited for."""
        return wait(lambda: next(self.matching(role, name), None), f"{role} {name!r} is there")


class Program:
    MENUS = {"f": "File", "e": "Edit", "v": "View", "t": "Test", "h": "Help"}

    def __init__(self, desktop, *arguments, prefix=()):
        """`prefix`: a command that becomes the program in the same process."""
        self.desktop = desktop
        self.log = open(desktop.path / "program.log", "ab")
        self.process = desktop.start(*prefix, os.environ["VNXTEST_WINDOW"], *arguments, stdout=self.log,
                                     stderr=self.log)
        self.root = wait(self.find_root, "the program is on the accessibility bus")
        self.frame = self.root.find("frame")
        self.activate()
        self.wait_enabled('Start "Vantor"...')  # commands can be chosen when the report is written

    def find_root(self):
        if self.process.poll() is not None:
            raise AssertionError(f"the program ended with {self.process.returncode}: {self.complaints()}")
        return next((Control(self.desktop, application) for application in pyatspi.Registry.getDesktop(0)
                     if application is not None and application.get_process_id() == self.process.pid), None)

    def complaints(self):
        """What it wrote to its standard output and error: nothing, when all is well."""
        return (self.desktop.path / "program.log").read_text(errors="replace")

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.log.close()

    def activate(self):
        """Gives the keys to the new window, should the window manager have been too busy to do so when it came."""
        def active():
            if self.frame.active or self.dialogs():
                return True
            time.sleep(1)
            if not self.frame.active:
                with contextlib.suppress(subprocess.CalledProcessError):  # there is no such window yet
                    self.desktop.xdotool("search", "--onlyvisible", "--name", " - VNXTest$", "windowactivate")
            return False
        wait(active, "the window is active")

    def wait_active(self):
        """Waits until the main window has the keys: one that is pressed before goes nowhere."""
        wait(lambda: self.frame.active, lambda: f"the window is active, beside {[it.name for it in self.dialogs()]}")

    def open_menu(self, mnemonic):
        self.wait_active()
        self.desktop.keys(f"alt+{mnemonic}")
        menu = self.frame.find("menu", self.MENUS[mnemonic])
        wait(lambda: any(item.showing for item in menu.children()), f"menu {self.MENUS[mnemonic]} is open")
        return menu

    def choose(self, mnemonic, label):
        self.open_menu(mnemonic).find(None, label).click()

    def menu_states(self, mnemonic):
        """Of each item of the menu: whether it is enabled, and whether checked. The menu is opened for it."""
        items = self.open_menu(mnemonic).children()
        states = {item.name: (item.enabled, item.checked) for item in items if item.role != "separator"}
        self.desktop.keys("Escape")
        time.sleep(0.1)
        return states

    def wait_enabled(self, label, seconds=60):
        wait(lambda: self.menu_states("t")[label][0], f"{label} can be chosen", seconds)

    def dialogs(self):
        """All windows of the program but the main window and balloons."""
        return [window for window in self.root.children()
                if window.role in WINDOW_ROLES and not window.name.endswith(" - VNXTest") and window.showing]

    def dialog(self, title):
        """The dialog with this title, waited for until it is in its place and has the keys. A message box, named by its
        kind there, answers to the program's."""
        found = wait(lambda: next((window for window in reversed(self.dialogs()) if window.active and (
                                   window.name == title or (window.role == "alert" and title == "VNXTest64UD"))), None),
                     lambda: f"dialog {title!r} is open, beside {[window.name for window in self.dialogs()]}")
        time.sleep(0.25)
        return found

    def wait_no_dialog(self):
        wait(lambda: not self.dialogs(), lambda: f"no dialog is open: {[window.name for window in self.dialogs()]}")
        self.wait_active()

    def choose_dialog(self, mnemonic, label, title):
        self.choose(mnemonic, label)
        return self.dialog(title)

    def balloon(self):
        """The title and the text of the balloon that is shown, as one line; waited for."""
        return wait(lambda: next((window.name for window in self.root.children()
                                  if window.role == "window" and window.name and window.showing), None),
                    "a balloon is shown")

    def press(self, dialog, label):
        dialog.find("push button", label).click()

    def answer(self, label):
        self.press(self.dialog("VNXTest64UD"), label)

    def chart(self):
        """What the chart says of itself, or None when it is hidden."""
        return next((panel.name for panel in self.frame.select("panel") if panel.name.startswith("Ping chart")), None)

    def status(self):
        """What the status bar shows."""
        return next((panel.name for panel in self.frame.select("panel") if panel.name.startswith("Status bar")), "")

    def start_guest(self):
        self.choose_dialog("t", 'Start "Vantor"...', "VNXTest64UD Parameters")
        self.desktop.keys("Return")
        self.wait_no_dialog()
        self.wait_enabled("Start ping test...")

    def start_ping(self, to="198.18.0.2", **numbers):
        """Numbers by the names of the dialog's entries: Size, Count, Timeout, Delay."""
        dialog = self.choose_dialog("t", "Start ping test...", "Ping who?")
        dialog.find("text", "To").fill(to)
        for name, value in numbers.items():
            dialog.find("text", name + (" in milliseconds" if name in ("Timeout", "Delay") else "")).fill(value)
        self.desktop.keys("Return")
        self.wait_no_dialog()

    def wait_ping_end(self):
        self.wait_enabled("Start ping test...", 90)

    def stop_guest(self):
        self.choose("t", 'Stop "Vantor"')
        self.wait_enabled('Start "Vantor"...')

    def profile(self):
        """The stored values by name."""
        path = self.desktop.path / "config/VNXTest64UD/VNXTest64UD.conf"
        text = path.read_text(encoding="utf-8") if path.exists() else ""
        return dict(re.findall(r"(?m)^(.+?)=(.*)$", text))

    def save(self, path):
        """Saves the untitled document by Ctrl+S and the file dialog. Returns what is in the file."""
        self.desktop.keys("ctrl+s")
        self.enter_path("Save As", path)
        self.wait_no_dialog()
        wait(pathlib.Path(path).exists, f"{path} is saved")
        return pathlib.Path(path).read_text(encoding="utf-8")

    def save_again(self, path, before):
        """Saves the document to the path it has, until a change that is on its way to it is in the file."""
        def changed():
            self.desktop.keys("ctrl+s")
            time.sleep(0.2)
            return path.read_text(encoding="utf-8") != before
        wait(changed, f"{path} is saved again")
        return path.read_text(encoding="utf-8")

    def enter_path(self, title, path):
        dialog = self.dialog(title)
        self.desktop.keys("ctrl+a")
        self.desktop.type(str(path))
        # It reads what was typed at its leisure, and looks for what could complete it.
        wait(lambda: str(path) in [entry.text for entry in dialog.select("text")], f"{path} is typed")
        time.sleep(0.3)
        self.desktop.keys("Return")

    def ended(self, seconds=60):
        """Whether it ended well: status 0 and an empty standard error."""
        return self.process.wait(seconds) == 0 and self.complaints() == ""
