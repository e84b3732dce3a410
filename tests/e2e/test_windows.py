"""The launcher's windows on a real display: what a user reads and presses there."""
import pathlib
import shutil
import sys

import launcher
from expectations import ALL, INTEL, LauncherTest, REPAIR_INFO, window
from launcher import wait_until
from machine import BUNDLE, RESOURCES
from sandboxed import INSIDE, main
from window_display import Display, PROGRAMS, flattened

FIXES = ["Fixes10_5"] if INTEL else []
EVERYTHING = (REPAIR_INFO + "\n\nThe following will be installed:\n - the Quillmore file system"
              "\n - the helper programs of Quillmore\n")
INSTALLING = "Installing the components of Quillmore..."
FAILED_TITLE = "The installation failed"
FAILED_TEXT = ("Some components of Quillmore could not be installed. Please try again, or reinstall"
               " Quillmore.")
TOOLKIT = ("libQt6", "libquillmore_qt", "libxcb", "libglib", "libsecret", "libpolkit", "libcrypto")


class WindowTest(LauncherTest):
    def setUp(self):
        super().setUp()
        self.display = Display()

    def start(self, **environment):
        return self.machine.start(**{**self.display.environment, **environment})

    def start_and_wait(self, **environment):
        """A launcher whose check window is up and has the keyboard."""
        running = self.start(**environment)
        self.display.wait_for(EVERYTHING)
        self.wait_for_keyboard(1)
        return running

    def wait_for_keyboard(self, windows):
        ids = self.display.wait_for_windows(windows)
        wait_until(lambda: self.display.active_window() in ids, "an active window")
        return self.display.active_window()


class Repairs(WindowTest):
    def test_return_installs_everything_and_starts_the_core(self):
        running = self.start_and_wait()
        self.display.press("Return")
        self.display.wait_for(INSTALLING)
        _, sheet = self.display.wait_for_windows(2)
        first = self.display.picture(window=sheet)
        wait_until(lambda: self.display.picture(window=sheet) != first, "progress that moves")
        ended = running.end()
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.assertEqual(self.machine.log_problems(), [])

    def test_failure_is_a_sheet_and_a_second_try_can_succeed(self):
        payload = f"{RESOURCES}/qmstatus"
        self.machine.flip_byte(payload)
        running = self.start_and_wait()
        self.display.press("Return")
        windows = self.display.wait_for(FAILED_TITLE, FAILED_TEXT)
        self.assertNotIn(INSTALLING, [node["name"] for node in flattened(windows)])
        alert = self.wait_for_keyboard(2)
        check = next(each for each in self.display.window_ids() if each != alert)
        self.display.close(check)
        self.display.press("Return")
        self.wait_for_keyboard(1)
        self.assertIsNone(running.process.poll())  # it did not close under its sheet
        self.machine.flip_byte(payload)
        self.display.press("Return")
        self.expect_core_started(running.end())
        self.expect_installed(*ALL, *FIXES)


class Choices(WindowTest):
    policy = "off"

    def expect_untouched(self):
        self.expect_installed()
        self.expect_no_core()

    def test_window_is_centred_floats_and_has_the_keyboard(self):
        self.start_and_wait()
        [window_id] = self.display.window_ids()
        self.assertEqual(self.display.active_window(), window_id)
        self.assertTrue(self.display.is_above(window_id))
        x, y, width, height = self.display.outer_geometry(window_id)
        self.assertAlmostEqual(x + width / 2, 512, delta=8)
        self.assertAlmostEqual(y + height / 2, 384, delta=8)

    def test_quit_button_by_keyboard(self):
        running = self.start_and_wait()
        self.display.press("Tab", "space")
        ended = running.end()
        self.assertEqual(ended.status, 0)
        self.assertEqual(self.machine.log_lines(ended)[-1], "(nrm) User chose to quit")
        self.expect_untouched()

    def test_closing_the_window_ends_without_a_word(self):
        running = self.start_and_wait()
        self.display.close(self.display.active_window())
        ended = running.end()
        self.assertEqual(ended.status, 0)
        self.assertEqual(self.machine.log_lines(ended)[-1], "(nrm) Quillmore did finish launching")
        self.expect_untouched()

    def test_escape_changes_nothing(self):
        running = self.start_and_wait()
        self.display.press("Escape", "Tab", "space")
        self.assertEqual(self.machine.log_lines(running.end())[-1], "(nrm) User chose to quit")

    def test_display_that_is_lost_ends_the_launcher(self):
        running = self.start_and_wait()
        self.display.remove()
        ended = running.end()
        self.assertEqual(ended.status, 1)
        self.assertEqual(self.machine.log_problems(ended), ["(ERR) The display was lost, will terminate now"])

    def test_signal_ends_it_as_ever(self):
        import signal
        running = self.start_and_wait()
        running.send(signal.SIGTERM)
        self.assertEqual(running.end().status, 128 + signal.SIGTERM)


