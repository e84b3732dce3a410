"""The move with an administrator's rights, and the move from a volume."""
import fcntl
import os
import pathlib
import signal
import stat
import subprocess
import unittest

import launcher
from machine import BUNDLE
from moving import (ASK, HOME_TRASH, MOVE, MoveTest, OFFER, PASSWORD, SOURCE, VOLUME_TRASH, give)
from sandboxed import BUILD, main

AGENT = BUILD / "tests/Platform/Linux/polkit_test_agent"
FAILED = (f'(nrm) I am still at "{SOURCE}".\n'
          "\nCould not move to Applications folder\n  1)")
VOLUME = "/Volumes/Quillmore 1.15"
PIECE = "/Applications/.Quillmore.app.incomplete"


class Granted(MoveTest):
    policy = "grant"

    def test_launcher_moves_where_no_copy_is_in_place(self):
        self.put_launcher(SOURCE)
        self.machine.remove(BUNDLE)
        ended = self.launch(MOVE)
        self.assertIn(ASK + OFFER + PASSWORD, ended.output)
        self.assertEqual(ended.errors, "")
        self.expect_restarted(ended)
        self.assertFalse(os.path.exists(SOURCE))
        self.assertTrue(os.path.exists(f"{HOME_TRASH}/files/Quillmore.app/Contents/Info.plist"))
        self.assertEqual(os.stat("/Applications").st_uid, 0)

    def test_older_copies_of_all_kinds_are_deleted(self):
        self.put_launcher(SOURCE)
        give(BUNDLE, 0)
        self.mark_as_old(BUNDLE)
        copies = self.put_older_copies(owner=0)
        self.expect_restarted(self.launch(MOVE))
        for path in copies:
            self.assertFalse(os.path.lexists(path), path)
        self.assertFalse(os.path.exists(f"{BUNDLE}/old"))
        self.assertFalse(os.path.exists(VOLUME_TRASH))
        self.assertEqual(os.listdir(f"{HOME_TRASH}/files"), ["Quillmore.app"])

    def test_disk_that_fills_up_keeps_the_source_and_no_half_copy(self):
        self.put_launcher(SOURCE)
        self.mount_applications("256k")
        os.makedirs(f"{BUNDLE}/Contents")
        ended = self.launch(MOVE + "\n")
        self.assertIn(f'(nrm) What was at "{BUNDLE}" has been removed.\n' + FAILED, ended.output)
        self.assertIn("(ERR) Could not copy myself to /Applications with authorization\n", ended.errors)
        self.assertEqual(os.listdir("/Applications"), [])
        self.expect_went_on_from(SOURCE, ended)


class Killed(MoveTest):
    """The administrator's tool waits for one file in the middle of its copy."""

    policy = "grant"
    HELD = f"{SOURCE}/Contents/held"

    def setUp(self):
        super().setUp()
        self.put_launcher(SOURCE)
        pathlib.Path(self.HELD).write_text("held", encoding="utf-8")
        give(self.HELD, launcher.USER)
        self.machine.remove(BUNDLE)
        self.source = self.machine.state(SOURCE)
        self.running = self.machine.start(bundle=SOURCE)
        self.running.wait_for("> ")
        self.hold()
        self.running.answer(MOVE)
        launcher.wait_until(lambda: self.is_wanted, "a copy")

    def programs(self):
        """The program that holds the rights and those that it made of itself, the oldest first."""
        return sorted(self.machine.processes("quillmore-move-"))

    def hold(self):
        """Whoever opens the file waits for its release, which the system asks for by a signal."""
        def note(*_):
            self.is_wanted = True
        self.is_wanted = False
        signal.signal(signal.SIGIO, note)
        self.held = os.open(self.HELD, os.O_RDWR)
        try:
            fcntl.fcntl(self.held, fcntl.F_SETLEASE, fcntl.F_WRLCK)
        except OSError as problem:
            self.skipTest(f"no file can be held on this file system: {problem}")

    def release(self):
        os.close(self.held)

    def kill_launcher(self):
        self.running.send(signal.SIGKILL)
        self.assertEqual(self.running.process.wait(launcher.LONGEST), -signal.SIGKILL)

    def expect_closed_to_the_user(self):
        """Until it is whole: nobody can take the piece for an application."""
        self.assertFalse(os.path.exists(BUNDLE))
        self.assertTrue(os.path.exists(PIECE))
        self.assertEqual(self.machine.run_tool("ls", PIECE).returncode, 2)
        opened = self.machine.run_tool(f"{SOURCE}/Contents/SharedSupport/bin/open", PIECE)
        self.assertEqual(opened.stderr, f"The application {PIECE} cannot be opened.\n")

    def test_piece_of_a_copy_is_no_application_and_makes_room_for_the_next(self):
        self.kill_launcher()
        for program in self.programs():
            os.kill(program, signal.SIGKILL)
        launcher.wait_until(lambda: self.programs() == [], "the end of the programs")
        self.release()
        self.expect_closed_to_the_user()

        ended = self.launch(MOVE)
        self.assertIn(ASK + OFFER + PASSWORD, ended.output)
        self.expect_restarted(ended)
        self.expect_copy_of(self.source)
        self.assertFalse(os.path.exists(PIECE))

    def test_copy_whose_launcher_was_killed_goes_on_to_its_end(self):
        self.kill_launcher()
        self.expect_closed_to_the_user()
        self.release()
        launcher.wait_until(lambda: self.programs() == [], "the end of the programs")
        self.expect_copy_of(self.source)
        self.assertEqual(self.machine.state(SOURCE), self.source)

    def test_copy_that_is_killed_is_undone(self):
        os.kill(self.programs()[-1], signal.SIGKILL)
        self.expect_failed_move()
        self.assertEqual(os.listdir("/Applications"), [])

    def test_program_that_is_killed_is_a_failure_and_its_copy_comes_to_its_end(self):
        os.kill(self.programs()[0], signal.SIGKILL)
        self.release()
        self.expect_failed_move()
        self.expect_copy_of(self.source)

    def expect_failed_move(self):
        self.running.answer("\n")
        self.running.close_input()
        ended = self.running.end()
        self.assertIn("\nCould not move to Applications folder\n", ended.output)
        self.expect_went_on_from(SOURCE, ended)

    def test_polite_signal_waits_for_the_end_of_the_copy(self):
        self.running.send(signal.SIGTERM)
        launcher.wait_until(lambda: self.running.has_taken(signal.SIGTERM), "the signal")
        self.release()
        self.running.end()
        self.expect_copy_of(self.source)


