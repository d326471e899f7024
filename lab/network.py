"""Network namespaces of a test, and sockets inside them.

Everything made here bears the prefix "vnxe2e-" and the number of the process that made it. It is removed
when the test ends; leftovers of a killed run are removed before the next.
"""

import contextlib
import ctypes
import fcntl
import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile

PREFIX = "vnxe2e-"
PR_SET_PDEATHSIG = 1

_libc = ctypes.CDLL(None, use_errno=True)


def die_with_parent():
    """For a child process, before it becomes its program: it does not outlive this one."""
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


def ip(*arguments, check=True):
    return subprocess.run(["ip", *map(str, arguments)], check=check, capture_output=True, text=True)


def why_no_namespaces():
    """What is missing for namespaces and veth pairs, or None."""
    if os.geteuid() != 0:
        return "needs root, to make network namespaces"
    probe = f"{PREFIX}{os.getpid()}-probe"
    try:
        for command in (f"netns add {probe}", f"-n {probe} link add veth0 type veth peer name veth1"):
            made = ip(*command.split(), check=False)
            if made.returncode != 0:
                return f"ip {command} fails here: {made.stderr.strip()}"
    finally:
        ip("netns", "del", probe, check=False)
    return None


def why_no_tun_device():
    """What is missing for the kernel's own TUN/TAP devices, or None."""
    try:
        os.close(os.open("/dev/net/tun", os.O_RDWR))
    except OSError as error:
        return f"needs /dev/net/tun: {error.strerror}"
    return None


def keep_tun_mode(case):
    """Gives /dev/net/tun its mode back after the case. Cases that change it, of any tree, do so one after the other."""
    lock = open(pathlib.Path(tempfile.gettempdir()) / "vnxtest-tun-mode.lock", "a", encoding="utf-8")
    fcntl.flock(lock, fcntl.LOCK_EX)
    case.addCleanup(lock.close)
    case.addCleanup(os.chmod, "/dev/net/tun", os.stat("/dev/net/tun").st_mode & 0o777)


def remove_leftovers():
    for line in ip("netns", "list", check=False).stdout.splitlines():
        left = re.match(rf"({re.escape(PREFIX)}(\d+)-\w+)", line)
        if left and not os.path.exists(f"/proc/{left[2]}"):
            ip("netns", "del", left[1], check=False)


class Namespace:
    def __init__(self, label):
        self.name = f"{PREFIX}{os.getpid()}-{label}"
        ip("netns", "add", self.name)
        # Without router solicitations and the like, so that counts of ignored frames are exact.
        for scope in ("all", "default"):
            with contextlib.suppress(FileNotFoundError):
                self.write(f"net/ipv6/conf/{scope}/disable_ipv6", 1)
        self.ip("link", "set", "lo", "up")

    def remove(self):
        ip("netns", "del", self.name, check=False)

    def ip(self, *arguments, check=True):
        return ip("-n", self.name, *arguments, check=check)

    def command(self, *arguments):
        """The command line that runs the given one in here."""
        return ["ip", "netns", "exec", self.name, *map(str, arguments)]

    def run(self, *arguments, check=False, timeout=60):
        return subprocess.run(self.command(*arguments), check=check, capture_output=True, text=True,
                              timeout=timeout, preexec_fn=die_with_parent)

    def write(self, parameter, value):
        """Sets a parameter under /proc/sys, of this namespace."""
        with self.entered(), open(f"/proc/sys/{parameter}", "w", encoding="ascii") as file:
            file.write(str(value))

    @contextlib.contextmanager
    def entered(self):
        """This thread is in the namespace meanwhile. A socket made here stays here."""
        with open("/proc/thread-self/ns/net", "rb") as home, open(f"/run/netns/{self.name}", "rb") as there:
            self._set(there)
            try:
                yield
            finally:
                self._set(home)

    @staticmethod
    def _set(namespace):
        if _libc.setns(namespace.fileno(), 0) != 0:
            raise OSError(ctypes.get_errno(), "setns")

    def packet_socket(self, interface):
        """A raw socket on one interface, which hears every protocol."""
        with self.entered():
            raw = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(0x0003))
            raw.bind((interface, 0x0003))
        return raw

    def mac_of(self, interface):
        return self.ip("-br", "link", "show", "dev", interface).stdout.split()[2]

    def links(self):
        """The names of the interfaces, so that what a run leaves behind can be seen."""
        return sorted(line.split()[0].split("@")[0] for line in self.ip("-br", "link").stdout.splitlines())


def cable(near, near_name, near_ip, far, far_name, far_ip):
    """A veth pair between two namespaces, up, each end with its address in a network of 24 bits."""
    near.ip("link", "add", near_name, "type", "veth", "peer", "name", far_name, "netns", far.name)
    for namespace, name, address in ((near, near_name, near_ip), (far, far_name, far_ip)):
        namespace.ip("address", "add", address + "/24", "dev", name)
        namespace.ip("link", "set", "dev", name, "up")
