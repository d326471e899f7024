"""vnxtest-cli as a process: its lines as they come, its messages, its end."""

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


def stamp_of(line):
    """Milliseconds of the day of a line's time stamp."""
    hours, minutes, seconds = line[:12].split(":")
    return (int(hours) * 60 + int(minutes)) * 60_000 + round(float(seconds) * 1000)


def without_stamps(lines):
    return "".join(STAMP.sub("", line) + "\n" for line in lines)


class Guest:
    """A running vnxtest-cli. `output` and `errors` take the standard streams elsewhere than to memory."""

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
        self._error_lines = []
        self._process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=output or subprocess.PIPE, stderr=errors or subprocess.PIPE,
            env=variables | (environment or {}), preexec_fn=lambda: (die_with_parent(), prepare and prepare()))
        pipes = [(self._process.stdout, self._lines), (self._process.stderr, self._error_lines)]
        self._readers = [threading.Thread(target=self._read, args=pipe, daemon=True) for pipe in pipes if pipe[0]]
        self._reading = len(self._readers)
        for reader in self._readers:
            reader.start()

    def _read(self, pipe, lines):
        with pipe:
            for line in pipe:
                with self._changed:
                    lines.append(line.decode("utf-8").rstrip("\n"))
                    self._changed.notify_all()
        with self._changed:
            self._reading -= 1
            self._changed.notify_all()

    @property
    def pid(self):
        return self._process.pid

    def lines(self):
        """Standard output so far, line by line with the time stamps."""
        with self._changed:
            return list(self._lines)

    def text(self):
        """Standard output without the time stamps: what the messages say."""
        return without_stamps(self.lines())

    def errors(self):
        """Standard error."""
        with self._changed:
            return "".join(line + "\n" for line in self._error_lines)

    def wait_for(self, pattern, timeout=10.0, count=1):
        """Waits until `count` lines match; returns the last of them. Fails when the program ends first."""
        wanted = re.compile(pattern)
        deadline = time.monotonic() + timeout
        with self._changed:
            while True:
                found = [line for line in self._lines if wanted.search(line)]
                if len(found) >= count:
                    return found[count - 1]
                left = deadline - time.monotonic()
                if left <= 0 or self._reading == 0:
                    break
                self._changed.wait(left)
        raise AssertionError(f"no line like {pattern!r} ({len(found)} of {count})\n{self.story()}")

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
        for reader in self._readers:
            reader.join()
        self.home.cleanup()
        return status

    def send_signal(self, number):
        self._process.send_signal(number)

    def stop(self, number=signal.SIGINT, timeout=10.0):
        """Asks it to stop; returns (exit status, seconds it took)."""
        started = time.monotonic()
        self.send_signal(number)
        return self.wait_end(timeout), time.monotonic() - started

    def kill(self):
        if self._process.poll() is None:
            self._process.kill()
            self._process.wait()

    def memory(self):
        """Resident kilobytes."""
        with open(f"/proc/{self.pid}/status", encoding="ascii") as file:
            return int(re.search(r"VmRSS:\s+(\d+)", file.read())[1])

    def story(self):
        text = "\n".join(self.lines()[-60:])
        return f"--- output\n{text}\n--- errors\n{self.errors()}--- status {self._process.poll()}"
