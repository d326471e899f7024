"""vnxtest-cli as a process: its lines as they come, and its end."""

import os
import re
import signal
import subprocess
import tempfile
import threading
import time

from .network import die_with_parent

STAMP = re.compile(r"^\d\d:\d\d:\d\d\.\d{3}(?: |$)")


def program():
    path = os.environ.get("VNXTEST_CLI")
    if not path or not os.access(path, os.X_OK):
        raise AssertionError(f"VNXTEST_CLI does not name the program: {path!r}")
    return path


def without_stamps(lines):
    return "".join(STAMP.sub("", line) + "\n" for line in lines)


def become_a_job():
    """For a guest's process: as a terminal starts it. Behind nohup or "&" it would inherit that SIGINT is ignored, and
    then rightly ignores it."""
    die_with_parent()
    signal.signal(signal.SIGINT, signal.SIG_DFL)


class Guest:
    """A running vnxtest-cli. `output` and `errors` take the standard streams elsewhere."""

    def __init__(self, arguments, namespace=None, prefix=(), environment=None, output=None, executable=None,
                 errors=None, prepare=None):
        self.home = tempfile.TemporaryDirectory(prefix="vnxe2e-")
        os.chmod(self.home.name, 0o777)
        command = [*prefix, executable or program(), *map(str, arguments)]
        if namespace is not None:
            command = namespace.command(*command)
        variables = dict(os.environ, HOME=self.home.name, XDG_CONFIG_HOME=self.home.name + "/config", LC_ALL="C.UTF-8")
        self._changed = threading.Condition()
        self._lines = []  # of standard output, without the line end
        self._errors = tempfile.TemporaryFile()
        self._process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=output or subprocess.PIPE, stderr=errors or self._errors,
            env=variables | (environment or {}), preexec_fn=lambda: (become_a_job(), prepare and prepare()))
        self.pid = self._process.pid
        self._reader = threading.Thread(target=self._read, args=[self._process.stdout or []], daemon=True)
        self._reader.start()

    def _read(self, pipe):
        for line in pipe:
            with self._changed:
                self._lines.append(line.decode("utf-8").rstrip("\n"))
                self._changed.notify_all()

    def lines(self):
        """Standard output so far, line by line with the time stamps."""
        with self._changed:
            return list(self._lines)

    def text(self):
        """Standard output without the time stamps: what the messages say."""
        return without_stamps(self.lines())

    def errors(self):
        """Standard error so far."""
        return os.pread(self._errors.fileno(), 1 << 20, 0).decode("utf-8")

    def wait_for(self, pattern, timeout=10.0, count=1):
        """Waits until `count` lines match. Fails when the program ends first."""
        wanted = re.compile(pattern)
        deadline = time.monotonic() + timeout
        while True:
            with self._changed:
                over = time.monotonic() > deadline or not self._reader.is_alive()
                if sum(bool(wanted.search(line)) for line in self._lines) >= count:
                    return
                if over:
                    break
                self._changed.wait(0.1)
        raise AssertionError(f"not {count} lines like {pattern!r}\n{self.story()}")

    def wait_up(self, interfaces=1):
        """Until every interface is enabled and reads."""
        self.wait_for(r"\*\*\* Interface .* enabled/up", count=interfaces)
        # The line is written just before the interface is brought up; a moment until it reads.
        time.sleep(0.2)
        return self

    def wait_end(self, timeout=60.0):
        """Waits for the end; returns the exit status. A signal's death is a negative status."""
        try:
            status = self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.kill()
            raise AssertionError(f"still running after {timeout} s\n{self.story()}") from None
        self._reader.join()
        return status

    def has_ended(self):
        return self._process.poll() is not None

    def send_signal(self, number):
        self._process.send_signal(number)

    def stop(self, number=signal.SIGINT, timeout=10.0):
        """Asks it to stop; returns (exit status, seconds it took)."""
        started = time.monotonic()
        self.send_signal(number)
        return self.wait_end(timeout), time.monotonic() - started

    def kill(self):
        """Ends it, if it still runs, and frees its resources."""
        self._process.kill()
        self._process.wait()
        self._reader.join()
        if self._process.stdout:
            self._process.stdout.close()
        self.home.cleanup()

    def memory(self):
        """Resident kilobytes."""
        with open(f"/proc/{self.pid}/status", encoding="ascii") as file:
            return int(re.search(r"VmRSS:\s+(\d+)", file.read())[1])

    def story(self):
        text = "\n".join(self.lines()[-60:])
        return f"--- output\n{text}\n--- errors\n{self.errors()}--- status {self._process.poll()}"
