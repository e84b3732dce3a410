"""The offer to move into the Applications folder, and the move with the Trash."""
import os
import signal

import launcher
from machine import BUNDLE
from moving import (ASK, DECLINE, DOWNLOADS, HOME_TRASH, MOVE, MoveTest, OFFER, PASSWORD, SOURCE,
                    TICK, VOLUME_TRASH, give)
from sandboxed import main


class Declined(MoveTest):
    policy = "off"

    def test_offer_comes_again_after_declining_without_the_box(self):
        self.put_launcher(SOURCE)
        for _ in range(2):
            ended = self.launch(DECLINE)
            self.assertIn(ASK + OFFER + PASSWORD, ended.output)
            self.expect_went_on_from(SOURCE, ended)
            self.machine.quit_core()

    def test_offer_never_comes_again_after_declining_with_the_box(self):
        self.put_launcher(SOURCE)
        ended = self.launch(TICK + DECLINE)
        self.assertIn("  s) [x] Do not show this message again\n", ended.output)
        self.expect_went_on_from(SOURCE, ended)
        self.machine.quit_core()
        again = self.launch("")
        self.assertNotIn(ASK, again.output)
        self.expect_went_on_from(SOURCE, again)

    def test_end_of_input_declines(self):
        self.put_launcher(SOURCE)
        self.expect_went_on_from(SOURCE, self.launch(""))
        self.assertTrue(os.path.exists(SOURCE))

    def test_launcher_that_cannot_be_deleted_is_not_offered_the_move(self):
        place = "/Library/Tools/Quillmore.app"
        self.put_launcher(place, owner=0)
        ended = self.launch("", place)
        self.assertIn("(nrm) No access to delete the app. Not offering to move it.\n", ended.output)
        self.assertNotIn(ASK, ended.output)
        self.expect_went_on_from(place, ended)

    def test_applications_folder_of_the_user_is_a_good_place(self):
        place = f"{launcher.HOME}/Applications/Tools/Quillmore.app"
        self.put_launcher(place)
        ended = self.launch("", place)
        self.assertNotIn(ASK, ended.output)
        self.expect_went_on_from(place, ended)


class Moved(MoveTest):
    policy = "off"

    def setUp(self):
        super().setUp()
        self.open_applications()
        self.put_launcher(SOURCE)
        self.mark_as_old(BUNDLE)

    def test_launcher_moves_from_the_downloads_folder_and_starts_again(self):
        ended = self.launch(MOVE)
        self.assertIn(ASK + OFFER + DOWNLOADS, ended.output)
        self.assertEqual(ended.errors, "")
        self.expect_restarted(ended)
        self.expect_is_old(f"{VOLUME_TRASH}/files/Quillmore.app")
        self.assertFalse(os.path.exists(SOURCE))
        self.assertTrue(os.path.exists(f"{HOME_TRASH}/files/Quillmore.app/Contents/Info.plist"))
        with open(f"{HOME_TRASH}/info/Quillmore.app.trashinfo", encoding="utf-8") as file:
            self.assertIn(f"\nPath={SOURCE}\n", file.read())

    def test_copy_is_the_source_and_the_users_own(self):
        source = self.machine.state(SOURCE)
        self.expect_restarted(self.launch(MOVE))
        self.expect_copy_of(source)

    def test_older_copies_of_all_kinds_go_to_the_trash(self):
        home = f"{launcher.HOME}/Applications"
        copies = self.put_older_copies(launcher.USER)
        self.expect_restarted(self.launch(MOVE))
        for path in copies:
            self.assertFalse(os.path.lexists(path), path)
            trash = HOME_TRASH if path.startswith(home) else VOLUME_TRASH
            self.assertTrue(os.path.exists(f"{trash}/files/{os.path.basename(path)}"), path)

    def test_moved_launcher_offers_nothing_more(self):
        self.expect_restarted(self.launch(MOVE))
        self.machine.quit_core()
        self.assertNotIn(ASK, self.launch("", BUNDLE).output)

    def test_users_choice_of_a_downloads_folder_counts(self):
        folder = f"{launcher.HOME}/.config"
        self.machine.make_users_folder(folder)
        with open(f"{folder}/user-dirs.dirs", "w", encoding="utf-8") as file:
            file.write('XDG_DOWNLOAD_DIR="$HOME/Incoming"\n')
        self.assertIn(ASK + OFFER + "\n", self.launch(DECLINE).output)
        self.machine.quit_core()
        place = f"{launcher.HOME}/Incoming/Quillmore.app"
        self.put_launcher(place)
        self.assertIn(ASK + OFFER + DOWNLOADS, self.launch(DECLINE, place).output)

    def test_launcher_on_a_terminal_asks_and_moves(self):
        running = self.machine.start(bundle=SOURCE, terminal=True)
        running.wait_for("> ")
        running.answer("s\n")
        running.wait_for("  s) [x] Do not show this message again")
        running.answer("1\n")
        self.expect_restarted(running.end())

    def test_name_may_hold_whatever_a_shell_would_take_for_its_own(self):
        name = 'My $HOME "Quillmore" `id` %@ \\ *; &\n#.app'
        place, target = f"{launcher.HOME}/Downloads/{name}", f"/Applications/{name}"
        self.put_launcher(place)
        os.makedirs(target)
        give(target, launcher.USER)
        self.expect_restarted(self.launch(MOVE, place), target)
        self.assertFalse(os.path.exists(place))
        self.assertEqual(sorted(os.listdir(f"{HOME_TRASH}/files")), [name])

    def test_second_launcher_that_asked_meanwhile_leaves_the_moved_copy_alone(self):
        first, second = (self.machine.start(bundle=SOURCE) for _ in range(2))
        for running in (first, second):
            running.wait_for("> ")
        first.answer(MOVE)
        ended = first.end()
        moved = self.machine.state(BUNDLE)
        second.answer(MOVE)
        second.wait_for(f'(nrm) "{SOURCE}" is no longer there.\n\nCould not move to Applications folder\n  1)')
        self.assertEqual(self.machine.state(BUNDLE), moved)
        second.send(signal.SIGKILL)
        second.end()
        self.expect_restarted(ended)

    def test_old_copy_without_a_trash_stays_and_the_move_fails(self):
        for place in (VOLUME_TRASH, f"{launcher.HOME}/.local"):
            with open(place, "w", encoding="utf-8"):
                pass
        ended = self.launch(MOVE + "\n")
        self.assertIn(f'(nrm) I am still at "{SOURCE}".\n'
                      "\nCould not move to Applications folder\n  1)", ended.output)
        self.assertIn(f'(ERR) Could not trash "{BUNDLE}"\n', ended.errors)
        self.expect_is_old(BUNDLE)
        self.expect_went_on_from(SOURCE, ended)


