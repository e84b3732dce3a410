"""Repairs that cannot be done: what the user is told, and that nothing is half done."""
import os
import pathlib
import shutil
import subprocess

from expectations import (ALL, BUTTONS, FAILED, INTEL, LauncherTest, PROGRESS, answered, window)
import launcher
from machine import CONTEXT_MENU, FILE_SYSTEM, OVERLAY, PRODUCT, RESOURCES, UPDATE_TOOL
from sandboxed import BUILD, main

FIXES = ["Fixes10_5"] if INTEL else []
ADMIN = "UpdateToolManager:runUninstalledUpdateToolAsAdmin:"
AGENT = BUILD / "tests/Platform/Linux/polkit_test_agent"


class Refused(LauncherTest):
    policy = "deny"

    def test_refused_right_fails_the_run_before_anything_is_installed(self):
        ended = self.machine.launch(answers="\n\n2\n")
        self.assertEqual(ended.status, 0)
        asked = window("file system", "helper programs")
        self.assertIn(answered(asked) + PROGRESS + f"(nrm) {ADMIN} Starting...\n" + answered(FAILED)
                      + answered(asked, "2") + "(nrm) User chose to quit\n", ended.output)
        refused = f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus -60005)"
        self.assertEqual(ended.errors, refused + "\n")
        self.assertEqual(self.machine.log_problems(), [refused])
        self.expect_installed()
        self.expect_no_core()
        self.assertEqual(self.machine.commands(), [])


class Cancelled(LauncherTest):
    policy = "none"

    def test_closed_password_dialog_fails_the_run_and_can_be_tried_again(self):
        running = self.machine.start()
        running.wait_for(BUTTONS)
        self.start_agent(running.pid)
        for _ in range(2):
            running.answer("\n")
            running.wait_for(FAILED)
            running.answer("\n")
            running.wait_for(BUTTONS)
        running.close_input()
        self.assertEqual(running.end().status, 0)
        self.assertEqual(self.machine.log_problems(),
                         [f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus -60006)"] * 2)
        self.expect_installed()

    def start_agent(self, process):
        """The password dialog of one process, whose user closes it each time."""
        if not AGENT.exists():
            self.fail(f"{AGENT} is not built")
        shutil.copy(AGENT, "/tmp/agent")
        agent = subprocess.Popen(["/tmp/agent", str(process)], user=launcher.USER,
                                 group=launcher.USER, extra_groups=[], stdout=subprocess.PIPE)
        self.assertEqual(agent.stdout.readline(), b"ready\n")
        self.addCleanup(agent.stdout.close)
        self.addCleanup(agent.wait)
        self.addCleanup(agent.kill)

    def test_without_anybody_to_ask_the_run_fails(self):
        ended = self.machine.launch(answers="\n")
        self.assertEqual(ended.errors,
                         f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus -60007)\n")
        self.expect_installed()


class NoPolkit(LauncherTest):
    policy = "off"

    def test_missing_polkit_is_told_and_fails_the_run(self):
        ended = self.machine.launch(answers="\n")
        self.assertIn(FAILED, ended.output)
        why, failed = ended.errors.splitlines()
        self.assertRegex(why, r"^\(ERR\) polkit: .*Could not connect")
        self.assertEqual(failed, f"(ERR) {ADMIN} AuthorizationCopyRights failed (OSStatus -60008)")
        self.expect_installed()

    def test_missing_module_is_told_and_fails_the_run(self):
        self.machine.remove("/Applications/Quillmore.app/Contents/PlugIns/libquillmore_polkit.so")
        ended = self.machine.launch(answers="\n")
        self.assertIn(FAILED, ended.output)
        self.assertIn("libquillmore_polkit.so", ended.errors)
        self.assertIn("(OSStatus -60008)", ended.errors)


class InvalidBundle(LauncherTest):
    repaired = True

    def test_bundle_without_a_version_fails_the_run_after_what_is_before_it(self):
        self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString=None)
        self.machine.remove(f"{PRODUCT}/qmstatus", CONTEXT_MENU)
        self.expect_statuses(qmstatus="Missing", QuillmoreFS="Invalid", QuillmoreCM="Missing")
        file_system = self.machine.state(FILE_SYSTEM)
        ended = self.machine.launch(answers="\n\n")
        asked = window("file system", "helper programs")
        self.assertEqual(ended.status, 0)
        self.assertTrue(ended.output.endswith(answered(FAILED) + asked + "\n"), ended.output)
        self.assertEqual(self.machine.commands(), ["repair", "repairother"])
        self.expect_installed(*[name for name in ALL if name != "QuillmoreCM"], *FIXES)
        self.assertEqual(self.machine.state(FILE_SYSTEM), file_system)
        self.expect_no_core()


