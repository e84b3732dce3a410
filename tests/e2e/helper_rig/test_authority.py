"""Attacks on who may have what: bits that an administrator took away, other bytes under a tool's name,
older versions of somebody else's application, and runs that outlive the program that they are of."""
import fcntl
import hashlib
import os
import pathlib
import shutil
import stat
import time

from attack import AttackTest, HOME, LOG, PRODUCT, STAGING, TOOL, USER, main
from packages import INFO, plug_in

RECEIPTS = f"{PRODUCT}/.receipts"


class Receipts(AttackTest):
    """The bit goes back to the bytes that a signature gave it to, under their very name."""

    def setUp(self):
        super().setUp()
        self.sign(f"{HOME}/tool", "repairotherroot", "tool")
        self.root_install = ("repairotherroot", *self.install[1:])
        self.assertEqual(self.tool(*self.root_install).returncode, 0)
        self.mend = ("repairpermissionsotherroot", "tool")

    def expect_no_bit(self, name="tool"):
        self.assertEqual(os.lstat(f"{PRODUCT}/{name}").st_mode & stat.S_ISUID, 0)

    def test_tool_of_another_spelling_gets_no_bit(self):
        package = self.write(f"{HOME}/Tool", "#!/bin/sh\necho 'Quillmore Limited 2.0'\nid\n")
        self.sign(package, "repairother", "Tool")
        self.assertEqual(self.tool("repairother", package, f"{package}.sig").returncode, 0)
        self.before = self.state()
        self.expect_refused("repairpermissionsotherroot", "Tool", because="was not installed as a root tool")
        # And what has a receipt is not taken for a plain tool because of a namesake.
        self.expect_refused("repairpermissionsother", "tool", because="is a root tool")

    def test_other_bytes_under_a_root_tools_name_get_no_bit(self):
        replaced = pathlib.Path(f"{PRODUCT}/tool")
        content = replaced.read_bytes()
        for other in (content + b"\n", content[:-1], b"", b"another".ljust(len(content))):
            replaced.write_bytes(other)
            replaced.chmod(0o755)
            self.before = self.state()
            self.expect_refused(*self.mend, because="is not what was installed: repair it")
        replaced.unlink()
        pathlib.Path(f"{PRODUCT}/tool").write_bytes(b"another file of root's")
        os.chmod(f"{PRODUCT}/tool", 0o755)
        self.before = self.state()
        self.expect_refused(*self.mend, because="is not what was installed: repair it")
        replaced.write_bytes(content)
        replaced.chmod(0o755)
        self.assertEqual(self.tool(*self.mend).returncode, 0)
        self.assertEqual(stat.S_IMODE(replaced.lstat().st_mode), 0o4755)

    def test_receipt_of_an_earlier_version_gives_no_bit(self):
        """It has a name and no digest. The signed package gives the bit, and a receipt that counts."""
        pathlib.Path(RECEIPTS).write_text("tool\n", encoding="ascii")
        os.chmod(f"{PRODUCT}/tool", 0o755)
        self.before = self.state()
        self.expect_refused(*self.mend, because="was not installed as a root tool")
        self.assertEqual(self.tool(*self.root_install).returncode, 0)
        os.chmod(f"{PRODUCT}/tool", 0o755)
        self.assertEqual(self.tool(*self.mend).returncode, 0)
        self.assertEqual(stat.S_IMODE(os.lstat(f"{PRODUCT}/tool").st_mode), 0o4755)

    def test_what_an_administrator_lists_is_neither_mended_nor_installed(self):
        os.chmod(f"{PRODUCT}/tool", 0o700)
        place = f"{PRODUCT}/A.plugin"
        package = self.write(f"{HOME}/a.zip", plug_in())
        self.sign(package, "repairzipitem", place)
        denied = pathlib.Path(f"{PRODUCT}/updateqm.deny")
        denied.write_text(f"# kept as they are\nTOOL\n{place}\n", encoding="ascii")
        self.before = self.state()
        for words in (self.mend, ("repairpermissionsother", "tool"), self.root_install,
                      ("repairzipitem", package, f"{package}.sig", place)):
            self.expect_refused(*words, status=[77], because="an administrator forbids to change")
        denied.chmod(0o666)
        self.before = self.state()
        self.expect_refused(*self.mend, status=[78], because="mend or remove it")
        denied.unlink()
        self.assertEqual(self.tool(*self.mend).returncode, 0)

    def test_bit_that_a_killed_run_took_away_goes_back_to_the_same_bytes_only(self):
        tool = pathlib.Path(f"{PRODUCT}/tool")
        good = tool.read_bytes()
        digest = hashlib.sha256(good).hexdigest()
        for content in (b"another file of root's", good):
            tool.write_bytes(content)
            tool.chmod(0o755)
            os.makedirs(f"{PRODUCT}/{STAGING}", 0o700)
            pathlib.Path(f"{PRODUCT}/.journal").write_text(
                f"updateqm journal 1\n{PRODUCT}\n3 7 1 1 {USER} {digest} {digest} {digest} {0o4755}\ntool\nend\n",
                encoding="ascii")
            os.chmod(f"{PRODUCT}/.journal", 0o600)
            self.tool("repairpermissionsother", "nothing")
            self.assertEqual(stat.S_IMODE(tool.lstat().st_mode), 0o4755 if content == good else 0o755)