class Denied(MoveTest):
    policy = "deny"

    def test_refused_right_is_a_failure_and_changes_nothing(self):
        self.put_launcher(SOURCE)
        before = self.machine.state(BUNDLE)
        ended = self.launch(MOVE + "\n")
        self.assertIn(FAILED, ended.output)
        self.assertEqual(ended.errors,
                         "(ERR) Could not copy myself to /Applications with authorization\n")
        self.assertEqual(self.machine.state(BUNDLE), before)
        self.expect_went_on_from(SOURCE, ended)


class Cancelled(MoveTest):
    policy = "none"

    def test_cancelled_password_is_no_failure(self):
        self.put_launcher(SOURCE)
        before = self.machine.state(BUNDLE)
        running = self.machine.start("-StdioLogging", "verbose", bundle=SOURCE)
        running.wait_for("> ")
        with subprocess.Popen([AGENT, str(running.pid)], user=launcher.USER, group=launcher.USER,
                              extra_groups=[], env=launcher.ENVIRONMENT, stdout=subprocess.PIPE,
                              text=True) as agent:
            self.assertEqual(agent.stdout.readline(), "ready\n")
            running.answer(MOVE)
            ended = running.end()
            self.assertEqual(agent.stdout.readline(), "asked\n")
            agent.kill()
        self.assertIn("(vrb) Asking for authorisation...\n(vrb) Authorisation denied\n"
                      "(nrm) Not moving because user canceled authorization\n", ended.output)
        self.assertNotIn("Could not move", ended.output)
        self.assertEqual(ended.errors, "")
        self.assertEqual(self.machine.state(BUNDLE), before)
        self.expect_went_on_from(SOURCE, ended)