class Accessible(WindowTest):
    def found(self, windows):
        """(role, name) of everything that can be read and is more than a container."""
        return [(node["role"], node["name"]) for node in flattened(windows) if node["name"]]

    def test_every_control_of_the_check_window_has_a_name_and_a_role(self):
        self.start_and_wait()
        windows = self.display.wait_for(EVERYTHING)
        self.assertCountEqual(self.found(windows), [
            ("dialog", "Quillmore"), ("heading", "Installing Quillmore"), ("label", EVERYTHING),
            ("push button", "Continue"), ("push button", "Quit")])
        for node in flattened(windows):
            if node["role"] == "push button":
                self.assertIn("focusable", node["states"])
                self.assertEqual("focused" in node["states"], node["name"] == "Continue")

    def test_every_control_of_the_progress_sheet_has_a_name_and_a_role(self):
        self.start_and_wait()
        self.display.press("Return")
        windows = self.display.wait_for(INSTALLING)
        found = self.found(windows)
        for control in (("label", INSTALLING), ("progress bar", INSTALLING)):
            self.assertIn(control, found)

    def test_failure_alert_reads_as_its_message(self):
        self.machine.flip_byte(f"{RESOURCES}/updateqm")
        self.start_and_wait()
        self.display.press("Return")
        windows = self.display.wait_for(FAILED_TITLE, FAILED_TEXT)
        [alert] = [node for node in flattened(windows) if node["role"] == "alert"]
        self.assertEqual((alert["name"], alert["description"]), (FAILED_TITLE, FAILED_TEXT))
        self.assertIn(("push button", "OK"), self.found([alert]))


class Running(WindowTest):
    policy = "off"
    repaired = True

    def test_alert_of_a_second_start_leaves_the_running_core_alone(self):
        self.machine.launch()
        [core] = self.machine.core()
        running = self.start()
        windows = self.display.wait_for("Quillmore is already running")
        [alert] = [node for node in flattened(windows) if node["role"] == "alert"]
        self.assertEqual((alert["name"], alert["description"]),
                         ("Quillmore is already running",
                          "You must quit Quillmore before you can start it again."))
        self.assertIn("push button", [node["role"] for node in flattened([alert]) if node["name"] == "Quit"])
        self.wait_for_keyboard(1)
        self.display.press("Return")
        ended = running.end()
        self.assertEqual(ended.status, 0)
        self.assertEqual(self.machine.log_lines(ended)[-2:],
                         ["(nrm) Letting other copy run, we will terminate", "(nrm) User did quit"])
        self.assertEqual(self.machine.core(), [core])

    def test_clean_start_maps_no_toolkit(self):
        """The loader itself says what it maps."""
        ended = self.machine.launch(**self.display.environment, LD_DEBUG="files",
                                    LD_DEBUG_OUTPUT=f"{launcher.HOME}/loaded")
        self.expect_core_started(ended)
        [said] = pathlib.Path(launcher.HOME).glob(f"loaded.{ended.process}")
        said = said.read_text(encoding="utf-8", errors="replace")
        self.assertIn("libc.so", said)
        self.assertEqual([name for name in TOOLKIT if name in said], [])

    def test_check_that_needs_the_window_maps_the_toolkit(self):
        self.machine.remove(f"/Library/Application Support/Quillmore/qmstatus")
        running = self.start()
        self.display.wait_for_windows(1)
        maps = pathlib.Path(f"/proc/{running.pid}/maps").read_text(encoding="utf-8")
        self.assertIn("libQt6Widgets", maps)
        self.assertIn(f"{BUNDLE}/Contents/PlugIns/libquillmore_qt.so", maps)


class Fallback(LauncherTest):
    policy = "off"

    def expect_terminal(self, ended, *problems):
        self.assertEqual(ended.status, 0)
        self.assertIn(window("file system", "helper programs"), ended.output)
        self.assertEqual(self.machine.log_problems(ended), [*problems])

    def test_display_that_is_not_there(self):
        ended = self.machine.launch(answers="2\n", DISPLAY=":77")
        self.expect_terminal(ended, "(ERR) No window can be shown: could not connect to display :77"
                             " - the terminal is used")
        self.assertEqual(ended.status, 0)

    def test_module_that_is_missing(self):
        self.machine.remove(f"{BUNDLE}/Contents/PlugIns/libquillmore_qt.so")
        ended = self.machine.launch(answers="2\n", DISPLAY=":77")
        [problem] = self.machine.log_problems(ended)
        self.assertRegex(problem, r"^\(ERR\) /.*/libquillmore_qt\.so: .* - the terminal is used$")
        self.expect_terminal(ended, problem)

    def test_terminal_on_request_although_there_is_a_display(self):
        display = Display()
        ended = self.machine.launch(answers="2\n", **display.environment, QUILLMORE_UI="console")
        self.expect_terminal(ended)

    def test_windows_on_request_without_a_display(self):
        ended = self.machine.launch(answers="2\n", QUILLMORE_UI="qt")
        [problem] = self.machine.log_problems(ended)
        self.expect_terminal(ended, problem)
        self.assertIn("No window can be shown", problem)


def missing_program():
    for program in PROGRAMS:
        if shutil.which(program) is None:
            return program
    return None


if __name__ == "__main__":
    if INSIDE not in sys.argv and missing_program():
        print(f"skipped: {missing_program()} is not installed (Packaging/setup)")
        sys.exit(77)
    main()