class Versions(AttackTest):
    def test_older_version_over_somebody_elses_newer_application_is_refused(self):
        application = "/Applications/A.app"
        os.makedirs(f"{application}/Contents")
        pathlib.Path(f"{application}/Contents/Info.plist").write_text(INFO.format("3.0.0"), encoding="ascii")
        for path in (application, f"{application}/Contents", f"{application}/Contents/Info.plist"):
            os.chown(path, 1001, 1001)
        package = self.write(f"{HOME}/a.zip", plug_in(name="A.app", version="2.0.0"))
        self.sign(package, "applyfullupdate", application)
        update = ("applyfullupdate", package, f"{package}.sig", application)
        self.before = self.state()
        self.expect_refused(*update, status=[65], because="older than the installed one")
        os.chmod("/home/user", 0o755)
        finished = self.as_user(TOOL, *update, user=1001, group=1001)
        self.assertEqual((finished.returncode, finished.stderr), (0, ""))


class Outlived(AttackTest):
    """A run that was stopped goes on when another program, with another key, has been installed."""

    def held_up(self, path):
        held = open(path, "a", encoding="ascii")
        os.chmod(path, 0o600)
        fcntl.flock(held, fcntl.LOCK_EX)
        self.addCleanup(held.close)
        running = self.start_as_user(TOOL, *self.install)
        for _ in range(6000):
            with open("/proc/locks", encoding="ascii") as locks:
                if any("-> FLOCK" in line and line.split()[5] == str(running.pid) for line in locks):
                    return running, held
            time.sleep(0.01)
        return self.fail("it never came to the lock")

    @staticmethod
    def replace():
        shutil.copy(TOOL, f"{PRODUCT}/next")
        with open(f"{PRODUCT}/next", "ab") as program:
            program.write(b"another")
        os.chmod(f"{PRODUCT}/next", 0o4755)
        os.rename(f"{PRODUCT}/next", TOOL)

    def test_run_of_the_program_that_was_installed_anew_meanwhile_goes_on(self):
        """Each repair installs the program first; what waited for it is as good."""
        running, held = self.held_up(f"{PRODUCT}/.updateqm.lock")
        shutil.copy(TOOL, f"{PRODUCT}/next")
        os.chmod(f"{PRODUCT}/next", 0o4755)
        os.rename(f"{PRODUCT}/next", TOOL)
        held.close()
        self.assertEqual(running.communicate(timeout=60)[1], "")
        self.assertEqual(running.returncode, 0)

    def test_run_of_a_program_that_is_no_longer_installed_installs_nothing(self):
        for end in (self.replace, lambda: os.chmod(TOOL, 0o755), lambda: os.unlink(TOOL)):
            for path in (LOG, f"{PRODUCT}/.updateqm.lock"):
                shutil.copy(TOOL, "/root/kept")
                running, held = self.held_up(path)
                end()
                held.close()
                _, errors = running.communicate(timeout=60)
                self.assertIn("no longer the one that is installed", errors)
                self.assertEqual(running.returncode, 77)
                self.assertFalse(os.path.exists(f"{PRODUCT}/tool"))
                shutil.copy("/root/kept", f"{PRODUCT}/next")
                os.chmod(f"{PRODUCT}/next", 0o4755)
                os.rename(f"{PRODUCT}/next", TOOL)


if __name__ == "__main__":
    main()
