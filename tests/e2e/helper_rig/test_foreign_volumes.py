"""Attacks by volumes that a user mounts on what is theirs: served by a program of the user's that
answers nobody, or a folder from elsewhere. No run waits for such a program, or reaches into them."""
import ctypes
import os
import pathlib
import signal
import stat
import struct
import subprocess
import time

from attack import AttackTest, HOME, PRODUCT, STAGING, TOOL, USER, main
from packages import INFO, plug_in

APPLICATION = "/Applications/A.app"
LONGEST = 60  # seconds for what is done in one
INIT = 26
SYS_OPENAT2 = 437


class VolumeTest(AttackTest):
    def setUp(self):
        super().setUp()
        self.folder(APPLICATION)
        self.folder(f"{APPLICATION}/Contents")
        self.write(f"{APPLICATION}/Contents/Info.plist", INFO.format("1.0.0"))
        package = self.write(f"{HOME}/a.zip", plug_in(name="A.app", version="2.0.0"))
        self.sign(package, "applyfullupdate", APPLICATION)
        self.update = ("applyfullupdate", package, f"{package}.sig", APPLICATION)

    def mount_silent_volume(self, path, options=",allow_other"):
        """As the system's own mount program does it for a user. Its server says hello and no more."""
        if not os.path.exists("/dev/fuse"):
            try:
                os.mknod("/dev/fuse", 0o666 | stat.S_IFCHR, os.makedev(10, 229))
            except PermissionError:
                self.skipTest("no /dev/fuse can be made here")
        server = os.open("/dev/fuse", os.O_RDWR)
        kind = stat.S_IFMT(os.lstat(path).st_mode)
        data = f"fd={server},rootmode={kind:o},user_id={USER},group_id={USER}{options}"
        library = ctypes.CDLL(None, use_errno=True)
        result = library.mount(b"x", path.encode(), b"fuse", 2 | 4, data.encode())  # nosuid, nodev
        self.assertEqual(result, 0, os.strerror(ctypes.get_errno()))
        length, operation, number = struct.unpack_from("=IIQ", os.read(server, 1 << 17))
        self.assertEqual(operation, INIT)
        answer = struct.pack("=IIIIHHIIHHI7I", 7, 31, 1 << 16, 0, 16, 12, 1 << 16, 1, 0, 0, 0, *[0] * 7)
        os.write(server, struct.pack("=IiQ", 16 + len(answer), 0, number) + answer)
        # What a server took and does not answer cannot even be killed. It ends with its server.
        server_of = self.fork_as_user(lambda: os.read(server, 1 << 17))
        os.close(server)
        return server_of

    def expect_ended(self, *arguments, start=None):
        running = (start or self.start_as_user)(TOOL, *arguments)
        try:
            _, errors = running.communicate(timeout=LONGEST)
        except subprocess.TimeoutExpired:
            self.fail(f"{arguments[0]} waits for a volume of the user's")
        return running.returncode, errors

    def expect_nobody_waits(self, **how):
        self.assertEqual(self.expect_ended(*self.install, **how), (0, ""))


class SilentVolumes(VolumeTest):
    """A file system whose server never answers, open to everybody, root included."""

    def test_one_in_a_users_application_is_not_entered(self):
        self.mount_silent_volume(self.folder(f"{APPLICATION}/inner"))
        self.assertEqual(self.expect_ended(*self.update), (0, ""))
        self.assertEqual(os.lstat(APPLICATION).st_uid, 0)
        self.expect_nobody_waits()

    def test_one_over_a_users_application_keeps_nobody_waiting(self):
        self.mount_silent_volume(APPLICATION)
        status, errors = self.expect_ended(*self.update)
        self.assertEqual((status, errors), (72, 'updateqm: "A.app" is a mount point: unmount it\n'))
        self.expect_nobody_waits()

    def test_one_in_a_bundle_whose_top_is_roots_is_not_asked_for_a_version(self):
        os.chown(APPLICATION, 0, 0)
        self.mount_silent_volume(f"{APPLICATION}/Contents")
        self.assertEqual(self.expect_ended(*self.update), (0, ""))
        self.expect_nobody_waits()

    def test_one_over_a_users_file_in_a_tools_place_keeps_nobody_waiting(self):
        other = self.write(f"{PRODUCT}/other", "x")
        self.mount_silent_volume(other)
        for word in ("repairpermissionsother", "repairpermissionsotherroot"):
            self.assertNotEqual(self.expect_ended(word, "other")[0], 0)
        self.write(f"{HOME}/other", "#!/bin/sh\n")
        self.sign(f"{HOME}/other", "repairother", "other")
        self.assertEqual(self.expect_ended("repairother", f"{HOME}/other", f"{HOME}/other.sig")[0], 72)
        self.expect_nobody_waits()


