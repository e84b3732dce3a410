"""Levels of the two logs, and a log file that two launchers share."""
import collections
import os
import pathlib
import time

import launcher
from expectations import BUTTONS, LauncherTest
from machine import LOGS
from sandboxed import main



class Levels(LauncherTest):
    policy = "off"

    def setUp(self):
        super().setUp()
        # An error at each start: an entry of the catalogue that is none.
        self.machine.edit_catalogue(lambda items: items.append("nothing"))

    def levels(self, lines):
        return {line[:5] for line in lines if line.startswith("(")}

    def test_error_in_the_file_and_detailed_on_the_terminal(self):
        ended = self.machine.launch("-FileLogging", "error", "-StdioLogging", "detailed", answers="2\n")
        errors = self.machine.log_lines(ended)
        self.assertEqual(self.levels(errors), {"(ERR)"})
        self.assertEqual(len(errors), 1)
        self.assertEqual(ended.errors, errors[0] + "\n")
        self.assertEqual(self.levels(ended.output.split("\n")), {"(nrm)", "(vrb)", "(dtl)"})

    def test_detailed_in_the_file_and_error_on_the_terminal(self):
        ended = self.machine.launch("-FileLogging", "detailed", "-StdioLogging", "error", answers="2\n")
        self.assertEqual(self.levels(self.machine.log_lines(ended)), {"(ERR)", "(nrm)", "(vrb)", "(dtl)"})
        self.assertEqual(self.levels(ended.output.split("\n")), set())
        self.assertEqual(self.levels(ended.errors.split("\n")), {"(ERR)"})

    def test_level_lines_come_before_the_file_is_open(self):
        ended = self.machine.launch("-FileLogging", "detailed", "-StdioLogging", "verbose", answers="2\n")
        lines = ended.output.split("\n")
        self.assertIn("(vrb) Logging (file) level 3", lines)
        self.assertEqual(lines[lines.index("(vrb) Logging (file) level 3") + 1],
                         "(vrb) Logging (stdout) level 2")
        self.assertNotIn("Logging (", "\n".join(self.machine.log_lines(ended)))

    def test_settings_of_the_user_go_before_the_factory_ones(self):
        self.machine.write_settings(FileLogging="error", StdioLogging="verbose")
        ended = self.machine.launch(answers="2\n")
        self.assertEqual(self.levels(self.machine.log_lines(ended)), {"(ERR)"})
        self.assertEqual(self.levels(ended.output.split("\n")), {"(nrm)", "(vrb)"})


class Folder(LauncherTest):
    policy = "off"

    def test_folder_that_cannot_be_made_ends_the_start_with_the_reason(self):
        pathlib.Path(launcher.HOME, "Library").write_text("in the way", encoding="utf-8")
        ended = self.machine.launch(answers="\n")
        reason = f'NSGenericException (Failed to create "{LOGS}" (Not a directory))'
        self.assertIn(f"\nQuillmore could not be started\n{reason}\n  1) Quit (Return)\n> ", ended.output)
        self.assertEqual(ended.errors, f"(ERR) {reason}\n")
        self.assertEqual(ended.status, 1)

    def test_file_that_cannot_be_opened_ends_the_start_with_the_reason(self):
        os.makedirs(LOGS)  # root's
        ended = self.machine.launch(answers="\n")
        self.assertRegex(ended.errors, r"^\(ERR\) Configuration Fault \(Failed to open log file "
                         f'"{LOGS}/Quillmore-' r'[-\d]+\.log" for writing\)\n$')
        self.assertIn("\nQuillmore could not be started\nConfiguration Fault (Failed to open", ended.output)
        self.assertEqual(ended.status, 1)


class TwoLaunchers(LauncherTest):
    policy = "off"
    COUNT = 600

    def setUp(self):
        super().setUp()
        self.machine.edit_catalogue(lambda items: items.extend(
            {"Type": "Framework", "Name": f"Number {number}", "InstallPath": "/Library/" + "x" * 200}
            for number in range(self.COUNT)))

    def launch_together(self):
        """Both are at work at the same time; started as a second begins."""
        launcher.wait_until(lambda: time.time() % 1 < 0.05, "a new second")
        both = [self.machine.start("-FileLogging", "detailed") for _ in range(2)]
        for running in both:
            running.wait_for(BUTTONS)
            running.answer("2\n")
        return [running.end() for running in both]

    def test_launchers_of_one_second_share_a_file_without_mixing_lines(self):
        for _ in range(10):
            self.machine.remove(LOGS)
            both = self.launch_together()
            if len(self.machine.log_files()) == 1:
                break
        [file] = self.machine.log_files()
        lines = file.read_text(encoding="utf-8").splitlines()
        counts = collections.Counter()
        for line in lines:
            prefix = launcher.PREFIX.match(line)
            self.assertTrue(prefix, line)
            counts[int(prefix["process"])] += 1
            self.assertEqual(len(launcher.PREFIX.findall(line)), 1, line)
        self.assertEqual(set(counts), {ended.process for ended in both})
        first, second = (self.machine.log_lines(ended) for ended in both)
        self.assertEqual(first, second)
        self.assertGreater(len(first), 3 * self.COUNT)
        self.assertNotEqual([launcher.PREFIX.match(line)["process"] for line in lines],
                            sorted(launcher.PREFIX.match(line)["process"] for line in lines))


if __name__ == "__main__":
    main()
