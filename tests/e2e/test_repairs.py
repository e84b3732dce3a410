"""Machines on which something is wrong: what the check says of it, and that a repair mends it and
nothing else."""
from expectations import ALL, INTEL, LauncherTest, answered, window
from machine import CONTEXT_MENU, FILE_SYSTEM, OVERLAY, PRODUCT, RESOURCES
from sandboxed import main
import os

FIXES = ["Fixes10_5"] if INTEL else []
FIXES_COMMAND = ["repairintel10_5"] * INTEL
CORE_APP = f"{RESOURCES}/QuillmoreCore.app"
BANNER = 'echo "Some Tool, (C) Quillmore Limited {}"\n'


class Damaged(LauncherTest):
    repaired = True

    def expect_repair(self, *commands, shows=("helper programs",)):
        """One "Continue" mends everything by exactly these commands, after the tool itself."""
        ended = self.machine.launch("-FileLogging", "verbose", answers="\n")
        self.assertIn(window(*shows), ended.output)
        self.assertEqual(self.machine.commands(), ["repair", *commands, *FIXES_COMMAND])
        self.assertEqual(ended.errors, "")
        self.expect_core_started(ended)
        self.expect_installed(*ALL, *FIXES)
        self.machine.quit_core()
        self.expect_statuses()


class WrongPermissions(Damaged):
    def test_core_that_its_group_may_write_gets_its_mode_back(self):
        os.chmod(CORE_APP, 0o775)
        self.expect_statuses(QuillmoreCore="Wrong Permissions")
        self.expect_repair("repaircore")
        self.assertEqual(os.stat(CORE_APP).st_mode & 0o7777, 0o755)

    def test_tool_that_its_group_may_write_gets_its_mode_back(self):
        os.chmod(f"{PRODUCT}/qmstatus", 0o775)
        self.expect_statuses(qmstatus="Wrong Permissions")
        self.expect_repair("repairpermissionsother")

    def test_tool_that_belongs_to_the_user_becomes_roots_again(self):
        os.chown(f"{PRODUCT}/qmstatus", 1000, 1000)
        self.expect_statuses(qmstatus="Wrong Permissions")
        self.expect_repair("repairpermissionsother")

    def test_update_tool_without_its_bit_is_installed_anew(self):
        os.chmod(f"{PRODUCT}/updateqm", 0o755)
        self.expect_statuses(updateqm="Wrong Permissions")
        self.expect_repair()

    def test_root_tool_without_its_bit_gets_it_back(self):
        os.chmod(f"{PRODUCT}/finderoverlaytool", 0o755)
        self.expect_statuses(finderoverlaytool="Wrong Permissions")
        self.expect_repair("repairpermissionsotherroot")

    def test_modes_must_be_exact(self):
        os.chmod(CORE_APP, 0o1755)
        os.chmod(f"{PRODUCT}/qmstatus", 0o4755)
        os.chmod(f"{PRODUCT}/updateqm", 0o4775)
        os.chmod(f"{PRODUCT}/finderoverlaytool", 0o6755)
        self.expect_statuses(**{name: "Wrong Permissions" for name in (
            "QuillmoreCore", "qmstatus", "updateqm", "finderoverlaytool")})

    def test_owner_of_the_core_does_not_matter(self):
        os.chown(CORE_APP, 0, 0)
        self.expect_statuses()


