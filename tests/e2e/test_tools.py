"""Installed tools that behave oddly when the check starts them, and what they see of the launcher."""
import os
import pathlib
import re

from expectations import LauncherTest
from machine import CONTEXT_MENU, LOGS, PRODUCT
from sandboxed import main

TOOL = f"{PRODUCT}/qmstatus"
PROBE = f"{PRODUCT}/probe"
VERSION = "Quillmore Limited 1.15.4 (1856)"
# Toolkits, GLib, message buses, administrator rights, archives and cryptography.
HEAVY = re.compile(r"lib(Qt|gtk|gdk|X11|xcb|wayland|glib|gobject|gio|gmodule|dbus|polkit|secret|crypto|"
                   r"ssl|archive|minizip|bz2|lzma|zstd|quillmore_)")


class OddTools(LauncherTest):
    repaired = True

    def expect_start_fails(self, reason):
        ended = self.machine.launch(answers="\n")
        text = f"NSInvalidArgumentException ({reason})"
        self.assertTrue(ended.output.endswith(
            f"\nQuillmore could not be started\n{text}\n  1) Quit (Return)\n> \n"), ended.output)
        self.assertEqual(ended.errors, f"(ERR) {text}\n")
        self.assertEqual(self.machine.log_lines(ended)[-1], f"(ERR) {text}")
        self.assertEqual(ended.status, 1)
        self.expect_no_core()

    def test_tool_that_may_not_be_executed_ends_the_start_with_the_reason(self):
        os.chmod(TOOL, 0o644)
        self.expect_start_fails("launch path not accessible")

    def test_folder_in_place_of_a_tool_ends_the_start_with_the_reason(self):
        self.machine.remove(TOOL)
        os.mkdir(TOOL)
        self.expect_start_fails("launch path not accessible")

    def test_tool_of_another_kind_ends_the_start_with_the_reason(self):
        pathlib.Path(TOOL).write_bytes(b"\x7fELF and no more")
        ended = self.machine.launch(answers="\n")
        self.assertIn("\nQuillmore could not be started\n", ended.output)
        self.assertEqual(ended.status, 1)

    def test_tool_that_prints_a_megabyte_is_read_to_its_end(self):
        self.machine.write_tool(TOOL, f"yes abcdefg | head -c 1000000\necho\necho '{VERSION}'\n")
        self.expect_core_started(self.machine.launch())

    def test_tool_that_prints_a_megabyte_after_its_version_keeps_its_version(self):
        self.machine.write_tool(TOOL, f"echo '{VERSION}'\nyes abcdefg | head -c 1000000\n")
        self.expect_core_started(self.machine.launch())

    def test_tool_that_prints_no_version_is_an_old_version(self):
        self.machine.write_tool(TOOL, "exit 0\n")
        self.expect_statuses(qmstatus="Old Version")
        self.machine.write_tool(TOOL, "echo 1.15.4\n")
        self.expect_statuses(qmstatus="Old Version")
        self.assertIn('(ERR) Failed to extract version from string "1.15.4', self.machine.log_problems())

    def test_tool_that_prints_no_text_is_an_old_version(self):
        self.machine.write_tool(TOOL, r"printf 'Limited 1.15.4.1 \377\n'")
        self.expect_statuses(qmstatus="Old Version")

    def test_exit_status_of_a_tool_does_not_matter(self):
        self.machine.write_tool(TOOL, f"echo '{VERSION}'\nexit 3\n")
        self.expect_core_started(self.machine.launch())

    def test_errors_of_a_tool_reach_the_terminal_and_are_no_version(self):
        self.machine.write_tool(TOOL, f"echo 'Limited 0.0.0.0' >&2\necho '{VERSION}'\n")
        ended = self.machine.launch()
        self.assertEqual(ended.errors, "Limited 0.0.0.0\n")
        self.expect_core_started(ended)

    def test_tool_that_a_link_leads_to_nowhere_is_missing(self):
        self.machine.remove(TOOL)
        os.symlink("/nowhere", TOOL)
        self.expect_statuses(qmstatus="Missing")