class Asked(MoveTest):
    """As on a desktop's default: polkit keeps nothing, and here the terminal asks."""

    policy = "password"
    QUESTION = "\nQuillmore wants to move itself to the Applications folder.\n"
    RIGHT = "quillmore\n"

    def setUp(self):
        super().setUp()
        self.put_launcher(SOURCE)
        give(BUNDLE, 0)
        self.mark_as_old(BUNDLE)
        self.copies = self.put_older_copies(owner=0)
        self.before = self.machine.state("/Applications", f"{launcher.HOME}/Applications")
        self.running = self.machine.start(bundle=SOURCE, terminal=True)
        self.running.wait_for("> ")
        self.running.answer(MOVE)
        self.running.wait_for("Password: ")

    def expect_nothing_changed(self):
        self.assertEqual(self.machine.state("/Applications", f"{launcher.HOME}/Applications"), self.before)

    def test_one_question_serves_the_whole_move(self):
        self.running.answer(self.RIGHT)
        ended = self.running.end()
        self.assertEqual(ended.output.count("Password: "), 1)
        self.assertIn(self.QUESTION, ended.output)
        self.assertIn("/Helpers/quillmore-move-to-applications", ended.output)
        self.expect_restarted(ended)
        for path in self.copies:
            self.assertFalse(os.path.lexists(path), path)
        self.assertFalse(os.path.exists(f"{BUNDLE}/old"))

    def test_wrong_passwords_are_a_failure_and_change_nothing(self):
        for _ in range(3):
            self.running.answer("wrong\n")
            if _ < 2:
                self.running.wait_for("Password: ")
        self.running.wait_for("Could not move to Applications folder")
        self.expect_nothing_changed()
        self.running.answer("\n")
        self.expect_went_on_from(SOURCE, self.running.end())

    def test_end_of_input_is_the_cancellation_and_changes_nothing(self):
        self.running.answer("\4")
        ended = self.running.end()
        self.assertIn("(nrm) Not moving because user canceled authorization\n", ended.output)
        self.assertNotIn("Could not move", ended.output)
        self.expect_nothing_changed()
        self.expect_went_on_from(SOURCE, ended)

    def test_launcher_killed_at_the_question_changes_nothing(self):
        self.running.send(signal.SIGKILL)
        self.running.process.wait(launcher.LONGEST)
        for name in ("pkexec", "quillmore-move-"):
            launcher.wait_until(lambda: not self.machine.processes(name), f"the end of {name}")
        self.expect_nothing_changed()


class Volume(MoveTest):
    policy = "grant"
    PLACE = f"{VOLUME}/Quillmore.app"

    def mount(self, *options):
        """A volume that its user may unmount, as the table of volumes says."""
        os.makedirs(VOLUME)
        table = "/run/machine/fstab"
        with open(table, "w", encoding="utf-8") as file:
            file.write("image " + VOLUME.replace(" ", "\\040") + " tmpfs noauto,users,exec 0 0\n")
        subprocess.run(["mount", "--bind", table, "/etc/fstab"], check=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "image", VOLUME], check=True)
        self.put_launcher(self.PLACE)
        if options:
            subprocess.run(["mount", "-o", ",".join(("remount", *options)), VOLUME], check=True)

    def expect_unmounted(self):
        if not os.stat("/usr/bin/umount").st_mode & stat.S_ISUID or os.stat("/usr/bin/umount").st_uid:
            raise unittest.SkipTest("no umount here that a user may use")
        launcher.wait_until(lambda: not os.path.ismount(VOLUME), "the end of the volume")

    def test_launcher_moves_from_a_read_only_volume_which_is_unmounted_afterwards(self):
        self.mount("ro")
        self.machine.remove(BUNDLE)
        ended = self.launch(MOVE, self.PLACE)
        self.assertIn(ASK + OFFER + PASSWORD, ended.output)
        self.expect_restarted(ended)
        self.assertFalse(os.path.exists(HOME_TRASH))
        self.assertTrue(os.path.ismount(VOLUME))  # for another five seconds
        self.expect_unmounted()

    def test_volume_is_unmounted_though_the_launcher_was_started_in_it(self):
        self.mount("ro")
        self.open_applications()
        running = self.machine.start(bundle=self.PLACE, folder=VOLUME)
        running.answer(MOVE)
        self.expect_restarted(running.end())
        [core] = self.machine.core()
        self.assertEqual(os.readlink(f"/proc/{core}/cwd"), "/")
        self.expect_unmounted()

    def test_launcher_on_a_read_only_volume_can_replace_a_writable_copy(self):
        self.mount("ro")
        self.open_applications()
        self.mark_as_old(BUNDLE)
        ended = self.launch(MOVE, self.PLACE)
        self.assertIn(ASK + OFFER + "\n", ended.output)
        self.expect_restarted(ended)
        self.expect_is_old(f"{VOLUME_TRASH}/files/Quillmore.app")
        self.assertTrue(os.path.exists(f"{self.PLACE}/Contents/Info.plist"))

    def test_launcher_on_a_writable_volume_goes_to_the_trash_of_the_volume(self):
        self.mount()
        give(VOLUME, launcher.USER)
        self.open_applications()
        self.expect_restarted(self.launch(MOVE, self.PLACE))
        self.assertFalse(os.path.exists(self.PLACE))
        trash = f"{VOLUME}/.Trash-{launcher.USER}"
        self.assertTrue(os.path.exists(f"{trash}/files/Quillmore.app/Contents/Info.plist"))
        with open(f"{trash}/info/Quillmore.app.trashinfo", encoding="utf-8") as file:
            self.assertIn("\nPath=Quillmore.app\n", file.read())


if __name__ == "__main__":
    main()