class OldVersions(Damaged):
    def test_old_file_system_is_replaced_and_named_in_the_window(self):
        self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString="1.1.9")
        self.expect_statuses(QuillmoreFS="Old Version")
        self.expect_repair("repairpackage", shows=["file system"])

    def test_old_tools_and_plug_ins_are_replaced(self):
        self.machine.write_tool(f"{PRODUCT}/qmstatus", BANNER.format("1.14.9.9"))
        self.machine.write_tool(f"{PRODUCT}/finderoverlaytool", BANNER.format("1.14.9 (1700)"), 0o4755)
        for bundle in (CONTEXT_MENU, OVERLAY):
            self.machine.edit_information(bundle, CFBundleShortVersionString="1.14.9")
        self.expect_statuses(qmstatus="Old Version", finderoverlaytool="Old Version",
                             QuillmoreCM="Old Version", QuillmoreOverlay="Old Version")
        self.expect_repair("repairother", "repairotherroot", "repairzipitem", "repairzipitem")

    def test_newer_versions_need_nothing(self):
        self.machine.write_tool(f"{PRODUCT}/qmstatus", BANNER.format("2.0.0.0"))
        for bundle in (FILE_SYSTEM, CONTEXT_MENU, OVERLAY):
            self.machine.edit_information(bundle, CFBundleShortVersionString="2.0.0")
        before = self.machine.state()
        ended = self.machine.launch("-FileLogging", "verbose")
        self.expect_core_started(ended)
        self.expect_statuses(ended)
        self.assertIn(f'(vrb) "{PRODUCT}/qmstatus" does not need to update from 2.0.0.0',
                      self.machine.log_lines(ended))
        self.assertEqual(self.machine.state(), before)

    def test_only_major_and_minor_of_a_tool_count(self):
        for version, status in (("1.15.0.0", "OK"), ("1.15.4 (1)", "OK"), ("1.14.9.9", "Old Version"),
                                ("0.99.9.9", "Old Version"), ("2", "OK"), ("1.15.4", "Old Version")):
            with self.subTest(version):
                self.machine.write_tool(f"{PRODUCT}/qmstatus", BANNER.format(version))
                self.expect_statuses(**{"qmstatus": status})

    def test_all_three_numbers_of_the_file_system_count(self):
        for version, status in (("1.2.0", "OK"), ("1.2.1", "OK"), ("1.1.10", "Old Version"),
                                ("0.9.9", "Old Version"), ("1.2", "Invalid"), ("", "Invalid")):
            with self.subTest(version):
                self.machine.edit_information(FILE_SYSTEM, CFBundleShortVersionString=version)
                self.expect_statuses(QuillmoreFS=status)


class Systems(Damaged):
    """What is required on which system; every machine has everything, so "OK" means required."""

    def test_bounds_of_the_items_by_system(self):
        menu, overlay = {"QuillmoreCM": "Not Required"}, {"QuillmoreOverlay": "Not Required"}
        for system, others in (("10.4.11", overlay), ("10.5.8", {}), ("10.6.8", menu),
                               ("10.15.7", menu), ("11.2.0", {**menu, **overlay})):
            with self.subTest(system):
                self.machine.set_system(system)
                self.expect_statuses(**others)

    def test_items_that_are_not_required_are_not_missed(self):
        self.machine.set_system("11.0")
        self.machine.remove(CONTEXT_MENU, OVERLAY)
        ended = self.machine.launch()
        self.expect_core_started(ended)

    def test_repair_leaves_out_what_is_not_required_and_the_fixes_of_another_system(self):
        self.machine.set_system("10.6.8")
        self.machine.remove(CONTEXT_MENU, FILE_SYSTEM, f"{PRODUCT}/Fixes10_5")
        self.expect_statuses(QuillmoreCM="Not Required", QuillmoreFS="Missing")
        ended = self.machine.launch(answers="\n")
        self.expect_core_started(ended)
        self.assertEqual(self.machine.commands(), ["repair", "repairpackage"])
        self.expect_installed(*[name for name in ALL if name != "QuillmoreCM"])


class BeyondRepair(LauncherTest):
    """A run that succeeds and leaves something that is not in order: a bundle without an installer."""

    repaired = True

    def test_what_no_repair_puts_in_order_shows_the_window_again_with_a_new_text(self):
        self.machine.edit_catalogue(lambda items: items.append(
            {"Type": "Bundle", "Name": "Other", "InstallPath": "/Library/Other.bundle", "Version": "1.0.0"}))
        self.machine.remove(CONTEXT_MENU)
        ended = self.machine.launch(answers="\n2\n")
        self.assertEqual((ended.status, ended.errors), (0, ""))
        self.assertIn(window("helper programs"), ended.output)
        self.assertTrue(ended.output.endswith(
            answered(window(), "2") + "(nrm) User chose to quit\n"), ended.output)
        self.assertEqual(self.machine.commands(), ["repair", "repairzipitem", *FIXES_COMMAND])
        self.expect_installed(*ALL, *FIXES)
        self.expect_no_core()


class NewSystems(LauncherTest):
    def test_without_a_system_version_everything_is_required_but_the_fixes(self):
        self.machine.remove("/System/Library/CoreServices/SystemVersion.plist")
        ended = self.machine.launch(answers="\n")
        self.expect_core_started(ended)
        self.expect_installed(*ALL)


if __name__ == "__main__":
    main()
