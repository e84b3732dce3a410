"""The bundle that a build leaves, run from another place than /Applications."""
import os
import shutil

from expectations import ALL, INTEL, LauncherTest, launching_core
from machine import BUNDLE
from sandboxed import main

FIXES = ["Fixes10_5"] if INTEL else []
DO_NOT_MOVE = "2\n"  # into the Applications folder, which is offered first
PLACE = "/home/user/My \"new\" Apps, it's ä/Copy of Quillmore 100%@ $HOME.app"


class Elsewhere(LauncherTest):
    def setUp(self):
        super().setUp()
        self.machine.make_users_folder(os.path.dirname(PLACE))
        self.machine.run_tool("cp", "-R", BUNDLE, PLACE).check_returncode()
        self.machine.remove(BUNDLE)

    def test_bundle_repairs_and_starts_its_core_from_anywhere(self):
        os.chmod(f"{PLACE}/Contents/Resources/QuillmoreCore.app", 0o775)
        ended = self.machine.launch(answers=DO_NOT_MOVE + "\n", bundle=PLACE)
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.assertEqual(self.machine.commands()[:3], ["repair", "repaircore", "repairother"])
        core = f"{PLACE}/Contents/Resources/QuillmoreCore.app/Contents/MacOS/QuillmoreCore"
        self.assertEqual(self.machine.log_lines(ended)[-3:], launching_core(core))
        self.machine.quit_core()
        again = self.machine.launch(answers=DO_NOT_MOVE, bundle=PLACE)
        self.expect_core_started(again)
        self.assertEqual(self.machine.commands(), [])

    def test_program_that_a_link_leads_to_finds_its_bundle(self):
        os.symlink(f"{PLACE}/Contents/MacOS/Quillmore", "/home/user/start")
        finished = self.machine.run_tool("/home/user/start")
        self.assertEqual(finished.returncode, 0)
        self.assertIn("Quillmore did finish launching", finished.stdout)

    def test_program_outside_a_bundle_says_so(self):
        shutil.copy(f"{PLACE}/Contents/MacOS/Quillmore", "/tmp/Quillmore")
        finished = self.machine.run_tool("/tmp/Quillmore")
        self.assertEqual(finished.returncode, 1)
        self.assertEqual(finished.stderr, "/tmp/Quillmore: does not lie in an application bundle\n")


if __name__ == "__main__":
    main()
