"""Files that appear whole or not at all, and what the files and folders of others may not do to them. What cannot be
written, and whose names mean one file: test_terminal.py."""

import os
import signal
import struct
import unittest

from test_terminal import TerminalCase

STRANGER = 65534
ACCESS_LIST, DEFAULT_LIST = "system.posix_acl_access", "system.posix_acl_default"


def access_of(path):
    status = os.stat(path)
    return f"{status.st_uid}:{status.st_gid} {status.st_mode & 0o7777:o}"


def access_list(mode, named):
    """The owner and everybody by `mode`, the owning group nothing, the stranger and the mask as given."""
    entries = (1, mode >> 6 & 7, -1), (2, named, STRANGER), (4, 0, -1), (0x10, named, -1), (0x20, mode & 7, -1)
    return struct.pack("=I", 2) + b"".join(struct.pack("=HHi", *entry) for entry in entries)


@unittest.skipUnless(os.geteuid() == 0, "needs two users")
class Files(TerminalCase):
    def setUp(self):
        super().setUp()
        self.program, self.place = self.installed(), self.scratch()
        self.file = self.place / "file"

    def save(self, path, refused="", user=0):
        """A report in that file, by that user; or why there is none."""
        prefix = ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups"] if user else []
        self.go("report", "--output", path, status=2 if refused else 0, note=refused, executable=self.program, prefix=prefix)

    def give(self, path, user, mode=None):
        os.chown(path, user, user, follow_symlinks=False)
        if mode is not None:
            path.chmod(mode)

    def make(self, path, user, mode):
        path.write_text("old")
        self.give(path, user, mode)

    def is_old(self, path):
        return path.read_text("utf-8") == "old"

    def test_a_file_appears_whole_or_not_at_all(self):
        for end in (signal.SIGKILL, signal.SIGTERM):
            self.make(self.file, 0, 0o644)
            guest = self.begin("run", "--output", self.file).wait_up()
            self.assertTrue(self.is_old(self.file))
            self.assertEqual(os.listdir(self.place), ["file"], "what is not finished has no name")
            guest.stop(end)
            self.assertEqual(self.is_old(self.file), end == signal.SIGKILL)
        for name, target in (("to nothing", "made"), ("turns", "turns")):
            (self.place / name).symlink_to(target)
        before = os.umask(0o027)
        self.addCleanup(os.umask, before)
        self.go("run", "--no-report", "--duration", 0.1, "--save", "--output", self.place / "to nothing")
        self.assertTrue((self.place / "to nothing").is_symlink())
        self.assertEqual([access_of(path) for path in (self.place / "made", self.profile)], ["0:0 640", "0:0 600"])
        for path, why in ((self.place, 21), (self.place / "missing" / "file", 2), (self.place / "turns", 40)):
            self.save(path, f"errno={why}: ")

    def test_a_replaced_file_keeps_its_access_but_no_special_bit(self):
        for before, after in ((0o6777, "777"), (0o4755, "755"), (0o1640, "640"), (0, "0")):
            self.make(self.file, STRANGER, before)
            self.save(self.file)
            self.assertEqual(access_of(self.file), f"65534:65534 {after}")
        self.profile.parent.mkdir()
        self.make(self.profile, STRANGER, 0o666)
        self.go("run", "--no-report", "--duration", 0.1, "--save", note="is damaged")
        self.assertEqual(access_of(self.profile), "65534:65534 600", "a user's settings stay the user's")
        # Who may not give a file away keeps it; what the old group was allowed the new one gets only if all have it.
        self.make(self.file, 0, 0o672)
        self.save(self.file, user=STRANGER)
        self.assertEqual(access_of(self.file), "65534:65534 622")
        self.make(self.file, 0, 0o644)
        self.save(self.file, "errno=13: ", user=STRANGER)

    def test_an_access_control_list_is_kept_and_never_becomes_the_groups_rights(self):
        """The bits of the group are the mask of such a list: taken over alone they would be the group's rights."""
        self.make(self.file, 0, 0o600)
        try:
            os.setxattr(self.file, ACCESS_LIST, access_list(0o604, 6))
        except OSError as error:
            self.skipTest(f"the file system has no access control lists: {error}")
        self.save(self.file)
        self.assertFalse(self.is_old(self.file))
        self.assertEqual(os.getxattr(self.file, ACCESS_LIST), access_list(0o604, 6))
        self.assertEqual(access_of(self.file), "0:0 664", "6 is the mask")
        # One that the folder gives its new files is not the replaced file's.
        os.setxattr(self.place, DEFAULT_LIST, access_list(0o604, 6))
        os.removexattr(self.file, ACCESS_LIST)
        self.file.chmod(0o660)
        self.save(self.file)
        self.assertEqual((os.listxattr(self.file), access_of(self.file)), ([], "0:0 660"))
        os.removexattr(self.place, DEFAULT_LIST)
        # Who may not keep the group keeps no list either, and those whom it held back are held back still.
        self.make(self.file, STRANGER, 0o606)
        os.setxattr(self.file, ACCESS_LIST, access_list(0o606, 6))
        self.save(self.file, user=1)
        self.assertEqual(access_of(self.file), "1:1 600", "the old group had nothing, and is everybody now")

    def test_what_others_put_into_a_shared_folder_is_left_alone(self):
        target, shared, chain = self.place / "target", self.place / "shared", self.place / "chain"
        shared.mkdir()
        file, link, pipe = (shared / name for name in ("file", "link", "pipe"))
        self.make(target, 0, 0o644)
        link.symlink_to(target)
        os.mkfifo(pipe)
        for path in (link, pipe):
            self.give(path, STRANGER)
        self.make(file, STRANGER, 0o666)
        for mode in (0o1770, 0o1777):
            self.give(shared, 0, mode)
            self.save(file, "belongs to another user")
            self.save(pipe, "belongs to another user")
        chain.symlink_to("shared/link")
        for path in (link, chain):
            self.save(path, "is a link of another user's")
        self.assertTrue(self.is_old(target) and self.is_old(file))
        # The owner of the folder could do worse; without the sticky bit it is anybody's; one's own is one's own.
        for folder_of, mode, owner in ((STRANGER, 0o1777, STRANGER), (0, 0o777, STRANGER), (0, 0o1777, 0)):
            self.make(target, 0, 0o644)
            self.give(shared, folder_of, mode)
            for path in (link, file):
                self.give(path, owner)
                self.save(path)
            self.assertTrue(link.is_symlink() and not self.is_old(target) and not self.is_old(file))

    def test_temporary_files_do_not_stay(self):
        """Where the process has no entry in /proc a file cannot get its name later: it has a temporary one."""
        notes, foreign = self.place / ".vnxtest-notes.txt", self.place / ".vnxtest-0123456789.tmp"
        others = [notes, foreign] + [self.place / f".vnxtest{name}" for name in (
            "-my-precious.tmp", "-.tmp", ".tmp", "-0123456abw.tmp", "-0123456ab.tmp", "-0123456abcd.tmp", "-0123456abv.txt")]
        for path in others:
            self.make(path, STRANGER if path == foreign else 0, 0o600)
        self.make(self.place / ".vnxtest-0123456abv.tmp", 0, 0o600)
        guest = self.begin("run", "--no-sandbox", "--output", self.file, prefix=[
            "unshare", "--mount", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh"]).wait_up()
        self.assertEqual(len(os.listdir(self.place)), len(others) + 1, "the one that was left is gone, another has come")
        self.save(self.place / "second")
        self.assertEqual(len(os.listdir(self.place)), len(others) + 2, "one that is being written is left alone")
        guest.stop(signal.SIGKILL)
        self.assertEqual(len(os.listdir(self.place)), len(others) + 2)
        self.save(self.place / "second")
        self.assertEqual({*self.place.iterdir()}, {*others, self.place / "second"}, "the next run has removed it")

    def test_what_a_descriptor_leads_to_is_not_replaced(self):
        self.file.write_text("before ")
        other_name = self.place / "other"
        os.link(self.file, other_name)
        self.go("report", "--output", "/proc/self/fd/9", prefix=["sh", "-c", 'exec 9>>"$0"; exec "$@"', self.file])
        self.assertRegex(other_name.read_text("utf-8"), r"^before \d\d:")
