"""The launcher on a machine where nothing is installed yet, and the runs after that."""
import pathlib
import re

import launcher
from expectations import (ALL, BUTTONS, INTEL, LauncherTest, PROGRESS, answered, launching_core,
                          window)
from machine import LOGS, PRODUCT, RESOURCES, UPDATE_TOOL
from sandboxed import main

FIXES = ["Fixes10_5"] if INTEL else []
RUN = ["UpdateToolManager:runExe: Running", "UpdateToolManager:runExe: Succeeded running"]
FINDER = '"com.apple.finder"'
FINDER_PATH = "/System/Library/CoreServices/Finder.app"
FINDER_LOG = pathlib.Path(launcher.HOME, "Library/Logs/Finder.log")


def checked(word, **others):
    """The lines of one check at level verbose; `word` is every repairable item's status."""
    types = {"QuillmoreCore": "CoreApp", "updateqm": "QMToolRoot", "qmstatus": "QMTool",
             "finderoverlaytool": "QMToolRoot", "Mono": "Framework", "QuillmoreFS": "Bundle",
             "QuillmoreCM": "FinderCM", "QuillmoreOverlay": "FinderOverlayInsert"}
    words = {**{name: word for name in types}, "QuillmoreCore": "OK", "Mono": "OK", **others}
    return [f'(vrb) Install check: {type_} "{name}" is "{words[name]}"'
            for name, type_ in types.items()]


def without_versions(lines):
    return [line for line in lines if "need to update from" not in line]


class FirstStart(LauncherTest):
    finder = True

    def test_continue_installs_everything_and_starts_the_core(self):
        version = self.machine.version
        ended = self.machine.launch(answers="\n")
        self.assertEqual(ended.output, "\n".join([
            f"(nrm) Quillmore version {version}",
            "(nrm) Quillmore did begin launching...",
            "(nrm) Quillmore did finish launching",
            answered(window("file system", "helper programs")) + PROGRESS
            + "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Starting...",
            "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Succeeded",
            *launching_core(), ""]))
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.assertEqual(self.machine.commands(),
                         ["repair", "repairother", "repairotherroot", "repairpackage",
                          "repairzipitem", "repairzipitem"] + ["repairintel10_5"] * INTEL)
        self.expect_payloads_installed()
        self.expect_log_file(ended)

    def expect_payloads_installed(self):
        for name in ("updateqm", "qmstatus", "finderoverlaytool"):
            with open(f"{RESOURCES}/{name}", "rb") as carried, open(f"{PRODUCT}/{name}", "rb") as put:
                self.assertEqual(carried.read(), put.read(), name)

    def expect_log_file(self, ended):
        """One file, named after product and second; each line in the one form, the terminal's."""
        [file] = self.machine.log_files()
        self.assertRegex(str(file), f"^{LOGS}/Quillmore-" r"\d{4}-\d\d-\d\d-\d{6}\.log$")
        for line in file.read_text(encoding="utf-8").splitlines():
            self.assertRegex(line, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{4} "
                             rf"Quillmore\[{ended.process}\] \(nrm\) \[0x[0-9a-f]+\] .+$")
        on_terminal = [line for line in ended.output.split("\n") if line.startswith("(nrm)")]
        self.assertEqual(self.machine.log_lines(), on_terminal)
        self.assertEqual((file.stat().st_uid, file.stat().st_mode & 0o7777), (launcher.USER, 0o644))