class OlderKernels(SilentVolumes):
    """The same where the kernel, or the container, has no call that stays on a volume."""

    def start_as_user(self, *command, **options):
        # Set by root, or the set-user-ID bit would not count.
        return super().start_as_user("/usr/bin/python3", "-c", f"""
import ctypes, os, sys
class Filter(ctypes.Structure):
    _fields_ = [("size", ctypes.c_ushort), ("code", ctypes.c_char_p)]
import struct
code = b"".join(struct.pack("=HBBI", *each) for each in (
    (0x20, 0, 0, 0), (0x15, 0, 1, {SYS_OPENAT2}), (0x06, 0, 0, 0x50000 | 38), (0x06, 0, 0, 0x7fff0000)))
assert ctypes.CDLL(None).prctl(22, 2, ctypes.byref(Filter(4, code)), 0, 0) == 0
os.setgroups([])
os.setgid({USER})
os.setuid({USER})
os.execv(sys.argv[1], sys.argv[1:])
""", *command, **{**options, "user": 0, "group": 0})


class PlainVolumes(VolumeTest):
    """A file system that only its owner may look into: not even root may examine it."""

    def test_one_over_the_item_of_a_killed_run_stops_no_later_run(self):
        pathlib.Path(f"{PRODUCT}/.journal").write_text(
            f"updateqm journal 1\n/Applications\n1 7 0 0 {USER}\nA.app\nend\n", encoding="ascii")
        os.chmod(f"{PRODUCT}/.journal", 0o600)
        os.makedirs(f"/Applications/{STAGING}/A.app", 0o700)
        self.mount_silent_volume(APPLICATION, options="")
        self.assertEqual(self.expect_ended(*self.install), (0, ""))
        self.assertFalse(os.path.exists(f"{PRODUCT}/.journal"))
        self.assertEqual(os.listdir("/Applications"), ["A.app"])
        self.assertEqual(subprocess.run([TOOL, *self.install], check=False).returncode, 0)


class Folders(VolumeTest):
    def test_core_application_on_a_mounted_volume_keeps_its_mode(self):
        """What a server of the user's says is root's own, and may answer once and then no more."""
        os.chown(APPLICATION, 0, 0)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", f"{APPLICATION}/Contents"], check=True)
        core = f"{APPLICATION}/Contents/Resources/ACore.app"
        os.makedirs(core)
        os.chmod(core, 0o711)
        os.chown(f"{APPLICATION}/Contents", 0, 0)
        status, errors = self.expect_ended("repaircore", core)
        self.assertEqual((status, errors), (72, f'updateqm: "{APPLICATION}/Contents" is a mount point: unmount it\n'))
        self.assertEqual(stat.S_IMODE(os.lstat(core).st_mode), 0o711)

    def test_folder_of_the_same_volume_mounted_in_an_application_is_not_emptied(self):
        for how, own in (("--bind", True), ("--rbind", False)):
            inner = self.folder(f"{APPLICATION}/inner-{how}")
            precious = f"/Applications/precious{how}"
            os.makedirs(f"{precious}/deep")
            pathlib.Path(f"{precious}/deep/file").touch()
            if own:
                for path in (precious, f"{precious}/deep", f"{precious}/deep/file"):
                    os.chown(path, USER, USER)
            subprocess.run(["mount", how, precious, inner], check=True)
        self.assertEqual(self.expect_ended(*self.update), (0, ""))
        self.expect_nobody_waits()
        for how in ("--bind", "--rbind"):
            self.assertTrue(os.path.exists(f"/Applications/precious{how}/deep/file"))

    def test_others_do_not_wait_while_a_large_application_is_removed(self):
        folders = 60
        for folder in range(folders):
            path = self.folder(f"{APPLICATION}/{folder}")
            pathlib.Path(f"{path}/0").touch()
            for number in range(1, 50):
                os.link(f"{path}/0", f"{path}/{number}")
        running = self.start_as_user(TOOL, *self.update)
        while not self.is_being_removed(folders):
            self.assertIsNone(running.poll(), "it was never seen")
            time.sleep(0.001)
        running.send_signal(signal.SIGSTOP)  # by root: the longest removal of all
        self.expect_nobody_waits()
        self.assertTrue(self.is_being_removed(folders))
        running.kill()
        running.wait()
        self.expect_nobody_waits()
        self.assertEqual(os.listdir("/Applications"), ["A.app"])

    @staticmethod
    def is_being_removed(folders):
        for name in os.listdir("/Applications"):
            if name.startswith(".quillmore-old."):
                try:
                    return len(os.listdir(f"/Applications/{name}/A.app")) < folders
                except FileNotFoundError:
                    return False
        return False


if __name__ == "__main__":
    main()
