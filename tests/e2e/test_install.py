"""`cmake --install`: what is installed works where it lies, is announced as desktops ask for it, and can be removed."""

import os
import pathlib
import shutil
import subprocess

from cases import ORDINARY, NetworkCase, timeout
from lab import guest as guest_module


class Install(NetworkCase):
    build = property(lambda _: pathlib.Path(guest_module.program()).parent.parent)

    def run_or_fail(self, *command, **variables):
        done = subprocess.run(command, capture_output=True, text=True, env={**os.environ, **variables})
        self.assertEqual(done.returncode, 0, f"{command}: {done.stdout}{done.stderr}")
        return done.stdout

    @timeout(180)
    def test_what_is_installed(self):
        if not (self.build / "bin/vnxtest").exists():
            self.skipTest("needs the window, which this build leaves out")
        root = self.scratch() / "root"
        self.run_or_fail("cmake", "--install", self.build, "--prefix", "/opt/some", DESTDIR=str(root))
        some = root / "opt/some"
        for folder in (root, *(path for path in root.rglob("*") if path.is_dir())):
            folder.chmod(0o755)  # whatever the umask is

        with self.subTest("an ordinary user's guest, by the installed helper"):
            helper = some / "libexec/vnxtest/vnxtest-open"
            start = [*self.arguments(["run"]), "--duration", "0.2", "--proceed"]
            self.assert_refused(self.run_program(*start, namespace=self.host, prefix=ORDINARY, executable=some / "bin/vnxtest-cli"),
                                f"setcap .* {helper}\n")
            self.do_or_skip("setcap", "cap_net_raw,cap_net_admin+ep", helper)
            guest = self.run_program(*start, namespace=self.host, prefix=ORDINARY, executable=some / "bin/vnxtest-cli")
            self.assertEqual(guest.status, 0, guest.story())

        with self.subTest("the desktop's files"):
            share = some / "share"
            self.assertTrue((share / "vnxtest/vnxtest.htb").is_file())
            for size in ("16x16", "48x48", "256x256", "scalable"):
                self.assertEqual(len(list((share / "icons/hicolor" / size / "apps").glob("vnxtest.*"))), 1, size)
            entry, metadata = share / "applications/vnxtest.desktop", next((share / "metainfo").iterdir())
            for command in (["desktop-file-validate", entry], ["appstreamcli", "validate", "--no-net", metadata]):
                if shutil.which(command[0]):
                    self.run_or_fail(*command)

        self.run_or_fail("cmake", "-P", self.build / "packaging/linux/uninstall.cmake", DESTDIR=str(root))
        self.assertEqual([path for path in root.rglob("*") if not path.is_dir() or path.name.startswith("vnxtest")], [])