class SecondStart(LauncherTest):
    repaired = True
    policy = "off"

    def test_everything_in_order_starts_the_core_without_a_window(self):
        before = self.machine.state()
        ended = self.machine.launch(answers="\n")
        self.assertEqual(ended.output, "\n".join([
            f"(nrm) Quillmore version {self.machine.version}",
            "(nrm) Quillmore did begin launching...", "(nrm) Quillmore did finish launching",
            *launching_core(), ""]))
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.assertEqual((self.machine.commands(), self.machine.state()), ([], before))

    def test_a_running_core_is_left_alone_and_nothing_is_checked(self):
        self.machine.launch()
        core = self.machine.core()
        ended = self.machine.launch("-FileLogging", "detailed", answers="\n")
        self.assertEqual(ended.status, 0)
        self.assertEqual(ended.output, "\n".join([
            f"(nrm) Quillmore version {self.machine.version}",
            "(nrm) Quillmore did begin launching...",
            "(nrm) Letting other copy run, we will terminate",
            "", "Quillmore is already running",
            "You must quit Quillmore before you can start it again.",
            "  1) Quit (Return)", "> ", "(nrm) User did quit", ""]))
        self.assertEqual(self.machine.log_lines(ended), [
            f"(nrm) Quillmore version {self.machine.version}",
            "(nrm) Quillmore did begin launching...",
            "(nrm) Letting other copy run, we will terminate", "(nrm) User did quit"])
        self.assertEqual(self.machine.core(), core)

    def test_an_unanswered_alert_ends_the_launcher_like_its_button(self):
        self.machine.launch()
        ended = self.machine.launch(answers="")
        self.assertEqual(ended.status, 0)
        self.assertEqual(self.machine.log_lines(ended)[-1], "(nrm) User did quit")


class RepairLog(LauncherTest):
    finder = True

    def test_the_whole_sequence_is_in_the_log_in_catalogue_order(self):
        ended = self.machine.launch("-FileLogging", "verbose", answers="\n")
        lines = without_versions(self.machine.log_lines(ended))
        waiting = f"(vrb) Waiting for app with id {FINDER} to quit"
        admin = "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin:"
        command = [f'(vrb) {line} "{UPDATE_TOOL}"' + "..." * (line == RUN[0]) for line in RUN]
        self.assertEqual([line for line in lines if line != waiting], [
            f"(nrm) Quillmore version {self.machine.version}",
            "(nrm) Quillmore did begin launching...",
            "(nrm) Quillmore did finish launching",
            *checked("Missing"),
            f"{admin} Starting...", f"{admin} Succeeded",
            *command * 2,
            f"(vrb) Requesting app with id {FINDER} to quit...",
            f"(vrb) Requested app with id {FINDER} to quit",
            f"(vrb) App with id {FINDER} did quit",
            f'(vrb) Launching "{FINDER_PATH}"...', f'(vrb) Launched "{FINDER_PATH}"',
            *command * (4 if INTEL else 3),
            *checked("OK"), *checked("OK"),
            *launching_core()])
        self.expect_finder_restarted()

    def expect_finder_restarted(self):
        def log():
            return [line.split("] ", 1)[1] for line in FINDER_LOG.read_text().splitlines()]
        launcher.wait_until(lambda: len(log()) == 3, "the Finder's restart")
        self.assertEqual(log(), ["did start", "was asked to quit, will end", "did start"])


class WithoutMacOS(LauncherTest):
    """A user's own machine: no /System, so nothing tells a version of macOS and no Finder is there."""

    system = "bare"

    def test_one_continue_installs_everything_and_starts_the_core(self):
        ended = self.machine.launch("-FileLogging", "verbose", answers="\n")
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL)  # nothing says that this is the system that needs the fixes
        self.assertIn(f'(vrb) "{FINDER_PATH}": this system has none - nothing is launched',
                      self.machine.log_lines(ended))


class Terminal(LauncherTest):
    def test_on_a_terminal_the_progress_sheet_moves(self):
        running = self.machine.start(terminal=True)
        running.wait_for(BUTTONS)
        running.answer("\n")
        running.wait_for(PROGRESS)
        ended = running.end()
        self.expect_core_started(ended)
        figures = re.findall(r"[|/\\-](?=\r)", ended.output)
        self.assertGreater(len(set(figures)), 2)
        self.assertTrue(ended.output.endswith(launching_core()[-1] + "\n"))


if __name__ == "__main__":
    main()
