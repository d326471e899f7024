"""Rights: the command that grants them, what a running guest still holds, and whose code may have them."""

import os
import pathlib
import re
import shutil
import time

from cases import GUEST_IP, ORDINARY, PEER_IP, NetworkCase
from lab.network import keep_tun_mode, why_no_tun_device

FILE_RIGHTS = 1 << 1 | 1 << 3  # CAP_DAC_OVERRIDE, CAP_FOWNER


class Privileges(NetworkCase):
    def rights_of(self, guest):
        """(permitted capabilities, no_new_privs) of every thread, `ip netns exec` having become the program."""
        found = set()
        for status in pathlib.Path(f"/proc/{guest.pid}/task").glob("*/status"):
            fields = dict(line.split(":\t", 1) for line in status.read_text(encoding="ascii").splitlines() if ":\t" in line)
            found.add((int(fields["CapPrm"], 16) | int(fields["CapEff"], 16), fields["NoNewPrivs"]))
        return found

    def comes_to_rights(self, guest, kept=0):
        """Whether it runs with these rights and no others; False when it ended. Fails when it goes on with others."""
        deadline = time.monotonic() + 20  # without /proc it looks for its threads one by one
        while (rights := self.rights_of(guest)) != {(kept, "1")}:
            if guest.has_ended():
                return False
            self.assertLess(time.monotonic(), deadline, f"{rights}\n{guest.story()}")
            time.sleep(0.05)
        return True

    def granted_program(self, library):
        """A copy of the program, whose helper was given what it asks for by the commands that the program prints."""
        if library == "tun":
            keep_tun_mode(self)
        copy = self.installed()
        options = [*self.arguments(["run"], library=library), "--duration", 5]
        refused = self.run_program(*options, namespace=self.host, executable=copy, prefix=ORDINARY)
        self.assert_refused(refused, "sudo setcap")
        for command in re.findall(r" sudo (.*)", refused.errors()):
            self.do_or_skip("bash", "-c", command)
        return copy

    def test_an_ordinary_user_with_the_printed_command(self):
        for library, extra in (("pcap", ()), ("pcap", ("--socket-notify",)), ("tun", ())):
            if library == "tun" and why_no_tun_device():
                continue
            with self.subTest(library=library, extra=extra):
                copy = self.granted_program(library)
                guest = self.start(*self.arguments(["run"], library=library), *extra, namespace=self.host,
                                   executable=copy, prefix=ORDINARY).wait_up()
                self.assertTrue(self.comes_to_rights(guest), guest.errors())
                self.assert_pinged(self.host if library == "tun" else self.peer, GUEST_IP, 3)
                self.assertEqual(guest.stop()[0], 0, guest.story())
                self.assert_nothing_left(guest)

    def test_root_keeps_what_saving_takes(self):
        folder = self.scratch() / "of a user"
        folder.mkdir(mode=0o755)
        os.chown(folder, 65534, 65534)
        for file, kept in ((None, 0), (folder / "document", FILE_RIGHTS)):
            extra = ["--output", file] if file else []
            guest = self.start(*self.arguments(["run"]), *extra, namespace=self.host).wait_up()
            self.assertTrue(self.comes_to_rights(guest, kept), guest.errors())
            self.assertEqual(guest.stop()[0], 0, guest.errors())
        self.assertIn("*** Statistics", (folder / "document").read_text(encoding="utf-8"))

    def test_rights_go_however_little_there_is_left(self):
        """Root without a descriptor to spare, or without /proc: no rights are left, or the program ends and says why."""
        without_proc = ["unshare", "--mount", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh"]
        up = 0
        for prefix in (*(["prlimit", f"--nofile={limit}"] for limit in range(8, 17)), without_proc):
            with self.subTest(prefix=prefix):
                guest = self.start(*self.arguments(["run"]), namespace=self.host, prefix=prefix)
                if not self.comes_to_rights(guest):
                    guest.status = guest.wait_end()
                    self.assert_refused(guest)
                    continue
                self.assert_pinged(self.peer, GUEST_IP, 1)
                self.assertEqual(guest.stop()[0], 0, guest.story())
                up += 1
        self.assertGreaterEqual(up, 3, "the limits were too low to show anything")

    def test_a_thread_that_keeps_its_rights_ends_the_program(self):
        library = os.environ.get("VNXTEST_DEAF_THREAD") or self.skipTest("the thread's library was not built")
        for command in (["run"], ["ping", PEER_IP]):
            guest = self.run_program(*self.arguments(command), namespace=self.host, prefix=["env", f"LD_PRELOAD={library}"])
            self.assert_refused(guest, "could not be given up by every thread")
            self.assert_nothing_left(guest)

    def test_no_program_runs_with_rights_of_its_file(self):
        """Whatever they are and whatever is asked of it: the user's own code would get them."""
        window, copy = pathlib.Path(os.environ.get("VNXTEST_WINDOW") or "vnxtest"), self.installed()
        if window.exists():
            shutil.copy(window, copy.parent)
        marks = [(["setcap", "cap_net_raw+ep"], "-r"), (["setcap", "cap_net_admin+p"], "-r"), (["chmod", "u+s"], "u-s"),
                 (["chmod", "g+s"], "u-s")]
        for program in filter(pathlib.Path.exists, (copy, copy.with_name("vnxtest"))):
            for mark, mended in marks:
                os.chown(program, 0, 0)  # takes the last mark away
                os.chmod(program, 0o755)
                self.do_or_skip(*mark, program)
                for arguments in ([], ["--version"], self.arguments(["run"])):
                    with self.subTest(program=program.name, mark=mark, arguments=arguments):
                        guest = self.run_program(*arguments, namespace=self.host, executable=program, prefix=ORDINARY)
                        self.assertEqual((guest.status, guest.lines()), (2, []), guest.story())
                        self.assertTrue(guest.errors().startswith(f"{program.name}: This program's file"), guest.story())
                        self.assertIn(f"{mended} {program}" if mended == "-r" else f"u-s,g-s {program}", guest.errors())
                        self.assertIn(f"sudo setcap cap_net_raw,cap_net_admin+ep {copy.parent}/vnxtest-open", guest.errors())

    def test_what_a_service_manager_gives_is_the_users_own(self):
        given = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=+net_raw,+dac_override",
                 "--ambient-caps=+net_raw,+dac_override"]
        for extra in ([], ["--json", self.scratch() / "results"]):
            guest = self.start(*self.arguments(["run"]), *extra, namespace=self.host, prefix=given,
                               executable=self.installed()).wait_up()
            self.assertTrue(self.comes_to_rights(guest), guest.story())
            self.assert_pinged(self.peer, GUEST_IP, 1)
            self.assertEqual(guest.stop()[0], 0, guest.story())
