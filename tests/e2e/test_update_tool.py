"""The installed tools in the hands of a user: whatever the command line, nothing unverified gets in
and nothing changes that should not."""
import os
import pathlib
import shutil
import subprocess

import launcher
from expectations import LauncherTest
from machine import CONTEXT_MENU, FILE_SYSTEM, OVERLAY, PRODUCT, RESOURCES, UPDATE_TOOL
from sandboxed import main

HOME = launcher.HOME
SOMEWHERE = f"{HOME}/somewhere"
# Every command word with the number of its arguments; what an administrator alone may do last.
WORDS = {"repaircore": 1, "repairother": 2, "repairpermissionsother": 1, "repairpackage": 1,
         "repairotherroot": 2, "repairpermissionsotherroot": 1, "repairzipitem": 3,
         "repairintel10_5": 2, "applyfullupdate": 3, "fixmonokeypairs": 1, "repair": 1,
         "repairpermissions": 0}


def carried(name):
    return f"{RESOURCES}/{name}"


class ByHand(LauncherTest):
    repaired = True
    policy = "off"
    system = "10.6.8"

    def setUp(self):
        super().setUp()
        self.machine.run_tool("mkdir", SOMEWHERE).check_returncode()

    def everything(self):
        return self.machine.stamps("/Library", "/Applications", HOME, "/System", "/tmp")

    def expect_refused(self, *arguments, tool=UPDATE_TOOL, status=range(64, 79), because=""):
        with self.subTest(" ".join(arguments)[:200]):
            before = self.everything()
            finished = self.machine.run_tool(tool, *arguments)
            self.assertIn(finished.returncode, status, finished.stderr)
            self.assertEqual(finished.stdout, "")
            own = [line for line in finished.stderr.splitlines()
                   if line.startswith(f"{os.path.basename(tool)}: ")]
            self.assertEqual(len(own), 1, finished.stderr)
            self.assertIn(because, own[0])
            self.assertEqual(self.everything(), before)


class WrongArguments(ByHand):
    def test_wrong_number_of_arguments_is_a_usage_error(self):
        for word, count in WORDS.items():
            for number in {max(0, count - 1), count + 1, count + 2} - {count}:
                self.expect_refused(word, *["/tmp/x"] * number, status=[64], because=f"usage: updateqm {word}")

    def test_unknown_words_are_usage_errors(self):
        for word in ("", " ", "repai", "Repair", "REPAIROTHER", "repair ", "--help", "-h", "/bin/sh",
                     "repairother\n", "x" * 100_000):
            self.expect_refused(word, status=[64])

    def test_paths_that_lead_elsewhere_are_refused(self):
        for path in ("", "/", "relative", ".", "..", "/nowhere/file", "/etc/passwd", "/dev/zero", "/dev/tty",
                     f"{RESOURCES}/../Resources/qmstatus", f"{RESOURCES}//qmstatus", f"{RESOURCES}/",
                     "/etc/shadow", "~/x", "/tmp/a\nb", "/tmp/\033[2J", "/" + "x" * 5000, "%s%s%n", "-r"):
            for word in ("repaircore", "repairpackage", "repairpermissionsother",
                         "repairpermissionsotherroot", "fixmonokeypairs"):
                self.expect_refused(word, path)
            self.expect_refused("repairother", path, carried("qmstatus.sig"))
            self.expect_refused("repairother", carried("qmstatus"), path)
            self.expect_refused("repairzipitem", carried("QuillmoreCM.zip"), carried("QuillmoreCM.zip.sig"), path)

    def test_fifo_in_place_of_a_package_or_signature_is_refused_at_once(self):
        os.mkfifo(f"{SOMEWHERE}/fifo", 0o666)
        self.expect_refused("repairother", f"{SOMEWHERE}/fifo", carried("qmstatus.sig"),
                            because="is not a regular file")
        self.expect_refused("repairother", carried("qmstatus"), f"{SOMEWHERE}/fifo",
                            because="is not a regular file")

    def test_what_only_an_administrator_may_do_is_refused(self):
        for tool in (UPDATE_TOOL, carried("updateqm")):
            self.expect_refused("repair", carried("updateqm.sig"), tool=tool, status=[77])
            self.expect_refused("repairpermissions", tool=tool, status=[77])

    def test_tools_and_folders_of_others_keep_their_modes(self):
        for name in ("updateqm", "finderoverlaytool"):
            self.expect_refused("repairpermissionsother", name)
        for name in ("updateqm", "qmstatus", "../../../bin/bash", ".receipts"):
            self.expect_refused("repairpermissionsotherroot", name)
        for path in (f"{HOME}/Core.app", "/Library", "/System/Library/CoreServices/Finder.app", PRODUCT):
            self.expect_refused("repaircore", path)

    def test_overlay_tool_takes_one_command_only(self):
        tool = f"{PRODUCT}/finderoverlaytool"
        for arguments in (["x"], ["insertfinderoverlay", "x"], [""]):
            self.expect_refused(*arguments, tool=tool, status=[64])


