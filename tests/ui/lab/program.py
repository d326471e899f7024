"""The program on a desktop: its windows, menus, controls and saved files."""

import os
import pathlib
import subprocess
import time

import pyatspi

from lab.desktop import Desktop

CHECKED = pyatspi.STATE_CHECKED
SENSITIVE = pyatspi.STATE_SENSITIVE
SHOWING = pyatspi.STATE_SHOWING
FOCUSED = pyatspi.STATE_FOCUSED


class Control:
    """One accessible object. It may go away at any time; asking for it then gives nothing."""

    def __init__(self, desktop, accessible):
        self.desktop, self.accessible = desktop, accessible

    def __repr__(self):
        return f"<{self.role} {self.name!r}>"

    @property
    def role(self):
        return self.ask(lambda: self.accessible.getRoleName(), "")

    @property
    def name(self):
        return self.ask(lambda: self.accessible.name, "")

    @staticmethod
    def ask(question, otherwise):
        try:
            return question()
        except Exception:  # the object is gone
            return otherwise

    def has(self, state):
        return self.ask(lambda: self.accessible.getState().contains(state), False)

    @property
    def enabled(self):
        return self.has(SENSITIVE)

    @property
    def checked(self):
        return self.has(CHECKED)

    @property
    def focused(self):
        return self.has(FOCUSED)

    @property
    def text(self):
        content = self.accessible.queryText()
        return content.getText(0, content.characterCount)

    @property
    def place(self):
        return self.accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)

    def click(self, button=1):
        place = self.place
        self.desktop.click_at(place.x + place.width // 2, place.y + place.height // 2, button)

    def fill(self, text):
        """Puts the focus here and types `text` in place of what is there."""
        self.click()
        if self.text:  # in an empty field of an address this key goes to the field before
            self.desktop.keys("ctrl+a", "BackSpace")
        self.desktop.type(text)

    def children(self):
        try:
            for index in range(self.accessible.childCount):
                child = self.accessible.getChildAtIndex(index)
                if child is not None:
                    yield Control(self.desktop, child)
        except Exception:  # went away while being looked at
            return

    def all(self):
        yield self
        for child in self.children():
            yield from child.all()

    def select(self, role=None, name=None, showing=True):
        found = []
        for control in self.all():
            try:
                if ((role is None or control.role == role) and (name is None or control.name == name)
                        and (not showing or control.has(SHOWING))):
                    found.append(control)
            except Exception:
                continue
        return found

    def find(self, role=None, name=None, showing=True, seconds=10):
        """The first control of this role and name, waited for."""
        return Desktop.wait(lambda: next(iter(self.select(role, name, showing)), None), f"{role} {name!r} is there",
                            seconds)


class Program:
    def __init__(self, desktop, *arguments):
        self.desktop = desktop
        self.log = open(desktop.path / "program.log", "ab")
        self.process = desktop.start(os.environ["VNXTEST_WINDOW"], *arguments, stdout=self.log, stderr=self.log)
        self.root = Desktop.wait(self._find_root, "the program is on the accessibility bus", 30)
        self.frame = self.root.find("frame", seconds=30)
        Desktop.wait(lambda: self.frame.has(pyatspi.STATE_ACTIVE), "the window is active", 20)
        # Commands can be chosen when the report is written.
        Desktop.wait(lambda: self.menu_states("t")['Start "Vantor"...'][0], "the report is written", 40)

    def _find_root(self):
        if self.process.poll() is not None:
            raise AssertionError(f"the program ended with {self.process.returncode}: {self.complaints()}")
        pyatspi.Registry.getDesktop(0)
        for application in pyatspi.Registry.getDesktop(0):
            if application is not None and application.name == "vnxtest" \
                    and application.get_process_id() == self.process.pid:
                return Control(self.desktop, application)
        return None

    def complaints(self):
        self.log.flush()
        return (self.desktop.path / "program.log").read_text(errors="replace")

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.log.close()

    # Menus.

    def open_menu(self, mnemonic):
        """Opens the menu with this letter and returns it."""
        names = {"f": "File", "e": "Edit", "t": "Test", "h": "Help"}
        self.desktop.keys(f"alt+{mnemonic}")
        menu = self.frame.find("menu", names[mnemonic])
        Desktop.wait(lambda: any(item.has(SHOWING) for item in menu.children()), f"menu {names[mnemonic]} is open")
        time.sleep(0.1)
        return menu

    def close_menu(self):
        self.desktop.keys("Escape")
        time.sleep(0.2)

    def choose(self, mnemonic, label):
        """Opens the menu and clicks the item."""
        self.open_menu(mnemonic).find(None, label).click()

    def menu_states(self, mnemonic):
        """Of each item of the menu: whether it is enabled, and whether checked. The menu is opened for it."""
        menu = self.open_menu(mnemonic)
        states = {item.name: (item.enabled, item.checked) for item in menu.children() if item.role != "separator"}
        self.close_menu()
        return states

    # Dialogs.

    def dialog(self, title=None, seconds=15):
        """The dialog with this title, waited for. The toolkit's message boxes, which are named by their kind on
        the accessibility bus, answer to the program's name."""
        def look():
            return next((window for window in reversed(self.dialogs())
                         if title is None or window.name == title
                         or (window.role == "alert" and title == "VNXTest64UD")), None)
        found = Desktop.wait(look, f"dialog {title!r} is open, beside {self.dialogs()}", seconds)
        time.sleep(0.3)
        return found

    def dialogs(self):
        """All windows of the program but the main window and balloons."""
        return [window for window in self.root.children()
                if window.role in ("frame", "dialog", "alert", "file chooser") and window.has(SHOWING)
                and not window.name.endswith(" - VNXTest")]

    def wait_no_dialog(self):
        Desktop.wait(lambda: not self.dialogs(), "no dialog is open")
        time.sleep(0.2)

    def balloon(self, seconds=10):
        """The title and the text of the balloon that is shown, as one line; waited for."""
        def look():
            return next((window.name for window in self.root.children()
                         if window.role == "window" and window.has(SHOWING) and window.name), None)
        return Desktop.wait(look, "a balloon is shown", seconds)

    def press(self, dialog, label):
        dialog.find("push button", label).click()

    def chart(self):
        """What the chart says of itself, or None when it is hidden."""
        panels = [panel for panel in self.frame.select("panel") if panel.name.startswith("Ping chart")]
        return panels[0].name if panels else None

    # The main job, in steps.

    def start_guest(self):
        self.choose("t", 'Start "Vantor"...')
        self.dialog("VNXTest64UD Parameters")
        self.desktop.keys("Return")
        self.wait_no_dialog()
        Desktop.wait(lambda: self.menu_states("t")["Start ping test..."][0], "the guest runs")

    def start_ping(self, to="198.18.0.2", **numbers):
        """Numbers by the names of the dialog's entries: Size, Count, Timeout, Delay."""
        self.choose("t", "Start ping test...")
        dialog = self.dialog("Ping who?")
        dialog.find("text", "To").fill(to)
        for name, value in numbers.items():
            unit = " in milliseconds" if name in ("Timeout", "Delay") else ""
            dialog.find("text", name + unit).fill(str(value))
        self.desktop.keys("Return")
        self.wait_no_dialog()

    def wait_ping_end(self, seconds=60):
        Desktop.wait(lambda: self.menu_states("t")["Start ping test..."][0], "the ping test has ended", seconds)

    def profile(self):
        """The stored values by name."""
        files = [path for path in (self.desktop.path / "config").rglob("*") if path.is_file()]
        values = {}
        for path in files:
            for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
                name, equals, value = line.partition("=")
                if equals:
                    values[name.strip()] = value.strip()
        return values

    # The document.

    def save(self, path):
        """Saves the untitled document by Ctrl+S and the file dialog."""
        path = pathlib.Path(path)
        self.desktop.keys("ctrl+s")
        self.dialog("Save As")
        self.enter_path(path)
        Desktop.wait(path.exists, f"{path} is saved")
        return path.read_text(encoding="utf-8")

    def enter_path(self, path):
        self.desktop.keys("ctrl+a")
        self.desktop.type(str(path))
        time.sleep(0.3)
        self.desktop.keys("Return")
        self.wait_no_dialog()

    def threads(self):
        return len(list(pathlib.Path(f"/proc/{self.process.pid}/task").iterdir()))

    def wait_end(self, seconds=20):
        self.process.wait(seconds)
        return self.process.returncode


def screenshot_of(desktop, control, path):
    """The part of the screen that a window covers."""
    place = control.place
    full = desktop.screenshot(desktop.path / "full.png")
    # A window whose caption is the window manager's has a border below that is not its own.
    border = 0 if control.select("push button", "What's This? Help") else 8
    area = f"{place.width}x{place.height + border}+{max(0, place.x)}+{max(0, place.y)}"
    subprocess.run(["convert", str(full), "-crop", area, "+repage", str(path)], check=True)
