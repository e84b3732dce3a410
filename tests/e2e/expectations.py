"""Texts and assertions that several modules share."""
import os
import pathlib

import launcher
from machine import ITEMS, RESOURCES
from sandboxed import MachineTest

ALL = [name for name in ITEMS if name != "Fixes10_5"]
CORE = f"{RESOURCES}/QuillmoreCore.app/Contents/MacOS/QuillmoreCore"
INTEL = os.uname().machine in ("x86_64", "i386", "i486", "i586", "i686")

REPAIR_INFO = ("Quillmore needs to install or repair components before it can run. You may be asked"
               " for the password of an administrator.")
BUTTONS = "  1) Continue (Return)\n  2) Quit\n> "
PROGRESS = "\nInstalling the components of Quillmore...\n"
FAILED = ("\nThe installation failed\nSome components of Quillmore could not be installed. Please try"
          " again, or reinstall Quillmore.\n  1) OK (Return)\n> ")


def window(*components):
    """What the install-check window says; `components` of "file system" and "helper programs"."""
    lines = ["", "Quillmore", REPAIR_INFO]
    if components:
        lines += ["", "The following will be installed:"]
        lines += [{"file system": " - the Quillmore file system",
                   "helper programs": " - the helper programs of Quillmore"}[name]
                  for name in components]
    return "\n".join(lines) + "\n" + BUTTONS


def answered(question, answer=""):
    """A question on the terminal and the answer, shown since no terminal has echoed it."""
    return f"{question}{answer}\n"


def launching_core(path=CORE):
    return [f'(nrm) Launching "{path}"...', f'(nrm) Launched "{path}"', "(nrm) Will terminate now"]


class LauncherTest(MachineTest):
    maxDiff = None

    def expect_installed(self, *names):
        """The named items are there, exactly, and nothing else."""
        expected = {}
        for name in names:
            expected.update(ITEMS[name])
        self.assertEqual(self.machine.installed(), expected)

    def expect_core_started(self, ended):
        self.assertEqual(ended.status, 0, ended)
        [core] = self.machine.core()
        status = pathlib.Path(f"/proc/{core}/status").read_text(encoding="utf-8")
        self.assertIn("\nPPid:\t1\n", status)  # the launcher is gone, nobody waits for it
        self.assertIn(f"\nUid:\t{launcher.USER}\t", status)
        self.assertEqual(os.getsid(core), core)

    def expect_no_core(self):
        self.assertEqual(self.machine.core(), [])

    def statuses(self, *arguments):
        """The name and status word of each item, as a check logs them; nothing is repaired."""
        ended = self.machine.launch("-FileLogging", "verbose", *arguments, answers="2\n")
        self.machine.quit_core()
        return self.statuses_in(ended)

    def statuses_in(self, ended):
        words = {}
        for line in self.machine.log_lines(ended):
            if line.startswith("(vrb) Install check: "):
                _, name, _, word, _ = line.split('"')
                words[name] = word
        return words

    def expect_statuses(self, ended=None, **others):
        """Every item is "OK" but those that are named."""
        words = self.statuses_in(ended) if ended else self.statuses()
        self.assertEqual(words, {**{name: "OK" for name in ("QuillmoreCore", "Mono", *ALL)}, **others})