class FullDisk(MoveTest):
    policy = "off"

    def test_failed_copy_leaves_the_old_one_in_the_trash_and_the_source_in_place(self):
        self.put_launcher(SOURCE)
        self.mount_applications("256k")
        os.makedirs(f"{BUNDLE}/Contents")
        self.mark_as_old(BUNDLE)
        self.open_applications()
        ended = self.launch(MOVE + "\n")
        self.assertIn(f'(nrm) What was at "{BUNDLE}" is in the Trash.\n'
                      f'(nrm) I am still at "{SOURCE}".\n'
                      "\nCould not move to Applications folder\n  1)", ended.output)
        self.assertIn(f"(ERR) Could not copy '{SOURCE}' to '{BUNDLE}' (", ended.errors)
        self.assertIn("No space left on device", ended.errors)
        self.assertIn(f"(ERR) Could not copy myself to {BUNDLE}\n", ended.errors)
        self.expect_is_old(f"{VOLUME_TRASH}/files/Quillmore.app")
        self.assertEqual(os.listdir("/Applications"), [os.path.basename(VOLUME_TRASH)])
        self.expect_went_on_from(SOURCE, ended)


class Killed(MoveTest):
    policy = "off"
    PIECE = "/Applications/.Quillmore.app.partial"

    def start_copy(self):
        """A launcher that is in the middle of its copy."""
        self.put_launcher(SOURCE)
        with open(f"{SOURCE}/Contents/large", "wb") as file:
            file.truncate(300 << 20)
        self.mount_applications("400m")
        os.makedirs(f"{BUNDLE}/Contents")
        self.mark_as_old(BUNDLE)
        self.open_applications()
        running = self.machine.start(bundle=SOURCE)
        running.answer(MOVE)
        launcher.wait_until(lambda: os.path.exists(f"{self.PIECE}/Contents/large"), "a copy")
        return running

    def test_piece_of_a_copy_is_no_application_and_goes_at_the_next_start(self):
        running = self.start_copy()
        running.send(signal.SIGKILL)
        self.assertEqual(running.end().status, -signal.SIGKILL)
        self.assertTrue(os.path.exists(self.PIECE))
        self.assertFalse(os.path.exists(BUNDLE))
        self.expect_is_old(f"{VOLUME_TRASH}/files/Quillmore.app")
        self.assertTrue(os.path.exists(f"{SOURCE}/Contents/MacOS/Quillmore"))

        ended = self.launch(DECLINE)
        self.assertIn(f'(nrm) Removed "{self.PIECE}", which an interrupted move left\n', ended.output)
        self.assertFalse(os.path.exists(self.PIECE))
        self.expect_went_on_from(SOURCE, ended)

    def test_polite_signal_waits_for_the_end_of_the_copy(self):
        running = self.start_copy()
        running.send(signal.SIGTERM)
        running.end()
        self.assertFalse(os.path.exists(self.PIECE))
        self.assertEqual(os.stat(f"{BUNDLE}/Contents/large").st_size, 300 << 20)


if __name__ == "__main__":
    main()
