"""Attacks through the file system: links, second names, odd files, and things changed underneath."""
import os
import pathlib
import shutil
import stat

from attack import AttackTest, HOME, LOG, MENU_ITEMS, PRODUCT, STAGING, TOOL, main
from packages import plug_in

SECRET = "/root/secret"


class Links(AttackTest):
    def setUp(self):
        super().setUp()
        pathlib.Path(SECRET).write_text("precious\n", encoding="ascii")
        os.chmod(SECRET, 0o600)
        self.folder(f"{HOME}/links")
        self.before = self.state()

    def link(self, target, name):
        path = f"{HOME}/links/{name}"
        os.symlink(target, path)
        return path

    def test_link_in_the_package_path_is_refused_by_name(self):
        path = self.link(HOME, "folder")
        self.expect_refused("repairother", f"{path}/tool", f"{HOME}/tool.sig", because=f'"{path}" is a link: ')
        path = self.link(f"{HOME}/tool", "tool")
        self.expect_refused("repairother", path, f"{HOME}/tool.sig", because=f'"{path}" is a link: ')

    def test_link_in_the_signature_path_is_refused_by_name(self):
        path = self.link(HOME, "folder")
        self.expect_refused("repairother", f"{HOME}/tool", f"{path}/tool.sig", because=f'"{path}" is a link: ')
        path = self.link(f"{HOME}/tool.sig", "signature")
        self.expect_refused("repairother", f"{HOME}/tool", path, because=f'"{path}" is a link: ')

    def test_link_reveals_nothing_of_what_only_root_may_read(self):
        absent = self.tool("repairother", "/root/none", f"{HOME}/tool.sig").stderr.replace("none", "")
        present = self.tool("repairother", SECRET, f"{HOME}/tool.sig").stderr.replace("secret", "")
        self.assertEqual(absent, present)
        for path in (SECRET, self.link(SECRET, "tool"), "/proc/1/environ", "/etc/shadow"):
            self.expect_refused("repairother", path, f"{HOME}/tool.sig", status=[66])

    def test_link_in_a_folder_above_the_target_is_refused(self):
        victim = self.folder("/root/elsewhere")
        os.chown(victim, 0, 0)
        os.symlink(victim, MENU_ITEMS)
        package = self.write(f"{HOME}/a.zip", plug_in())
        place = f"{MENU_ITEMS}/A.plugin"
        self.sign(package, "repairzipitem", place)
        self.before = self.state()
        self.expect_refused("repairzipitem", package, f"{package}.sig", place, because=f'"{MENU_ITEMS}" is a link')

    def test_folder_above_the_target_that_others_may_write_is_refused(self):
        for mode, owner, why in ((0o777, 0, "may be written by others"), (0o775, 0, "may be written by others"),
                                 (0o755, 1000, "does not belong to root")):
            os.chmod(PRODUCT, mode)
            os.chown(PRODUCT, owner, 0)
            self.before = self.state()
            self.expect_refused(*self.install, because=why)

    def test_link_in_the_targets_place_is_replaced_and_not_followed(self):
        os.symlink(SECRET, f"{PRODUCT}/tool")
        self.before = {path: seen for path, seen in self.state().items() if path != f"{PRODUCT}/tool"}
        self.expect_installed(self.tool(*self.install))

    def test_link_in_place_of_the_log_gets_no_line(self):
        for make in (os.symlink, os.link):
            os.path.lexists(LOG) and os.unlink(LOG)
            make(SECRET, LOG)
            self.tool("repaircore", f"{HOME}/XCore.app")
            self.assertEqual(pathlib.Path(SECRET).read_text(encoding="ascii"), "precious\n")

    def links_to_a_file_of_roots(self, name):
        """A link and then a second name, both in place of one of the tool's own files."""
        pathlib.Path("/Library/precious").write_text("updateqm journal 1\n", encoding="ascii")
        os.chmod("/Library/precious", 0o600)
        for make in (os.symlink, os.link):
            os.path.lexists(name) and os.unlink(name)
            make("/Library/precious", name)
            self.before = self.state()
            yield

    def test_link_in_place_of_the_journal_is_neither_believed_nor_written(self):
        for _ in self.links_to_a_file_of_roots(f"{PRODUCT}/.journal"):
            self.expect_refused(*self.install)

    def test_link_in_place_of_the_receipts_is_neither_believed_nor_written(self):
        for _ in self.links_to_a_file_of_roots(f"{PRODUCT}/.receipts"):
            self.expect_refused(*self.install)
            self.expect_refused("repairpermissionsotherroot", "updateqm")

    def test_link_in_place_of_the_staging_folder_leads_nowhere(self):
        os.makedirs("/root/elsewhere/deep")
        self.before = self.state()
        os.symlink("/root/elsewhere", f"{PRODUCT}/{STAGING}")
        self.expect_installed(self.tool(*self.install))

    def test_link_in_place_of_the_lock_is_refused(self):
        for _ in self.links_to_a_file_of_roots(f"{PRODUCT}/.updateqm.lock"):
            self.expect_refused(*self.install)

    def test_unfinished_own_file_that_is_a_link_is_not_written_through(self):
        os.symlink(SECRET, f"{PRODUCT}/.book.new")
        self.expect_installed(self.tool(*self.install))