class Unverified(ByHand):
    """Packages that are not the distributor's, in every way that a user could offer them."""

    def setUp(self):
        super().setUp()
        pathlib.Path(f"{SOMEWHERE}/evil").write_text("#!/bin/sh\nid > /tmp/was-here\n", encoding="ascii")
        for name in ("qmstatus", "QuillmoreFS.pkg", "QuillmoreCM.zip", "Fixes10_5.zip"):
            shutil.copy(carried(name), SOMEWHERE)
            self.machine.flip_byte(f"{SOMEWHERE}/{name}", at=200)
        for name in ("qmstatus.sig", "QuillmoreFS.pkg.sig", "QuillmoreCM.zip.sig", "Fixes10_5.plist"):
            shutil.copy(carried(name), SOMEWHERE)
        pathlib.Path(f"{SOMEWHERE}/empty").touch()
        pathlib.Path(f"{SOMEWHERE}/zeros").write_bytes(bytes(256))
        self.machine.remove(FILE_SYSTEM, CONTEXT_MENU, f"{PRODUCT}/qmstatus", f"{PRODUCT}/Fixes10_5")

    def test_damaged_packages_are_never_installed(self):
        mine = f"{SOMEWHERE}/"
        for command in (["repairother", mine + "qmstatus", mine + "qmstatus.sig"],
                        ["repairotherroot", mine + "qmstatus", mine + "qmstatus.sig"],
                        ["repairpackage", mine + "QuillmoreFS.pkg"],
                        ["repairzipitem", mine + "QuillmoreCM.zip", mine + "QuillmoreCM.zip.sig", CONTEXT_MENU],
                        ["repairintel10_5", mine + "Fixes10_5.zip", mine + "Fixes10_5.plist"],
                        ["applyfullupdate", mine + "QuillmoreCM.zip", mine + "QuillmoreCM.zip.sig",
                         "/Applications/Quillmore.app"]):
            self.expect_refused(*command, status=[65], because="does not match")

    def test_strange_packages_with_true_or_false_signatures_are_never_installed(self):
        for word in ("repairother", "repairotherroot"):
            for signature in (carried("qmstatus.sig"), carried("updateqm.sig"), f"{SOMEWHERE}/zeros",
                              f"{SOMEWHERE}/empty", f"{SOMEWHERE}/evil", f"{SOMEWHERE}/missing"):
                self.expect_refused(word, f"{SOMEWHERE}/evil", signature, status=[65, 66])
        self.expect_refused("repairpackage", f"{SOMEWHERE}/evil", status=[66])
        self.expect_refused("repairother", f"{SOMEWHERE}/empty", f"{SOMEWHERE}/empty", status=[65])

    def test_signed_item_goes_nowhere_but_to_its_own_place(self):
        menu = carried("QuillmoreCM.zip"), carried("QuillmoreCM.zip.sig")
        for place in ("/Library/QuillmoreCM.plugin", "/etc/QuillmoreCM.plugin", f"{HOME}/QuillmoreCM.plugin",
                      f"{os.path.dirname(CONTEXT_MENU)}/Other.plugin", f"{CONTEXT_MENU}/Contents/x",
                      "/Library/Contextual Menu Items/../QuillmoreCM.plugin", UPDATE_TOOL):
            self.expect_refused("repairzipitem", *menu, place)
        self.expect_refused("applyfullupdate", *menu, "/Applications/QuillmoreCM.plugin")
        self.expect_refused("applyfullupdate", *menu, "/Applications/QuillmoreCM.app")

    def test_update_tool_is_not_replaced_by_another_signed_tool(self):
        shutil.copy(carried("qmstatus"), f"{SOMEWHERE}/updateqm")
        for word in ("repairother", "repairotherroot"):
            self.expect_refused(word, f"{SOMEWHERE}/updateqm", carried("qmstatus.sig"), status=[64])


