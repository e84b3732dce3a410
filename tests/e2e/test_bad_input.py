"""Files of the bundle and of the user that are missing, damaged, of another kind or far too large."""
import os
import pathlib
import plistlib
import signal

import launcher
from expectations import LauncherTest, launching_core, window
from machine import BUNDLE, CONTEXT_MENU, FILE_SYSTEM, RESOURCES, SETTINGS
from sandboxed import main

STRINGS = f"{RESOURCES}/en.lproj/Localizable.strings"
DEPTH = 100_000


def _deep(path):
    path.write_text("<plist>" + "<array>" * DEPTH + "</array>" * DEPTH + "</plist>", encoding="ascii")


def _replace_by(make):
    def harm(path):
        path.unlink()
        make(path)
    return harm


def _truncate(path):
    path.write_bytes(path.read_bytes()[:path.stat().st_size * 2 // 3])


# Ways in which a file is not what it should be. None of them is "missing".
HARMS = {
    "empty": lambda path: path.write_bytes(b""),
    "truncated": _truncate,
    "100 MB": lambda path: os.truncate(path, 100_000_000),
    "deeply nested": _deep,
    "not UTF-8": lambda path: path.write_bytes(b"<plist><dict><key>\xff\xfe\xe9</key></dict></plist>"),
    "bytes": lambda path: path.write_bytes(bytes(range(256)) * 16),
    "binary list cut short": lambda path: path.write_bytes(b"bplist00\xd1\x01"),
    "another kind": lambda path: path.write_bytes(plistlib.dumps(["a", {"b": 1}])),
    "unreadable": lambda path: path.chmod(0),
    "folder": _replace_by(lambda path: path.mkdir()),
    "FIFO": _replace_by(os.mkfifo),
    "device": _replace_by(lambda path: path.symlink_to("/dev/zero")),
}


class BadInput(LauncherTest):
    repaired = True
    policy = "off"

    def for_each_harm(self, file, expect, but=()):
        """Does each harm to the file and calls `expect`; in between it is as it was."""
        path = pathlib.Path(file)
        content, status = path.read_bytes(), path.stat()
        for name, harm in HARMS.items():
            if name in but:
                continue
            with self.subTest(name):
                harm(path)
                expect()
            self.machine.quit_core()
            self.machine.remove(file)
            path.write_bytes(content)
            os.chmod(path, status.st_mode & 0o7777)
            os.chown(path, status.st_uid, status.st_gid)

    def launch_anyway(self, *arguments):
        ended = self.machine.launch(*arguments)
        self.expect_core_started(ended)
        return ended

    def expect_named(self, file, problems):
        """One problem, and it names the file and says more than that."""
        named = [line for line in problems if f'"{file}"' in line]
        self.assertEqual(len(named), 1, problems)
        self.assertGreater(len(named[0]), len(f'(ERR) "{file}": '), named)


class Resources(BadInput):
    def test_missing_files_are_no_problem(self):
        for file in (f"{RESOURCES}/Config.plist", f"{RESOURCES}/RequiredItems.plist", f"{BUNDLE}/Contents/Info.plist"):
            with self.subTest(file):
                self.machine.remove(file)
                self.assertEqual(self.launch_anyway().errors, "")
                self.machine.quit_core()

    def test_damaged_configuration_is_named_and_does_without(self):
        file = f"{RESOURCES}/Config.plist"
        self.for_each_harm(file, lambda: self.expect_named(
            file, self.launch_anyway().errors.splitlines()))

    def test_damaged_catalogue_is_named_and_asks_for_nothing(self):
        self.machine.remove(CONTEXT_MENU)
        file = f"{RESOURCES}/RequiredItems.plist"

        def expect():
            ended = self.launch_anyway("-FileLogging", "verbose")
            self.expect_named(file, self.machine.log_problems(ended))
            self.assertEqual(self.statuses_in(ended), {})
        self.for_each_harm(file, expect)

    def test_damaged_information_is_named_and_the_version_is_the_built_in_one(self):
        file = f"{BUNDLE}/Contents/Info.plist"

        def expect():
            ended = self.launch_anyway()
            self.expect_named(file, ended.errors.splitlines())
            self.assertIn("(nrm) Quillmore version 1.15.4 (1856)\n", ended.output)
        self.for_each_harm(file, expect)

    def test_damaged_settings_of_the_user_are_named_and_the_factory_ones_hold(self):
        self.machine.write_settings(FileLogging="detailed")

        def expect():
            ended = self.launch_anyway()
            self.expect_named(SETTINGS, self.machine.log_problems(ended))
            self.assertNotIn("(dtl)", "".join(self.machine.log_lines(ended)))
        self.for_each_harm(SETTINGS, expect)


class StringTables(BadInput):
    def test_missing_table_shows_the_keys(self):
        self.machine.remove(STRINGS, CONTEXT_MENU)
        ended = self.machine.launch(answers="2\n")
        self.assertIn("\nProductName\nQuillmoreLauncher_RepairInfoQuillmoreLauncher_Components"
                      "QuillmoreLauncher_Helpers\n  1) Continue (Return)\n"
                      "  2) QuillmoreLauncher_DontInstall\n> ", ended.output)
        self.assertEqual((ended.status, ended.errors), (0, ""))
        self.assertEqual(os.listdir("/home/user/Library/Logs"), ["ProductName"])

    def test_damaged_table_is_named_and_shows_the_keys(self):
        def expect():
            ended = self.machine.launch()
            self.expect_named(STRINGS, ended.errors.splitlines())
            # The core is named after the product, whose name is a key now.
            self.assertTrue(ended.output.endswith("\n".join([*launching_core("(null)"), ""])))
            self.assertEqual(ended.status, 0)
            self.expect_no_core()
        self.for_each_harm(STRINGS, expect, but=["empty"])  # that is a table without texts

    def test_damaged_table_of_the_users_language_is_named_and_english_is_next(self):
        german = f"{RESOURCES}/de.lproj/Localizable.strings"
        pathlib.Path(german).write_text('"ProductName" = "Quillmore', encoding="utf-8")
        ended = self.launch_anyway("-AppleLanguages", "(de)")
        self.expect_named(german, ended.errors.splitlines())


class Defaults(BadInput):
    FILE = f"{RESOURCES}/Defaults.plist"

    def expect_assertion(self, ended, expression):
        self.assertEqual(ended.status, -signal.SIGABRT)
        self.assertRegex(ended.errors.splitlines()[-1], r"^\(ERR\) ASSERTION ERROR: " + expression
                         + r' \(file "[\w/.+]+", line \d+\)$')
        self.assertEqual(ended.output, "")
        self.expect_no_core()

    def test_missing_file_is_an_assertion(self):
        self.machine.remove(self.FILE)
        ended = self.machine.launch()
        self.expect_assertion(ended, "fileLevel")
        self.assertEqual(len(ended.errors.splitlines()), 1)

    def test_damaged_file_is_named_before_the_assertion(self):
        def expect():
            ended = self.machine.launch()
            self.expect_named(self.FILE, ended.errors.splitlines()[:-1])
            self.expect_assertion(ended, "fileLevel")
        self.for_each_harm(self.FILE, expect)

    def test_each_level_must_be_there_and_not_empty(self):
        for key, name in (("FileLogging", "fileLevel"), ("StdioLogging", "stdoutLevel")):
            for value, expression in ((None, name), ("", rf"\[{name} length\]"), (["normal"], name),
                                      ({"normal": 1}, name)):
                with self.subTest(f"{key}: {value}"):
                    levels = {"FileLogging": "normal", "StdioLogging": "normal", key: value}
                    content = {key: value for key, value in levels.items() if value is not None}
                    pathlib.Path(self.FILE).write_bytes(plistlib.dumps(content))
                    self.expect_assertion(self.machine.launch(), expression)

    def test_word_that_is_no_level_is_shown_and_ends_the_start(self):
        for word, argument, which in (("Verbose", "-FileLogging", "file"), ("loud", "-StdioLogging", "stdout")):
            with self.subTest(which):
                ended = self.machine.launch(argument, word, answers="\n")
                fault = f'Configuration Fault (Invalid {which} logging level "{word}")'
                self.assertEqual(ended.output, f"\nQuillmore could not be started\n{fault}\n"
                                 "  1) Quit (Return)\n> \n")
                self.assertEqual(ended.errors, f"(ERR) {fault}\n")
                self.assertEqual(ended.status, 1)
                self.expect_no_core()


class ProblemsBeforeTheLogFile(BadInput):
    """What is damaged before the log has its file: said at once, and the first lines of the file."""

    HALF = '<plist><dict><key>half'

    def damage(self, *files):
        for file in files:
            if file.startswith(launcher.HOME):
                self.machine.make_users_folder(os.path.dirname(file))
            pathlib.Path(file).write_text('"half' if file == STRINGS else self.HALF, encoding="utf-8")

    def expect_in_the_file(self, *files, arguments=()):
        """In the order in which they were found, each once."""
        self.damage(*files)
        ended = self.machine.launch(*arguments)
        self.assertEqual(ended.status, 0, ended)
        [log] = pathlib.Path(launcher.HOME, "Library/Logs").glob("*/*/*.log")
        lines = launcher.plain(log.read_text(encoding="utf-8")).splitlines()
        problems = [line for line in lines if line.startswith("(ERR)")]
        self.assertEqual(problems, ended.errors.splitlines())
        self.assertEqual(problems, lines[:len(files)])
        for file, problem in zip(files, problems):
            self.expect_named(file, [problem])

    def test_damaged_configuration(self):
        self.expect_in_the_file(f"{RESOURCES}/Config.plist")

    def test_damaged_factory_settings_with_levels_of_the_command_line(self):
        self.expect_in_the_file(Defaults.FILE, arguments=("-FileLogging", "normal", "-StdioLogging", "normal"))

    def test_damaged_string_table(self):
        self.expect_in_the_file(STRINGS)

    def test_damaged_information(self):
        self.expect_in_the_file(f"{BUNDLE}/Contents/Info.plist")

    def test_damaged_settings_of_the_user(self):
        self.expect_in_the_file(SETTINGS)

    def test_all_of_them_in_their_order(self):
        levels = ("-FileLogging", "error", "-StdioLogging", "error")
        user = f"{launcher.HOME}/Library/Preferences/Quillmore.plist"  # a program without an identifier
        self.expect_in_the_file(user, f"{BUNDLE}/Contents/Info.plist", f"{RESOURCES}/Config.plist",
                                Defaults.FILE, STRINGS, arguments=levels)


class Catalogues(BadInput):
    def write(self, content):
        pathlib.Path(f"{RESOURCES}/RequiredItems.plist").write_bytes(plistlib.dumps(content))

    def test_list_of_another_kind_asks_for_nothing(self):
        file = f"{RESOURCES}/RequiredItems.plist"
        for content, is_told in (({}, False), ({"RequiredItems": []}, False), ({"RequiredItems": "x"}, True),
                                 ({"RequiredItems": {"Type": "QMTool"}}, True), ({"RequiredItems": 1}, True)):
            with self.subTest(str(content)):
                self.write(content)
                problems = self.machine.log_problems(self.launch_anyway())
                self.assertEqual(problems, [f'(ERR) "{file}": "RequiredItems" is not an array - '
                                            "nothing will be checked"] if is_told else [])
                self.machine.quit_core()

    def test_entries_that_are_no_dictionaries_are_skipped_and_told(self):
        file = f"{RESOURCES}/RequiredItems.plist"
        self.write({"RequiredItems": ["x", 1, [], {"Type": "Framework", "Name": "Mono"}]})
        ended = self.launch_anyway("-FileLogging", "verbose")
        self.assertEqual(self.machine.log_problems(ended), [
            f'(ERR) "{file}": required item {number} is not a dictionary - skipped' for number in range(3)])
        self.assertEqual(self.statuses_in(ended), {"Mono": "OK"})

    def test_values_of_another_kind_count_as_missing_and_are_told(self):
        self.write({"RequiredItems": [{"Type": 1, "Name": ["x"], "InstallPath": {"a": "b"}},
                                      {"Type": "Bundle", "Name": "B", "InstallPath": 7}]})
        ended = self.machine.launch("-FileLogging", "verbose")
        self.assertEqual(ended.status, 0)
        self.assertIn(window(), ended.output)
        problems = self.machine.log_problems(ended)
        self.assertEqual(len(problems), 4, problems)
        self.assertTrue(all("is not a string - taken as missing" in line for line in problems))
        self.assertIn('(vrb) Install check: (null) "(null)" is "OK"', self.machine.log_lines(ended))

    def test_unknown_types_and_empty_entries_are_neither_checked_nor_repaired(self):
        self.write({"RequiredItems": [{}, {"Type": "coreapp"}, {"Type": "Nothing", "InstallPath": "/x"}]})
        self.assertEqual(self.machine.log_problems(self.launch_anyway()), [])

    def test_binary_catalogue_is_as_good(self):
        file = pathlib.Path(f"{RESOURCES}/RequiredItems.plist")
        file.write_bytes(plistlib.dumps(plistlib.loads(file.read_bytes()), fmt=plistlib.FMT_BINARY))
        self.expect_statuses()

    def test_core_that_is_missing_from_the_bundle_launches_null(self):
        self.machine.edit_catalogue(lambda items: items.pop(0))
        self.machine.remove(f"{RESOURCES}/QuillmoreCore.app")
        ended = self.machine.launch()
        self.assertEqual((ended.status, ended.errors), (0, ""))
        self.assertEqual(self.machine.log_lines(ended)[-3:], launching_core("(null)"))
        self.expect_no_core()

    def test_core_that_cannot_be_started_is_not_reported(self):
        os.chmod(f"{RESOURCES}/QuillmoreCore.app/Contents/MacOS/QuillmoreCore", 0o644)
        ended = self.machine.launch()
        self.assertEqual((ended.status, ended.errors), (0, ""))
        self.assertEqual(self.machine.log_lines(ended)[-3:], launching_core())
        self.expect_no_core()


class InstalledBundles(BadInput):
    def test_damaged_information_of_the_file_system_is_invalid_and_named(self):
        file = f"{FILE_SYSTEM}/Contents/Info.plist"

        def expect():
            ended = self.machine.launch("-FileLogging", "verbose", answers="2\n")
            self.expect_statuses(ended, QuillmoreFS="Invalid")
            self.expect_named(file, self.machine.log_problems(ended))
        self.for_each_harm(file, expect)

    def test_damaged_information_of_a_plug_in_is_an_old_version(self):
        def expect():
            ended = self.machine.launch("-FileLogging", "verbose", answers="2\n")
            self.expect_statuses(ended, QuillmoreCM="Old Version")
        self.for_each_harm(f"{CONTEXT_MENU}/Contents/Info.plist", expect)


if __name__ == "__main__":
    main()