class OddFiles(AttackTest):
    def test_hard_link_to_a_file_of_roots_is_refused(self):
        roots = f"{HOME}/.roots"  # on the volume of the home folder
        pathlib.Path(roots).write_text("root's\n", encoding="ascii")
        os.chmod(roots, 0o644)
        for name in ("shadow", "XCore.app"):
            os.link(roots, f"{HOME}/{name}")
        self.expect_refused("repairother", f"{HOME}/shadow", f"{HOME}/tool.sig", because="hard link")
        self.expect_refused("repaircore", f"{HOME}/XCore.app")
        self.assertEqual(stat.S_IMODE(os.lstat(roots).st_mode), 0o644)

    def test_package_with_a_second_name_is_refused_with_a_remedy(self):
        os.link(f"{HOME}/tool", f"{HOME}/second")
        self.expect_refused(*self.install, because="hard link")

    def test_fifos_sockets_devices_and_folders_are_refused_at_once(self):
        os.mkfifo(f"{HOME}/fifo")
        os.chown(f"{HOME}/fifo", 1000, 1000)
        for path in (f"{HOME}/fifo", "/dev/zero", "/dev/full", "/dev/tty", "/dev/random", HOME, "/proc/self/mem",
                     "/proc/self/fd/0", "/dev/stdin", "/proc/kmsg"):
            self.expect_refused("repairother", path, f"{HOME}/tool.sig")
            self.expect_refused("repairother", f"{HOME}/tool", path)

    def test_file_that_never_ends_or_shrinks_is_refused(self):
        sparse = self.write(f"{HOME}/sparse", "")
        os.truncate(sparse, 1 << 40)
        self.expect_refused("repairother", sparse, f"{HOME}/tool.sig", because="too large")

    def test_names_that_are_paths_options_or_hidden_name_nothing(self):
        for name in ("../../../etc/passwd", "/etc/passwd", ".receipts", "-rf", "", ".", "..", "a/b", "updateqm",
                     "UPDATEQM", "tool\0x".split("\0", maxsplit=1)[0] + "\n", "t\u00f6ol", ".updateqm.lock"):
            for word in ("repairpermissionsother", "repairpermissionsotherroot"):
                self.expect_refused(word, name)


class Modes(AttackTest):
    """chmod of what a caller names."""

    def test_mode_of_a_named_path_changes_only_when_it_is_the_callers(self):
        roots = "/root/XCore.app"
        os.mkdir(roots, 0o700)
        others = "/home/other/XCore.app"
        os.makedirs(others, 0o700)
        os.chown(others, 1001, 1001)
        os.symlink(roots, f"{HOME}/XCore.app")
        self.before = self.state()
        for path in (roots, others, f"{HOME}/XCore.app", "/etc/shadow", "/etc", "/Library", PRODUCT, TOOL,
                     "/Applications/XCore.app", f"{PRODUCT}/XCore.app"):
            self.expect_refused("repaircore", path)
        self.assertEqual(stat.S_IMODE(os.lstat(others).st_mode), 0o700)

    def test_key_pairs_of_others_keep_their_modes(self):
        for home, owner in (("/root", 0), ("/home/other", 1001)):
            folder = f"{home}/.config/.mono/keypairs"
            os.makedirs(folder)
            pathlib.Path(f"{folder}/key").touch(0o644)
            for path in (folder, f"{folder}/key", f"{home}/.config/.mono", f"{home}/.config"):
                os.chown(path, owner, owner)
        self.folder(f"{HOME}/.config")
        os.symlink("/home/other/.config/.mono", f"{HOME}/.config/.mono")
        self.before = self.state()
        for home in ("/root", "/home/other", HOME):
            self.expect_refused("fixmonokeypairs", f"{home}/.config/.mono/keypairs")
        self.assertEqual(stat.S_IMODE(os.lstat("/home/other/.config/.mono/keypairs/key").st_mode), 0o644)

    def test_key_pairs_are_mended_without_a_way_back_to_root(self):
        """A key that is a link to, or another name of, something of root's stays what it is."""
        folder = f"{HOME}/.config/.mono/keypairs"
        for path in (f"{HOME}/.config", f"{HOME}/.config/.mono", folder):
            self.folder(path) if not os.path.exists(path) else None
        pathlib.Path("/root/key").touch(0o644)
        os.symlink("/root/key", f"{folder}/link")
        self.write(f"{folder}/own", "key", 0o644)
        self.before = self.state()
        self.assertEqual(self.tool("fixmonokeypairs", folder).returncode, 0)
        self.expect_unchanged()
        self.assertEqual(stat.S_IMODE(os.lstat(f"{folder}/own").st_mode), 0o600)