class Footprint(LauncherTest):
    """The last tool of the catalogue looks at the launcher that started it."""

    repaired = True

    def setUp(self):
        super().setUp()
        self.machine.edit_catalogue(lambda items: items.append(
            {"Type": "QMTool", "Name": "probe", "InstallPath": PROBE}))

    def look(self, script):
        self.machine.write_tool(PROBE, script + f"echo '{VERSION}'\n")

    def test_clean_start_maps_nothing_that_it_does_not_need(self):
        self.look("cat /proc/$PPID/maps > /tmp/maps\n")
        ended = self.machine.launch(LD_DEBUG="files", LD_DEBUG_OUTPUT="/tmp/loaded")
        self.expect_core_started(ended)
        mapped = _files(pathlib.Path("/tmp/maps").read_text(encoding="utf-8"))
        loaded = pathlib.Path(f"/tmp/loaded.{ended.process}").read_text(encoding="utf-8")
        loaded = set(re.findall(r"calling init: (\S+)", loaded))
        for files in (mapped, loaded):  # at that moment; and in its whole life
            self.assertTrue(any("libstdc++" in file for file in files), files)
            self.assertEqual([file for file in files if HEAVY.search(file)], [])
        self.assertIn("/Applications/Quillmore.app/Contents/MacOS/Quillmore", mapped)

    def test_asking_for_the_right_maps_what_a_clean_start_does_not(self):
        self.look("cat /proc/$PPID/maps > /tmp/maps\n")
        self.machine.remove(CONTEXT_MENU)
        self.expect_core_started(self.machine.launch(answers="\n"))
        mapped = _files(pathlib.Path("/tmp/maps").read_text(encoding="utf-8"))
        heavy = " ".join(file for file in mapped if HEAVY.search(file))
        for library in ("libquillmore_polkit.so", "libglib", "libpolkit"):
            self.assertIn(library, heavy)

    def test_tools_inherit_three_descriptors_and_not_the_log(self):
        self.look("ls -l /proc/$PPID/fd > /tmp/launcher\nls -l /proc/self/fd > /tmp/tool\n")
        self.expect_core_started(self.machine.launch())
        self.assertIn(LOGS, pathlib.Path("/tmp/launcher").read_text(encoding="utf-8"))
        own = _targets(pathlib.Path("/tmp/tool").read_text(encoding="utf-8"))
        # The list's own file as 1, and the folder that ls reads.
        self.assertEqual([number for number, target in own.items() if "/proc/" not in target], [0, 1, 2])
        self.assertFalse([target for target in own.values() if LOGS in target], own)

    def test_core_inherits_nothing(self):
        self.look("")
        self.expect_core_started(self.machine.launch())
        [core] = self.machine.core()
        targets = {int(number): os.readlink(f"/proc/{core}/fd/{number}")
                   for number in os.listdir(f"/proc/{core}/fd")}
        self.assertEqual([targets.pop(number) for number in (0, 1, 2)], ["/dev/null"] * 3)
        self.assertLessEqual(set(targets.values()), {"/home/user/Library/Logs/Quillmore/Core.log"})

    def test_core_and_tools_have_ordinary_signals(self):
        self.look("grep -E '^Sig(Blk|Ign)' /proc/self/status > /tmp/signals\n")
        self.expect_core_started(self.machine.launch())
        lines = pathlib.Path("/tmp/signals").read_text(encoding="utf-8").splitlines()
        # The C library itself ignores two signals of its own, above 31.
        self.assertEqual([int(line.split()[1], 16) & 0x7fffffff for line in lines], [0, 0])


def _files(maps):
    return {line.split(None, 5)[5] for line in maps.splitlines() if len(line.split(None, 5)) == 6}


def _targets(listing):
    found = re.findall(r" (\d+) -> (.+)", listing)
    return {int(number): target for number, target in found}


if __name__ == "__main__":
    main()