class Verified(ByHand):
    def test_each_command_of_the_launcher_works_by_hand(self):
        """The counterpart: the command lines above fail for what they say, not for how they run."""
        before = self.machine.state("/Library", RESOURCES)
        os.chmod(f"{PRODUCT}/finderoverlaytool", 0o755)
        os.chmod(f"{PRODUCT}/qmstatus", 0o775)
        os.chmod(f"{RESOURCES}/QuillmoreCore.app", 0o700)
        self.machine.remove(FILE_SYSTEM, CONTEXT_MENU, OVERLAY, f"{PRODUCT}/Fixes10_5")
        for command in (["repaircore", f"{RESOURCES}/QuillmoreCore.app"],
                        ["repairpermissionsother", "qmstatus"],
                        ["repairpermissionsotherroot", "finderoverlaytool"],
                        ["repairother", carried("qmstatus"), carried("qmstatus.sig")],
                        ["repairotherroot", carried("finderoverlaytool"), carried("finderoverlaytool.sig")],
                        ["repairpackage", carried("QuillmoreFS.pkg")],
                        ["repairzipitem", carried("QuillmoreCM.zip"), carried("QuillmoreCM.zip.sig"), CONTEXT_MENU],
                        ["repairzipitem", carried("QuillmoreOverlay.zip"), carried("QuillmoreOverlay.zip.sig"), OVERLAY],
                        ["repairintel10_5", carried("Fixes10_5.zip"), carried("Fixes10_5.plist")]):
            with self.subTest(command[0]):
                finished = self.machine.run_tool(UPDATE_TOOL, *command)
                self.assertEqual((finished.returncode, finished.stdout, finished.stderr), (0, "", ""))
        self.assertEqual(self.machine.state("/Library", RESOURCES), before)

    def test_administrator_gives_the_update_tool_its_bit_back(self):
        os.chmod(UPDATE_TOOL, 0o755)
        finished = subprocess.run([UPDATE_TOOL, "repairpermissions"], capture_output=True, text=True, check=False)
        self.assertEqual((finished.returncode, finished.stdout, finished.stderr), (0, "", ""))
        self.assertEqual(os.stat(UPDATE_TOOL).st_mode & 0o7777, 0o4755)

    def test_key_pairs_become_their_users_alone(self):
        folder = f"{HOME}/.config/.mono/keypairs"
        self.machine.make_users_folder(folder)
        self.machine.run_tool("touch", f"{folder}/key").check_returncode()
        finished = self.machine.run_tool(UPDATE_TOOL, "fixmonokeypairs", folder)
        self.assertEqual((finished.returncode, finished.stderr), (0, ""))
        self.assertEqual([os.stat(path).st_mode & 0o7777 for path in (folder, f"{folder}/key")], [0o700, 0o600])

    def test_banner_carries_the_version_after_its_marker(self):
        for name in ("updateqm", "finderoverlaytool", "qmstatus"):
            finished = self.machine.run_tool(f"{PRODUCT}/{name}")
            self.assertEqual(finished.returncode, 0)
            self.assertEqual(finished.stdout.split("Limited ")[-1], self.machine.version + "\n")


if __name__ == "__main__":
    main()
