"""Attacks by the owner of what is already installed: an application that a user has put into the
Applications folder, or a second name that somebody gave to an installed tool."""
import os
import pathlib
import stat
import subprocess

from attack import AttackTest, HOME, PRODUCT, main
from packages import INFO, plug_in

APPLICATION = "/Applications/A.app"


class UsersApplication(AttackTest):
    """It may be replaced, and what its owner put into it stops nobody's next run."""

    def setUp(self):
        super().setUp()
        self.folder(APPLICATION)
        self.folder(f"{APPLICATION}/Contents")
        self.write(f"{APPLICATION}/Contents/Info.plist", INFO.format("1.0.0"))
        package = self.write(f"{HOME}/a.zip", plug_in(name="A.app", version="2.0.0"))
        self.sign(package, "applyfullupdate", APPLICATION)
        self.update = ("applyfullupdate", package, f"{package}.sig", APPLICATION)

    def expect_replaced(self):
        finished = self.tool(*self.update)
        self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        self.assertEqual(os.lstat(APPLICATION).st_uid, 0)
        for _ in range(2):
            finished = self.tool(*self.install)
            self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        for name in set(os.listdir("/Applications")) - {"A.app"}:
            status = os.lstat(f"/Applications/{name}")
            self.assertEqual((status.st_uid, stat.S_IMODE(status.st_mode)), (0, 0o700), name)

    def test_plain_one_is_replaced_and_gone(self):
        self.expect_replaced()
        self.assertEqual(os.listdir("/Applications"), ["A.app"])

    def test_one_too_deep_to_be_removed_stops_nobody(self):
        path = APPLICATION
        for _ in range(200):
            path = self.folder(f"{path}/d")
        self.expect_replaced()

    def test_one_too_large_to_be_removed_at_once_stops_nobody(self):
        for folder in range(250):
            path = self.folder(f"{APPLICATION}/{folder}")
            pathlib.Path(f"{path}/0").touch()
            for number in range(1, 1000):
                os.link(f"{path}/0", f"{path}/{number}")
        self.expect_replaced()

    def test_owner_who_fills_it_meanwhile_stops_nobody(self):
        inner = self.folder(f"{APPLICATION}/inner")
        reader, writer = os.pipe()

        def fill():
            if os.getcwd() != inner and not os.path.exists("ready"):
                os.chdir(inner)
                pathlib.Path("ready").touch()
                os.write(writer, b"x")
            for number in range(100):
                try:
                    os.makedirs(f"{number}/d/d")
                    os.chdir(f"{number}/d")
                except OSError:
                    pass
        self.fork_as_user(fill)
        os.read(reader, 1)
        self.expect_replaced()

    def test_volume_mounted_in_it_is_not_emptied_and_stops_nobody(self):
        inner = self.folder(f"{APPLICATION}/inner")
        subprocess.run(["mount", "-t", "tmpfs", "-o", "uid=1000,mode=755", "tmpfs", inner], check=True)
        kept = os.open(inner, os.O_RDONLY)
        self.write(f"{inner}/precious", "precious")
        self.expect_replaced()
        self.assertEqual(os.listdir(kept), ["precious"])

    def test_folder_of_somebody_else_in_it_is_not_emptied(self):
        """The user may move what they do not own, where its folder is theirs."""
        inner = self.folder(f"{APPLICATION}/inner")
        pathlib.Path(f"{inner}/precious").touch()
        os.chown(inner, 1001, 1001)
        kept = os.open(inner, os.O_RDONLY)
        self.expect_replaced()
        self.assertEqual((os.listdir(kept), os.fstat(kept).st_uid), (["precious"], 1001))

    def test_its_version_is_not_read_through_a_link_of_the_users(self):
        secret = pathlib.Path("/root/Info.plist")
        secret.write_text(INFO.format("9.9.9"), encoding="ascii")
        secret.chmod(0o600)
        os.unlink(f"{APPLICATION}/Contents/Info.plist")
        os.symlink(secret, f"{APPLICATION}/Contents/Info.plist")
        self.expect_replaced()


class SecondNames(AttackTest):
    def test_replaced_tool_keeps_no_bit_under_a_second_name(self):
        """Where the system lets users make such links, an old fault would stay within reach."""
        self.sign(f"{HOME}/tool", "repairotherroot", "tool")
        command = ("repairotherroot", *self.install[1:])
        self.assertEqual(self.tool(*command).returncode, 0)
        os.link(f"{PRODUCT}/tool", f"{PRODUCT}/kept")
        os.link(f"{PRODUCT}/updateqm", f"{PRODUCT}/updateqm-kept")
        self.assertEqual(self.tool(*command).returncode, 0)
        self.install_tool()
        for name in ("kept", "updateqm-kept"):
            self.assertEqual(stat.S_IMODE(os.lstat(f"{PRODUCT}/{name}").st_mode), 0o755)

    def test_file_of_roots_linked_into_the_users_application_keeps_its_mode(self):
        self.folder(APPLICATION)
        roots = "/Applications/roots"
        pathlib.Path(roots).touch()
        os.chmod(roots, 0o4755)
        os.link(roots, f"{APPLICATION}/x")
        package = self.write(f"{HOME}/a.zip", plug_in(name="A.app"))
        self.sign(package, "applyfullupdate", APPLICATION)
        finished = self.tool("applyfullupdate", package, f"{package}.sig", APPLICATION)
        self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        self.assertEqual(stat.S_IMODE(os.lstat(roots).st_mode), 0o4755)


if __name__ == "__main__":
    main()