class DamagedPackages(LauncherTest):
    """Each run gets one item further; an item that fails stays as it was."""

    repaired = True

    def setUp(self):
        super().setUp()
        self.machine.remove(f"{PRODUCT}/qmstatus", FILE_SYSTEM, CONTEXT_MENU, OVERLAY,
                            f"{PRODUCT}/Fixes10_5")
        self.present = ["updateqm", "finderoverlaytool"]
        self.mended = {}
        self.failures = 0

    def break_file(self, name, harm):
        path = pathlib.Path(f"{RESOURCES}/{name}")
        kept = pathlib.Path(f"/tmp/{name}")
        shutil.copy(path, kept)
        harm(path)

        def mend():
            shutil.copyfile(kept, path)
            os.chmod(path, 0o644)
        self.mended[name] = mend

    def expect_failure(self, running, item, commands, why):
        running.answer("\n")
        running.wait_for(FAILED)
        running.answer("\n")
        running.wait_for(BUTTONS)
        self.assertEqual(self.machine.commands(), ["repair", *commands])
        self.expect_installed(*self.present)
        self.expect_no_core()
        failed = f'(ERR) UpdateToolManager:runExe: Failed running "{UPDATE_TOOL}"'
        self.failures += 1
        running.errors.wait_for(lambda: running.errors.text().count(failed + "\n") == self.failures,
                                "the failure on standard error")
        self.assertEqual(running.errors.text().splitlines()[-2:], [f"updateqm: {why}", failed])
        word = commands[-1].split("=")[0]
        self.assertEqual(self.machine.log_problems()[-2:], [
            f'(ERR) Repair of "{item}" (updateqm {word}): updateqm: {why}', failed])

    def test_a_damaged_item_fails_the_run_and_leaves_itself_and_the_later_ones_alone(self):
        at = f"{RESOURCES}/"
        self.break_file("qmstatus.sig", os.unlink)
        self.break_file("QuillmoreFS.pkg", self.machine.flip_byte)
        self.break_file("QuillmoreCM.zip.sig",
                        lambda path: shutil.copyfile(at + "QuillmoreOverlay.zip.sig", path))
        self.break_file("QuillmoreOverlay.zip", lambda path: os.chmod(path, 0))
        running = self.machine.start()
        running.wait_for(BUTTONS)
        done = ["repairother"]
        self.expect_failure(running, "qmstatus", ["repairother=66"],
                            f'cannot open "{at}qmstatus.sig": No such file or directory')
        for name, item, next_item, command, why in (
                ("qmstatus.sig", "qmstatus", "QuillmoreFS", "repairpackage=65",
                 f'the signature "{at}QuillmoreFS.pkg.sig" does not match "{at}QuillmoreFS.pkg"; '
                 "nothing was installed"),
                ("QuillmoreFS.pkg", "QuillmoreFS", "QuillmoreCM", "repairzipitem=65",
                 f'the signature "{at}QuillmoreCM.zip.sig" does not match "{at}QuillmoreCM.zip"; '
                 "nothing was installed"),
                ("QuillmoreCM.zip.sig", "QuillmoreCM", "QuillmoreOverlay", "repairzipitem=66",
                 f'cannot open "{at}QuillmoreOverlay.zip": Permission denied')):
            self.mended[name]()
            self.present.append(item)
            self.expect_failure(running, next_item, [*done, command], why)
            done.append(command.split("=")[0])
        self.mended["QuillmoreOverlay.zip"]()
        running.answer("\n")
        self.expect_core_started(running.end())
        self.expect_installed(*ALL, *FIXES)


class DamagedReplacements(LauncherTest):
    repaired = True

    def test_an_old_item_stays_as_it_is_when_its_package_is_damaged(self):
        self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString="1.1.9")
        self.machine.flip_byte(f"{RESOURCES}/QuillmoreFS.pkg", at=100)
        before = self.machine.state(FILE_SYSTEM)
        ended = self.machine.launch(answers="\n")
        self.assertIn(FAILED, ended.output)
        self.assertEqual(self.machine.state(FILE_SYSTEM), before)
        self.expect_installed(*ALL, *FIXES)


class DamagedUpdateTool(LauncherTest):
    def test_nothing_is_installed_when_the_update_tool_does_not_verify(self):
        self.machine.flip_byte(f"{RESOURCES}/updateqm.sig")
        ended = self.machine.launch(answers="\n")
        self.assertIn(FAILED, ended.output)
        self.assertEqual(self.machine.commands(), ["repair=65"])
        why, started, failed = ended.errors.splitlines()
        self.assertEqual(why, f'updateqm: the signature "{RESOURCES}/updateqm.sig" does not match '
                         '"this program"; nothing was installed')
        self.assertRegex(started, r"^\(ERR\) UpdateToolManager:runExe: Exception during running "
                         f'"{UPDATE_TOOL}" ' r"\(.+\)$")
        self.assertEqual(failed, f'(ERR) UpdateToolManager:runExe: Failed running "{UPDATE_TOOL}"')
        self.expect_installed()
        self.expect_no_core()


if __name__ == "__main__":
    main()
