"""What the tests of the move share: places, texts and answers, and verbs for them."""
import os
import pathlib
import shutil
import subprocess

import launcher
from expectations import LauncherTest
from machine import BUNDLE

SOURCE = f"{launcher.HOME}/Downloads/Quillmore.app"
HOME_TRASH = f"{launcher.HOME}/.local/share/Trash"
VOLUME_TRASH = f"/Applications/.Trash-{launcher.USER}"

ASK = "\nMove to Applications folder?\n"
OFFER = "I can move myself to the Applications folder if you'd like."
DOWNLOADS = " This will keep your Downloads folder uncluttered.\n"
PASSWORD = " Note that this will require an administrator password.\n"
MOVE, DECLINE, TICK = "\n", "2\n", "s\n"


def give(path, owner):
    """The item and all in it get an owner."""
    subprocess.run(["chown", "-R", f"{owner}:{owner}", path], check=True)


class MoveTest(LauncherTest):
    """Everything is installed: a launcher that runs starts the core."""

    repaired = True

    # What befalls the machine.

    def put_launcher(self, place, owner=launcher.USER):
        """A launcher in a folder, beside the one in /Applications."""
        folder = os.path.dirname(place)
        os.makedirs(folder, exist_ok=True)
        shutil.copytree(BUNDLE, place, symlinks=True)
        give(place, owner)
        if folder.startswith(f"{launcher.HOME}/"):
            give(f"{launcher.HOME}/{folder.split('/')[3]}", launcher.USER)

    def open_applications(self):
        """The user may write there, as an administrator of the other system may."""
        give("/Applications", launcher.USER)

    def mount_applications(self, size):
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=755", "applications",
                        "/Applications"], check=True)

    def mark_as_old(self, bundle):
        pathlib.Path(bundle, "old").write_text("old", encoding="utf-8")

    def put_older_copies(self, owner):
        """Copies by fixed names and copies that are known by their identifier."""
        home = f"{launcher.HOME}/Applications"
        named = ["/Applications/Quillmore-3.app", "/Applications/Quillmore Client.app",
                 f"{home}/Quillmore-1.app", f"{home}/Quillmore Client-5.app"]
        known = ["/Applications/Tools/Backup.app", f"{home}/Deep/er/Other.APP"]
        for path in named + known:
            os.makedirs(f"{path}/Contents")
            self.mark_as_old(path)
        for path in known:
            pathlib.Path(path, "Contents/Info.plist").write_text(
                "<plist><dict><key>CFBundleIdentifier</key><string>com.quillmore.client</string>"
                "</dict></plist>", encoding="utf-8")
        for path in ("/Applications/Tools", *named[:2]):
            give(path, owner)
        give(home, launcher.USER)
        return named + known

    # What the user does.

    def launch(self, answers, place=SOURCE):
        return self.machine.launch(answers=answers, bundle=place)

    # What can be seen.

    def expect_is_old(self, bundle):
        self.assertTrue(os.path.exists(f"{bundle}/old"), bundle)

    def expect_core_of(self, bundle):
        [core] = self.machine.core()
        self.assertEqual(os.readlink(f"/proc/{core}/exe"),
                         f"{bundle}/Contents/Resources/QuillmoreCore.app/Contents/MacOS/QuillmoreCore")

    def expect_went_on_from(self, place, ended):
        """It was not moved: it started the core that it carries."""
        self.assertEqual(ended.status, 0, ended)
        self.assertIn("(nrm) Quillmore did finish launching\n", ended.output)
        self.expect_core_started(ended)
        self.expect_core_of(place)

    def expect_copy_of(self, source):
        """What is in /Applications is the source, and the user's own."""
        copy = {path.replace(BUNDLE, SOURCE): seen for path, seen in self.machine.state(BUNDLE).items()}
        self.assertEqual(copy, source)
        self.assertEqual(os.stat(BUNDLE).st_uid, launcher.USER)

    def expect_restarted(self, ended, bundle=BUNDLE):
        """It ended at once; then the copy in /Applications was started, and started its core."""
        self.assertEqual(ended.status, 0, ended)
        self.assertIn("(nrm) Moving myself to the Applications folder\n", ended.output)
        self.assertNotIn("did finish launching", ended.output)
        launcher.wait_until(self.machine.core, "a start of the moved copy")
        self.expect_core_of(bundle)
        others = [line for line in self.machine.log_lines()
                  if line == "(nrm) Quillmore did finish launching"]
        self.assertEqual(len(others), 1, self.machine.log_lines())