class Swaps(AttackTest):
    """What is verified is what is used, whatever happens to the caller's files in between."""

    ROUNDS = 60

    def test_package_swapped_between_verification_and_use_is_never_installed(self):
        good = pathlib.Path(f"{HOME}/tool").read_bytes()
        evil = self.write(f"{HOME}/evil", b"#!/bin/sh\nid\n".ljust(len(good), b"#"))
        self.write(f"{HOME}/good", good)

        def swap():
            for name in ("evil", "good"):
                shutil.copy(f"{HOME}/{name}", f"{HOME}/next")
                os.rename(f"{HOME}/next", f"{HOME}/tool")
                with open(f"{HOME}/tool", "r+b") as file:  # in place, too
                    file.write(pathlib.Path(evil).read_bytes())
                    file.seek(0)
                    file.write(good)
        self.fork_as_user(swap)
        installed = 0
        for _ in range(self.ROUNDS):
            if self.tool(*self.install).returncode == 0:
                installed += 1
            if os.path.exists(f"{PRODUCT}/tool"):
                self.assertEqual(pathlib.Path(f"{PRODUCT}/tool").read_bytes(), good)
        self.write(f"{HOME}/note", f"{installed} of {self.ROUNDS}")

    def test_path_swapped_for_a_link_while_it_is_walked_changes_nothing_of_roots(self):
        os.makedirs("/root/d/XCore.app", 0o700)
        os.chmod("/root", 0o755)
        os.chmod("/root/d", 0o755)
        os.chmod("/root/d/XCore.app", 0o700)
        self.folder(f"{HOME}/d")
        self.folder(f"{HOME}/d/XCore.app")
        self.before = self.state()

        def swap():
            os.rename(f"{HOME}/d/XCore.app", f"{HOME}/kept")
            os.symlink("/root/d/XCore.app", f"{HOME}/d/XCore.app")
            os.unlink(f"{HOME}/d/XCore.app")
            os.rename(f"{HOME}/kept", f"{HOME}/d/XCore.app")
            os.rename(f"{HOME}/d", f"{HOME}/other")
            os.symlink("/root/d", f"{HOME}/d")
            os.unlink(f"{HOME}/d")
            os.rename(f"{HOME}/other", f"{HOME}/d")
        self.fork_as_user(swap)
        for _ in range(self.ROUNDS * 3):
            self.tool("repaircore", f"{HOME}/d/XCore.app")
            self.expect_unchanged()

    def test_key_pairs_swapped_for_links_change_nothing_of_roots(self):
        folder = f"{HOME}/.config/.mono/keypairs"
        for path in (f"{HOME}/.config", f"{HOME}/.config/.mono", folder):
            self.folder(path)
        os.makedirs("/root/keypairs")
        pathlib.Path("/root/keypairs/key").touch(0o644)
        os.chmod("/root", 0o755)
        self.before = self.state()

        def swap():
            pathlib.Path(f"{folder}/key").touch()
            os.unlink(f"{folder}/key")
            os.symlink("/root/keypairs/key", f"{folder}/key")
            os.unlink(f"{folder}/key")
            os.rename(folder, f"{folder}.kept")
            os.symlink("/root/keypairs", folder)
            os.unlink(folder)
            os.rename(f"{folder}.kept", folder)
        self.fork_as_user(swap)
        for _ in range(self.ROUNDS * 3):
            self.tool("fixmonokeypairs", folder)
            self.expect_unchanged()


if __name__ == "__main__":
    main()
