"""What the user chooses at the install-check window, and signals that end the launcher."""
import signal

import launcher
from expectations import ALL, BUTTONS, INTEL, LauncherTest, window
from machine import CONTEXT_MENU, FILE_SYSTEM, UPDATE_TOOL
from sandboxed import main

FIXES = ["Fixes10_5"] if INTEL else []
QUIT = "(nrm) User chose to quit"
RUNNING = f'(vrb) UpdateToolManager:runExe: Running "{UPDATE_TOOL}"...'
SUCCEEDED = f'(vrb) UpdateToolManager:runExe: Succeeded running "{UPDATE_TOOL}"'


def received(number):
    return f"(nrm) Received signal {number:d}, will terminate now"


class Window(LauncherTest):
    policy = "off"

    def expect_nothing_done(self, ended):
        self.expect_installed()
        self.expect_no_core()
        self.assertEqual(ended.errors, "")

    def test_quit_button_ends_with_status_0_and_says_so_once(self):
        ended = self.machine.launch(answers="2\n\n\n")
        self.assertEqual(ended.status, 0)
        self.assertEqual(self.machine.log_lines().count(QUIT), 1)
        self.assertEqual(self.machine.log_lines()[-1], QUIT)
        self.assertEqual(ended.output.count(QUIT), 1)
        self.expect_nothing_done(ended)

    def test_closed_window_ends_with_status_0_and_says_nothing(self):
        ended = self.machine.launch(answers="")
        self.assertEqual(ended.status, 0)
        self.assertTrue(ended.output.endswith(window("file system", "helper programs") + "\n"))
        self.assertEqual(self.machine.log_lines()[-1], "(nrm) Quillmore did finish launching")
        self.expect_nothing_done(ended)

    def test_what_is_no_choice_asks_again(self):
        ended = self.machine.launch(answers="3\nyes\n0\n-1\n1 2\n 2 \n")
        self.assertEqual(ended.status, 0)
        self.assertEqual(ended.output.count(BUTTONS), 6)
        self.assertEqual(self.machine.log_lines().count(QUIT), 1)
        self.expect_nothing_done(ended)

    def test_last_line_without_an_end_is_an_answer(self):
        ended = self.machine.launch(answers="2")
        self.assertEqual(self.machine.log_lines()[-1], QUIT)
        self.expect_nothing_done(ended)


class WindowTexts(LauncherTest):
    repaired = True
    policy = "off"

    def test_other_bundle_that_is_missing_alone_names_no_components(self):
        self.machine.edit_catalogue(lambda items: items.append(
            {"Type": "Bundle", "Name": "Other", "InstallPath": "/Library/Other.bundle", "Version": "1.0.0"}))
        self.assertIn(window(), self.machine.launch().output)

    def test_later_bundle_takes_the_file_system_out_of_the_text(self):
        self.machine.edit_catalogue(lambda items: items.append(
            {"Type": "Bundle", "Name": "Other", "InstallPath": "/Library/Other.bundle", "Version": "1.0.0"}))
        self.machine.remove(FILE_SYSTEM)
        self.assertIn(window(), self.machine.launch().output)


class SignalsAtTheWindow(LauncherTest):
    policy = "off"

    def test_signal_ends_the_launcher_at_once_and_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                running = self.machine.start()
                running.wait_for(BUTTONS)
                running.send(number)
                ended = running.end()
                self.assertEqual(ended.status, 128 + number)
                self.assertEqual(self.machine.log_lines(ended)[-1], received(number))
                self.assertEqual(ended.errors, "")
        self.expect_installed()

    def test_ctrl_c_on_the_terminal_ends_the_launcher(self):
        running = self.machine.start(terminal=True)
        running.wait_for(BUTTONS)
        running.answer("\x03")
        self.assertEqual(running.end().status, 128 + signal.SIGINT)


class SignalsDuringARepair(LauncherTest):
    """Another installation holds the lock, so that the command goes on until the test lets it."""

    repaired = True

    def setUp(self):
        super().setUp()
        self.machine.remove(FILE_SYSTEM, CONTEXT_MENU)

    def start_repair(self, **options):
        running = self.machine.start("-StdioLogging", "verbose", "-FileLogging", "verbose",
                                     **options)
        running.wait_for(BUTTONS)
        running.answer("\n")
        return running

    def wait_for_command(self, running):
        running.wait_for(RUNNING)
        launcher.wait_until(lambda: self.machine.is_working_on("repairpackage"), "the command")

    def expect_kept(self, running, number):
        launcher.wait_until(lambda: running.has_taken(number), "the signal's arrival")
        self.assertIsNone(running.process.poll())

    def expect_ended_after_the_command(self, running, number):
        ended = running.end()
        self.assertEqual(ended.status, 128 + number)
        self.assertEqual(self.machine.log_lines(ended)[-3:],
                         [RUNNING, SUCCEEDED, received(number)])
        self.assertEqual(sorted(self.machine.commands()), ["repair", "repairpackage"])
        self.expect_installed(*[name for name in ALL if name != "QuillmoreCM"], *FIXES)
        self.expect_no_core()

    def test_sigterm_waits_for_the_end_of_the_command_and_starts_no_other(self):
        with self.machine.locked_installation():
            running = self.start_repair()
            self.wait_for_command(running)
            running.send(signal.SIGTERM)
            self.expect_kept(running, signal.SIGTERM)
        self.expect_ended_after_the_command(running, signal.SIGTERM)

    def test_ctrl_c_does_not_cut_the_command_either(self):
        with self.machine.locked_installation():
            running = self.start_repair(terminal=True)
            self.wait_for_command(running)
            running.answer("\x03")
            self.expect_kept(running, signal.SIGINT)
        self.expect_ended_after_the_command(running, signal.SIGINT)

    def test_signal_between_two_commands_ends_the_launcher_at_once(self):
        running = self.start_repair()
        running.wait_for("runUninstalledUpdateToolAsAdmin: Succeeded")
        running.send(signal.SIGTERM)  # in the pause after it
        ended = running.end()
        self.assertEqual(ended.status, 128 + signal.SIGTERM)
        self.assertEqual(self.machine.log_lines(ended)[-1], received(signal.SIGTERM))
        self.expect_installed(*[name for name in ALL if name not in ("QuillmoreFS", "QuillmoreCM")],
                              *FIXES)


if __name__ == "__main__":
    main()
